#pragma once

/// @file
/// Shapes that are fitted to every spectrum, prepared once.

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "dataprocessing/maps/maps_linear.h"

namespace dataprocessing::detail {

/// The shapes over whole vectors of channels, and which products of them there are.
struct maps_sShapes {
    /// The channels where a shape is not 0, whole vectors of them.
    struct sExtent {
        std::size_t first;
        std::size_t last;
        std::size_t Count() const noexcept { return last - first; }
        bool operator==(const sExtent&) const = default;
    };
    /// The products of one shape with others over the same channels, and with the values.
    struct sGroup {
        std::size_t shape;
        sExtent extent;
        std::vector<std::size_t> others;
        bool hasValues;
    };

    maps_sShapes(std::span<const double> values, std::size_t channelCount,
                 const maps_sLinearOptions& how);

    const double* Row(std::size_t shape) const { return rows.data() + shape * length; }
    bool IsCore(std::size_t shape) const {
        return std::find(core.begin(), core.end(), shape) != core.end();
    }
    void AddPair(std::size_t i, std::size_t j);
    void Prepare();

    std::size_t channels;
    std::size_t length;
    std::size_t count;
    maps_eWeights weights;
    std::vector<char> isNonNegative;
    bool hasBounds = false;
    std::vector<double> rows;
    std::vector<double> part;       ///< 1 for the channels that a shape reaches.
    std::vector<double> ofOneCount; ///< The variance of a factor that one count makes known.
    std::vector<sExtent> extents;
    std::vector<std::size_t> core; ///< Shapes that reach all channels: these go together.
    std::vector<const double*> coreRows;
    std::vector<sGroup> groups;   ///< What is not between two of those.
    std::vector<double> products; ///< Of the shapes, by rows: the equations with equal weights.
    std::vector<double> inverse;  ///< Of those.
};

} // namespace dataprocessing::detail
