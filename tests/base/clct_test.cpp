#include "dataprocessing/base/clct.h"

#include <memory>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/base/hndl.h"
#include "tests/failing_new.h"

namespace {

using testing::ElementsAre;

template<class Collection>
void addUpTo(Collection& collection, int count) {
    while (collection.Count() < count)
        collection.Add(collection.Count() + 1);
}

} // namespace

template<class Collection>
class CollectionOf : public testing::Test {};

using Collections = testing::Types<clct_cBag<int>, clct_cSet<int>>;
TYPED_TEST_SUITE(CollectionOf, Collections);

TYPED_TEST(CollectionOf, StartsEmptyWithFiveSlots) {
    const TypeParam c;
    EXPECT_EQ(TypeParam::Step, 5);
    EXPECT_EQ(c.Count(), 0);
    EXPECT_TRUE(c.IsEmpty());
    EXPECT_EQ(c.Slots(), 5);
    EXPECT_THAT(c, ElementsAre());
}

TYPED_TEST(CollectionOf, GrowsWhenTheCountReachesAMultipleOfTheStep) {
    TypeParam c;
    const int slots[] = {5, 5, 5, 5, 5, 10, 10, 10, 10, 10, 15, 15, 15, 15, 15, 20};
    for (int count = 1; count <= 15; ++count) {
        c.Add(count);
        EXPECT_EQ(c.Count(), count);
        EXPECT_EQ(c.Slots(), slots[count]) << count;
    }
    EXPECT_FALSE(c.IsEmpty());
    EXPECT_THAT(c, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
}

TYPED_TEST(CollectionOf, ShrinksWhenTheCountLeavesAMultipleOfTheStep) {
    TypeParam c;
    addUpTo(c, 11);
    const int slots[] = {5, 5, 5, 5, 5, 10, 10, 10, 10, 10, 15};
    for (int count = 10; count >= 0; --count) {
        c.RemoveAt(count);
        EXPECT_EQ(c.Count(), count);
        EXPECT_EQ(c.Slots(), slots[count]) << count;
    }
    EXPECT_TRUE(c.IsEmpty());
}

TYPED_TEST(CollectionOf, StepsBackAndForthOverTheBoundary) {
    TypeParam c;
    addUpTo(c, 4);
    for (int round = 0; round < 3; ++round) {
        c.Add(5);
        EXPECT_EQ(c.Slots(), 10);
        EXPECT_THAT(c, ElementsAre(1, 2, 3, 4, 5));
        c.RemoveAt(4);
        EXPECT_EQ(c.Slots(), 5);
        EXPECT_THAT(c, ElementsAre(1, 2, 3, 4));
    }
}

TYPED_TEST(CollectionOf, TheLastElementFillsTheGap) {
    TypeParam c;
    addUpTo(c, 6);
    c.RemoveAt(1);
    EXPECT_THAT(c, ElementsAre(1, 6, 3, 4, 5));
    c.RemoveAt(0); // the count is a multiple of the step here
    EXPECT_THAT(c, ElementsAre(5, 6, 3, 4));
    c.RemoveAt(3);
    EXPECT_THAT(c, ElementsAre(5, 6, 3));
}

TYPED_TEST(CollectionOf, TheThirdOfThreeComesFirstAfterTheFirstIsRemoved) {
    TypeParam c;
    addUpTo(c, 3);
    EXPECT_TRUE(c.Remove(1));
    EXPECT_THAT(c, ElementsAre(3, 2));
}

TYPED_TEST(CollectionOf, RemovingWhatIsNotThereDoesNothing) {
    TypeParam c;
    EXPECT_FALSE(c.Remove(0)); // the free slots are zero
    addUpTo(c, 5);
    EXPECT_FALSE(c.Remove(0));
    EXPECT_FALSE(c.Remove(6));
    EXPECT_EQ(c.Slots(), 10);
    EXPECT_THAT(c, ElementsAre(1, 2, 3, 4, 5));
}

TYPED_TEST(CollectionOf, FindsTheFirstElementThatIsEqual) {
    TypeParam c;
    EXPECT_EQ(c.Find(0), -1);
    EXPECT_FALSE(c.Contains(0));
    addUpTo(c, 7);
    EXPECT_EQ(c.Find(1), 0);
    EXPECT_EQ(c.Find(7), 6);
    EXPECT_EQ(c.Find(8), -1);
    EXPECT_TRUE(c.Contains(7));
    EXPECT_FALSE(c.Contains(0));
}

TYPED_TEST(CollectionOf, AccessIsChecked) {
    TypeParam c;
    EXPECT_THROW((void)c[0], arr_cIndexException);
    EXPECT_THROW(c.RemoveAt(0), arr_cIndexException);
    addUpTo(c, 5);
    EXPECT_EQ(c[0], 1);
    EXPECT_EQ(c[4], 5);
    for (const int position : {-1, 5}) {
        EXPECT_THROW((void)c[position], arr_cIndexException);
        EXPECT_THROW(c.RemoveAt(position), arr_cIndexException);
    }
    EXPECT_EQ(c.Count(), 5);
    EXPECT_EQ(c.Slots(), 10);
}

TYPED_TEST(CollectionOf, ClearGoesBackToFiveSlots) {
    for (const int count : {0, 4, 5, 12}) {
        TypeParam c;
        addUpTo(c, count);
        c.Clear();
        EXPECT_EQ(c.Count(), 0);
        EXPECT_EQ(c.Slots(), 5);
        addUpTo(c, 6);
        EXPECT_THAT(c, ElementsAre(1, 2, 3, 4, 5, 6));
        EXPECT_EQ(c.Slots(), 10);
    }
}

TYPED_TEST(CollectionOf, CopiesAreIndependentAndHaveTheNextMultipleOfSlots) {
    for (const int count : {0, 4, 5, 9, 10}) {
        TypeParam c;
        addUpTo(c, count);
        const TypeParam copy(c);
        c.Clear();
        EXPECT_EQ(copy.Count(), count);
        EXPECT_EQ(copy.Slots(), (count / 5 + 1) * 5);
        for (int position = 0; position < count; ++position)
            EXPECT_EQ(copy[position], position + 1);
        addUpTo(c, 7);
        c = copy;
        EXPECT_EQ(c.Count(), count);
        EXPECT_EQ(c.Slots(), copy.Slots());
    }
}

TYPED_TEST(CollectionOf, MovingTakesTheBlockWithoutMemory) {
    TypeParam first;
    TypeParam second;
    addUpTo(first, 7);
    const int* const block = first.begin();
    {
        const FailingNew none(0);
        TypeParam third = std::move(first);
        second = std::move(third);
        EXPECT_TRUE(third.IsEmpty()); // NOLINT(bugprone-use-after-move): the contract says so
    }
    EXPECT_EQ(second.begin(), block);
    EXPECT_THAT(second, ElementsAre(1, 2, 3, 4, 5, 6, 7));
    EXPECT_EQ(second.Slots(), 10);
    EXPECT_TRUE(first.IsEmpty()); // NOLINT(bugprone-use-after-move): the contract says so
    EXPECT_EQ(first.Slots(), 0);
    first.Clear();
    EXPECT_EQ(TypeParam(first).Count(), 0);
    addUpTo(first, 5);
    EXPECT_THAT(first, ElementsAre(1, 2, 3, 4, 5));
    EXPECT_EQ(first.Slots(), 10);
}

TYPED_TEST(CollectionOf, AssignmentToItselfChangesNothing) {
    TypeParam c;
    addUpTo(c, 6);
    TypeParam& same = c;
    c = same;
    EXPECT_THAT(c, ElementsAre(1, 2, 3, 4, 5, 6));
    c = std::move(same);
    EXPECT_THAT(c, ElementsAre(1, 2, 3, 4, 5, 6));
}

TYPED_TEST(CollectionOf, AddingWithoutMemoryChangesNothing) {
    TypeParam c;
    addUpTo(c, 4);
    {
        const FailingNew none(0);
        EXPECT_THROW(c.Add(5), std::bad_alloc);
    }
    EXPECT_EQ(c.Slots(), 5);
    EXPECT_THAT(c, ElementsAre(1, 2, 3, 4));
}

TYPED_TEST(CollectionOf, RemovingAndClearingNeedNoMemory) {
    TypeParam c;
    addUpTo(c, 11);
    {
        const FailingNew none(0);
        for (int count = 10; count >= 6; --count)
            c.RemoveAt(0);
    }
    EXPECT_EQ(c.Slots(), 10);
    EXPECT_THAT(c, ElementsAre(7, 2, 3, 4, 5, 6));
    {
        const FailingNew none(0);
        c.Clear();
        c.Add(8);
    }
    EXPECT_EQ(c.Slots(), 5);
    EXPECT_THAT(c, ElementsAre(8));
}

TYPED_TEST(CollectionOf, EveryStepAllocatesExactlyOneBlock) {
    TypeParam c;
    for (int count = 1; count <= 30; ++count) {
        const long before = allocationCount();
        c.Add(count);
        EXPECT_EQ(allocationCount() - before, count % 5 == 0) << count;
    }
}

TYPED_TEST(CollectionOf, ShrinkingGivesMemoryBack) {
    TypeParam c;
    addUpTo(c, 5);
    const long before = allocationCount();
    c.RemoveAt(4);
    EXPECT_EQ(allocationCount() - before, 1);
}

TYPED_TEST(CollectionOf, AssignmentWithoutMemoryChangesNothing) {
    TypeParam c;
    addUpTo(c, 3);
    TypeParam larger;
    addUpTo(larger, 12);
    {
        const FailingNew none(0);
        EXPECT_THROW(c = larger, std::bad_alloc);
    }
    EXPECT_EQ(c.Slots(), 5);
    EXPECT_THAT(c, ElementsAre(1, 2, 3));
}

TEST(Bag, KeepsDuplicatesAndRemovesTheFirst) {
    clct_cBag<int> bag;
    for (const int element : {7, 8, 7, 9})
        bag.Add(element);
    EXPECT_EQ(bag.Find(7), 0);
    EXPECT_TRUE(bag.Remove(7));
    EXPECT_THAT(bag, ElementsAre(9, 8, 7));
    EXPECT_EQ(bag.Find(7), 2);
}

TEST(Bag, AddsAnElementOfItsOwn) {
    clct_cBag<int> bag;
    addUpTo(bag, 4);
    bag.Add(bag[0]);
    EXPECT_THAT(bag, ElementsAre(1, 2, 3, 4, 1));
}

TEST(Bag, LetsGoOfWhatIsRemoved) {
    const auto shared = std::make_shared<int>(1);
    clct_cBag<std::shared_ptr<int>> bag;
    for (int count = 0; count < 6; ++count)
        bag.Add(shared);
    EXPECT_EQ(shared.use_count(), 7);
    bag.RemoveAt(5);
    EXPECT_EQ(shared.use_count(), 6);
    bag.RemoveAt(0);
    EXPECT_EQ(shared.use_count(), 5);
    bag.Clear();
    EXPECT_EQ(shared.use_count(), 1);
}

TEST(Set, RefusesWhatIsThereAlready) {
    clct_cSet<int> set;
    EXPECT_TRUE(set.Add(0));
    EXPECT_TRUE(set.Add(4));
    EXPECT_FALSE(set.Add(0));
    EXPECT_FALSE(set.Add(4));
    EXPECT_THAT(set, ElementsAre(0, 4));
    EXPECT_TRUE(set.Remove(0));
    EXPECT_TRUE(set.Add(0));
    EXPECT_THAT(set, ElementsAre(4, 0));
}

TEST(Set, ADuplicateNeverGrowsTheBlock) {
    clct_cSet<int> set;
    addUpTo(set, 4);
    EXPECT_FALSE(set.Add(4));
    EXPECT_EQ(set.Slots(), 5);
}

TEST(Set, TellsHandlesApartByTheirObject) {
    double a = 1, b = 1;
    clct_cSet<hndl_cHandle<double>> set;
    EXPECT_TRUE(set.Add(a));
    EXPECT_TRUE(set.Add(b));
    EXPECT_FALSE(set.Add(a));
    EXPECT_EQ(set.Count(), 2);
    EXPECT_EQ(set[1].Get(), &b);
    EXPECT_TRUE(set.Contains(b));
    EXPECT_FALSE(set.Contains({}));
}

TEST(PointerCollections, HoldPointersAndLeaveTheirObjectsAlone) {
    int a = 1, b = 1;
    clct_cPtrBag<int> bag;
    bag.Add(&a);
    bag.Add(&a);
    EXPECT_THAT(bag, ElementsAre(&a, &a));
    clct_cPtrSet<int> set;
    EXPECT_TRUE(set.Add(&a));
    EXPECT_FALSE(set.Add(&a));
    EXPECT_TRUE(set.Add(&b));
    set.Clear();
    EXPECT_TRUE(set.IsEmpty());
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 1);
}
