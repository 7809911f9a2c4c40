#pragma once

/// @file
/// Element-wise comparison of numbers and calibrated arrays.
///
/// Every function takes its operands unchanged and returns a new value: a truth value for two
/// numbers, else a mask, which is 1 where the comparison holds and 0 elsewhere. What follows holds
/// for all of them.
///
/// **Common type.** Both operands are converted to the larger of their two types (dtyp_Max) by the
/// rules of conv_Convert, and compared as that: integers as integers, single precision as single
/// precision. There is no widening as for arithmetic. So a uint32 meets an int8 as an int8, clipped
/// to at most 127, and a double meets a single-precision complex value rounded to single precision.
///
/// **NaN** is equal to nothing and neither greater nor less than anything: with a NaN on either
/// side only `!=` holds. The two zeros are equal.
///
/// **Complex values** are equal when both parts are. Greater and less compare their magnitudes,
/// `abs` in the precision of the common type: of 3+4i and 5 neither is greater, both `>=` and `<=`
/// hold, and `==` does not.
///
/// **Calibration.** Two arrays are aligned first, as for arithmetic (see bnry.h). **The mask lies
/// on the default calibration, wherever the operands do.** A mask meant for calibrated data is
/// given the data's:
///
///     barr_c1DBoolArray bright = spectrum > 100;
///     bright.SetCal(spectrum.Cal());
///     darr_c1DArray clipped = tnry_Ternary(bright, spectrum, 0);
///
/// or is asked for there, which gives the mask of two arrays that had to be aligned its place, too:
///
///     const barr_c1DBoolArray bright = bnry_Operate(bnry_Greater, spectrum, 100, bnry_DataCal);
///
/// **Empty operands.** A number with an array without elements, and two arrays without elements,
/// give a mask of 2 (1D) or 2 by 2 (2D) elements, all false, whatever the comparison and the types.
///
/// **Errors.** A comparison that is none of the six: expt_cProgramException ("binary2", 1). An
/// element type outside the ten: that of conv_Convert, or expt_cProgramException ("binary2", 138)
/// when both operands have the same one above the ten. Arrays whose alignment leaves no element:
/// the index error. Images of which each is finer along one axis, where that makes their sizes
/// differ: the size error. What resc_Rescale and Selection refuse passes through.

#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/pnum.h"

/// The comparisons.
enum bnry_eCompBinaryOperation : int {
    bnry_Equal = 0,        ///< a == b
    bnry_NotEqual = 1,     ///< a != b
    bnry_Greater = 2,      ///< a > b
    bnry_GreaterEqual = 3, ///< a >= b
    bnry_Less = 4,         ///< a < b
    bnry_LessEqual = 5     ///< a <= b
};

/// Where the mask of a comparison lies.
enum bnry_eMaskCal : int {
    bnry_DefaultCal = 0, ///< on the default calibration
    /// where the data do: on the calibration of the array, of two arrays on that of the aligned
    /// first one, which the sum of both has, too; without elements, on that of the (first) array
    bnry_DataCal = 1
};

// clang-format off

/// @name Where a comparison holds, with the place of the mask
/// A `cal` that is neither of the two: expt_cProgramException ("binary2", 2).
/// @{
DATAPROCESSING_EXPORT barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const darr_c1DArray& b, bnry_eMaskCal cal);
DATAPROCESSING_EXPORT barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const darr_c2DArray& b, bnry_eMaskCal cal);
DATAPROCESSING_EXPORT barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c1DArray& a, const pnum_cNumber&  b, bnry_eMaskCal cal);
DATAPROCESSING_EXPORT barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c1DArray& a, const darr_c1DArray& b, bnry_eMaskCal cal);
DATAPROCESSING_EXPORT barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c2DArray& a, const pnum_cNumber&  b, bnry_eMaskCal cal);
DATAPROCESSING_EXPORT barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c2DArray& a, const darr_c2DArray& b, bnry_eMaskCal cal);
/// @}

/// @name Where a comparison holds
/// @{
DATAPROCESSING_EXPORT type_cBoolean     bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Where a equals b
/// @{
DATAPROCESSING_EXPORT type_cBoolean     operator==(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator==(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator==(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator==(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator==(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator==(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator==(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Where a differs from b
/// @{
DATAPROCESSING_EXPORT type_cBoolean     operator!=(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator!=(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator!=(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator!=(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator!=(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator!=(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator!=(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Where a is greater than b
/// @{
DATAPROCESSING_EXPORT type_cBoolean     operator>(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator>(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator>(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator>(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator>(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator>(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator>(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Where a is greater than or equal to b
/// @{
DATAPROCESSING_EXPORT type_cBoolean     operator>=(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator>=(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator>=(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator>=(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator>=(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator>=(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator>=(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Where a is less than b
/// @{
DATAPROCESSING_EXPORT type_cBoolean     operator<(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator<(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator<(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator<(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator<(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator<(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator<(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Where a is less than or equal to b
/// @{
DATAPROCESSING_EXPORT type_cBoolean     operator<=(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator<=(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator<=(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator<=(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator<=(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator<=(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator<=(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Refused: an array and a range that is none
/// In one message of the compiler. Make an array of it before: `a < darr_c1DArray(range)`.
/// @{
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator==(const A&, const B&) = delete; ///< make an array of the range before
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator!=(const A&, const B&) = delete; ///< make an array of the range before
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator>(const A&, const B&) = delete; ///< make an array of the range before
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator>=(const A&, const B&) = delete; ///< make an array of the range before
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator<(const A&, const B&) = delete; ///< make an array of the range before
template<class A, class B> requires parr_OneIsNoArray<A, B> void operator<=(const A&, const B&) = delete; ///< make an array of the range before
/// @}

// clang-format on
