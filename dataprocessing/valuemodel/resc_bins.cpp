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

/// Refuses elements of which every share would be whole, because an edge is everywhere within the
/// tolerance of one of theirs, and bins that positions do not show.
void requireResolved(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to) {
    const double farthest =
        std::max({std::fabs(to.Offset()), std::fabs(to.Position(0)), std::fabs(to.Position(bins))});
    if (!(cal_ToleranceAlong(from, elements) < 0.5) ||
        !(std::fabs(to.Delta()) >= cal_LastPlaceOf(farthest)))
        throw expt_cProgramException("resc", 2,
                                     "The delta is lost in the last places of positions.");
}

} // namespace

void resc_cBins::Edges(int first, int count, double* edges) const {
    if (!ahead_) {
        LEVEL_SELECT(resc_Edges)(elements_, from_, tolerance_, to_, first, count, edges);
        return;
    }
    for (int k = 0; k < count; ++k)
        edges[k] = static_cast<double>(std::clamp<long long>(first + k + *ahead_, 0, elements_));
}

resc_cBins resc_BinsOf(int elements, const cal_cArrayCal& from, double delta) {
    require(from);
    const cal_cArrayCal to(from.Position(0), delta, 0);
    require(from, to);
    if (delta == from.Delta())
        return {elements, elements, to, 0};
    const double bins = std::ceil(to.RealIndex(from.Position(elements)));
    constexpr double most = std::numeric_limits<int>::max();
    if (!(bins >= 0 && bins <= most))
        arr_SizeError();
    const auto covering = static_cast<int>(bins);
    if (elements > 0)
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
    if (from.Offset() == to.Offset() && from.Delta() == to.Delta())
        return {elements, bins, to, static_cast<long long>(from.CalIndex()) - to.CalIndex()};
    if (elements > 0 && bins > 0)
        requireResolved(elements, from, bins, to);
    return {elements, from, bins, to, cal_ToleranceAlong(from, elements)};
}

} // namespace dataprocessing::detail
