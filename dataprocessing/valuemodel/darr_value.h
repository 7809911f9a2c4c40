#pragma once

/// @file
/// The value between elements, of an array that is seen in another type.

#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/view.h"

namespace dataprocessing::detail {

/// The value at position `x` of the elements of `row`, which lie at `cal`; see
/// darr_c1DArray::Value, whose errors it throws.
pnum_cNumber darr_ValueAt(const view_cView& row, const cal_cArrayCal& cal, double x,
                          darr_eInterpolation interpolation);

} // namespace dataprocessing::detail
