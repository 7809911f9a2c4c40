#include "dataprocessing/kernels/ipl_fft.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "dataprocessing/base/type.h"
#include "dataprocessing/kernels/radix.h"

namespace dataprocessing::detail {

namespace {

/// The real and the imaginary parts of twiddle factors.
struct ipl_sFactors {
    const float* re;
    const float* im;
};

} // namespace

} // namespace dataprocessing::detail

#define LEVEL_KERNELS "dataprocessing/kernels/ipl_fft_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

using Complex = comp_cComplex<float>;

bool isTransformable(const ipl_sImage& image) noexcept {
    const auto isSize = [](int size) {
        return size >= 2 && std::has_single_bit(static_cast<unsigned>(size));
    };
    return image.channels == 1 && image.depth == IPL_DEPTH_32F && isSize(image.width) &&
           isSize(image.height);
}

/// The direction as the sign of the exponent; 0 for images or flags without a transform.
int signOf(const ipl_sImage& source, const ipl_sImage& result, int flags) noexcept {
    if (!isTransformable(source) || !isTransformable(result) || source.width != result.width ||
        source.height != result.height || result.rowBytes % sizeof(Complex) != 0)
        return 0;
    switch (flags & (IPL_FFT_Forw | IPL_FFT_Inv)) {
    case IPL_FFT_Forw:
        return -1;
    case IPL_FFT_Inv:
        return 1;
    default:
        return 0;
    }
}

const float* rowOf(const ipl_sImage& image, int y) noexcept {
    return reinterpret_cast<const float*>(static_cast<const std::byte*>(image.data) +
                                          static_cast<std::size_t>(y) * image.rowBytes);
}
float* rowOf(ipl_sImage& image, int y) noexcept {
    return const_cast<float*>(rowOf(static_cast<const ipl_sImage&>(image), y));
}

Complex conjugate(const Complex& z) noexcept { return {z.re, -z.im}; }
Complex halved(const Complex& z) noexcept { return {0.5F * z.re, 0.5F * z.im}; }
Complex timesI(const Complex& z) noexcept { return {-z.im, z.re}; }

/// Half of a spectrum, in the storage of an image: the coefficients u = 0 to W/2 - 1 of each row.
/// Those of W/2 are kept as the imaginary parts of those of 0: both columns are transforms of real
/// values.
struct sHalf {
    Complex* elements;
    std::size_t step; // from one row to the next
    int columns;
    int rows;
    int sign;
    std::vector<float> twiddlesRe; // e^(2 pi i sign u / W)
    std::vector<float> twiddlesIm;
    std::vector<Complex> room; // for half a row

    sHalf(ipl_sImage& image, int direction)
        : elements(static_cast<Complex*>(image.data)), step(image.rowBytes / sizeof(Complex)),
          columns(image.width / 2), rows(image.height), sign(direction), room(Columns() / 2) {
        for (int u = 0; u < columns; ++u) {
            const double angle = 2 * type_Pi * u / image.width;
            twiddlesRe.push_back(static_cast<float>(std::cos(angle)));
            twiddlesIm.push_back(static_cast<float>(sign * std::sin(angle)));
        }
    }
    Complex* Row(int y) { return elements + static_cast<std::size_t>(y) * step; }
    std::size_t Columns() const noexcept { return static_cast<std::size_t>(columns); }
    ipl_sFactors Factors() const noexcept { return {twiddlesRe.data(), twiddlesIm.data()}; }
};

/// Rows that are transformed side by side and then worked on while they are in the cache.
constexpr int together = 16;

void transformRows(sHalf& half, int first, int count) {
    radix_Rows(half.Row(first), half.step, half.Columns(), static_cast<std::size_t>(count),
               half.sign, radix_SingleProducts);
}

void transformColumns(sHalf& half) {
    radix_Columns(half.Row(0), half.step, static_cast<std::size_t>(half.rows), half.Columns(),
                  half.sign, radix_SingleProducts);
}

/// Brings the coefficients to their places in a row of the packed image, one float before those
/// they have as pairs. The first pair of each row is that of the columns that packColumns packs.
void packRow(float* row, int width, float scale) {
    for (int i = 1; i < width - 1; ++i)
        row[i] = scale * row[i + 1];
}

/// The coefficients of u = 0 and, as imaginary parts, of u = W/2, in every row.
std::vector<Complex> columnsOf(sHalf& half) {
    std::vector<Complex> pairs(static_cast<std::size_t>(half.rows));
    for (int v = 0; v < half.rows; ++v)
        pairs[static_cast<std::size_t>(v)] = half.Row(v)[0];
    return pairs;
}

void pack(sHalf& half, ipl_sImage& result, float scale) {
    const std::vector<Complex> pairs = columnsOf(half);
    const int last = result.width - 1;
    for (int y = 0; y < half.rows; ++y)
        packRow(rowOf(result, y), result.width, scale);
    const auto put = [&](int y, float first, float lastValue) {
        rowOf(result, y)[0] = scale * first;
        rowOf(result, y)[last] = scale * lastValue;
    };
    const auto at = [&](int v) { return pairs[static_cast<std::size_t>(v)]; };
    put(0, at(0).re, at(0).im);
    for (int v = 1; v < half.rows / 2; ++v) {
        const Complex a = at(v);
        const Complex b = conjugate(at(half.rows - v));
        const Complex first = halved(a + b);
        const Complex second = halved(timesI(b - a));
        put(2 * v - 1, first.re, second.re);
        put(2 * v, first.im, second.im);
    }
    put(half.rows - 1, at(half.rows / 2).re, at(half.rows / 2).im);
}

void unpack(const ipl_sImage& source, sHalf& half) {
    const int last = source.width - 1;
    for (int y = 0; y < half.rows; ++y) {
        const float* from = rowOf(source, y);
        Complex* to = half.Row(y);
        for (std::ptrdiff_t u = 1; u < half.columns; ++u)
            to[u] = Complex(from[2 * u - 1], from[2 * u]);
    }
    const auto at = [&](int y) { return Complex(rowOf(source, y)[0], rowOf(source, y)[last]); };
    half.Row(0)[0] = at(0);
    for (int v = 1; v < half.rows / 2; ++v) {
        const Complex re = at(2 * v - 1);
        const Complex im = at(2 * v);
        half.Row(v)[0] = re + timesI(im);
        half.Row(half.rows - v)[0] = re - timesI(im);
    }
    half.Row(half.rows / 2)[0] = at(half.rows - 1);
}

/// What the direction scales its sum by.
float scaleOf(const sHalf& half) noexcept {
    return half.sign < 0
               ? 1.0F
               : 1.0F / (2.0F * static_cast<float>(half.columns) * static_cast<float>(half.rows));
}

/// Calls `work(first, count)` for all rows, a few at a time.
template<class Work>
void inStrips(const sHalf& half, const Work& work) {
    for (int first = 0; first < half.rows; first += together)
        work(first, std::min(together, half.rows - first));
}

} // namespace

void ipl_RealFft2D(const ipl_sImage& source, ipl_sImage& result, int flags, float scale) {
    const int sign = signOf(source, result, flags);
    if (sign == 0)
        return;
    sHalf half(result, sign);
    const auto separate = LEVEL_SELECT(ipl_SeparateRow);
    inStrips(half, [&](int first, int count) {
        for (int y = first; y < first + count; ++y)
            std::copy_n(rowOf(source, y), source.width, rowOf(result, y));
        transformRows(half, first, count);
        for (int y = first; y < first + count; ++y)
            separate(half.Row(y), half.Columns(), half.Factors(), half.room.data());
    });
    transformColumns(half);
    pack(half, result, scaleOf(half) * scale);
}

void ipl_CcsFft2D(const ipl_sImage& source, ipl_sImage& result, int flags, float scale) {
    const int sign = signOf(source, result, flags);
    if (sign == 0)
        return;
    sHalf half(result, sign);
    unpack(source, half);
    transformColumns(half);
    const float factor = scaleOf(half) * scale;
    const auto join = LEVEL_SELECT(ipl_JoinRow);
    inStrips(half, [&](int first, int count) {
        for (int y = first; y < first + count; ++y)
            join(half.Row(y), half.Columns(), half.Factors(), half.room.data());
        transformRows(half, first, count);
        for (int y = first; y < first + count; ++y) {
            float* row = rowOf(result, y);
            for (int x = 0; x < result.width; ++x)
                row[x] *= factor;
        }
    });
}

void iplRealFft2D(const ipl_sImage* source, ipl_sImage* result, int flags) {
    if (source != nullptr && result != nullptr)
        ipl_RealFft2D(*source, *result, flags, 1);
}

void iplCcsFft2D(const ipl_sImage* source, ipl_sImage* result, int flags) {
    if (source != nullptr && result != nullptr)
        ipl_CcsFft2D(*source, *result, flags, 1);
}

} // namespace dataprocessing::detail
