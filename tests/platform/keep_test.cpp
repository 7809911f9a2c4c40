#include "dataprocessing/platform/keep.h"

#include <cstddef>
#include <cstring>
#include <functional>
#include <optional>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "tests/failing_new.h"

using namespace dataprocessing::detail;

namespace {

constexpr std::size_t largestKept = std::size_t{8} << 20;

std::size_t keptAt(std::size_t place) { return keep_cLoan(place).block.Size(); }

void put(std::size_t place, std::size_t bytes) {
    keep_cLoan loan(place);
    loan.block = mem_cBlock(bytes);
    std::memset(loan.block.Data(), 7, bytes);
}

/// Calls a function when its thread ends, after the keep has gone if it was set before that.
class cLast {
public:
    std::function<void()> call;
    ~cLast() {
        if (call)
            call();
    }
};
thread_local std::optional<cLast> last;

void inThread(const std::function<void()>& call) { std::thread(call).join(); }

} // namespace

TEST(Keep, HandsALoanOutAgainAtItsPlaceAlone) {
    inThread([] {
        put(keep_Room, 1000);
        EXPECT_EQ(keptAt(keep_Roots), 0u);
        keep_cLoan again(keep_Room);
        ASSERT_EQ(again.block.Size(), 1000u);
        EXPECT_EQ(static_cast<const char*>(again.block.Data())[999], 7);
        EXPECT_EQ(keptAt(keep_Room), 0u) << "lent twice";
    });
}

TEST(Keep, LendsTheFirstTablesTogether) {
    inThread([] {
        put(keep_Twiddles, 100);
        put(keep_Twiddles + 2, 300);
        {
            keep_cTwiddlesLoan tables(2);
            EXPECT_EQ(static_cast<const char*>(tables.Data(0))[99], 7);
            EXPECT_EQ(tables.Data(1), nullptr);
            EXPECT_EQ(keptAt(keep_Twiddles), 0u) << "lent twice";
            tables.Set(1, mem_cBlock(200));
            EXPECT_NE(tables.Data(1), nullptr);
        }
        EXPECT_EQ(keptAt(keep_Twiddles), 100u);
        EXPECT_EQ(keptAt(keep_Twiddles + 1), 200u);
        EXPECT_EQ(keptAt(keep_Twiddles + 2), 300u) << "not asked for";
        put(keep_Twiddles + 1, largestKept);
        keep_cTwiddlesLoan(1).Set(0, mem_cBlock(largestKept + 1)); // too much to keep
        EXPECT_EQ(keptAt(keep_Twiddles), 0u);
        EXPECT_EQ(keptAt(keep_Twiddles + 1), largestKept);
    });
}

TEST(Keep, HoldsLoansOfUpToEightMegabytes) {
    inThread([] {
        put(keep_Room, largestKept);
        EXPECT_EQ(keptAt(keep_Room), largestKept);
        put(keep_Room, largestKept + 1);
        EXPECT_EQ(keptAt(keep_Room), 0u);
    });
}

TEST(Keep, HoldsTheLoanThatEndedLast) {
    inThread([] {
        {
            keep_cLoan outer(keep_Room);
            outer.block = mem_cBlock(300);
            put(keep_Room, 200);
        }
        EXPECT_EQ(keptAt(keep_Room), 300u);
    });
}

TEST(Keep, HoldsNothingForALoanThatWasGivenUp) {
    inThread([] {
        put(keep_Room, 300);
        { keep_cLoan(keep_Room).block = mem_cBlock(); }
        EXPECT_EQ(keptAt(keep_Room), 0u);
    });
}

TEST(Keep, GoesWithItsThread) {
    const long live = liveAllocations();
    inThread([] {
        put(keep_Room, 1000);
        put(keep_Twiddles + 30, largestKept);
    });
    EXPECT_EQ(liveAllocations(), live);
}

TEST(Keep, GivesEverythingBackWhenAsked) {
    inThread([] {
        mem_ReleaseKept();
        const long live = liveAllocations();
        put(keep_Room, 1000);
        put(keep_Roots, std::size_t{1} << 20);
        put(keep_Twiddles, largestKept);
        { const mem_cBlock middle(std::size_t{1} << 20); }
        mem_ReleaseKept();
        EXPECT_EQ(liveAllocations(), live);
        { const mem_cBlock large(std::size_t{16} << 20); }
        mem_ReleaseKept();
        EXPECT_EQ(liveAllocations(), live);
        put(keep_Room, 1000);
        EXPECT_EQ(keptAt(keep_Room), 1000u) << "the keep works on";
    });
}

TEST(Keep, IsClosedForWhatRunsAfterItAtTheEndOfAThread) {
    const long live = liveAllocations();
    std::size_t found = 1;
    std::size_t foundAgain = 1;
    inThread([&] {
        last.emplace().call = [&] {
            found = keptAt(keep_Room);
            put(keep_Room, 1000);
            { const mem_cBlock large(std::size_t{16} << 20); }
            { const mem_cBlock middle(std::size_t{1} << 20); }
            foundAgain = keptAt(keep_Room);
            mem_ReleaseKept();
        };
        put(keep_Room, 500);
    });
    EXPECT_EQ(found, 0u);
    EXPECT_EQ(foundAgain, 0u);
    EXPECT_EQ(liveAllocations(), live);
}
