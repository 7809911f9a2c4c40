#include "dataprocessing/operand/algn.h"

#include "dataprocessing/base/arr.h"
#include "dataprocessing/valuemodel/rnge.h"
#include "dataprocessing/valuemodel/view_make.h"

namespace dataprocessing::detail {

namespace {

rnge_sBounds boundsOf(const view_cAxis& axis) { return {axis.Start(), axis.End()}; }

bool isSame(const view_cAxis& a, const view_cAxis& b) {
    return a.Count() == b.Count() && a.Cal().Delta() == b.Cal().Delta() &&
           boundsOf(a) == boundsOf(b);
}

/// The smaller delta; the second's unless the first's is less.
double finer(const view_cAxis& a, const view_cAxis& b) {
    return a.Cal().Delta() < b.Cal().Delta() ? a.Cal().Delta() : b.Cal().Delta();
}

bool rescaleUnlessAt(algn_sAxes& axes, double deltaX, double deltaY) {
    if (axes.x.Cal().Delta() == deltaX && axes.y.Cal().Delta() == deltaY)
        return false;
    axes.x.Rescale(deltaX);
    axes.y.Rescale(deltaY);
    return true;
}

void select(algn_sAxes& axes, const rnge_sBounds& x, const rnge_sBounds& y) {
    const rnge_c1DIndexRange columns = rnge_Select(x, axes.x.Cal(), rnge_IndexNearest);
    const rnge_c1DIndexRange rows = rnge_Select(y, axes.y.Cal(), rnge_IndexNearest);
    axes.x.Select(columns.First(), columns.Last());
    axes.y.Select(rows.First(), rows.Last());
}

template<class Array>
int matchDelta(Array& a, Array& b) {
    algn_sAxes ofA = algn_Axes(a);
    algn_sAxes ofB = algn_Axes(b);
    const int rescaled = algn_MatchDelta(ofA, ofB);
    if (rescaled == 1)
        a = view_Made(a, ofA.x, ofA.y);
    else if (rescaled == 2)
        b = view_Made(b, ofB.x, ofB.y);
    return rescaled;
}

template<class Array>
bool matchRange(Array& a, Array& b) {
    algn_sAxes ofA = algn_Axes(a);
    algn_sAxes ofB = algn_Axes(b);
    if (!algn_MatchRange(ofA, ofB))
        return false;
    a = view_Made(a, ofA.x, ofA.y);
    b = view_Made(b, ofB.x, ofB.y);
    return true;
}

template<class Mask, class Array>
bool matchDeltaToMask(const Mask& mask, Array& data) {
    algn_sAxes axes = algn_Axes(data);
    if (!algn_MatchDeltaToMask(algn_Axes(mask), axes))
        return false;
    data = view_Made(data, axes.x, axes.y);
    return true;
}

template<class Mask, class Array>
Array& matchRangeToMask(const Mask& mask, Array& data) {
    algn_sAxes axes = algn_Axes(data);
    if (algn_MatchRangeToMask(algn_Axes(mask), axes))
        data = view_Made(data, axes.x, axes.y);
    return data;
}

} // namespace

algn_sAxes algn_Axes(const darr_c1DArray& array) noexcept { return {view_X(array), view_Y(array)}; }
algn_sAxes algn_Axes(const darr_c2DArray& array) noexcept { return {view_X(array), view_Y(array)}; }
algn_sAxes algn_Axes(const barr_c1DBoolArray& mask) noexcept {
    return {{mask.Size(), mask.Cal()}, {1, cal_cArrayCal()}};
}
algn_sAxes algn_Axes(const barr_c2DBoolArray& mask) noexcept {
    return {{mask.SizeX(), mask.Cal().X()}, {mask.SizeY(), mask.Cal().Y()}};
}

void algn_RequireSameSize(const algn_sAxes& a, const algn_sAxes& b) {
    if (a.x.Count() != b.x.Count())
        arr_SizeError(b.x.Count(), a.x.Count());
    if (a.y.Count() != b.y.Count())
        arr_SizeError(b.y.Count(), a.y.Count());
}

bool algn_IsAligned(const algn_sAxes& a, const algn_sAxes& b) noexcept {
    return isSame(a.x, b.x) && isSame(a.y, b.y);
}

int algn_MatchDelta(algn_sAxes& a, algn_sAxes& b) {
    const double x = finer(a.x, b.x);
    const double y = finer(a.y, b.y);
    if (rescaleUnlessAt(a, x, y))
        return 1;
    return rescaleUnlessAt(b, x, y) ? 2 : 0;
}
int algn_MatchDelta(darr_c1DArray& a, darr_c1DArray& b) { return matchDelta(a, b); }
int algn_MatchDelta(darr_c2DArray& a, darr_c2DArray& b) { return matchDelta(a, b); }

bool algn_MatchRange(algn_sAxes& a, algn_sAxes& b) {
    const rnge_sBounds x = boundsOf(b.x);
    const rnge_sBounds y = boundsOf(b.y);
    if (boundsOf(a.x) == x && boundsOf(a.y) == y)
        return false;
    select(a, rnge_Hull(boundsOf(a.x), x), rnge_Hull(boundsOf(a.y), y));
    select(b, rnge_Hull(boundsOf(a.x), x), rnge_Hull(boundsOf(a.y), y));
    return true;
}
bool algn_MatchRange(darr_c1DArray& a, darr_c1DArray& b) { return matchRange(a, b); }
bool algn_MatchRange(darr_c2DArray& a, darr_c2DArray& b) { return matchRange(a, b); }

void algn_Match(algn_sAxes& a, algn_sAxes& b) {
    algn_MatchDelta(a, b);
    algn_MatchRange(a, b);
    if (algn_Count(a) == 0)
        arr_IndexError(0, 0);
    algn_RequireSameSize(a, b);
}

bool algn_MatchDeltaToMask(const algn_sAxes& mask, algn_sAxes& data) {
    return rescaleUnlessAt(data, mask.x.Cal().Delta(), mask.y.Cal().Delta());
}
bool algn_MatchDeltaToMask(const barr_c1DBoolArray& mask, darr_c1DArray& data) {
    return matchDeltaToMask(mask, data);
}
bool algn_MatchDeltaToMask(const barr_c2DBoolArray& mask, darr_c2DArray& data) {
    return matchDeltaToMask(mask, data);
}

bool algn_MatchRangeToMask(const algn_sAxes& mask, algn_sAxes& data) {
    const rnge_sBounds x = boundsOf(mask.x);
    const rnge_sBounds y = boundsOf(mask.y);
    if (boundsOf(data.x) == x && boundsOf(data.y) == y)
        return false;
    select(data, x, y);
    return true;
}
darr_c1DArray& algn_MatchRangeToMask(const barr_c1DBoolArray& mask, darr_c1DArray& data) {
    return matchRangeToMask(mask, data);
}
darr_c2DArray& algn_MatchRangeToMask(const barr_c2DBoolArray& mask, darr_c2DArray& data) {
    return matchRangeToMask(mask, data);
}

bool algn_MatchToMask(const algn_sAxes& mask, algn_sAxes& data) {
    const bool rescaled = algn_MatchDeltaToMask(mask, data);
    return algn_MatchRangeToMask(mask, data) || rescaled;
}

} // namespace dataprocessing::detail
