#include "dataprocessing/reduce/extr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "dataprocessing/binary/bnry_comp.h"
#include "tests/failing_new.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

const cal_c1DArrayCal lineCal(10, 0.5, 4);
const cal_c2DArrayCal imageCal(1, 2, 30, -4, 5, 6);

template<class T>
bool isNaN(T x) {
    return x != x;
}

/// Where the minimum is: the smallest element after the last NaN; that NaN when nothing follows it.
template<class T>
std::size_t placeOfMin(const std::vector<T>& x) {
    const auto lastNaN = std::find_if(x.rbegin(), x.rend(), isNaN<T>);
    const auto from = lastNaN.base() == x.end() ? x.end() - 1 : lastNaN.base();
    return static_cast<std::size_t>(std::min_element(from, x.end()) - x.begin());
}

/// Where the maximum is: the first element when that is a NaN, else the first largest number.
template<class T>
std::size_t placeOfMax(const std::vector<T>& x) {
    if (isNaN(x[0]))
        return 0;
    const auto below = [](T a, T b) { return isNaN(a) ? !isNaN(b) : a < b; };
    return static_cast<std::size_t>(std::max_element(x.begin(), x.end(), below) - x.begin());
}

template<class T>
void expectElement(const pnum_cNumber& actual, T expected, const std::string& what) {
    ASSERT_EQ(actual.DataType(), dtyp_Of<T>()) << what;
    T value;
    std::memcpy(&value, actual.Data(), sizeof value);
    EXPECT_TRUE(isSameElement(value, expected))
        << what << ": " << actual << " instead of " << pnum_cNumber(expected);
}

/// All forms of the search agree with the oracle. The elements are also those of an image.
template<class T>
void expectExtrema(const std::vector<T>& elements, int sizeX, const std::string& what) {
    const std::span<const T> span(elements);
    const int sizeY = static_cast<int>(elements.size()) / sizeX;
    const darr_c1DArray line(span, lineCal);
    const darr_c2DArray image(sizeX, sizeY, span, imageCal);
    const int low = static_cast<int>(placeOfMin(elements));
    const int high = static_cast<int>(placeOfMax(elements));
    const T min = elements[static_cast<std::size_t>(low)];
    const T max = elements[static_cast<std::size_t>(high)];

    int index = -1, column = -1, row = -1;
    double position = -1, x = -1, y = -1;
    expectElement(extr_Min(line, conv_RealPart), min, what);
    expectElement(extr_Min(line, index, conv_RealPart), min, what);
    EXPECT_EQ(index, low) << what;
    expectElement(extr_Min(line, position, conv_RealPart), min, what);
    EXPECT_EQ(position, (low - 4) * 0.5 + 10) << what;
    expectElement(extr_Min(image, conv_RealPart), min, what);
    expectElement(extr_Min(image, column, row, conv_RealPart), min, what);
    EXPECT_EQ(column, low % sizeX) << what;
    EXPECT_EQ(row, low / sizeX) << what;
    expectElement(extr_Min(image, x, y, conv_RealPart), min, what);
    EXPECT_EQ(x, (low % sizeX - 5) * 2.0 + 1) << what;
    EXPECT_EQ(y, (low / sizeX - 6) * -4.0 + 30) << what;

    index = column = row = -1;
    position = x = y = -1;
    expectElement(extr_Max(line, conv_RealPart), max, what);
    expectElement(extr_Max(line, index, conv_RealPart), max, what);
    EXPECT_EQ(index, high) << what;
    expectElement(extr_Max(line, position, conv_RealPart), max, what);
    EXPECT_EQ(position, (high - 4) * 0.5 + 10) << what;
    expectElement(extr_Max(image, conv_RealPart), max, what);
    expectElement(extr_Max(image, column, row, conv_RealPart), max, what);
    EXPECT_EQ(column, high % sizeX) << what;
    EXPECT_EQ(row, high / sizeX) << what;
    expectElement(extr_Max(image, x, y, conv_RealPart), max, what);
    EXPECT_EQ(x, (high % sizeX - 5) * 2.0 + 1) << what;
    EXPECT_EQ(y, (high / sizeX - 6) * -4.0 + 30) << what;

    pnum_cNumber both[4];
    extr_MinMax(line, both[0], both[1], conv_RealPart);
    extr_MinMax(image, both[2], both[3], conv_RealPart);
    expectElement(both[0], min, what);
    expectElement(both[1], max, what);
    expectElement(both[2], min, what);
    expectElement(both[3], max, what);
}

template<class T>
class ExtremaOf : public testing::Test {};
using RealTypes = testing::Types<unsigned char, unsigned short, unsigned int, signed char, short,
                                 int, float, double>;
TYPED_TEST_SUITE(ExtremaOf, RealTypes);

TYPED_TEST(ExtremaOf, RandomElementsAreThoseOfTheOracle) {
    std::mt19937_64 random(1);
    for (const int count :
         {1,   2,   3,   4,   5,    7,    8,    9,    15,   16,   17,   255,  256,
          257, 511, 512, 513, 1023, 1024, 1025, 2047, 2048, 2049, 4096, 5000, 140000})
        for (int trial = 0; trial < 3; ++trial) {
            std::vector<TypeParam> elements;
            for (int i = 0; i < count; ++i)
                if constexpr (std::is_integral_v<TypeParam>)
                    elements.push_back(static_cast<TypeParam>(random()));
                else
                    elements.push_back(static_cast<TypeParam>(static_cast<int>(random() % 20001)) -
                                       10000);
            expectExtrema(elements, count % 5 == 0 ? 5 : 1, std::to_string(count));
        }
}

// The smallest and the largest value of the type, wherever they stand, and the first of equal ones.
TYPED_TEST(ExtremaOf, TheFirstOfEqualElementsIsFoundWhereverItStands) {
    using Limits = std::numeric_limits<TypeParam>;
    const int perBlock = static_cast<int>(2048 / sizeof(TypeParam));
    const int perPass = static_cast<int>(131072 / sizeof(TypeParam));
    std::vector<int> places = {0, 1, 2, 15, 16, 17, 63, 64, 65};
    for (const int edge : {perBlock, 2 * perBlock, perPass, perPass + perBlock})
        for (const int step : {-2, -1, 0, 1})
            places.push_back(edge + step);
    const int count = perPass + 2 * perBlock + 3;
    places.push_back(count - 2);
    places.push_back(count - 1);
    std::vector<TypeParam> elements(static_cast<std::size_t>(count), TypeParam(7));
    for (const int place : places)
        for (const TypeParam value :
             {Limits::lowest(), Limits::max(), TypeParam(8), TypeParam(6)}) {
            const std::size_t at = static_cast<std::size_t>(place);
            const std::size_t again = std::min<std::size_t>(at + 40, elements.size() - 1);
            elements[at] = elements[again] = value;
            const darr_c1DArray line{std::span<const TypeParam>(elements)};
            const bool isLow = value < TypeParam(7);
            int low = -1;
            int high = -1;
            expectElement(extr_Min(line, low, conv_RealPart), std::min(value, TypeParam(7)), "min");
            expectElement(extr_Max(line, high, conv_RealPart), std::max(value, TypeParam(7)),
                          "max");
            const int first7 = place == 0 ? 1 : 0;
            EXPECT_EQ(low, isLow ? place : first7) << place;
            EXPECT_EQ(high, isLow ? first7 : place) << place;
            elements[at] = elements[again] = 7;
        }
}

TYPED_TEST(ExtremaOf, OneElementIsBoth) {
    expectExtrema(std::vector<TypeParam>{TypeParam(5)}, 1, "one");
}

TYPED_TEST(ExtremaOf, MonotonousElementsAreFoundAtTheirEnds) {
    std::vector<TypeParam> elements(3000);
    for (std::size_t i = 0; i < elements.size(); ++i)
        elements[i] = static_cast<TypeParam>(i / 25);
    expectExtrema(elements, 3, "rising");
    std::reverse(elements.begin(), elements.end());
    expectExtrema(elements, 3, "falling");
}

template<class T>
class ExtremaOfFloating : public testing::Test {};
using FloatingTypes = testing::Types<float, double>;
TYPED_TEST_SUITE(ExtremaOfFloating, FloatingTypes);

TYPED_TEST(ExtremaOfFloating, EveryArrangementOfAFewValuesFollowsTheRuleForNaN) {
    const TypeParam values[] = {TypeParam(notANumber), TypeParam(0), -TypeParam(0), TypeParam(-1),
                                TypeParam(infinity)};
    for (int count = 1; count <= 5; ++count) {
        const int arrangements = static_cast<int>(std::pow(5, count));
        for (int a = 0; a < arrangements; ++a) {
            std::vector<TypeParam> elements;
            for (int i = 0, rest = a; i < count; ++i, rest /= 5)
                elements.push_back(values[rest % 5]);
            expectExtrema(elements, count % 2 == 0 ? 2 : 1, std::to_string(a));
        }
    }
}

// One NaN, or a pair, at the ends of blocks, with the extremum on either side of it.
TYPED_TEST(ExtremaOfFloating, ANaNIsMetInItsOrderAtEveryEndOfABlock) {
    const int perBlock = static_cast<int>(2048 / sizeof(TypeParam));
    const int perPass = static_cast<int>(131072 / sizeof(TypeParam));
    for (const int count : {perBlock, perBlock + 1, 3 * perBlock, 3 * perBlock + 5,
                            perPass + perBlock, perPass + perBlock + 1}) {
        std::vector<int> places = {0, 1, count / 2, count - 2, count - 1};
        for (const int edge : {16, perBlock, 2 * perBlock, perPass})
            for (const int step : {-1, 0, 1})
                if (edge + step < count)
                    places.push_back(edge + step);
        std::vector<TypeParam> elements;
        for (int i = 0; i < count; ++i)
            elements.push_back(static_cast<TypeParam>((i * 37) % 101));
        for (const int place : places)
            for (const int other : {place, place + 1, place + perBlock})
                for (const int extreme : {0, place - 1, place + 1, place + 3, count - 1}) {
                    if (other >= count || extreme < 0 || extreme >= count)
                        continue;
                    std::vector<TypeParam> x = elements;
                    x[static_cast<std::size_t>(extreme)] = TypeParam(count % 2 == 0 ? -5 : 500);
                    x[static_cast<std::size_t>(place)] = TypeParam(notANumber);
                    x[static_cast<std::size_t>(other)] = -TypeParam(notANumber);
                    int low = -1;
                    int high = -1;
                    const darr_c1DArray line{std::span<const TypeParam>(x)};
                    extr_Min(line, low, conv_RealPart);
                    extr_Max(line, high, conv_RealPart);
                    ASSERT_EQ(low, static_cast<int>(placeOfMin(x)))
                        << count << " NaN at " << place << ", " << other << ", " << extreme;
                    ASSERT_EQ(high, static_cast<int>(placeOfMax(x)))
                        << count << " NaN at " << place << ", " << other << ", " << extreme;
                }
    }
}

TYPED_TEST(ExtremaOfFloating, ZerosOfBothSignsAreEqual) {
    for (const std::size_t count : {std::size_t{2}, std::size_t{2000}})
        for (const TypeParam first : {TypeParam(0), -TypeParam(0)}) {
            std::vector<TypeParam> elements(count, -first);
            elements[0] = first;
            expectExtrema(elements, 2, "zeros");
        }
}

// Both in one block: the sign of the result is that of the first.
TYPED_TEST(ExtremaOfFloating, TheFirstZeroGivesTheSign) {
    for (const int sign : {1, -1})
        for (const TypeParam zero : {TypeParam(0), -TypeParam(0)})
            for (const int distance : {1, 14, 16, 17, 30, 40}) {
                std::vector<TypeParam> elements(600, static_cast<TypeParam>(sign));
                elements[100] = zero;
                elements[static_cast<std::size_t>(100 + distance)] = -zero;
                expectExtrema(elements, 1, std::to_string(distance));
            }
}

TYPED_TEST(ExtremaOfFloating, OnlyNaNsGiveTheLastAndTheFirst) {
    for (const int count : {1, 2, 700, 1024}) {
        const std::vector<TypeParam> elements(static_cast<std::size_t>(count),
                                              TypeParam(notANumber));
        int low = -1;
        int high = -1;
        const parr_c1DNumberArray line{std::span<const TypeParam>(elements)};
        EXPECT_TRUE(std::isnan(extr_Min(line, low, conv_RealPart).template As<TypeParam>()));
        EXPECT_TRUE(std::isnan(extr_Max(line, high, conv_RealPart).template As<TypeParam>()));
        EXPECT_EQ(low, count - 1);
        EXPECT_EQ(high, 0);
    }
}

darr_c1DArray lineOf(const std::vector<double>& elements, const cal_c1DArrayCal& cal = {}) {
    return darr_c1DArray(std::span<const double>(elements), cal);
}

struct Example {
    std::vector<double> elements;
    double min;
    int minIndex;
    double max;
    int maxIndex;
};

TEST(Extrema, FollowTheTableOfExamples) {
    const Example cases[] = {{{3, 1, 1, 2}, 1, 1, 3, 0},
                             {{2, 5, 5}, 2, 0, 5, 1},
                             {{notANumber, 1, 2}, 1, 1, notANumber, 0},
                             {{1, notANumber}, notANumber, 1, 1, 0},
                             {{1, notANumber, 4, 2}, 2, 3, 4, 2},
                             {{infinity, -infinity}, -infinity, 1, infinity, 0}};
    for (const Example& c : cases) {
        int low = -1;
        int high = -1;
        expectElement(extr_Min(lineOf(c.elements), low, conv_RealPart), c.min, "min");
        expectElement(extr_Max(lineOf(c.elements), high, conv_RealPart), c.max, "max");
        EXPECT_EQ(low, c.minIndex);
        EXPECT_EQ(high, c.maxIndex);
    }
}

TEST(Extrema, OfAnImageAreTheFirstInStorageOrder) {
    const int elements[] = {9, 9, 1, 1, 9, 9};
    int x = -1;
    int y = -1;
    extr_Min(parr_c2DNumberArray(3, 2, std::span(elements)), x, y, conv_RealPart);
    EXPECT_EQ(x, 2);
    EXPECT_EQ(y, 0);
    extr_Max(parr_c2DNumberArray(2, 3, std::span(elements)), x, y, conv_RealPart);
    EXPECT_EQ(x, 0);
    EXPECT_EQ(y, 0);
}

TEST(Extrema, AreReportedAtTheirCalibratedPosition) {
    double position = 0;
    extr_Max(lineOf({0, 0, 0, 0, 0, 0, 5, 0}, lineCal), position, conv_RealPart);
    EXPECT_EQ(position, 11);
    extr_Max(lineOf({0, 5, 0}, cal_c1DArrayCal(0, 1, std::numeric_limits<int>::min())), position,
             conv_RealPart);
    EXPECT_EQ(position, 2147483649.0);
}

TEST(Extrema, PositionPointsAtTheExtremum) {
    std::mt19937 random(5);
    for (int trial = 0; trial < 300; ++trial) {
        std::vector<double> elements(1 + random() % 400);
        for (double& x : elements)
            x = static_cast<double>(random() % 100);
        const cal_c1DArrayCal cal(static_cast<double>(random() % 1000) / 7, 0.1 + trial * 0.01,
                                  static_cast<int>(random() % 50) - 25);
        const darr_c1DArray line = lineOf(elements, cal);
        double position = 0;
        const double min = extr_Min(line, position, conv_RealPart).As<double>();
        EXPECT_EQ(elements[static_cast<std::size_t>(cal.Index(position))], min);
        const double max = extr_Max(line, position, conv_RealPart).As<double>();
        EXPECT_EQ(elements[static_cast<std::size_t>(cal.Index(position))], max);
    }
}

template<class T>
class ExtremaOfComplex : public testing::Test {};
TYPED_TEST_SUITE(ExtremaOfComplex, FloatingTypes);

TYPED_TEST(ExtremaOfComplex, AreThoseOfTheConvertedElementsAsDoubles) {
    using Complex = comp_cComplex<TypeParam>;
    std::mt19937 random(6);
    std::uniform_real_distribution<TypeParam> part(-10, 10);
    for (const int count : {1, 2, 2047, 2048, 2049, 6000}) {
        std::vector<Complex> elements;
        for (int i = 0; i < count; ++i)
            elements.emplace_back(part(random), part(random));
        if (count > 2000) {
            elements[1000].re = TypeParam(notANumber);
            elements[2046].im = TypeParam(notANumber);
        }
        const std::span<const Complex> span(elements);
        const darr_c1DArray line(span, lineCal);
        const darr_c2DArray image(1, count, span, imageCal);
        for (int mode = 0; mode < 4; ++mode) {
            std::vector<double> values;
            for (const Complex& z : elements) {
                const std::complex<double> w(static_cast<double>(z.re), static_cast<double>(z.im));
                values.push_back(mode == 0   ? w.real()
                                 : mode == 1 ? w.imag()
                                 : mode == 2 ? std::abs(w)
                                             : std::arg(w));
            }
            const auto conversion = static_cast<conv_eComplexConversion>(mode);
            const int low = static_cast<int>(placeOfMin(values));
            const int high = static_cast<int>(placeOfMax(values));
            const double min = values[static_cast<std::size_t>(low)];
            const double max = values[static_cast<std::size_t>(high)];
            const std::string what = std::to_string(count) + " by " + std::to_string(mode);
            int index = -1, x = -1, y = -1;
            double position = -1;
            expectElement(extr_Min(line, index, conversion), min, what);
            EXPECT_EQ(index, low) << what;
            expectElement(extr_Max(line, position, conversion), max, what);
            EXPECT_EQ(position, lineCal.Position(high)) << what;
            expectElement(extr_Max(image, x, y, conversion), max, what);
            EXPECT_EQ(y, high) << what;
            pnum_cNumber both[2];
            extr_MinMax(line, both[0], both[1], conversion);
            expectElement(both[0], min, what);
            expectElement(both[1], max, what);
        }
    }
}

// The range forms.

struct RangeCase {
    double start;
    double end;
    darr_eInterpolation interpolation;
    double min;
    double max;
};

TEST(ExtremaInRange, FollowTheTable) {
    // Positions 0 to 4; the end elements hold outside.
    const darr_c1DArray line = lineOf({0, 10, 0, -6, 4});
    const RangeCase cases[] = {{0, 1.5, darr_LinearInterpolation, 0, 10},
                               {0, 1.5, darr_NoInterpolation, 0, 10},
                               {0, 0.5, darr_LinearInterpolation, 0, 5},
                               {0.25, 0.75, darr_LinearInterpolation, 2.5, 7.5},
                               {0.25, 0.75, darr_NoInterpolation, 0, 0},
                               {1.25, 1.75, darr_LinearInterpolation, 2.5, 7.5},
                               {1, 2, darr_LinearInterpolation, 0, 10},
                               {1, 2, darr_NoInterpolation, 0, 10},
                               {2.5, 4, darr_LinearInterpolation, -6, 4},
                               {2.5, 2.75, darr_LinearInterpolation, -4.5, -3},
                               {2.5, 3.5, darr_LinearInterpolation, -6, -1},
                               {-5, 20, darr_LinearInterpolation, -6, 10},
                               {-5, 20, darr_NoInterpolation, -6, 10},
                               {7, 9, darr_LinearInterpolation, 4, 4},
                               {-3, -1, darr_NoInterpolation, 0, 0},
                               {-3, 0.5, darr_LinearInterpolation, 0, 5},
                               {1.5, 1.5, darr_LinearInterpolation, 5, 5},
                               {3, 3, darr_NoInterpolation, -6, -6},
                               {2, 0.5, darr_LinearInterpolation, 0, 5},
                               {4.5, 5, darr_NoInterpolation, 4, 4},
                               {0, 5, darr_LinearInterpolation, -6, 10},
                               {0, infinity, darr_NoInterpolation, -6, 10}};
    for (const RangeCase& c : cases) {
        const rnge_c1DRange range(c.start, c.end);
        const std::string what = std::to_string(c.start) + " to " + std::to_string(c.end) + " by " +
                                 std::to_string(c.interpolation);
        expectElement(extr_Min(line, range, c.interpolation, conv_RealPart), c.min, what);
        expectElement(extr_Max(line, range, c.interpolation, conv_RealPart), c.max, what);
    }
}

TEST(ExtremaInRange, LookThroughTheCalibration) {
    const darr_c1DArray line = lineOf({0, 10, 0, -6, 4}, cal_c1DArrayCal(100, 0.5, 1));
    const rnge_c1DRange left(99.5, 100.25);
    expectElement(extr_Max(line, left, darr_LinearInterpolation, conv_RealPart), 10.0, "left");
    const rnge_c1DRange right(100.75, 101.25);
    expectElement(extr_Min(line, right, darr_LinearInterpolation, conv_RealPart), -6.0, "right");
    expectElement(extr_Max(line, right, darr_LinearInterpolation, conv_RealPart), -1.0, "right");
}

TEST(ExtremaInRange, OfALineThatRunsDownwardLookAtWhatIsInside) {
    const darr_c1DArray line = lineOf({1, 9, 3}, cal_c1DArrayCal(0, -1, 0));
    for (const rnge_c1DRange& range : {rnge_c1DRange(-1.5, -0.5), rnge_c1DRange(-0.5, -1.5)}) {
        expectElement(extr_Max(line, range, darr_LinearInterpolation, conv_RealPart), 9.0, "max");
        expectElement(extr_Min(line, range, darr_LinearInterpolation, conv_RealPart), 5.0, "min");
        expectElement(extr_Max(line, range, darr_NoInterpolation, conv_RealPart), 9.0, "max");
        expectElement(extr_Min(line, range, darr_NoInterpolation, conv_RealPart), 1.0, "min");
    }
    expectElement(extr_Max(line, line.Range(), darr_NoInterpolation, conv_RealPart), 9.0, "whole");
}

TEST(ExtremaInRange, OfIntegersHaveTheTypeOfTheirEnds) {
    const short elements[] = {0, 10, 0};
    const darr_c1DArray line{std::span(elements)};
    const rnge_c1DRange range(0.5, 1.75);
    expectElement(extr_Min(line, range, darr_LinearInterpolation, conv_RealPart), 2.5, "linear");
    expectElement(extr_Max(line, range, darr_LinearInterpolation, conv_RealPart), 10.0, "linear");
    expectElement(extr_Min(line, range, darr_NoInterpolation, conv_RealPart), short(0), "none");
    expectElement(extr_Max(line, range, darr_NoInterpolation, conv_RealPart), short(10), "none");
}

TEST(ExtremaInRange, OfFloatsStayFloats) {
    const float elements[] = {0, 10, 0};
    const darr_c1DArray line{std::span(elements)};
    expectElement(extr_Max(line, rnge_c1DRange(0, 1.5), darr_LinearInterpolation, conv_RealPart),
                  10.0F, "");
}

// The second operand wins where either is NaN: the end value's NaN stays, the result's does not.
TEST(ExtremaInRange, TreatNaNAsTheElementWiseMinimumDoes) {
    const darr_c1DArray nanAtEnd = lineOf({1, 2, notANumber, notANumber});
    EXPECT_TRUE(
        std::isnan(extr_Min(nanAtEnd, rnge_c1DRange(0, 2.5), darr_NoInterpolation, conv_RealPart)
                       .As<double>()));
    const darr_c1DArray nanInside = lineOf({1, notANumber, 3});
    expectElement(extr_Min(nanInside, rnge_c1DRange(0, 2), darr_NoInterpolation, conv_RealPart),
                  1.0, "a NaN at the end of the elements inside gives way to the start");
    expectElement(extr_Max(nanInside, rnge_c1DRange(0, 2), darr_NoInterpolation, conv_RealPart),
                  3.0, "max");
    // The first element inside is the one that covers the start, even where it lies before it.
    const darr_c1DArray nanSecond = lineOf({0, notANumber, 9, 1});
    expectElement(extr_Max(nanSecond, rnge_c1DRange(0.5, 3.5), darr_NoInterpolation, conv_RealPart),
                  9.0, "a NaN that is not the first inside is skipped");
    const darr_c1DArray nanAtStart = lineOf({notANumber, 1, 3});
    for (const auto& extremum :
         {extr_Min(nanAtStart, rnge_c1DRange(0, 2), darr_NoInterpolation, conv_RealPart),
          extr_Max(nanAtStart, rnge_c1DRange(0, 2), darr_NoInterpolation, conv_RealPart)})
        expectElement(extremum, 3.0, "the NaN of the start is replaced by the end alone");
}

TEST(ExtremaInRange, OfComplexesAreThoseOfTheConvertedArray) {
    const ComplexFloat elements[] = {{3, 4}, {0, -10}, {1, 0}};
    const darr_c1DArray line{std::span(elements)};
    const rnge_c1DRange range(0.5, 1.5);
    expectElement(extr_Max(line, range, darr_LinearInterpolation, conv_Modulus), 10.0, "modulus");
    expectElement(extr_Min(line, range, darr_LinearInterpolation, conv_Modulus), 5.5, "modulus");
    expectElement(extr_Min(line, range, darr_LinearInterpolation, conv_ImaginaryPart), -10.0, "im");
    expectElement(extr_Max(line, range, darr_LinearInterpolation, conv_RealPart), 1.5, "re");
}

TEST(ExtremaInRange, OfManyElementsAreThoseOfThePartInside) {
    std::mt19937 random(9);
    std::vector<double> elements(20000);
    for (double& x : elements)
        x = static_cast<double>(random() % 1000000);
    const darr_c1DArray line = lineOf(elements, cal_c1DArrayCal(50, 0.25, 0));
    for (const auto& [first, last] :
         {std::pair{0, 20000}, {1, 19999}, {300, 5000}, {17000, 17003}}) {
        const rnge_c1DRange range(50 + first * 0.25, 50 + last * 0.25);
        const auto end = elements.begin() + std::min(last + 1, 20000);
        const auto [min, max] = std::minmax_element(elements.begin() + first, end);
        for (const auto interpolation : {darr_NoInterpolation, darr_LinearInterpolation}) {
            expectElement(extr_Min(line, range, interpolation, conv_RealPart), *min, "min");
            expectElement(extr_Max(line, range, interpolation, conv_RealPart), *max, "max");
        }
    }
}

// Beside these offsets positions are rounded to multiples of 2, which lie elements apart: the range
// of the array seems to have elements before its first one, and many beyond its last one.
TEST(ExtremaInRange, LookAtElementsOfTheArrayOnly) {
    const std::vector<double> elements(300000, -1.0);
    const rnge_c1DRange range(0, infinity);
    for (const cal_c1DArrayCal& cal :
         {cal_c1DArrayCal(1e16, 0x1p-18, 0), cal_c1DArrayCal(1e16, 0x1p-18, 300000),
          cal_c1DArrayCal(1e16, 0x1p-18, 1000000)})
        for (const auto interpolation : {darr_NoInterpolation, darr_LinearInterpolation}) {
            const darr_c1DArray line = lineOf(elements, cal);
            expectElement(extr_Min(line, range, interpolation, conv_RealPart), -1.0, "min");
            expectElement(extr_Max(line, range, interpolation, conv_RealPart), -1.0, "max");
        }
}

// Refusals.

TEST(Extrema, OfAnEmptyArrayAreRefusedAndWriteNothing) {
    const std::string expected = "extrem1:383: Cannot calculate extremum on empty array.";
    // The array comes first: nothing else is looked at.
    const auto unknown = static_cast<conv_eComplexConversion>(9);
    for (const int code : {0, 3, 8, 9, 10, 11})
        for (const auto conversion : {conv_RealPart, unknown}) {
            const darr_c1DArray line(0, dtyp_cDataType(code), lineCal);
            const rnge_c1DRange range(0, 1);
            int index = -7;
            double position = -7;
            pnum_cNumber min(-7), max(-7);
            for (const auto& refusal :
                 {userRefusalOf([&] { extr_Min(line, conversion); }),
                  userRefusalOf([&] { extr_Max(line, conversion); }),
                  userRefusalOf([&] { extr_Min(line, index, conversion); }),
                  userRefusalOf([&] { extr_Max(line, index, conversion); }),
                  userRefusalOf([&] { extr_Min(line, position, conversion); }),
                  userRefusalOf([&] { extr_Max(line, position, conversion); }),
                  userRefusalOf([&] { extr_Min(line, range, darr_NoInterpolation, conversion); }),
                  userRefusalOf([&] { extr_Max(line, range, darr_NoInterpolation, conversion); }),
                  userRefusalOf([&] { extr_MinMax(line, min, max, conversion); })})
                EXPECT_EQ(refusal, expected);
            for (const auto& [sizeX, sizeY] : {std::pair{0, 0}, {0, 3}, {3, 0}}) {
                const darr_c2DArray image(sizeX, sizeY, dtyp_cDataType(code), imageCal);
                int row = -7;
                double y = -7;
                for (const auto& refusal :
                     {userRefusalOf([&] { extr_Min(image, conversion); }),
                      userRefusalOf([&] { extr_Max(image, conversion); }),
                      userRefusalOf([&] { extr_Min(image, index, row, conversion); }),
                      userRefusalOf([&] { extr_Max(image, index, row, conversion); }),
                      userRefusalOf([&] { extr_Min(image, position, y, conversion); }),
                      userRefusalOf([&] { extr_Max(image, position, y, conversion); }),
                      userRefusalOf([&] { extr_MinMax(image, min, max, conversion); })})
                    EXPECT_EQ(refusal, expected);
                EXPECT_EQ(row, -7);
                EXPECT_EQ(y, -7);
            }
            EXPECT_EQ(index, -7);
            EXPECT_EQ(position, -7);
            EXPECT_EQ(min.As<int>(), -7);
            EXPECT_EQ(max.As<int>(), -7);
        }
}

TEST(Extrema, OfAnUnknownTypeAreTheFloatZeroAndLeaveThePosition) {
    for (const int code : {-1, 0, 11}) {
        const darr_c1DArray line(3, dtyp_cDataType(code), lineCal);
        const darr_c2DArray image(3, 2, dtyp_cDataType(code), imageCal);
        int index = -7, x = -7, y = -7;
        double position = -7, calX = -7, calY = -7;
        expectElement(extr_Min(line, conv_RealPart), 0.0F, "");
        expectElement(extr_Max(line, index, conv_RealPart), 0.0F, "");
        expectElement(extr_Min(line, position, conv_RealPart), 0.0F, "");
        expectElement(extr_Max(image, conv_RealPart), 0.0F, "");
        expectElement(extr_Min(image, x, y, conv_RealPart), 0.0F, "");
        expectElement(extr_Max(image, calX, calY, conv_RealPart), 0.0F, "");
        EXPECT_EQ(index, -7);
        EXPECT_EQ(position, -7);
        EXPECT_EQ(x, -7);
        EXPECT_EQ(y, -7);
        EXPECT_EQ(calX, -7);
        EXPECT_EQ(calY, -7);
        pnum_cNumber min, max;
        extr_MinMax(line, min, max, conv_RealPart);
        expectElement(min, 0.0F, "");
        expectElement(max, 0.0F, "");
        for (const rnge_c1DRange& range :
             {rnge_c1DRange(-90, 90), rnge_c1DRange(5, 5), line.Range()})
            for (const auto interpolation : {darr_NoInterpolation, darr_LinearInterpolation}) {
                expectElement(extr_Min(line, range, interpolation, conv_RealPart), 0.0F, "");
                expectElement(extr_Max(line, range, interpolation, conv_RealPart), 0.0F, "");
            }
    }
}

TEST(Extrema, AnUnknownConversionIsRefusedForComplexesOnly) {
    const auto unknown = static_cast<conv_eComplexConversion>(9);
    const ComplexDouble complexes[] = {{1, 2}};
    const darr_c1DArray complexLine{std::span(complexes)};
    int index = -7;
    pnum_cNumber min(-7), max(-7);
    EXPECT_NE(refusalOf([&] { extr_Min(complexLine, index, unknown); }), "none");
    EXPECT_NE(refusalOf([&] { extr_MinMax(complexLine, min, max, unknown); }), "none");
    EXPECT_NE(refusalOf([&] {
                  extr_Max(complexLine, rnge_c1DRange(0, 1), darr_NoInterpolation, unknown);
              }),
              "none");
    EXPECT_EQ(index, -7);
    EXPECT_EQ(min.As<int>(), -7);
    EXPECT_EQ(refusalOf([&] { extr_Min(lineOf({1, 2}), unknown); }), "none");
}

TEST(ExtremaInRange, RefuseWhatValueRefuses) {
    const auto unknown = static_cast<darr_eInterpolation>(2);
    EXPECT_EQ(refusalOf([&] {
                  extr_Min(lineOf({1, 2}), rnge_c1DRange(0, 1), unknown, conv_RealPart);
              }),
              "darr:1");
    EXPECT_EQ(refusalOf([&] {
                  extr_Max(lineOf({1, 2}), rnge_c1DRange(notANumber, 1), darr_NoInterpolation,
                           conv_RealPart);
              }),
              indexRefusal);
}

TEST(Extrema, NothingIsAllocated) {
    const darr_c1DArray line = lineOf(std::vector<double>(5000, 1.0));
    const std::vector<ComplexDouble> complexes(5000);
    const darr_c1DArray complexLine{std::span<const ComplexDouble>(complexes)};
    const rnge_c1DRange range(10, 4000);
    pnum_cNumber min, max;
    double position = 0;
    const FailingNew failing(0);
    EXPECT_NO_THROW(extr_Min(line, position, conv_RealPart));
    EXPECT_NO_THROW(extr_MinMax(complexLine, min, max, conv_Modulus));
    EXPECT_NO_THROW(extr_Max(line, range, darr_LinearInterpolation, conv_RealPart));
    EXPECT_NO_THROW(extr_Max(complexLine, range, darr_LinearInterpolation, conv_Modulus));
    EXPECT_NO_THROW(extr_Min(complexLine, range, darr_NoInterpolation, conv_Phase));
}

} // namespace
