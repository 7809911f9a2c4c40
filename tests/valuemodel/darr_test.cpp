#include "dataprocessing/valuemodel/darr.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "dataprocessing/valuemodel/resc.h"
#include "tests/failing_new.h"
#include "tests/support/arrays.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

/// What a selection has at each place: the element that lay there, zero outside.
template<class T>
void checkSelection(const darr_c1DArray& whole, const darr_c1DArray& part, int first, int last) {
    SCOPED_TRACE(std::to_string(first) + " to " + std::to_string(last));
    ASSERT_EQ(part.Size(), last > first ? last - first : 0);
    ASSERT_EQ(part.DataType(), whole.DataType());
    for (int i = 0; i < part.Size(); ++i) {
        const int source = first + i;
        const bool inside = source >= 0 && source < whole.Size();
        const T wanted =
            inside ? whole.Elements<T>()[static_cast<std::size_t>(source)] : elementOf<T>(0);
        ASSERT_TRUE(isSameElement(part.Elements<T>()[static_cast<std::size_t>(i)], wanted)) << i;
        ASSERT_EQ(part.Cal().Position(i), whole.Cal().Position(source));
    }
    const int end = std::max(first, last);
    EXPECT_EQ(part.Range(), rnge_c1DRange(whole.Cal().Position(first), whole.Cal().Position(end)));
    EXPECT_EQ(part.Cal().Delta(), whole.Cal().Delta());
    EXPECT_EQ(part.Cal().Offset(), whole.Cal().Offset());
}

struct sRule {
    double fraction;
    int lower[4]; // index of an end at element 0 + fraction, under rules 0 to 3, at the start
    int upper[4]; // and at the end
};

constexpr sRule rules[] = {
    {0.0, {0, 0, 0, 0}, {0, 0, 0, 0}},
    {0.25, {0, 0, 0, 1}, {0, 0, 1, 1}},
    {0.4999, {0, 0, 0, 1}, {0, 0, 1, 1}},
    {0.5, {0, 1, 0, 1}, {0, 1, 1, 1}},
    {0.75, {0, 1, 0, 1}, {0, 1, 1, 1}},
    // An element within 1e-6 is that element ...
    {9.9e-7, {0, 0, 0, 0}, {0, 0, 0, 0}},
    {-9.9e-7, {0, 0, 0, 0}, {0, 0, 0, 0}},
    // ... and further away it is not.
    {1.01e-6, {0, 0, 0, 1}, {0, 0, 1, 1}},
    {-1.01e-6, {-1, 0, -1, 0}, {-1, 0, 0, 0}},
};

} // namespace

TEST(Array, DefaultIsEmptyOnTheDefaultCalibration) {
    EXPECT_EQ(darr_c1DArray().Size(), 0);
    EXPECT_EQ(darr_c1DArray().DataType(), dtyp_Double);
    EXPECT_EQ(darr_c1DArray().Cal(), cal_c1DArrayCal::Default);
    EXPECT_EQ(darr_c1DArray().Range(), rnge_c1DRange(0, 0));
    EXPECT_EQ(darr_c2DArray().Count(), 0);
    EXPECT_EQ(darr_c2DArray().Cal(), cal_c2DArrayCal::Default);
    EXPECT_EQ(darr_c2DArray().Range(), rnge_c2DRange(0, 0, 0, 0));
}

TEST(Array, IsMadeInEveryWay) {
    const cal_c1DArrayCal cal(1, 2, 3);
    const std::vector<int> elements = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(darr_c1DArray(6, dtyp_Int16, cal).DataType(), dtyp_Int16);
    EXPECT_EQ(elementsOf<int>(darr_c1DArray(3, pnum_cNumber(7), cal)), std::vector<int>(3, 7));
    EXPECT_EQ(elementsOf<int>(lineOf(elements, cal)), elements);
    EXPECT_EQ(elementsOf<int>(darr_c1DArray(parr_c1DNumberArray(lineOf(elements)), cal)), elements);
    for (const darr_c1DArray& array :
         {darr_c1DArray(6, dtyp_Int16, cal), darr_c1DArray(6, pnum_cNumber(7), cal),
          lineOf(elements, cal), darr_c1DArray(parr_c1DNumberArray(lineOf(elements)), cal)}) {
        EXPECT_EQ(array.Size(), 6);
        EXPECT_EQ(array.Cal(), cal);
    }
    const arr_c1DNumberArray<double> doubles({0.5, 1.5});
    const darr_c1DArray fromDoubles(doubles, cal);
    EXPECT_EQ(elementsOf<double>(fromDoubles), (std::vector<double>{0.5, 1.5}));
    EXPECT_EQ(fromDoubles.Cal(), cal);
    EXPECT_EQ(darr_c1DArray(arr_c1DNumberArray<double>(), cal).Size(), 0);

    const cal_c2DArrayCal cal2(1, 2, 3, 4, 5, 6);
    for (const darr_c2DArray& array :
         {darr_c2DArray(3, 2, dtyp_Int32, cal2), darr_c2DArray(3, 2, pnum_cNumber(7), cal2),
          planeOf(3, 2, elements, cal2),
          darr_c2DArray(parr_c2DNumberArray(planeOf(3, 2, elements)), cal2)}) {
        EXPECT_EQ(array.SizeX(), 3);
        EXPECT_EQ(array.SizeY(), 2);
        EXPECT_EQ(array.DataType(), dtyp_Int32);
        EXPECT_EQ(array.Cal(), cal2);
    }
    EXPECT_EQ(elementsOf<int>(planeOf(3, 2, elements, cal2)), elements);
}

TEST(Array, IsMadeOfSpansThatCouldBeWrittenToAsWell) {
    std::vector<int> elements = {1, 2, 3, 4};
    EXPECT_EQ(elementsOf<int>(darr_c1DArray(std::span(elements), cal_c1DArrayCal(1, 2, 3))),
              elements);
    EXPECT_EQ(elementsOf<int>(darr_c2DArray(2, 2, std::span(elements))), elements);
}

TEST(Array, ElementsCanBeMovedIn) {
    parr_c1DNumberArray elements(3, pnum_cNumber(1));
    const void* storage = elements.Data();
    const darr_c1DArray line(std::move(elements), cal_c1DArrayCal(1, 2, 3));
    EXPECT_EQ(line.Data(), storage);
}

TEST(Array, ImpossibleSizesAreRefused) {
    EXPECT_EQ(refusalOf([] { darr_c1DArray(-1, dtyp_Int8, cal_c1DArrayCal()); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { darr_c1DArray(-1, pnum_cNumber(1), cal_c1DArrayCal()); }),
              sizeRefusal);
    EXPECT_EQ(refusalOf([] { darr_c2DArray(INT_MAX, 2, dtyp_Int8, cal_c2DArrayCal()); }),
              sizeRefusal);
    EXPECT_EQ(refusalOf([] { darr_c2DArray(1, -1, pnum_cNumber(1), cal_c2DArrayCal()); }),
              sizeRefusal);
    EXPECT_EQ(refusalOf([] { planeOf(2, 2, std::vector<int>(5)); }), sizeRefusal);
}

TEST(Array, CalibrationIsSetPartByPart) {
    darr_c1DArray line(2, pnum_cNumber(1), cal_c1DArrayCal());
    line.SetOffsetX(1.5);
    line.SetDeltaX(2.5);
    line.SetCalIndexX(3);
    EXPECT_EQ(line.Cal(), cal_c1DArrayCal(1.5, 2.5, 3));
    line.SetCal(cal_c1DArrayCal(9, 8, 7));
    EXPECT_EQ(line.Cal(), cal_c1DArrayCal(9, 8, 7));
    darr_c2DArray plane(2, 2, pnum_cNumber(1), cal_c2DArrayCal());
    plane.SetOffsetX(1);
    plane.SetDeltaX(2);
    plane.SetCalIndexX(5);
    EXPECT_EQ(plane.Cal(), cal_c2DArrayCal(1, 2, 0, 1, 5, 0));
    plane.SetOffsetY(3);
    plane.SetDeltaY(4);
    plane.SetCalIndexY(6);
    EXPECT_EQ(plane.Cal(), cal_c2DArrayCal(1, 2, 3, 4, 5, 6));
    plane.SetCal(cal_c2DArrayCal::Default);
    EXPECT_EQ(plane.Cal(), cal_c2DArrayCal::Default);
}

TEST(Array, CopiesAreIndependentAndMovedOnesEmpty) {
    darr_c1DArray line = lineOf<int>({1, 2}, cal_c1DArrayCal(1, 2, 3));
    darr_c1DArray copy = line;
    line.SetNumber(0, 9);
    line.SetOffsetX(100);
    EXPECT_EQ(elementsOf<int>(copy), (std::vector<int>{1, 2}));
    EXPECT_EQ(copy.Cal(), cal_c1DArrayCal(1, 2, 3));
    const darr_c1DArray taken = std::move(copy);
    // NOLINTBEGIN(bugprone-use-after-move): the contract says what is left
    EXPECT_EQ(copy.Size(), 0);
    EXPECT_EQ(copy.Range().Length(), 0);
    EXPECT_EQ(refusalOf([&] { copy.Value(0, darr_NoInterpolation); }), indexRefusal);
    EXPECT_EQ(elementsOf<int>(copy.Selection(0, 2)), std::vector<int>(2, 0));
    EXPECT_EQ(resc_Rescale(copy, 0.5).Size(), 0);
    EXPECT_EQ(elementsOf<int>(taken), (std::vector<int>{1, 2}));
    darr_c2DArray plane = planeOf<int>(2, 1, {1, 2});
    const darr_c2DArray takenPlane = std::move(plane);
    EXPECT_EQ(plane.Range(), rnge_c2DRange(0, 0, 0, 0));
    EXPECT_EQ(refusalOf([&] { plane.LineAtY(0); }), indexRefusal);
    EXPECT_EQ(elementsOf<int>(plane.Selection(0, 0, 1, 1)), std::vector<int>(1, 0));
    // NOLINTEND(bugprone-use-after-move)
}

TEST(Array, RangeRunsFromTheFirstElementToThatPastTheLast) {
    EXPECT_EQ(lineOf<int>({1, 2, 3, 4}, cal_c1DArrayCal(10, 0.5, 2)).Range(), rnge_c1DRange(9, 11));
    EXPECT_EQ(lineOf<int>({1, 2}, cal_c1DArrayCal(0, -1, 0)).Range(), rnge_c1DRange(0, -2));
    EXPECT_EQ(planeOf<int>(2, 3, {1, 2, 3, 4, 5, 6}, cal_c2DArrayCal(10, 0.5, -1, 2, 2, 1)).Range(),
              rnge_c2DRange(9, -3, 10, 3));
}

// ---- selection by indices ----

TEST(Selection, ByIndicesHasTheElementsInsideAndZerosOutside) {
    forEachElementType([]<class T>(int) {
        const darr_c1DArray line = lineOf(countedElements<T>(5), cal_c1DArrayCal(3, 0.5, 2));
        for (int first = -8; first <= 8; ++first)
            for (int last = -8; last <= 13; ++last) {
                checkSelection<T>(line, line.Selection(first, last), first, last);
                checkSelection<T>(line, line.Selection(rnge_c1DIndexRange(first, last)), first,
                                  last);
            }
    });
}

TEST(Selection, OfLongArraysAroundBlockEnds) {
    const darr_c1DArray line = lineOf(countedElements<float>(4097), cal_c1DArrayCal(3, 0.5, 2));
    for (const auto& [first, last] :
         {std::pair(0, 4097), std::pair(1, 4097), std::pair(-1, 4098), std::pair(4096, 4097),
          std::pair(4097, 8200), std::pair(-9000, 1), std::pair(255, 513)})
        checkSelection<float>(line, line.Selection(first, last), first, last);
}

TEST(Selection, OfAnEmptyArrayIsZeros) {
    checkSelection<double>(darr_c1DArray(), darr_c1DArray().Selection(-2, 3), -2, 3);
    const darr_c2DArray rowless(3, 0, dtyp_Int32, cal_c2DArrayCal());
    EXPECT_EQ(elementsOf<int>(rowless.Selection(0, 0, 3, 2)), std::vector<int>(6, 0));
}

TEST(Selection, BeginAtTheEndsOfInt) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3}, cal_c1DArrayCal(0, 1, 0));
    checkSelection<int>(line, line.Selection(INT_MAX - 2, INT_MAX), INT_MAX - 2, INT_MAX);
    checkSelection<int>(line, line.Selection(INT_MIN + 1, INT_MIN + 3), INT_MIN + 1, INT_MIN + 3);
    // The calibration index would be 2^31.
    EXPECT_EQ(refusalOf([&] { line.Selection(INT_MIN, INT_MIN + 2); }), indexRefusal);
    const darr_c1DArray low = lineOf<int>({1, 2, 3}, cal_c1DArrayCal(0, 1, -3));
    EXPECT_EQ(refusalOf([&] { low.Selection(INT_MAX - 1, INT_MAX); }), indexRefusal);
    checkSelection<int>(low, low.Selection(INT_MAX - 2, INT_MAX), INT_MAX - 2, INT_MAX);
    checkSelection<int>(low, low.Selection(INT_MIN, INT_MIN + 2), INT_MIN, INT_MIN + 2);
}

TEST(Selection, OfMoreElementsThanAnArrayCanHaveIsRefused) {
    const darr_c1DArray line = lineOf<unsigned char>({1, 2, 3});
    EXPECT_EQ(refusalOf([&] { line.Selection(INT_MIN, INT_MAX); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { line.Selection(-1, INT_MAX); }), sizeRefusal);
    const darr_c2DArray plane = planeOf<unsigned char>(1, 1, {1});
    EXPECT_EQ(refusalOf([&] { plane.Selection(0, 0, 65536, 32768); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { plane.Selection(INT_MIN, 0, INT_MAX, 0); }), sizeRefusal);
}

TEST(Selection, WithTheLastIndexNotAfterTheFirstIsEmpty) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3}, cal_c1DArrayCal(5, 2, 1));
    for (const auto& [first, last] :
         {std::pair(1, 1), std::pair(2, 1), std::pair(INT_MAX, INT_MIN), std::pair(3, 3),
          std::pair(INT_MIN, INT_MIN), std::pair(INT_MAX, INT_MAX)}) {
        const darr_c1DArray part = line.Selection(first, last);
        EXPECT_EQ(part.Size(), 0);
        EXPECT_EQ(part.DataType(), dtyp_Int32);
        EXPECT_EQ(part.Cal().Delta(), 2);
    }
    EXPECT_EQ(line.Selection(1, 1).Range(), rnge_c1DRange(5, 5));
    const darr_c2DArray plane = planeOf<int>(2, 2, {1, 2, 3, 4});
    EXPECT_EQ(plane.Selection(1, 0, 0, 2).Count(), 0);
    EXPECT_EQ(plane.Selection(0, 2, 2, 2).Count(), 0);
}

TEST(Selection, OfAPlaneKeepsEveryElementInItsPlace) {
    forEachElementType([]<class T>(int) {
        const darr_c2DArray plane =
            planeOf(4, 3, countedElements<T>(12), cal_c2DArrayCal(1, 0.5, -2, 0.25, 1, 2));
        std::mt19937 random(7);
        std::uniform_int_distribution<int> anywhere(-5, 9);
        for (int repeat = 0; repeat < 200; ++repeat) {
            const int firstX = anywhere(random);
            const int firstY = anywhere(random);
            const int lastX = anywhere(random);
            const int lastY = anywhere(random);
            const darr_c2DArray part =
                repeat % 2 == 0 ? plane.Selection(firstX, firstY, lastX, lastY)
                                : plane.Selection(rnge_c2DIndexRange(firstX, firstY, lastX, lastY));
            ASSERT_EQ(part.SizeX(), std::max(lastX - firstX, 0));
            ASSERT_EQ(part.SizeY(), std::max(lastY - firstY, 0));
            for (int y = 0; y < part.SizeY(); ++y)
                for (int x = 0; x < part.SizeX(); ++x) {
                    const int u = firstX + x;
                    const int v = firstY + y;
                    const bool inside = u >= 0 && u < 4 && v >= 0 && v < 3;
                    const double wanted = inside ? v * 4 + u + 1 : 0;
                    ASSERT_EQ(part.Number(x, y).template As<double>(), wanted);
                    ASSERT_EQ(part.Cal().X().Position(x), plane.Cal().X().Position(u));
                    ASSERT_EQ(part.Cal().Y().Position(y), plane.Cal().Y().Position(v));
                }
        }
    });
}

TEST(Selection, OfAnUnknownTypeKeepsTypeSizeAndCalibration) {
    const dtyp_cDataType unknown(11);
    const darr_c1DArray part = darr_c1DArray(5, unknown, cal_c1DArrayCal(1, 2, 0)).Selection(1, 9);
    EXPECT_EQ(part.Size(), 8);
    EXPECT_EQ(part.DataType(), unknown);
    EXPECT_EQ(part.Data(), nullptr);
    EXPECT_EQ(part.Cal().CalIndex(), -1);
    const darr_c2DArray plane(3, 2, unknown, cal_c2DArrayCal());
    EXPECT_EQ(plane.Selection(0, 0, 4, 4).Count(), 16);
    EXPECT_EQ(plane.LineAtY(1).Size(), 3);
    EXPECT_EQ(resc_Rescale(plane, 0.5, 0.5).Count(), 24);
}

// ---- selection by calibrated range ----

TEST(SelectionByRange, FollowsItsRuleAtEveryFractionOfBothEnds) {
    const darr_c1DArray line = lineOf(countedElements<int>(20));
    for (const sRule& start : rules)
        for (const sRule& end : rules)
            for (int rule = 0; rule < 4; ++rule) {
                const rnge_c1DRange range(3 + start.fraction, 8 + end.fraction);
                const int first = 3 + start.lower[rule];
                const int last = 8 + end.upper[rule];
                const auto select = static_cast<rnge_eIndexSelect>(rule);
                SCOPED_TRACE(std::to_string(start.fraction) + ", " + std::to_string(end.fraction) +
                             " by rule " + std::to_string(rule));
                EXPECT_EQ(rnge_c1DIndexRange(range, line.Cal(), select),
                          rnge_c1DIndexRange(first, last));
                checkSelection<int>(line, line.Selection(range, select), first, last);
            }
}

TEST(SelectionByRange, OutsideOfTheArrayIsZeros) {
    const darr_c1DArray line = lineOf(countedElements<int>(4), cal_c1DArrayCal(10, 2, 0));
    for (int rule = 0; rule < 4; ++rule) {
        const auto select = static_cast<rnge_eIndexSelect>(rule);
        checkSelection<int>(line, line.Selection(rnge_c1DRange(6, 14), select), -2, 2);
        checkSelection<int>(line, line.Selection(rnge_c1DRange(14, 22), select), 2, 6);
        checkSelection<int>(line, line.Selection(rnge_c1DRange(100, 104), select), 45, 47);
        checkSelection<int>(line, line.Selection(rnge_c1DRange(-104, -100), select), -57, -55);
        checkSelection<int>(line, line.Selection(rnge_c1DRange(-10, 30), select), -10, 10);
        EXPECT_EQ(line.Selection(rnge_c1DRange(12, 12), select).Size(), 0);
        EXPECT_EQ(line.Selection(rnge_c1DRange(16, 12), select).Size(), 0);
        EXPECT_EQ(line.Selection(rnge_c1DRange(1e300, -1e300), select).Size(), 0);
        EXPECT_EQ(refusalOf([&] { line.Selection(rnge_c1DRange(-1e300, 1e300), select); }),
                  sizeRefusal);
        EXPECT_EQ(refusalOf([&] { line.Selection(rnge_c1DRange(-infinity, infinity), select); }),
                  sizeRefusal);
    }
}

TEST(SelectionByRange, WithANegativeDeltaRunsWithTheIndices) {
    const darr_c1DArray line = lineOf(countedElements<int>(6), cal_c1DArrayCal(10, -0.5, 0));
    checkSelection<int>(line, line.Selection(rnge_c1DRange(9.5, 8), rnge_IndexNearest), 1, 4);
    checkSelection<int>(line, line.Selection(rnge_c1DRange(8, 9.5), rnge_IndexNearest), 1, 4);
}

TEST(SelectionByRange, AnEndWithoutAnIndexIsRefused) {
    const darr_c1DArray line = lineOf(countedElements<int>(4));
    const darr_c1DArray flat = lineOf(countedElements<int>(4), cal_c1DArrayCal(1, 0, 0));
    for (int rule = 0; rule < 4; ++rule) {
        const auto select = static_cast<rnge_eIndexSelect>(rule);
        EXPECT_EQ(refusalOf([&] { line.Selection(rnge_c1DRange(notANumber, 2), select); }),
                  indexRefusal);
        EXPECT_EQ(refusalOf([&] { line.Selection(rnge_c1DRange(0, notANumber), select); }),
                  indexRefusal);
        EXPECT_EQ(refusalOf([&] { flat.Selection(rnge_c1DRange(1, 1), select); }), indexRefusal);
        EXPECT_EQ(refusalOf([&] { flat.Selection(rnge_c1DRange(2, 3), select); }), indexRefusal);
    }
}

TEST(SelectionByRange, UnknownRuleIsRefused) {
    const darr_c1DArray line = lineOf(countedElements<int>(4));
    const darr_c2DArray plane = planeOf(2, 2, countedElements<int>(4));
    for (const int rule : {-1, 4, 99}) {
        const auto odd = static_cast<rnge_eIndexSelect>(rule);
        EXPECT_EQ(refusalOf([&] { line.Selection(rnge_c1DRange(0, 1), odd); }), "rnge:1");
        EXPECT_EQ(refusalOf([&] { plane.Selection(rnge_c2DRange(0, 0, 1, 1), odd); }), "rnge:1");
    }
}

TEST(SelectionByRange, OwnRangeGivesTheWholeArrayOnAnyCalibration) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> offset(-1e3, 1e3);
    std::uniform_real_distribution<double> logDelta(-5, 3);
    std::uniform_int_distribution<int> calIndex(-50, 50);
    for (int repeat = 0; repeat < 2000; ++repeat) {
        const cal_c1DArrayCal cal(offset(random), std::pow(10, logDelta(random)), calIndex(random));
        const int size = repeat % 40;
        const darr_c1DArray line = lineOf(countedElements<short>(size), cal);
        for (int rule = 0; rule < 4; ++rule)
            checkSelection<short>(
                line, line.Selection(line.Range(), static_cast<rnge_eIndexSelect>(rule)), 0, size);
    }
}

TEST(SelectionByRange, EveryCoordinateStaysOnRandomCalibrations) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> offset(-1e3, 1e3);
    std::uniform_real_distribution<double> logDelta(-4, 3);
    std::uniform_int_distribution<int> anywhere(-30, 40);
    const double fractions[] = {0, 0.2, 0.49, 0.51, 0.8};
    for (int repeat = 0; repeat < 3000; ++repeat) {
        const cal_c1DArrayCal cal(offset(random), std::pow(10, logDelta(random)), anywhere(random));
        const darr_c1DArray line = lineOf(countedElements<float>(10), cal);
        const double p = anywhere(random);
        const double q = p + std::abs(anywhere(random));
        const double f = fractions[random() % 5];
        const double g = fractions[random() % 5];
        const auto at = [&](double index) {
            return cal.Offset() + (index - cal.CalIndex()) * cal.Delta();
        };
        const int rule = static_cast<int>(random() % 4);
        const int first = static_cast<int>(rule == 3   ? std::ceil(p + f)
                                           : rule == 1 ? std::round(p + f + 100) - 100
                                                       : std::floor(p + f));
        const int last = static_cast<int>(rule >= 2   ? std::ceil(q + g)
                                          : rule == 1 ? std::round(q + g + 100) - 100
                                                      : std::floor(q + g));
        checkSelection<float>(line,
                              line.Selection(rnge_c1DRange(at(p + f), at(q + g)),
                                             static_cast<rnge_eIndexSelect>(rule)),
                              first, last);
    }
}

TEST(SelectionByRange, OfAPlaneTakesBothAxes) {
    const darr_c2DArray plane =
        planeOf(4, 3, countedElements<int>(12), cal_c2DArrayCal(10, 0.5, -1, 2, 0, 0));
    const darr_c2DArray part = plane.Selection(rnge_c2DRange(10.5, 1, 11.5, 7), rnge_IndexNearest);
    EXPECT_EQ(part.SizeX(), 2);
    EXPECT_EQ(part.SizeY(), 3);
    EXPECT_EQ(elementsOf<int>(part), (std::vector<int>{6, 7, 10, 11, 0, 0}));
    EXPECT_EQ(part.Range(), rnge_c2DRange(10.5, 1, 11.5, 7));
}

TEST(SelectionByRange, OfAPlaneTakesTheUprightHullOfARotatedRange) {
    const darr_c2DArray plane = planeOf(8, 8, countedElements<int>(64));
    // A square with the diagonal 4 on its corner, around (4, 4).
    const rnge_c2DRange diamond(4, 4, 2 * std::sqrt(2.0), 2 * std::sqrt(2.0), type_Pi / 4);
    const darr_c2DArray part = plane.Selection(diamond, rnge_IndexFloor);
    EXPECT_EQ(part.SizeX(), 4);
    EXPECT_EQ(part.SizeY(), 4);
    EXPECT_EQ(part.Number(0, 0).As<int>(), 19);
    EXPECT_EQ(part.Cal().X().Position(0), 2);
    // Turned by a right angle, length and width change places.
    const darr_c2DArray turned =
        plane.Selection(rnge_c2DRange(4, 4, 6, 2, type_Pi / 2), rnge_IndexFloor);
    EXPECT_EQ(turned.SizeX(), 2);
    EXPECT_EQ(turned.SizeY(), 6);
    EXPECT_EQ(turned.Number(0, 0).As<int>(), 12);
}

// ---- rows ----

TEST(Row, IsALineOnTheCalibrationOfX) {
    forEachElementType([]<class T>(int) {
        const darr_c2DArray plane =
            planeOf(3, 2, countedElements<T>(6), cal_c2DArrayCal(1, 2, 3, 4, 5, 6));
        const darr_c1DArray row = plane.LineAtY(1);
        EXPECT_EQ(row.Size(), 3);
        for (int x = 0; x < 3; ++x)
            EXPECT_TRUE(isSameElement(row.template Elements<T>()[static_cast<std::size_t>(x)],
                                      elementOf<T>(4 + x, -4 - x)));
        EXPECT_EQ(row.Cal(), cal_c1DArrayCal(1, 2, 5));
        EXPECT_EQ(plane.LineAtY(0).Number(2).template As<double>(), 3);
    });
}

TEST(Row, OutsideOfTheArrayIsRefused) {
    const darr_c2DArray plane = planeOf(3, 2, countedElements<int>(6));
    for (const int y : {-1, 2, INT_MIN, INT_MAX})
        EXPECT_EQ(refusalOf([&] { plane.LineAtY(y); }), indexRefusal) << y;
    EXPECT_EQ(darr_c2DArray(0, 2, dtyp_Float, cal_c2DArrayCal()).LineAtY(1).Size(), 0);
    EXPECT_EQ(refusalOf([] { darr_c2DArray(2, 0, dtyp_Float, cal_c2DArrayCal()).LineAtY(0); }),
              indexRefusal);
}

// ---- interpolated values ----

TEST(Value, WithoutInterpolationIsTheElementThatCoversThePosition) {
    const darr_c1DArray line = lineOf<short>({10, 20, 30}, cal_c1DArrayCal(5, 2, 0));
    const struct {
        double x;
        int value;
    } table[] = {{5, 10},     {6.9, 10},      {7, 20},        {8.9, 20}, {9, 30},
                 {10.9, 30},  {11, 30},       {99, 30},       {4.9, 10}, {-1e300, 10},
                 {1e300, 30}, {infinity, 30}, {-infinity, 10}};
    for (const auto& row : table) {
        const pnum_cNumber value = line.Value(row.x, darr_NoInterpolation);
        EXPECT_EQ(value.As<int>(), row.value) << row.x;
        EXPECT_EQ(value.DataType(), dtyp_Int16);
    }
}

TEST(Value, LinearInterpolationLiesBetweenNeighbours) {
    const darr_c1DArray line = lineOf<short>({10, 20, -30}, cal_c1DArrayCal(5, 2, 0));
    const struct {
        double x, value;
    } table[] = {{5, 10},  {5.5, 12.5}, {6, 15}, {7, 20},      {8, -5},         {8.5, -17.5},
                 {9, -30}, {9.5, -30},  {4, 10}, {-1e300, 10}, {infinity, -30}, {-infinity, 10}};
    for (const auto& row : table) {
        const pnum_cNumber value = line.Value(row.x, darr_LinearInterpolation);
        EXPECT_EQ(value.As<double>(), row.value) << row.x;
        EXPECT_EQ(value.DataType(), dtyp_Double) << row.x;
    }
}

TEST(Value, LinearInterpolationKeepsFloatingAndComplexTypes) {
    forEachElementType([]<class T>(int code) {
        const darr_c1DArray line = lineOf(countedElements<T>(3));
        for (const double x : {-1.0, 0.0, 0.5, 1.25, 2.0, 5.0}) {
            const pnum_cNumber value = line.Value(x, darr_LinearInterpolation);
            EXPECT_EQ(value.DataType().Code(), code <= 6 ? 8 : code);
            const double wanted = std::clamp(x, 0.0, 2.0) + 1;
            EXPECT_EQ(value.As<ComplexDouble>(), ComplexDouble(wanted, code >= 9 ? -wanted : 0));
        }
    });
}

TEST(Value, OfOneElementIsThatElement) {
    const darr_c1DArray line = lineOf<double>({7}, cal_c1DArrayCal(0, 1, 0));
    for (const double x : {-5.0, 0.0, 0.5, 1.0, 5.0}) {
        EXPECT_EQ(line.Value(x, darr_NoInterpolation).As<double>(), 7);
        EXPECT_EQ(line.Value(x, darr_LinearInterpolation).As<double>(), 7);
    }
}

TEST(Value, ANeighbourOfWeightZeroDoesNotMatter) {
    const darr_c1DArray line =
        lineOf<double>({infinity, 1, notANumber, 2, infinity, infinity, -infinity});
    const auto at = [&](double x) { return line.Value(x, darr_LinearInterpolation).As<double>(); };
    EXPECT_EQ(at(1), 1);
    EXPECT_EQ(at(3), 2);
    EXPECT_EQ(at(0), infinity);
    EXPECT_EQ(at(9), -infinity);
    EXPECT_TRUE(std::isnan(at(2)));
    EXPECT_TRUE(std::isnan(at(1.5)));
    EXPECT_EQ(at(0.5), infinity);
    EXPECT_EQ(at(4.5), infinity);
    EXPECT_TRUE(std::isnan(at(5.5)));
}

TEST(Value, BetweenTheLargestValuesDoesNotOverflow) {
    const double most = std::ldexp(1.0, 1023); // the difference overflows
    const darr_c1DArray line = lineOf<double>({-most, most});
    EXPECT_EQ(line.Value(0.5, darr_LinearInterpolation).As<double>(), 0);
    EXPECT_EQ(line.Value(0.75, darr_LinearInterpolation).As<double>(), most / 2);
}

TEST(Value, WithoutAnElementOrAnIndexIsRefused) {
    const darr_c1DArray line = lineOf<int>({1, 2});
    const darr_c1DArray flat = lineOf<int>({1, 2}, cal_c1DArrayCal(3, 0, 0));
    for (const auto interpolation : {darr_NoInterpolation, darr_LinearInterpolation}) {
        EXPECT_EQ(refusalOf([&] { darr_c1DArray().Value(0, interpolation); }), indexRefusal);
        EXPECT_EQ(refusalOf([&] { line.Value(notANumber, interpolation); }), indexRefusal);
        EXPECT_EQ(refusalOf([&] { flat.Value(3, interpolation); }), indexRefusal);
        EXPECT_EQ(refusalOf([&] { flat.Value(4, interpolation); }), indexRefusal);
    }
}

TEST(Value, ARefusalNamesAnIndexOnlyWhereThereIsOne) {
    const auto refusedSize = [](const darr_c1DArray& line, double x) {
        try {
            line.Value(x, darr_NoInterpolation);
        } catch (const arr_cIndexException& refusal) {
            return refusal.Size();
        }
        return -2LL;
    };
    EXPECT_EQ(refusedSize(darr_c1DArray(), 0), 0);
    EXPECT_EQ(refusedSize(lineOf<int>({1, 2}), notANumber), -1);
    EXPECT_EQ(refusedSize(lineOf<int>({1, 2}, cal_c1DArrayCal(3, 0, 0)), 4), -1);
}

TEST(Value, UnknownInterpolationIsRefused) {
    const darr_c1DArray line = lineOf<int>({1, 2});
    for (const int odd : {-1, 2, 99})
        EXPECT_EQ(refusalOf([&] { line.Value(0, static_cast<darr_eInterpolation>(odd)); }),
                  "darr:1");
}

// ---- allocation failure ----

TEST(Array, FailingAllocationChangesNothing) {
    const darr_c1DArray source = lineOf(countedElements<int>(10), cal_c1DArrayCal(1, 2, 3));
    const darr_c2DArray plane = planeOf(5, 2, countedElements<int>(10));
    const auto steps = {
        +[](darr_c1DArray& target, const darr_c1DArray& from, const darr_c2DArray&) {
            target = from;
        },
        +[](darr_c1DArray& target, const darr_c1DArray& from, const darr_c2DArray&) {
            target = from.Selection(-3, 12);
        },
        +[](darr_c1DArray& target, const darr_c1DArray& from, const darr_c2DArray&) {
            target = from.Selection(rnge_c1DRange(0, 7), rnge_IndexOuter);
        },
        +[](darr_c1DArray& target, const darr_c1DArray& from, const darr_c2DArray&) {
            target = resc_Rescale(from, 0.3);
        },
        +[](darr_c1DArray& target, const darr_c1DArray&, const darr_c2DArray& rows) {
            target = rows.LineAtY(1);
        },
        +[](darr_c1DArray& target, const darr_c1DArray& from, const darr_c2DArray&) {
            target = conv_Convert(from, dtyp_ComplexFloat);
        },
        +[](darr_c1DArray& target, const darr_c1DArray&, const darr_c2DArray& rows) {
            target = rows.Selection(rnge_c2DRange(1, 0, 9, 9), rnge_IndexFloor).LineAtY(0);
        }};
    int step = 0;
    for (const auto run : steps) {
        SCOPED_TRACE(step++);
        long allowed = 0;
        for (bool failed = true; failed; ++allowed) {
            darr_c1DArray target = lineOf<short>({7, 8, 9}, cal_c1DArrayCal(9, 9, 9));
            failed = false;
            {
                const FailingNew failing(allowed);
                try {
                    run(target, source, plane);
                } catch (const std::bad_alloc&) {
                    failed = true;
                }
            }
            EXPECT_EQ(elementsOf<int>(source), countedElements<int>(10));
            EXPECT_EQ(source.Cal(), cal_c1DArrayCal(1, 2, 3));
            EXPECT_EQ(elementsOf<int>(plane), countedElements<int>(10));
            if (failed) {
                EXPECT_EQ(elementsOf<short>(target), (std::vector<short>{7, 8, 9}));
                EXPECT_EQ(target.Cal(), cal_c1DArrayCal(9, 9, 9));
            }
        }
        EXPECT_GT(allowed, 1);
    }
}

TEST(Column, IsALineOnTheCalibrationOfY) {
    const cal_c2DArrayCal cal(1, 2, 3, 4, 5, 6);
    forEachElementType([&]<class T>(int) {
        const darr_c2DArray plane = planeOf(5, 3, countedElements<T>(15), cal);
        for (int x = 0; x < 5; ++x) {
            const darr_c1DArray column = plane.LineAtX(x);
            EXPECT_EQ(column.Cal(), cal_c1DArrayCal(3, 4, 6));
            ASSERT_EQ(column.Size(), 3);
            for (int y = 0; y < 3; ++y)
                EXPECT_TRUE(isSameElement(column.Elements<T>()[static_cast<std::size_t>(y)],
                                          elementOf<T>(5 * y + x + 1, -(5 * y + x + 1))));
        }
    });
    const darr_c2DArray tall = planeOf(2, 3000, countedElements<short>(6000));
    const darr_c1DArray column = tall.LineAtX(1);
    for (int y = 0; y < 3000; ++y)
        ASSERT_EQ(column.Number(y).As<int>(), (2 * y + 1) % 120 + 1);
}

TEST(Column, OutsideOfTheArrayIsRefused) {
    const darr_c2DArray plane(3, 2, dtyp_Float, {});
    for (const int x : {-1, 3, INT_MIN, INT_MAX})
        EXPECT_EQ(refusalOf([&] { plane.LineAtX(x); }), indexRefusal) << x;
    EXPECT_EQ(refusalOf([] { darr_c2DArray().LineAtX(0); }), indexRefusal);
    EXPECT_EQ(darr_c2DArray(3, 0, dtyp_Float, {}).LineAtX(2).Size(), 0);
}

TEST(ValueInAPlane, IsTheElementAtItsOwnPosition) {
    for (const cal_c2DArrayCal& cal : {cal_c2DArrayCal(), cal_c2DArrayCal(1, 0.1, -3, -0.7, 5, -6),
                                       cal_c2DArrayCal(1e9, 0.3, 0.1, 1e-9, 0, 0)})
        forEachElementType([&]<class T>(int code) {
            const darr_c2DArray plane = planeOf(4, 3, countedElements<T>(12), cal);
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 4; ++x) {
                    const double atX = cal.X().Position(x), atY = cal.Y().Position(y);
                    const auto wanted = elementOf<ComplexDouble>(
                        4 * y + x + 1, isComplexElement<T> ? -(4 * y + x + 1) : 0);
                    const pnum_cNumber bare = plane.Value(atX, atY, darr_NoInterpolation);
                    const pnum_cNumber linear = plane.Value(atX, atY, darr_LinearInterpolation);
                    ASSERT_EQ(bare.DataType().Code(), code);
                    ASSERT_EQ(linear.DataType().Code(), code < 7 ? 8 : code);
                    ASSERT_EQ(bare.As<ComplexDouble>(), wanted);
                    ASSERT_EQ(linear.As<ComplexDouble>(), wanted);
                }
        });
}

// A function that is linear along each axis is found everywhere between.
TEST(ValueInAPlane, IsInterpolatedAlongBothAxes) {
    const cal_c2DArrayCal cal(10, 0.5, -2, 0.25, 1, 2);
    darr_c2DArray plane(6, 5, dtyp_Double, cal);
    const auto f = [](double x, double y) { return 3 + 2 * x - 5 * y + 0.5 * x * y; };
    plane.Fill(f);
    std::mt19937 random(3);
    const auto clamped = [](const cal_cArrayCal& axis, int count, double at) {
        return std::clamp(at, axis.Position(0), axis.Position(count - 1));
    };
    for (int trial = 0; trial < 1000; ++trial) {
        const double x = 9 + static_cast<double>(random() % 4000) / 1000;
        const double y = -3 + static_cast<double>(random() % 2000) / 1000;
        const double wanted = f(clamped(cal.X(), 6, x), clamped(cal.Y(), 5, y));
        ASSERT_NEAR(plane.Value(x, y, darr_LinearInterpolation).As<double>(), wanted, 1e-13);
        const auto covering = [](const cal_cArrayCal& axis, int count, double at) {
            return std::clamp(static_cast<int>(std::floor(axis.RealIndex(at))), 0, count - 1);
        };
        ASSERT_EQ(plane.Value(x, y, darr_NoInterpolation).As<double>(),
                  plane.Number(covering(cal.X(), 6, x), covering(cal.Y(), 5, y)).As<double>());
    }
}

TEST(ValueInAPlane, OfOneRowIsThatOfTheLine) {
    const cal_c1DArrayCal cal(1, 0.3, 2);
    const darr_c1DArray line = lineOf(std::vector<float>{1, 5, -3, 8}, cal);
    const darr_c2DArray row = planeOf(4, 1, std::vector<float>{1, 5, -3, 8}, {cal, {}});
    const darr_c2DArray column = planeOf(1, 4, std::vector<float>{1, 5, -3, 8}, {{}, cal});
    for (double x = 0; x < 3; x += 0.0123) {
        const float wanted = line.Value(x, darr_LinearInterpolation).As<float>();
        ASSERT_EQ(row.Value(x, 0.7, darr_LinearInterpolation).As<float>(), wanted);
        ASSERT_EQ(column.Value(-3, x, darr_LinearInterpolation).As<float>(), wanted);
    }
}

TEST(ValueInAPlane, NeighboursOfWeightZeroDoNotMatter) {
    const darr_c2DArray plane = planeOf(
        3, 3, std::vector<double>{notANumber, infinity, 1, -infinity, 5, 7, notANumber, 9, 4});
    const auto value = [&](double x, double y) {
        return plane.Value(x, y, darr_LinearInterpolation).As<double>();
    };
    EXPECT_EQ(value(1, 1), 5);
    EXPECT_EQ(value(1.5, 1), 6);
    EXPECT_EQ(value(1, 1.5), 7);
    EXPECT_EQ(value(1 + 5e-7, 1 - 5e-7), 5); // within the tolerance
    EXPECT_EQ(value(1.5, 1.5), 6.25);
    EXPECT_TRUE(std::isnan(value(0.5, 0.5)));
}

TEST(ValueInAPlane, WithoutAnElementOrAnIndexIsRefused) {
    const darr_c2DArray plane = planeOf(2, 2, std::vector<int>{1, 2, 3, 4});
    const auto linear = darr_LinearInterpolation;
    EXPECT_EQ(refusalOf([&] { plane.Value(notANumber, 0, linear); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { plane.Value(0, notANumber, linear); }), indexRefusal);
    EXPECT_EQ(plane.Value(infinity, -infinity, linear).As<double>(), 2);
    EXPECT_EQ(refusalOf([&] { darr_c2DArray().Value(0, 0, linear); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { darr_c2DArray(0, 3, dtyp_Float, {}).Value(0, 0, linear); }),
              indexRefusal);
    EXPECT_EQ(refusalOf([&] { darr_c2DArray(3, 0, dtyp_Float, {}).Value(0, 0, linear); }),
              indexRefusal);
    const darr_c2DArray flat = planeOf(2, 1, std::vector<int>{1, 2}, {0, 1, 0, 0, 0, 0});
    EXPECT_EQ(refusalOf([&] { flat.Value(0, 0, linear); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { plane.Value(0, 0, static_cast<darr_eInterpolation>(2)); }), "darr:1");
}

TEST(Fill, SetsEveryElementToTheFunctionOfItsPosition) {
    const cal_c1DArrayCal cal(-3, 0.25, 2);
    const cal_c2DArrayCal cal2D(-3, 0.25, 100, 2, 2, 0);
    forEachElementType([&]<class T>(int code) {
        darr_c1DArray line(2000, dtyp_cDataType(code), cal);
        line.Fill([](double x) { return 300.5 * x; });
        for (int i = 0; i < line.Size(); ++i)
            ASSERT_EQ(line.Number(i).As<ComplexDouble>(),
                      conv_Convert(pnum_cNumber(300.5 * cal.Position(i)), line.DataType())
                          .As<ComplexDouble>());
        EXPECT_EQ(line.Cal(), cal);
        darr_c2DArray plane(7, 5, dtyp_cDataType(code), cal2D);
        plane.Fill([](double x, double y) { return ComplexDouble(x, y); });
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 7; ++x)
                ASSERT_EQ(plane.Number(x, y).As<ComplexDouble>(),
                          conv_Convert(pnum_cNumber(ComplexDouble(cal2D.X().Position(x),
                                                                  cal2D.Y().Position(y))),
                                       plane.DataType())
                              .As<ComplexDouble>());
    });
    darr_c1DArray line(3, dtyp_Int8, {});
    line.Fill([](double x) { return x > 1; });
    EXPECT_EQ(elementsOf<signed char>(line), (std::vector<signed char>{0, 0, 1}));
    darr_c1DArray nothing;
    nothing.Fill([](double) -> int { throw 1; });
    EXPECT_EQ(nothing.Size(), 0);
}

TEST(Fill, TakesFunctionsThatChange) {
    darr_c1DArray line(4, dtyp_Int32, {});
    line.Fill([n = 0](double) mutable { return ++n; });
    EXPECT_EQ(elementsOf<int>(line), (std::vector<int>{1, 2, 3, 4}));
    darr_c2DArray plane(2, 2, dtyp_Int32, {});
    auto counter = [n = 4](double, double) mutable { return ++n; };
    plane.Fill(counter);
    EXPECT_EQ(elementsOf<int>(plane), (std::vector<int>{5, 6, 7, 8}));
    EXPECT_EQ(counter(0, 0), 9);
    const auto constant = [](double) { return 3; };
    line.Fill(constant);
    EXPECT_EQ(elementsOf<int>(line), std::vector<int>(4, 3));
}

TEST(Fill, TakesEveryComplexType) {
    const auto check = []<class Complex>(Complex) {
        darr_c1DArray line(3, dtyp_ComplexDouble, {});
        line.Fill(
            [](double x) { return Complex(static_cast<float>(x), static_cast<float>(2 * x)); });
        EXPECT_EQ(line.Number(2).As<ComplexDouble>(), ComplexDouble(2, 4));
        darr_c2DArray plane(2, 2, dtyp_ComplexFloat, {});
        plane.Fill([](double x, double y) {
            return Complex(static_cast<float>(x), static_cast<float>(y));
        });
        EXPECT_EQ(plane.Number(0, 1).As<ComplexDouble>(), ComplexDouble(0, 1));
    };
    check(ComplexFloat());
    check(ComplexDouble());
    check(std::complex<float>());
    check(std::complex<double>());
}

TEST(Fill, ChangesNothingWhenItThrows) {
    darr_c1DArray line = lineOf(countedElements<int>(5));
    darr_c2DArray plane = planeOf(2, 2, countedElements<double>(4));
    EXPECT_THROW(line.Fill([](double x) { return x < 3 ? 0 : throw 1; }), int);
    EXPECT_THROW(plane.Fill([](double x, double y) { return x + y < 2 ? 0 : throw 1; }), int);
    EXPECT_EQ(elementsOf<int>(line), countedElements<int>(5));
    EXPECT_EQ(elementsOf<double>(plane), countedElements<double>(4));
    darr_c1DArray unknown(2, dtyp_cDataType(11), {});
    EXPECT_EQ(refusalOf([&] { unknown.Fill([](double x) { return x; }); }), "conv:1");
    EXPECT_EQ(unknown.DataType(), dtyp_cDataType(11));
    const FailingNew failing(0);
    EXPECT_THROW(line.Fill([](double) { return 0; }), std::bad_alloc);
}
