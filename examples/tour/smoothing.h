#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace tour {

/// The mean over up to `reach` elements on either side.
std::vector<double> smoothed(std::span<const double> y, std::size_t reach);

} // namespace tour
