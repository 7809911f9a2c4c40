#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/kernels/nsp.h"

using namespace dataprocessing::detail;

namespace {

using ComplexFloat = comp_cComplex<float>;
using ComplexShort = nsp_sShortComplex;

} // namespace

TEST(Nsp, CopiesComplexVectors) {
    const std::vector<ComplexFloat> floats{{1, 2}, {3, 4}, {5, 6}};
    std::vector<ComplexFloat> floatCopy(4, ComplexFloat(9, 9));
    nspcbCopy(floats.data(), floatCopy.data(), 3);
    EXPECT_TRUE(floatCopy == (std::vector<ComplexFloat>{{1, 2}, {3, 4}, {5, 6}, {9, 9}}));

    const std::vector<ComplexShort> shorts{{1, 2}, {3, 4}};
    std::vector<ComplexShort> shortCopy(3, ComplexShort{9, 9});
    nspvbCopy(shorts.data(), shortCopy.data(), 2);
    EXPECT_TRUE(shortCopy == (std::vector<ComplexShort>{{1, 2}, {3, 4}, {9, 9}}));
}

TEST(Nsp, ReversesConjugates) {
    const std::vector<ComplexFloat> floats{{1, 2}, {3, -4}, {5, 6}};
    std::vector<ComplexFloat> floatFlip(4, ComplexFloat(9, 9));
    nspcbConjFlip2(floats.data(), floatFlip.data(), 3);
    EXPECT_TRUE(floatFlip == (std::vector<ComplexFloat>{{5, -6}, {3, 4}, {1, -2}, {9, 9}}));

    const std::vector<ComplexShort> shorts{{1, 2}, {3, -32768}};
    std::vector<ComplexShort> shortFlip(3, ComplexShort{9, 9});
    nspvbConjFlip2(shorts.data(), shortFlip.data(), 2);
    EXPECT_TRUE(shortFlip == (std::vector<ComplexShort>{{3, -32768}, {1, -2}, {9, 9}}));
}

TEST(Nsp, ConvertsIntegersExactly) {
    const std::vector<short> source{-32768, -1, 0, 1, 32767};
    std::vector<float> target(6, 99);
    nspsbIntToFloat(source.data(), target.data(), 5);
    EXPECT_EQ(target, (std::vector<float>{-32768, -1, 0, 1, 32767, 99}));
}

TEST(Nsp, TouchesNothingForACountThatIsNotPositive) {
    for (const int count : {0, -3}) {
        const std::vector<ComplexFloat> source{{1, 2}};
        std::vector<ComplexFloat> target{{9, 9}};
        nspcbCopy(source.data(), target.data(), count);
        nspcbConjFlip2(source.data(), target.data(), count);
        EXPECT_TRUE(target[0] == ComplexFloat(9, 9));
        const ComplexShort pair{1, 2};
        ComplexShort other{9, 9};
        nspvbCopy(&pair, &other, count);
        nspvbConjFlip2(&pair, &other, count);
        EXPECT_TRUE(other == (ComplexShort{9, 9}));
        const short integer = 1;
        float real = 9;
        nspsbIntToFloat(&integer, &real, count);
        EXPECT_EQ(real, 9);
    }
}
