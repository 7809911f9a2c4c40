#include "dataprocessing/binary/bnry_comp.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/kernels/compare.h"
#include "tests/binary/compare_values.h"
#include "tests/failing_new.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"
#include "tests/support/refusal_expected.h"

namespace {

using namespace compare;
using namespace dataprocessing::detail;

constexpr bnry_eCompBinaryOperation comparisons[] = {
    bnry_Equal, bnry_NotEqual, bnry_Greater, bnry_GreaterEqual, bnry_Less, bnry_LessEqual};

/// What the operator of a comparison gives.
template<class A, class B>
auto byOperator(int comparison, const A& a, const B& b) -> decltype(a == b) {
    switch (comparison) {
    case 0:
        return a == b;
    case 1:
        return a != b;
    case 2:
        return a > b;
    case 3:
        return a >= b;
    case 4:
        return a < b;
    default:
        return a <= b;
    }
}

template<class A, class B, class Result>
constexpr bool allSixGive =
    std::is_same_v<decltype(std::declval<A>() == std::declval<B>()), Result>&&
        std::is_same_v<decltype(std::declval<A>() != std::declval<B>()), Result>&&
            std::is_same_v<decltype(std::declval<A>() > std::declval<B>()), Result>&&
                std::is_same_v<decltype(std::declval<A>() >= std::declval<B>()), Result>&&
                    std::is_same_v<decltype(std::declval<A>() < std::declval<B>()), Result>&&
                        std::is_same_v<decltype(std::declval<A>() <= std::declval<B>()), Result>;

// The seven shapes, and each number also as a plain C++ one: nothing is ambiguous, and no operator
// is found the other way round.
static_assert(allSixGive<pnum_cNumber, pnum_cNumber, type_cBoolean>);
static_assert(allSixGive<pnum_cNumber, double, type_cBoolean>);
static_assert(allSixGive<int, pnum_cNumber, type_cBoolean>);
static_assert(allSixGive<pnum_cNumber, darr_c1DArray, barr_c1DBoolArray>);
static_assert(allSixGive<double, darr_c1DArray, barr_c1DBoolArray>);
static_assert(allSixGive<pnum_cNumber, darr_c2DArray, barr_c2DBoolArray>);
static_assert(allSixGive<unsigned char, darr_c2DArray, barr_c2DBoolArray>);
static_assert(allSixGive<darr_c1DArray, pnum_cNumber, barr_c1DBoolArray>);
static_assert(allSixGive<darr_c1DArray, float, barr_c1DBoolArray>);
static_assert(allSixGive<darr_c1DArray, comp_cComplex<double>, barr_c1DBoolArray>);
static_assert(allSixGive<darr_c1DArray, darr_c1DArray, barr_c1DBoolArray>);
static_assert(allSixGive<darr_c1DArray&, const darr_c1DArray&, barr_c1DBoolArray>);
static_assert(allSixGive<darr_c2DArray, pnum_cNumber, barr_c2DBoolArray>);
static_assert(allSixGive<darr_c2DArray, short, barr_c2DBoolArray>);
static_assert(allSixGive<darr_c2DArray, darr_c2DArray, barr_c2DBoolArray>);

template<class A, class B>
concept Comparable = requires(const A& a, const B& b) {
    a == b;
};
static_assert(!Comparable<darr_c1DArray, darr_c2DArray>);
static_assert(!Comparable<darr_c1DArray, bool>);
static_assert(!Comparable<parr_c1DNumberArray, parr_c1DNumberArray>);
static_assert(!Comparable<barr_c1DBoolArray, barr_c1DBoolArray>);

// What other types mean by == is left alone.
template<class T>
constexpr bool equalityIsBool =
    std::is_same_v<decltype(std::declval<T>() == std::declval<T>()), bool>&&
        std::is_same_v<decltype(std::declval<T>() != std::declval<T>()), bool>;
static_assert(equalityIsBool<comp_cComplex<float>> && equalityIsBool<comp_cComplex<double>> &&
              equalityIsBool<dtyp_cDataType> && equalityIsBool<dtyp_eDataType> &&
              equalityIsBool<cal_c1DArrayCal> && equalityIsBool<cal_c2DArrayCal> &&
              equalityIsBool<rnge_c1DRange> && equalityIsBool<rnge_c2DRange> &&
              equalityIsBool<type_cBoolean> && equalityIsBool<double> && equalityIsBool<int>);
static_assert(std::is_same_v<decltype(comp_cComplex<double>() == 2.0), bool>);
static_assert(std::is_same_v<decltype(dtyp_cDataType(1) == dtyp_UInt8), bool>);

/// The first element for which a mask is not what the rules say, or "".
std::string difference(const Bytes& mask, int comparison, int code, const Elements& a,
                       const Elements& b) {
    const std::size_t count = std::max(a.size(), b.size());
    if (mask.size() != count)
        return std::to_string(mask.size()) + " elements";
    for (std::size_t i = 0; i < count; ++i)
        if (mask[i] !=
            (holds(comparison, code, a[a.size() == 1 ? 0 : i], b[b.size() == 1 ? 0 : i]) ? 1 : 0))
            return "element " + std::to_string(i);
    return "";
}

class EveryComparison : public testing::TestWithParam<int> {};

TEST_P(EveryComparison, OfTwoNumbersFollowsTheRules) {
    const int codeA = GetParam();
    for (const int codeB : typeCodes)
        for (const Element a : tellingElements(codeA))
            for (const Element b : tellingElements(codeB))
                for (const auto comparison : comparisons) {
                    const pnum_cNumber x = numberOf(codeA, a), y = numberOf(codeB, b);
                    const bool expected = holds(comparison, std::max(codeA, codeB), a, b);
                    ASSERT_EQ(byOperator(comparison, x, y), expected)
                        << comparison << " " << codeA << a << " " << codeB << b;
                    ASSERT_EQ(bnry_Operate(comparison, x, y), expected);
                }
}

TEST_P(EveryComparison, OfLinesFollowsTheRules) {
    const int codeA = GetParam();
    for (const int codeB : typeCodes)
        for (const int size : tellingSizes) {
            const int code = std::max(codeA, codeB);
            const Elements a = manyElements(codeA, size, 0), b = manyElements(codeB, size, 1);
            const darr_c1DArray lineA = lineOf(codeA, a), lineB = lineOf(codeB, b);
            const Element middleA = a[a.size() / 2], middleB = b[b.size() / 2];
            const pnum_cNumber x = numberOf(codeA, middleA), y = numberOf(codeB, middleB);
            for (const auto comparison : comparisons) {
                const std::string what = std::to_string(codeA) + " " + std::to_string(comparison) +
                                         " " + std::to_string(codeB) + " of " +
                                         std::to_string(size);
                ASSERT_EQ(difference(bytesOf(byOperator(comparison, lineA, lineB)), comparison,
                                     code, a, b),
                          "")
                    << what;
                ASSERT_EQ(difference(bytesOf(byOperator(comparison, x, lineB)), comparison, code,
                                     {middleA}, b),
                          "")
                    << what;
                ASSERT_EQ(difference(bytesOf(byOperator(comparison, lineA, y)), comparison, code, a,
                                     {middleB}),
                          "")
                    << what;
                if (size > 65)
                    continue;
                ASSERT_EQ(bytesOf(bnry_Operate(comparison, lineA, lineB)),
                          bytesOf(byOperator(comparison, lineA, lineB)));
                ASSERT_EQ(bytesOf(bnry_Operate(comparison, x, lineB)),
                          bytesOf(byOperator(comparison, x, lineB)));
                ASSERT_EQ(bytesOf(bnry_Operate(comparison, lineA, y)),
                          bytesOf(byOperator(comparison, lineA, y)));
            }
        }
}

TEST_P(EveryComparison, OfImagesFollowsTheRules) {
    const int codeA = GetParam();
    constexpr int shapes[][2] = {{1, 1}, {3, 2}, {1, 7}, {9, 7}, {64, 65}};
    for (const int codeB : typeCodes)
        for (const auto& [sizeX, sizeY] : shapes) {
            const int code = std::max(codeA, codeB), size = sizeX * sizeY;
            const Elements a = manyElements(codeA, size, 0), b = manyElements(codeB, size, 2);
            const darr_c2DArray imageA = imageOf(codeA, sizeX, sizeY, a);
            const darr_c2DArray imageB = imageOf(codeB, sizeX, sizeY, b);
            const pnum_cNumber x = numberOf(codeA, a.back()), y = numberOf(codeB, b.back());
            for (const auto comparison : comparisons) {
                const barr_c2DBoolArray mask = byOperator(comparison, imageA, imageB);
                ASSERT_EQ(mask.SizeX(), sizeX);
                ASSERT_EQ(mask.SizeY(), sizeY);
                ASSERT_EQ(difference(bytesOf(mask), comparison, code, a, b), "");
                ASSERT_EQ(difference(bytesOf(byOperator(comparison, x, imageB)), comparison, code,
                                     {a.back()}, b),
                          "");
                ASSERT_EQ(difference(bytesOf(byOperator(comparison, imageA, y)), comparison, code,
                                     a, {b.back()}),
                          "");
                ASSERT_EQ(bytesOf(bnry_Operate(comparison, imageA, imageB)), bytesOf(mask));
                ASSERT_EQ(bytesOf(bnry_Operate(comparison, x, imageB)),
                          bytesOf(byOperator(comparison, x, imageB)));
                ASSERT_EQ(bytesOf(bnry_Operate(comparison, imageA, y)),
                          bytesOf(byOperator(comparison, imageA, y)));
            }
        }
}

INSTANTIATE_TEST_SUITE_P(OfType, EveryComparison, testing::ValuesIn(typeCodes));

TEST(Comparison, MeetsInTheLargerCodeWithoutWidening) {
    // As uint32 against int8, 200 is clipped to 127; as shorts, 70000 would not be.
    EXPECT_TRUE(pnum_cNumber(200u) == pnum_cNumber(static_cast<signed char>(127)));
    EXPECT_TRUE(pnum_cNumber(static_cast<unsigned short>(40000)) ==
                pnum_cNumber(static_cast<short>(32767)));
    EXPECT_TRUE(pnum_cNumber(-1) == pnum_cNumber(-1));
    // 2^24 + 1 is no float, so an int meets a float as one.
    EXPECT_TRUE(pnum_cNumber(16777217) == pnum_cNumber(16777216.0F));
    EXPECT_FALSE(pnum_cNumber(16777217) == pnum_cNumber(16777216.0));
    EXPECT_FALSE(pnum_cNumber(4294967295u) == pnum_cNumber(4294967294u));
    // A double meets a single-precision complex value in single precision.
    EXPECT_TRUE(pnum_cNumber(0.1) == numberOf(9, {0.1F, 0}));
}

TEST(Comparison, OfAShortWithFloatsIsThatOfFloats) {
    const darr_c1DArray line = lineOf(7, {2.5, 3, 3.5, notANumber});
    EXPECT_EQ(bytesOf(pnum_cNumber(static_cast<short>(3)) < line), (Bytes{0, 0, 1, 0}));
    EXPECT_EQ(bytesOf(line == 3), (Bytes{0, 1, 0, 0}));
}

TEST(Comparison, OfUnsignedLinesIsUnsigned) {
    const darr_c1DArray a = lineOf(3, {4294967295.0, 2147483648.0, 0});
    const darr_c1DArray b = lineOf(3, {1, 2147483647.0, 4294967295.0});
    EXPECT_EQ(bytesOf(a > b), (Bytes{1, 1, 0}));
}

TEST(Comparison, OfEqualMagnitudesIsNeitherGreaterNorLess) {
    const comp_cComplex<double> a(3, 4), b(5, 0);
    for (const bool arrays : {false, true}) {
        const auto result = [&](int comparison) {
            if (!arrays)
                return Bytes{byOperator(comparison, pnum_cNumber(a), pnum_cNumber(b))};
            return bytesOf(byOperator(comparison, lineOf(9, {Element(3, 4)}), pnum_cNumber(b)));
        };
        EXPECT_EQ(result(bnry_Equal), Bytes{0});
        EXPECT_EQ(result(bnry_NotEqual), Bytes{1});
        EXPECT_EQ(result(bnry_Greater), Bytes{0});
        EXPECT_EQ(result(bnry_Less), Bytes{0});
        EXPECT_EQ(result(bnry_GreaterEqual), Bytes{1});
        EXPECT_EQ(result(bnry_LessEqual), Bytes{1});
    }
}

TEST(Comparison, OfComplexEqualityNeedsBothParts) {
    const darr_c1DArray line = lineOf(10, {Element(1, 2), Element(1, 3), Element(0, 2)});
    EXPECT_EQ(bytesOf(line == comp_cComplex<double>(1, 2)), (Bytes{1, 0, 0}));
    EXPECT_EQ(bytesOf(line != comp_cComplex<double>(1, 2)), (Bytes{0, 1, 1}));
    EXPECT_EQ(bytesOf(lineOf(9, {Element(-0.0, 0)}) == 0), Bytes{1});
}

TEST(Comparison, TakesMagnitudesInThePrecisionOfTheElements) {
    // Both magnitudes round to 3e38 in single precision; in double the second is greater.
    const Element a(3e38F, 0), b(3e38F, 1e33F);
    EXPECT_TRUE(numberOf(9, a) >= numberOf(9, b));
    EXPECT_FALSE(numberOf(10, a) >= numberOf(10, b));
}

TEST(Comparison, WithANaNHoldsOnlyAsDifferent) {
    const darr_c1DArray line = lineOf(8, {notANumber, 1, infinity});
    for (const auto comparison : comparisons) {
        const int expected = comparison == bnry_NotEqual;
        EXPECT_EQ(bytesOf(byOperator(comparison, line, pnum_cNumber(notANumber))),
                  Bytes(3, expected));
        EXPECT_EQ(bytesOf(byOperator(comparison, pnum_cNumber(notANumber), line)),
                  Bytes(3, expected));
        EXPECT_EQ(bytesOf(byOperator(comparison, line, line))[0], expected);
    }
    // It meets an integer as a NaN.
    EXPECT_FALSE(pnum_cNumber(notANumber) == pnum_cNumber(0));
    EXPECT_TRUE(pnum_cNumber(notANumber) != pnum_cNumber(0));
}

TEST(Comparison, OfEmptyLinesGivesTwoFalseElements) {
    const darr_c1DArray empty;
    const darr_c1DArray unknown(0, dtyp_cDataType(77), cal_c1DArrayCal());
    for (const auto comparison : comparisons) {
        EXPECT_EQ(bytesOf(byOperator(comparison, empty, empty)), (Bytes{0, 0}));
        EXPECT_EQ(bytesOf(byOperator(comparison, empty, pnum_cNumber(1))), (Bytes{0, 0}));
        EXPECT_EQ(bytesOf(byOperator(comparison, pnum_cNumber(1), empty)), (Bytes{0, 0}));
        EXPECT_EQ(bytesOf(byOperator(comparison, unknown, unknown)), (Bytes{0, 0}));
    }
    EXPECT_EQ(bytesOf(bnry_Operate(bnry_eCompBinaryOperation(9), empty, empty)), (Bytes{0, 0}));
    EXPECT_EQ((empty == empty).Cal(), cal_c1DArrayCal::Default);
}

TEST(Comparison, OfEmptyImagesGivesTwoByTwoFalseElements) {
    for (const auto& [sizeX, sizeY] : {std::pair(0, 0), std::pair(3, 0), std::pair(0, 3)}) {
        const darr_c2DArray empty(sizeX, sizeY, dtyp_Float, cal_c2DArrayCal());
        for (const auto comparison : comparisons)
            for (const barr_c2DBoolArray& mask : {byOperator(comparison, empty, empty),
                                                  byOperator(comparison, empty, pnum_cNumber(1)),
                                                  byOperator(comparison, pnum_cNumber(1), empty)}) {
                EXPECT_EQ(mask.SizeX(), 2);
                EXPECT_EQ(mask.SizeY(), 2);
                EXPECT_EQ(bytesOf(mask), Bytes(4, 0));
            }
    }
}

TEST(Comparison, OfAnEmptyWithAFilledLineComparesZeros) {
    const darr_c1DArray empty(0, dtyp_Float, cal_c1DArrayCal());
    EXPECT_EQ(bytesOf(empty == lineOf(7, {0, 1, 0})), (Bytes{1, 0, 1}));
    EXPECT_EQ(bytesOf(lineOf(7, {0, 1, -1}) > empty), (Bytes{0, 1, 0}));
}

TEST(Comparison, GivesMasksOnTheDefaultCalibration) {
    const darr_c1DArray line = lineOf(7, {1, 2}, {5, 0.25, 1});
    EXPECT_EQ((line > 1).Cal(), cal_c1DArrayCal::Default);
    EXPECT_EQ((1 > line).Cal(), cal_c1DArrayCal::Default);
    EXPECT_EQ((line > line).Cal(), cal_c1DArrayCal::Default);
    const darr_c2DArray image = imageOf(7, 2, 1, {1, 2}, {5, 0.25, -3, 2, 1, 0});
    EXPECT_EQ((image > 1).Cal(), cal_c2DArrayCal::Default);
    EXPECT_EQ((1 > image).Cal(), cal_c2DArrayCal::Default);
    EXPECT_EQ((image > image).Cal(), cal_c2DArrayCal::Default);
}

TEST(Comparison, ResamplesTheCoarserLine) {
    const darr_c1DArray fine = lineOf(8, {0, 0.5, 1, 1.5, 2, 3}, {0, 0.5, 0});
    const darr_c1DArray coarse = lineOf(5, {0, 2, 4}, {0, 1, 0});
    // The coarse one becomes 0 1 2 3 4 4.
    EXPECT_EQ(bytesOf(fine == coarse), (Bytes{1, 0, 0, 0, 0, 0}));
    EXPECT_EQ(bytesOf(fine < coarse), (Bytes{0, 1, 1, 1, 1, 1}));
    EXPECT_EQ(bytesOf(coarse > fine), (Bytes{0, 1, 1, 1, 1, 1}));
}

TEST(Comparison, ExtendsLinesWithZerosToTheirUnion) {
    const darr_c1DArray a = lineOf(6, {1, 2, 3}, {0, 1, 0});
    const darr_c1DArray b = lineOf(4, {2, 3, 4}, {1, 1, 0});
    EXPECT_EQ(bytesOf(a == b), (Bytes{0, 1, 1, 0}));
    EXPECT_EQ(bytesOf(a > b), (Bytes{1, 0, 0, 0}));
    const darr_c1DArray far = lineOf(4, {-1}, {6, 1, 0});
    EXPECT_EQ(bytesOf(a >= far), (Bytes{1, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(bytesOf(a <= far), (Bytes{0, 0, 0, 1, 1, 1, 0}));
}

TEST(Comparison, AlignsImagesAlongBothAxes) {
    const darr_c2DArray a = imageOf(7, 2, 2, {1, 2, 3, 4}, {0, 1, 0, 1, 0, 0});
    const darr_c2DArray b = imageOf(1, 2, 1, {4, 5}, {1, 1, 1, 1, 0, 0});
    const barr_c2DBoolArray mask = a == b;
    EXPECT_EQ(mask.SizeX(), 3);
    EXPECT_EQ(mask.SizeY(), 2);
    EXPECT_EQ(bytesOf(mask), (Bytes{0, 0, 1, 0, 1, 0}));
}

TEST(Comparison, OfLongMisalignedLinesIsThatOfAlignedOnes) {
    for (const int codeB : {1, 5, 7, 8, 10}) {
        const darr_c1DArray a = lineOf(7, manyElements(7, 5000, 0), {0, 1, 0});
        const darr_c1DArray b = lineOf(codeB, manyElements(codeB, 4500, 1), {0, 1, -1000});
        const Elements wholeA = elementsOf(a), wholeB = elementsOf(b);
        // B's first element lies at 1000, so the union has 5500 elements.
        Elements alignedA = wholeA, alignedB(1000, Element(0));
        alignedA.resize(5500);
        alignedB.insert(alignedB.end(), wholeB.begin(), wholeB.end());
        for (const auto comparison : comparisons)
            EXPECT_EQ(difference(bytesOf(byOperator(comparison, a, b)), comparison,
                                 std::max(7, codeB), alignedA, alignedB),
                      "")
                << codeB << " " << comparison;
    }
}

TEST(Comparison, RefusesImagesEachFinerAlongOneAxis) {
    const darr_c2DArray a = imageOf(7, 2, 2, {1, 2, 3, 4}, {0, 1, 0, 2, 0, 0});
    const darr_c2DArray b = imageOf(7, 2, 2, {1, 2, 3, 4}, {0, 2, 0, 1, 0, 0});
    EXPECT_EQ(refusalOf([&] { return a == b; }), sizeRefusal);
}

TEST(Comparison, RefusesLinesWithoutADeltaThatDifferInSize) {
    const darr_c1DArray one = lineOf(7, {1}, {0, 0, 0}), two = lineOf(7, {1, 2}, {0, 0, 0});
    EXPECT_EQ(refusalOf([&] { return one == two; }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { return two == one; }), indexRefusal);
    const darr_c1DArray none(0, dtyp_Float, {0, 0, 0});
    EXPECT_EQ(refusalOf([&] { return one == none; }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { return none == one; }), indexRefusal);
}

TEST(Comparison, OfNothingOnAnAxisThatRunsDownwardTakesZeros) {
    const darr_c1DArray none(0, dtyp_Float, {0, -1, 0});
    const darr_c1DArray backwards = lineOf(7, {1, 0}, {0, -1, 0});
    EXPECT_EQ((none == backwards).Size(), 2);
    EXPECT_TRUE((none == backwards).Element(1));
    const darr_c2DArray nothing(0, 2, dtyp_Float, {0, -1, 0, 1, 0, 0});
    const darr_c2DArray image = imageOf(7, 2, 2, {1, 2, 3, 4}, {0, -1, 0, 1, 0, 0});
    EXPECT_EQ((nothing == image).Count(), 4);
}

TEST(Comparison, PassesOnWhatResamplingRefuses) {
    const darr_c1DArray a = lineOf(7, {1, 2}), b = lineOf(7, {1, 2}, {0, -1, 0});
    EXPECT_EQ(refusalOf([&] { return a == b; }), "resc:1");
}

TEST(Comparison, RefusesUnknownTypes) {
    const pnum_cNumber known(1), unknown{dtyp_cDataType(11)}, zero{dtyp_cDataType(0)};
    const darr_c1DArray line(3, dtyp_cDataType(11), cal_c1DArrayCal());
    const darr_c1DArray shifted(3, dtyp_cDataType(11), cal_c1DArrayCal(1, 0.5, 0));
    const darr_c2DArray image(3, 1, dtyp_cDataType(11), cal_c2DArrayCal());
    for (const auto comparison : comparisons) {
        const auto refusal = [&](const auto& a, const auto& b) {
            return refusalOf([&] { byOperator(comparison, a, b); });
        };
        EXPECT_EQ(refusal(unknown, unknown), "binary2:138");
        EXPECT_EQ(refusal(unknown, line), "binary2:138");
        EXPECT_EQ(refusal(line, unknown), "binary2:138");
        EXPECT_EQ(refusal(line, line), "binary2:138");
        EXPECT_EQ(refusal(line, shifted), "binary2:138");
        EXPECT_EQ(refusal(image, image), "binary2:138");
        EXPECT_EQ(refusal(image, unknown), "binary2:138");
        EXPECT_EQ(refusal(unknown, image), "binary2:138");
        EXPECT_EQ(refusal(known, unknown), "conv:1");
        EXPECT_EQ(refusal(unknown, known), "conv:1");
        EXPECT_EQ(refusal(zero, zero), "conv:1");
        EXPECT_EQ(refusal(line, lineOf(1, {1, 2, 3})), "conv:1");
    }
}

TEST(Comparison, OfAnUnknownTypeSaysWhatIsRefused) {
    const pnum_cNumber unknown{dtyp_cDataType(11)};
    const auto refusal =
        caught<expt_cProgramException>([&] { static_cast<void>(unknown == unknown); });
    EXPECT_STREQ(refusal.what(), "binary2:138: Elements of an unknown type are not compared.");
}

TEST(Comparison, RefusesAnUnknownComparison) {
    const darr_c1DArray line = lineOf(7, {1, 2});
    const darr_c2DArray image = imageOf(7, 2, 1, {1, 2});
    for (const int code : {-1, 6, 100}) {
        const auto unknown = static_cast<bnry_eCompBinaryOperation>(code);
        EXPECT_EQ(refusalOf([&] { bnry_Operate(unknown, pnum_cNumber(1), pnum_cNumber(1)); }),
                  "binary2:1");
        EXPECT_EQ(refusalOf([&] { bnry_Operate(unknown, line, pnum_cNumber(1)); }), "binary2:1");
        EXPECT_EQ(refusalOf([&] { bnry_Operate(unknown, pnum_cNumber(1), line); }), "binary2:1");
        EXPECT_EQ(refusalOf([&] { bnry_Operate(unknown, line, line); }), "binary2:1");
        EXPECT_EQ(refusalOf([&] { bnry_Operate(unknown, image, image); }), "binary2:1");
    }
}

TEST(Comparison, AllocatesNothingButItsMask) {
    const darr_c1DArray fine = lineOf(1, manyElements(1, 20000, 0), {0, 0.5, 0});
    const darr_c1DArray coarse = lineOf(8, manyElements(8, 9000, 1), {3, 1, 0});
    const auto allocationsOf = [](const auto& call) {
        const long before = allocationCount();
        call();
        return allocationCount() - before;
    };
    EXPECT_EQ(allocationsOf([&] { return fine > coarse; }), 1);
    EXPECT_EQ(allocationsOf([&] { return fine > 2.0; }), 1);
    EXPECT_EQ(allocationsOf([&] { return 2.0 > fine; }), 1);
    EXPECT_EQ(allocationsOf([&] { return pnum_cNumber(1) > pnum_cNumber(2.0); }), 0);
}

TEST(Comparison, WithoutMemoryThrowsAndLeavesItsOperands) {
    const darr_c1DArray a = lineOf(7, {1, 2, 3}), b = lineOf(8, {3, 2, 1});
    const darr_c2DArray image = imageOf(7, 2, 1, {1, 2});
    const darr_c1DArray empty;
    const auto runsOut = [](const auto& call) {
        const FailingNew noMemory(0);
        try {
            call();
        } catch (const std::bad_alloc&) {
            return true;
        }
        return false;
    };
    EXPECT_TRUE(runsOut([&] { return a > b; }));
    EXPECT_TRUE(runsOut([&] { return a > 1; }));
    EXPECT_TRUE(runsOut([&] { return 1 > a; }));
    EXPECT_TRUE(runsOut([&] { return image > 1; }));
    EXPECT_TRUE(runsOut([&] { return empty > empty; }));
    EXPECT_FALSE(runsOut([&] { return pnum_cNumber(1) > pnum_cNumber(2); }));
    EXPECT_TRUE(isSame(elementsOf(a), {1, 2, 3}));
    EXPECT_TRUE(isSame(elementsOf(b), {3, 2, 1}));
}

TEST(ComparisonLoop, GivesTheSameOnEveryLevelAndStaysInItsResult) {
    constexpr int untouched = 0xA5;
    for (const int code : typeCodes)
        for (const int size : {1, 2, 15, 16, 17, 31, 33, 63, 64, 65, 511, 512, 513, 1025}) {
            const Elements a = manyElements(code, size, 0), b = manyElements(code, size, 3);
            const darr_c1DArray lineA = lineOf(code, a), lineB = lineOf(code, b);
            for (const auto comparison : comparisons)
                for (const form_eOperands form : {form_NumberFirst, form_Arrays, form_NumberSecond})
                    for (const level_eSet level : levels()) {
                        const LevelInUse inUse(level);
                        Bytes expected{untouched};
                        for (std::size_t i = 0; i < a.size(); ++i)
                            expected.push_back(holds(comparison, code,
                                                     a[form != form_NumberFirst ? i : 0],
                                                     b[form != form_NumberSecond ? i : 0]));
                        expected.push_back(untouched);
                        std::vector<unsigned char> bytes(a.size() + 2, untouched);
                        compare_LoopFor(dtyp_cDataType(code), comparison,
                                        form)(lineA.Data(), lineB.Data(), &bytes[1], a.size());
                        ASSERT_EQ(Bytes(bytes.begin(), bytes.end()), expected)
                            << code << " " << comparison << " " << form << " " << size;
                    }
        }
}

TEST(Comparison, LiesWhereTheDataDoWhenItIsAskedTo) {
    const cal_c1DArrayCal cal(2, 0.5, 1), other(2.25, 0.25, 3);
    const cal_c2DArrayCal cal2D(2, 0.5, -1, 0.25, 1, 3);
    const darr_c1DArray a = lineOf(8, {1, 2, 3}, cal), b = lineOf(8, {3, 2, 1, 0, 5}, other);
    const darr_c2DArray image = imageOf(8, 2, 1, {1, 2}, cal2D);
    const darr_c2DArray coarse = imageOf(8, 1, 1, {3}, {2, 1, -1, 0.5, 1, 3});
    for (const auto comparison : comparisons) {
        const auto check = [&](const auto& x, const auto& y, const auto& expected) {
            const auto mask = bnry_Operate(comparison, x, y, bnry_DataCal);
            EXPECT_EQ(mask.Cal(), expected);
            EXPECT_EQ(bytesOf(mask), bytesOf(bnry_Operate(comparison, x, y)));
            EXPECT_EQ(bnry_Operate(comparison, x, y, bnry_DefaultCal).Cal(),
                      std::decay_t<decltype(mask.Cal())>());
        };
        check(a, pnum_cNumber(2.0), cal);
        check(pnum_cNumber(2.0), a, cal);
        check(image, pnum_cNumber(2.0), cal2D);
        check(pnum_cNumber(2.0), image, cal2D);
        check(a, a, cal);
        check(a, b, (a + b).Cal());
        check(b, a, (b + a).Cal());
        check(image, coarse, (image + coarse).Cal());
        check(coarse, image, (coarse + image).Cal());
    }
    EXPECT_NE((a + b).Cal(), cal);
    const darr_c1DArray nothing(0, dtyp_Double, cal);
    EXPECT_EQ(bnry_Operate(bnry_Less, 1, nothing, bnry_DataCal).Cal(), cal);
    EXPECT_EQ(bnry_Operate(bnry_Less, nothing, darr_c1DArray(), bnry_DataCal).Cal(), cal);
    EXPECT_EQ(refusalOf([&] { bnry_Operate(bnry_Less, a, 1, static_cast<bnry_eMaskCal>(2)); }),
              "binary2:2");
}

} // namespace
