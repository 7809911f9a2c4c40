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

constexpr std::size_t largestKept[] = {std::size_t{8} << 20, std::size_t{8} << 20,
                                       std::size_t{16} << 20};

std::size_t keptAt(keep_ePlace place) { return keep_cLoan(place).block.Size(); }

void put(keep_ePlace place, std::size_t bytes) {
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

TEST(Keep, HoldsLoansOfUpToWhatTransformsNeed) {
    inThread([] {
        for (const keep_ePlace place : {keep_Room, keep_Roots, keep_Twiddles}) {
            put(place, largestKept[place]);
            EXPECT_EQ(keptAt(place), largestKept[place]);
            put(place, largestKept[place] + 1);
            EXPECT_EQ(keptAt(place), 0u);
        }
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
        put(keep_Twiddles, largestKept[keep_Twiddles]);
    });
    EXPECT_EQ(liveAllocations(), live);
}

TEST(Keep, GivesEverythingBackWhenAsked) {
    inThread([] {
        mem_ReleaseKept();
        const long live = liveAllocations();
        put(keep_Room, 1000);
        put(keep_Roots, std::size_t{1} << 20);
        put(keep_Twiddles, largestKept[keep_Twiddles]);
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
