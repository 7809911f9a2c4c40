// Operands of equal deltas always align, wherever they lie, in every operation.

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/unary/ternary.h"
#include "tests/support/arrays.h"
#include "tests/support/calibrations.h"
#include "tests/support/elements.h"
#include "tests/support/refusal.h"
#include "tests/support/refusal_expected.h"

namespace {

/// `count` elements from `first` on, so that each tells which it is.
std::vector<double> named(int count, double first, double step) {
    std::vector<double> elements;
    for (int i = 0; i < count; ++i)
        elements.push_back(first + i * step);
    return elements;
}

/// A calibration of the same delta, near `cal`.
cal_c1DArrayCal beside(const cal_cArrayCal& cal, int reach, RandomCalibrations& random) {
    const double steps = random.Between(-reach, reach);
    const double parts[] = {0, 0.5, 0.25, 1.0 / 3, 0.5 + 1e-9, 0.5 - 1e-9, 0.50001, random.Part()};
    const int index = random.Between(-20, 20);
    const double start = cal.Position(0) + (steps + parts[random.Below(8)]) * cal.Delta();
    return {start + index * cal.Delta(), cal.Delta(), index};
}

/// How far two positions are apart, in steps of `delta`.
double stepsBetween(double x, double y, double delta) {
    return static_cast<double>(
        magnitude((static_cast<Exact>(x) - static_cast<Exact>(y)) / static_cast<Exact>(delta)));
}

double toleranceAt(const cal_cArrayCal& cal, double x) {
    return std::max(1e-6, 4 * lastPlaceOf(std::max(std::fabs(x), std::fabs(cal.Offset()))) /
                              std::fabs(cal.Delta()));
}

/// Where the own elements 1, 2, ... of an array of `count` are among those of a result, in which
/// every other element is 0: the index of the first. All must be there.
int placeOf(const std::vector<int>& found, int count, const std::string& what) {
    const auto first = std::find(found.begin(), found.end(), 1);
    EXPECT_NE(first, found.end()) << what;
    const int place = static_cast<int>(first - found.begin());
    for (int i = 0; i < static_cast<int>(found.size()); ++i) {
        const int own = i - place + 1;
        const int expected = own >= 1 && own <= count ? own : 0;
        EXPECT_EQ(found[static_cast<std::size_t>(i)], expected) << what << " at " << i;
    }
    EXPECT_LE(place + count, static_cast<int>(found.size())) << what;
    return place;
}

/// The elements of the two operands of a sum, of which the second are thousands.
std::pair<std::vector<int>, std::vector<int>> parted(const std::vector<double>& sums) {
    std::pair<std::vector<int>, std::vector<int>> parts;
    for (const double sum : sums) {
        parts.first.push_back(static_cast<int>(sum) % 1000);
        parts.second.push_back(static_cast<int>(sum) / 1000);
    }
    return parts;
}

struct Pair {
    int countA, countB;
    cal_c1DArrayCal calA, calB;

    explicit Pair(RandomCalibrations& random)
        : countA(random.Between(1, 30)), countB(random.Between(1, 30)), calA(random.Next(100)),
          calB(beside(calA, 40, random)) {}
    darr_c1DArray A() const { return lineOf(named(countA, 1, 1), calA); }
    darr_c1DArray B() const { return lineOf(named(countB, 1000, 1000), calB); }
    std::string Described() const {
        char text[250];
        std::snprintf(text, sizeof text, "%d on (%.17g, %.17g, %d) and %d on (%.17g, %.17g, %d)",
                      countA, calA.Offset(), calA.Delta(), calA.CalIndex(), countB, calB.Offset(),
                      calB.Delta(), calB.CalIndex());
        return text;
    }
};

TEST(Alignment, OfEqualDeltasKeepsEveryElementWithinHalfAStep) {
    RandomCalibrations random(11);
    for (int round = 0; round < 6000 && !HasFailure(); ++round) {
        const Pair pair(random);
        const darr_c1DArray sum = pair.A() + pair.B();
        const darr_c1DArray turned = pair.B() + pair.A();
        ASSERT_EQ(sum.Size(), turned.Size()) << pair.Described();
        for (const bool isTurned : {false, true}) {
            const darr_c1DArray& result = isTurned ? turned : sum;
            const auto [ofA, ofB] = parted(elementsOf<double>(result));
            const int a = placeOf(ofA, pair.countA, pair.Described());
            const int b = placeOf(ofB, pair.countB, pair.Described());
            // The first operand stays where it is, the second lands near.
            const auto& [calOfFirst, first] =
                isTurned ? std::pair(pair.calB, b) : std::pair(pair.calA, a);
            const auto& [calOfSecond, second] =
                isTurned ? std::pair(pair.calA, a) : std::pair(pair.calB, b);
            const double delta = pair.calA.Delta();
            const double tolerance = 2 * toleranceAt(calOfFirst, calOfFirst.Position(0));
            EXPECT_LE(stepsBetween(result.Cal().Position(first), calOfFirst.Position(0), delta),
                      tolerance)
                << pair.Described();
            EXPECT_LE(stepsBetween(result.Cal().Position(second), calOfSecond.Position(0), delta),
                      0.5 + tolerance)
                << pair.Described();
        }
    }
}

TEST(Alignment, TakesAsManyElementsAsTheHullIsLongHalvesDown) {
    RandomCalibrations random(12);
    for (int round = 0; round < 6000 && !HasFailure(); ++round) {
        const Pair pair(random);
        const double delta = pair.calA.Delta();
        const auto along = [&](double x) { return static_cast<Exact>(x) * (delta < 0 ? -1 : 1); };
        const Exact start = std::min(along(pair.calA.Position(0)), along(pair.calB.Position(0)));
        const Exact end = std::max(along(pair.calA.Position(pair.countA)),
                                   along(pair.calB.Position(pair.countB)));
        const Exact length = (end - start) / magnitude(static_cast<Exact>(delta));
        const Exact tolerance = static_cast<Exact>(toleranceAt(pair.calA, pair.calA.Position(0)));
        const auto whole = static_cast<int>(length);
        const Exact part = length - static_cast<Exact>(whole);
        const int expected = part <= static_cast<Exact>(0.5) + tolerance ? whole : whole + 1;
        if (magnitude(part - static_cast<Exact>(0.5) - tolerance) < tolerance / 2)
            continue; // rounding errors may decide otherwise
        EXPECT_EQ((pair.A() + pair.B()).Size(), expected) << pair.Described();
    }
}

TEST(Alignment, IsThatOfEveryOperation) {
    RandomCalibrations random(13);
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        const Pair pair(random);
        const darr_c1DArray a = pair.A(), b = pair.B();
        const darr_c1DArray sum = a + b;
        const auto [ofA, ofB] = parted(elementsOf<double>(sum));
        const darr_c1DArray most = trny_max(a, b), least = trny_min(a, b);
        const barr_c1DBoolArray less = a < b;
        ASSERT_EQ(most.Size(), sum.Size());
        ASSERT_EQ(least.Size(), sum.Size());
        ASSERT_EQ(less.Size(), sum.Size());
        EXPECT_EQ(most.Cal(), sum.Cal());
        for (int i = 0; i < sum.Size(); ++i) {
            const int x = ofA[static_cast<std::size_t>(i)];
            const int y = 1000 * ofB[static_cast<std::size_t>(i)];
            ASSERT_EQ(most.Number(i).As<int>(), std::max(x, y)) << pair.Described();
            ASSERT_EQ(least.Number(i).As<int>(), std::min(x, y)) << pair.Described();
            ASSERT_EQ(less.Element(i) != 0, x < y) << pair.Described();
        }
    }
}

TEST(Alignment, ToAMaskTakesItsSize) {
    RandomCalibrations random(14);
    for (int round = 0; round < 6000 && !HasFailure(); ++round) {
        const Pair pair(random);
        barr_c1DBoolArray mask(pair.countB);
        mask.SetCal(pair.calB);
        const darr_c1DArray a = pair.A();
        for (const darr_c1DArray& result : {tnry_Ternary(mask, 7, a), tnry_Ternary(mask, a, a)}) {
            ASSERT_EQ(result.Size(), pair.countB) << pair.Described();
            for (int k = 0; k < result.Size(); ++k) {
                const int own = result.Number(k).As<int>() - 1;
                const double x = pair.calB.Position(k);
                const double tolerance = 2 * toleranceAt(pair.calA, x);
                if (own >= 0)
                    EXPECT_LE(stepsBetween(pair.calA.Position(own), x, pair.calA.Delta()),
                              0.5 + tolerance)
                        << pair.Described() << " at " << k;
                else // nothing of the data lies there
                    for (int i = 0; i < pair.countA; ++i)
                        EXPECT_GE(stepsBetween(pair.calA.Position(i), x, pair.calA.Delta()),
                                  0.5 - tolerance)
                            << pair.Described() << " at " << k;
            }
        }
    }
}

TEST(Alignment, OfImagesIsThatOfEachAxis) {
    RandomCalibrations random(15);
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        const Pair x(random), y(random);
        const auto image = [](int sizeX, int sizeY, const cal_cArrayCal& calX,
                              const cal_cArrayCal& calY, double scale) {
            std::vector<double> elements;
            for (int row = 1; row <= sizeY; ++row)
                for (int column = 1; column <= sizeX; ++column)
                    elements.push_back(scale * (100 * row + column));
            return planeOf(sizeX, sizeY, elements, cal_c2DArrayCal(calX, calY));
        };
        const darr_c2DArray a = image(x.countA, y.countA, x.calA, y.calA, 1);
        const darr_c2DArray b = image(x.countB, y.countB, x.calB, y.calB, 10000);
        const darr_c1DArray sumX = x.A() + x.B(), sumY = y.A() + y.B();
        const auto [columnsA, columnsB] = parted(elementsOf<double>(sumX));
        const auto [rowsA, rowsB] = parted(elementsOf<double>(sumY));
        const darr_c2DArray sum = a + b;
        ASSERT_EQ(sum.SizeX(), sumX.Size());
        ASSERT_EQ(sum.SizeY(), sumY.Size());
        ASSERT_EQ(sum.Cal(), cal_c2DArrayCal(sumX.Cal(), sumY.Cal()));
        for (std::size_t j = 0; j < rowsA.size(); ++j)
            for (std::size_t i = 0; i < columnsA.size(); ++i) {
                const auto part = [&](int column, int row) {
                    return column > 0 && row > 0 ? 100 * row + column : 0;
                };
                ASSERT_EQ(sum.Number(static_cast<int>(i), static_cast<int>(j)).As<double>(),
                          part(columnsA[i], rowsA[j]) + 10000.0 * part(columnsB[i], rowsB[j]));
            }
        EXPECT_EQ((b + a).Count(), sum.Count());
        EXPECT_EQ((b > a).Count(), sum.Count());
        barr_c2DBoolArray mask(x.countB, y.countB);
        mask.SetCal(b.Cal());
        EXPECT_EQ(tnry_Ternary(mask, 1, a).SizeX(), x.countB);
        EXPECT_EQ(tnry_Ternary(mask, a, a).SizeY(), y.countB);
    }
}

TEST(Alignment, OfChannelsAQuarterStepApartWorks) {
    const darr_c1DArray a(100, pnum_cNumber(1.0), cal_c1DArrayCal(1.20, 0.1, 0));
    const darr_c1DArray b(100, pnum_cNumber(2.0), cal_c1DArrayCal(1.25, 0.1, 0));
    EXPECT_EQ((a + b).Size(), 100);
    EXPECT_EQ((b + a).Size(), 100);
    EXPECT_EQ(elementsOf<double>(a + b), std::vector<double>(100, 3));
}

TEST(Alignment, WithNothingIsTheOtherRange) {
    const darr_c1DArray two = lineOf<double>({4, 5}, cal_c1DArrayCal(7, 0.5, 0));
    for (const double offset : {0.0, 7.0, 7.3, 100.0}) {
        const darr_c1DArray none(0, dtyp_Double, cal_c1DArrayCal(offset, 0.5, 3));
        EXPECT_EQ(elementsOf<double>(none + two), (std::vector<double>{4, 5}));
        EXPECT_EQ(elementsOf<double>(two + none), (std::vector<double>{4, 5}));
        EXPECT_NEAR((none + two).Range().Start(), 7, 0.25);
        EXPECT_EQ((two + none).Cal(), two.Cal());
        EXPECT_EQ((none < two).Size(), 2);
    }
    const darr_c2DArray plane = planeOf<double>(2, 1, {4, 5}, cal_c2DArrayCal(7, 1, 8, 1, 0, 0));
    const darr_c2DArray rowless(5, 0, dtyp_Double, cal_c2DArrayCal(0, 1, 0, 1, 0, 0));
    EXPECT_EQ(elementsOf<double>(rowless + plane), (std::vector<double>{4, 5}));
    EXPECT_EQ((plane + rowless).SizeX(), 2);
}

TEST(Alignment, OfOppositeDirectionsIsRefusedInWords) {
    const darr_c1DArray up = lineOf<double>({1, 2}, cal_c1DArrayCal(0, 1, 0));
    const darr_c1DArray down = lineOf<double>({1, 2}, cal_c1DArrayCal(1, -1, 0));
    barr_c1DBoolArray mask(2);
    mask.SetCal(down.Cal());
    EXPECT_EQ(refusalOf([&] { up + down; }), "resc:1");
    EXPECT_EQ(refusalOf([&] { down < up; }), "resc:1");
    EXPECT_EQ(refusalOf([&] { trny_min(up, down); }), "resc:1");
    EXPECT_EQ(refusalOf([&] { tnry_Ternary(mask, up, 1); }), "resc:1");
    EXPECT_EQ(elementsOf<double>(down + down), (std::vector<double>{2, 4}));
    // The finer of two that run downward is the one of smaller steps.
    const darr_c1DArray fine = lineOf<double>({10, 20, 30, 40}, cal_c1DArrayCal(1, -0.5, 0));
    for (const darr_c1DArray& sum : {down + fine, fine + down}) {
        EXPECT_EQ(elementsOf<double>(sum), (std::vector<double>{11, 21.5, 32, 42}));
        EXPECT_EQ(sum.Cal(), cal_c1DArrayCal(1, -0.5, 0));
    }
}

TEST(Alignment, OfImagesEachFinerAlongOneAxisNamesBothGrids) {
    const darr_c2DArray a(4, 4, pnum_cNumber(1.0), cal_c2DArrayCal(0, 0.5, 0, 2, 0, 0));
    const darr_c2DArray b(4, 4, pnum_cNumber(1.0), cal_c2DArrayCal(0, 2, 0, 1, 0, 0));
    const auto refusal = caught<arr_cSizeException>([&] { a + b; });
    EXPECT_STREQ(refusal.what(), "arr:2: Images in steps of 0.5 by 2 and of 2 by 1 do not "
                                 "align: each is the finer along one axis.");
    EXPECT_EQ(refusal.Size(), 4);
    EXPECT_EQ(refusal.Expected(), 16);
    EXPECT_EQ(refusalOf([&] { b < a; }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { trny_max(b, a); }), sizeRefusal);
}

TEST(Alignment, OfImagesEachFinerAlongOneAxisMayDependOnTheOrder) {
    // One column each, of one length once the first is resampled along X.
    const darr_c2DArray a(1, 3, pnum_cNumber(1.0), cal_c2DArrayCal(0, 1, 0, 3, 0, 0));
    const darr_c2DArray b(1, 9, pnum_cNumber(2.0), cal_c2DArrayCal(0, 1.4, 0, 1, 0, 0));
    EXPECT_EQ(elementsOf<double>(a + b), std::vector<double>(9, 3));
    EXPECT_EQ(refusalOf([&] { b + a; }), sizeRefusal);
}

} // namespace
