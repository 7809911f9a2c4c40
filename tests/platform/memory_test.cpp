#include "dataprocessing/platform/memory.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/failing_new.h"

using dataprocessing::detail::mem_cBlock;

namespace {

constexpr std::size_t hugeFrom = std::size_t{4} << 20;
constexpr std::size_t middleFrom = std::size_t{128} << 10;

/// Then no storage is kept.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
constexpr bool isSanitized = __has_feature(address_sanitizer);
#else
constexpr bool isSanitized = false;
#endif

/// What takes the place of large and middle storage that the thread still keeps.
void forgetStorage() { mem_cBlock{(std::size_t{256} << 20) + 1}; }

mem_cBlock filled(std::size_t bytes, int value) {
    mem_cBlock block(bytes);
    std::memset(block.Data(), value, bytes);
    return block;
}

bool holds(const mem_cBlock& block, std::size_t bytes, int value) {
    const std::vector<unsigned char> expected(bytes, static_cast<unsigned char>(value));
    return block.Size() == bytes && std::memcmp(block.Data(), expected.data(), bytes) == 0;
}

std::uintptr_t address(const mem_cBlock& block) {
    return reinterpret_cast<std::uintptr_t>(block.Data());
}

} // namespace

TEST(MemoryBlock, DefaultAndZeroBytesHaveNoStorage) {
    EXPECT_EQ(mem_cBlock().Data(), nullptr);
    EXPECT_EQ(mem_cBlock().Size(), 0u);
    EXPECT_EQ(mem_cBlock(0).Data(), nullptr);
    const mem_cBlock empty(0);
    const mem_cBlock copy = empty;
    EXPECT_EQ(copy.Data(), nullptr);
}

TEST(MemoryBlock, BeginsOnACacheLineAndLargeOnesOnAHugePage) {
    for (const std::size_t bytes :
         {std::size_t{1}, std::size_t{7}, std::size_t{65}, std::size_t{4096}, hugeFrom - 1})
        EXPECT_EQ(address(mem_cBlock(bytes)) % 64, 0u) << bytes;
    for (const std::size_t bytes : {hugeFrom, hugeFrom + 1, 3 * hugeFrom / 2 + 17})
        EXPECT_EQ(address(mem_cBlock(bytes)) % (std::size_t{2} << 20), 0u) << bytes;
}

TEST(MemoryBlock, LargeOnesCanBeWrittenToTheLastByte) {
    EXPECT_TRUE(holds(filled(hugeFrom + 12345, 0x5a), hugeFrom + 12345, 0x5a));
}

TEST(MemoryBlock, CopyIsIndependent) {
    mem_cBlock first = filled(100, 1);
    const mem_cBlock second = first;
    std::memset(first.Data(), 2, first.Size());
    EXPECT_TRUE(holds(second, 100, 1));
}

TEST(MemoryBlock, MoveLeavesNothingBehind) {
    mem_cBlock first = filled(100, 3);
    const void* storage = first.Data();
    mem_cBlock second = std::move(first);
    EXPECT_EQ(second.Data(), storage);
    EXPECT_TRUE(holds(second, 100, 3));
    EXPECT_EQ(first.Size(), 0u); // NOLINT(bugprone-use-after-move): the contract says so
    EXPECT_EQ(first.Data(), nullptr);
}

TEST(MemoryBlock, MoveAssignmentLeavesNothingBehind) {
    mem_cBlock first = filled(100, 3);
    mem_cBlock second = filled(50, 4);
    second = std::move(first);
    EXPECT_TRUE(holds(second, 100, 3));
    EXPECT_EQ(first.Size(), 0u); // NOLINT(bugprone-use-after-move): the contract says so
    EXPECT_EQ(first.Data(), nullptr);
}

TEST(MemoryBlock, AssignmentOfAnEqualSizeReusesTheStorage) {
    const mem_cBlock first = filled(100, 5);
    mem_cBlock second = filled(100, 6);
    const void* storage = second.Data();
    second = first;
    EXPECT_EQ(second.Data(), storage);
    EXPECT_TRUE(holds(second, 100, 5));
}

TEST(MemoryBlock, AssignmentOfAnotherSizeTakesIt) {
    const mem_cBlock first = filled(100, 5);
    mem_cBlock second = filled(10, 6);
    second = first;
    EXPECT_TRUE(holds(second, 100, 5));
    second = mem_cBlock();
    EXPECT_EQ(second.Data(), nullptr);
}

TEST(MemoryBlock, AssignmentToItselfKeepsTheContent) {
    mem_cBlock block = filled(100, 7);
    mem_cBlock& same = block;
    block = same;
    EXPECT_TRUE(holds(block, 100, 7));
    block = std::move(same);
    EXPECT_TRUE(holds(block, 100, 7));
}

TEST(MemoryBlock, RequestBeyondTheAddressSpaceThrowsBadAlloc) {
    volatile std::size_t bytes = ~std::size_t{0}; // hidden from the compiler's own check
    EXPECT_THROW(mem_cBlock{bytes}, std::bad_alloc);
    EXPECT_THROW(mem_cBlock{bytes - 1000}, std::bad_alloc);
}

TEST(MemoryBlock, LargeStorageIsKeptForTheNextBlockOfItsSizeInTheThread) {
    if (isSanitized)
        GTEST_SKIP() << "sanitizers see every release";
    const void* storage = mem_cBlock(hugeFrom).Data();
    {
        const mem_cBlock next(hugeFrom);
        EXPECT_EQ(next.Data(), storage);
        const mem_cBlock another(hugeFrom);
        EXPECT_NE(another.Data(), storage) << "handed out twice";
    }
}

TEST(MemoryBlock, VeryLargeStorageGoesAtOnceAndLeavesWhatIsKept) {
    if (isSanitized)
        GTEST_SKIP() << "sanitizers see every release";
    mem_cBlock veryLarge((std::size_t{256} << 20) + 1);
    { const mem_cBlock kept(hugeFrom); }
    veryLarge = mem_cBlock();
    const FailingNew none(0);
    EXPECT_NO_THROW(mem_cBlock{hugeFrom});
}

TEST(MemoryBlock, NoMoreThanOneLargeStorageIsKept) {
    { const mem_cBlock kept(hugeFrom); }
    const long live = liveAllocations();
    { const mem_cBlock another(2 * hugeFrom); }
    EXPECT_EQ(liveAllocations(), live);
}

TEST(MemoryBlock, LargeStorageThatAThreadKeptGoesWithIt) {
    const long live = liveAllocations();
    std::thread([] { const mem_cBlock kept(hugeFrom); }).join();
    EXPECT_EQ(liveAllocations(), live);
}

TEST(MemoryBlock, StorageOfMiddleSizeIsKeptForTheNextBlocksOfItsSizeInTheThread) {
    if (isSanitized)
        GTEST_SKIP() << "sanitizers see every release";
    const void* small = nullptr;
    const void* large = nullptr;
    {
        const mem_cBlock first(middleFrom);
        const mem_cBlock second(hugeFrom - 1);
        small = first.Data();
        large = second.Data();
    }
    const FailingNew none(0);
    const mem_cBlock again(hugeFrom - 1);
    const mem_cBlock next(middleFrom);
    EXPECT_EQ(again.Data(), large);
    EXPECT_EQ(next.Data(), small);
    EXPECT_THROW(mem_cBlock{middleFrom}, std::bad_alloc) << "handed out twice";
    EXPECT_THROW(mem_cBlock{2 * middleFrom}, std::bad_alloc) << "of another size";
    EXPECT_THROW(mem_cBlock{middleFrom - 1}, std::bad_alloc) << "small ones are not kept";
}

TEST(MemoryBlock, AtMostEightBlocksOfMiddleSizeAreKeptTheNewestOfThem) {
    if (isSanitized)
        GTEST_SKIP() << "sanitizers see every release";
    forgetStorage();
    const long live = liveAllocations();
    for (std::size_t i = 0; i < 12; ++i) {
        const mem_cBlock block(middleFrom + i * 4096);
    }
    EXPECT_EQ(liveAllocations(), live + 8);
    const FailingNew none(0);
    for (std::size_t i = 4; i < 12; ++i)
        EXPECT_NO_THROW(mem_cBlock{middleFrom + i * 4096}) << i;
    EXPECT_THROW(mem_cBlock{middleFrom + 3 * 4096}, std::bad_alloc);
}

TEST(MemoryBlock, AtMostSixteenMegabytesOfMiddleSizeAreKept) {
    if (isSanitized)
        GTEST_SKIP() << "sanitizers see every release";
    forgetStorage();
    const long live = liveAllocations();
    for (std::size_t i = 0; i < 6; ++i) {
        const mem_cBlock block((std::size_t{3} << 20) + i * 4096);
    }
    EXPECT_EQ(liveAllocations(), live + 5);
}

TEST(MemoryBlock, StorageOfMiddleSizeGoesBeforeALargeBlockIsAllocated) {
    forgetStorage();
    const long live = liveAllocations();
    { const mem_cBlock kept(middleFrom); }
    const mem_cBlock large(hugeFrom);
    EXPECT_EQ(liveAllocations(), live + 1);
}

TEST(MemoryBlock, StorageOfMiddleSizeThatAThreadKeptGoesWithIt) {
    const long live = liveAllocations();
    std::thread([] { const mem_cBlock kept(middleFrom); }).join();
    EXPECT_EQ(liveAllocations(), live);
}

TEST(MemoryBlock, ReusedStorageHoldsWhatIsWrittenNow) {
    for (const std::size_t bytes : {hugeFrom + 5, middleFrom + 5})
        for (const int value : {1, 2, 3})
            EXPECT_TRUE(holds(filled(bytes, value), bytes, value));
}

TEST(MemoryBlock, LargeBlocksOfManySizesAndOrdersStayApart) {
    std::vector<mem_cBlock> blocks;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 6; ++i)
            blocks.push_back(filled(hugeFrom + static_cast<std::size_t>(i % 3) * 2500000, i + 1));
        for (int i = 0; i < 6; ++i)
            ASSERT_TRUE(holds(blocks[static_cast<std::size_t>(i)],
                              hugeFrom + static_cast<std::size_t>(i % 3) * 2500000, i + 1));
        if (round == 1)
            blocks.erase(blocks.begin(), blocks.begin() + 3);
        blocks.clear();
    }
}

TEST(MemoryBlock, MayBeReleasedByAnotherThreadAndAfterIt) {
    for (const std::size_t bytes : {hugeFrom, middleFrom}) {
        mem_cBlock moved;
        std::thread([&] {
            const mem_cBlock gone(bytes);
            moved = filled(bytes, 9);
        }).join();
        EXPECT_TRUE(holds(moved, bytes, 9));
        std::thread([taken = std::move(moved), bytes] {
            EXPECT_TRUE(holds(taken, bytes, 9));
        }).join();
    }
}
