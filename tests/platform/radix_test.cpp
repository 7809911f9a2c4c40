#include "dataprocessing/platform/radix.h"

#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "tests/fourier/fft_oracle.h"

using dataprocessing::detail::radix_Columns;
using dataprocessing::detail::radix_Rows;
using dataprocessing::detail::radix_SingleProducts;

namespace {

std::size_t at(int bits) { return std::size_t{1} << bits; }

/// Every way to compute a line: as a pair, in lanes, and from 256 values on as one long line.
constexpr int sizes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

} // namespace

TEST(RadixSingleProducts, HaveTheBitsOfThePlainLoopInRows) {
    constexpr std::size_t count = 19; // more than there are lanes
    for (const int bits : sizes)
        for (const int sign : {1, -1}) {
            const std::size_t n = at(bits);
            const std::size_t step = n + 3;
            std::vector<ComplexFloat> image =
                oracle::someValues(count * step, static_cast<unsigned>(bits));
            std::vector<ComplexFloat> expected = image;
            for (std::size_t c = 0; c < count; ++c) {
                const auto begin = expected.begin() + static_cast<std::ptrdiff_t>(c * step);
                std::vector<ComplexFloat> line(begin, begin + static_cast<std::ptrdiff_t>(n));
                oracle::singlePrecision(line, sign);
                std::copy(line.begin(), line.end(), begin);
            }
            radix_Rows(image.data(), step, n, count, sign, radix_SingleProducts);
            EXPECT_TRUE(isSameBits(image, expected)) << n << " " << sign;
        }
}

TEST(RadixSingleProducts, HaveTheBitsOfThePlainLoopInColumns) {
    for (const int bits : sizes)
        for (const int sign : {1, -1})
            for (const std::size_t count : {1U, 16U, 19U}) {
                const std::size_t n = at(bits);
                const std::size_t step = count + 2;
                std::vector<ComplexFloat> image =
                    oracle::someValues(n * step, static_cast<unsigned>(bits));
                std::vector<ComplexFloat> expected = image;
                for (std::size_t c = 0; c < count; ++c) {
                    std::vector<ComplexFloat> line;
                    for (std::size_t k = 0; k < n; ++k)
                        line.push_back(image[k * step + c]);
                    oracle::singlePrecision(line, sign);
                    for (std::size_t k = 0; k < n; ++k)
                        expected[k * step + c] = line[k];
                }
                radix_Columns(image.data(), step, n, count, sign, radix_SingleProducts);
                EXPECT_TRUE(isSameBits(image, expected)) << n << " " << sign << " " << count;
            }
}
