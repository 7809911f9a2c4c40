#pragma once

#include <span>
#include <vector>

#include "dataprocessing/dataprocessing.h"
#include "width_law.h"

namespace tour {

/// The curves that a background is a sum of: cubic B-splines, whose knots lie three line widths
/// apart, so that they follow a continuum and can follow no line. In the ranges `under` lines,
/// where no channel shows the continuum alone, they lie five widths apart, and do not take what
/// lines are other than Gaussians; in those that are `close` one width, so that they follow
/// structures that are wider than a line. They add up to 1.
struct Continuum {
    std::vector<darr_c1DArray> curves;
    std::vector<double> middles; ///< about where each has its largest value
};

Continuum continuumOver(const cal_c1DArrayCal& cal, int channels, const WidthLaw& law,
                        std::span<const rnge_c1DRange> close, std::span<const rnge_c1DRange> under);

} // namespace tour
