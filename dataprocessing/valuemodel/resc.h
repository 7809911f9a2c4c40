#pragma once

/// @file
/// Resampling of calibrated arrays to another delta.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"

/// The array resampled to `delta` over the same calibrated range.
///
/// The result has floor(length / delta + 0.5) elements from the same start, of the same type, on
/// the calibration (start, delta, 0). Element `i` is interpolated linearly, in double precision, at
/// its own position between the positions of the two elements around it; past the last one that one
/// holds. Integer elements are rounded to nearest, ties to even. Complex elements are interpolated
/// part by part. An element whose position is that of a stored one takes it exactly, whatever its
/// neighbours are.
///
/// Throws expt_cProgramException ("resc", 1) for a delta that is not positive and finite, and the
/// size error when the count is negative or more than 2^31-1.
DATAPROCESSING_EXPORT darr_c1DArray resc_Rescale(const darr_c1DArray& array, double delta);

/// The same along both axes, interpolated bilinearly: along X first, then along Y, rounded once.
DATAPROCESSING_EXPORT darr_c2DArray resc_Rescale(const darr_c2DArray& array, double deltaX,
                                                 double deltaY);
