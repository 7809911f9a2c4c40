#include "dataprocessing/kernels/radix_twiddles.h"

#include <cstddef>
#include <new>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/kernels/radix.h"
#include "dataprocessing/platform/memory.h"
#include "tests/failing_new.h"
#include "tests/support/elements.h"

using dataprocessing::detail::mem_cBlock;
using dataprocessing::detail::radix_cTwiddles;
using dataprocessing::detail::radix_FindWalk;
using dataprocessing::detail::radix_Line;
using dataprocessing::detail::radix_Natural;
using dataprocessing::detail::radix_sPass;
using dataprocessing::detail::radix_sWalk;

namespace {

constexpr std::size_t longestKept = std::size_t{1} << 20;

/// Takes the walk of a line of `n` values through the tables of its last four passes.
void expectToFollowTheTables(std::size_t n) {
    radix_sWalk walk = radix_FindWalk(n);
    const radix_cTwiddles twiddles(n);
    const radix_sPass<double>* pass = twiddles.Passes().pass;
    while (std::size_t{1} << (pass - twiddles.Passes().pass) != n / 16)
        ++pass;
    for (std::size_t row = 0; row < 15; ++row) {
        const std::size_t p = row < 1 ? 0 : row < 3 ? 1 : row < 7 ? 2 : 3;
        const std::size_t begin = (row + 1 - (std::size_t{1} << p)) * (n / 16);
        for (std::size_t k = 0; k < n / 16; ++k) {
            ASSERT_EQ(walk.re[row], pass[p].re[begin + k]) << n << " " << row << " " << k;
            ASSERT_EQ(walk.im[row], pass[p].im[begin + k]) << n << " " << row << " " << k;
            const double re = walk.re[row];
            walk.re[row] = re * walk.stepRe[row] - walk.im[row] * walk.stepIm[row] + re;
            walk.im[row] = walk.im[row] * walk.stepRe[row] + re * walk.stepIm[row] + walk.im[row];
        }
    }
}

bool isFoundWithoutMemory(std::size_t n) {
    const FailingNew none(0);
    try {
        radix_cTwiddles{n};
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

TEST(RadixTwiddles, AreKeptForTheNextTransformOfTheThread) {
    { const radix_cTwiddles made(longestKept); }
    const FailingNew none(0);
    EXPECT_NO_THROW(const radix_cTwiddles kept(longestKept));
}

TEST(RadixTwiddles, OfALongerTransformGoWithIt) {
    { const radix_cTwiddles made(2 * longestKept); }
    // In place of the storage that a thread keeps of the last large block that was released.
    { const mem_cBlock other(4 * longestKept); }
    const FailingNew none(0);
    EXPECT_THROW(const radix_cTwiddles again(2 * longestKept), std::bad_alloc);
}

TEST(RadixTwiddles, AreTheSameWhenMadeAgain) {
    constexpr std::size_t last = 20;
    double re = 0;
    double im = 0;
    {
        const radix_cTwiddles made(2 * longestKept);
        re = made.Passes().pass[last].re[longestKept / 2 - 1];
        im = made.Passes().pass[last].im[longestKept / 2 - 1];
    }
    const radix_cTwiddles again(2 * longestKept);
    EXPECT_EQ(again.Passes().pass[last].re[longestKept / 2 - 1], re);
    EXPECT_EQ(again.Passes().pass[last].im[longestKept / 2 - 1], im);
}

TEST(RadixWalk, FollowsTheTablesWhicheverLengthCameFirst) {
    for (const std::vector<int>& lengths : std::vector<std::vector<int>>{
             {12, 13, 14, 15, 16, 17, 18}, {18, 17, 16, 15}, {14, 18, 16, 17}, {17, 12, 15}})
        std::thread([&] {
            for (const int bits : lengths)
                expectToFollowTheTables(std::size_t{1} << bits);
        }).join();
}

TEST(RadixWalk, TakesNoMemory) {
    std::thread([] {
        const FailingNew none(0);
        EXPECT_NO_THROW(radix_FindWalk(std::size_t{1} << 17));
    }).join();
}

TEST(RadixWalk, SparesALongLineTheTablesOfItsLastPasses) {
    std::thread([] {
        constexpr std::size_t n = std::size_t{1} << 17;
        std::vector<ComplexFloat> line(n);
        radix_Line(line.data(), line.data(), n, 1, radix_Natural);
        mem_cBlock{std::size_t{5} << 20}; // so that nothing released is found again
        EXPECT_TRUE(isFoundWithoutMemory(n / 16));
        EXPECT_FALSE(isFoundWithoutMemory(n / 8));
    }).join();
}
