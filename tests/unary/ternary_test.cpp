#include "dataprocessing/unary/ternary.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "dataprocessing/binary/bnry_bool.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/kernels/choose.h"
#include "dataprocessing/kernels/compare.h"
#include "dataprocessing/kernels/extreme.h"
#include "dataprocessing/valuemodel/resc.h"
#include "tests/binary/compare_values.h"
#include "tests/failing_new.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"
#include "tests/support/refusal_expected.h"

namespace {

using namespace compare;
using namespace dataprocessing::detail;

const cal_c1DArrayCal lineCal(2, 0.5, 1);
const cal_c2DArrayCal imageCal(2, 0.5, -1, 0.25, 1, 3);

/// A condition that has every byte in it somewhere, mostly 0 and 1.
Bytes manyBytes(int count) {
    std::mt19937 random(11);
    Bytes bytes;
    for (int i = 0; i < count; ++i)
        bytes.push_back(i % 7 == 6 ? i % 256 : static_cast<int>(random() % 2));
    return bytes;
}

/// The elements that the rules select, in the type with this code. One element stands for many.
Elements selected(const Bytes& condition, int code, const Elements& first, const Elements& second) {
    Elements elements;
    for (std::size_t i = 0; i < condition.size(); ++i)
        elements.push_back(converted(code, condition[i] != 0 ? first[first.size() == 1 ? 0 : i]
                                                             : second[second.size() == 1 ? 0 : i]));
    return elements;
}

class EverySelection : public testing::TestWithParam<int> {};

TEST_P(EverySelection, FromTwoNumbersTakesOne) {
    const int codeA = GetParam();
    for (const int codeB : typeCodes)
        for (const Element a : tellingElements(codeA))
            for (const bool condition : {false, true}) {
                const Element b = tellingElements(codeB)[3];
                const pnum_cNumber result =
                    tnry_Ternary(condition, numberOf(codeA, a), numberOf(codeB, b));
                const int code = std::max(codeA, codeB);
                ASSERT_EQ(result.DataType().Code(), code);
                ASSERT_TRUE(isSame(elementsOf(result), {converted(code, condition ? a : b)}));
            }
}

TEST_P(EverySelection, FromLinesFollowsTheCondition) {
    const int codeA = GetParam();
    for (const int codeB : typeCodes)
        for (const int size : tellingSizes) {
            const int code = std::max(codeA, codeB);
            const Elements a = manyElements(codeA, size, 0), b = manyElements(codeB, size, 1);
            const Bytes bytes = manyBytes(size);
            const barr_c1DBoolArray condition = maskOf(bytes, lineCal);
            const darr_c1DArray lineA = lineOf(codeA, a, lineCal),
                                lineB = lineOf(codeB, b, lineCal);
            const pnum_cNumber x = numberOf(codeA, a.back()), y = numberOf(codeB, b.back());
            const auto isRight = [&](const darr_c1DArray& result, const Elements& first,
                                     const Elements& second) {
                return result.DataType().Code() == code && result.Cal() == lineCal &&
                       isSame(elementsOf(result), selected(bytes, code, first, second));
            };
            ASSERT_TRUE(isRight(tnry_Ternary(condition, lineA, lineB), a, b))
                << codeB << " " << size;
            ASSERT_TRUE(isRight(tnry_Ternary(condition, x, lineB), {a.back()}, b)) << codeB;
            ASSERT_TRUE(isRight(tnry_Ternary(condition, lineA, y), a, {b.back()})) << codeB;
            ASSERT_TRUE(isRight(tnry_Ternary(condition, x, y), {a.back()}, {b.back()})) << codeB;
        }
}

TEST_P(EverySelection, FromImagesFollowsTheCondition) {
    const int codeA = GetParam();
    constexpr int shapes[][2] = {{1, 1}, {3, 2}, {9, 7}, {64, 65}};
    for (const int codeB : typeCodes)
        for (const auto& [sizeX, sizeY] : shapes) {
            const int code = std::max(codeA, codeB), size = sizeX * sizeY, width = sizeX;
            const Elements a = manyElements(codeA, size, 0), b = manyElements(codeB, size, 1);
            const Bytes bytes = manyBytes(size);
            const barr_c2DBoolArray condition = maskOf(sizeX, sizeY, bytes, imageCal);
            const darr_c2DArray imageA = imageOf(codeA, sizeX, sizeY, a, imageCal);
            const darr_c2DArray imageB = imageOf(codeB, sizeX, sizeY, b, imageCal);
            const pnum_cNumber x = numberOf(codeA, a.back()), y = numberOf(codeB, b.back());
            const auto isRight = [&](const darr_c2DArray& result, const Elements& first,
                                     const Elements& second) {
                return result.DataType().Code() == code && result.Cal() == imageCal &&
                       result.SizeX() == width &&
                       isSame(elementsOf(result), selected(bytes, code, first, second));
            };
            ASSERT_TRUE(isRight(tnry_Ternary(condition, imageA, imageB), a, b)) << codeB;
            ASSERT_TRUE(isRight(tnry_Ternary(condition, x, imageB), {a.back()}, b)) << codeB;
            ASSERT_TRUE(isRight(tnry_Ternary(condition, imageA, y), a, {b.back()})) << codeB;
            ASSERT_TRUE(isRight(tnry_Ternary(condition, x, y), {a.back()}, {b.back()})) << codeB;
        }
}

/// What comparison 2 (greater) or 4 (less) selects.
Elements extremes(int comparison, int code, const Elements& a, const Elements& b) {
    Elements elements;
    for (std::size_t i = 0; i < std::max(a.size(), b.size()); ++i) {
        const Element x = a[a.size() == 1 ? 0 : i], y = b[b.size() == 1 ? 0 : i];
        elements.push_back(converted(code, holds(comparison, code, x, y) ? x : y));
    }
    return elements;
}

TEST_P(EverySelection, OfMinimumAndMaximumComparesFirst) {
    const int codeA = GetParam();
    for (const int codeB : typeCodes)
        for (const int size : tellingSizes) {
            const int code = std::max(codeA, codeB);
            const Elements a = manyElements(codeA, size, 0), b = manyElements(codeB, size, 1);
            const Elements oneA{a.back()}, oneB{b.back()};
            const darr_c1DArray lineA = lineOf(codeA, a, lineCal),
                                lineB = lineOf(codeB, b, lineCal);
            const darr_c2DArray imageA = imageOf(codeA, size, 1, a, imageCal);
            const darr_c2DArray imageB = imageOf(codeB, size, 1, b, imageCal);
            const pnum_cNumber x = numberOf(codeA, a.back()), y = numberOf(codeB, b.back());
            const auto isRight = [&](const auto& result, const Elements& expected) {
                return result.DataType().Code() == code && isSame(elementsOf(result), expected);
            };
            ASSERT_TRUE(isRight(trny_min(x, y), extremes(4, code, oneA, oneB))) << codeB;
            ASSERT_TRUE(isRight(trny_max(x, y), extremes(2, code, oneA, oneB))) << codeB;
            ASSERT_TRUE(isRight(trny_min(lineA, lineB), extremes(4, code, a, b))) << codeB;
            ASSERT_TRUE(isRight(trny_max(lineA, lineB), extremes(2, code, a, b))) << codeB;
            ASSERT_TRUE(isRight(trny_min(x, lineB), extremes(4, code, oneA, b))) << codeB;
            ASSERT_TRUE(isRight(trny_max(x, lineB), extremes(2, code, oneA, b))) << codeB;
            ASSERT_TRUE(isRight(trny_min(lineA, y), extremes(4, code, a, oneB))) << codeB;
            ASSERT_TRUE(isRight(trny_max(lineA, y), extremes(2, code, a, oneB))) << codeB;
            if (size > 65)
                continue;
            ASSERT_TRUE(isRight(trny_min(imageA, imageB), extremes(4, code, a, b))) << codeB;
            ASSERT_TRUE(isRight(trny_max(imageA, imageB), extremes(2, code, a, b))) << codeB;
            ASSERT_TRUE(isRight(trny_min(x, imageB), extremes(4, code, oneA, b))) << codeB;
            ASSERT_TRUE(isRight(trny_max(x, imageB), extremes(2, code, oneA, b))) << codeB;
            ASSERT_TRUE(isRight(trny_min(imageA, y), extremes(4, code, a, oneB))) << codeB;
            ASSERT_TRUE(isRight(trny_max(imageA, y), extremes(2, code, a, oneB))) << codeB;
        }
}

INSTANTIATE_TEST_SUITE_P(OfType, EverySelection, testing::ValuesIn(typeCodes));

TEST(Selection, OfANumberAndALineTakesTheirCommonType) {
    const darr_c1DArray line = lineOf(5, {1, 2, 3});
    const darr_c1DArray result = tnry_Ternary(maskOf({1, 0, 1}), 7, line);
    EXPECT_EQ(result.DataType(), dtyp_Int32);
    EXPECT_TRUE(isSame(elementsOf(result), {7, 2, 7}));
}

TEST(Selection, OfASingleAndDoublesIsDouble) {
    const darr_c1DArray result = tnry_Ternary(maskOf({1, 0}), 0.1F, lineOf(8, {0.2, 0.3}));
    EXPECT_EQ(result.DataType(), dtyp_Double);
    EXPECT_TRUE(isSame(elementsOf(result), {static_cast<double>(0.1F), 0.3}));
}

TEST(Selection, MovesBitsUnchanged) {
    const std::uint32_t bits[] = {0x7FC00001u, 0xFFC12345u, 0x7F800001u, 0x80000000u, 0x00000001u};
    darr_c1DArray line(5, dtyp_Float, cal_c1DArrayCal());
    std::memcpy(line.Data(), bits, sizeof bits);
    const darr_c1DArray zeros(5, 0.0F, cal_c1DArrayCal());
    for (const darr_c1DArray& result :
         {tnry_Ternary(maskOf(Bytes(5, 1)), line, zeros),
          tnry_Ternary(maskOf(Bytes(5, 0)), zeros, line),
          tnry_Ternary(maskOf(Bytes(5, 1)), line, 0.0F), trny_max(zeros, line)})
        EXPECT_EQ(std::memcmp(result.Data(), bits, 3 * sizeof bits[0]), 0);
}

TEST(Selection, MatchesALineToTheCondition) {
    const darr_c1DArray coarse = lineOf(7, {0, 2, 4}, {0, 1, 0});
    // Resampled to 0 1 2 3 4 4, of which four elements from 1 on are wanted.
    const barr_c1DBoolArray condition = maskOf({1, 0, 1, 0}, {0.5, 0.5, 0});
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(condition, coarse, -1)), {1, -1, 3, -1}));
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(condition, -1, coarse)), {-1, 2, -1, 4}));
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(condition, coarse, coarse)), {1, 2, 3, 4}));
    EXPECT_EQ(condition.Cal(), cal_c1DArrayCal(0.5, 0.5, 0));
}

TEST(Selection, TakesZerosOutsideALine) {
    const darr_c1DArray line = lineOf(1, {5, 6}, {1, 1, 0});
    const barr_c1DBoolArray condition = maskOf({1, 1, 1, 1}, {0, 1, 0});
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(condition, line, 9.0F)), {0, 5, 6, 0}));
    const darr_c1DArray empty(0, dtyp_UInt8, cal_c1DArrayCal());
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(maskOf({1, 0}), empty, 9)), {0, 9}));
}

TEST(Selection, TakesTheElementsNearestToTheCondition) {
    const darr_c1DArray line = lineOf(7, {1, 2, 3}, {0, 1, 0});
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(maskOf({1, 1}, {0.4, 1, 0}), line, 9)), {1, 2}));
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(maskOf({1, 1}, {0.6, 1, 0}), line, 9)), {2, 3}));
    const barr_c1DBoolArray shifted = maskOf({1, 1}, {-0.4, 1, 0});
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(shifted, line, line)), {1, 2}));
}

TEST(Selection, MatchesAnImageAlongEachAxis) {
    const darr_c2DArray image = imageOf(5, 2, 2, {1, 2, 3, 4}, {0, 1, 0, 1, 0, 0});
    const barr_c2DBoolArray alongY = maskOf(2, 1, {1, 1}, {0, 1, 1, 1, 0, 0});
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(alongY, image, static_cast<short>(0))), {3, 4}));
    const barr_c2DBoolArray alongX = maskOf(1, 2, {1, 1}, {1, 1, 0, 1, 0, 0});
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(alongX, image, static_cast<short>(0))), {2, 4}));
    const barr_c2DBoolArray finerX = maskOf(4, 2, Bytes(8, 1), {0, 0.5, 0, 1, 0, 0});
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(finerX, image, 0.0)), {1, 1.5, 2, 2, 3, 3.5, 4, 4}));
    const barr_c2DBoolArray finerY = maskOf(2, 4, Bytes(8, 1), {0, 1, 0, 0.5, 0, 0});
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(finerY, image, 0.0)), {1, 2, 2, 3, 3, 4, 3, 4}));
}

TEST(Selection, OfLongLinesThatMustBeFetchedIsThatOfWhatIsFetched) {
    const int size = 9001;
    const Elements elements = manyElements(6, 4600, 1);
    const darr_c1DArray coarse = lineOf(6, elements, {0, 1, 0});
    const barr_c1DBoolArray condition = maskOf(manyBytes(size), {0, 0.5, 0});
    const darr_c1DArray fine = resc_Rescale(conv_Convert(coarse, dtyp_Double), 0.5);
    const Elements all = elementsOf(fine);
    const Elements cut(all.begin(), all.begin() + size);
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(condition, coarse, 0.25)),
                       selected(manyBytes(size), 8, cut, {0.25})));
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(condition, 0.25, coarse)),
                       selected(manyBytes(size), 8, {0.25}, cut)));
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(condition, coarse, fine)),
                       selected(manyBytes(size), 8, cut, cut)));
}

TEST(Selection, OfResultsThatPassTheCachesIsComplete) {
    const int size = 3200003; // elements of 16 bytes
    darr_c1DArray line(size, dtyp_ComplexDouble, cal_c1DArrayCal());
    barr_c1DBoolArray condition(size);
    const auto elements = line.Elements<comp_cComplex<double>>();
    for (int i = 0; i < size; ++i) {
        elements[static_cast<std::size_t>(i)] = comp_cComplex<double>(i, -i);
        condition.Element(i) = i % 3 == 0;
    }
    const darr_c1DArray selected = tnry_Ternary(condition, line, -1);
    const darr_c1DArray largest = trny_max(comp_cComplex<double>(5, 0), line);
    int wrong = 0;
    for (int i = 0; i < size; ++i) {
        const std::size_t at = static_cast<std::size_t>(i);
        const comp_cComplex<double> own = elements[at];
        const comp_cComplex<double> expected = i % 3 == 0 ? own : comp_cComplex<double>(-1);
        wrong += selected.Elements<comp_cComplex<double>>()[at] == expected ? 0 : 1;
        const comp_cComplex<double> larger = i < 4 ? comp_cComplex<double>(5) : own;
        wrong += largest.Elements<comp_cComplex<double>>()[at] == larger ? 0 : 1;
    }
    EXPECT_EQ(wrong, 0);
}

TEST(Selection, FromALineThatIsNotChangedLiesWhereTheConditionDoes) {
    // Both describe the same elements.
    const cal_c1DArrayCal asStored(0, 1, 0), same(1, 1, 1);
    const darr_c1DArray line = lineOf(7, {1, 2}, asStored);
    EXPECT_EQ(tnry_Ternary(maskOf({1, 0}, same), line, 0.0F).Cal(), same);
    EXPECT_EQ(tnry_Ternary(maskOf({1, 0}, same), 0.0F, line).Cal(), same);
    EXPECT_EQ(tnry_Ternary(maskOf({1, 0}, same), 0, line).Cal(), same);
}

TEST(Selection, FromALineThatIsChangedLiesWhereThatDoes) {
    const cal_c1DArrayCal asStored(0, 1, 0), same(1, 1, 1);
    const darr_c1DArray line = lineOf(7, {1, 2}, asStored);
    // Converted.
    EXPECT_EQ(tnry_Ternary(maskOf({1, 0}, same), line, 0.0).Cal(), asStored);
    EXPECT_EQ(tnry_Ternary(maskOf({1, 0}, same), 0.0, line).Cal(), asStored);
    // Selected: element 0 of the result is element -1 of the line.
    EXPECT_EQ(tnry_Ternary(maskOf({1, 0}, {-1, 1, 0}), line, 0.0F).Cal(), cal_c1DArrayCal(0, 1, 1));
    EXPECT_EQ(tnry_Ternary(maskOf({1, 0}, {-1, 1, 0}), 0.0F, line).Cal(), cal_c1DArrayCal(0, 1, 1));
    // Resampled, over the same range.
    EXPECT_EQ(tnry_Ternary(maskOf({1, 0, 1, 0}, {1, 0.5, 2}), line, 0.0F).Cal(),
              cal_c1DArrayCal(0, 0.5, 0));
    const darr_c2DArray image = imageOf(1, 1, 2, {1, 2});
    EXPECT_EQ(tnry_Ternary(maskOf(1, 2, {1, 0}, {1, 1, 2, 1, 1, 2}), image, 0.0).Cal(),
              cal_c2DArrayCal::Default);
}

TEST(Selection, FromTwoLinesLiesWhereTheConditionDoes) {
    const cal_c1DArrayCal same(1, 1, 1);
    const darr_c1DArray a = lineOf(7, {1, 2}), b = lineOf(8, {3, 4}, {5, 1, 0});
    const darr_c1DArray result = tnry_Ternary(maskOf({1, 0}, same), a, b);
    EXPECT_EQ(result.Cal(), same);
    EXPECT_EQ(result.DataType(), dtyp_Double);
    EXPECT_TRUE(isSame(elementsOf(result), {1, 0}));
}

TEST(Selection, FromTwoNumbersLiesWhereTheConditionDoes) {
    const darr_c1DArray line = tnry_Ternary(maskOf({1, 0, 255}, lineCal), 1, 2.5F);
    EXPECT_EQ(line.Cal(), lineCal);
    EXPECT_EQ(line.DataType(), dtyp_Float);
    EXPECT_TRUE(isSame(elementsOf(line), {1, 2.5, 1}));
    const darr_c2DArray image = tnry_Ternary(maskOf(1, 2, {0, 1}, imageCal), 1, 2);
    EXPECT_EQ(image.Cal(), imageCal);
    EXPECT_EQ(image.SizeY(), 2);
    EXPECT_TRUE(isSame(elementsOf(image), {2, 1}));
    // No delta is asked to be one that resampling accepts.
    EXPECT_TRUE(isSame(elementsOf(tnry_Ternary(maskOf({1, 0}, {0, -1, 0}), 1, 2)), {1, 2}));
}

TEST(Selection, RefusesAConditionWithoutElements) {
    const barr_c1DBoolArray none;
    const darr_c1DArray line = lineOf(7, {1, 2});
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(none, line, 1); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(none, 1, line); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(none, line, line); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(none, 1, 2); }), indexRefusal);
    const barr_c2DBoolArray nothing(0, 3);
    const darr_c2DArray image = imageOf(7, 1, 1, {1});
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(nothing, image, 1); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(nothing, 1, image); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(nothing, image, image); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(nothing, 1, 2); }), indexRefusal);
}

TEST(Selection, RefusesUnknownTypes) {
    const pnum_cNumber unknown{dtyp_cDataType(11)}, other{dtyp_cDataType(0)};
    const barr_c1DBoolArray condition = maskOf({1, 0});
    const darr_c1DArray line(2, dtyp_cDataType(11), cal_c1DArrayCal());
    const barr_c2DBoolArray imageCondition = maskOf(2, 1, {1, 0});
    const darr_c2DArray image(2, 1, dtyp_cDataType(11), cal_c2DArrayCal());
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(true, unknown, unknown); }), "ternary:114");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(true, other, other); }), "ternary:114");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, unknown, unknown); }), "ternary:114");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, line, unknown); }), "ternary:114");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, unknown, line); }), "ternary:114");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, line, line); }), "ternary:114");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(imageCondition, image, image); }), "ternary:114");
    EXPECT_EQ(refusalOf([&] {
                  tnry_Ternary(maskOf({1}, {0, 0.5, 0}), line, line);
              }),
              "ternary:114");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(true, unknown, 1); }), "conv:1");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, 1, line); }), "conv:1");
    const auto refusal =
        caught<expt_cProgramException>([&] { tnry_Ternary(true, unknown, unknown); });
    EXPECT_STREQ(refusal.what(), "ternary:114: Elements of an unknown type are not chosen.");
}

TEST(Selection, RefusesLinesWithoutADeltaThatDifferInSize) {
    const barr_c1DBoolArray condition = maskOf({1, 0}, {0, 0, 0});
    const darr_c1DArray line = lineOf(7, {1}, {0, 0, 0}), right = lineOf(7, {1, 2}, {0, 0, 0});
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, line, 1.0F); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, 1.0F, line); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, line, right); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, right, line); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(condition, right, right); }), "none");
}

TEST(Selection, PassesOnWhatResamplingRefuses) {
    const darr_c1DArray line = lineOf(7, {1, 2});
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(maskOf({1, 0}, {0, 0, 0}), line, 1); }), "resc:1");
    EXPECT_EQ(refusalOf([&] {
                  tnry_Ternary(maskOf({1, 0}, {0, notANumber, 0}), line, line);
              }),
              "resc:1");
}

TEST(Selection, ByAMaskAndByItsComplementCoverEveryElementOnce) {
    std::mt19937 random(3);
    for (int round = 0; round < 20; ++round) {
        const int size = 1 + static_cast<int>(random() % 3000);
        const int code = 1 + static_cast<int>(random() % 10);
        const darr_c1DArray line = lineOf(code, manyElements(code, size, round), lineCal);
        barr_c1DBoolArray mask = line > numberOf(code, converted(code, 1));
        mask.SetCal(line.Cal());
        const pnum_cNumber nothing = numberOf(code, 0);
        const Elements inside = elementsOf(tnry_Ternary(mask, line, nothing));
        const Elements outside = elementsOf(tnry_Ternary(!mask, line, nothing));
        const Elements both = elementsOf(tnry_Ternary(mask, tnry_Ternary(mask, line, nothing),
                                                      tnry_Ternary(!mask, line, nothing)));
        EXPECT_TRUE(isSame(both, elementsOf(line)));
        for (std::size_t i = 0; i < inside.size(); ++i)
            EXPECT_TRUE(
                isSame({mask.Element(static_cast<int>(i)) != 0 ? outside[i] : inside[i]}, {0}));
    }
}

TEST(Selection, AllocatesNothingButItsResult) {
    const darr_c1DArray coarse = lineOf(1, manyElements(1, 6000, 0), {0, 1, 0});
    const barr_c1DBoolArray condition = maskOf(manyBytes(12000), {0, 0.5, 0});
    const auto allocationsOf = [](const auto& call) {
        const long before = allocationCount();
        call();
        return allocationCount() - before;
    };
    EXPECT_EQ(allocationsOf([&] { tnry_Ternary(condition, coarse, coarse); }), 1);
    EXPECT_EQ(allocationsOf([&] { tnry_Ternary(condition, coarse, 1.5); }), 1);
    EXPECT_EQ(allocationsOf([&] { tnry_Ternary(condition, 1, 1.5); }), 1);
    EXPECT_EQ(allocationsOf([&] { trny_max(coarse, 1.5); }), 1);
    EXPECT_EQ(allocationsOf([&] { trny_min(coarse, lineOf(1, {})); }), 1);
}

TEST(Selection, WithoutMemoryThrowsAndLeavesItsOperands) {
    const darr_c1DArray line = lineOf(7, {1, 2});
    const darr_c2DArray image = imageOf(7, 2, 1, {1, 2});
    const barr_c1DBoolArray condition = maskOf({1, 0});
    {
        const FailingNew noMemory(0);
        EXPECT_THROW(tnry_Ternary(condition, line, line), std::bad_alloc);
        EXPECT_THROW(tnry_Ternary(condition, line, 1), std::bad_alloc);
        EXPECT_THROW(tnry_Ternary(condition, 1, line), std::bad_alloc);
        EXPECT_THROW(tnry_Ternary(condition, 1, 2), std::bad_alloc);
        EXPECT_THROW(trny_min(line, line), std::bad_alloc);
        EXPECT_THROW(trny_max(image, 1), std::bad_alloc);
        EXPECT_NO_THROW(trny_max(1, 2));
    }
    EXPECT_TRUE(isSame(elementsOf(line), {1, 2}));
    EXPECT_EQ(bytesOf(condition), (Bytes{1, 0}));
}

TEST(MinimumAndMaximum, TakeTheSecondOperandWhereBothAreEqual) {
    EXPECT_TRUE(isSame(elementsOf(trny_min(0.0, -0.0)), {-0.0}));
    EXPECT_TRUE(isSame(elementsOf(trny_max(-0.0, 0.0)), {0.0}));
    EXPECT_TRUE(isSame(elementsOf(trny_min(lineOf(8, {0}), -0.0)), {-0.0}));
    const pnum_cNumber two = trny_min(2, static_cast<short>(2));
    EXPECT_EQ(two.DataType(), dtyp_Int32);
    EXPECT_TRUE(isSame(elementsOf(two), {2}));
    // Of equal magnitude, though different.
    EXPECT_TRUE(
        isSame(elementsOf(trny_max(comp_cComplex<double>(5, 0), comp_cComplex<double>(3, 4))),
               {Element(3, 4)}));
}

TEST(MinimumAndMaximum, TakeTheSecondOperandWhereEitherIsNaN) {
    const darr_c1DArray a = lineOf(7, {1, notANumber}), b = lineOf(7, {0, 5});
    EXPECT_TRUE(isSame(elementsOf(trny_max(a, b)), {1, 5}));
    EXPECT_TRUE(isSame(elementsOf(trny_min(a, b)), {0, 5}));
    EXPECT_TRUE(isSame(elementsOf(trny_min(b, a)), {0, notANumber}));
    EXPECT_TRUE(isSame(elementsOf(trny_max(1.0, notANumber)), {notANumber}));
    EXPECT_TRUE(isSame(elementsOf(trny_max(notANumber, 1.0)), {1}));
}

TEST(MinimumAndMaximum, AreNeverBeyondTheirOperands) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> uniform(-10, 10);
    for (int round = 0; round < 10; ++round) {
        Elements a, b;
        for (int i = 0; i < 700; ++i) {
            a.emplace_back(std::floor(uniform(random)));
            b.emplace_back(std::floor(uniform(random)));
        }
        const darr_c1DArray lineA = lineOf(7, a), lineB = lineOf(5, b);
        const Elements least = elementsOf(trny_min(lineA, lineB));
        const Elements most = elementsOf(trny_max(lineA, lineB));
        for (std::size_t i = 0; i < a.size(); ++i) {
            EXPECT_LE(least[i].real(), std::fmin(a[i].real(), b[i].real()));
            EXPECT_GE(most[i].real(), std::fmax(a[i].real(), b[i].real()));
            EXPECT_EQ(least[i] + most[i], a[i] + b[i]);
        }
    }
}

TEST(MinimumAndMaximum, KeepTheCalibrationOfTheirOperand) {
    const darr_c1DArray line = lineOf(5, {1, 2, 3}, lineCal);
    for (const darr_c1DArray& result :
         {trny_min(line, static_cast<short>(2)), trny_min(static_cast<short>(2), line),
          trny_min(line, 2.0), trny_min(2.0, line), trny_min(line, line)})
        EXPECT_EQ(result.Cal(), lineCal);
    EXPECT_TRUE(isSame(elementsOf(trny_min(line, 2.0)), {1, 2, 2}));
    const darr_c2DArray image = imageOf(7, 3, 1, {1, 2, 3}, imageCal);
    for (const darr_c2DArray& result :
         {trny_max(image, 2), trny_max(2.0, image), trny_max(image, image)})
        EXPECT_EQ(result.Cal(), imageCal);
}

TEST(MinimumAndMaximum, AlignLinesFirst) {
    const darr_c1DArray a = lineOf(7, {1, 2, 3}, {0, 1, 0}), b = lineOf(5, {5, -5, 5}, {1, 1, 0});
    const darr_c1DArray least = trny_min(a, b), most = trny_max(a, b);
    EXPECT_TRUE(isSame(elementsOf(least), {0, 2, -5, 0}));
    EXPECT_TRUE(isSame(elementsOf(most), {1, 5, 3, 5}));
    EXPECT_EQ(least.Cal(), cal_c1DArrayCal(0, 1, 0));
    // The first one is resampled to 1 1.5 2 2.5 3 3 and then extended.
    const darr_c1DArray fine = lineOf(8, {9, 0, 9, 0, 9, 0, 9}, {0, 0.5, 0});
    const darr_c1DArray both = trny_max(a, fine);
    EXPECT_TRUE(isSame(elementsOf(both), {9, 1.5, 9, 2.5, 9, 3, 9}));
    EXPECT_EQ(both.Cal(), cal_c1DArrayCal(0, 0.5, 0));
}

TEST(MinimumAndMaximum, OfLinesHalfAnElementApartPairWhatAlignmentPairs) {
    const darr_c1DArray a = lineOf(7, {1, 2}, {0, 1, 0}), b = lineOf(7, {5, 0}, {0.5, 1, 0});
    const Elements least = elementsOf(trny_min(a, b));
    const Elements compared = elementsOf(trny_max(a, b));
    ASSERT_EQ(least.size(), static_cast<std::size_t>((a < b).Size()));
    Elements sum;
    for (std::size_t i = 0; i < least.size(); ++i)
        sum.push_back(least[i] + compared[i]);
    EXPECT_TRUE(isSame(sum, {6, 2})) << sum[0] << sum[1];
}

TEST(MinimumAndMaximum, WithANumberOfAnEmptyLineHaveTwoElements) {
    const darr_c1DArray empty(0, dtyp_Float, lineCal);
    EXPECT_TRUE(isSame(elementsOf(trny_min(3, empty)), {0, 0}));
    EXPECT_TRUE(isSame(elementsOf(trny_max(3, empty)), {0, 0}));
    EXPECT_TRUE(isSame(elementsOf(trny_min(empty, 3)), {3, 3}));
    EXPECT_TRUE(isSame(elementsOf(trny_max(empty, 3)), {3, 3}));
    EXPECT_TRUE(isSame(elementsOf(trny_max(empty, empty)), {0, 0}));
    EXPECT_EQ(trny_max(empty, 3).Cal(), lineCal);
    EXPECT_EQ(trny_max(empty, 3).DataType(), dtyp_Float);
    EXPECT_EQ(trny_max(empty, empty).Cal(), lineCal);
    const darr_c2DArray nothing(0, 4, dtyp_Int16, imageCal);
    const darr_c2DArray filled = trny_min(nothing, 3);
    EXPECT_EQ(filled.SizeX(), 2);
    EXPECT_EQ(filled.SizeY(), 2);
    EXPECT_TRUE(isSame(elementsOf(filled), {3, 3, 3, 3}));
    EXPECT_TRUE(isSame(elementsOf(trny_min(3, nothing)), {0, 0, 0, 0}));
    EXPECT_TRUE(isSame(elementsOf(trny_min(nothing, nothing)), {0, 0, 0, 0}));
    // On the default calibration that is what selecting by the comparison gives.
    const darr_c1DArray plain;
    EXPECT_TRUE(
        isSame(elementsOf(trny_min(plain, 3)), elementsOf(tnry_Ternary(plain < 3, plain, 3))));
    EXPECT_TRUE(
        isSame(elementsOf(trny_min(3, plain)), elementsOf(tnry_Ternary(3 < plain, 3, plain))));
}

TEST(MinimumAndMaximum, OfAnEmptyAndAFilledLineTakeZeros) {
    const darr_c1DArray empty;
    EXPECT_TRUE(isSame(elementsOf(trny_max(empty, lineOf(7, {-1, 1}))), {0, 1}));
    EXPECT_TRUE(isSame(elementsOf(trny_max(lineOf(7, {-1, 1}), empty)), {0, 1}));
}

TEST(MinimumAndMaximum, RefuseWhatTheComparisonRefuses) {
    const pnum_cNumber unknown{dtyp_cDataType(11)};
    const darr_c1DArray line(2, dtyp_cDataType(11), cal_c1DArrayCal());
    const darr_c1DArray empty(0, dtyp_cDataType(11), cal_c1DArrayCal());
    EXPECT_EQ(refusalOf([&] { trny_min(unknown, unknown); }), "binary2:138");
    EXPECT_EQ(refusalOf([&] { trny_min(unknown, line); }), "binary2:138");
    EXPECT_EQ(refusalOf([&] { trny_max(line, unknown); }), "binary2:138");
    EXPECT_EQ(refusalOf([&] { trny_max(line, line); }), "binary2:138");
    EXPECT_EQ(refusalOf([&] { trny_max(line, 1); }), "conv:1");
    EXPECT_EQ(refusalOf([&] { trny_max(empty, empty); }), "ternary:114");
    const darr_c2DArray a = imageOf(7, 2, 2, {1, 2, 3, 4}, {0, 1, 0, 2, 0, 0});
    const darr_c2DArray b = imageOf(7, 2, 2, {1, 2, 3, 4}, {0, 2, 0, 1, 0, 0});
    EXPECT_EQ(refusalOf([&] { trny_min(a, b); }), sizeRefusal);
}

TEST(ChoosingLoop, GivesTheSameOnEveryLevelAndStaysInItsResult) {
    constexpr unsigned char untouched = 0xA5;
    std::mt19937 random(13);
    for (const int code : typeCodes)
        for (const int count : {0, 1, 2, 7, 15, 16, 17, 31, 33, 63, 64, 65, 130}) {
            const std::size_t width = dtyp_cDataType(code).SizeOf();
            const std::size_t n = static_cast<std::size_t>(count), size = n * width;
            std::vector<unsigned char> a(size + width), b(size + width), condition(n + 1);
            for (auto* bytes : {&a, &b, &condition})
                for (unsigned char& byte : *bytes)
                    byte = static_cast<unsigned char>(random() % 3 == 0 ? 0 : random());
            for (const auto& [first, second] : {std::pair(0, 0), {0, 1}, {1, 0}, {1, 1}})
                for (const level_eSet level : levels()) {
                    const LevelInUse inUse(level);
                    std::vector<unsigned char> expected(size + 2, untouched), result = expected;
                    for (std::size_t i = 0; i < n; ++i)
                        std::memcpy(&expected[1 + i * width],
                                    condition[i] != 0 ? &a[first != 0 ? i * width : 0]
                                                      : &b[second != 0 ? i * width : 0],
                                    width);
                    choose_LoopFor(dtyp_cDataType(code), first != 0, second != 0)(
                        condition.data(), a.data(), b.data(), result.data() + 1, n);
                    ASSERT_EQ(result, expected) << code << " " << first << second << " " << count;
                }
        }
    EXPECT_EQ(choose_LoopFor(dtyp_cDataType(0), true, true), nullptr);
    EXPECT_EQ(choose_LoopFor(dtyp_cDataType(11), false, false), nullptr);
}

// Bit for bit that of the comparison and a choice by it, NaN and zeros of either sign too.
TEST(ExtremeLoop, GivesTheSameOnEveryLevelAndStaysInItsResult) {
    constexpr unsigned char untouched = 0xA5;
    std::mt19937 random(17);
    for (const int code : typeCodes)
        for (const int count : {0, 1, 2, 7, 15, 16, 17, 31, 33, 63, 64, 65, 130}) {
            const dtyp_cDataType type(code);
            const std::size_t width = type.SizeOf(), n = static_cast<std::size_t>(count);
            std::vector<unsigned char> a((n + 1) * width), b(a.size()), isFirst(n);
            for (auto* bytes : {&a, &b})
                for (std::size_t i = 0; i < bytes->size(); ++i) // infinities and NaN among them
                    (*bytes)[i] = static_cast<unsigned char>(
                        i % width >= width / 2 && random() % 4 == 0 ? 0xFF : random() % 3 << 6);
            for (const bool isMaximum : {false, true})
                for (const auto form : {form_NumberFirst, form_Arrays, form_NumberSecond})
                    for (const level_eSet level : levels()) {
                        const LevelInUse inUse(level);
                        const extreme_Loop loop = extreme_LoopFor(
                            type, isMaximum ? extreme_Maximum : extreme_Minimum, form);
                        ASSERT_EQ(loop == nullptr, type.IsComplex());
                        if (loop == nullptr)
                            continue;
                        std::vector<unsigned char> expected((n + 2) * width, untouched),
                            result = expected;
                        compare_LoopFor(type, isMaximum ? compare_Greater : compare_Less,
                                        form)(a.data(), b.data(), isFirst.data(), n);
                        choose_LoopFor(type, form != form_NumberFirst, form != form_NumberSecond)(
                            isFirst.data(), a.data(), b.data(), expected.data() + width, n);
                        loop(a.data(), b.data(), result.data() + width, n);
                        ASSERT_EQ(result, expected) << code << ' ' << form << ' ' << count;
                    }
        }
    EXPECT_EQ(extreme_LoopFor(dtyp_cDataType(0), extreme_Minimum, form_Arrays), nullptr);
}

} // namespace
