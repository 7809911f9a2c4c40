#include "dataprocessing/fourier/ccs.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace dataprocessing::detail {

namespace {

using Complex = comp_cComplex<float>;

template<class T>
T* rowOf(T* elements, int row, int width) {
    return elements + static_cast<std::size_t>(row) * static_cast<std::size_t>(width);
}

/// The complex values of a packed row, from u = 1 on. They begin at an odd float.
const Complex* inside(const float* row) { return reinterpret_cast<const Complex*>(row + 1); }
Complex* inside(float* row) { return reinterpret_cast<Complex*>(row + 1); }

/// Writes the conjugates of `count` values in reverse order. Each value moves as one word, which
/// compilers turn into vectors.
void copyConjugatesBackwards(const Complex* __restrict source, int count,
                             Complex* __restrict target) {
    constexpr auto signOfImaginary = std::bit_cast<std::uint64_t>(std::array{0.0F, -0.0F});
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint64_t value;
        std::memcpy(&value, source + i, sizeof value);
        value ^= signOfImaginary;
        std::memcpy(static_cast<void*>(target + (count - 1 - i)), &value, sizeof value);
    }
}

} // namespace

void four_UnpackCcs(const float* packed, int width, int height, Complex* centred) {
    const int w = width / 2;
    const int h = height / 2;
    for (int r = 0; r < height; ++r) {
        const Complex* half = inside(rowOf(packed, r, width));
        std::copy_n(half, w - 1, rowOf(centred, (r + h) % height, width) + w + 1);
        copyConjugatesBackwards(half, w - 1, rowOf(centred, (height + h - r) % height, width) + 1);
    }
    // The columns u = 0 and u = -w, down which the packed image holds v = 0, 1 .. h - 1 and h.
    const auto column = [&](int target, int source) {
        const auto at = [&](int row) { return rowOf(packed, row, width)[source]; };
        const auto put = [&](int row, const Complex& z) { rowOf(centred, row, width)[target] = z; };
        put(h, at(0));
        for (int j = 1; j < h; ++j) {
            put(h + j, Complex(at(2 * j - 1), at(2 * j)));
            put(h - j, Complex(at(2 * j - 1), -at(2 * j)));
        }
        put(0, at(height - 1));
    };
    column(w, 0);
    column(0, width - 1);
}

void four_PackCcs(const Complex* centred, int width, int height, float* packed) {
    const int w = width / 2;
    const int h = height / 2;
    for (int r = 0; r < height; ++r)
        std::copy_n(rowOf(centred, (r + h) % height, width) + w + 1, w - 1,
                    inside(rowOf(packed, r, width)));
    const auto column = [&](int source, int target) {
        const auto at = [&](int row) { return rowOf(centred, row, width)[source]; };
        const auto put = [&](int row, float x) { rowOf(packed, row, width)[target] = x; };
        put(0, at(h).re);
        for (int j = 1; j < h; ++j) {
            put(2 * j - 1, at(h + j).re);
            put(2 * j, at(h + j).im);
        }
        put(height - 1, at(0).re);
    };
    column(w, 0);
    column(0, width - 1);
}

} // namespace dataprocessing::detail
