#include "dataprocessing/fourier/regs_finder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "dataprocessing/base/type.h"
#include "dataprocessing/fourier/regs_correlation.h"
#include "dataprocessing/fourier/regs_peaks.h"
#include "dataprocessing/fourier/regs_search.h"
#include "dataprocessing/fourier/regs_squares.h"

namespace dataprocessing::detail {

namespace {

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

regs_sPlace placeOf(const regs_sShift& shift) {
    return {static_cast<double>(shift.x), static_cast<double>(shift.y)};
}

/// The shift near `start`, at most `reach` away, of what overlaps there.
regs_sPlace refined(const regs_sPair& whole, const regs_sShift& start, const regs_sShift& reach,
                    const regs_sOptions& options) {
    const regs_sPlane& fixed = whole.fixed;
    const regs_sPlane& moved = whole.moved;
    const regs_sOverlap x = middle({fixed.sizeX, moved.sizeX, start.x});
    const regs_sOverlap y = middle({fixed.sizeY, moved.sizeY, start.y});
    const regs_cCorrelation correlation(
        regs_Faded(fixed, x.first, y.first, x.count, y.count),
        regs_Faded(moved, x.first + start.x, y.first + start.y, x.count, y.count),
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
        const auto at = [&](int dx, int dy) { return correlation.At(bestX + dx, bestY + dy); };
        const regs_sVertex vertex = regs_VertexOf(at, x.count > 2, y.count > 2);
        restX += vertex.x;
        restY += vertex.y;
    }
    return whole.Within({start.x + restX, start.y + restY});
}

/// A likeness that is smaller by this is clearly smaller.
constexpr double clearly = 0.1;

/// Whether a place between two shifts may be one: half way both are equally alike, and towards
/// either no content makes them less so faster than its highest frequency.
bool mayLieAt(const regs_sPair& whole, const regs_sPlace& place) {
    const regs_sShift nearest = regs_Nearest(place);
    const int rows = whole.Sparse();
    const auto mayGo = [&](double part, int dx, int dy) {
        const regs_sShift next{nearest.x + dx, nearest.y + dy};
        const double most = type_Pi * (1 - 2 * std::fabs(part)) + clearly;
        return most > 2 || !whole.Has(next) ||
               whole.LikenessAt(nearest, rows) - whole.LikenessAt(next, rows) <= most;
    };
    const double partX = place.x - nearest.x;
    const double partY = place.y - nearest.y;
    return mayGo(partX, partX < 0 ? -1 : 1, 0) && mayGo(partY, 0, partY < 0 ? -1 : 1);
}

/// Moves `place`, in elements, by least squares. False where that leads nowhere, too little
/// overlaps there, or both are clearly less alike than at `start`.
bool approached(const regs_sPair& whole, const regs_sShift& start, regs_sPlace& place) {
    regs_sPlace reached = place;
    if (!regs_Approach(whole.fixed, whole.moved, regs_Exact, reached))
        return false;
    const regs_sShift end = regs_Nearest(reached);
    const int rows = whole.Sparse();
    if (!whole.Has(end) ||
        !(whole.LikenessAt(end, rows) >= whole.LikenessAt(start, rows) - clearly) ||
        !mayLieAt(whole, reached))
        return false;
    place = reached;
    return true;
}

/// Where fewer elements than this overlap along an axis, their number tells as much as they do.
constexpr int thin = 16;

bool isThin(const regs_sPair& whole, const regs_sShift& shift) {
    return (whole.HasX() &&
            regs_sOverlap(whole.fixed.sizeX, whole.moved.sizeX, shift.x).count < thin) ||
           (whole.HasY() &&
            regs_sOverlap(whole.fixed.sizeY, whole.moved.sizeY, shift.y).count < thin);
}

/// The shift near that of the highest rank where little overlaps: what is beyond the edge of one
/// must not come in by what is smoothed in the other, so that both are cut to what overlaps.
regs_sPlace ofThin(const regs_sPair& whole, const regs_sShift& shift) {
    const regs_sOverlap x(whole.fixed.sizeX, whole.moved.sizeX, shift.x);
    const regs_sOverlap y(whole.fixed.sizeY, whole.moved.sizeY, shift.y);
    regs_sPlace rest{0, 0};
    if (regs_Approach(regs_Cut(whole.fixed, x.first, y.first, x.count, y.count),
                      regs_Cut(whole.moved, x.first + shift.x, y.first + shift.y, x.count, y.count),
                      regs_Exact, rest) &&
        std::fabs(rest.x) <= 1 && std::fabs(rest.y) <= 1) {
        const regs_sPlace place = whole.Within({shift.x + rest.x, shift.y + rest.y});
        if (mayLieAt(whole, place))
            return place;
    }
    return regs_VertexAt(whole, shift);
}

/// How many elements are averaged along an axis before the search.
int averagedAlong(int fixed, int moved, int most, double low) {
    int count = std::min(static_cast<int>((0LL + fixed + moved + most - 1) / most),
                         std::min(fixed, moved) / 16);
    while (count > 1 && low * count > 0.5)
        --count; // what the band lets through is still there
    return std::max(1, count);
}

/// A shift that may be as good as one that was found.
struct sOther {
    regs_sShift shift;
    std::optional<regs_sShift> valley{}; ///< to look for between both; none where there is one
    double rank = 0;
};

/// The highest peaks near `first`, at most `reach` away, by a part in the middle of what overlaps
/// there.
std::vector<sOther> peaksNear(const regs_sPair& whole, const regs_sShift& first,
                              const regs_sShift& reach) {
    const auto part = [](regs_sOverlap overlap, int away) {
        const int count = std::min(overlap.count, regs_PowerFor(std::max(64, 4 * away)));
        overlap.first += (overlap.count - count) / 2;
        overlap.count = count;
        return overlap;
    };
    const regs_sPlane& fixed = whole.fixed;
    const regs_sPlane& moved = whole.moved;
    const regs_sOverlap x = part({fixed.sizeX, moved.sizeX, first.x}, reach.x);
    const regs_sOverlap y = part({fixed.sizeY, moved.sizeY, first.y}, reach.y);
    const regs_cCorrelation correlation(
        regs_Faded(fixed, x.first, y.first, x.count, y.count),
        regs_Faded(moved, x.first + first.x, y.first + first.y, x.count, y.count),
        regs_PowerFor(x.count), regs_PowerFor(y.count), {0, 2}, regs_AllAlike);
    const auto at = [&](int dx, int dy) { return correlation.At(dx, dy); };
    const int reachX = std::min(reach.x, x.count / 2 - 1);
    const int reachY = std::min(reach.y, y.count / 2 - 1);
    const float least = std::max(0.0F, 0.3F * at(0, 0)); // the others are far from it
    std::vector<std::pair<float, regs_sShift>> peaks;
    for (int dy = -reachY; dy <= reachY; ++dy)
        for (int dx = -reachX; dx <= reachX; ++dx)
            if ((dx != 0 || dy != 0) && at(dx, dy) > least && regs_IsPeak(at, dx, dy) &&
                whole.Has({first.x + dx, first.y + dy}))
                peaks.push_back({at(dx, dy), {dx, dy}});
    const auto most = std::min<std::size_t>(peaks.size(), 6);
    std::partial_sort(peaks.begin(), peaks.begin() + static_cast<std::ptrdiff_t>(most), peaks.end(),
                      [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<sOther> others;
    for (std::size_t i = 0; i < most; ++i) {
        const regs_sShift& by = peaks[i].second;
        const regs_sShift valley = regs_ValleyOf(at, by, {0, 0});
        others.push_back({{first.x + by.x, first.y + by.y},
                          regs_sShift{first.x + valley.x, first.y + valley.y}});
    }
    return others;
}

/// A search among the means of some elements, and what it is a search for.
class cFinder {
public:
    cFinder(const regs_sPair& whole, const regs_sOptions& options, int perX, int perY)
        : whole_(whole), options_(options), isBanded_(regs_IsBanded({options.low, options.high})),
          perX_(perX), perY_(perY), means_(Means()),
          search_(means_.fixed, means_.moved,
                  {options.low * std::max(perX, perY), options.high * std::max(perX, perY)},
                  isBanded_ ? regs_ByCorrelation : regs_ByLikeness, options.overlap),
          peaks_(search_.Peaks()) {}

    /// The shift that the peaks lead to, unless both are clearly more alike at another one.
    regs_sPlace Place() {
        regs_sPlace place = Led();
        others_ = Others(place);
        for (int turn = 0; turn < 2 && !isBanded_ && !others_.empty(); ++turn) {
            const sOther& best = BestOther();
            const regs_sShift first = regs_Nearest(place);
            if (!(best.rank > whole_.RankAt(first, whole_.Sparse())) ||
                !(whole_.LikenessAt(best.shift) > whole_.LikenessAt(first) + clearly))
                break;
            place = From(best.shift);
            used_ = none;
            others_ = Others(place);
        }
        return place;
    }

    /// How alike both are, as whole elements, at the best peak that is not part of the one found.
    double Second() {
        std::sort(others_.begin(), others_.end(),
                  [](const sOther& a, const sOther& b) { return a.rank > b.rank; });
        for (const sOther& other : others_) {
            const double likeness = whole_.LikenessAt(other.shift);
            if (!other.valley || regs_IsApart(whole_.LikenessAt(*other.valley), likeness))
                return std::max(0.0, likeness);
        }
        return 0;
    }

    /// Whether the likeness among the means at the place found cannot be one by chance.
    bool IsCertain(const regs_sPlace& place) const {
        const regs_sShift shift = regs_Nearest({place.x / perX_, place.y / perY_});
        return isApproached_ && means_.LikenessAt(shift) >= 0.3 && means_.RankAt(shift) >= 40;
    }

private:
    regs_sPair Means() const {
        regs_sPair means{regs_Averaged(whole_.fixed, perX_, perY_),
                         regs_Averaged(whole_.moved, perX_, perY_), options_.overlap};
        // What a band is to leave out would come back in by its steps at the edges.
        if (isBanded_) {
            means.fixed = regs_Faded(means.fixed, 0, 0, means.fixed.sizeX, means.fixed.sizeY);
            means.moved = regs_Faded(means.moved, 0, 0, means.moved.sizeX, means.moved.sizeY);
        }
        return means;
    }
    /// The shift that the best peaks lead to by least squares, or by correlation.
    regs_sPlace Led() {
        if (!isBanded_ && !peaks_.empty() && isThin(whole_, regs_Nearest(StartAt(peaks_[0]))))
            return PlaceOfThin();
        regs_sPlace first = peaks_.empty() ? regs_sPlace{0, 0} : StartAt(peaks_[0]);
        for (std::size_t i = 0; i < Promising(3) && !isBanded_ && !isApproached_; ++i) {
            regs_sPlace place = StartAt(peaks_[i]);
            const regs_sShift start = regs_Nearest(place);
            if (ApproachedAmongMeans(place) && approached(whole_, start, place)) {
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
        const regs_sShift shift = regs_Climbed(whole_, from, 2);
        const bool isThere = shift.x == from.x && shift.y == from.y && mayLieAt(whole_, place);
        return isThere ? place : regs_VertexAt(whole_, shift);
    }
    /// From a shift on at which both are as alike as near it.
    regs_sPlace From(const regs_sShift& start) const {
        const regs_sShift shift = regs_Climbed(whole_, start, 2);
        regs_sPlace place = placeOf(shift);
        if (options_.subElement != regs_LeastSquares)
            return refined(whole_, shift, {1, whole_.HasY() ? 1 : 0}, options_);
        if (isThin(whole_, shift))
            return ofThin(whole_, shift);
        const bool isNear = approached(whole_, shift, place) && std::fabs(place.x - shift.x) <= 1 &&
                            std::fabs(place.y - shift.y) <= 1;
        return isNear ? place : regs_VertexAt(whole_, shift);
    }

    /// The best of other peaks, and what repeats itself within the averages.
    std::vector<sOther> Others(const regs_sPlace& place) const {
        const regs_sShift first = regs_Nearest(place);
        std::vector<sOther> others = OtherPeaks(first);
        if (isBanded_ || !IsAveraged())
            return others;
        for (const sOther& other : peaksNear(whole_, first, {2 * perX_ + 1, 2 * perY_ + 1}))
            others.push_back(Ranked(other));
        return others;
    }
    std::vector<sOther> OtherPeaks(const regs_sShift& first) const {
        const std::size_t most = isBanded_ ? 1 : 3;
        std::vector<sOther> others;
        for (std::size_t i = 0; i < peaks_.size() && others.size() < most; ++i) {
            if (i == used_ || !IsApart(peaks_[i].shift, first))
                continue;
            // Of what is nowhere nearly as good again, the first one tells enough.
            if (!others.empty() && peaks_[i].rank < 0.5 * peaks_[0].rank)
                break;
            regs_sPlace other = StartAt(peaks_[i]);
            if (!isBanded_ && IsAveraged())
                ApproachedAmongMeans(other);
            const regs_sShift shift = regs_Nearest(whole_.Within(other));
            // Least squares may have gone from the flank of a peak to the one that was found.
            if (IsOther(shift, first))
                others.push_back(Ranked({shift}));
        }
        if (others.empty() || isBanded_ || !IsAveraged())
            return others;
        const auto best =
            std::max_element(others.begin(), others.end(),
                             [](const sOther& a, const sOther& b) { return a.rank < b.rank; });
        const regs_sShift shift = regs_Climbed(whole_, best->shift, 2, whole_.Sparse());
        if (IsOther(shift, first))
            *best = Ranked({shift});
        else
            others.erase(best);
        return others;
    }
    bool IsOther(const regs_sShift& shift, const regs_sShift& first) const {
        return std::abs(shift.x - first.x) > perX_ || std::abs(shift.y - first.y) > perY_;
    }
    bool IsApart(const regs_sShift& peak, const regs_sShift& first) const {
        const regs_sShift among = used_ == none
                                      ? regs_Nearest({static_cast<double>(first.x) / perX_,
                                                      static_cast<double>(first.y) / perY_})
                                      : peaks_[used_].shift;
        return search_.IsApart(peak, among);
    }
    sOther Ranked(const sOther& other) const {
        return {other.shift, other.valley, whole_.RankAt(other.shift, whole_.Sparse())};
    }
    const sOther& BestOther() const {
        return *std::max_element(others_.begin(), others_.end(),
                                 [](const sOther& a, const sOther& b) { return a.rank < b.rank; });
    }

    /// Moves `place`, in elements, by least squares among the means.
    bool ApproachedAmongMeans(regs_sPlace& place) const {
        regs_sPlace among{place.x / perX_, place.y / perY_};
        if (!regs_Approach(means_.fixed, means_.moved, regs_Near, among))
            return false;
        place = {among.x * perX_, among.y * perY_};
        return true;
    }
    bool IsAveraged() const { return perX_ > 1 || perY_ > 1; }

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
            if (IsAveraged())
                start = RefinedFrom(start);
            const regs_sShift shift =
                regs_Climbed(whole_, regs_Nearest(start), 2 + std::max(perX_, perY_));
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

    const regs_sPair& whole_;
    const regs_sOptions& options_;
    bool isBanded_;
    int perX_;
    int perY_;
    regs_sPair means_;
    regs_cSearch search_;
    std::vector<regs_sPeak> peaks_;
    static constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
    std::size_t used_ = 0; ///< the peak that led to the place
    bool isApproached_ = false;
    std::vector<sOther> others_;
};

} // namespace

regs_s2DShift regs_Found(const regs_sPair& whole, const regs_sOptions& options) {
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
            best.second = finder.Second();
        }
        if (best.height >= enough || regs_IsBanded({options.low, options.high}) ||
            (perX == 1 && perY == 1) || isCertain)
            return best;
        perX = (perX + 1) / 2;
        perY = (perY + 1) / 2;
    }
}

} // namespace dataprocessing::detail
