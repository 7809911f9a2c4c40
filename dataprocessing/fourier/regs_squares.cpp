#include "dataprocessing/fourier/regs_squares.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "dataprocessing/base/type.h"
#include "dataprocessing/filter/smth_strip.h"
#include "dataprocessing/fourier/regs_kernels.h"

#define LEVEL_KERNELS "dataprocessing/fourier/regs_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

/// Weights of a Gaussian about `place`, which is near element 0, for the elements that count.
std::vector<float> gaussian(double sigma, double place) {
    const int reach = static_cast<int>(std::ceil(3 * sigma));
    std::vector<double> weights(2 * static_cast<std::size_t>(reach) + 1);
    double sum = 0;
    // What is cut off at the ends is not the same at both. The centre is moved until what is left
    // lies where it is to lie.
    double centre = place;
    for (int repeat = 0; repeat < 3; ++repeat) {
        double moment = 0;
        double* to = weights.data();
        sum = 0;
        for (int i = -reach; i <= reach; ++i) {
            const double distance = (i - centre) / sigma;
            const double weight = std::exp(-0.5 * distance * distance);
            *to++ = weight;
            sum += weight;
            moment += weight * i;
        }
        centre += place - moment / sum;
    }
    std::vector<float> result(weights.size());
    std::transform(weights.begin(), weights.end(), result.begin(),
                   [sum](double weight) { return static_cast<float>(weight / sum); });
    return result;
}

/// Columns of a plane, smoothed, row after row. Beyond its edges elements are mirrored.
class cSmoothed {
public:
    /// Value (0, y) is that of the plane at (firstX + rest.x, y + rest.y).
    cSmoothed(const regs_sPlane& plane, const regs_sPlace& sigma, int firstX, int count,
              const regs_sPlace& rest)
        : plane_(plane), firstX_(firstX), weightsX_(Weights(plane.sizeX, sigma.x, rest.x)),
          weightsY_(Weights(plane.sizeY, sigma.y, rest.y)), reachX_(ReachOf(weightsX_)),
          reachY_(ReachOf(weightsY_)), strip_(count, plane.sizeY, 0, count, 0, reachY_, 1),
          row_(static_cast<std::size_t>(count) + weightsX_.size() - 1), shifted_(weightsX_.size()),
          rows_(weightsY_.size()), count_(count) {}

    void Row(int y, float* target) {
        const auto fetch = [this](int, int from, int, float* to) { AlongX(from, to); };
        long long row = static_cast<long long>(y) - reachY_;
        for (const float*& smoothed : rows_)
            smoothed = strip_.Row(smth_Mirrored(row++, plane_.sizeY), fetch);
        combine_(rows_.data(), weightsY_.data(), weightsY_.size(), target,
                 static_cast<std::size_t>(count_));
    }

private:
    static std::vector<float> Weights(int size, double sigma, double rest) {
        return size == 1 ? std::vector<float>{1} : gaussian(sigma, rest);
    }
    static int ReachOf(const std::vector<float>& weights) {
        return static_cast<int>(weights.size() / 2);
    }
    void AlongX(int y, float* to) {
        const float* const from = plane_.Row(y);
        const int begin = firstX_ - reachX_;
        const int end = begin + static_cast<int>(row_.size());
        const float* first = row_.data();
        if (begin < 0 || end > plane_.sizeX) {
            const int inside = std::clamp(0, begin, end);
            const int beyond = std::clamp(plane_.sizeX, inside, end);
            float* target = row_.data();
            for (int x = begin; x < inside; ++x)
                *target++ = from[smth_Mirrored(x, plane_.sizeX)];
            target = std::copy(from + inside, from + beyond, target);
            for (int x = beyond; x < end; ++x)
                *target++ = from[smth_Mirrored(x, plane_.sizeX)];
        } else {
            first = from + begin;
        }
        for (std::size_t k = 0; k < weightsX_.size(); ++k)
            shifted_[k] = first + k;
        combine_(shifted_.data(), weightsX_.data(), weightsX_.size(), to,
                 static_cast<std::size_t>(count_));
    }

    const regs_sPlane& plane_;
    int firstX_;
    std::vector<float> weightsX_;
    std::vector<float> weightsY_;
    int reachX_;
    int reachY_;
    smth_cStrip<float> strip_;
    std::vector<float> row_;
    std::vector<const float*> shifted_;
    std::vector<const float*> rows_;
    int count_;
    decltype(LEVEL_SELECT(regs_Combine)) combine_ = LEVEL_SELECT(regs_Combine);
};

regs_sPlane smoothed(const regs_sPlane& plane, const regs_sPlace& sigma) {
    regs_sPlane result(plane.sizeX, plane.sizeY);
    cSmoothed rows(plane, sigma, 0, plane.sizeX, {0, 0});
    for (int y = 0; y < plane.sizeY; ++y)
        rows.Row(y, result.Row(y));
    return result;
}

/// Elements of an overlap whose neighbourhoods lie within it.
struct sInner {
    int first;
    int count;
    bool isAxis; // whether there is anything to find along it

    sInner(int fixed, int moved, int shift, double sigma) : isAxis(fixed > 1 || moved > 1) {
        const regs_sOverlap overlap(fixed, moved, shift);
        // Of a few elements only those at the edge are left out, which have no slope.
        const int wide = static_cast<int>(std::lround(2 * sigma));
        const int margin = !isAxis ? 0 : overlap.count < least + 2 * wide ? 1 : wide;
        first = overlap.first + margin;
        count = overlap.count - 2 * margin;
    }
    static constexpr int least = 4;
};

/// How much is smoothed: little where little overlaps.
regs_sPlace sigmaAt(const regs_sPlane& a, const regs_sPlane& b, const regs_sShift& shift,
                    const regs_sPlace& wanted) {
    const auto along = [](int fixed, int moved, int by, double sigma) {
        const int margin = (regs_sOverlap(fixed, moved, by).count - sInner::least) / 2;
        return std::max(0.8, std::min(sigma, (margin + 0.4) / 2));
    };
    return {along(a.sizeX, b.sizeX, shift.x, wanted.x), along(a.sizeY, b.sizeY, shift.y, wanted.y)};
}

/// What is left to go, and the breadth of the content, in elements: its deviation over that of its
/// slopes.
struct sStep {
    bool isFound = false;
    bool isClose = false; // whether slopes have most of them in common
    regs_sPlace rest{};
    regs_sPlace breadth{};
};

/// Products of slopes, summed.
struct sSlopes {
    double xx;
    double xy;
    double yy;
};

/// The equations of four unknowns, the rest along X and Y, what is proportional to the content, and
/// a constant, with the last two eliminated.
struct sReduced {
    double xx, xy, yy, x, y;

    sReduced(const sSlopes& slopes, const double (&sums)[regs_sums], double count) {
        double rows[4][5] = {{slopes.xx, slopes.xy, sums[3], sums[5], sums[9]},
                             {slopes.xy, slopes.yy, sums[4], sums[6], sums[10]},
                             {sums[3], sums[4], sums[7], sums[8], sums[11]},
                             {sums[5], sums[6], sums[8], count, sums[12]}};
        for (int i = 3; i > 1; --i)
            for (int r = 0; r < i; ++r) {
                const double factor = rows[r][i] / rows[i][i];
                for (int k = 0; k < 5; ++k)
                    rows[r][k] -= factor * rows[i][k];
            }
        xx = rows[0][0];
        xy = rows[0][1];
        yy = rows[1][1];
        x = rows[0][4];
        y = rows[1][4];
    }
};

/// Solves the equations along one direction; across it nothing is left to go.
sStep solvedAlong(const regs_sDirection& direction, const sReduced& sums, const sSlopes& slopes,
                  double content) {
    sStep step;
    const double rest = (direction.x * sums.x + direction.y * sums.y) / direction.Of(sums);
    const double breadth = std::sqrt(content / direction.Of(slopes));
    step.rest = {rest * direction.x, rest * direction.y};
    step.breadth = {breadth / std::fabs(direction.x), breadth / std::fabs(direction.y)};
    step.isFound = direction.Of(sums) > 0 && std::isfinite(rest);
    return step;
}

/// Solves the equations along both axes.
sStep solvedAlongBoth(const sReduced& sums, const sSlopes& slopes, double content) {
    const double xx = sums.xx - sums.xy * sums.xy / sums.yy;
    sStep step;
    step.rest.x = (sums.x - sums.xy * sums.y / sums.yy) / xx;
    step.rest.y = (sums.y - sums.xy * step.rest.x) / sums.yy;
    step.breadth = {std::sqrt(content / slopes.xx), std::sqrt(content / slopes.yy)};
    step.isFound =
        xx > 0 && sums.yy > 0 && std::isfinite(step.rest.x) && std::isfinite(step.rest.y);
    return step;
}

/// Whether slopes along a direction have no more in common than noise has by chance. `across` is
/// the sum of products of slopes of either, `means` that of their means; what the latter has more
/// is noise.
bool isNoise(double across, double means, double count, const regs_sPlace& sigma) {
    const double noise = std::max(0.0, means - across);
    // Smoothing leaves one independent slope for so many elements.
    const double each = 4 * type_Pi * std::max(1.0, sigma.x) * std::max(1.0, sigma.y);
    return !(across > 4 * 2 * noise * std::sqrt(each / count));
}

/// The equations of what overlaps: `own` by products of slopes of either, `both` by those of their
/// means. Far from the place slopes have little in common; their means lead on there.
class cEquations {
public:
    cEquations(const double (&sums)[regs_sums], double count, const regs_sPlace& sigma)
        : across_{sums[0], sums[1], sums[2]}, means_{sums[13], sums[14], sums[15]},
          own_(across_, sums, count), both_(means_, sums, count), content_(sums[7]), count_(count),
          sigma_(sigma) {}

    sStep Along(const regs_sDirection& direction) const {
        const bool isClose = IsClose(direction);
        sStep step =
            solvedAlong(direction, isClose ? own_ : both_, isClose ? across_ : means_, content_);
        step.isClose = isClose;
        return step;
    }

    /// What changes along one direction alone is found along that one, with noise or without.
    sStep AlongBoth() const {
        const regs_sDirection steepest = regs_SteepestOf(own_);
        const regs_sDirection other = steepest.Across();
        // Less than this is what single precision rounds by.
        const double most = steepest.Of(own_);
        const bool isFlat = most > 0 && !(other.Of(own_) > 1e-6 * most);
        if (isFlat || (IsLost(other) && !IsLost(steepest)))
            return Along(steepest);
        if (IsClose({1, 0}) && IsClose({0, 1})) {
            sStep step = solvedAlongBoth(own_, across_, content_);
            step.isClose = true;
            if (step.isFound)
                return step;
        }
        return solvedAlongBoth(both_, means_, content_);
    }

private:
    bool IsClose(const regs_sDirection& direction) const {
        return direction.Of(across_) >= 0.5 * direction.Of(means_);
    }
    bool IsLost(const regs_sDirection& direction) const {
        return !IsClose(direction) &&
               isNoise(direction.Of(own_), direction.Of(both_), count_, sigma_);
    }

    sSlopes across_;
    sSlopes means_;
    sReduced own_;
    sReduced both_;
    double content_;
    double count_;
    regs_sPlace sigma_;
};

/// What is left to go from a place, by what overlaps at a shift near it. `a` is smoothed.
sStep stepFrom(const regs_sPlane& a, const regs_sPlane& b, const regs_sScale& scale,
               const regs_sPlace& sigma, const regs_sShift& shift, const regs_sPlace& place) {
    const sInner x(a.sizeX, b.sizeX, shift.x, sigma.x);
    const sInner y(a.sizeY, b.sizeY, shift.y, sigma.y);
    constexpr double largest = std::numeric_limits<float>::max();
    const bool isFloat = std::fabs(scale.gain) <= largest && std::fabs(scale.offset) <= largest;
    constexpr double unknowns = 4;
    if (x.count < 1 || y.count < 1 || static_cast<double>(x.count) * y.count < unknowns || !isFloat)
        return {};
    const int aside = x.isAxis ? 1 : 0;
    const int below = y.isAxis ? 1 : 0;
    const int columns = x.count + 2 * aside;
    const auto width = static_cast<std::size_t>(columns);
    cSmoothed moved(b, sigma, x.first + shift.x - aside, columns,
                    {place.x - shift.x, place.y - shift.y});
    std::vector<float> kept(3 * width);
    const auto keptRow = [&](int row) {
        return kept.data() + static_cast<std::size_t>(row % 3) * width;
    };
    for (int row = 0; row < 2 * below; ++row)
        moved.Row(y.first + row - below + shift.y, keptRow(row));
    const auto addRow = LEVEL_SELECT(regs_AddRow);
    double sums[regs_sums] = {};
    for (int row = 0; row < y.count; ++row) {
        moved.Row(y.first + row + below + shift.y, keptRow(row + 2 * below));
        regs_sRows rows{
            {}, {}, static_cast<float>(scale.gain), static_cast<float>(scale.offset), aside};
        for (int k = 0; k < 3; ++k) {
            rows.a[k] = a.Row(y.first + row + (k - 1) * below) + x.first;
            rows.b[k] = keptRow(row + k * below) + aside;
        }
        addRow(rows, static_cast<std::size_t>(x.count), sums);
    }
    const cEquations equations(sums, static_cast<double>(x.count) * y.count, sigma);
    return x.isAxis && y.isAxis
               ? equations.AlongBoth()
               : equations.Along(x.isAxis ? regs_sDirection{1, 0} : regs_sDirection{0, 1});
}

/// How much to smooth content of some breadth: as much as keeps the noise of the slopes well below
/// them, and little enough to keep the slopes.
double sigmaFor(double breadth) { return std::clamp(0.5 * std::sqrt(breadth), 0.8, 3.0); }

bool isNear(double wanted, double used) { return std::fabs(wanted - used) <= 0.25 * used; }

/// How much of a step to go at once: slopes tell nothing beyond their own breadth.
double partOf(double step, double breadth) {
    return std::min(1.0, std::max(1.0, 0.3 * breadth) / std::fabs(step));
}

} // namespace

bool regs_Approach(const regs_sPlane& a, const regs_sPlane& b, regs_eApproach end,
                   regs_sPlace& place) {
    constexpr int mostSteps = 20;
    constexpr double mostSigma = 5;
    double leastSigma = 0;
    const double enough =
        end == regs_Near ? 0.1 : 0.005; // what is left is a tenth of the last step
    regs_sPlace at = place;
    regs_sPlace sigma = sigmaAt(a, b, regs_Nearest(place), {1.2, 1.2});
    regs_sPlane fixed = smoothed(a, sigma);
    regs_sShift shift{0, 0};
    regs_sScale scale{1, 0};
    bool isThere = false;
    for (int i = 0; i < mostSteps; ++i) {
        // What overlaps stays the same where the place goes to and fro between two shifts.
        if (i == 0 || !(std::fabs(at.x - shift.x) <= 0.75) ||
            !(std::fabs(at.y - shift.y) <= 0.75)) {
            shift = regs_Nearest(at);
            scale = regs_LikenessOf(a, b, shift).scale;
        }
        const sStep step = stepFrom(fixed, b, scale, sigma, shift, at);
        if (!step.isFound && isThere)
            break; // nothing is left where more is smoothed
        if (!step.isFound)
            return false;
        const double part =
            std::min(partOf(step.rest.x, step.breadth.x), partOf(step.rest.y, step.breadth.y));
        at.x -= part * step.rest.x;
        at.y -= part * step.rest.y;
        if (!(std::fabs(at.x - place.x) <= 2 + 2 * step.breadth.x) ||
            !(std::fabs(at.y - place.y) <= 2 + 2 * step.breadth.y))
            return false;
        // Near the place it is noise that slopes do not have in common. What is finer than the
        // smoothing would be wiped out with it.
        if (!step.isClose)
            leastSigma = std::min({mostSigma, 1.5 * std::max(sigma.x, sigma.y),
                                   std::min(step.breadth.x, step.breadth.y)});
        isThere = std::hypot(step.rest.x, step.rest.y) <= enough;
        const regs_sPlace wanted = sigmaAt(a, b, shift,
                                           {std::max(leastSigma, sigmaFor(step.breadth.x)),
                                            std::max(leastSigma, sigmaFor(step.breadth.y))});
        if (end == regs_Exact && !(isNear(wanted.x, sigma.x) && isNear(wanted.y, sigma.y))) {
            sigma = wanted;
            fixed = smoothed(a, sigma);
        } else if (isThere) {
            break;
        }
    }
    if (isThere)
        place = at;
    return isThere;
}

} // namespace dataprocessing::detail
