#include "dataprocessing/binary/binary1_compute.h"

#include <limits>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/kernels/arit.h"
#include "tests/support/levels.h"

using namespace dataprocessing::detail;

namespace {

template<class T>
struct Operand {
    std::vector<T> elements;
    bool isArray;
    pnum_cNumber number{elements.front()};

    blocks_cSource Source() const {
        return isArray ? blocks_cSource(elements.data(), dtyp_Of<T>()) : blocks_cSource(number);
    }
};
template<class T>
Operand<T> array(std::vector<T> elements) {
    return {std::move(elements), true};
}
template<class T>
Operand<T> number(T value) {
    return {{value}, false};
}

template<class T>
std::vector<T> computed(int operation, const Operand<T>& a, const Operand<T>& b) {
    std::vector<T> result(a.isArray ? a.elements.size() : b.elements.size());
    EXPECT_TRUE(bnry_Compute(operation, dtyp_Of<T>(), a.Source(), b.Source(), result.data(),
                             result.size()));
    return result;
}

template<class T>
std::vector<T> fiveMinus(std::vector<T> elements) {
    return computed<T>(arit_Subtract, number<T>(5), array<T>(std::move(elements)));
}

} // namespace

// The subtraction shows how an element was computed: in chunks the array's element comes first.
TEST(WholeChunks, OfSixteenBitIntegersAreOfFour) {
    EXPECT_EQ(fiveMinus<short>({1, 2, 3}), (std::vector<short>{4, 3, 2}));
    EXPECT_EQ(fiveMinus<short>({1, 2, 3, 4}), (std::vector<short>{-4, -3, -2, -1}));
    EXPECT_EQ(fiveMinus<short>({1, 2, 3, 4, 1}), (std::vector<short>{-4, -3, -2, -1, 4}));
    EXPECT_EQ(fiveMinus<short>({1, 2, 3, 4, 5, 6}), (std::vector<short>{-4, -3, -2, -1, 0, -1}));
}

TEST(WholeChunks, OfThirtyTwoBitTypesAreOfTwo) {
    EXPECT_EQ(fiveMinus<int>({1}), (std::vector<int>{4}));
    EXPECT_EQ(fiveMinus<int>({1, 2, 3}), (std::vector<int>{-4, -3, 2}));
    EXPECT_EQ(fiveMinus<float>({1}), (std::vector<float>{4}));
    EXPECT_EQ(fiveMinus<float>({1, 2, 3}), (std::vector<float>{-4, -3, 2}));
}

TEST(WholeChunks, AreThoseOfTheResultsType) {
    const std::vector<signed char> a = {1, 2, 3, 4, 1};
    const pnum_cNumber five(short{5});
    std::vector<short> result(a.size());
    EXPECT_TRUE(bnry_Compute(arit_Subtract, dtyp_Int16, blocks_cSource(five),
                             blocks_cSource(a.data(), dtyp_Int8, dtyp_Int16), result.data(),
                             result.size()));
    EXPECT_EQ(result, (std::vector<short>{-4, -3, -2, -1, 4}));
}

TEST(WholeChunks, OfOtherTypesAndOperationsThereAreNone) {
    EXPECT_EQ(fiveMinus<double>({1, 2, 3, 4}), (std::vector<double>{4, 3, 2, 1}));
    EXPECT_EQ(fiveMinus<unsigned>({1, 2, 3, 4}), (std::vector<unsigned>{4, 3, 2, 1}));
    EXPECT_EQ(computed<float>(arit_Divide, number(6.0F), array<float>({1, 2, 3})),
              (std::vector<float>{6, 3, 2}));
    EXPECT_EQ(computed<float>(arit_Power, number(2.0F), array<float>({1, 2, 3})),
              (std::vector<float>{2, 4, 8}));
    EXPECT_EQ(
        computed<short>(arit_Subtract, array<short>({5, 5, 5, 5}), array<short>({1, 2, 3, 4})),
        (std::vector<short>{4, 3, 2, 1}));
}

TEST(WholeChunks, TakeTheNumberThroughSinglePrecision) {
    const auto zeros = array<int>({0, 0, 0});
    EXPECT_EQ(computed(arit_Add, zeros, number(16777217)),
              (std::vector<int>{16777216, 16777216, 16777217}));
    EXPECT_EQ(computed(arit_Add, number(-16777219), zeros),
              (std::vector<int>{-16777220, -16777220, -16777219}));
    EXPECT_EQ(computed(arit_Subtract, zeros, number(16777217)),
              (std::vector<int>{-16777216, -16777216, -16777217}));
    EXPECT_EQ(computed(arit_Multiply, array<int>({3, 3, 3}), number(16777217)),
              (std::vector<int>{50331648, 50331648, 50331651}));
}

// 2^31 - 1 and the numbers near it are 2^31 in single precision, which no int32 holds.
TEST(WholeChunks, ClipANumberThatSinglePrecisionTakesBeyondTheIntegers) {
    const int top = std::numeric_limits<int>::max();
    const int bottom = std::numeric_limits<int>::min();
    const auto zeros = array<int>({0, 0, 0});
    EXPECT_EQ(computed(arit_Add, zeros, number(top)), (std::vector<int>{top, top, top}));
    EXPECT_EQ(computed(arit_Add, number(top - 63), zeros), (std::vector<int>{top, top, top - 63}));
    EXPECT_EQ(computed(arit_Add, zeros, number(top - 64)),
              (std::vector<int>{top - 127, top - 127, top - 64}));
    EXPECT_EQ(computed(arit_Add, zeros, number(bottom)),
              (std::vector<int>{bottom, bottom, bottom}));
}

TEST(Compute, WritesNothingForNoElementOrAnUnknownType) {
    int result = 42;
    const blocks_cSource none(nullptr, dtyp_Int32);
    EXPECT_TRUE(bnry_Compute(arit_Add, dtyp_Int32, none, none, &result, 0));
    const pnum_cNumber unknown{dtyp_cDataType(11)};
    EXPECT_TRUE(bnry_Compute(arit_Add, unknown.DataType(), blocks_cSource(unknown),
                             blocks_cSource(unknown), &result, 1));
    EXPECT_EQ(result, 42);
}

TEST(Compute, FetchesWhatIsSelectedAndCountsChunksFromItsStart) {
    // 5000 elements seen from 3000 before to 2001 behind, the missing ones zero.
    std::vector<short> elements(5000);
    for (std::size_t i = 0; i < elements.size(); ++i)
        elements[i] = static_cast<short>(i * 7919 % 20011);
    const auto seen = [&](std::size_t i) {
        return i < 3000 || i >= 8000 ? 0 : int{elements[i - 3000]};
    };
    view_cAxis axis(5000, cal_cArrayCal());
    axis.Select(-3000, 7001);
    const std::size_t count = 10001;
    const view_cView view(elements.data(), dtyp_Int16, dtyp_Int32, axis,
                          view_cAxis(1, cal_cArrayCal()));
    ASSERT_EQ(view.Stored(), nullptr);
    const pnum_cNumber seven(7);
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        std::vector<int> difference(count), square(count);
        EXPECT_TRUE(bnry_Compute(arit_Subtract, dtyp_Int32, blocks_cSource(seven),
                                 blocks_cSource(view), difference.data(), count));
        EXPECT_TRUE(bnry_Compute(arit_Multiply, dtyp_Int32, blocks_cSource(view),
                                 blocks_cSource(view), square.data(), count));
        for (std::size_t i = 0; i < count; ++i) {
            ASSERT_EQ(difference[i], i + 1 < count ? seen(i) - 7 : 7 - seen(i)) << i;
            ASSERT_EQ(square[i], seen(i) * seen(i)) << i;
        }
    }
}

TEST(Compute, OfResultsThatPassTheCachesIsComplete) {
    const std::size_t count = (std::size_t{48} << 20) / sizeof(int) + 5;
    std::vector<unsigned short> a(count), b(count);
    for (std::size_t i = 0; i < count; ++i) {
        a[i] = static_cast<unsigned short>(i * 7919);
        b[i] = static_cast<unsigned short>(i >> 3);
    }
    const blocks_cSource sourceA(a.data(), dtyp_UInt16, dtyp_Int32);
    const blocks_cSource sourceB(b.data(), dtyp_UInt16, dtyp_Int32);
    std::vector<int> result(count + 1, 42);
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        EXPECT_TRUE(
            bnry_Compute(arit_Subtract, dtyp_Int32, sourceA, sourceB, result.data(), count));
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < count; ++i)
            wrong += result[i] != a[i] - b[i];
        EXPECT_EQ(wrong, 0u) << level_Name(level);
        EXPECT_EQ(result[count], 42);
    }
    // A number minus the array: turned round as far as whole chunks reach, to the last but one.
    const pnum_cNumber three(3);
    EXPECT_TRUE(bnry_Compute(arit_Subtract, dtyp_Int32, blocks_cSource(three), sourceA,
                             result.data(), count));
    EXPECT_EQ(result[0], a[0] - 3);
    EXPECT_EQ(result[count - 2], a[count - 2] - 3);
    EXPECT_EQ(result[count - 1], 3 - a[count - 1]);
}

TEST(Compute, StopsAtAZeroThatASelectionAdds) {
    const std::vector<float> ones(10, 1.0F);
    view_cAxis axis(10, cal_cArrayCal());
    axis.Select(2, 11);
    const view_cView view(ones.data(), dtyp_Float, dtyp_Float, axis,
                          view_cAxis(1, cal_cArrayCal()));
    std::vector<float> result(9);
    EXPECT_FALSE(bnry_Compute(arit_DivideTesting, dtyp_Float, blocks_cSource(view),
                              blocks_cSource(view), result.data(), 9));
    EXPECT_TRUE(bnry_Compute(arit_Divide, dtyp_Float, blocks_cSource(view), blocks_cSource(view),
                             result.data(), 9));
}
