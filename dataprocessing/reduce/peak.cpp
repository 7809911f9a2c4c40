#include "dataprocessing/reduce/peak.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <span>
#include <type_traits>
#include <utility>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/valuemodel/conv_check.h"

namespace dataprocessing::detail {

namespace {

/// A local maximum: the run of equal elements [first, last] is higher than both neighbours. The
/// ends of the elements looked at are tops, too, behind which nothing is seen.
struct sTop {
    int first;
    int last;

    int Middle() const { return static_cast<int>((0LL + first + last) / 2); }
};

constexpr std::size_t at(int index) { return static_cast<std::size_t>(index); }

template<class T>
class cSearch {
public:
    cSearch(std::span<const T> elements, const cal_cArrayCal& cal, const peak_sOptions& options,
            std::vector<peak_sPeak>& found)
        : elements_(elements), cal_(cal), options_(options), found_(found) {}

    /// Looks at each run of elements that are not NaN.
    void Run() {
        const int count = static_cast<int>(elements_.size());
        if constexpr (std::is_floating_point_v<T>) {
            for (int first = 0; first < count;) {
                int last = first;
                while (last < count && !std::isnan(elements_[at(last)]))
                    ++last;
                Look(first, last);
                first = last;
                while (first < count && std::isnan(elements_[at(first)]))
                    ++first;
            }
        } else {
            Look(0, count);
        }
    }

private:
    double Value(int index) const { return static_cast<double>(elements_[at(index)]); }

    /// The peaks among the elements [first, last).
    void Look(int first, int last) {
        if (last - first < 3)
            return;
        least_ = LeastDistance();
        last_ = last;
        FindTops(first, last);
        kept_.assign(tops_.size(), 1);
        kept_.front() = kept_.back() = 0;
        if (least_ > 1)
            KeepDistance();
        std::size_t count = found_.size();
        for (std::size_t k = 0; k < tops_.size(); ++k) {
            kept_[k] &= static_cast<unsigned char>(!(Prominence(k) < options_.prominence));
            count += kept_[k];
        }
        found_.reserve(count);
        for (std::size_t k = 0; k < tops_.size(); ++k)
            if (kept_[k] != 0)
                Measure(k);
    }

    /// The least distance in elements.
    double LeastDistance() const {
        if (options_.distance == 0)
            return 0;
        const double elements = options_.distance / std::fabs(cal_.Delta());
        const double whole = std::round(elements);
        return std::fabs(elements - whole) <= 1e-6 ? whole : elements;
    }

    /// The tops among the elements [first, last), the two ends included.
    void FindTops(int first, int last) {
        tops_.clear();
        feet_.clear();
        isHighest_.clear();
        T lowest = elements_[at(first)];
        AddTop({first, first}, lowest);
        constexpr int block = 1024;
        int turns[block]; // where a step up is followed by none, or one down
        for (int begin = first + 1; begin < last - 1;) {
            const int stop = begin + std::min(block, last - 1 - begin);
            std::size_t count = 0;
            for (int i = begin; i < stop; ++i) {
                const T before = elements_[at(i - 1)];
                const T here = elements_[at(i)];
                const T after = elements_[at(i + 1)];
                turns[count] = i;
                count += static_cast<std::size_t>(((before < here) & (here >= after)) |
                                                  ((before > here) & (here <= after)));
            }
            for (std::size_t k = 0; k < count; ++k) {
                const T height = elements_[at(turns[k])];
                if (height < elements_[at(turns[k] - 1)]) {
                    lowest = std::min(lowest, height);
                    continue;
                }
                int end = turns[k] + 1;
                while (end < last && elements_[at(end)] == height)
                    ++end;
                if (end < last && elements_[at(end)] < height) {
                    AddTop({turns[k], end - 1}, lowest);
                    lowest = height;
                }
            }
            begin = stop;
        }
        AddTop({last - 1, last - 1}, std::min(lowest, elements_[at(last - 1)]));
        CloseTops();
    }

    /// A top to the right of which nothing higher has been seen so far. Between two tops elements
    /// fall and then rise, so only valleys matter for what is lowest between them.
    struct sOpen {
        int top;
        int higher; // the nearest higher top on the left; 0, the end, where there is none
        int equal;  // the next top of the same height, when nothing higher lies between; or 0
        T height;
        T gap;  // the lowest element since the open top before it
        T foot; // the lowest element since something higher
    };

    /// Goes on to the next top; `lowest` is the lowest element since the one before it.
    void AddTop(const sTop& top, T lowest) {
        const int k = static_cast<int>(tops_.size());
        tops_.push_back(top);
        feet_.push_back(0);
        isHighest_.push_back(0);
        sOpen opened = {k, 0, 0, elements_[at(top.first)], lowest, lowest};
        while (!open_.empty() && open_.back().height < opened.height) {
            Close(open_.back(), opened.gap, k);
            opened.gap = std::min(opened.gap, open_.back().gap);
            open_.pop_back();
        }
        opened.foot = opened.gap;
        if (!open_.empty()) {
            sOpen& before = open_.back();
            if (before.height == opened.height) {
                before.equal = k;
                opened.higher = before.higher;
                opened.foot = std::min(opened.gap, before.foot);
            } else {
                opened.higher = before.top;
            }
        }
        open_.push_back(opened);
    }

    /// Behind the last top nothing comes.
    void CloseTops() {
        const int end = open_.back().top;
        T lowest = open_.back().height;
        for (; !open_.empty(); open_.pop_back()) {
            Close(open_.back(), lowest, end);
            lowest = std::min(lowest, open_.back().gap);
        }
    }

    /// `lowest` is the lowest element from the top to the nearest higher one on the right,
    /// `higher`, or to the end.
    void Close(const sOpen& open, T lowest, int higher) {
        feet_[at(open.top)] = static_cast<double>(std::max(open.foot, lowest));
        if (least_ > 1)
            isHighest_[at(open.top)] = (open.higher == 0 || !AreNear(open.higher, open.top)) &&
                                       (IsEnd(higher) || !AreNear(open.top, higher)) &&
                                       (open.equal == 0 || !AreNear(open.top, open.equal));
    }

    bool IsEnd(int k) const { return tops_[at(k)].last + 1 == last_; }

    double Prominence(std::size_t k) const { return Value(tops_[k].first) - feet_[k]; }

    /// Leaves out, from the highest top down, what is too near to one that stays.
    void KeepDistance() {
        // Most are the highest ones near, or near to such a one; only the others need an order.
        for (std::size_t k = 1; k + 1 < tops_.size(); ++k)
            if (isHighest_[k] != 0)
                LeaveOutNear(static_cast<int>(k));
        order_.clear();
        for (std::size_t k = 1; k + 1 < tops_.size(); ++k)
            if (kept_[k] != 0 && isHighest_[k] == 0)
                order_.push_back({elements_[at(tops_[k].first)], static_cast<int>(k)});
        std::sort(order_.begin(), order_.end(), std::greater<>());
        for (const auto& [height, k] : order_)
            if (kept_[at(k)] != 0)
                LeaveOutNear(k);
    }

    bool AreNear(int left, int right) const {
        return tops_[at(right)].Middle() - tops_[at(left)].Middle() < least_;
    }

    void LeaveOutNear(int k) {
        for (int other = k - 1; other > 0 && AreNear(other, k); --other)
            kept_[at(other)] = 0;
        for (int other = k + 1; at(other) + 1 < tops_.size() && AreNear(k, other); ++other)
            kept_[at(other)] = 0;
    }

    /// Where the elements from the top on cross `level`, which they do before or at the foot, as a
    /// real index.
    double Crossing(int top, int step, double level) const {
        int i = top;
        while (level < Value(i))
            i += step;
        const double below = Value(i);
        if (i == top || !(below < level))
            return i;
        const double part = (level - below) / (Value(i - step) - below);
        return i - step * (std::isfinite(part) ? part : 1); // towards -infinity it falls at once
    }

    /// Measures a top and takes it if it is wide and significant enough.
    void Measure(std::size_t k) {
        const sTop& top = tops_[k];
        const double foot = feet_[k];
        peak_sPeak peak;
        peak.index = top.Middle();
        peak.height = Value(peak.index);
        peak.prominence = Prominence(k);
        // Never below the foot, where the way down ends, though a prominence may overflow.
        const double level = std::max(peak.height - peak.prominence * 0.5, foot);
        const double begin = Crossing(peak.index, -1, level);
        const double end = Crossing(peak.index, 1, level);
        peak.width = (end - begin) * std::fabs(cal_.Delta());
        if (peak.width < options_.width)
            return;
        double net = 0;
        double sum = 0;
        for (int i = static_cast<int>(std::ceil(begin)); i <= end; ++i) {
            net += Value(i) - foot;
            sum += Value(i);
        }
        peak.significance = net / std::sqrt(std::max(sum, 1.0));
        if (peak.significance < options_.significance)
            return;
        peak.position = cal_.Position(peak.index) + Part(top) * cal_.Delta();
        found_.push_back(peak);
    }

    /// From the middle element to where the top is, in elements.
    double Part(const sTop& top) const {
        if (top.first != top.last)
            return (top.last - top.first) % 2 * 0.5;
        const double before = Value(top.first) - Value(top.first - 1);
        const double after = Value(top.first) - Value(top.first + 1);
        const double part = 0.5 * ((before - after) / (before + after));
        return std::isfinite(part) ? part : 0;
    }

    std::span<const T> elements_;
    const cal_cArrayCal& cal_;
    const peak_sOptions& options_;
    std::vector<peak_sPeak>& found_;
    double least_ = 0; // the distance in elements
    int last_ = 0;     // one past the elements looked at
    std::vector<sTop> tops_;
    std::vector<double> feet_;             // the higher of the two of each top
    std::vector<unsigned char> isHighest_; // of what is nearer than the least distance
    std::vector<sOpen> open_;              // none is higher than one before it
    std::vector<unsigned char> kept_;
    std::vector<std::pair<T, int>> order_;
};

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

std::vector<peak_sPeak> peak_Find(const darr_c1DArray& array, const peak_sOptions& options) {
    for (const double least :
         {options.prominence, options.distance, options.width, options.significance})
        if (!(least >= 0))
            throw expt_cProgramException("peak", 1, "A least value is negative or not a number.");
    const dtyp_cDataType type = array.DataType();
    if (type.IsComplex())
        throw expt_cProgramException("peak", 2, "Complex elements have no order.");
    conv_Check(type, dtyp_Double, conv_RealPart);
    std::vector<peak_sPeak> found;
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        if constexpr (std::is_arithmetic_v<T>)
            cSearch<T>(array.Elements<T>(), array.Cal(), options, found).Run();
    });
    return found;
}
