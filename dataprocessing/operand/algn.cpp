#include "dataprocessing/operand/algn.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/valuemodel/view_make.h"

namespace dataprocessing::detail {

namespace {

/// Elements of equal index lie at one position, if the deltas are equal.
bool isSameRange(const view_cAxis& a, const view_cAxis& b) {
    return a.Count() == b.Count() && a.Start() == b.Start() && a.End() == b.End();
}

bool isSame(const view_cAxis& a, const view_cAxis& b) {
    return a.Cal().Delta() == b.Cal().Delta() && isSameRange(a, b);
}

bool rescaleUnlessAt(algn_sAxes& axes, double deltaX, double deltaY) {
    if (axes.x.Cal().Delta() == deltaX && axes.y.Cal().Delta() == deltaY)
        return false;
    axes.x.Rescale(deltaX);
    axes.y.Rescale(deltaY);
    return true;
}

/// The element nearest to a position.
long long nearest(const view_cAxis& axis, double position) {
    if (axis.Cal().Delta() == 0)
        arr_IndexError();
    if (axis.Start() == position)
        return 0;
    const double index = axis.Cal().NearestIndex(position);
    if (std::isnan(index))
        arr_IndexError();
    constexpr double far = 0x1p40; // more elements than any array can have
    return static_cast<long long>(std::clamp(index, -far, far));
}

/// The number of elements from `start` to `end`, halves down.
long long countBetween(const view_cAxis& axis, double start, double end) {
    const cal_cArrayCal backward(start, -axis.Cal().Delta(), 0);
    return -nearest({0, backward}, end);
}

/// Selects both axes over the hull of their ranges, that of an empty operand being the other's.
/// Halves of a start go upward: the later elements then reach as far as halves of the length, which
/// go downward, and none of them is left out.
void matchRange(view_cAxis& a, bool isEmptyA, view_cAxis& b, bool isEmptyB) {
    const bool isDownward = a.Cal().Delta() < 0;
    const auto isBefore = [&](double x, double y) { return isDownward ? x > y : x < y; };
    double start = b.Start();
    double end = b.End();
    if (isEmptyB || (!isEmptyA && isBefore(a.Start(), start)))
        start = a.Start();
    if (isEmptyB || (!isEmptyA && isBefore(end, a.End())))
        end = a.End();

    const long long firstA = nearest(a, start);
    const long long firstB = nearest(b, start);
    const long long lastA = isEmptyA ? 0 : a.Count() - firstA;
    const long long lastB = isEmptyB ? 0 : b.Count() - firstB;
    long long countA = std::max(lastA, lastB);
    long long countB = countA;
    if (a.Cal().Delta() != b.Cal().Delta()) { // images, each finer along one axis
        countA = countBetween(a, start, end);
        countB = countBetween(b, start, end);
    }
    a.Select(firstA, firstA + countA);
    b.Select(firstB, firstB + countB);
}

std::string shortest(double x) {
    std::ostringstream text;
    text << x;
    return text.str();
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
    const double x = view_FinerDelta(a.x, b.x);
    const double y = view_FinerDelta(a.y, b.y);
    if (rescaleUnlessAt(a, x, y))
        return 1;
    return rescaleUnlessAt(b, x, y) ? 2 : 0;
}

bool algn_MatchRange(algn_sAxes& a, algn_sAxes& b) {
    if (isSameRange(a.x, b.x) && isSameRange(a.y, b.y))
        return false;
    const bool isEmptyA = algn_Count(a) == 0;
    const bool isEmptyB = algn_Count(b) == 0;
    matchRange(a.x, isEmptyA, b.x, isEmptyB);
    matchRange(a.y, isEmptyA, b.y, isEmptyB);
    return true;
}

void algn_Align(algn_sAxes& a, algn_sAxes& b) {
    const double xA = a.x.Cal().Delta();
    const double yA = a.y.Cal().Delta();
    const double xB = b.x.Cal().Delta();
    const double yB = b.y.Cal().Delta();
    algn_MatchDelta(a, b);
    algn_MatchRange(a, b);
    if (a.x.Count() == b.x.Count() && a.y.Count() == b.y.Count())
        return;
    const bool isAlongX = a.x.Count() != b.x.Count();
    throw arr_cSizeException(
        isAlongX ? b.x.Count() : b.y.Count(), isAlongX ? a.x.Count() : a.y.Count(),
        "Images in steps of " + shortest(xA) + " by " + shortest(yA) + " and of " + shortest(xB) +
            " by " + shortest(yB) + " do not align: each is the finer along one axis.");
}

bool algn_MatchDeltaToMask(const algn_sAxes& mask, algn_sAxes& data) {
    return rescaleUnlessAt(data, mask.x.Cal().Delta(), mask.y.Cal().Delta());
}

bool algn_MatchRangeToMask(const algn_sAxes& mask, algn_sAxes& data) {
    if (isSameRange(mask.x, data.x) && isSameRange(mask.y, data.y))
        return false;
    const long long column = nearest(data.x, mask.x.Start());
    const long long row = nearest(data.y, mask.y.Start());
    data.x.Select(column, column + mask.x.Count());
    data.y.Select(row, row + mask.y.Count());
    return true;
}

bool algn_MatchToMask(const algn_sAxes& mask, algn_sAxes& data) {
    const bool rescaled = algn_MatchDeltaToMask(mask, data);
    return algn_MatchRangeToMask(mask, data) || rescaled;
}

} // namespace dataprocessing::detail
