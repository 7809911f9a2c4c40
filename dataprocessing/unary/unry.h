#pragma once

/// @file
/// Element-wise mathematical functions of numbers and calibrated arrays.
///
/// Every function exists for a number, a 1D and a 2D array, takes its operand unchanged and returns
/// a new value of the same kind, size and calibration. What follows holds for all of them.
///
/// **Types.** Integers are computed in single precision (they are converted to float first);
/// floating and complex operands in their own type, which is that of the result. Single-precision
/// functions are evaluated in double and rounded once.
///
/// **Leaving the reals.** When some real element has no real logarithm (`log`, `log10`: any that is
/// not greater than 0) or no real square root (`sqrt`: any that is less than 0), the whole operand
/// is converted to complex double and so is the result. NaN counts as such an element.
///
/// **Values.** Real elements get what the C runtime's double-precision function gives; complex ones
/// the principal value of the C++ standard library's function in their own precision. `arg`, `abs`
/// and `sqrt` of complex float are computed in double and rounded once per part. Poles and overflow
/// give what the runtime's functions give.
///
/// **Parts of complex values.** `real`, `imag`, `norm` and `arg` of a complex operand give a real
/// one of the same precision. `abs` of a complex operand gives a complex one, whose real part is
/// the modulus. Of a real operand, `real` and `norm` are the element itself (not squared), `imag`
/// and `arg` are 0, also for negative elements.
///
/// **Empty arrays** give an empty array of the result's type.
///
/// **Errors.** `acos` and `asin` of a real operand with an element outside [-1, 1], or NaN:
/// expt_cUserException with the message expt_DomainError, ("unary1", 264) and ("unary1", 268). An
/// operation that is none of the enumeration: expt_cProgramException ("unary1", 1). An element type
/// below the ten: that of conv_Convert; one above them is its own working type, of which nothing is
/// computed.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/pnum.h"

/// The unary operations.
enum unry_eMathUnaryOperation : int {
    unry_Plus = 0,   ///< x
    unry_Negate = 1, ///< -x
    unry_Abs = 2,    ///< x when x > 0, else -x; of either zero it is -0.0
    unry_Acos = 3,   ///< arc cosine
    unry_Asin = 4,   ///< arc sine
    unry_Atan = 5,   ///< arc tangent
    unry_Cos = 6,    ///< cosine
    unry_Cosh = 7,   ///< hyperbolic cosine
    unry_Exp = 8,    ///< exponential
    unry_Log = 9,    ///< natural logarithm
    unry_Log10 = 10, ///< decimal logarithm
    unry_Sin = 11,   ///< sine
    unry_Sinh = 12,  ///< hyperbolic sine
    unry_Sqr = 13,   ///< x times x; of complex elements the complex square
    unry_Sqrt = 14,  ///< square root
    unry_Tan = 15,   ///< tangent
    unry_Tanh = 16,  ///< hyperbolic tangent
    unry_Real = 17,  ///< real part
    unry_Imag = 18,  ///< imaginary part
    unry_Norm = 19,  ///< squared modulus of complex elements; real ones as they are
    unry_Arg = 20,   ///< phase angle in (-pi, pi]
    unry_Conj = 21   ///< complex conjugate
};

// clang-format off

/// @name operation(x)
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  unry_Operate(unry_eMathUnaryOperation operation, const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray unry_Operate(unry_eMathUnaryOperation operation, const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray unry_Operate(unry_eMathUnaryOperation operation, const darr_c2DArray& x);
/// @}

/// @name operator+(x)
/// A copy.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  operator+(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray operator+(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray operator+(const darr_c2DArray& x);
/// @}

/// @name operator-(x)
/// The negated value.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  operator-(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray operator-(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray operator-(const darr_c2DArray& x);
/// @}

/// @name abs(x)
/// Absolute value: x when x > 0, else -x, and -0.0 of either zero. Of complex elements (modulus, 0).
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  abs(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray abs(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray abs(const darr_c2DArray& x);
/// @}

/// @name acos(x)
/// Arc cosine, in radians.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  acos(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray acos(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray acos(const darr_c2DArray& x);
/// @}

/// @name asin(x)
/// Arc sine, in radians.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  asin(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray asin(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray asin(const darr_c2DArray& x);
/// @}

/// @name atan(x)
/// Arc tangent, in radians.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  atan(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray atan(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray atan(const darr_c2DArray& x);
/// @}

/// @name cos(x)
/// Cosine of radians.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  cos(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray cos(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray cos(const darr_c2DArray& x);
/// @}

/// @name cosh(x)
/// Hyperbolic cosine.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  cosh(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray cosh(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray cosh(const darr_c2DArray& x);
/// @}

/// @name exp(x)
/// Exponential.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  exp(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray exp(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray exp(const darr_c2DArray& x);
/// @}

/// @name log(x)
/// Natural logarithm.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  log(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray log(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray log(const darr_c2DArray& x);
/// @}

/// @name log10(x)
/// Decimal logarithm.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  log10(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray log10(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray log10(const darr_c2DArray& x);
/// @}

/// @name sin(x)
/// Sine of radians.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  sin(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray sin(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray sin(const darr_c2DArray& x);
/// @}

/// @name sinh(x)
/// Hyperbolic sine.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  sinh(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray sinh(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray sinh(const darr_c2DArray& x);
/// @}

/// @name sqr(x)
/// x times x; of complex elements the complex square, not the squared modulus.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  sqr(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray sqr(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray sqr(const darr_c2DArray& x);
/// @}

/// @name sqrt(x)
/// Square root.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  sqrt(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray sqrt(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray sqrt(const darr_c2DArray& x);
/// @}

/// @name tan(x)
/// Tangent of radians.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  tan(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray tan(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray tan(const darr_c2DArray& x);
/// @}

/// @name tanh(x)
/// Hyperbolic tangent.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  tanh(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray tanh(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray tanh(const darr_c2DArray& x);
/// @}

/// @name real(x)
/// Real part.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  real(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray real(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray real(const darr_c2DArray& x);
/// @}

/// @name imag(x)
/// Imaginary part; 0 of real elements.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  imag(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray imag(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray imag(const darr_c2DArray& x);
/// @}

/// @name norm(x)
/// Squared modulus of complex elements; real elements as they are.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  norm(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray norm(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray norm(const darr_c2DArray& x);
/// @}

/// @name arg(x)
/// Phase angle atan2(im, re) of complex elements; 0 of real elements.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  arg(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray arg(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray arg(const darr_c2DArray& x);
/// @}

/// @name conj(x)
/// Complex conjugate; real elements as they are.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  conj(const pnum_cNumber&  x);
DATAPROCESSING_EXPORT darr_c1DArray conj(const darr_c1DArray& x);
DATAPROCESSING_EXPORT darr_c2DArray conj(const darr_c2DArray& x);
/// @}

// clang-format on
