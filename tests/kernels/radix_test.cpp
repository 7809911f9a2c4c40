#include "dataprocessing/kernels/radix.h"

#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "tests/fourier/fft_oracle.h"

using dataprocessing::detail::radix_Centred;
using dataprocessing::detail::radix_Columns;
using dataprocessing::detail::radix_Line;
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

TEST(RadixSingleProducts, HaveTheBitsOfThePlainLoopInVeryLongRows) {
    const std::size_t n = at(17);
    std::vector<ComplexFloat> image = oracle::someValues(2 * n, 3);
    std::vector<ComplexFloat> expected;
    for (const std::size_t begin : {std::size_t{0}, n}) {
        const auto from = image.begin() + static_cast<std::ptrdiff_t>(begin);
        std::vector<ComplexFloat> line(from, from + static_cast<std::ptrdiff_t>(n));
        oracle::singlePrecision(line, 1);
        expected.insert(expected.end(), line.begin(), line.end());
    }
    radix_Rows(image.data(), n, n, 2, 1, radix_SingleProducts);
    EXPECT_TRUE(isSameBits(image, expected));
}

TEST(RadixSingleProducts, HaveTheBitsOfThePlainLoopForConstantsWithZerosOfEitherSign) {
    const float parts[] = {0.0F, -0.0F, 1.0F, -1.0F};
    for (const int bits : sizes)
        for (const int sign : {1, -1})
            for (const float re : parts)
                for (const float im : parts) {
                    std::vector<ComplexFloat> values(at(bits), ComplexFloat(re, im));
                    std::vector<ComplexFloat> expected = values;
                    oracle::singlePrecision(expected, sign);
                    radix_Rows(values.data(), at(bits), at(bits), 1, sign, radix_SingleProducts);
                    EXPECT_TRUE(isSameBits(values, expected))
                        << at(bits) << " " << sign << " " << re << " " << im;
                }
}

TEST(RadixLine, CentredIsTheLoopShiftedAndMultipliedByTheReciprocalInBothDirections) {
    for (const int bits : {1, 4, 8, 12, 17})
        for (const int sign : {1, -1})
            for (const ComplexFloat& z : {ComplexFloat(-0.0F, -0.0F), ComplexFloat(1, -0.0F),
                                          ComplexFloat(-0.0F, 1), ComplexFloat(-2, 3)}) {
                const std::size_t n = at(bits);
                const std::vector<ComplexFloat> source(n, z);
                std::vector<ComplexFloat> found(n);
                radix_Line(source.data(), found.data(), n, sign, radix_Centred);
                std::vector<ComplexFloat> expected = source;
                oracle::textbook(expected, sign);
                const float s = 1.0F / static_cast<float>(n);
                for (std::size_t f = 0; f < n; ++f) {
                    const ComplexFloat& x = expected[f];
                    const ComplexFloat scaled(x.re * s - x.im * 0.0F, x.re * 0.0F + x.im * s);
                    ASSERT_TRUE(isSameElement(found[(f + n / 2) % n], scaled))
                        << n << " " << sign << " " << z << " " << f;
                }
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
