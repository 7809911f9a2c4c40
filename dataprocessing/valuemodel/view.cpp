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

unsigned char* at(void* data, std::size_t bytes) {
    return static_cast<unsigned char*>(data) + bytes;
}
const unsigned char* at(const void* data, std::size_t bytes) {
    return static_cast<const unsigned char*>(data) + bytes;
}

} // namespace

view_cPlaces::view_cPlaces(double delta, double storedDelta, double tolerance) noexcept
    : tolerance_(tolerance) {
    // 21 and 22 bits times an index of 31 bits fit a double; what is left carries the rest of the
    // quotient and its remainder.
    constexpr int highBits = 21;
    constexpr int middleBits = 22;
    int exponent = 0;
    int storedExponent = 0;
    const double numerator = std::frexp(delta, &exponent);
    const double denominator = std::frexp(storedDelta, &storedExponent);
    const double ratio = numerator / denominator; // in (0.5, 2)
    const double remainder = std::fma(-ratio, denominator, numerator) / denominator;
    const double high = std::ldexp(std::floor(std::ldexp(ratio, highBits - 1)), 1 - highBits);
    const double middle = std::ldexp(
        std::floor(std::ldexp(ratio - high, highBits + middleBits - 1)), 1 - highBits - middleBits);
    high_ = std::ldexp(high, exponent - storedExponent);
    middle_ = std::ldexp(middle, exponent - storedExponent);
    low_ = std::ldexp(ratio - high - middle + remainder, exponent - storedExponent);
}

view_cPlaces::sPlace view_cPlaces::At(long long i, int stored) const noexcept {
    const double steps = static_cast<double>(i);
    const double high = steps * high_;
    const double middle = steps * middle_;
    const long long wholeHigh = static_cast<long long>(high);
    const long long wholeMiddle = static_cast<long long>(middle);
    const double a = high - static_cast<double>(wholeHigh);
    const double b = middle - static_cast<double>(wholeMiddle);
    const double sum = a + b;
    const double ofB = sum - a;
    const double lost = (a - (sum - ofB)) + (b - ofB);
    const double rest = lost + steps * low_;
    const long long carried = static_cast<long long>(sum + rest);
    const long long index = wholeHigh + wholeMiddle + carried;
    const double part = (sum - static_cast<double>(carried)) + rest;

    const bool isNearNext = part >= 0.5;
    const bool isWhole = (isNearNext ? 1 - part : part) <= tolerance_;
    const sPlace place = isWhole ? sPlace{index + (isNearNext ? 1 : 0), 0} : sPlace{index, part};
    return place.index < stored - 1 ? place : sPlace{stored - 1, 0};
}

void view_cAxis::Rescale(double delta) {
    const double storedDelta = cal_.Delta();
    if (!std::isfinite(delta) || delta == 0)
        throw expt_cProgramException("resc", 1, "The delta is zero or not finite.");
    if (delta < 0 ? storedDelta > 0 : storedDelta < 0)
        throw expt_cProgramException(
            "resc", 1, "Axes that run in opposite directions cannot be brought to one delta.");
    const cal_cArrayCal rescaled(Start(), delta, 0);
    const int count = rescaled.Count(storedCount_ * storedDelta);
    if (delta != storedDelta) {
        rescaledCount_ = count;
        count_ = count;
        rescaled_ = true;
        const double tolerance = std::max(cal_.Tolerance(Start()), cal_.Tolerance(End()));
        places_ = view_cPlaces(delta, storedDelta, tolerance);
    }
    cal_ = rescaled;
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
    view_cPlaces::sPlace places[capacity];

    const int parts = seen_.IsComplex() ? 2 : 1;
    const dtyp_cDataType wideType = parts == 2 ? dtyp_ComplexDouble : dtyp_Double;
    const view_cPlaces::sPlace y = y_.places_.At(row, y_.storedCount_);
    const int rowCount = y.part == 0 ? 1 : 2;
    const int stretch =
        static_cast<int>(std::clamp((capacity - 2) / x_.places_.Ratio(), 1.0, capacity - 2.0));

    for (int done = 0; done < count; done += stretch) {
        const int n = std::min(stretch, count - done);
        for (int i = 0; i < n; ++i)
            places[i] = x_.places_.At(column + done + i, x_.storedCount_);
        const long long first = places[0].index;
        const long long end = places[n - 1].index + (places[n - 1].part == 0 ? 1 : 2);
        const std::size_t stored = static_cast<std::size_t>(end - first);
        for (int r = 0; r < rowCount; ++r) {
            const std::size_t index =
                static_cast<std::size_t>(y.index + r) * static_cast<std::size_t>(x_.storedCount_) +
                static_cast<std::size_t>(first);
            conv_Elements(at(data_, index * stored_.SizeOf()), stored_, elements, seen_, stored,
                          mode_);
            conv_Elements(elements, seen_, wide, wideType, stored, conv_RealPart);
            for (int i = 0; i < n; ++i) {
                const double* left = wide + (places[i].index - first) * parts;
                const double* right = places[i].part == 0 ? left : left + parts;
                for (int k = 0; k < parts; ++k)
                    rows[r][i * parts + k] = view_Between(left[k], right[k], places[i].part);
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
