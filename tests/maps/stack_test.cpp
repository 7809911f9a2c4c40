#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/maps/maps_stack.h"
#include "dataprocessing/maps/maps_sum.h"
#include "tests/maps/map.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"

namespace {

using testing::Each;
using testing::ElementsAre;

constexpr std::ptrdiff_t farthest = std::numeric_limits<std::ptrdiff_t>::max();

std::string refusedLayout(const maps_sLayout& layout) {
    static const std::array<short, 24> block{};
    return refusalOf([&] { maps_cStack(std::span<const short>(block), layout); });
}

TEST(Stack, LayoutsThatLeaveTheBlockAreRefused) {
    EXPECT_EQ(refusedLayout(maps_sLayout::Dense(2, 3, 4)), "none");
    EXPECT_EQ(refusedLayout({2, 3, 4, -12, -4, -1, 23}), "none");
    EXPECT_EQ(refusedLayout({2, 3, 4, 0, 0, 0, 23}), "none");
    EXPECT_EQ(refusedLayout({1, 1, 3, farthest, farthest, 11, 1}), "none");
    for (const maps_sLayout& layout : {maps_sLayout::Dense(2, 3, 5),
                                       {2, 3, 4, 12, 4, 1, 1},
                                       {2, 3, 4, 12, 4, 1, -1},
                                       {2, 3, 4, -12, -4, -1, 22},
                                       {1, 1, 3, 0, 0, 12, 0},
                                       {1, 2, 1, 0, farthest, 1, 0},
                                       {2, 1, 1, -farthest - 1, 1, 1, 23},
                                       {std::size_t{1} << 63, 4, 1, 0, 0, 0, 0},
                                       {std::size_t{1} << 63, 1, 1, 1, 0, 0, 0},
                                       {1, 1, std::numeric_limits<std::size_t>::max(), 0, 0, 1, 0},
                                       {1, 1, 1, 0, 0, 0, 24}})
        EXPECT_EQ(refusedLayout(layout), "maps:1") << layout.rows << ' ' << layout.first;
}

TEST(Stack, EmptyStacksLieAnywhere) {
    EXPECT_EQ(refusedLayout({0, 3, 4, 99, 99, 99, 99}), "none");
    EXPECT_EQ(refusedLayout({2, 3, 0, 99, 99, 99, 99}), "none");
    const maps_cStack stack(std::span<const double>(), {2, 3, 0, 9, 9, 9, 9});
    std::vector<double> image(6, 7);
    maps_cWorkspace room;
    maps_Sum(stack, {}, image, room);
    EXPECT_THAT(image, Each(0));
}

TEST(Stack, TypesThatAreNotRealAreRefused) {
    const std::array<std::byte, 64> block{};
    const maps_sLayout one{1, 1, 1, 0, 0, 0, 0};
    for (const int type : {0, 9, 10, 11, -1})
        EXPECT_EQ(refusalOf([&] { maps_cStack(block, dtyp_cDataType(type), one); }), "maps:2");
    alignas(8) const std::array<std::byte, 64> aligned{};
    EXPECT_EQ(refusalOf([&] {
                  maps_cStack(std::span(aligned).subspan(1), dtyp_cDataType(dtyp_UInt16), one);
              }),
              "maps:2");
}

/// What the sums of a stack should be, by its layout alone.
template<class T>
void expectSums(const std::vector<T>& block, const maps_sLayout& layout) {
    const maps_cStack stack(std::span<const T>(block), layout);
    std::vector<double> spectrum(layout.channels, 5);
    std::vector<double> image(stack.Spectra());
    std::vector<long double> ofChannels(layout.channels, 5);
    maps_cWorkspace room;
    maps_Sum(stack, spectrum, image, room);
    for (std::size_t y = 0; y < layout.rows; ++y)
        for (std::size_t x = 0; x < layout.columns; ++x) {
            long double sum = 0;
            for (std::size_t k = 0; k < layout.channels; ++k) {
                const auto at = layout.first + static_cast<std::ptrdiff_t>(y) * layout.rowStride +
                                static_cast<std::ptrdiff_t>(x) * layout.columnStride +
                                static_cast<std::ptrdiff_t>(k) * layout.channelStride;
                const long double value = block[static_cast<std::size_t>(at)];
                sum += value;
                ofChannels[k] += value;
            }
            EXPECT_EQ(image[y * layout.columns + x], static_cast<double>(sum));
        }
    for (std::size_t k = 0; k < layout.channels; ++k)
        EXPECT_EQ(spectrum[k], static_cast<double>(ofChannels[k]));
}

template<class T>
class StackOf : public testing::Test {};
using Elements =
    testing::Types<unsigned char, unsigned short, unsigned, signed char, short, int, float, double>;
TYPED_TEST_SUITE(StackOf, Elements);

TYPED_TEST(StackOf, SumsAreExact) {
    using T = TypeParam;
    std::vector<T> block(3 * 7 * 29);
    std::mt19937 random(3);
    for (T& value : block) // whole numbers, those at the ends included
        value = static_cast<T>(std::is_floating_point_v<T> ? random() % 1000 : random());
    if constexpr (!std::is_floating_point_v<T>) {
        block[5] = std::numeric_limits<T>::max();
        block[6] = std::numeric_limits<T>::lowest();
    }
    for (const auto level : levels()) {
        const LevelInUse use(level);
        expectSums(block, maps_sLayout::Dense(3, 7, 29));
        expectSums(block, {3, 7, 29, 1, 3, 21, 0});        // channels outermost
        expectSums(block, {3, 7, 29, -203, -29, -1, 608}); // backwards
        expectSums(block, {2, 3, 8, 406, 58, 1, 31});      // a part
        expectSums(block, {3, 7, 29, 203, 29, 0, 0});      // one channel many times
    }
}

TEST(Sum, CountsOfManySpectraDoNotOverflow) {
    constexpr std::size_t spectra = 70000;
    const std::array<unsigned short, 3> most{65535, 65535, 65535};
    const maps_cStack stack(std::span<const unsigned short>(most), {1, spectra, 3, 0, 0, 1, 0});
    const std::array<short, 3> least{-32768, -32768, -32768};
    const maps_cStack low(std::span<const short>(least), {1, spectra, 3, 0, 0, 1, 0});
    std::vector<double> spectrum(3);
    maps_cWorkspace room;
    maps_Sum(stack, spectrum, {}, room);
    EXPECT_THAT(spectrum, Each(65535.0 * spectra));
    maps_Sum(low, spectrum, {}, room);
    EXPECT_THAT(spectrum, Each((65535.0 - 32768.0) * spectra));

    const std::vector<unsigned short> longest(140000, 65535);
    std::vector<double> image(1);
    maps_Sum(stackOf<unsigned short>(longest, longest.size()), {}, image, room);
    EXPECT_EQ(image[0], 65535.0 * 140000);
}

TEST(Sum, PartsAddUpToTheBitsOfTheWhole) {
    std::mt19937 random(4);
    std::vector<float> values(101 * 37);
    for (float& value : values)
        value = std::normal_distribution<float>(0, 1e3F)(random);
    std::uint64_t expected = 0;
    for (const auto level : levels()) {
        const LevelInUse use(level);
        for (const std::size_t part : {101, 1, 7, 50}) {
            std::vector<double> spectrum(37);
            std::vector<double> image(101);
            maps_cWorkspace room;
            for (std::size_t first = 0; first < 101; first += part) {
                const std::size_t many = std::min<std::size_t>(part, 101 - first);
                maps_Sum(stackOf(std::span<const float>(values).subspan(first * 37, many * 37), 37),
                         spectrum, std::span(image).subspan(first, many), room);
            }
            const std::uint64_t hash =
                hashOf(std::span<const double>(image), hashOf(std::span<const double>(spectrum)));
            expected = expected == 0 ? hash : expected;
            EXPECT_EQ(hash, expected) << part;
        }
    }
}

TEST(Sum, SpansOfAnotherSizeAreRefused) {
    const std::array<float, 12> values{};
    const maps_cStack stack = stackOf(std::span<const float>(values), 4);
    std::vector<double> three(3);
    std::vector<double> four(4);
    maps_cWorkspace room;
    EXPECT_EQ(refusalOf([&] { maps_Sum(stack, three, three, room); }), "maps:3");
    EXPECT_EQ(refusalOf([&] { maps_Sum(stack, four, four, room); }), "maps:3");
}

} // namespace
