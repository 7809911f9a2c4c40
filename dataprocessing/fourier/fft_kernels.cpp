#include "dataprocessing/fourier/fft_kernels.h"

#include <cstddef>

#include "dataprocessing/kernels/radix.h"

namespace dataprocessing::detail {

void four_RadixTwoFFT(comp_cComplex<float>* data, int n, int sign) {
    radix_Line(data, data, static_cast<std::size_t>(n), sign, radix_Natural);
}

void four_RadixTwoFFTnD(comp_cComplex<float>* data, std::span<const int> sizes, int sign) {
    std::size_t total = 1;
    for (const int size : sizes)
        total *= static_cast<std::size_t>(size);
    std::size_t within = 1; // values between neighbours along the dimension
    for (std::size_t d = sizes.size(); d-- > 0;) {
        const std::size_t n = static_cast<std::size_t>(sizes[d]);
        if (within == 1)
            radix_Rows(data, n, n, total / n, sign, radix_DoubleProducts);
        else
            for (std::size_t first = 0; first < total; first += n * within)
                radix_Columns(data + first, within, n, within, sign, radix_DoubleProducts);
        within *= n;
    }
}

} // namespace dataprocessing::detail
