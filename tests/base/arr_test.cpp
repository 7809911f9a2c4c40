#include "dataprocessing/base/arr.h"

#include <cstddef>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/failing_new.h"
#include "tests/support/refusal_expected.h"
#include "tests/support/slots.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr int maxInt = std::numeric_limits<int>::max();
constexpr int minInt = std::numeric_limits<int>::min();

template<class Array>
std::vector<int> values(const Array& array) {
    return std::vector<int>(array.begin(), array.end());
}

/// An element whose copy fails once `copiesLeft` have been made.
struct Fragile {
    static inline int copiesLeft = maxInt;
    static inline int living = 0;

    int value = 0;

    Fragile() { ++living; }
    Fragile(int v) : value(v) { ++living; }
    Fragile(const Fragile& other) : value(other.value) { ++living; }
    ~Fragile() { --living; }
    Fragile& operator=(const Fragile& other) {
        if (copiesLeft-- <= 0)
            throw std::runtime_error("copy");
        value = other.value;
        return *this;
    }
};

} // namespace

TEST(ArrayErrors, IndexErrorSaysWhichIndexAndWhichSize) {
    const auto error = caught<arr_cIndexException>([] { arr_IndexError(7, 3); });
    EXPECT_EQ(error.Index(), 7);
    EXPECT_EQ(error.Size(), 3);
    EXPECT_EQ(error.SourceFile(), "arr");
    EXPECT_EQ(error.Line(), 1);
    EXPECT_STREQ(error.what(), "arr:1: Index 7 is outside an array of size 3.");
}

TEST(ArrayErrors, IndexErrorWithoutASizeSaysTheIndexAlone) {
    const auto error = caught<arr_cIndexException>([] { arr_IndexError(-4, -9); });
    EXPECT_EQ(error.Index(), -4);
    EXPECT_EQ(error.Size(), -1);
    EXPECT_STREQ(error.what(), "arr:1: Index -4 is outside its array.");
}

TEST(ArrayErrors, IndexErrorSaysIndicesBeyondTheSignedOnes) {
    const auto error = caught<arr_cIndexException>([] { arr_WideIndexError(~0ULL, 3); });
    EXPECT_EQ(error.Index(), std::numeric_limits<long long>::max());
    EXPECT_EQ(error.Size(), 3);
    EXPECT_STREQ(error.what(), "arr:1: Index 18446744073709551615 is outside an array of size 3.");
    const auto less = caught<arr_cIndexException>([] { arr_WideIndexError(7, -1); });
    EXPECT_EQ(less.Index(), 7);
    EXPECT_EQ(less.Size(), -1);
    EXPECT_STREQ(less.what(), "arr:1: Index 7 is outside its array.");
}

TEST(ArrayErrors, IndicesOfEveryIntegerTypeAreChecked) {
    const auto said = [](auto index) {
        return std::string(
            caught<arr_cIndexException>([=] { arr_CheckedWideIndex(index, 3); }).what());
    };
    EXPECT_EQ(said(~0ULL), "arr:1: Index 18446744073709551615 is outside an array of size 3.");
    EXPECT_EQ(said(1ULL << 63), "arr:1: Index 9223372036854775808 is outside an array of size 3.");
    EXPECT_EQ(said(std::size_t{3}), "arr:1: Index 3 is outside an array of size 3.");
    EXPECT_EQ(said(~0U), "arr:1: Index 4294967295 is outside an array of size 3.");
    EXPECT_EQ(said(-1LL), "arr:1: Index -1 is outside an array of size 3.");
    EXPECT_EQ(said(short{-1}), "arr:1: Index -1 is outside an array of size 3.");
    EXPECT_EQ(said(1LL << 32), "arr:1: Index 4294967296 is outside an array of size 3.");
    EXPECT_EQ(arr_CheckedWideIndex(2ULL, 3), 2);
    EXPECT_EQ(arr_CheckedWideIndex(0L, 3), 0);
}

TEST(ArrayErrors, IndexErrorMayHaveAMessageOfItsOwn) {
    const arr_cIndexException error(5, -2, "why");
    EXPECT_EQ(error.Index(), 5);
    EXPECT_EQ(error.Size(), -1);
    EXPECT_STREQ(error.what(), "arr:1: why");
}

TEST(ArrayErrors, IndexErrorMaySayNothing) {
    const auto error = caught<arr_cIndexException>([] { arr_IndexError(); });
    EXPECT_EQ(error.Index(), -1);
    EXPECT_EQ(error.Size(), -1);
    EXPECT_STREQ(error.what(), "arr:1: Index outside its array.");
}

TEST(ArrayErrors, SizeErrorSaysWhichSize) {
    const auto error = caught<arr_cSizeException>([] { arr_SizeError(-2); });
    EXPECT_EQ(error.Size(), -2);
    EXPECT_EQ(error.Expected(), -1);
    EXPECT_EQ(error.SourceFile(), "arr");
    EXPECT_EQ(error.Line(), 2);
    EXPECT_STREQ(error.what(), "arr:2: Size -2 is outside 0 to 2147483647.");
}

TEST(ArrayErrors, SizeErrorSaysWhichSizeWasNeeded) {
    const auto error = caught<arr_cSizeException>([] { arr_SizeError(5, 4); });
    EXPECT_EQ(error.Size(), 5);
    EXPECT_EQ(error.Expected(), 4);
    EXPECT_STREQ(error.what(), "arr:2: Size 5 where 4 is needed.");
}

TEST(ArrayErrors, SizeErrorMaySayNothing) {
    const auto error = caught<arr_cSizeException>([] { arr_SizeError(); });
    EXPECT_EQ(error.Size(), -1);
    EXPECT_EQ(error.Expected(), -1);
    EXPECT_STREQ(error.what(), "arr:2: Size refused.");
}

TEST(ArrayErrors, BothAreProgramErrors) {
    EXPECT_THROW(arr_IndexError(), expt_cProgramException);
    EXPECT_THROW(arr_SizeError(), expt_cProgramException);
}

TEST(ArrayErrors, CopiesSayTheSame) {
    const arr_cIndexException index(7, 3);
    arr_cIndexException otherIndex;
    otherIndex = index;
    EXPECT_EQ(otherIndex.Index(), 7);
    EXPECT_EQ(otherIndex.Size(), 3);
    EXPECT_STREQ(otherIndex.what(), index.what());
    static_assert(std::is_nothrow_copy_constructible_v<arr_cIndexException>);
    static_assert(std::is_nothrow_copy_constructible_v<arr_cSizeException>);
}

TEST(ArrayErrors, CheckedIndexAcceptsTheArrayAndNothingElse) {
    EXPECT_EQ(arr_CheckedIndex(0, 3), 0);
    EXPECT_EQ(arr_CheckedIndex(2, 3), 2);
    for (const int index : {-1, 3, minInt, maxInt})
        EXPECT_EQ(caught<arr_cIndexException>([&] { arr_CheckedIndex(index, 3); }).Index(), index);
    EXPECT_THROW(arr_CheckedIndex(0, 0), arr_cIndexException);
}

TEST(ArrayErrors, CheckedSizeAcceptsWhatAnIntCanCount) {
    EXPECT_EQ(arr_CheckedSize(0LL), 0);
    EXPECT_EQ(arr_CheckedSize(2147483647LL), maxInt);
    for (const long long size : {-1LL, 2147483648LL})
        EXPECT_EQ(caught<arr_cSizeException>([&] { arr_CheckedSize(size); }).Size(), size);
}

TEST(ArrayErrors, CheckedSizeOfAMatrixAcceptsWhatAnIntCanCount) {
    EXPECT_EQ(arr_CheckedSize(3, 4), 12);
    EXPECT_EQ(arr_CheckedSize(0, maxInt), 0);
    EXPECT_EQ(arr_CheckedSize(maxInt, 1), maxInt);
    EXPECT_EQ(caught<arr_cSizeException>([] { arr_CheckedSize(-3, 4); }).Size(), -3);
    EXPECT_EQ(caught<arr_cSizeException>([] { arr_CheckedSize(4, -5); }).Size(), -5);
    EXPECT_EQ(caught<arr_cSizeException>([] { arr_CheckedSize(-4, -5); }).Size(), -4);
    EXPECT_EQ(caught<arr_cSizeException>([] { arr_CheckedSize(65536, 32768); }).Size(),
              2147483648LL);
    EXPECT_EQ(caught<arr_cSizeException>([] { arr_CheckedSize(maxInt, maxInt); }).Size(),
              4611686014132420609LL);
}

template<class Array>
class ArrayOf : public testing::Test {};

using ArrayKinds = testing::Types<arr_cArray<int>, arr_cC_Array<int>, arr_c1DArray<int>,
                                  arr_c1D_C_Array<int>, arr_c1DNumberArray<int>>;
TYPED_TEST_SUITE(ArrayOf, ArrayKinds);

TYPED_TEST(ArrayOf, StartsEmptyAndWithoutABlock) {
    const TypeParam a;
    EXPECT_EQ(a.Size(), 0);
    EXPECT_EQ(a.Data(), nullptr);
    EXPECT_EQ(a.begin(), a.end());
    const TypeParam zero(0);
    EXPECT_EQ(zero.Size(), 0);
    EXPECT_EQ(zero.Data(), nullptr);
}

TYPED_TEST(ArrayOf, TakesASizeAndAValueAListOrASpan) {
    EXPECT_EQ(TypeParam(3).Size(), 3);
    EXPECT_THAT(values(TypeParam(3, 7)), ElementsAre(7, 7, 7));
    EXPECT_THAT(values(TypeParam({1, 2, 3})), ElementsAre(1, 2, 3));
    const std::vector<int> source = {4, 5};
    EXPECT_THAT(values(TypeParam(std::span<const int>(source))), ElementsAre(4, 5));
    EXPECT_THAT(values(TypeParam(std::span<const int>())), ElementsAre());
}

TYPED_TEST(ArrayOf, RefusesANegativeSize) {
    for (const int size : {-1, minInt})
        EXPECT_THROW((TypeParam(size)), arr_cSizeException);
    EXPECT_THROW(TypeParam(-1, 5), arr_cSizeException);
}

TYPED_TEST(ArrayOf, SetSizeKeepsTheFirstElements) {
    TypeParam a({1, 2, 3});
    a.SetSize(2);
    EXPECT_THAT(values(a), ElementsAre(1, 2));
    a.SetSize(4);
    EXPECT_EQ(a.Size(), 4);
    EXPECT_EQ(a[0], 1);
    EXPECT_EQ(a[1], 2);
    a.SetSize(4);
    EXPECT_EQ(a.Size(), 4);
    EXPECT_EQ(a[1], 2);
}

TYPED_TEST(ArrayOf, SetSizeToZeroFreesTheBlock) {
    TypeParam a({1, 2, 3});
    a.SetSize(0);
    EXPECT_EQ(a.Size(), 0);
    EXPECT_EQ(a.Data(), nullptr);
    a.SetSize(0);
    EXPECT_EQ(a.Size(), 0);
}

TYPED_TEST(ArrayOf, SetSizeRefusesANegativeSizeAndKeepsTheArray) {
    TypeParam a({1, 2, 3});
    EXPECT_EQ(caught<arr_cSizeException>([&] { a.SetSize(-1); }).Size(), -1);
    EXPECT_THROW(a.SetSize(minInt), arr_cSizeException);
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
}

TYPED_TEST(ArrayOf, SetSizeWithoutMemoryKeepsTheArray) {
    TypeParam a({1, 2, 3});
    const int* const block = a.Data();
    {
        const FailingNew none(0);
        EXPECT_THROW(a.SetSize(100), std::bad_alloc);
        EXPECT_THROW(a.SetSize(2), std::bad_alloc);
    }
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
    EXPECT_EQ(a.Data(), block);
}

TYPED_TEST(ArrayOf, EveryResizeAllocatesExactlyOneBlock) {
    TypeParam a;
    for (const int size : {1, 2, 1000, 999, 3}) {
        const long before = allocationCount();
        a.SetSize(size);
        EXPECT_EQ(allocationCount() - before, 1) << size;
    }
    const long before = allocationCount();
    a.SetSize(0);
    EXPECT_EQ(allocationCount(), before);
}

TYPED_TEST(ArrayOf, CopyInWritesTheRunAndNothingElse) {
    const int source[] = {10, 11, 12, 13, 14};
    TypeParam a(6, 0);
    a.CopyIn(source, 3, 1, 2);
    EXPECT_THAT(values(a), ElementsAre(0, 0, 11, 12, 13, 0));
    a.CopyIn(source, 1, 0, 0);
    EXPECT_THAT(values(a), ElementsAre(10, 0, 11, 12, 13, 0));
}

TYPED_TEST(ArrayOf, CopyInAcceptsARunThatEndsAtTheSize) {
    const int source[] = {1, 2, 3};
    TypeParam a(3, 0);
    a.CopyIn(source, 3, 0, 0);
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
    a.CopyIn(source, 1, 0, 2);
    EXPECT_THAT(values(a), ElementsAre(1, 2, 1));
}

TYPED_TEST(ArrayOf, CopyOutReadsTheRunAndNothingElse) {
    const TypeParam a({1, 2, 3, 4});
    int target[] = {0, 0, 0, 0, 0};
    a.CopyOut(target, 2, 1, 3);
    EXPECT_THAT(target, ElementsAre(0, 0, 0, 2, 3));
    a.CopyOut(target, 4, 0, 0);
    EXPECT_THAT(target, ElementsAre(1, 2, 3, 4, 3));
}

TYPED_TEST(ArrayOf, FillSetsTheRunAndNothingElse) {
    TypeParam a(5, 0);
    a.Fill(7, 2, 1);
    EXPECT_THAT(values(a), ElementsAre(0, 7, 7, 0, 0));
    a.Fill(8, 2, 3);
    EXPECT_THAT(values(a), ElementsAre(0, 7, 7, 8, 8));
    a.Fill(9);
    EXPECT_THAT(values(a), ElementsAre(9, 9, 9, 9, 9));
}

TYPED_TEST(ArrayOf, FillMayTakeItsValueFromTheArray) {
    TypeParam a({1, 2, 3});
    a.Fill(a[1]);
    EXPECT_THAT(values(a), ElementsAre(2, 2, 2));
}

TYPED_TEST(ArrayOf, RunsOutsideTheArrayAreRefusedBeforeAnythingIsCopied) {
    struct Run {
        int count, start;
        long long index;
    };
    const Run runs[] = {
        {1, -1, -1},         {1, 6, 6},           {6, 1, 6},
        {7, 0, 6},           {0, 7, 7},           {-1, 8, 8},
        {0, -1, -1},         {-5, -1, -1},        {0, minInt, minInt},
        {1, maxInt, maxInt}, {maxInt, 1, maxInt}, {maxInt, maxInt, 2LL * maxInt - 1}};
    int outside[6] = {9, 9, 9, 9, 9, 9};
    TypeParam a({1, 2, 3, 4, 5, 6});
    for (const Run& run : runs) {
        const auto check = [&](auto act) {
            const auto error = caught<arr_cIndexException>(act);
            EXPECT_EQ(error.Index(), run.index) << run.count << " from " << run.start;
            EXPECT_EQ(error.Size(), 6);
        };
        check([&] { a.CopyIn(outside, run.count, 0, run.start); });
        check([&] { a.CopyOut(outside, run.count, run.start, 0); });
        check([&] { a.Fill(9, run.count, run.start); });
    }
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(outside, ElementsAre(9, 9, 9, 9, 9, 9));
}

TYPED_TEST(ArrayOf, ANegativeStartOnTheOtherSideIsRefused) {
    int outside[3] = {9, 9, 9};
    TypeParam a({1, 2, 3});
    const auto in = caught<arr_cIndexException>([&] { a.CopyIn(outside + 1, 1, -1, 0); });
    EXPECT_EQ(in.Index(), -1);
    EXPECT_EQ(in.Size(), -1);
    EXPECT_THROW(a.CopyOut(outside + 1, 1, 0, -1), arr_cIndexException);
    EXPECT_THROW(a.CopyIn(outside, 0, minInt, 0), arr_cIndexException);
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
    EXPECT_THAT(outside, ElementsAre(9, 9, 9));
}

TYPED_TEST(ArrayOf, ACountThatIsNotPositiveDoesNothing) {
    int* volatile nothing = nullptr;
    TypeParam a({1, 2, 3});
    for (const int count : {0, -1, minInt}) {
        a.CopyIn(nothing, count, 5, 3);
        a.CopyOut(nothing, count, 3, 5);
        a.Fill(9, count, 3);
    }
    TypeParam empty;
    empty.CopyIn(nothing, 0, 0, 0);
    empty.CopyOut(nothing, 0, 0, 0);
    empty.Fill(9, 0, 0);
    empty.Fill(9);
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
    EXPECT_THAT(values(empty), ElementsAre());
}

TYPED_TEST(ArrayOf, CopyInAndOutMayOverlapTheArray) {
    TypeParam up({1, 2, 3, 4, 5});
    up.CopyIn(up.Data(), 4, 0, 1);
    EXPECT_THAT(values(up), ElementsAre(1, 1, 2, 3, 4));
    TypeParam down({1, 2, 3, 4, 5});
    down.CopyIn(down.Data(), 4, 1, 0);
    EXPECT_THAT(values(down), ElementsAre(2, 3, 4, 5, 5));
    TypeParam outUp({1, 2, 3, 4, 5});
    outUp.CopyOut(outUp.Data(), 4, 0, 1);
    EXPECT_THAT(values(outUp), ElementsAre(1, 1, 2, 3, 4));
    TypeParam outDown({1, 2, 3, 4, 5});
    outDown.CopyOut(outDown.Data(), 4, 1, 0);
    EXPECT_THAT(values(outDown), ElementsAre(2, 3, 4, 5, 5));
    TypeParam still({1, 2, 3});
    still.CopyIn(still.Data(), 3, 0, 0);
    EXPECT_THAT(values(still), ElementsAre(1, 2, 3));
}

TYPED_TEST(ArrayOf, ElementAccessIsChecked) {
    TypeParam a({1, 2, 3});
    const TypeParam& constant = a;
    a[2] = 30;
    EXPECT_EQ(constant[2], 30);
    EXPECT_EQ(constant[0], 1);
    for (const int index : {-1, 3, minInt, maxInt}) {
        EXPECT_EQ(caught<arr_cIndexException>([&] { a[index] = 0; }).Index(), index);
        EXPECT_EQ(caught<arr_cIndexException>([&] { (void)constant[index]; }).Size(), 3);
    }
    EXPECT_THROW(TypeParam()[0], arr_cIndexException);
}

TYPED_TEST(ArrayOf, CopiesAreIndependent) {
    TypeParam a({1, 2, 3});
    TypeParam copy(a);
    copy[0] = 9;
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
    a.SetSize(1);
    EXPECT_THAT(values(copy), ElementsAre(9, 2, 3));
    a = copy;
    a[1] = 8;
    EXPECT_THAT(values(copy), ElementsAre(9, 2, 3));
    EXPECT_THAT(values(a), ElementsAre(9, 8, 3));
}

TYPED_TEST(ArrayOf, AssignmentToItselfChangesNothing) {
    TypeParam a({1, 2, 3});
    TypeParam& same = a;
    a = same;
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
    a = std::move(same);
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
}

TYPED_TEST(ArrayOf, AssignmentWithoutMemoryKeepsTheArray) {
    TypeParam a({1, 2, 3});
    const TypeParam b({4, 5});
    {
        const FailingNew none(0);
        EXPECT_THROW(a = b, std::bad_alloc);
    }
    EXPECT_THAT(values(a), ElementsAre(1, 2, 3));
}

TYPED_TEST(ArrayOf, MovingTakesTheBlockAndLeavesNothing) {
    static_assert(std::is_nothrow_move_constructible_v<TypeParam>);
    static_assert(std::is_nothrow_move_assignable_v<TypeParam>);
    TypeParam a({1, 2, 3});
    const int* const block = a.Data();
    TypeParam b(std::move(a));
    EXPECT_EQ(b.Data(), block);
    EXPECT_THAT(values(b), ElementsAre(1, 2, 3));
    EXPECT_EQ(a.Size(), 0);
    EXPECT_THROW(a[0], arr_cIndexException);
    a.SetSize(1);
    a = std::move(b);
    EXPECT_EQ(a.Data(), block);
    EXPECT_EQ(a.Size(), 3);
    EXPECT_EQ(b.Size(), 0);
}

TYPED_TEST(ArrayOf, ConvertsToASpan) {
    TypeParam a({1, 2, 3});
    const TypeParam& constant = a;
    const std::span<int> elements = a;
    const std::span<const int> reading = constant;
    elements[1] = 20;
    EXPECT_EQ(reading[1], 20);
    EXPECT_EQ(reading.data(), a.Data());
    EXPECT_EQ(reading.size(), 3u);
    EXPECT_EQ(std::accumulate(constant.begin(), constant.end(), 0), 24);
}

TYPED_TEST(ArrayOf, WorksThroughItsBase) {
    std::unique_ptr<arr_cArray<int>> base =
        std::make_unique<TypeParam>(std::initializer_list<int>{1, 2});
    base->SetSize(3);
    base->Fill(5, 1, 2);
    EXPECT_THAT(values(*base), ElementsAre(1, 2, 5));
    const arr_cArray<int> copy(*base);
    EXPECT_THAT(values(copy), ElementsAre(1, 2, 5));
}

TEST(Array, NewElementsAreValueInitialised) {
    arr_cArray<int*> pointers(2);
    EXPECT_THAT(pointers, ElementsAre(nullptr, nullptr));
    int target = 0;
    pointers.Fill(&target);
    pointers.SetSize(4);
    EXPECT_THAT(pointers, ElementsAre(&target, &target, nullptr, nullptr));
    arr_cArray<int> numbers({1});
    numbers.SetSize(3);
    EXPECT_THAT(numbers, ElementsAre(1, 0, 0));
}

TEST(Array, HoldsElementsThatAreNoPlainData) {
    arr_cArray<std::string> a({"one", "two"});
    a.SetSize(3);
    a.CopyIn(a.Data(), 2, 0, 1);
    EXPECT_THAT(a, ElementsAre("one", "one", "two"));
}

TEST(Array, SetSizeIsUndoneByAnElementThatCannotBeCopied) {
    {
        arr_cArray<Fragile> a({1, 2, 3, 4});
        const Fragile* const block = a.Data();
        for (const int size : {3, 9}) {
            Fragile::copiesLeft = 2;
            EXPECT_THROW(a.SetSize(size), std::runtime_error);
            Fragile::copiesLeft = maxInt;
            EXPECT_EQ(a.Size(), 4);
            EXPECT_EQ(a.Data(), block);
            EXPECT_EQ(a[3].value, 4);
        }
        EXPECT_EQ(Fragile::living, 4);
    }
    EXPECT_EQ(Fragile::living, 0);
}

TEST(Array, AssignmentIsUndoneByAnElementThatCannotBeCopied) {
    arr_cArray<Fragile> a({1, 2});
    const arr_cArray<Fragile> b({3, 4, 5});
    Fragile::copiesLeft = 2;
    EXPECT_THROW(a = b, std::runtime_error);
    Fragile::copiesLeft = maxInt;
    EXPECT_EQ(a.Size(), 2);
    EXPECT_EQ(a[0].value, 1);
    EXPECT_EQ(a[1].value, 2);
}

TEST(Array, CallsItsOperationsThroughFixedSlots) {
    using Fill = void (arr_cArray<int>::*)(const int&, int, int);
    EXPECT_EQ(slotOf(&arr_cArray<int>::SetSize), 2u);
    EXPECT_EQ(slotOf(&arr_cArray<int>::CopyIn), 3u);
    EXPECT_EQ(slotOf(&arr_cArray<int>::CopyOut), 4u);
    EXPECT_EQ(slotOf(static_cast<Fill>(&arr_cArray<int>::Fill)), 5u);
}

TEST(NumberArray, StartsAtZero) {
    const arr_c1DNumberArray<double> a(3);
    EXPECT_THAT(a, ElementsAre(0.0, 0.0, 0.0));
}

TEST(NumberMatrix, StartsAtZeroWithColumnsThenRows) {
    const arr_c2DNumberArray<double> a(2, 3);
    EXPECT_EQ(a.Columns(), 2);
    EXPECT_EQ(a.Rows(), 3);
    EXPECT_EQ(a.Size(), 6);
    EXPECT_THAT(a, ElementsAre(0, 0, 0, 0, 0, 0));
    const arr_c2DNumberArray<double> none;
    EXPECT_EQ(none.Columns(), 0);
    EXPECT_EQ(none.Rows(), 0);
    EXPECT_EQ(none.Size(), 0);
    EXPECT_EQ(none.Data(), nullptr);
}

TEST(NumberMatrix, StoresRowAfterRow) {
    arr_c2DNumberArray<double> a(2, 3);
    const arr_c2DNumberArray<double>& constant = a;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 2; ++column)
            a(row, column) = 10 * row + column;
    EXPECT_THAT(a, ElementsAre(0, 1, 10, 11, 20, 21));
    EXPECT_EQ(a[3], 11);
    EXPECT_EQ(constant(2, 0), 20);
    EXPECT_EQ(constant[4], 20);
    a[5] = -1;
    EXPECT_EQ(constant(2, 1), -1);
    EXPECT_EQ(constant.Data()[5], -1);
    EXPECT_EQ(std::span<const double>(constant).size(), 6u);
}

TEST(NumberMatrix, TakesItsElementsRowAfterRow) {
    const std::vector<double> elements = {1, 2, 3, 4, 5, 6};
    const arr_c2DNumberArray<double> a(3, 2, elements);
    EXPECT_EQ(a(0, 2), 3);
    EXPECT_EQ(a(1, 0), 4);
    EXPECT_THAT(a, ElementsAreArray(elements));
}

TEST(NumberMatrix, RefusesAnotherNumberOfElements) {
    const std::vector<double> elements(6);
    const auto error =
        caught<arr_cSizeException>([&] { arr_c2DNumberArray<double>(4, 2, elements); });
    EXPECT_EQ(error.Size(), 6);
    EXPECT_EQ(error.Expected(), 8);
    EXPECT_EQ(
        caught<arr_cSizeException>([&] { arr_c2DNumberArray<double>(-1, 2, elements); }).Size(),
        -1);
}

TEST(NumberMatrix, AccessIsCheckedByRowAndColumn) {
    arr_c2DNumberArray<double> a(2, 3);
    const arr_c2DNumberArray<double>& constant = a;
    struct Case {
        int row, column, index, size;
    };
    for (const Case& c : {Case{-1, 0, -1, 3}, Case{3, 0, 3, 3}, Case{0, -1, -1, 2},
                          Case{0, 2, 2, 2}, Case{1, -1, -1, 2}, Case{maxInt, maxInt, maxInt, 3}}) {
        const auto writing = caught<arr_cIndexException>([&] { a(c.row, c.column) = 1; });
        EXPECT_EQ(writing.Index(), c.index);
        EXPECT_EQ(writing.Size(), c.size);
        const auto reading = caught<arr_cIndexException>([&] { (void)constant(c.row, c.column); });
        EXPECT_EQ(reading.Index(), c.index);
        EXPECT_EQ(reading.Size(), c.size);
    }
    EXPECT_THROW(a[-1], arr_cIndexException);
    EXPECT_THROW(a[6], arr_cIndexException);
    EXPECT_THROW((void)constant[6], arr_cIndexException);
    EXPECT_THAT(a, ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(NumberMatrix, RefusesWhatItCannotCountBeforeItAllocates) {
    struct Case {
        int columns, rows;
        long long size;
    };
    for (const Case& c :
         {Case{-1, 5, -1}, Case{5, -2, -2}, Case{-1, -2, -1}, Case{65536, 32768, 2147483648LL},
          Case{65536, 65536, 4294967296LL}, Case{maxInt, maxInt, 4611686014132420609LL}}) {
        const long atStart = allocationCount();
        EXPECT_THROW(arr_SizeError(c.size), arr_cSizeException);
        const long forTheError = allocationCount() - atStart;
        EXPECT_EQ(caught<arr_cSizeException>([&] {
                      arr_c2DNumberArray<double>(c.columns, c.rows);
                  }).Size(),
                  c.size);
        EXPECT_EQ(allocationCount() - atStart, 2 * forTheError);
    }
}

TEST(NumberMatrix, WithoutColumnsKeepsItsRows) {
    const arr_c2DNumberArray<double> a(0, 5);
    EXPECT_EQ(a.Columns(), 0);
    EXPECT_EQ(a.Rows(), 5);
    EXPECT_EQ(a.Size(), 0);
    EXPECT_THROW((void)a(0, 0), arr_cIndexException);
}

TEST(NumberMatrix, CopiesAreIndependentAndMovesLeaveNothing) {
    arr_c2DNumberArray<double> a(2, 1);
    arr_c2DNumberArray<double> copy(a);
    copy(0, 1) = 7;
    EXPECT_EQ(a(0, 1), 0);
    a = copy;
    EXPECT_EQ(a(0, 1), 7);

    arr_c2DNumberArray<double> moved(std::move(a));
    EXPECT_EQ(moved.Columns(), 2);
    EXPECT_EQ(moved.Rows(), 1);
    EXPECT_EQ(moved(0, 1), 7);
    EXPECT_EQ(a.Columns(), 0);
    EXPECT_EQ(a.Rows(), 0);
    EXPECT_EQ(a.Size(), 0);
    a = std::move(moved);
    EXPECT_EQ(a(0, 1), 7);
    EXPECT_EQ(moved.Columns(), 0);
    EXPECT_EQ(moved.Rows(), 0);
    EXPECT_EQ(moved.Size(), 0);
    arr_c2DNumberArray<double>& same = a;
    a = std::move(same);
    EXPECT_EQ(a(0, 1), 7);
}

TEST(NumberMatrix, AssignmentWithoutMemoryKeepsTheMatrix) {
    arr_c2DNumberArray<double> a(2, 1);
    const arr_c2DNumberArray<double> b(3, 4);
    {
        const FailingNew none(0);
        EXPECT_THROW(a = b, std::bad_alloc);
    }
    EXPECT_EQ(a.Columns(), 2);
    EXPECT_EQ(a.Rows(), 1);
    EXPECT_EQ(a.Size(), 2);
}
