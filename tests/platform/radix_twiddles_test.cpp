#include "dataprocessing/platform/radix_twiddles.h"

#include <cstddef>
#include <new>

#include <gtest/gtest.h>

#include "dataprocessing/platform/memory.h"
#include "tests/failing_new.h"

using dataprocessing::detail::mem_cBlock;
using dataprocessing::detail::radix_cTwiddles;

namespace {

constexpr std::size_t longestKept = std::size_t{1} << 20;

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
