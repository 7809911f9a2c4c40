#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/filter/smth.h"
#include "dataprocessing/filter/smth_strip.h"
#include "dataprocessing/valuemodel/conv_check.h"

#define LEVEL_KERNELS "dataprocessing/filter/median_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

/// What elements are ordered by: a floating one by an integer that counts up with it, from
/// -infinity to infinity and on to NaN, so that every comparison has an answer.
template<class T>
struct sOrder {
    using Key = T;
    static Key Of(T element) { return element; }
    static T Element(Key key) { return key; }
};
template<class T>
requires std::is_floating_point_v<T>
struct sOrder<T> {
    using Key = std::conditional_t<sizeof(T) == 4, std::int32_t, std::int64_t>;
    static Key Of(T element) {
        return std::isnan(element) ? std::numeric_limits<Key>::max()
                                   : Flipped(std::bit_cast<Key>(element));
    }
    static T Element(Key key) {
        return key == std::numeric_limits<Key>::max() ? std::numeric_limits<T>::quiet_NaN()
                                                      : std::bit_cast<T>(Flipped(key));
    }
    static Key Flipped(Key bits) {
        return bits < 0 ? static_cast<Key>(bits ^ std::numeric_limits<Key>::max()) : bits;
    }
};

/// The elements of a neighbourhood by their order.
template<class Key>
class cWindow {
public:
    explicit cWindow(std::size_t count) : keys_(count) {}

    /// To be filled in any order before it is sorted.
    Key& operator[](std::size_t i) { return keys_[i]; }
    void Sort() { std::sort(keys_.begin(), keys_.end()); }

    Key Median() const { return keys_[keys_.size() / 2]; }

    void Replace(Key leaving, Key entering) {
        const auto from = std::lower_bound(keys_.begin(), keys_.end(), leaving);
        if (leaving < entering) {
            const auto to = std::lower_bound(from + 1, keys_.end(), entering);
            *std::move(from + 1, to, from) = entering;
        } else if (entering < leaving) {
            const auto to = std::lower_bound(keys_.begin(), from, entering);
            std::move_backward(to, from, from + 1);
            *to = entering;
        }
    }

private:
    std::vector<Key> keys_;
};

/// The medians along rows of keys, each `widthX` - 1 longer than the target. A step to the right
/// replaces a column of the window.
template<class Key>
void slideWindow(const std::vector<const Key*>& rows, int widthX, cWindow<Key>& window,
                 std::vector<Key>& target) {
    const auto width = static_cast<std::size_t>(widthX);
    std::size_t filled = 0;
    for (const Key* row : rows)
        for (std::size_t k = 0; k < width; ++k)
            window[filled++] = row[k];
    window.Sort();
    for (std::size_t x = 0;; ++x) {
        target[x] = window.Median();
        if (x + 1 == target.size())
            return;
        for (const Key* row : rows)
            window.Replace(row[x], row[x + width]);
    }
}

/// The medians of an image.
template<class T>
void medians(const T* elements, int sizeX, int sizeY, int widthX, int widthY, T* target) {
    using Order = sOrder<T>;
    using Key = typename Order::Key;
    const auto placeOf = [sizeX](int x, int y) {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(sizeX) +
               static_cast<std::size_t>(x);
    };
    const auto fetch = [&](int x, int y, int count, Key* to) {
        std::transform(elements + placeOf(x, y), elements + placeOf(x, y) + count, to, Order::Of);
    };
    const std::size_t inWindow =
        static_cast<std::size_t>(widthX) * static_cast<std::size_t>(widthY);
    const bool inLanes = inWindow <= level_baseline::smth_mostInLanes;
    std::vector<const Key*> rows(static_cast<std::size_t>(widthY));
    std::vector<const Key*> neighbours(inLanes ? inWindow : 0);
    cWindow<Key> window(inLanes ? 0 : inWindow);
    std::vector<Key> found;
    smth_ForEachStrip(sizeX, widthX / 2, [&](int begin, int end) {
        smth_cStrip<Key> strip(sizeX, sizeY, begin, end, widthX / 2, widthY / 2, 1);
        found.resize(static_cast<std::size_t>(end - begin));
        for (int y = 0; y < sizeY; ++y) {
            for (std::size_t k = 0; k < rows.size(); ++k)
                rows[k] = strip.Row(
                    smth_Mirrored(static_cast<long long>(k) + y - widthY / 2, sizeY), fetch);
            if (inLanes) {
                for (std::size_t k = 0; k < inWindow; ++k)
                    neighbours[k] = rows[k % rows.size()] + k / rows.size();
                LEVEL_SELECT(smth_Medians<Key>)
                (neighbours.data(), inWindow, found.data(), found.size());
            } else {
                slideWindow(rows, widthX, window, found);
            }
            std::transform(found.begin(), found.end(), target + placeOf(begin, y), Order::Element);
        }
    });
}

template<class Array>
Array medianOf(const Array& array, int sizeX, int sizeY, int widthX, int widthY) {
    for (const int width : {widthX, widthY})
        if (width < 1 || width % 2 == 0)
            throw expt_cProgramException("smth", 1, "The width is not odd and positive.");
    if (!array.DataType().IsKnown())
        conv_Check(array.DataType(), dtyp_Double, conv_RealPart);
    if (array.DataType().IsComplex())
        throw expt_cProgramException("smth", 5, "Complex elements have no order.");
    arr_CheckedSize(widthX, widthY);
    Array result = array;
    if (array.Count() > 0 && widthX * widthY > 1)
        dtyp_Visit(array.DataType(), [&]<class T>(dtyp_Tag<T>) {
            if constexpr (std::is_arithmetic_v<T>)
                medians(static_cast<const T*>(array.Data()), sizeX, sizeY, widthX, widthY,
                        static_cast<T*>(result.Data()));
        });
    return result;
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

darr_c1DArray smth_Median(const darr_c1DArray& array, int width) {
    return medianOf(array, array.Size(), 1, width, 1);
}

darr_c2DArray smth_Median(const darr_c2DArray& array, int widthX, int widthY) {
    return medianOf(array, array.SizeX(), array.SizeY(), widthX, widthY);
}
