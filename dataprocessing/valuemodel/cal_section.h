#pragma once

/// @file
/// Parts of an axis, and which elements lie there.

#include <cstddef>

#include "dataprocessing/valuemodel/cal.h"

namespace dataprocessing::detail {

/// Positions from one to another, both included. Which elements lie there is asked by real-valued
/// indices, so that an end counts as the position of an element that it is but for rounding.
class cal_cSection {
public:
    cal_cSection(const cal_c1DArrayCal& cal, double from, double to) noexcept;
    bool Has(std::size_t index) const noexcept {
        return static_cast<double>(index) >= first_ && static_cast<double>(index) <= last_;
    }

private:
    double first_;
    double last_;
};

} // namespace dataprocessing::detail
