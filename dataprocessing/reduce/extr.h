#pragma once

/// @file
/// Smallest and largest elements of arrays, with their positions.
///
/// What follows holds for all functions here.
///
/// **Elements.** Real arrays are searched in their own type. Complex ones are searched as the
/// doubles that `conversion` makes of their elements, and the result is a double.
///
/// **Order.** Elements are visited in storage order, and the first of equal ones wins, -0.0 and 0.0
/// being equal. A NaN is treated differently by the two searches: a minimum search takes every
/// element that is not greater than or equal to the best so far, so that a NaN always replaces the
/// best and the next element always replaces a NaN; the result is NaN only when the last element
/// is. A maximum search takes every element that is greater, so that a NaN never replaces the best,
/// and one in the first element stays.
///
/// **Errors.** An array without elements: expt_cUserException ("extrem1", 383, "Cannot calculate
/// extremum on empty array."). A `conversion` that is none of conv_eComplexConversion, on a complex
/// array: that of conv_Convert. Position arguments are written on success only. An array of unknown
/// element type gives the float 0 and leaves the positions as they were.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/conv.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/parr.h"
#include "dataprocessing/valuemodel/pnum.h"
#include "dataprocessing/valuemodel/rnge.h"

// clang-format off

/// @name Extremum
/// The smallest or the largest element.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const parr_c1DNumberArray& array, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const parr_c1DNumberArray& array, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const parr_c2DNumberArray& array, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const parr_c2DNumberArray& array, conv_eComplexConversion conversion = conv_RealPart);
/// @}

/// @name Extremum and its index
/// The smallest or the largest element, and its index, or its column `x` and row `y`.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const parr_c1DNumberArray& array, int& index, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const parr_c1DNumberArray& array, int& index, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const parr_c2DNumberArray& array, int& x, int& y, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const parr_c2DNumberArray& array, int& x, int& y, conv_eComplexConversion conversion = conv_RealPart);
/// @}

/// @name Extremum and its position
/// The smallest or the largest element, and its position in calibrated units: cal_cArrayCal::Position
/// of its index.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c1DArray& array, double& position, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c1DArray& array, double& position, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c2DArray& array, double& x, double& y, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c2DArray& array, double& x, double& y, conv_eComplexConversion conversion = conv_RealPart);
/// @}

/// @name Both extrema
/// Sets `min` and `max` in one pass; the same values as those of extr_Min and extr_Max.
/// @{
DATAPROCESSING_EXPORT void extr_MinMax(const parr_c1DNumberArray& array, pnum_cNumber& min, pnum_cNumber& max, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT void extr_MinMax(const parr_c2DNumberArray& array, pnum_cNumber& min, pnum_cNumber& max, conv_eComplexConversion conversion = conv_RealPart);
/// @}

/// @name Extremum over a calibrated range
/// The smallest or the largest of the elements inside `range` and of the values at its two ends,
/// found by `interpolation` (darr_c1DArray::Value). The elements inside are those of the array that
/// rnge_IndexFloor finds without interpolation, rnge_IndexCeiling with it. A range that holds no
/// element gives the smaller, or larger, of the two end values. They are combined by trny_min and
/// trny_max, the elements with the start, then with the end, so the result's type is the common one.
/// Nothing is allocated, whatever the type of the array. Throws what Value and rnge_c1DIndexRange
/// throw, too.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c1DArray& array, const rnge_c1DRange& range, darr_eInterpolation interpolation = darr_LinearInterpolation, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c1DArray& array, const rnge_c1DRange& range, darr_eInterpolation interpolation = darr_LinearInterpolation, conv_eComplexConversion conversion = conv_RealPart);
/// @}

/// @name Extrema under a mask
/// What the functions above give for the elements where `mask` is true, in storage order: the extremum;
/// with its index, or its column `x` and row `y`, in the array; with its position; both extrema. Where
/// the mask takes no element, the error of an array without elements.
///
///     const pnum_cNumber highest = extr_Max(spectrum, !saturated);
///
/// The mask has the size of the array: otherwise the size error. It lies where the array does or, as
/// comparisons leave it, on the default calibration: otherwise expt_cProgramException ("pick", 1). Throws
/// std::bad_alloc when there is no room for a copy of the elements.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c1DArray& array, const barr_c1DBoolArray& mask, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c1DArray& array, const barr_c1DBoolArray& mask, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c2DArray& array, const barr_c2DBoolArray& mask, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c2DArray& array, const barr_c2DBoolArray& mask, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c1DArray& array, const barr_c1DBoolArray& mask, int& index, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c1DArray& array, const barr_c1DBoolArray& mask, int& index, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c2DArray& array, const barr_c2DBoolArray& mask, int& x, int& y, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c2DArray& array, const barr_c2DBoolArray& mask, int& x, int& y, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c1DArray& array, const barr_c1DBoolArray& mask, double& position, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c1DArray& array, const barr_c1DBoolArray& mask, double& position, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Min(const darr_c2DArray& array, const barr_c2DBoolArray& mask, double& x, double& y, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT pnum_cNumber extr_Max(const darr_c2DArray& array, const barr_c2DBoolArray& mask, double& x, double& y, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT void extr_MinMax(const darr_c1DArray& array, const barr_c1DBoolArray& mask, pnum_cNumber& min, pnum_cNumber& max, conv_eComplexConversion conversion = conv_RealPart);
DATAPROCESSING_EXPORT void extr_MinMax(const darr_c2DArray& array, const barr_c2DBoolArray& mask, pnum_cNumber& min, pnum_cNumber& max, conv_eComplexConversion conversion = conv_RealPart);
/// @}

// clang-format on
