#include "dataprocessing/valuemodel/view.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/kernels/convert.h"

namespace dataprocessing::detail {

namespace {

constexpr long long intMax = std::numeric_limits<int>::max();
constexpr long long intMin = std::numeric_limits<int>::min();

/// A stretch [first, first + count) of which only a part lies inside [0, available).
struct sClip {
    int before; // elements in front of the inside part
    int inside;
    int after;

    sClip(long long first, int count, int available) noexcept {
        before = static_cast<int>(std::clamp<long long>(-first, 0, count));
        inside = static_cast<int>(
            std::clamp<long long>(available - (first + before), 0, count - before));
        after = count - before - inside;
    }
};

/// A position between two neighbouring stored elements. Past the last one that one holds.
struct sBetween {
    long long index;
    double part;

    sBetween(long long rescaledIndex, double ratio, int stored) noexcept {
        const double p = static_cast<double>(rescaledIndex) * ratio;
        if (p < stored - 1) {
            index = static_cast<long long>(p);
            part = p - static_cast<double>(index);
        } else {
            index = stored - 1;
            part = 0;
        }
    }
};

unsigned char* at(void* data, std::size_t bytes) {
    return static_cast<unsigned char*>(data) + bytes;
}
const unsigned char* at(const void* data, std::size_t bytes) {
    return static_cast<const unsigned char*>(data) + bytes;
}

} // namespace

void view_cAxis::Rescale(double delta) {
    if (!(delta > 0) || !std::isfinite(delta))
        throw expt_cProgramException("resc", 1, "The delta is not positive and finite.");
    const double count = std::floor(storedCount_ * cal_.Delta() / delta + 0.5);
    if (!(count >= 0 && count <= static_cast<double>(intMax)))
        arr_SizeError(
            std::isnan(count) ? -1 : static_cast<long long>(std::clamp(count, -0x1p62, 0x1p62)));
    const double ratio = delta / cal_.Delta();
    cal_ = cal_cArrayCal(Start(), delta, 0);
    if (ratio == 1 && static_cast<int>(count) == storedCount_) // nothing to interpolate
        return;
    ratio_ = ratio;
    rescaledCount_ = static_cast<int>(count);
    count_ = rescaledCount_;
    rescaled_ = true;
}

void view_cAxis::Select(long long first, long long last) {
    const long long count = std::max(last - first, 0LL);
    if (count > intMax)
        arr_SizeError(count);
    const long long calIndex = cal_.CalIndex() - first;
    if (count > 0 && (calIndex < intMin || calIndex > intMax))
        arr_IndexError();
    first_ = first;
    count_ = static_cast<int>(count);
    cal_.SetCalIndex(static_cast<int>(std::clamp(calIndex, intMin, intMax)));
}

void view_cView::Fetch(std::size_t first, std::size_t count, void* target) const {
    const std::size_t size = seen_.SizeOf();
    const std::size_t columns = static_cast<std::size_t>(x_.Count());
    while (size != 0 && count > 0) {
        const std::size_t x = first % columns;
        const std::size_t n = std::min(columns - x, count);
        Row(static_cast<long long>(first / columns), static_cast<long long>(x), static_cast<int>(n),
            target);
        first += n;
        count -= n;
        target = at(target, n * size);
    }
}

void view_cView::Row(long long y, long long x, int count, void* target) const {
    const std::size_t size = seen_.SizeOf();
    const long long row = y_.first_ + y;
    const long long column = x_.first_ + x;
    const bool hasRow = row >= 0 && row < y_.rescaledCount_;
    const sClip clip(column, count, hasRow ? x_.rescaledCount_ : 0);
    const std::size_t before = static_cast<std::size_t>(clip.before) * size;
    const std::size_t inside = static_cast<std::size_t>(clip.inside) * size;
    std::memset(target, 0, before);
    if (clip.inside > 0) {
        if (x_.rescaled_ || y_.rescaled_) {
            RescaledRow(row, column + clip.before, clip.inside, at(target, before));
        } else {
            const std::size_t index =
                static_cast<std::size_t>(row) * static_cast<std::size_t>(x_.storedCount_) +
                static_cast<std::size_t>(column + clip.before);
            conv_Elements(at(data_, index * stored_.SizeOf()), stored_, at(target, before), seen_,
                          static_cast<std::size_t>(clip.inside), mode_);
        }
    }
    std::memset(at(target, before + inside), 0, static_cast<std::size_t>(clip.after) * size);
}

// What is interpolated are the elements in the type that is seen: conversion comes first. Both
// axes are interpolated in double and rounded to that type once.
void view_cView::RescaledRow(long long row, long long column, int count, void* target) const {
    constexpr int capacity = 256;
    constexpr int widest = 2; // doubles per element
    alignas(16) unsigned char elements[capacity * 16];
    double wide[capacity * widest];
    double rows[2][capacity * widest];

    const int parts = seen_.IsComplex() ? 2 : 1;
    const dtyp_cDataType wideType = parts == 2 ? dtyp_ComplexDouble : dtyp_Double;
    const sBetween y(row, y_.ratio_, y_.storedCount_);
    const int rowCount = y.part == 0 ? 1 : 2;
    const int stretch =
        static_cast<int>(std::clamp((capacity - 2) / x_.ratio_, 1.0, double{capacity - 2}));

    for (int done = 0; done < count; done += stretch) {
        const int n = std::min(stretch, count - done);
        const long long begin = column + done;
        const sBetween first(begin, x_.ratio_, x_.storedCount_);
        const sBetween last(begin + n - 1, x_.ratio_, x_.storedCount_);
        const long long end = last.index + (last.part == 0 ? 1 : 2);
        const std::size_t stored = static_cast<std::size_t>(end - first.index);
        for (int r = 0; r < rowCount; ++r) {
            const std::size_t index =
                static_cast<std::size_t>(y.index + r) * static_cast<std::size_t>(x_.storedCount_) +
                static_cast<std::size_t>(first.index);
            conv_Elements(at(data_, index * stored_.SizeOf()), stored_, elements, seen_, stored,
                          mode_);
            conv_Elements(elements, seen_, wide, wideType, stored, conv_RealPart);
            for (int i = 0; i < n; ++i) {
                const sBetween x(begin + i, x_.ratio_, x_.storedCount_);
                const double* left = wide + (x.index - first.index) * parts;
                const double* right = x.part == 0 ? left : left + parts;
                for (int k = 0; k < parts; ++k)
                    rows[r][i * parts + k] = view_Between(left[k], right[k], x.part);
            }
        }
        for (int i = 0; rowCount == 2 && i < n * parts; ++i)
            rows[0][i] = view_Between(rows[0][i], rows[1][i], y.part);
        conv_Elements(rows[0], wideType,
                      at(target, static_cast<std::size_t>(done) * seen_.SizeOf()), seen_,
                      static_cast<std::size_t>(n), conv_RealPart);
    }
}

} // namespace dataprocessing::detail
