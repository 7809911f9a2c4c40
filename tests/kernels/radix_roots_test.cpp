#include "dataprocessing/kernels/radix_roots.h"

#include <cmath>
#include <cstddef>
#include <new>
#include <numbers>
#include <thread>

#include <gtest/gtest.h>

#include "dataprocessing/platform/memory.h"
#include "tests/failing_new.h"

using dataprocessing::detail::mem_cBlock;
using dataprocessing::detail::radix_cRoots;
using dataprocessing::detail::radix_sPass;

namespace {

constexpr std::size_t longestKept = std::size_t{1} << 20;

/// Half a unit in the last place of x, and a little for the rounding of what is compared.
long double halfUnit(long double x) {
    return std::ldexp(0.5001L, std::ilogb(static_cast<double>(x)) - 23);
}

void expectRoots(const radix_sPass<float>& pass, std::size_t half) {
    for (std::size_t k = 0; k < half; ++k) {
        const long double angle = std::numbers::pi_v<long double> * static_cast<long double>(k) /
                                  static_cast<long double>(half);
        if (2 * k == half)
            ASSERT_EQ(pass.re[k], 0) << half;
        else
            ASSERT_LE(std::abs(pass.re[k] - std::cos(angle)), halfUnit(std::cos(angle)))
                << half << " " << k;
        if (k == 0)
            ASSERT_EQ(pass.im[k], 0) << half;
        else
            ASSERT_LE(std::abs(pass.im[k] - std::sin(angle)), halfUnit(std::sin(angle)))
                << half << " " << k;
    }
}

/// Otherwise what was released might be found again.
void forgetReleasedStorage() { mem_cBlock{3 * longestKept * 4}; }

bool isMadeWithoutMemory(std::size_t n) {
    const FailingNew none(0);
    try {
        const radix_cRoots roots(n);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

TEST(RadixRoots, AreRootsOfUnityRoundedToSinglePrecision) {
    for (int bits = 1; bits <= 17; ++bits) // each time the longest so far, then shorter ones of it
        std::thread([bits] {
            const radix_cRoots roots(std::size_t{1} << bits);
            for (int pass = 0; pass < bits; ++pass)
                expectRoots(roots.Passes().pass[pass], std::size_t{1} << pass);
        }).join();
}

TEST(RadixRoots, OfAShorterTransformAreThoseOfALongerOne) {
    std::thread([] {
        { const radix_cRoots longer(1U << 12); }
        const radix_cRoots roots(1U << 7);
        for (int pass = 0; pass < 7; ++pass)
            expectRoots(roots.Passes().pass[pass], std::size_t{1} << pass);
    }).join();
}

TEST(RadixRoots, AreKeptForTheNextTransformOfTheThread) {
    std::thread([] {
        { const radix_cRoots made(longestKept); }
        forgetReleasedStorage();
        EXPECT_TRUE(isMadeWithoutMemory(longestKept));
        EXPECT_TRUE(isMadeWithoutMemory(16));
    }).join();
}

TEST(RadixRoots, OfALongerTransformGoWithIt) {
    std::thread([] {
        { const radix_cRoots made(2 * longestKept); }
        forgetReleasedStorage();
        EXPECT_FALSE(isMadeWithoutMemory(2 * longestKept));
    }).join();
}

TEST(RadixRoots, AreMadeAgainAfterMemoryRanOut) {
    std::thread([] {
        { const radix_cRoots made(1U << 4); }
        EXPECT_FALSE(isMadeWithoutMemory(1U << 8));
        const radix_cRoots roots(1U << 8);
        expectRoots(roots.Passes().pass[7], std::size_t{1} << 7);
    }).join();
}
