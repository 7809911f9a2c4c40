#pragma once

/// @file
/// What the kernels of the singular value decomposition work on.

#include <cstddef>

namespace dataprocessing::detail {

/// Kernels run over whole vectors and over groups of rows: behind the last element of each row, and
/// behind the last row, there is room for what they take too many, which is never an element.
inline constexpr std::size_t rcps_group = 8;

/// A multiple of the group that holds `count` elements and the room behind them. Rows that lie a
/// multiple of 512 bytes apart would share few places in a cache.
constexpr std::size_t rcps_Step(std::size_t count) noexcept {
    const std::size_t step = (count + 2 * (rcps_group - 1)) / rcps_group * rcps_group;
    return step % (8 * rcps_group) == 0 ? step + rcps_group : step;
}

/// Rows at equal distances.
struct rcps_sRows {
    double* elements;
    std::size_t step;

    double* Row(std::size_t i) const noexcept { return elements + i * step; }
    /// The same without what lies above row `i` and left of column `j`.
    rcps_sRows From(std::size_t i, std::size_t j) const noexcept { return {Row(i) + j, step}; }
};

/// How rows are reflected: by a column, from their first row on, whose products with the other
/// columns are `sums`, then by a row. Null where there is no such reflector.
struct rcps_sReflection {
    const double* column = nullptr;
    const double* sums = nullptr;
    const double* row = nullptr;
    const double* factors = nullptr; // the row over half of its square
};

/// Turns (x, z) to (x cosine + z sine, z cosine - x sine).
struct rcps_sRotation {
    double cosine;
    double sine;
};

} // namespace dataprocessing::detail
