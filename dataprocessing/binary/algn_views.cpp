#include "dataprocessing/binary/algn_views.h"

#include "dataprocessing/valuemodel/arr.h"
#include "dataprocessing/valuemodel/rnge.h"

namespace dataprocessing::detail {

namespace {

rnge_sBounds boundsOf(const view_cAxis& axis) { return {axis.Start(), axis.End()}; }

void selectNearest(view_cAxis& axis, const rnge_sBounds& bounds) {
    const rnge_c1DIndexRange range = rnge_Select(bounds, axis.Cal(), rnge_IndexNearest);
    axis.Select(range.First(), range.Last());
}

bool matchDelta(const algn_sAxes& mask, algn_sAxes& data) {
    const double deltaX = mask.x.Cal().Delta();
    const double deltaY = mask.y.Cal().Delta();
    if (data.x.Cal().Delta() == deltaX && data.y.Cal().Delta() == deltaY)
        return false;
    data.x.Rescale(deltaX);
    data.y.Rescale(deltaY);
    return true;
}

bool matchRange(const algn_sAxes& mask, algn_sAxes& data) {
    const rnge_sBounds x = boundsOf(mask.x);
    const rnge_sBounds y = boundsOf(mask.y);
    if (boundsOf(data.x) == x && boundsOf(data.y) == y)
        return false;
    selectNearest(data.x, x);
    selectNearest(data.y, y);
    return true;
}

} // namespace

algn_sAxes algn_Axes(const barr_c1DBoolArray& mask) noexcept {
    return {{mask.Size(), mask.Cal()}, {1, cal_cArrayCal()}};
}
algn_sAxes algn_Axes(const barr_c2DBoolArray& mask) noexcept {
    return {{mask.SizeX(), mask.Cal().X()}, {mask.SizeY(), mask.Cal().Y()}};
}

void algn_Match(algn_sAxes& a, algn_sAxes& b) {
    algn_MatchDelta(a, b);
    algn_MatchRange(a, b);
    if (a.x.Count() == 0 || a.y.Count() == 0)
        arr_IndexError(0, 0);
    algn_RequireSameSize(a, b);
}

bool algn_MatchToMask(const algn_sAxes& mask, algn_sAxes& data) {
    const bool rescaled = matchDelta(mask, data);
    return matchRange(mask, data) || rescaled;
}

void algn_RequireSameSize(const algn_sAxes& a, const algn_sAxes& b) {
    if (a.x.Count() != b.x.Count())
        arr_SizeError(b.x.Count(), a.x.Count());
    if (a.y.Count() != b.y.Count())
        arr_SizeError(b.y.Count(), a.y.Count());
}

} // namespace dataprocessing::detail
