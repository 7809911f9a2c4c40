#include "dataprocessing/platform/ipl_fft.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "dataprocessing/platform/memory.h"
#include "dataprocessing/platform/radix.h"
#include "dataprocessing/valuemodel/type.h"

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
        source.height != result.height)
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

/// Half of a spectrum: the coefficients u = 0 to W/2 - 1 of each row. Those of W/2 are kept as the
/// imaginary parts of those of 0: both columns are transforms of real values.
struct sHalf {
    int columns;
    int rows;
    mem_cBlock elements;
    std::vector<Complex> twiddles; // e^(2 pi i sign u / W)

    sHalf(int width, int height, int sign)
        : columns(width / 2), rows(height),
          elements(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) *
                   sizeof(Complex)) {
        for (int u = 0; u < columns; ++u) {
            const double angle = 2 * type_Pi * u / width;
            twiddles.emplace_back(static_cast<float>(std::cos(angle)),
                                  static_cast<float>(sign * std::sin(angle)));
        }
    }
    Complex* Row(int y) {
        return static_cast<Complex*>(elements.Data()) +
               static_cast<std::size_t>(y) * static_cast<std::size_t>(columns);
    }
};

/// Rows that are transformed side by side and then worked on while they are in the cache.
constexpr int together = 16;

void transformRows(sHalf& half, int first, int count, int sign) {
    radix_Rows(half.Row(first), static_cast<std::size_t>(half.columns),
               static_cast<std::size_t>(count), sign);
}

void transformColumns(sHalf& half, int sign) {
    radix_Columns(half.Row(0), static_cast<std::size_t>(half.rows),
                  static_cast<std::size_t>(half.columns), sign);
}

/// Even and odd elements of a row were transformed as the parts of one complex line; the line's
/// spectrum becomes the half spectrum of the row.
void separateRow(Complex* z, const sHalf& half) {
    const int m = half.columns;
    z[0] = Complex(z[0].re + z[0].im, z[0].re - z[0].im);
    for (int u = 1; 2 * u <= m; ++u) {
        const Complex a = z[u];
        const Complex b = conjugate(z[m - u]);
        const Complex even = halved(a + b);
        const Complex odd = halved(timesI(b - a));
        const Complex turned = half.twiddles[static_cast<std::size_t>(u)] * odd;
        z[u] = even + turned;
        z[m - u] = conjugate(even - turned);
    }
}

/// The reverse, twice as large.
void joinRow(Complex* z, const sHalf& half) {
    const int m = half.columns;
    z[0] = Complex(z[0].re + z[0].im, z[0].re - z[0].im);
    for (int u = 1; 2 * u <= m; ++u) {
        const Complex a = z[u];
        const Complex b = conjugate(z[m - u]);
        const Complex even = a + b;
        const Complex odd = timesI(half.twiddles[static_cast<std::size_t>(u)] * (a - b));
        z[u] = even + odd;
        z[m - u] = conjugate(even) - conjugate(odd);
    }
}

void pack(sHalf& half, ipl_sImage& result, float scale) {
    const int last = result.width - 1;
    for (int y = 0; y < half.rows; ++y) {
        const Complex* from = half.Row(y);
        float* to = rowOf(result, y);
        for (std::ptrdiff_t u = 1; u < half.columns; ++u) {
            to[2 * u - 1] = scale * from[u].re;
            to[2 * u] = scale * from[u].im;
        }
    }
    const auto put = [&](int y, float first, float lastValue) {
        rowOf(result, y)[0] = scale * first;
        rowOf(result, y)[last] = scale * lastValue;
    };
    put(0, half.Row(0)[0].re, half.Row(0)[0].im);
    for (int v = 1; v < half.rows / 2; ++v) {
        const Complex a = half.Row(v)[0];
        const Complex b = conjugate(half.Row(half.rows - v)[0]);
        const Complex first = halved(a + b);
        const Complex second = halved(timesI(b - a));
        put(2 * v - 1, first.re, second.re);
        put(2 * v, first.im, second.im);
    }
    put(half.rows - 1, half.Row(half.rows / 2)[0].re, half.Row(half.rows / 2)[0].im);
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
float scaleOf(const sHalf& half, int sign) noexcept {
    return sign < 0
               ? 1.0F
               : 1.0F / (2.0F * static_cast<float>(half.columns) * static_cast<float>(half.rows));
}

/// Pairs of neighbours in a row of reals.
const Complex* pairsOf(const float* row) { return reinterpret_cast<const Complex*>(row); }
Complex* pairsOf(float* row) { return reinterpret_cast<Complex*>(row); }

} // namespace

void ipl_RealFft2D(const ipl_sImage& source, ipl_sImage& result, int flags, float scale) {
    const int sign = signOf(source, result, flags);
    if (sign == 0)
        return;
    sHalf half(source.width, source.height, sign);
    for (int first = 0; first < half.rows; first += together) {
        const int end = std::min(first + together, half.rows);
        for (int y = first; y < end; ++y)
            std::copy_n(pairsOf(rowOf(source, y)), half.columns, half.Row(y));
        transformRows(half, first, end - first, sign);
        for (int y = first; y < end; ++y)
            separateRow(half.Row(y), half);
    }
    transformColumns(half, sign);
    pack(half, result, scaleOf(half, sign) * scale);
}

void ipl_CcsFft2D(const ipl_sImage& source, ipl_sImage& result, int flags, float scale) {
    const int sign = signOf(source, result, flags);
    if (sign == 0)
        return;
    sHalf half(source.width, source.height, sign);
    unpack(source, half);
    transformColumns(half, sign);
    const float factor = scaleOf(half, sign) * scale;
    for (int first = 0; first < half.rows; first += together) {
        const int end = std::min(first + together, half.rows);
        for (int y = first; y < end; ++y)
            joinRow(half.Row(y), half);
        transformRows(half, first, end - first, sign);
        for (int y = first; y < end; ++y) {
            const Complex* from = half.Row(y);
            Complex* to = pairsOf(rowOf(result, y));
            for (int u = 0; u < half.columns; ++u)
                to[u] = Complex(from[u].re * factor, from[u].im * factor);
        }
    }
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
