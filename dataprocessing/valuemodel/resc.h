#pragma once

/// @file
/// Resampling of calibrated arrays to another delta: of samples, which are interpolated, and of
/// counts, which are shared out.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"

/// The array resampled to `delta` over the same calibrated range.
///
/// The result has floor(length / delta + 0.5) elements from the same start, of the same type, on
/// the calibration (start, delta, 0). Element `i` is interpolated linearly, in double precision, at
/// its own position between the positions of the two elements around it; past the last one that one
/// holds. The part of the way between the two has an error of less than an epsilon at any index.
/// Integer elements are rounded to nearest, ties to even. Complex elements are interpolated part by
/// part. An element whose position is that of a stored one (within cal_cArrayCal::Tolerance at the
/// farther end of the array) takes it exactly, whatever its neighbours are.
///
/// Throws expt_cProgramException ("resc", 1) for a delta that is zero or not finite, or whose sign
/// is not that of the array's, and the size error when the count is not a number or more than
/// 2^31-1.
DATAPROCESSING_EXPORT darr_c1DArray resc_Rescale(const darr_c1DArray& array, double delta);

/// The same along both axes, interpolated bilinearly: along X first, then along Y, rounded once.
DATAPROCESSING_EXPORT darr_c2DArray resc_Rescale(const darr_c2DArray& array, double deltaX,
                                                 double deltaY);

/// @name Counts on another grid
/// The contents of `array` in other elements. An element owns the positions from its own up to that
/// of the next one, and its content lies evenly over them; an element of the result gets of each
/// what it overlaps. So the sum stays (counts are conserved), where a result that covers the array
/// is asked for, and values per element change with the delta. resc_Rescale is for samples, whose
/// values do not.
///
/// With a delta, the result begins where the array does and has as many elements as cover it, on
/// the calibration (start, delta, 0); the last one may reach beyond the array, and then holds less.
/// With a `grid`, it has the calibration and the sizes of that array; what lies outside the grid is
/// left out, and elements outside the array are 0.
///
/// Integers give doubles; the other types themselves, complex ones part by part. Shares are added
/// in the order of the elements, in double precision, and rounded once. An edge within
/// cal_cArrayCal::Tolerance, at the farther end of the array, of an edge of the array counts as
/// that edge, so that bins that are meant to fit do, and integers then stay exact. With the array's
/// own delta, and on a grid of the same offset and delta, bins are elements, wherever they lie. A
/// bin whose two edges count as one edge of the array holds 0. An element that is not overlapped
/// does not matter, even when it is infinite or NaN. An empty array gives zeros on a grid, and no
/// element otherwise.
///
/// An axis may run downward; the result then does, too. Throws expt_cProgramException ("resc", 1)
/// for a delta, of the array or of the result, that is zero or not finite, and for two of opposite
/// signs, ("resc", 2) for an offset that is not finite, and, where there is something to share out,
/// for two deltas that differ or lie at different offsets, if that of the array is not more than
/// eight last places of its positions, with which every share would be whole, or that of the result
/// less than one; the size error for more than 2^31-1 elements, and the error of conv_Convert
/// for an unknown element type.
///
///     const darr_c1DArray net = spectrum - resc_Rebin(background, spectrum);
/// @{
DATAPROCESSING_EXPORT darr_c1DArray resc_Rebin(const darr_c1DArray& array, double delta);
DATAPROCESSING_EXPORT darr_c1DArray resc_Rebin(const darr_c1DArray& array,
                                               const darr_c1DArray& grid);
DATAPROCESSING_EXPORT darr_c2DArray resc_Rebin(const darr_c2DArray& array, double deltaX,
                                               double deltaY);
DATAPROCESSING_EXPORT darr_c2DArray resc_Rebin(const darr_c2DArray& array,
                                               const darr_c2DArray& grid);
/// @}
