#include "dataprocessing/fourier/fft_kernels.h"

#include <cstddef>
#include <vector>

#include "dataprocessing/platform/radix.h"

namespace dataprocessing::detail {

void four_RadixTwoFFT(comp_cComplex<float>* data, int n, int sign) {
    radix_Transform(data, static_cast<std::size_t>(n), sign);
}

void four_RadixTwoFFTnD(comp_cComplex<float>* data, std::span<const int> sizes, int sign) {
    std::size_t total = 1;
    for (const int size : sizes)
        total *= static_cast<std::size_t>(size);
    std::size_t stride = 1;
    for (std::size_t d = sizes.size(); d-- > 0;) {
        const std::size_t n = static_cast<std::size_t>(sizes[d]);
        std::vector<comp_cComplex<float>> line(n);
        for (std::size_t outer = 0; outer < total; outer += n * stride)
            for (std::size_t first = outer; first < outer + stride; ++first) {
                for (std::size_t k = 0; k < n; ++k)
                    line[k] = data[first + k * stride];
                radix_Transform(line.data(), n, sign);
                for (std::size_t k = 0; k < n; ++k)
                    data[first + k * stride] = line[k];
            }
        stride *= n;
    }
}

} // namespace dataprocessing::detail
