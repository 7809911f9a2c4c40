#include "dataprocessing/kernels/radix_roots.h"

#include <algorithm>
#include <cmath>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/type.h"

namespace dataprocessing::detail {

namespace {

comp_cComplex<double> root(std::size_t k, std::size_t m) noexcept {
    const double angle = 2 * type_Pi * static_cast<double>(k) / static_cast<double>(m);
    return {std::cos(angle), std::sin(angle)};
}

/// Every root is the product of one of few, far apart, and one of few, close together. The real
/// part of i itself would not come out as zero.
void fillLongest(float* re, float* im, std::size_t half) {
    constexpr std::size_t close = 64;
    comp_cComplex<double> offsets[close];
    for (std::size_t i = 0; i < close; ++i)
        offsets[i] = root(i, 2 * half);
    for (std::size_t k = 0; k < half; k += close) {
        const comp_cComplex<double> first = root(k, 2 * half);
        for (std::size_t i = 0; i < std::min(close, half - k); ++i) {
            const comp_cComplex<double> w = first * offsets[i];
            re[k + i] = static_cast<float>(w.re);
            im[k + i] = static_cast<float>(w.im);
        }
    }
    re[half / 2] = half == 1 ? 1.0F : 0.0F;
}

} // namespace

template<>
void radix_cRoots::Fill(std::size_t n) {
    std::size_t half = n / 2;
    fillLongest(Re(half), Re(half) + half, half);
    for (half /= 2; half != 0; half /= 2) {
        const float* const longer = Re(2 * half);
        float* const table = Re(half);
        for (std::size_t k = 0; k < 2 * half; ++k)
            table[k] = longer[2 * k];
    }
}

} // namespace dataprocessing::detail
