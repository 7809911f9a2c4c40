#include "dataprocessing/fourier/regs_search.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/fourier/regs_peaks.h"

namespace dataprocessing::detail {

namespace {

struct sSum {
    double values = 0;
    double squares = 0;

    sSum& operator+=(const sSum& other) {
        values += other.values;
        squares += other.squares;
        return *this;
    }
    sSum operator-(const sSum& other) const {
        return {values - other.values, squares - other.squares};
    }
};

/// The sums over all rectangles of a plane.
class cSums {
public:
    explicit cSums(const regs_sPlane& plane)
        : width_(static_cast<std::size_t>(plane.sizeX) + 1),
          sums_(width_ * (static_cast<std::size_t>(plane.sizeY) + 1)) {
        for (int y = 0; y < plane.sizeY; ++y) {
            sSum row;
            const float* const values = plane.Row(y);
            const sSum* above = Upto(y);
            sSum* here = sums_.data() + width_ * (static_cast<std::size_t>(y) + 1);
            for (int x = 0; x < plane.sizeX; ++x) {
                const double value = static_cast<double>(values[x]);
                row += {value, value * value};
                here[x + 1] = above[x + 1];
                here[x + 1] += row;
            }
        }
    }
    /// The sums over all rows above `y`, of the columns before each.
    const sSum* Upto(int y) const { return sums_.data() + width_ * static_cast<std::size_t>(y); }

    /// The sums over some rows, of the columns before each.
    void OfRows(int first, int count, std::vector<sSum>& sums) const {
        const sSum* const begin = Upto(first);
        const sSum* const end = Upto(first + count);
        sums.resize(width_);
        for (std::size_t x = 0; x < width_; ++x)
            sums[x] = end[x] - begin[x];
    }

    /// The mean square of all values.
    double Power() const {
        const std::size_t height = sums_.size() / width_ - 1;
        return sums_.back().squares / static_cast<double>((width_ - 1) * height);
    }

private:
    std::size_t width_;
    std::vector<sSum> sums_;
};

/// What overlaps at each shift along an axis.
std::vector<regs_sOverlap> overlaps(int fixed, int moved) {
    std::vector<regs_sOverlap> result;
    for (int shift = 1 - fixed; shift < moved; ++shift)
        result.emplace_back(fixed, moved, shift);
    return result;
}

// What lies between elements is found by parabolas only, and is not quite alike.
constexpr double doubt = 0.02;

/// The highest of some shifts.
class cHighest {
public:
    /// What is not higher is not one of them.
    double Least() const { return shifts_.size() < most ? 0.0 : shifts_.front().first; }
    void Add(double value, const regs_sShift& shift) {
        if (shifts_.size() == most) {
            std::pop_heap(shifts_.begin(), shifts_.end(), isHigher);
            shifts_.pop_back();
        }
        shifts_.emplace_back(value, shift);
        std::push_heap(shifts_.begin(), shifts_.end(), isHigher);
    }
    std::vector<regs_sShift> Shifts() const {
        std::vector<regs_sShift> result;
        for (const Entry& entry : shifts_)
            result.push_back(entry.second);
        return result;
    }

private:
    using Entry = std::pair<double, regs_sShift>;
    static constexpr std::size_t most = 12;
    static bool isHigher(const Entry& a, const Entry& b) { return a.first > b.first; }
    std::vector<Entry> shifts_; // a heap, the lowest first
};

} // namespace

regs_cSearch::regs_cSearch(const regs_sPlane& fixed, const regs_sPlane& moved,
                           const regs_sBand& band, regs_eRanking ranking, double overlap)
    : fixed_(fixed), moved_(moved), ranking_(ranking) {
    const long long countX = 0LL + fixed.sizeX + moved.sizeX - 1;
    const long long countY = 0LL + fixed.sizeY + moved.sizeY - 1;
    const regs_cCorrelation correlation(fixed, moved, regs_PowerFor(countX), regs_PowerFor(countY),
                                        band, regs_AllAlike);
    if (!correlation.HasFrequencies())
        throw expt_cProgramException("regs", 1, "The band holds no frequency.");
    countX_ = static_cast<int>(countX);
    countY_ = static_cast<int>(countY);
    ranks_.resize(static_cast<std::size_t>(countX) * static_cast<std::size_t>(countY));
    if (ranking_ == regs_ByCorrelation)
        RankByCorrelation(correlation, overlap);
    else
        RankByLikeness(correlation, overlap);
}

void regs_cSearch::RankByLikeness(const regs_cCorrelation& correlation, double overlap) {
    // A part without content is like anything; what it has is not taken for less than this.
    constexpr double leastContent = 1e-3;
    const cSums fixed(fixed_);
    const cSums moved(moved_);
    const double leastFixed = leastContent * fixed.Power();
    const double leastMoved = leastContent * moved.Power();
    const std::vector<regs_sOverlap> alongX = overlaps(fixed_.sizeX, moved_.sizeX);
    const std::vector<regs_sOverlap> alongY = overlaps(fixed_.sizeY, moved_.sizeY);
    const regs_sShifts shiftsX(fixed_.sizeX, moved_.sizeX, overlap);
    const regs_sShifts shiftsY(fixed_.sizeY, moved_.sizeY, overlap);
    std::vector<sSum> ofFixed;
    std::vector<sSum> ofMoved;
    float* rank = ranks_.data();
    for (std::size_t j = 0; j < alongY.size(); ++j, rank += countX_) {
        const regs_sOverlap& y = alongY[j];
        const int shiftY = static_cast<int>(j) + 1 - fixed_.sizeY;
        if (!shiftsY.Has(shiftY))
            continue;
        fixed.OfRows(y.first, y.count, ofFixed);
        moved.OfRows(y.first + shiftY, y.count, ofMoved);
        const float* const row = correlation.Row(shiftY);
        for (std::size_t i = 0; i < alongX.size(); ++i) {
            const regs_sOverlap& x = alongX[i];
            const int shiftX = static_cast<int>(i) + 1 - fixed_.sizeX;
            const float value = row[shiftX < 0 ? shiftX + correlation.SizeX() : shiftX];
            if (!shiftsX.Has(shiftX))
                continue;
            const double n = static_cast<double>(x.count) * y.count;
            const auto a = static_cast<std::size_t>(x.first);
            const int firstMoved = x.first + shiftX;
            const auto b = static_cast<std::size_t>(firstMoved);
            const auto count = static_cast<std::size_t>(x.count);
            const sSum p = ofFixed[a + count] - ofFixed[a];
            const sSum q = ofMoved[b + count] - ofMoved[b];
            const double common = n * static_cast<double>(value) - p.values * q.values;
            if (common <= 0)
                continue;
            const double contentP =
                std::max(n * p.squares - p.values * p.values, n * n * leastFixed);
            const double contentQ =
                std::max(n * q.squares - q.values * q.values, n * n * leastMoved);
            rank[i] = static_cast<float>(common * std::sqrt(n / (contentP * contentQ)));
        }
    }
}

void regs_cSearch::RankByCorrelation(const regs_cCorrelation& correlation, double overlap) {
    const std::vector<regs_sOverlap> alongX = overlaps(fixed_.sizeX, moved_.sizeX);
    const std::vector<regs_sOverlap> alongY = overlaps(fixed_.sizeY, moved_.sizeY);
    const regs_sShifts shiftsX(fixed_.sizeX, moved_.sizeX, overlap);
    const regs_sShifts shiftsY(fixed_.sizeY, moved_.sizeY, overlap);
    float* rank = ranks_.data();
    for (std::size_t j = 0; j < alongY.size(); ++j, rank += countX_)
        for (std::size_t i = 0; i < alongX.size(); ++i) {
            const int shiftX = static_cast<int>(i) + 1 - fixed_.sizeX;
            const int shiftY = static_cast<int>(j) + 1 - fixed_.sizeY;
            if (shiftsX.Has(shiftX) && shiftsY.Has(shiftY))
                rank[i] =
                    correlation.At(shiftX, shiftY) / std::sqrt(static_cast<float>(alongX[i].count) *
                                                               static_cast<float>(alongY[j].count));
        }
}

double regs_cSearch::CountAt(const regs_sShift& shift) const {
    return static_cast<double>(regs_sOverlap(fixed_.sizeX, moved_.sizeX, shift.x).count) *
           regs_sOverlap(fixed_.sizeY, moved_.sizeY, shift.y).count;
}

double regs_cSearch::RankAt(int x, int y) const {
    const double value = static_cast<double>(At(x, y));
    if (!(value > 0))
        return 0;
    const double count = CountAt({x, y});
    return regs_RankOf(value / std::sqrt(count), count, doubt);
}

/// The highest peaks of the coefficient times the root of the number of elements: there are few,
/// and they stand out where noise leaves little of the likeness.
std::vector<regs_sShift> regs_cSearch::Candidates() const {
    cHighest highest;
    const auto at = [this](int x, int y) { return static_cast<double>(At(x, y)); };
    const float* rank = ranks_.data();
    for (int y = 1 - fixed_.sizeY; y < moved_.sizeY; ++y)
        for (int x = 1 - fixed_.sizeX; x < moved_.sizeX; ++x) {
            const double value = static_cast<double>(*rank++);
            if (value > highest.Least() && regs_IsPeak(at, x, y))
                highest.Add(value, {x, y});
        }
    return highest.Shifts();
}

/// Where little overlaps the number of elements changes so fast that what is quite alike may be no
/// peak of that product, but it is one of the rank.
std::vector<regs_sShift> regs_cSearch::LikelyCandidates() const {
    cHighest highest;
    const auto at = [this](int x, int y) { return RankAt(x, y); };
    double best = 0;
    const float* rank = ranks_.data();
    for (int y = 1 - fixed_.sizeY; y < moved_.sizeY; ++y)
        for (int x = 1 - fixed_.sizeX; x < moved_.sizeX; ++x) {
            const double squared = static_cast<double>(*rank) * static_cast<double>(*rank);
            ++rank;
            const double least = std::max(highest.Least(), 0.5 * best);
            // -log(t) is at most (1 - t) / t, which is found faster.
            if (!(squared > least * doubt) || !(squared > least * (1 - squared / CountAt({x, y}))))
                continue;
            const double value = RankAt(x, y);
            if (value > least && regs_IsPeak(at, x, y)) {
                highest.Add(value, {x, y});
                best = std::max(best, value);
            }
        }
    return highest.Shifts();
}

std::vector<regs_sPeak> regs_cSearch::Peaks() const {
    std::vector<regs_sPeak> peaks;
    const auto add = [&](const regs_sShift& shift) {
        if (ranking_ == regs_ByCorrelation) {
            peaks.push_back({shift, static_cast<double>(At(shift.x, shift.y))});
            return;
        }
        // Where little overlaps it is alike by chance, and then counts no more than it may.
        const double count = CountAt(shift);
        peaks.push_back(
            {shift, regs_RankOf(Between(shift).height / std::sqrt(count), count, doubt)});
    };
    for (const regs_sShift& shift : Candidates())
        add(shift);
    if (ranking_ == regs_ByLikeness)
        for (const regs_sShift& shift : LikelyCandidates())
            if (std::none_of(peaks.begin(), peaks.end(), [&](const regs_sPeak& peak) {
                    return peak.shift.x == shift.x && peak.shift.y == shift.y;
                }))
                add(shift);
    std::sort(peaks.begin(), peaks.end(),
              [](const regs_sPeak& a, const regs_sPeak& b) { return a.rank > b.rank; });
    return peaks;
}

bool regs_cSearch::IsApart(const regs_sShift& peak, const regs_sShift& other) const {
    const auto at = [this](int x, int y) { return At(x, y); };
    const regs_sShift valley = regs_ValleyOf(at, peak, other);
    return regs_IsApart(At(valley.x, valley.y), At(peak.x, peak.y));
}

regs_sSummit regs_cSearch::Between(const regs_sShift& shift) const {
    const auto at = [&](int dx, int dy) { return At(shift.x + dx, shift.y + dy); };
    const regs_sVertex vertex = regs_VertexOf(at, countX_ > 3, countY_ > 3);
    return {{shift.x + vertex.x, shift.y + vertex.y}, static_cast<double>(at(0, 0)) + vertex.rise};
}

} // namespace dataprocessing::detail
