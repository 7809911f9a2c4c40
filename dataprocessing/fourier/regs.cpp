#include "dataprocessing/fourier/regs.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdlib>
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

regs_sPlace placeOf(const regs_sShift& shift) {
    return {static_cast<double>(shift.x), static_cast<double>(shift.y)};
}

/// A fixed and a moved plane, and the shifts at which enough overlaps.
struct sPair {
    regs_sPlane fixed;
    regs_sPlane moved;
    regs_sShifts alongX;
    regs_sShifts alongY;

    sPair(regs_sPlane first, regs_sPlane second, double overlap)
        : fixed(std::move(first)), moved(std::move(second)),
          alongX(fixed.sizeX, moved.sizeX, overlap), alongY(fixed.sizeY, moved.sizeY, overlap) {}

    bool Has(const regs_sShift& shift) const { return alongX.Has(shift.x) && alongY.Has(shift.y); }
    regs_sPlace Within(const regs_sPlace& place) const {
        const regs_sShift shift = regs_Nearest(place);
        return {alongX.Has(shift.x) ? place.x : std::clamp(shift.x, alongX.least, alongX.most),
                alongY.Has(shift.y) ? place.y : std::clamp(shift.y, alongY.least, alongY.most)};
    }
    double LikenessAt(const regs_sShift& shift) const {
        return regs_LikenessOf(fixed, moved, shift).coefficient;
    }
    /// By every `step`-th row.
    double RankAt(const regs_sShift& shift, int step = 1) const {
        const double count =
            static_cast<double>(regs_sOverlap(fixed.sizeX, moved.sizeX, shift.x).count) *
            regs_sOverlap(fixed.sizeY, moved.sizeY, shift.y).count;
        // A gain and an offset make any two elements alike.
        return regs_RankOf(regs_LikenessOf(fixed, moved, shift, step).coefficient,
                           std::max(0.0, count - 2), 1e-4);
    }
    /// How many rows to go on at a time, so that some thousand elements are looked at.
    int Sparse() const {
        const int rows = std::min(fixed.sizeY, moved.sizeY);
        const int columns = std::max(1, std::min(fixed.sizeX, moved.sizeX));
        return std::max(1, rows / std::max(32, (1 << 12) / columns));
    }
    bool HasX() const { return fixed.sizeX > 1 || moved.sizeX > 1; }
    bool HasY() const { return fixed.sizeY > 1 || moved.sizeY > 1; }
};

/// The shift near `start`, at most `reach` away, of what overlaps there.
regs_sPlace refined(const sPair& whole, const regs_sShift& start, const regs_sShift& reach,
                    const regs_sOptions& options) {
    const regs_sPlane& fixed = whole.fixed;
    const regs_sPlane& moved = whole.moved;
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
            if (correlation.At(dx, dy) > correlation.At(bestX, bestY) &&
                whole.Has({start.x + dx, start.y + dy})) {
                bestX = dx;
                bestY = dy;
            }
    double restX = bestX;
    double restY = bestY;
    const bool isByTransform =
        options.subElement == regs_Fourier || options.subElement == regs_LeastSquares;
    if (options.subElement != regs_Whole && !(isByTransform && correlation.Climb(restX, restY))) {
        const auto along = [&](int dx, int dy) {
            return regs_Vertex(correlation.At(bestX - dx, bestY - dy), correlation.At(bestX, bestY),
                               correlation.At(bestX + dx, bestY + dy));
        };
        restX += x.count > 2 ? along(1, 0) : 0;
        restY += y.count > 2 ? along(0, 1) : 0;
    }
    return whole.Within({start.x + restX, start.y + restY});
}

/// Moves `place`, in elements, by least squares, among the means of some of them and then among
/// themselves. False where that leads nowhere, too little overlaps there, or both are less alike.
bool approached(const sPair& means, const sPair& whole, int perX, int perY, regs_sPlace& place) {
    regs_sPlace among{place.x / perX, place.y / perY};
    if (!regs_Approach(means.fixed, means.moved, regs_Near, among))
        return false;
    regs_sPlace reached{among.x * perX, among.y * perY};
    if (!regs_Approach(whole.fixed, whole.moved, regs_Exact, reached))
        return false;
    const regs_sShift from = regs_Nearest(place);
    const regs_sShift to = regs_Nearest(reached);
    const bool isNear = std::abs(to.x - from.x) <= 1 && std::abs(to.y - from.y) <= 1;
    // Stripes with noise along them may lead into others, which are clearly less alike.
    constexpr double clearly = 0.1;
    if (!whole.Has(to) || !(isNear || whole.LikenessAt(to) >= whole.LikenessAt(from) - clearly))
        return false;
    place = reached;
    return true;
}

/// From neighbour to neighbour to the shift of the highest rank, by every `rows`-th row, at most so
/// many elements away.
regs_sShift climbed(const sPair& whole, regs_sShift shift, int most, int rows = 1) {
    double best = whole.RankAt(shift, rows);
    regs_sShift before = shift;
    for (int step = 0; step < most; ++step) {
        const regs_sShift from = shift;
        const auto isKnown = [&](const regs_sShift& next) {
            return (next.x == from.x && next.y == from.y) ||
                   (step > 0 && std::abs(next.x - before.x) <= 1 &&
                    std::abs(next.y - before.y) <= 1);
        };
        for (int dy = whole.HasY() ? -1 : 0; dy <= (whole.HasY() ? 1 : 0); ++dy)
            for (int dx = whole.HasX() ? -1 : 0; dx <= (whole.HasX() ? 1 : 0); ++dx) {
                const regs_sShift next{from.x + dx, from.y + dy};
                if (isKnown(next) || !whole.Has(next))
                    continue;
                const double rank = whole.RankAt(next, rows);
                if (rank > best) {
                    best = rank;
                    shift = next;
                }
            }
        if (shift.x == from.x && shift.y == from.y)
            break;
        before = from;
    }
    return shift;
}

/// The vertices of parabolas through the likeness at a shift and at its neighbours.
regs_sPlace vertexAt(const sPair& whole, const regs_sShift& shift) {
    const auto along = [&](int dx, int dy) {
        const regs_sShift before{shift.x - dx, shift.y - dy};
        const regs_sShift after{shift.x + dx, shift.y + dy};
        return whole.Has(before) && whole.Has(after)
                   ? regs_Vertex(static_cast<float>(whole.LikenessAt(before)),
                                 static_cast<float>(whole.LikenessAt(shift)),
                                 static_cast<float>(whole.LikenessAt(after)))
                   : 0.0;
    };
    return {shift.x + (whole.HasX() ? along(1, 0) : 0), shift.y + (whole.HasY() ? along(0, 1) : 0)};
}

/// Where fewer elements than this overlap along an axis, their number tells as much as they do.
constexpr int thin = 16;

bool isThin(const sPair& whole, const regs_sShift& shift) {
    return (whole.HasX() &&
            regs_sOverlap(whole.fixed.sizeX, whole.moved.sizeX, shift.x).count < thin) ||
           (whole.HasY() &&
            regs_sOverlap(whole.fixed.sizeY, whole.moved.sizeY, shift.y).count < thin);
}

/// What overlaps at a shift, cut out of a plane.
regs_sPlane cut(const regs_sPlane& plane, int firstX, int firstY, int sizeX, int sizeY) {
    regs_sPlane part(sizeX, sizeY);
    for (int y = 0; y < sizeY; ++y)
        std::copy_n(plane.Row(firstY + y) + firstX, sizeX, part.Row(y));
    return part;
}

/// The shift near that of the highest rank where little overlaps: what is beyond the edge of one
/// must not come in by what is smoothed in the other, so that both are cut to what overlaps.
regs_sPlace ofThin(const sPair& whole, const regs_sShift& shift) {
    const regs_sOverlap x(whole.fixed.sizeX, whole.moved.sizeX, shift.x);
    const regs_sOverlap y(whole.fixed.sizeY, whole.moved.sizeY, shift.y);
    regs_sPlace rest{0, 0};
    if (regs_Approach(cut(whole.fixed, x.first, y.first, x.count, y.count),
                      cut(whole.moved, x.first + shift.x, y.first + shift.y, x.count, y.count),
                      regs_Exact, rest) &&
        std::fabs(rest.x) <= 1 && std::fabs(rest.y) <= 1)
        return whole.Within({shift.x + rest.x, shift.y + rest.y});
    return vertexAt(whole, shift);
}

/// How many elements are averaged along an axis before the search.
int averagedAlong(int fixed, int moved, int most, double low) {
    int count = std::min(static_cast<int>((0LL + fixed + moved + most - 1) / most),
                         std::min(fixed, moved) / 16);
    while (count > 1 && low * count > 0.5)
        --count; // what the band lets through is still there
    return std::max(1, count);
}

/// A search among the means of some elements, and what it is a search for.
class cFinder {
public:
    cFinder(const sPair& whole, const regs_sOptions& options, int perX, int perY)
        : whole_(whole), options_(options), isBanded_(regs_IsBanded({options.low, options.high})),
          perX_(perX), perY_(perY), means_(Means()),
          search_(means_.fixed, means_.moved,
                  {options.low * std::max(perX, perY), options.high * std::max(perX, perY)},
                  isBanded_ ? regs_ByCorrelation : regs_ByLikeness, options.overlap),
          peaks_(search_.Peaks()) {}

    /// The shift that the peaks lead to, the best one first.
    regs_sPlace Place() {
        if (!isBanded_ && !peaks_.empty() && isThin(whole_, regs_Nearest(StartAt(peaks_[0]))))
            return PlaceOfThin();
        regs_sPlace first = peaks_.empty() ? regs_sPlace{0, 0} : StartAt(peaks_[0]);
        for (std::size_t i = 0; i < Promising(3) && !isBanded_ && !isApproached_; ++i) {
            regs_sPlace place = StartAt(peaks_[i]);
            if (approached(means_, whole_, perX_, perY_, place)) {
                first = place;
                used_ = i;
                isApproached_ = true;
            }
        }
        if (isApproached_ && options_.subElement == regs_LeastSquares)
            return first;
        const regs_sPlace place = RefinedFrom(first);
        if (isApproached_ || isBanded_ || options_.subElement != regs_LeastSquares)
            return place;
        const regs_sShift from = regs_Nearest(place);
        const regs_sShift shift = climbed(whole_, from, 2);
        return shift.x == from.x && shift.y == from.y ? place : vertexAt(whole_, shift);
    }

    /// Whether the likeness among the means at the place found cannot be one by chance.
    bool IsCertain(const regs_sPlace& place) const {
        const regs_sShift shift = regs_Nearest({place.x / perX_, place.y / perY_});
        return isApproached_ && means_.LikenessAt(shift) >= 0.3 && means_.RankAt(shift) >= 40;
    }

    /// How alike both are, as whole elements, at the best peak that is not part of the one used.
    double Second(const regs_sPlace& place) const {
        const regs_sShift first = regs_Nearest(place);
        for (std::size_t i = 0; i < peaks_.size(); ++i) {
            if (i == used_ || !search_.IsApart(peaks_[i].shift, peaks_[used_].shift))
                continue;
            regs_sPlace among = search_.Between(peaks_[i].shift).place;
            if (!isBanded_ && (perX_ > 1 || perY_ > 1))
                regs_Approach(means_.fixed, means_.moved, regs_Near, among);
            regs_sShift shift = regs_Nearest(whole_.Within({among.x * perX_, among.y * perY_}));
            if (!isBanded_ && (perX_ > 1 || perY_ > 1))
                shift = climbed(whole_, shift, 2, whole_.Sparse());
            // Least squares may have gone from the flank of a peak to this one.
            if (std::abs(shift.x - first.x) > perX_ || std::abs(shift.y - first.y) > perY_)
                return std::max(0.0, whole_.LikenessAt(shift));
        }
        return 0;
    }

private:
    sPair Means() const {
        sPair means{averaged(whole_.fixed, perX_, perY_), averaged(whole_.moved, perX_, perY_),
                    options_.overlap};
        // What a band is to leave out would come back in by its steps at the edges.
        if (isBanded_) {
            means.fixed = faded(means.fixed, 0, 0, means.fixed.sizeX, means.fixed.sizeY);
            means.moved = faded(means.moved, 0, 0, means.moved.sizeX, means.moved.sizeY);
        }
        return means;
    }
    regs_sPlace StartAt(const regs_sPeak& peak) const {
        const regs_sPlace between = search_.Between(peak.shift).place;
        return whole_.Within({between.x * perX_, between.y * perY_});
    }
    regs_sPlace RefinedFrom(const regs_sPlace& place) const {
        const int reachX = isApproached_ ? 1 : perX_ + 1;
        const int reachY = !whole_.HasY() ? 0 : isApproached_ ? 1 : perY_ + 1;
        return refined(whole_, regs_Nearest(place), {reachX, reachY}, options_);
    }
    /// How many peaks may be the one, at most so many.
    std::size_t Promising(std::size_t most) const {
        std::size_t count = 0;
        while (count < std::min(most, peaks_.size()) && peaks_[count].rank >= 0.5 * peaks_[0].rank)
            ++count;
        return count;
    }
    regs_sPlace PlaceOfThin() {
        regs_sShift best{};
        double highest = -1;
        for (std::size_t i = 0; i < Promising(12); ++i) {
            regs_sPlace start = StartAt(peaks_[i]);
            if (perX_ > 1 || perY_ > 1)
                start = RefinedFrom(start);
            const regs_sShift shift =
                climbed(whole_, regs_Nearest(start), 2 + std::max(perX_, perY_));
            const double rank = whole_.RankAt(shift);
            if (rank > highest) {
                highest = rank;
                best = shift;
                used_ = i;
            }
        }
        if (options_.subElement == regs_LeastSquares)
            return ofThin(whole_, best);
        if (options_.subElement == regs_Whole)
            return placeOf(regs_Nearest(ofThin(whole_, best)));
        return refined(whole_, best, {0, 0}, options_);
    }

    const sPair& whole_;
    const regs_sOptions& options_;
    bool isBanded_;
    int perX_;
    int perY_;
    sPair means_;
    regs_cSearch search_;
    std::vector<regs_sPeak> peaks_;
    std::size_t used_ = 0;
    bool isApproached_ = false;
};

regs_s2DShift found(const sPair& whole, const regs_sOptions& options) {
    const regs_sPlane& fixed = whole.fixed;
    const regs_sPlane& moved = whole.moved;
    // Of so many shifts the correlation is found at once.
    constexpr int shifts = 1 << 14;
    const auto most = [&](bool isLine, int across) {
        return isLine ? 1 << 16 : std::max(128, shifts / across);
    };
    const bool isLine = !whole.HasY();
    int perX = averagedAlong(fixed.sizeX, moved.sizeX, most(isLine, fixed.sizeY + moved.sizeY),
                             options.low);
    int perY = averagedAlong(fixed.sizeY, moved.sizeY, most(isLine, fixed.sizeX + moved.sizeX),
                             options.low);
    // Below this the search has not found the content again.
    constexpr double enough = 0.3;
    regs_s2DShift best;
    best.height = -2;
    while (true) {
        cFinder finder(whole, options, perX, perY);
        const regs_sPlace place = finder.Place();
        const double height = whole.LikenessAt(regs_Nearest(place));
        const bool isCertain = finder.IsCertain(place);
        if (height > best.height || isCertain) {
            best.elementsX = place.x;
            best.elementsY = place.y;
            best.height = height;
            best.second = finder.Second(place);
        }
        if (best.height >= enough || regs_IsBanded({options.low, options.high}) ||
            (perX == 1 && perY == 1) || isCertain)
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
        found({planeOf(fixed, fixed.Size(), 1), planeOf(moved, moved.Size(), 1), options.overlap},
              options);
    return {calibrated(shift.elementsX, fixed.Cal(), moved.Cal()), shift.elementsX, shift.height,
            shift.second};
}

regs_s2DShift regs_Register(const darr_c2DArray& fixed, const darr_c2DArray& moved,
                            const regs_sOptions& options) {
    requireOptions(options);
    requireEqualDeltas(fixed.Cal().X(), moved.Cal().X());
    requireEqualDeltas(fixed.Cal().Y(), moved.Cal().Y());
    regs_s2DShift shift = found({planeOf(fixed, fixed.SizeX(), fixed.SizeY()),
                                 planeOf(moved, moved.SizeX(), moved.SizeY()), options.overlap},
                                options);
    shift.x = calibrated(shift.elementsX, fixed.Cal().X(), moved.Cal().X());
    shift.y = calibrated(shift.elementsY, fixed.Cal().Y(), moved.Cal().Y());
    return shift;
}
