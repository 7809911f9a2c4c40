#pragma once

/// @file
/// What rotating an image comes to.

#include "dataprocessing/valuemodel/cal.h"

namespace dataprocessing::detail {

/// Whether rotating an image at `cal` by `angle` leaves every element where it is, so that
/// warp_Rotate gives a copy of it or of a range.
bool warp_LeavesInPlace(const cal_c2DArrayCal& cal, double angle);

} // namespace dataprocessing::detail
