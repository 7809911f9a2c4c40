#pragma once

/// @file
/// Rows of two planes that lie over each other, as the equations of their shift need them.

#include <cstddef>

namespace dataprocessing::detail {

/// The row above, the row and the row below, of both planes. Values of the second are used as
/// `gain` times them plus `offset`.
struct regs_sRows {
    const float* a[3];
    const float* b[3];
    float gain;
    float offset;
    std::ptrdiff_t stepX; ///< to the neighbours along X: 0 where there are none
};

inline constexpr std::size_t regs_Sums = 16;
inline constexpr std::size_t regs_Lanes = 16;

} // namespace dataprocessing::detail
