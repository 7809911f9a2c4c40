#pragma once

/// @file
/// Element-wise binary arithmetic on numbers and calibrated arrays.
///
/// Every function takes its operands unchanged and returns a new value. What follows holds for all
/// of them.
///
/// **Result type** (bnry_ResultType), by the element types of the operands:
///
/// | operands | + and - | * | / and pow |
/// |---|---|---|---|
/// | both 8-bit integers | int16 | int32 | float |
/// | 8- and 16-bit integers, at least one 16-bit | int32 | float | float |
/// | a 32-bit integer with any integer | int32 (uint32 + uint32: uint32) | double | double |
/// | a floating or complex one with any | the larger type | the larger type | the larger type |
/// | complex float with double | complex double | complex double | complex double |
///
/// Both operands are converted to that type first, by the rules of conv_Convert.
///
/// **Values.** Integers wrap modulo 2 to their width. Division and single precision follow IEEE
/// arithmetic, every operation rounded once; `pow` is the C runtime's double power rounded to the
/// type. Complex results are those of comp_cComplex. NaN and overflow propagate; of the operands
/// only a zero divisor is refused.
///
/// For sums, differences and products of int16, int32 and float results, elements are computed in
/// chunks of 4 (int16) or 2 (int32, float) as far as whole chunks reach, the rest one by one. Two
/// things differ between the chunks and the rest: **a number minus an array gives array minus
/// number in the chunks** and number minus array in the rest, and a number combined with an int32
/// result passes through single precision in the chunks, so that bits beyond 2^24 are lost there;
/// what single precision takes beyond 2^31 - 1 is clipped to it. In int16, 5 - {1, 2, 3, 4, 1}
/// gives
/// {-4, -3, -2, -1, 4}.
///
/// **Calibration.** The result lies where the array operand does. Two arrays are aligned first: the
/// one with the coarser delta is resampled (resc_Rescale) to the finer one's, and both are extended
/// with zeros to the union of their ranges, that with an array without elements being the other
/// range. Deltas are compared exactly. Each array is taken from its element nearest to the start of
/// the union, and both have as many elements as that is long, halves down: the same number in both
/// orders of the operands. No element is lost, and each lies within half a step of its place. Two
/// images of which each is finer along one axis keep different deltas: only the first is resampled.
/// The result lies where the aligned first operand does.
///
/// **Empty operands.** A number with an array without elements, and two arrays without elements,
/// give a copy of the (first) array with its own type, whatever the operation.
///
/// **Errors.** A divisor that is zero, or has an element that is (scan_IsZero, on the divisor
/// converted to the result's type and before it is aligned): expt_cUserException with the message
/// expt_DivideByZero and ("binary1", line), the line being 436 for number by number, 475 for number
/// by array, 514 for array by number, 553 for array by array. An operation that is none of the
/// five: expt_cProgramException ("binary1", 1). An unknown element type: that of conv_Convert or of
/// the scan; two operands of one unknown type give a result of that type without storage, except in
/// a division. Images of which each is finer along one axis, where that makes their sizes differ:
/// the size error. What resc_Rescale and Selection refuse passes through.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/pnum.h"

/// The arithmetic operations.
enum bnry_eAritBinaryOperation : int {
    bnry_Add = 0,      ///< a + b
    bnry_Subtract = 1, ///< a - b
    bnry_Multiply = 2, ///< a * b
    bnry_Divide = 3,   ///< a / b
    bnry_Power = 4     ///< a raised to b
};

/// The element type of the result of `operation` on operands of these types; see the table above.
/// It is at least as large as both.
DATAPROCESSING_EXPORT dtyp_cDataType bnry_ResultType(dtyp_cDataType first, dtyp_cDataType second,
                                                     bnry_eAritBinaryOperation operation) noexcept;

// clang-format off

/// @name a operation b
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  bnry_Operate(bnry_eAritBinaryOperation operation, const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray bnry_Operate(bnry_eAritBinaryOperation operation, const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray bnry_Operate(bnry_eAritBinaryOperation operation, const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT darr_c1DArray bnry_Operate(bnry_eAritBinaryOperation operation, const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray bnry_Operate(bnry_eAritBinaryOperation operation, const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray bnry_Operate(bnry_eAritBinaryOperation operation, const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray bnry_Operate(bnry_eAritBinaryOperation operation, const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name a + b
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  operator+(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator+(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator+(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT darr_c1DArray operator+(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator+(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator+(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray operator+(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name a - b
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  operator-(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator-(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator-(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT darr_c1DArray operator-(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator-(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator-(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray operator-(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name a * b
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  operator*(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator*(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator*(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT darr_c1DArray operator*(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator*(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator*(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray operator*(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name a / b
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  operator/(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator/(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator/(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT darr_c1DArray operator/(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator/(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator/(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray operator/(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name a raised to b
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  pow(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray pow(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray pow(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT darr_c1DArray pow(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray pow(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray pow(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray pow(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Compound assignment
/// Computes `a op b`, assigns it to `a` and returns a copy of it. So `a` takes the type of the
/// result: an 8-bit number after `+=` with another is a 16-bit one; an array takes its size and
/// calibration too. When it throws, `a` is unchanged.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  operator+=(pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator+=(darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray operator+=(darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator+=(darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator+=(darr_c2DArray& a, const darr_c2DArray& b);

DATAPROCESSING_EXPORT pnum_cNumber  operator-=(pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator-=(darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray operator-=(darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator-=(darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator-=(darr_c2DArray& a, const darr_c2DArray& b);

DATAPROCESSING_EXPORT pnum_cNumber  operator*=(pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator*=(darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray operator*=(darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator*=(darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator*=(darr_c2DArray& a, const darr_c2DArray& b);

DATAPROCESSING_EXPORT pnum_cNumber  operator/=(pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator/=(darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray operator/=(darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray operator/=(darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray operator/=(darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Refused: an array and a range that is none
/// In one message of the compiler. Make an array of it before: `a + darr_c1DArray(range)`.
/// @{
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator+(const A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator-(const A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator*(const A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator/(const A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
template<class A, class B> requires parr_OneIsNoArray<A, B> void pow(const A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
template<class A, class B> requires parr_ArrayAndRange<A, B> void operator+=(A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
template<class A, class B> requires parr_ArrayAndRange<A, B> void operator-=(A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
template<class A, class B> requires parr_ArrayAndRange<A, B> void operator*=(A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
template<class A, class B> requires parr_ArrayAndRange<A, B> void operator/=(A&, const B&) = delete; ///< make an array of the range before; by a mask, tnry_Ternary chooses
/// @}

// clang-format on
