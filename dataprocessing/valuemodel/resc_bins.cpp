#include "dataprocessing/valuemodel/resc_bins.h"

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

} // namespace

resc_cBins::resc_cBins(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to)
    : elements_(elements), bins_(bins), from_(from), to_(to),
      tolerance_(cal_ToleranceAlong(from, elements)) {}

void resc_cBins::Edges(int first, int count, double* edges) const {
    LEVEL_SELECT(resc_Edges)(elements_, from_, tolerance_, to_, first, count, edges);
}

resc_cBins resc_BinsOf(int elements, const cal_cArrayCal& from, double delta) {
    require(from);
    const cal_cArrayCal to(from.Position(0), delta, 0);
    require(from, to);
    double bins = std::ceil(to.RealIndex(from.Position(elements)));
    constexpr double most = std::numeric_limits<int>::max();
    if (!(bins >= 0 && bins <= most))
        arr_SizeError();
    const resc_cBins covering(elements, from, static_cast<int>(bins), to);
    double end = 0;
    covering.Edges(covering.Count(), 1, &end);
    // What is next to nothing of a wide bin may be whole elements.
    if (bins < most && end < elements)
        return {elements, from, covering.Count() + 1, to};
    return covering;
}

resc_cBins resc_BinsOf(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to) {
    require(from, to);
    return {elements, from, bins, to};
}

} // namespace dataprocessing::detail
