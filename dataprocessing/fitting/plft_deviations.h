#pragma once

/// @file
/// Standard deviations that come with data.

#include "dataprocessing/valuemodel/darr.h"

namespace dataprocessing::detail {

/// Throws the size error unless there is one deviation for each element of `data`, and
/// expt_cProgramException ("poly_fit", 1) unless they lie at the same positions.
void plft_CheckDeviations(const darr_c1DArray& data, const darr_c1DArray& deviations);

} // namespace dataprocessing::detail
