#include "dataprocessing/platform/nsp.h"

#include <algorithm>

namespace dataprocessing::detail {

namespace {

comp_cComplex<float> conjugate(const comp_cComplex<float>& z) noexcept { return {z.re, -z.im}; }

nsp_sShortComplex conjugate(const nsp_sShortComplex& z) noexcept {
    return {z.re, static_cast<short>(-z.im)};
}

template<class Complex>
void flip(const Complex* source, Complex* target, int count) noexcept {
    for (int i = 0; i < count; ++i)
        target[count - 1 - i] = conjugate(source[i]);
}

} // namespace

void nspcbCopy(const comp_cComplex<float>* source, comp_cComplex<float>* target,
               int count) noexcept {
    std::copy_n(source, count, target);
}
void nspvbCopy(const nsp_sShortComplex* source, nsp_sShortComplex* target, int count) noexcept {
    std::copy_n(source, count, target);
}

void nspcbConjFlip2(const comp_cComplex<float>* source, comp_cComplex<float>* target,
                    int count) noexcept {
    flip(source, target, count);
}
void nspvbConjFlip2(const nsp_sShortComplex* source, nsp_sShortComplex* target,
                    int count) noexcept {
    flip(source, target, count);
}

void nspsbIntToFloat(const short* source, float* target, int count) noexcept {
    std::copy_n(source, count, target);
}

} // namespace dataprocessing::detail
