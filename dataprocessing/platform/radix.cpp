#include "dataprocessing/platform/radix.h"

#include <cmath>
#include <utility>

namespace dataprocessing::detail {

namespace {

void reverseBits(comp_cComplex<float>* data, std::size_t n) {
    std::size_t reversed = 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (i < reversed)
            std::swap(data[i], data[reversed]);
        std::size_t bit = n / 2;
        while (bit != 0 && (reversed & bit) != 0) {
            reversed ^= bit;
            bit /= 2;
        }
        reversed |= bit;
    }
}

} // namespace

void radix_Transform(comp_cComplex<float>* data, std::size_t n, int sign) {
    reverseBits(data, n);
    for (std::size_t block = 2; block <= n; block *= 2) {
        const double theta = 6.28318530717959 / (sign * static_cast<double>(block));
        const double s = std::sin(0.5 * theta);
        const double stepRe = -2.0 * s * s;
        const double stepIm = std::sin(theta);
        double re = 1;
        double im = 0;
        for (std::size_t k = 0; k < block / 2; ++k) {
            for (std::size_t i = k; i < n; i += block) {
                comp_cComplex<float>& a = data[i];
                comp_cComplex<float>& b = data[i + block / 2];
                const comp_cComplex<float> t(static_cast<float>(re * b.re - im * b.im),
                                             static_cast<float>(re * b.im + im * b.re));
                b = a - t;
                a = a + t;
            }
            const double last = re;
            re = last * stepRe - im * stepIm + last;
            im = im * stepRe + last * stepIm + im;
        }
    }
}

} // namespace dataprocessing::detail
