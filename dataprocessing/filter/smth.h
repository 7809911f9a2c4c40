#pragma once

/// @file
/// Smoothing of spectra, line profiles and images.
///
/// What follows holds for all functions here.
///
/// **Result.** It has the sizes and the calibration of the operand. Polynomials and Gaussian
/// averages are computed in double precision and rounded once: integers give doubles, the other
/// types themselves, complex elements part by part. Medians are elements and keep the type.
///
/// **Ends.** Where a neighbourhood reaches beyond an end, an average and a median take the elements
/// mirrored there: d c b a | a b c d | d c b a. Polynomials need nothing from beyond.
///
/// **NaN and infinities** make every polynomial and average that they are part of what the
/// additions give; a median counts a NaN as larger than every number.
///
/// **Empty operands** give empty results, whatever the widths.
///
/// **Errors.** expt_cProgramException ("smth", 1) for a width of a neighbourhood that is not odd
/// and positive; the error of conv_Convert for an unknown element type.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"

/// The array smoothed by polynomials: each element becomes the value, at its place, of the
/// polynomial of the given order that fits the `width` elements around it best (unweighted least
/// squares), so that the heights and areas of peaks wider than that survive. With a `derivative` of
/// 1, 2, ... it becomes that derivative, per calibrated unit: the units of the result are those of
/// the elements over those of the calibration to that power. The first and the last width / 2
/// elements take the polynomial through the first and the last `width` elements. A derivative above
/// the order is zero, with neither the sign nor the NaN of the elements.
///
/// Throws also expt_cProgramException ("smth", 2) for an order that is negative or not less than
/// the width, ("smth", 3) for a negative derivative, ("smth", 6) for a derivative of elements whose
/// delta is zero or not finite, and the size error for an array of fewer elements than the width.
///
/// A. Savitzky and M. J. E. Golay, Anal. Chem. 36 (1964) 1627; weights from orthogonal polynomials,
/// P. A. Gorry, Anal. Chem. 62 (1990) 570.
///
///     const darr_c1DArray smooth = smth_SavitzkyGolay(spectrum, 9, 2);
///     const darr_c1DArray slope = smth_SavitzkyGolay(spectrum, 9, 2, 1); // counts per keV
DATAPROCESSING_EXPORT darr_c1DArray smth_SavitzkyGolay(const darr_c1DArray& array, int width,
                                                       int order, int derivative = 0);

/// The array averaged with the weights exp(-(d / sigma)^2 / 2) of the distance d, over the elements
/// within 4 `sigma` (to the nearest whole element), made to add up to 1. `sigma` is in calibrated
/// units, so that an image with unequal deltas is smoothed equally in all directions where both are
/// equal. The sum of all elements stays. A sigma of 0 leaves an axis as it is.
///
/// Throws also expt_cProgramException ("smth", 4) for a sigma that is negative or not finite, or of
/// more than 2^20 elements (a delta of 0 or NaN makes any other than 0 that).
///
///     const darr_c2DArray smooth = smth_Gauss(image, 1.5, 1.5); // mm, whatever the deltas
DATAPROCESSING_EXPORT darr_c1DArray smth_Gauss(const darr_c1DArray& array, double sigma);
DATAPROCESSING_EXPORT darr_c2DArray smth_Gauss(const darr_c2DArray& array, double sigmaX,
                                               double sigmaY);

/// The median of the `width` elements around each, or of the `widthX` times `widthY`: it removes
/// what is narrower than half of that, single outliers above all, and keeps edges where they are.
///
/// Throws also expt_cProgramException ("smth", 5) for complex elements, which have no order, and
/// the size error for a neighbourhood of more than 2^31-1 elements.
///
///     const darr_c2DArray clean = smth_Median(image, 3, 3); // without hot pixels
DATAPROCESSING_EXPORT darr_c1DArray smth_Median(const darr_c1DArray& array, int width);
DATAPROCESSING_EXPORT darr_c2DArray smth_Median(const darr_c2DArray& array, int widthX, int widthY);
