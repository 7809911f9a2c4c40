#include "dataprocessing/kernels/rfft.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/kernels/radix.h"
#include "dataprocessing/kernels/rfft_factors.h"

#define LEVEL_KERNELS "dataprocessing/kernels/rfft_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

using Complex = comp_cComplex<float>;
using Image = rfft_sRows<const float>;
using Result = rfft_sRows<float>;

Complex conjugate(const Complex& z) noexcept { return {z.re, -z.im}; }
Complex halved(const Complex& z) noexcept { return {0.5F * z.re, 0.5F * z.im}; }
Complex timesI(const Complex& z) noexcept { return {-z.im, z.re}; }

/// Half of a spectrum, in the storage of the result: the coefficients u = 0 to W/2 - 1 of each row.
struct sHalf {
    rfft_sRows<Complex> rows;
    int sign;
    std::vector<float> twiddlesRe; // e^(2 pi i sign u / W)
    std::vector<float> twiddlesIm;
    std::vector<Complex> room; // for half a row

    sHalf(const Result& result, int direction)
        : rows{reinterpret_cast<Complex*>(result.first), result.width / 2, result.height,
               result.step / 2},
          sign(direction), room(rows.width / 2) {
        twiddlesRe.reserve(rows.width);
        twiddlesIm.reserve(rows.width);
        for (std::size_t u = 0; u < rows.width; ++u) {
            const double angle =
                2 * type_Pi * static_cast<double>(u) / static_cast<double>(result.width);
            twiddlesRe.push_back(static_cast<float>(std::cos(angle)));
            twiddlesIm.push_back(static_cast<float>(sign * std::sin(angle)));
        }
    }
    rfft_sFactors Factors() const noexcept { return {twiddlesRe.data(), twiddlesIm.data()}; }
};

/// Rows that are transformed side by side and then worked on while they are in the cache.
constexpr std::size_t together = 16;

void transformRows(const sHalf& half, std::size_t first, std::size_t count) {
    radix_Rows(half.rows.Row(first), half.rows.step, half.rows.width, count, half.sign,
               radix_SingleProducts);
}

void transformColumns(const sHalf& half) {
    radix_Columns(half.rows.first, half.rows.step, half.rows.height, half.rows.width, half.sign,
                  radix_SingleProducts);
}

/// Brings the coefficients to their places in a row of the packed image, one float before those
/// they have as pairs. The first pair of each row is that of the columns that pack packs.
void packRow(float* row, std::size_t width, float scale) {
    for (std::size_t i = 1; i + 1 < width; ++i)
        row[i] = scale * row[i + 1];
}

void pack(const sHalf& half, const Result& result, float scale) {
    const std::size_t height = result.height;
    const std::size_t last = result.width - 1;
    std::vector<Complex> pairs(height); // of u = 0 and, as imaginary parts, of u = W/2
    for (std::size_t v = 0; v < height; ++v)
        pairs[v] = half.rows.Row(v)[0];
    for (std::size_t y = 0; y < height; ++y)
        packRow(result.Row(y), result.width, scale);
    const auto put = [&](std::size_t y, float first, float lastValue) {
        result.Row(y)[0] = scale * first;
        result.Row(y)[last] = scale * lastValue;
    };
    put(0, pairs[0].re, pairs[0].im);
    for (std::size_t v = 1; v < height / 2; ++v) {
        const Complex a = pairs[v];
        const Complex b = conjugate(pairs[height - v]);
        const Complex first = halved(a + b);
        const Complex second = halved(timesI(b - a));
        put(2 * v - 1, first.re, second.re);
        put(2 * v, first.im, second.im);
    }
    put(height - 1, pairs[height / 2].re, pairs[height / 2].im);
}

void unpack(const Image& source, const sHalf& half) {
    const std::size_t height = source.height;
    const std::size_t last = source.width - 1;
    std::vector<Complex> ends(height); // of the packed rows
    for (std::size_t y = 0; y < height; ++y)
        ends[y] = {source.Row(y)[0], source.Row(y)[last]};
    // Backwards: in the same row, a pair lies one float further than it was packed.
    for (std::size_t y = 0; y < height; ++y) {
        const float* from = source.Row(y);
        Complex* to = half.rows.Row(y);
        for (std::size_t u = half.rows.width; u-- > 1;)
            to[u] = Complex(from[2 * u - 1], from[2 * u]);
    }
    half.rows.Row(0)[0] = ends[0];
    for (std::size_t v = 1; v < height / 2; ++v) {
        const Complex re = ends[2 * v - 1];
        const Complex im = ends[2 * v];
        half.rows.Row(v)[0] = re + timesI(im);
        half.rows.Row(height - v)[0] = re - timesI(im);
    }
    half.rows.Row(height / 2)[0] = ends[height - 1];
}

/// Calls `work(first, count)` for all rows, a few at a time.
template<class Work>
void inStrips(std::size_t height, const Work& work) {
    for (std::size_t first = 0; first < height; first += together)
        work(first, std::min(together, height - first));
}

} // namespace

void rfft_Pack(const rfft_sRows<const float>& image, const rfft_sRows<float>& packed, int sign,
               float scale) {
    sHalf half(packed, sign);
    const auto separate = LEVEL_SELECT(rfft_SeparateRow);
    inStrips(packed.height, [&](std::size_t first, std::size_t count) {
        for (std::size_t y = first; y < first + count && image.first != packed.first; ++y)
            std::copy_n(image.Row(y), image.width, packed.Row(y));
        transformRows(half, first, count);
        for (std::size_t y = first; y < first + count; ++y)
            separate(half.rows.Row(y), half.rows.width, half.Factors(), half.room.data());
    });
    transformColumns(half);
    pack(half, packed, scale);
}

void rfft_Unpack(const rfft_sRows<const float>& packed, const rfft_sRows<float>& image, int sign,
                 float scale) {
    sHalf half(image, sign);
    unpack(packed, half);
    transformColumns(half);
    const auto join = LEVEL_SELECT(rfft_JoinRow);
    inStrips(image.height, [&](std::size_t first, std::size_t count) {
        for (std::size_t y = first; y < first + count; ++y)
            join(half.rows.Row(y), half.rows.width, half.Factors(), half.room.data());
        transformRows(half, first, count);
        for (std::size_t y = first; y < first + count; ++y) {
            float* row = image.Row(y);
            for (std::size_t x = 0; x < image.width; ++x)
                row[x] *= scale;
        }
    });
}

} // namespace dataprocessing::detail
