// Sums, means, variances and extrema of what a mask takes: those of an array of just that.

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "dataprocessing/binary/bnry_bool.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/reduce/extr.h"
#include "dataprocessing/reduce/stat.h"
#include "tests/failing_new.h"
#include "tests/support/arrays.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const cal_c1DArrayCal lineCal(10, 0.5, 4);
const cal_c2DArrayCal imageCal(1, 2, 30, -4, 5, 6);

std::string bitsOf(const pnum_cNumber& number) {
    std::string bits(1, static_cast<char>(number.DataType().Code()));
    bits.append(static_cast<const char*>(number.Data()), number.DataType().SizeOf());
    return bits;
}

template<class T>
class Masked : public testing::Test {};
using ElementTypes = testing::Types<unsigned char, unsigned short, unsigned int, signed char, short,
                                    int, float, double, ComplexFloat, ComplexDouble>;
TYPED_TEST_SUITE(Masked, ElementTypes);

template<class T>
std::vector<T> randomElements(int count, std::mt19937& random) {
    std::vector<T> elements;
    for (int i = 0; i < count; ++i) {
        const double re = static_cast<double>(random() % 5000) / 16;
        const double im = static_cast<double>(random() % 5000) / 16;
        elements.push_back(elementOf<T>(std::is_same_v<T, signed char> ? re / 3 : re / 2, im));
    }
    if constexpr (std::is_floating_point_v<T>)
        for (const double special : {nan, infinity, -0.0})
            if (count > 20)
                elements[random() % elements.size()] = static_cast<T>(special);
    return elements;
}

std::vector<bool> randomTruths(int count, int outOf, std::mt19937& random) {
    std::vector<bool> truths;
    for (int i = 0; i < count; ++i)
        truths.push_back(random() % 8 < static_cast<unsigned>(outOf));
    return truths;
}

/// What is taken, and the index of each.
template<class T>
struct Taken {
    std::vector<T> elements;
    std::vector<int> indices;

    Taken(const std::vector<T>& all, const std::vector<bool>& truths) {
        for (std::size_t i = 0; i < all.size(); ++i)
            if (truths[i]) {
                elements.push_back(all[i]);
                indices.push_back(static_cast<int>(i));
            }
    }
};

constexpr auto conversion = conv_Modulus;

template<class T>
void expectReductions(const std::vector<T>& all, const std::vector<bool>& truths, int sizeX) {
    const int count = static_cast<int>(all.size());
    const Taken<T> taken(all, truths);
    const darr_c1DArray part = lineOf(taken.elements);
    const darr_c1DArray line = lineOf(all, lineCal);
    const darr_c2DArray image = planeOf(sizeX, count / sizeX, all, imageCal);
    for (const bool isOnTheDefault : {false, true}) {
        const barr_c1DBoolArray lineMask(truths, isOnTheDefault ? cal_c1DArrayCal() : lineCal);
        const barr_c2DBoolArray imageMask(sizeX, count / sizeX, truths,
                                          isOnTheDefault ? cal_c2DArrayCal() : imageCal);
        ASSERT_EQ(bitsOf(stat_Sum(line, lineMask)), bitsOf(stat_Sum(part)));
        ASSERT_EQ(bitsOf(stat_Sum(image, imageMask)), bitsOf(stat_Sum(part)));
        if (part.Size() == 0)
            continue;
        ASSERT_EQ(bitsOf(stat_Mean(line, lineMask)), bitsOf(stat_Mean(part)));
        ASSERT_EQ(bitsOf(stat_Mean(image, imageMask)), bitsOf(stat_Mean(part)));
        if (part.Size() > 1) {
            ASSERT_EQ(bitsOf(stat_Variance(line, lineMask)), bitsOf(stat_Variance(part)));
            ASSERT_EQ(bitsOf(stat_Variance(image, imageMask)), bitsOf(stat_Variance(part)));
        }
        int low = -1, high = -1, index = -1, x = -1, y = -1;
        double at = 0, atX = 0, atY = 0;
        const std::string min = bitsOf(extr_Min(part, low, conversion));
        const std::string max = bitsOf(extr_Max(part, high, conversion));
        low = taken.indices[static_cast<std::size_t>(low)];
        high = taken.indices[static_cast<std::size_t>(high)];
        ASSERT_EQ(bitsOf(extr_Min(line, lineMask, conversion)), min);
        ASSERT_EQ(bitsOf(extr_Max(line, lineMask, conversion)), max);
        ASSERT_EQ(bitsOf(extr_Min(image, imageMask, conversion)), min);
        ASSERT_EQ(bitsOf(extr_Max(image, imageMask, conversion)), max);
        ASSERT_EQ(bitsOf(extr_Min(line, lineMask, index, conversion)), min);
        ASSERT_EQ(index, low);
        ASSERT_EQ(bitsOf(extr_Max(line, lineMask, index, conversion)), max);
        ASSERT_EQ(index, high);
        ASSERT_EQ(bitsOf(extr_Min(line, lineMask, at, conversion)), min);
        ASSERT_EQ(at, lineCal.Position(low));
        ASSERT_EQ(bitsOf(extr_Max(line, lineMask, at, conversion)), max);
        ASSERT_EQ(at, lineCal.Position(high));
        ASSERT_EQ(bitsOf(extr_Min(image, imageMask, x, y, conversion)), min);
        ASSERT_EQ(y * sizeX + x, low);
        ASSERT_EQ(bitsOf(extr_Max(image, imageMask, x, y, conversion)), max);
        ASSERT_EQ(y * sizeX + x, high);
        ASSERT_LT(x, sizeX);
        ASSERT_EQ(bitsOf(extr_Min(image, imageMask, atX, atY, conversion)), min);
        ASSERT_EQ(atX, imageCal.X().Position(low % sizeX));
        ASSERT_EQ(atY, imageCal.Y().Position(low / sizeX));
        ASSERT_EQ(bitsOf(extr_Max(image, imageMask, atX, atY, conversion)), max);
        ASSERT_EQ(atX, imageCal.X().Position(high % sizeX));
        ASSERT_EQ(atY, imageCal.Y().Position(high / sizeX));
        pnum_cNumber both[2];
        extr_MinMax(line, lineMask, both[0], both[1], conversion);
        ASSERT_EQ(bitsOf(both[0]) + bitsOf(both[1]), min + max);
        extr_MinMax(image, imageMask, both[0], both[1], conversion);
        ASSERT_EQ(bitsOf(both[0]) + bitsOf(both[1]), min + max);
    }
}

TYPED_TEST(Masked, ReductionsAreThoseOfAnArrayOfWhatIsTaken) {
    std::mt19937 random(5);
    for (const int count : {1, 2, 3, 7, 64, 255, 256, 4095, 4096, 4097, 20000})
        for (const int outOf : {0, 1, 4, 7, 8}) {
            const std::vector<TypeParam> all = randomElements<TypeParam>(count, random);
            for (const int sizeX : {1, 3, 8, count})
                if (count % sizeX == 0)
                    expectReductions(all, randomTruths(count, outOf, random), sizeX);
        }
}

TYPED_TEST(Masked, SelectionsWithoutElementsAreAnsweredAsArraysWithoutElements) {
    const std::vector<TypeParam> all = countedElements<TypeParam>(6);
    const darr_c1DArray line = lineOf(all);
    const darr_c2DArray image = planeOf(3, 2, all);
    const barr_c1DBoolArray nothing(6);
    const barr_c2DBoolArray nothing2D(3, 2);
    ASSERT_EQ(bitsOf(stat_Sum(line, nothing)),
              bitsOf(stat_Sum(darr_c1DArray(0, line.DataType(), {}))));
    const std::string noMean = ": Cannot calculate mean on empty array.";
    EXPECT_EQ(userRefusalOf([&] { stat_Mean(line, nothing); }), "statist:166" + noMean);
    EXPECT_EQ(userRefusalOf([&] { stat_Mean(image, nothing2D); }), "statist:178" + noMean);
    const std::string noVariance = ": Cannot calculate variance on array.";
    barr_c1DBoolArray one(6);
    one.Element(4) = 1;
    barr_c2DBoolArray one2D(3, 2);
    one2D.Element(1, 1) = 1;
    EXPECT_EQ(userRefusalOf([&] { stat_Variance(line, one); }), "statist:190" + noVariance);
    EXPECT_EQ(userRefusalOf([&] { stat_Variance(image, one2D); }), "statist:203" + noVariance);
    const std::string noExtremum = "extrem1:383: Cannot calculate extremum on empty array.";
    int index = 5;
    EXPECT_EQ(userRefusalOf([&] { extr_Min(line, nothing, index); }), noExtremum);
    EXPECT_EQ(userRefusalOf([&] { extr_Max(image, nothing2D); }), noExtremum);
    EXPECT_EQ(index, 5);
    pnum_cNumber min, max;
    EXPECT_EQ(userRefusalOf([&] { extr_MinMax(line, nothing, min, max); }), noExtremum);
}

TEST(MaskedStatistics, VarianceOfAnImageIsThatOfItsElements) {
    const std::vector<int> elements = {1, 2, 3, 4};
    const barr_c2DBoolArray all(4, 1, {true, true, true, true});
    EXPECT_EQ(stat_Variance(planeOf(4, 1, elements), all).As<double>(), 5.0 * (1.0 / 3));
}

TEST(MaskedStatistics, TakeAMaskOfAnyBytes) {
    const unsigned char bytes[] = {0, 2, 128, 255};
    barr_c1DBoolArray mask(4);
    for (int i = 0; i < 4; ++i)
        mask.Element(i) = bytes[i];
    EXPECT_EQ(stat_Sum(lineOf(std::vector<int>{1, 10, 100, 1000}), mask).As<int>(), 1110);
}

TEST(MaskedStatistics, OfAComparisonNeedNoCalibration) {
    const darr_c1DArray spectrum = lineOf(std::vector<double>{1, 50, 3, nan, 70}, lineCal);
    double at = 0;
    EXPECT_EQ(stat_Mean(spectrum, spectrum < 10).As<double>(), 2);
    EXPECT_EQ(extr_Max(spectrum, spectrum < 60, at).As<double>(), 50);
    EXPECT_EQ(at, lineCal.Position(1));
}

TEST(MaskedStatistics, RefuseMasksThatLieElsewhere) {
    const darr_c1DArray line = lineOf(countedElements<int>(6), lineCal);
    const darr_c2DArray image = planeOf(3, 2, countedElements<int>(6), imageCal);
    const std::vector<bool> truths(6, true);
    for (const cal_c1DArrayCal& cal :
         {cal_c1DArrayCal(10, 0.5, 5), cal_c1DArrayCal(10, 0.25, 4), cal_c1DArrayCal(9, 0.5, 4)}) {
        EXPECT_EQ(refusalOf([&] { stat_Sum(line, barr_c1DBoolArray(truths, cal)); }), "pick:1");
        EXPECT_EQ(refusalOf([&] { extr_Min(line, barr_c1DBoolArray(truths, cal)); }), "pick:1");
    }
    // The same place in other words.
    EXPECT_EQ(stat_Sum(line, barr_c1DBoolArray(truths, {8, 0.5, 0})).As<double>(), 21);
    // The very same, where nothing has a position.
    const cal_c1DArrayCal nowhere(8, infinity, 0);
    const darr_c1DArray lost = lineOf(countedElements<int>(6), nowhere);
    EXPECT_EQ(stat_Sum(lost, barr_c1DBoolArray(truths, nowhere)).As<double>(), 21);
    const cal_c2DArrayCal elsewhere(1, 2, 30, 4, 5, 6);
    const barr_c2DBoolArray mask(3, 2, truths, elsewhere);
    EXPECT_EQ(refusalOf([&] { stat_Variance(image, mask); }), "pick:1");
    try {
        stat_Mean(image, mask);
        FAIL();
    } catch (const expt_cProgramException& refusal) {
        EXPECT_STREQ(refusal.what(), "pick:1: The mask lies on another grid than the array: SetCal "
                                     "gives it the array's.");
    }
}

TEST(MaskedStatistics, RefuseMasksOfAnotherSize) {
    const darr_c1DArray line = lineOf(countedElements<int>(6));
    const darr_c2DArray image = planeOf(3, 2, countedElements<int>(6));
    for (const int size : {0, 5, 7})
        EXPECT_EQ(refusalOf([&] { stat_Sum(line, barr_c1DBoolArray(size)); }), sizeRefusal);
    for (const auto& [x, y] : {std::pair(2, 3), std::pair(6, 1), std::pair(3, 1), std::pair(0, 0)})
        EXPECT_EQ(refusalOf([&, x = x, y = y] { extr_Min(image, barr_c2DBoolArray(x, y)); }),
                  sizeRefusal);
    EXPECT_EQ(stat_Sum(darr_c1DArray(), barr_c1DBoolArray()).As<double>(), 0);
}

TEST(MaskedStatistics, OfAnUnknownTypeAreThoseWithoutAMask) {
    const darr_c1DArray unknown(3, dtyp_cDataType(11), {});
    const barr_c1DBoolArray mask({true, false, true});
    int index = 7;
    EXPECT_EQ(bitsOf(stat_Sum(unknown, mask)), bitsOf(0.0F));
    EXPECT_EQ(bitsOf(extr_Min(unknown, mask, index)), bitsOf(0.0F));
    EXPECT_EQ(index, 7);
}

TEST(MaskedStatistics, WithoutRoomForTheirElementsThrow) {
    const darr_c1DArray line = lineOf(countedElements<double>(100));
    const barr_c1DBoolArray mask(std::vector<bool>(100, true));
    const FailingNew failing(0);
    EXPECT_THROW(stat_Sum(line, mask), std::bad_alloc);
    EXPECT_THROW(extr_Min(line, mask), std::bad_alloc);
}

} // namespace
