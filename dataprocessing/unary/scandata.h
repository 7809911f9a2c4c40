#pragma once

/// @file
/// Domain scans: does any element of a number or an array have a property that an operation cannot
/// take?

#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/pnum.h"

/// @name Domain scans
/// Each answers true when at least one element of its operand has the property. All elements are
/// looked at in storage order, up to the first that has it; the calibration plays no part. The
/// operand is unchanged. An array without elements answers false.
///
/// Every property is the negation of an ordered comparison, so a NaN element has all of them.
///
/// The operand is of a floating or complex type (codes 7 to 10). Throws expt_cProgramException
/// ("scandata", 166) for any other type, and ("scandata", 119) when the sign or size of a complex
/// operand is asked for: a complex number has no order.
/// @{

/// True when some element's magnitude is not greater than or equal to the smallest normal value of
/// its precision (1.1754944e-38 or 2.2250738585072014e-308): zeros of either sign and subnormal
/// values. A complex element counts when both of its parts do.
DATAPROCESSING_EXPORT type_cBoolean scan_IsZero(const pnum_cNumber& operand);
DATAPROCESSING_EXPORT type_cBoolean scan_IsZero(const darr_c1DArray& operand);
DATAPROCESSING_EXPORT type_cBoolean scan_IsZero(const darr_c2DArray& operand);

/// True when some element is not greater than 0. The comparison is exact: a positive subnormal
/// value does not count.
DATAPROCESSING_EXPORT type_cBoolean scan_IsZeroOrNegative(const pnum_cNumber& operand);
DATAPROCESSING_EXPORT type_cBoolean scan_IsZeroOrNegative(const darr_c1DArray& operand);
DATAPROCESSING_EXPORT type_cBoolean scan_IsZeroOrNegative(const darr_c2DArray& operand);

/// True when some element is not greater than or equal to 0. A negative zero does not count.
DATAPROCESSING_EXPORT type_cBoolean scan_IsNegative(const pnum_cNumber& operand);
DATAPROCESSING_EXPORT type_cBoolean scan_IsNegative(const darr_c1DArray& operand);
DATAPROCESSING_EXPORT type_cBoolean scan_IsNegative(const darr_c2DArray& operand);

/// True when some element is not in [-1, 1].
DATAPROCESSING_EXPORT type_cBoolean scan_IsAbsLargerThanUnity(const pnum_cNumber& operand);
DATAPROCESSING_EXPORT type_cBoolean scan_IsAbsLargerThanUnity(const darr_c1DArray& operand);
DATAPROCESSING_EXPORT type_cBoolean scan_IsAbsLargerThanUnity(const darr_c2DArray& operand);
/// @}
