#pragma once

/// @file
/// What is in a workspace.

#include <array>
#include <cstddef>
#include <vector>

#include "dataprocessing/platform/memory.h"

namespace dataprocessing::detail {

/// Arrays of doubles on cache lines, which grow and are written before they are read.
struct maps_sRoom {
    /// What the arrays are for. A call uses each for one thing.
    enum eUse { Row, Weights, Weighted, Curve, Sums, Lanes, Equations, State, Uses };

    /// At least `count` doubles.
    double* Get(eUse use, std::size_t count) {
        mem_cBlock& block = blocks_[use];
        if (block.Size() < count * sizeof(double))
            block = mem_cBlock(count * sizeof(double));
        return static_cast<double*>(block.Data());
    }

private:
    std::array<mem_cBlock, Uses> blocks_;
};

} // namespace dataprocessing::detail
