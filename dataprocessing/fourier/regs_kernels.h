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

/// The sums that the equations are made of, and the parts that each is added up in.
inline constexpr std::size_t regs_sums = 16;
inline constexpr std::size_t regs_lanes = 16;

/// The sums of products of two planes that a likeness is made of, in parts.
inline constexpr std::size_t regs_products = 5;
inline constexpr std::size_t regs_productLanes = 8;
struct regs_sProducts {
    double lanes[regs_products][regs_productLanes] = {};
};

} // namespace dataprocessing::detail
