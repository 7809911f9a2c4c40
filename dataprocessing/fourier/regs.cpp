#include "dataprocessing/fourier/regs.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/fourier/regs_correlation.h"
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
        options.subElement > regs_Whole)
        throw expt_cProgramException("regs", 1, "An option is not one that there is.");
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
    double sum = 0;
    for (const double value : values)
        sum += value;
    const double mean = sum / static_cast<double>(values.size());
    double largest = 0;
    for (const double value : values)
        largest = std::max(largest, std::fabs(value - mean));
    const bool areEqual =
        std::all_of(values.begin(), values.end(), [&](double value) { return value == values[0]; });
    if (values.empty() || !std::isfinite(sum) || !std::isfinite(largest) || areEqual)
        throw expt_cUserException("regs", 4, "There is nothing to register by.");
    std::transform(values.begin(), values.end(), plane.values.begin(),
                   [&](double value) { return static_cast<float>((value - mean) / largest); });
    return plane;
}

/// Means of so many elements along each axis; a rest that fills no mean is left out.
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
    return result;
}

/// What overlaps along one axis when element i of the fixed array lies at i + shift of the moved.
struct sOverlap {
    int first; // of the fixed array
    int count;

    /// From 256 elements on, no more than the middle power of two of them where that is most of
    /// them: the transform of the rest up to the next power would take much longer.
    sOverlap Middle() const {
        sOverlap middle = *this;
        const int power = static_cast<int>(std::bit_floor(static_cast<unsigned>(count)));
        if (power >= 256 && count < power + power / 2) {
            middle.first += (count - power) / 2;
            middle.count = power;
        }
        return middle;
    }
    sOverlap(int fixed, int moved, int shift)
        : first(std::max(0, -shift)), count(std::min(fixed, moved - shift) - first) {}
};

/// The correlation coefficient of what overlaps.
double coefficient(const regs_sPlane& fixed, const regs_sPlane& moved, int shiftX, int shiftY) {
    const sOverlap x(fixed.sizeX, moved.sizeX, shiftX);
    const sOverlap y(fixed.sizeY, moved.sizeY, shiftY);
    if (x.count <= 0 || y.count <= 0)
        return 0;
    double a = 0, b = 0, aa = 0, ab = 0, bb = 0;
    for (int row = y.first; row < y.first + y.count; ++row) {
        const float* p = fixed.Row(row) + x.first;
        const float* q = moved.Row(row + shiftY) + x.first + shiftX;
        for (int i = 0; i < x.count; ++i) {
            const double u = static_cast<double>(p[i]);
            const double v = static_cast<double>(q[i]);
            a += u;
            b += v;
            aa += u * u;
            ab += u * v;
            bb += v * v;
        }
    }
    const double n = static_cast<double>(x.count) * y.count;
    const double energy = (aa - a * a / n) * (bb - b * b / n);
    return energy > 0 ? (ab - a * b / n) / std::sqrt(energy) : 0;
}

struct sShift {
    int x;
    int y;
};

int powerFor(long long size) {
    if (size > 1 << 30)
        arr_SizeError(size);
    return static_cast<int>(std::bit_ceil(static_cast<unsigned>(std::max(2LL, size))));
}

/// Whether a band leaves out any frequency but 0.
bool isBanded(const regs_sBand& band) { return band.low > 0 || band.high < std::sqrt(2.0); }

/// A shift and what is told of it.
struct sPeak {
    sShift shift;
    double height; // the coefficient
    double rank;
};

/// From the middle one of three values to the vertex of the parabola through them.
double vertex(float before, float here, float after) {
    const double part =
        0.5 * (static_cast<double>(after) - static_cast<double>(before)) /
        (2 * static_cast<double>(here) - static_cast<double>(before) - static_cast<double>(after));
    return std::fabs(part) <= 0.5 ? part : 0;
}

struct sPlace {
    double x;
    double y;
};

/// The peaks of the correlation over all shifts at which enough overlaps.
class cSearch {
public:
    cSearch(const regs_sPlane& fixed, const regs_sPlane& moved, const regs_sBand& band,
            double overlap)
        : fixed_(fixed), moved_(moved), overlap_(overlap), isBanded_(isBanded(band)),
          correlation_(fixed, moved, powerFor(0LL + fixed.sizeX + moved.sizeX - 1),
                       powerFor(0LL + fixed.sizeY + moved.sizeY - 1), band, regs_AllAlike) {}

    /// The best peaks, by falling rank. The correlation weighs brightness as well as likeness, so a
    /// few of its highest peaks are compared by what really overlaps.
    std::vector<sPeak> Peaks() const {
        std::vector<sPeak> peaks;
        for (const auto& [value, shift] : Highest()) {
            const double height = coefficient(fixed_, moved_, shift.x, shift.y);
            const double count =
                static_cast<double>(sOverlap(fixed_.sizeX, moved_.sizeX, shift.x).count) *
                sOverlap(fixed_.sizeY, moved_.sizeY, shift.y).count;
            // What is outside of the band is in the elements, but not in the correlation.
            peaks.push_back({shift, height,
                             isBanded_ ? static_cast<double>(value) : height * std::sqrt(count)});
        }
        std::sort(peaks.begin(), peaks.end(),
                  [](const sPeak& a, const sPeak& b) { return a.rank > b.rank; });
        return peaks;
    }

    /// Where the peak at a shift lies between elements.
    sPlace Between(const sShift& shift) const {
        const auto along = [&](int dx, int dy) {
            return vertex(correlation_.At(shift.x - dx, shift.y - dy),
                          correlation_.At(shift.x, shift.y),
                          correlation_.At(shift.x + dx, shift.y + dy));
        };
        return {shift.x + (fixed_.sizeX + moved_.sizeX > 4 ? along(1, 0) : 0),
                shift.y + (fixed_.sizeY + moved_.sizeY > 4 ? along(0, 1) : 0)};
    }

private:
    using Candidate = std::pair<float, sShift>;

    /// The highest local maxima of the correlation over the square root of the overlap.
    std::vector<Candidate> Highest() const {
        constexpr std::size_t most = 12;
        const std::vector<float> alongX = Weights(fixed_.sizeX, moved_.sizeX);
        const std::vector<float> alongY = Weights(fixed_.sizeY, moved_.sizeY);
        const auto isLower = [](const Candidate& a, const Candidate& b) {
            return a.first > b.first;
        };
        std::vector<Candidate> highest; // a heap, the lowest first
        float least = 0;
        for (std::size_t j = 0; j < alongY.size(); ++j) {
            const int y = static_cast<int>(j) + 1 - fixed_.sizeY;
            const float* row = correlation_.Row(y);
            for (std::size_t i = 0; i < alongX.size(); ++i) {
                const sShift shift{static_cast<int>(i) + 1 - fixed_.sizeX, y};
                const int column = shift.x < 0 ? shift.x + correlation_.SizeX() : shift.x;
                const float value = row[column] * alongX[i] * alongY[j];
                if (!(value > least) || !IsPeak(shift))
                    continue;
                if (highest.size() == most) {
                    std::pop_heap(highest.begin(), highest.end(), isLower);
                    highest.pop_back();
                }
                highest.emplace_back(value, shift);
                std::push_heap(highest.begin(), highest.end(), isLower);
                least = highest.size() < most ? 0.0F : highest.front().first;
            }
        }
        std::sort_heap(highest.begin(), highest.end(), isLower);
        // What is far below the highest one is not worth a comparison; there is always a second.
        while (highest.size() > 2 && highest.back().first < 0.5F * highest.front().first)
            highest.pop_back();
        return highest;
    }

    /// One over the square root of the overlap at each shift along an axis; 0 where it is too
    /// small.
    std::vector<float> Weights(int fixed, int moved) const {
        const double enough = std::max(1.0, overlap_ * std::min(fixed, moved));
        std::vector<float> weights;
        for (int shift = 1 - fixed; shift < moved; ++shift) {
            const int count = sOverlap(fixed, moved, shift).count;
            weights.push_back(count < enough ? 0 : 1 / std::sqrt(static_cast<float>(count)));
        }
        return weights;
    }

    bool IsPeak(const sShift& shift) const {
        const float here = correlation_.At(shift.x, shift.y);
        const auto isAbove = [&](int dx, int dy) {
            return here > correlation_.At(shift.x - dx, shift.y - dy) &&
                   here >= correlation_.At(shift.x + dx, shift.y + dy);
        };
        return (fixed_.sizeX + moved_.sizeX == 2 || isAbove(1, 0)) &&
               (fixed_.sizeY + moved_.sizeY == 2 || isAbove(0, 1));
    }

    const regs_sPlane& fixed_;
    const regs_sPlane& moved_;
    double overlap_;
    bool isBanded_;
    regs_cCorrelation correlation_;
};

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
sPlace refined(const regs_sPlane& fixed, const regs_sPlane& moved, const sShift& start,
               const sShift& reach, const regs_sOptions& options) {
    const sOverlap x = sOverlap(fixed.sizeX, moved.sizeX, start.x).Middle();
    const sOverlap y = sOverlap(fixed.sizeY, moved.sizeY, start.y).Middle();
    const regs_cCorrelation correlation(
        faded(fixed, x.first, y.first, x.count, y.count),
        faded(moved, x.first + start.x, y.first + start.y, x.count, y.count), powerFor(x.count),
        powerFor(y.count), {options.low, options.high}, regs_OverNoise);
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
    if (options.subElement == regs_Fourier) {
        correlation.Climb(restX, restY);
    } else if (options.subElement == regs_Parabola) {
        const auto along = [&](int dx, int dy) {
            return vertex(correlation.At(bestX - dx, bestY - dy), correlation.At(bestX, bestY),
                          correlation.At(bestX + dx, bestY + dy));
        };
        restX += x.count > 2 ? along(1, 0) : 0;
        restY += y.count > 2 ? along(0, 1) : 0;
    }
    return {start.x + restX, start.y + restY};
}

/// How many elements are averaged along an axis before the search.
int averagedAlong(int fixed, int moved, int most, double low) {
    int count = std::min(static_cast<int>((0LL + fixed + moved + most - 1) / most),
                         std::min(fixed, moved) / 16);
    while (count > 1 && low * count > 0.5)
        --count; // what the band lets through is still there
    return std::max(1, count);
}

regs_s2DShift found(const regs_sPlane& fixed, const regs_sPlane& moved,
                    const regs_sOptions& options) {
    const bool isLine = fixed.sizeY == 1 && moved.sizeY == 1;
    const bool banded = isBanded({options.low, options.high});
    const int most = isLine ? 1 << 16 : 160;
    int perX = averagedAlong(fixed.sizeX, moved.sizeX, most, options.low);
    int perY = averagedAlong(fixed.sizeY, moved.sizeY, most, options.low);
    // Below this the search has not found the content again.
    constexpr double enough = 0.3;
    regs_s2DShift best;
    best.height = -2;
    while (true) {
        regs_sPlane a = averaged(fixed, perX, perY);
        regs_sPlane b = averaged(moved, perX, perY);
        // What a band is to leave out would come back in by its steps at the edges.
        if (banded) {
            a = faded(a, 0, 0, a.sizeX, a.sizeY);
            b = faded(b, 0, 0, b.sizeX, b.sizeY);
        }
        const double per = std::max(perX, perY);
        const cSearch search(a, b, {options.low * per, options.high * per}, options.overlap);
        const std::vector<sPeak> peaks = search.Peaks();
        const sShift first = peaks.empty() ? sShift{0, 0} : peaks[0].shift;
        const sPlace peak = search.Between(first);
        const sShift start{perX == 1 ? first.x : static_cast<int>(std::lround(peak.x * perX)),
                           perY == 1 ? first.y : static_cast<int>(std::lround(peak.y * perY))};
        const sPlace place =
            refined(fixed, moved, start, {perX + 1, isLine ? 0 : perY + 1}, options);
        const double height = coefficient(fixed, moved, static_cast<int>(std::lround(place.x)),
                                          static_cast<int>(std::lround(place.y)));
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
        found(planeOf(fixed, fixed.Size(), 1), planeOf(moved, moved.Size(), 1), options);
    return {calibrated(shift.elementsX, fixed.Cal(), moved.Cal()), shift.elementsX, shift.height,
            shift.second};
}

regs_s2DShift regs_Register(const darr_c2DArray& fixed, const darr_c2DArray& moved,
                            const regs_sOptions& options) {
    requireOptions(options);
    requireEqualDeltas(fixed.Cal().X(), moved.Cal().X());
    requireEqualDeltas(fixed.Cal().Y(), moved.Cal().Y());
    regs_s2DShift shift = found(planeOf(fixed, fixed.SizeX(), fixed.SizeY()),
                                planeOf(moved, moved.SizeX(), moved.SizeY()), options);
    shift.x = calibrated(shift.elementsX, fixed.Cal().X(), moved.Cal().X());
    shift.y = calibrated(shift.elementsY, fixed.Cal().Y(), moved.Cal().Y());
    return shift;
}
