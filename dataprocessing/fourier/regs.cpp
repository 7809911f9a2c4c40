#include "dataprocessing/fourier/regs.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/fourier/regs_correlation.h"
#include "dataprocessing/fourier/regs_plane.h"
#include "dataprocessing/fourier/regs_search.h"
#include "dataprocessing/fourier/regs_squares.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/conv_check.h"

namespace dataprocessing::detail {

namespace {

/// The same step of elements in both.
void requireEqualDeltas(const cal_cArrayCal& a, const cal_cArrayCal& b) {
    const double delta = a.Delta();
    if (!std::isfinite(delta) || delta == 0 ||
        !(std::fabs(b.Delta() - delta) <= 1e-6 * std::fabs(delta)))
        throw expt_cProgramException("regs", 2, "The deltas differ or are none.");
}

void requireOptions(const regs_sOptions& options) {
    if (!(options.low >= 0 && options.low < options.high) ||
        !(options.overlap > 0 && options.overlap <= 1) || options.subElement < regs_Fourier ||
        options.subElement > regs_LeastSquares)
        throw expt_cProgramException("regs", 1, "An option is not one that there is.");
}

struct sContent {
    double sum;
    double lowest;
    double highest;
};

/// Sums and extremes, of what is not NaN, in lanes that need not wait for each other.
sContent contentOf(std::span<const double> values) {
    constexpr std::size_t lanes = 8;
    double sums[lanes] = {};
    double lowest[lanes];
    double highest[lanes];
    std::fill_n(lowest, lanes, std::numeric_limits<double>::infinity());
    std::fill_n(highest, lanes, -std::numeric_limits<double>::infinity());
    const auto add = [&](std::size_t lane, double value) {
        sums[lane] += value;
        lowest[lane] = value < lowest[lane] ? value : lowest[lane];
        highest[lane] = value > highest[lane] ? value : highest[lane];
    };
    std::size_t i = 0;
    for (; i + lanes <= values.size(); i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            add(lane, values[i + lane]);
    for (; i < values.size(); ++i)
        add(0, values[i]);
    return {std::accumulate(sums, sums + lanes, 0.0), *std::min_element(lowest, lowest + lanes),
            *std::max_element(highest, highest + lanes)};
}

/// The elements less their mean, the largest scaled to 1.
regs_sPlane planeOf(const parr_cNumberArray& array, int sizeX, int sizeY) {
    if (array.DataType().IsComplex())
        throw expt_cProgramException("regs", 3, "Complex elements are not registered.");
    conv_Check(array.DataType(), dtyp_Double, conv_RealPart);
    regs_sPlane plane(sizeX, sizeY);
    // A float would round a small content on a large mean away.
    std::vector<double> values(plane.values.size());
    conv_Elements(array.Data(), array.DataType(), values.data(), dtyp_Double, values.size(),
                  conv_RealPart);
    const sContent content = contentOf(values);
    const double mean = content.sum / static_cast<double>(values.size());
    const double largest = std::max(content.highest - mean, mean - content.lowest);
    if (values.empty() || !std::isfinite(content.sum) || !std::isfinite(largest) ||
        content.lowest == content.highest)
        throw expt_cUserException("regs", 4, "There is nothing to register by.");
    std::transform(values.begin(), values.end(), plane.values.begin(),
                   [&](double value) { return static_cast<float>((value - mean) / largest); });
    return plane;
}

/// Means of so many elements along each axis, less their mean; a rest that fills none is left out.
regs_sPlane averaged(const regs_sPlane& plane, int perX, int perY) {
    regs_sPlane result(plane.sizeX / perX, plane.sizeY / perY);
    const float part = 1.0F / static_cast<float>(perX * perY);
    for (int y = 0; y < result.sizeY * perY; ++y) {
        const float* from = plane.Row(y);
        float* to = result.Row(y / perY);
        for (int x = 0; x < result.sizeX; ++x)
            for (int i = 0; i < perX; ++i)
                to[x] += part * *from++;
    }
    double sum = 0;
    for (const float value : result.values)
        sum += static_cast<double>(value);
    const float mean = static_cast<float>(sum / static_cast<double>(result.values.size()));
    for (float& value : result.values)
        value -= mean;
    return result;
}

/// From 256 elements on, no more than the middle power of two of what overlaps where that is most
/// of it: the transform of the rest up to the next power would take much longer.
regs_sOverlap middle(regs_sOverlap overlap) {
    const int power = static_cast<int>(std::bit_floor(static_cast<unsigned>(overlap.count)));
    if (power >= 256 && overlap.count < power + power / 2) {
        overlap.first += (overlap.count - power) / 2;
        overlap.count = power;
    }
    return overlap;
}

/// A part of a plane less its mean, faded out over an eighth of it towards each edge.
regs_sPlane faded(const regs_sPlane& plane, int firstX, int firstY, int sizeX, int sizeY) {
    regs_sPlane part(sizeX, sizeY);
    double sum = 0;
    for (int y = 0; y < sizeY; ++y) {
        std::copy_n(plane.Row(firstY + y) + firstX, sizeX, part.Row(y));
        for (int x = 0; x < sizeX; ++x)
            sum += static_cast<double>(part.Row(y)[x]);
    }
    const auto window = [](int size) {
        std::vector<float> weights(static_cast<std::size_t>(size), 1.0F);
        const int margin = size / 8;
        for (int i = 0; i < margin; ++i) {
            const double edge = std::sin(type_Pi / 2 * (i + 0.5) / margin);
            weights[static_cast<std::size_t>(i)] = static_cast<float>(edge * edge);
            weights[static_cast<std::size_t>(size - 1 - i)] = static_cast<float>(edge * edge);
        }
        return weights;
    };
    const std::vector<float> alongX = window(sizeX);
    const std::vector<float> alongY = window(sizeY);
    const float mean = static_cast<float>(sum / (static_cast<double>(sizeX) * sizeY));
    for (int y = 0; y < sizeY; ++y)
        for (int x = 0; x < sizeX; ++x) {
            float& value = part.Row(y)[x];
            value = (value - mean) * alongX[static_cast<std::size_t>(x)] *
                    alongY[static_cast<std::size_t>(y)];
        }
    return part;
}

/// The shift near `start`, at most `reach` away, of what overlaps there.
regs_sPlace refined(const regs_sPlane& fixed, const regs_sPlane& moved, const regs_sShift& start,
                    const regs_sShift& reach, const regs_sOptions& options) {
    const regs_sOverlap x = middle({fixed.sizeX, moved.sizeX, start.x});
    const regs_sOverlap y = middle({fixed.sizeY, moved.sizeY, start.y});
    const regs_cCorrelation correlation(
        faded(fixed, x.first, y.first, x.count, y.count),
        faded(moved, x.first + start.x, y.first + start.y, x.count, y.count),
        regs_PowerFor(x.count), regs_PowerFor(y.count), {options.low, options.high},
        regs_OverNoise);
    const int reachX = std::min(reach.x, x.count / 2);
    const int reachY = std::min(reach.y, y.count / 2);
    int bestX = 0;
    int bestY = 0;
    for (int dy = -reachY; dy <= reachY; ++dy)
        for (int dx = -reachX; dx <= reachX; ++dx)
            if (correlation.At(dx, dy) > correlation.At(bestX, bestY)) {
                bestX = dx;
                bestY = dy;
            }
    double restX = bestX;
    double restY = bestY;
    if (options.subElement == regs_Fourier || options.subElement == regs_LeastSquares) {
        correlation.Climb(restX, restY);
    } else if (options.subElement == regs_Parabola) {
        const auto along = [&](int dx, int dy) {
            return regs_Vertex(correlation.At(bestX - dx, bestY - dy), correlation.At(bestX, bestY),
                               correlation.At(bestX + dx, bestY + dy));
        };
        restX += x.count > 2 ? along(1, 0) : 0;
        restY += y.count > 2 ? along(0, 1) : 0;
    }
    return {start.x + restX, start.y + restY};
}

regs_sShift nearest(const regs_sPlace& place) {
    return {static_cast<int>(std::lround(place.x)), static_cast<int>(std::lround(place.y))};
}

/// A fixed and a moved plane.
struct sPair {
    regs_sPlane fixed;
    regs_sPlane moved;
};

/// Moves `place`, in elements, by least squares, among the means of some of them and then among
/// themselves. False where that leads nowhere.
bool approached(const sPair& means, const sPair& whole, int perX, int perY, regs_sPlace& place) {
    regs_sPlace among{place.x / perX, place.y / perY};
    if (!regs_Approach(means.fixed, means.moved, regs_Near, among))
        return false;
    place = {among.x * perX, among.y * perY};
    return regs_Approach(whole.fixed, whole.moved, regs_Exact, place);
}

/// How many elements are averaged along an axis before the search.
int averagedAlong(int fixed, int moved, int most, double low) {
    int count = std::min(static_cast<int>((0LL + fixed + moved + most - 1) / most),
                         std::min(fixed, moved) / 16);
    while (count > 1 && low * count > 0.5)
        --count; // what the band lets through is still there
    return std::max(1, count);
}

/// The shift that the search's peaks lead to, the best one first.
regs_sPlace placeOf(const regs_cSearch& search, const std::vector<regs_sPeak>& peaks,
                    const sPair& means, const sPair& whole, int perX, int perY,
                    const regs_sOptions& options) {
    constexpr std::size_t most = 3;
    regs_sPlace first{};
    bool isApproached = false;
    for (std::size_t i = 0; i < std::min(most, peaks.size()) && !isApproached; ++i) {
        if (peaks[i].rank < 0.5 * peaks[0].rank)
            break;
        const regs_sShift& peak = peaks[i].shift;
        const regs_sPlace between = search.Between(peak).place;
        regs_sPlace place{between.x * perX, between.y * perY};
        isApproached = !regs_IsBanded({options.low, options.high}) &&
                       approached(means, whole, perX, perY, place);
        if (i == 0 || isApproached)
            first = place;
    }
    if (isApproached && options.subElement == regs_LeastSquares)
        return first;
    const int reachX = isApproached ? 1 : perX + 1;
    const int reachY = whole.fixed.sizeY == 1 && whole.moved.sizeY == 1 ? 0
                       : isApproached                                   ? 1
                                                                        : perY + 1;
    return refined(whole.fixed, whole.moved, nearest(first), {reachX, reachY}, options);
}

regs_s2DShift found(const sPair& whole, const regs_sOptions& options) {
    const regs_sPlane& fixed = whole.fixed;
    const regs_sPlane& moved = whole.moved;
    const bool isLine = fixed.sizeY == 1 && moved.sizeY == 1;
    const bool banded = regs_IsBanded({options.low, options.high});
    const int most = isLine ? 1 << 16 : 128;
    int perX = averagedAlong(fixed.sizeX, moved.sizeX, most, options.low);
    int perY = averagedAlong(fixed.sizeY, moved.sizeY, most, options.low);
    // Below this the search has not found the content again.
    constexpr double enough = 0.3;
    regs_s2DShift best;
    best.height = -2;
    while (true) {
        sPair means{averaged(fixed, perX, perY), averaged(moved, perX, perY)};
        // What a band is to leave out would come back in by its steps at the edges.
        if (banded)
            means = {faded(means.fixed, 0, 0, means.fixed.sizeX, means.fixed.sizeY),
                     faded(means.moved, 0, 0, means.moved.sizeX, means.moved.sizeY)};
        const double per = std::max(perX, perY);
        const regs_cSearch search(means.fixed, means.moved, {options.low * per, options.high * per},
                                  banded ? regs_ByCorrelation : regs_ByLikeness, options.overlap);
        const std::vector<regs_sPeak> peaks = search.Peaks();
        const regs_sPlace place = placeOf(search, peaks, means, whole, perX, perY, options);
        const double height = regs_LikenessOf(fixed, moved, nearest(place)).coefficient;
        if (height > best.height) {
            best.elementsX = place.x;
            best.elementsY = place.y;
            best.height = height;
            best.second = peaks.size() > 1 ? peaks[1].height : 0;
        }
        if (best.height >= enough || banded || (perX == 1 && perY == 1))
            return best;
        perX = (perX + 1) / 2;
        perY = (perY + 1) / 2;
    }
}

/// A shift of elements as one of positions.
double calibrated(double elements, const cal_cArrayCal& fixed, const cal_cArrayCal& moved) {
    return moved.Position(0) - fixed.Position(0) + elements * moved.Delta();
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

regs_s1DShift regs_Register(const darr_c1DArray& fixed, const darr_c1DArray& moved,
                            const regs_sOptions& options) {
    requireOptions(options);
    requireEqualDeltas(fixed.Cal(), moved.Cal());
    const regs_s2DShift shift =
        found({planeOf(fixed, fixed.Size(), 1), planeOf(moved, moved.Size(), 1)}, options);
    return {calibrated(shift.elementsX, fixed.Cal(), moved.Cal()), shift.elementsX, shift.height,
            shift.second};
}

regs_s2DShift regs_Register(const darr_c2DArray& fixed, const darr_c2DArray& moved,
                            const regs_sOptions& options) {
    requireOptions(options);
    requireEqualDeltas(fixed.Cal().X(), moved.Cal().X());
    requireEqualDeltas(fixed.Cal().Y(), moved.Cal().Y());
    regs_s2DShift shift = found({planeOf(fixed, fixed.SizeX(), fixed.SizeY()),
                                 planeOf(moved, moved.SizeX(), moved.SizeY())},
                                options);
    shift.x = calibrated(shift.elementsX, fixed.Cal().X(), moved.Cal().X());
    shift.y = calibrated(shift.elementsY, fixed.Cal().Y(), moved.Cal().Y());
    return shift;
}
