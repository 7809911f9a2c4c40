#include "dataprocessing/fourier/ccs.h"

#include <cstddef>

#include "dataprocessing/kernels/nsp.h"

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

} // namespace

void four_UnpackCcs(const float* packed, int width, int height, Complex* centred) {
    const int w = width / 2;
    const int h = height / 2;
    for (int r = 0; r < height; ++r) {
        const Complex* half = inside(rowOf(packed, r, width));
        nspcbCopy(half, rowOf(centred, (r + h) % height, width) + w + 1, w - 1);
        nspcbConjFlip2(half, rowOf(centred, (height + h - r) % height, width) + 1, w - 1);
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
        nspcbCopy(rowOf(centred, (r + h) % height, width) + w + 1, inside(rowOf(packed, r, width)),
                  w - 1);
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
