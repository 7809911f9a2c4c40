#include "dataprocessing/base/list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/failing_new.h"

using testing::ElementsAre;

namespace {

class PointerList : public testing::Test {
protected:
    int a = 1, b = 1, c = 1, d = 1;
};

} // namespace

TEST_F(PointerList, StartsEmpty) {
    const list_cPtrList<int> list;
    EXPECT_EQ(list.Size(), 0);
    EXPECT_THAT(list, ElementsAre());
}

TEST_F(PointerList, AppendsInOrder) {
    list_cPtrList<int> list({&a, &b});
    list.Append(&c);
    list.Append(&a);
    EXPECT_EQ(list.Size(), 4);
    EXPECT_THAT(list, ElementsAre(&a, &b, &c, &a));
}

TEST_F(PointerList, InsertsBeforeAPositionOrAtTheEnd) {
    list_cPtrList<int> list;
    list.Insert(0, &b);
    list.Insert(0, &a);
    list.Insert(2, &d);
    list.Insert(2, &c);
    EXPECT_THAT(list, ElementsAre(&a, &b, &c, &d));
}

TEST_F(PointerList, RemovesByPositionAndKeepsTheOrder) {
    list_cPtrList<int> list({&a, &b, &c, &d});
    list.RemoveAt(1);
    EXPECT_THAT(list, ElementsAre(&a, &c, &d));
    list.RemoveAt(2);
    list.RemoveAt(0);
    EXPECT_THAT(list, ElementsAre(&c));
}

TEST_F(PointerList, RemovesTheFirstOccurrenceOfAnObject) {
    list_cPtrList<int> list({&a, &b, &a});
    EXPECT_TRUE(list.Remove(&a));
    EXPECT_THAT(list, ElementsAre(&b, &a));
    EXPECT_FALSE(list.Remove(&c));
    EXPECT_FALSE(list.Remove(nullptr));
    EXPECT_THAT(list, ElementsAre(&b, &a));
}

TEST_F(PointerList, FindsObjectsByIdentity) {
    const list_cPtrList<int> list({&a, &b, &a});
    EXPECT_EQ(list.IndexOf(&a), 0);
    EXPECT_EQ(list.IndexOf(&b), 1);
    EXPECT_EQ(list.IndexOf(&c), -1);
    EXPECT_EQ(list.IndexOf(nullptr), -1);
}

TEST_F(PointerList, PositionsAreChecked) {
    list_cPtrList<int> list({&a, &b});
    EXPECT_EQ(list[0], &a);
    EXPECT_EQ(list[1], &b);
    for (const int position : {-1, 2}) {
        EXPECT_THROW((void)list[position], arr_cIndexException);
        EXPECT_THROW(list.RemoveAt(position), arr_cIndexException);
    }
    for (const int position : {-1, 3})
        EXPECT_THROW(list.Insert(position, &c), arr_cIndexException);
    EXPECT_THAT(list, ElementsAre(&a, &b));
}

TEST_F(PointerList, RefusesNull) {
    list_cPtrList<int> list({&a});
    EXPECT_THROW(list.Append(nullptr), expt_cProgramException);
    EXPECT_THROW(list.Insert(0, nullptr), expt_cProgramException);
    EXPECT_THROW(list_cPtrList<int>({&a, nullptr}), expt_cProgramException);
    EXPECT_THAT(list, ElementsAre(&a));
}

TEST_F(PointerList, ClearForgetsTheObjectsAndLeavesThemAlone) {
    list_cPtrList<int> list({&a, &b});
    list.Clear();
    EXPECT_EQ(list.Size(), 0);
    EXPECT_EQ(a, 1);
}

TEST_F(PointerList, CopiesListTheSameObjectsIndependently) {
    list_cPtrList<int> list({&a, &b});
    list_cPtrList<int> copy(list);
    list.RemoveAt(0);
    EXPECT_THAT(copy, ElementsAre(&a, &b));
    *copy[1] = 5;
    EXPECT_EQ(b, 5);
    copy = list;
    EXPECT_THAT(copy, ElementsAre(&b));
    const list_cPtrList<int> moved(std::move(copy));
    EXPECT_THAT(moved, ElementsAre(&b));
}

TEST_F(PointerList, WithoutMemoryTheListIsUnchanged) {
    list_cPtrList<int> list({&a, &b});
    {
        const FailingNew none(0);
        EXPECT_THROW(list.Append(&c), std::bad_alloc);
        EXPECT_THROW(list.Insert(0, &c), std::bad_alloc);
    }
    EXPECT_THAT(list, ElementsAre(&a, &b));
}
