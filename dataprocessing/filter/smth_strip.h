#pragma once

/// @file
/// Rows of neighbourhoods, as a filter wants to see them.

#include <algorithm>
#include <cstddef>
#include <vector>

namespace dataprocessing::detail {

/// Which of `count` elements stands at `index`, in or outside of [0, count), when they are mirrored
/// at both ends again and again: d c b a | a b c d | d c b a. The count is positive.
constexpr int smth_Mirrored(long long index, int count) noexcept {
    if (index >= 0 && index < count)
        return static_cast<int>(index);
    const long long period = 2LL * count;
    const long long within = (index % period + period) % period;
    return static_cast<int>(within < count ? within : period - 1 - within);
}

/// The columns [begin, end) of an image, with a margin on both sides in which elements beyond the
/// image are mirrored, row after row as they are needed. An element is `parts` of `Part`.
template<class Part>
class smth_cStrip {
public:
    /// A strip that holds, of an image of `sizeX` by `sizeY`, the rows within `reach` of any row.
    smth_cStrip(int sizeX, int sizeY, int begin, int end, int margin, int reach, std::size_t parts)
        : sizeX_(sizeX), begin_(begin), end_(end), margin_(margin), parts_(parts),
          held_(static_cast<std::size_t>(std::min(2LL * reach + 1, 0LL + sizeY)), -1),
          content_(held_.size() * Width()) {}

    /// Parts in a row, the margins included.
    std::size_t Width() const {
        return (static_cast<std::size_t>(end_ - begin_) + 2 * static_cast<std::size_t>(margin_)) *
               parts_;
    }

    /// Row `y`. What the strip does not hold is fetched: `fetch(x, y, count, target)` writes
    /// `count` elements of the image.
    template<class Fetch>
    const Part* Row(int y, const Fetch& fetch) {
        const std::size_t slot = static_cast<std::size_t>(y) % held_.size();
        Part* const row = content_.data() + slot * Width();
        if (held_[slot] == y)
            return row;
        const long long from = static_cast<long long>(begin_) - margin_;
        const long long to = static_cast<long long>(end_) + margin_;
        const int first = static_cast<int>(std::max(from, 0LL));
        const int last = static_cast<int>(std::min<long long>(to, sizeX_));
        fetch(first, y, last - first, row + Place(first));
        for (long long x = from; x < first; ++x)
            Mirror(row, x);
        for (long long x = last; x < to; ++x)
            Mirror(row, x);
        held_[slot] = y;
        return row;
    }

private:
    std::size_t Place(long long x) const {
        return static_cast<std::size_t>(x - begin_ + margin_) * parts_;
    }
    void Mirror(Part* row, long long x) const {
        std::copy_n(row + Place(smth_Mirrored(x, sizeX_)), parts_, row + Place(x));
    }

    int sizeX_;
    int begin_;
    int end_;
    int margin_;
    std::size_t parts_;
    std::vector<int> held_; // the rows in the slots
    std::vector<Part> content_;
};

/// Calls `work(begin, end)` for strips of columns. What lies in the margins is made for both strips
/// that meet there, so strips are much wider than margins.
template<class Work>
void smth_ForEachStrip(int sizeX, int margin, const Work& work) {
    const int most = std::max(2048, std::min(margin, 1 << 20) * 8);
    for (int begin = 0; begin < sizeX;) {
        const int end = begin + std::min(most, sizeX - begin);
        work(begin, end);
        begin = end;
    }
}

} // namespace dataprocessing::detail
