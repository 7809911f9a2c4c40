#pragma once

/// @file
/// How points weigh in a fit of peaks.

#include <span>
#include <vector>

namespace dataprocessing::detail {

/// The standard deviations of counts, sqrt(|y|). A channel whose |y| is below type_MinValue takes
/// the mean of its two neighbours at the smallest distance where that is not; beyond the ends the
/// end channel stands. 1 when there is no such distance. The time is that of a few passes.
std::vector<double> gsft_Deviations(std::span<const double> y);

} // namespace dataprocessing::detail
