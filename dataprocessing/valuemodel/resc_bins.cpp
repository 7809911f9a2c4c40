#include "dataprocessing/valuemodel/resc_bins.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/valuemodel/cal_index.h"

#define LEVEL_KERNELS "dataprocessing/valuemodel/resc_rebin_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

/// Refuses what does not say how wide elements are and where.
void require(const cal_cArrayCal& cal) {
    if (cal.Delta() == 0 || !std::isfinite(cal.Delta()))
        throw expt_cProgramException("resc", 1, "The delta is zero or not finite.");
    if (!std::isfinite(cal.Offset()))
        throw expt_cProgramException("resc", 2, "The offset is not finite.");
}

void require(const cal_cArrayCal& from, const cal_cArrayCal& to) {
    require(from);
    require(to);
    if (std::signbit(from.Delta()) != std::signbit(to.Delta()))
        throw expt_cProgramException(
            "resc", 1, "Axes that run in opposite directions cannot be brought to one delta.");
}

/// Refuses a delta that the positions of so many elements do not show.
void requireResolved(const cal_cArrayCal& cal, int count) {
    const double farthest = std::max(
        {std::fabs(cal.Offset()), std::fabs(cal.Position(0)), std::fabs(cal.Position(count))});
    if (std::fabs(cal.Delta()) < cal_LastPlaceOf(farthest))
        throw expt_cProgramException("resc", 2,
                                     "The delta is less than the last place of the positions.");
}

/// Whether bins are elements, so that where they lie does not depend on what positions show.
bool areElements(const cal_cArrayCal& from, const cal_cArrayCal& to) {
    return from.Offset() == to.Offset() && from.Delta() == to.Delta();
}

void requireResolved(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to) {
    if (areElements(from, to))
        return;
    requireResolved(from, elements);
    requireResolved(to, bins);
}

} // namespace

void resc_cBins::Edges(int first, int count, double* edges) const {
    if (!areElements(from_, to_)) {
        LEVEL_SELECT(resc_Edges)(elements_, from_, tolerance_, to_, first, count, edges);
        return;
    }
    const long long ahead = static_cast<long long>(from_.CalIndex()) - to_.CalIndex();
    for (int k = 0; k < count; ++k)
        edges[k] = static_cast<double>(std::clamp<long long>(first + k + ahead, 0, elements_));
}

resc_cBins resc_BinsOf(int elements, const cal_cArrayCal& from, double delta) {
    require(from);
    const cal_cArrayCal to(from.Position(0), delta, 0);
    require(from, to);
    if (from == to)
        return {elements, from, elements, to, 0};
    const double bins = std::ceil(to.RealIndex(from.Position(elements)));
    constexpr double most = std::numeric_limits<int>::max();
    if (!(bins >= 0 && bins <= most))
        arr_SizeError();
    const auto covering = static_cast<int>(bins);
    requireResolved(elements, from, covering, to);
    const double tolerance = cal_ToleranceAlong(from, elements);
    const double end = cal_RealIndexWithin(from.Offset(), from.Delta(), from.CalIndex(),
                                           to.Position(covering), tolerance);
    // What is next to nothing of a wide bin may be whole elements.
    const bool isShort = (end > 0 ? end : 0) < elements && bins < most;
    return {elements, from, covering + (isShort ? 1 : 0), to, tolerance};
}

resc_cBins resc_BinsOf(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to) {
    require(from, to);
    requireResolved(elements, from, bins, to);
    return {elements, from, bins, to, cal_ToleranceAlong(from, elements)};
}

} // namespace dataprocessing::detail
