#pragma once

/// @file
/// Which parts of which elements lie in the bins of another axis.

#include <algorithm>
#include <cstddef>
#include <optional>

#include "dataprocessing/valuemodel/cal.h"

namespace dataprocessing::detail {

/// The elements of one axis and the bins that they are shared out to.
class resc_cBins {
public:
    /// All edges have one tolerance, so that none lies before the last one.
    resc_cBins(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to,
               double tolerance)
        : elements_(elements), bins_(bins), from_(from), to_(to), tolerance_(tolerance) {}

    /// Bins that are elements: bin i is element i + `ahead`, wherever both lie.
    resc_cBins(int elements, int bins, const cal_cArrayCal& to, long long ahead)
        : elements_(elements), bins_(bins), to_(to), ahead_(ahead) {}

    int Count() const { return bins_; }
    const cal_cArrayCal& Cal() const { return to_; }

    /// The edges before `count` bins from `first` on, as real indices of the elements, at an end at
    /// most.
    void Edges(int first, int count, double* edges) const;

private:
    int elements_;
    int bins_;
    cal_cArrayCal from_;
    cal_cArrayCal to_;
    double tolerance_ = 0;
    std::optional<long long> ahead_; ///< where bins are elements
};

/// As many bins of `delta` as cover the elements. Refuses what resc_Rebin does.
resc_cBins resc_BinsOf(int elements, const cal_cArrayCal& from, double delta);
/// So many bins of another axis. Refuses what resc_Rebin does.
resc_cBins resc_BinsOf(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to);

/// Calls `take(element, share)` for the elements between two real indices, in their order.
template<class Take>
void resc_ForEachShare(double begin, double end, const Take& take) {
    std::ptrdiff_t element = static_cast<std::ptrdiff_t>(begin);
    for (double low = begin; low < end; low = static_cast<double>(element)) {
        const double next = static_cast<double>(element + 1);
        take(element, std::min(end, next) - low);
        ++element;
    }
}

} // namespace dataprocessing::detail
