#include <gtest/gtest.h>

#include "dataprocessing/fourier/ccs.h"
#include "tests/fourier/fft_oracle.h"

using namespace dataprocessing::detail;
using oracle::Exact;

namespace {

std::vector<float> numbered(int count) {
    std::vector<float> values;
    for (int i = 1; i <= count; ++i)
        values.push_back(static_cast<float>(i));
    return values;
}

std::vector<ComplexFloat> unpacked(const std::vector<float>& packed, int w, int h) {
    std::vector<ComplexFloat> centred(packed.size(), ComplexFloat(-99, -99));
    four_UnpackCcs(packed.data(), w, h, centred.data());
    return centred;
}

} // namespace

TEST(Ccs, UnpacksEachElementToItsPlaceAndItsConjugates) {
    // 4 by 4: columns u = -2 -1 0 1, rows v = -2 -1 0 1.
    //  1  2  3  4     down the first: 1, (5, 9), 13; down the last: 4, (8, 12), 16
    //  5  6  7  8     u = 1: (2, 3), (6, 7), (10, 11), (14, 15) for v = 0, 1, -2, -1
    //  9 10 11 12
    // 13 14 15 16
    const std::vector<ComplexFloat> expected{{16, 0},  {10, -11}, {13, 0}, {10, 11}, // v = -2
                                             {8, -12}, {6, -7},   {5, -9}, {14, 15}, // v = -1
                                             {4, 0},   {2, -3},   {1, 0},  {2, 3},   // v = 0
                                             {8, 12},  {14, -15}, {5, 9},  {6, 7}};  // v = 1
    EXPECT_TRUE(unpacked(numbered(16), 4, 4) == expected);
}

TEST(Ccs, UnpacksTheSmallestSpectrum) {
    const std::vector<ComplexFloat> expected{{4, 0}, {3, 0}, {2, 0}, {1, 0}};
    EXPECT_TRUE(unpacked(numbered(4), 2, 2) == expected);
}

TEST(Ccs, UnpacksToASymmetricSpectrum) {
    for (int h = 2; h <= 32; h *= 2)
        for (int w = 2; w <= 64; w *= 2) {
            const std::vector<ComplexFloat> centred = unpacked(numbered(w * h), w, h);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const ComplexFloat z = centred[static_cast<std::size_t>(y * w + x)];
                    const ComplexFloat partner =
                        centred[static_cast<std::size_t>((h - y) % h * w + (w - x) % w)];
                    ASSERT_TRUE(z == ComplexFloat(partner.re, -partner.im)) << w << " x " << h;
                }
        }
}

TEST(Ccs, PacksWhatItUnpacked) {
    for (int h = 2; h <= 32; h *= 2)
        for (int w = 2; w <= 64; w *= 2) {
            const std::vector<float> packed = numbered(w * h);
            std::vector<float> again(packed.size(), -99);
            four_PackCcs(unpacked(packed, w, h).data(), w, h, again.data());
            EXPECT_EQ(again, packed) << w << " x " << h;
        }
}
