#pragma once

/// @file
/// Sum, mean and variance of all elements of an array.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/parr.h"
#include "dataprocessing/valuemodel/pnum.h"

/// The sum of all elements; 0 of an array without elements. It never throws.
///
/// The result's type follows from the element type and the count, so that integer sums are exact:
///
/// | elements | result |
/// |---|---|
/// | uint8 | int32 below 8388608 elements, else double |
/// | uint16 | int32 below 32768 elements, else double |
/// | int8 | int32 up to 16777215 elements, else double |
/// | int16 | int32 below 65536 elements, else double |
/// | uint32, int32, float, double | double |
/// | complex float, complex double | complex double |
/// | an unknown type | the float 0 |
///
/// Elements are added in storage order in the type of the result, the parts of complex ones each
/// for itself. NaN and infinities propagate as the additions have it.
DATAPROCESSING_EXPORT pnum_cNumber stat_Sum(const parr_c1DNumberArray& array);
DATAPROCESSING_EXPORT pnum_cNumber stat_Sum(const parr_c2DNumberArray& array);

/// The arithmetic mean: the sum times (1.0 / count), by the arithmetic of numbers, so a double or a
/// complex double. Throws expt_cUserException ("statist", 166 for 1D, 178 for 2D, "Cannot calculate
/// mean on empty array.") for an array without elements.
DATAPROCESSING_EXPORT pnum_cNumber stat_Mean(const parr_c1DNumberArray& array);
DATAPROCESSING_EXPORT pnum_cNumber stat_Mean(const parr_c2DNumberArray& array);

/// The variance: the sum of the squared deviations from the mean, each a double or complex double,
/// added in storage order, times (1.0 / d). In 1D, d = count - 1. **In 2D, d = (size X - 1) x (size
/// Y - 1)**, so that a single column has an infinite factor. Of complex elements it is the complex
/// square that is summed, not the squared modulus.
///
/// Throws expt_cUserException ("statist", 190, "Cannot calculate variance on array.") for a 1D
/// array of less than two elements, and ("statist", 203, the same text) for a 2D array of less than
/// two elements or less than two rows. Throws the error of conv_Convert for an unknown element
/// type.
DATAPROCESSING_EXPORT pnum_cNumber stat_Variance(const parr_c1DNumberArray& array);
DATAPROCESSING_EXPORT pnum_cNumber stat_Variance(const parr_c2DNumberArray& array);

// clang-format off

/// @name Under a mask
/// What the functions above give for a 1D array of the elements where `mask` is true, in storage order,
/// with the same types, the number of those elements as the count, and the same errors for too few of
/// them: none has a sum of 0, no mean, and less than two have no variance. **The variance of elements of
/// an image has d = count - 1, too**: they have no rows and columns. Elements that are not taken do not
/// matter, even when they are infinite or NaN.
///
///     const pnum_cNumber background = stat_Mean(spectrum, spectrum < 100);
///
/// The mask has the size of the array: otherwise the size error. It lies where the array does or, as
/// comparisons leave it, on the default calibration: otherwise expt_cProgramException ("pick", 1). Throws
/// std::bad_alloc when there is no room for a copy of the elements.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber stat_Sum(const darr_c1DArray& array, const barr_c1DBoolArray& mask);
DATAPROCESSING_EXPORT pnum_cNumber stat_Sum(const darr_c2DArray& array, const barr_c2DBoolArray& mask);
DATAPROCESSING_EXPORT pnum_cNumber stat_Mean(const darr_c1DArray& array, const barr_c1DBoolArray& mask);
DATAPROCESSING_EXPORT pnum_cNumber stat_Mean(const darr_c2DArray& array, const barr_c2DBoolArray& mask);
DATAPROCESSING_EXPORT pnum_cNumber stat_Variance(const darr_c1DArray& array, const barr_c1DBoolArray& mask);
DATAPROCESSING_EXPORT pnum_cNumber stat_Variance(const darr_c2DArray& array, const barr_c2DBoolArray& mask);
/// @}

// clang-format on
