#include "dataprocessing/kernels/nsp.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace dataprocessing::detail {

void nspcbCopy(const comp_cComplex<float>* source, comp_cComplex<float>* target,
               int count) noexcept {
    std::copy_n(source, count, target);
}
void nspvbCopy(const nsp_sShortComplex* source, nsp_sShortComplex* target, int count) noexcept {
    std::copy_n(source, count, target);
}

// Each value moves as one word, which compilers turn into vectors.
void nspcbConjFlip2(const comp_cComplex<float>* __restrict source,
                    comp_cComplex<float>* __restrict target, int count) noexcept {
    constexpr auto signOfImaginary = std::bit_cast<std::uint64_t>(std::array{0.0F, -0.0F});
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint64_t value;
        std::memcpy(&value, source + i, sizeof value);
        value ^= signOfImaginary;
        std::memcpy(static_cast<void*>(target + (count - 1 - i)), &value, sizeof value);
    }
}
void nspvbConjFlip2(const nsp_sShortComplex* source, nsp_sShortComplex* target,
                    int count) noexcept {
    for (int i = 0; i < count; ++i)
        target[count - 1 - i] = {source[i].re, static_cast<short>(-source[i].im)};
}

void nspsbIntToFloat(const short* source, float* target, int count) noexcept {
    std::copy_n(source, count, target);
}

} // namespace dataprocessing::detail
