#pragma once

/// @file
/// Positions one after the other.

#include <utility>

#include "dataprocessing/valuemodel/cal.h"

namespace dataprocessing::detail {

/// Walks along an axis: the first position is that of an element, each next one a delta further by
/// addition.
class cal_cSteps {
public:
    /// Begins at element `first`.
    explicit cal_cSteps(const cal_cArrayCal& cal, long long first = 0) noexcept
        : position_(cal.Position(first)), delta_(cal.Delta()) {}

    /// The position, after which it is that of the next element.
    double Next() noexcept { return std::exchange(position_, position_ + delta_); }

private:
    double position_;
    double delta_;
};

} // namespace dataprocessing::detail
