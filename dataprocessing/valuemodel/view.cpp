#include "dataprocessing/valuemodel/view.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/cal_index.h"

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
    : ratio_(delta / storedDelta) {
    constexpr double half = 0x1p62;
    tolerance_ = static_cast<std::uint64_t>(std::clamp(tolerance * 0x1p63, 1.0, half));
    if (!(std::fabs(ratio_) < 0x1p31)) { // only element 0 lies on such an axis
        step_ = 0;
        return;
    }
    // The quotient as a double, and what that leaves of the exact one; scaled, for the extremes.
    int exponent = 0;
    int storedExponent = 0;
    const double numerator = std::frexp(delta, &exponent);
    const double denominator = std::frexp(storedDelta, &storedExponent);
    const double quotient = numerator / denominator;
    const double rest = std::fma(-quotient, denominator, numerator) / denominator;
    const int scale = exponent - storedExponent + fractionBits;
    step_ = static_cast<tFixed>(static_cast<tSigned>(std::ldexp(quotient, scale)) +
                                static_cast<tSigned>(std::ldexp(rest, scale)));
}

void view_cPlaces::Fill(long long first, int count, int stored, int* indices,
                        double* parts) const noexcept {
    constexpr int droppedBits = fractionBits - 63;
    constexpr std::uint64_t mask = ~std::uint64_t{0} >> 1;
    constexpr std::uint64_t dropped = (std::uint64_t{1} << droppedBits) - 1;
    const int last = stored - 1;
    tFixed place = step_ * static_cast<tFixed>(first);
    for (int k = 0; k < count; ++k, place += step_) {
        const int index = static_cast<int>(place >> fractionBits);
        // 63 bits, the last of which stands for all that follow too.
        const std::uint64_t sticky = (static_cast<std::uint64_t>(place) & dropped) != 0 ? 1 : 0;
        const std::uint64_t part =
            (static_cast<std::uint64_t>(place >> droppedBits) & mask) | sticky;
        const bool isWhole = ((part + tolerance_) & mask) <= 2 * tolerance_;
        const int from = isWhole ? index + static_cast<int>(part >> 62) : index;
        indices[k] = from < last ? from : last;
        parts[k] = isWhole || from >= last
                       ? 0
                       : static_cast<double>(static_cast<long long>(part)) * 0x1p-63;
    }
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
        tolerance_ = cal_ToleranceAlong(cal_, storedCount_);
        storedDelta_ = storedDelta;
        rescaledCount_ = count;
        count_ = count;
        rescaled_ = true;
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
    if (const void* const elements = Stored())
        return conv_Elements(at(elements, first * stored_.SizeOf()), stored_, target, seen_, count,
                             mode_);
    const std::size_t size = seen_.SizeOf();
    const std::size_t columns = static_cast<std::size_t>(x_.Count());
    const sPlaces places{x_.Places(), y_.Places()};
    while (size != 0 && count > 0) {
        const std::size_t x = first % columns;
        const std::size_t n = std::min(columns - x, count);
        Row(places, static_cast<long long>(first / columns), static_cast<long long>(x),
            static_cast<int>(n), target);
        first += n;
        count -= n;
        target = at(target, n * size);
    }
}

void view_cView::Row(const sPlaces& places, long long y, long long x, int count,
                     void* target) const {
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
            RescaledRow(places, row, column + clip.before, clip.inside, at(target, before));
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
void view_cView::RescaledRow(const sPlaces& places, long long row, long long column, int count,
                             void* target) const {
    constexpr int capacity = 256;
    constexpr int widest = 2; // doubles per element
    alignas(16) unsigned char elements[capacity * 16];
    double wide[capacity * widest];
    double rows[2][capacity * widest];
    int indices[capacity];
    double between[capacity];

    const int parts = seen_.IsComplex() ? 2 : 1;
    const dtyp_cDataType wideType = parts == 2 ? dtyp_ComplexDouble : dtyp_Double;
    int firstRow = 0;
    double betweenRows = 0;
    places.y.Fill(row, 1, y_.storedCount_, &firstRow, &betweenRows);
    const int rowCount = betweenRows == 0 ? 1 : 2;
    const int stretch =
        static_cast<int>(std::clamp((capacity - 2) / places.x.Ratio(), 1.0, capacity - 2.0));

    for (int done = 0; done < count; done += stretch) {
        const int n = std::min(stretch, count - done);
        places.x.Fill(column + done, n, x_.storedCount_, indices, between);
        const long long first = indices[0];
        const long long end = indices[n - 1] + (between[n - 1] == 0 ? 1LL : 2LL);
        const std::size_t stored = static_cast<std::size_t>(end - first);
        for (int r = 0; r < rowCount; ++r) {
            const std::size_t index =
                static_cast<std::size_t>(firstRow + r) * static_cast<std::size_t>(x_.storedCount_) +
                static_cast<std::size_t>(first);
            conv_Elements(at(data_, index * stored_.SizeOf()), stored_, elements, seen_, stored,
                          mode_);
            conv_Elements(elements, seen_, wide, wideType, stored, conv_RealPart);
            for (int i = 0; i < n; ++i) {
                const double* left = wide + (indices[i] - first) * parts;
                const double* right = between[i] == 0 ? left : left + parts;
                for (int k = 0; k < parts; ++k)
                    rows[r][i * parts + k] = view_Between(left[k], right[k], between[i]);
            }
        }
        for (int i = 0; rowCount == 2 && i < n * parts; ++i)
            rows[0][i] = view_Between(rows[0][i], rows[1][i], betweenRows);
        conv_Elements(rows[0], wideType,
                      at(target, static_cast<std::size_t>(done) * seen_.SizeOf()), seen_,
                      static_cast<std::size_t>(n), conv_RealPart);
    }
}

} // namespace dataprocessing::detail
