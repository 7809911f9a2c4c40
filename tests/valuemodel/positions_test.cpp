// Which element a position means: one rule for every question, on calibrations of every kind.

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/reduce/extr.h"
#include "dataprocessing/valuemodel/resc.h"
#include "dataprocessing/valuemodel/view.h"
#include "tests/support/arrays.h"
#include "tests/support/calibrations.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

using dataprocessing::detail::view_cPlaces;

constexpr rnge_eIndexSelect rules[] = {rnge_IndexFloor, rnge_IndexNearest, rnge_IndexOuter,
                                       rnge_IndexCeiling};

/// Different elements, some of which spoil their neighbours where they are mixed with them.
std::vector<double> spoilingElements(int count, RandomCalibrations& random) {
    const double spoilers[] = {notANumber, infinity, -infinity, 1e308};
    std::vector<double> elements;
    for (int i = 0; i < count; ++i)
        elements.push_back(random.Below(4) == 0 ? spoilers[random.Below(4)] : 1 + i);
    return elements;
}

void expectSame(const std::vector<double>& expected, const darr_c1DArray& actual,
                const std::string& what) {
    ASSERT_EQ(actual.Size(), static_cast<int>(expected.size())) << what;
    for (int i = 0; i < actual.Size(); ++i)
        ASSERT_TRUE(
            isSameElement(expected[static_cast<std::size_t>(i)], actual.Number(i).As<double>()))
            << what << " at " << i;
}

std::string described(const cal_cArrayCal& cal) {
    char text[120];
    std::snprintf(text, sizeof text, "offset %.17g, delta %.17g, index %d", cal.Offset(),
                  cal.Delta(), cal.CalIndex());
    return text;
}

/// The real-valued index of a position, exactly.
Exact exactIndex(const cal_cArrayCal& cal, double x) {
    return (static_cast<Exact>(x) - static_cast<Exact>(cal.Offset())) /
               static_cast<Exact>(cal.Delta()) +
           static_cast<Exact>(cal.CalIndex());
}

long long floorOf(Exact x) {
    const auto whole = static_cast<long long>(x);
    return static_cast<Exact>(whole) > x ? whole - 1 : whole;
}

Exact toleranceOf(const cal_cArrayCal& cal, double x) {
    const double ulp = lastPlaceOf(std::max(std::fabs(x), std::fabs(cal.Offset())));
    const Exact inElements =
        4 * static_cast<Exact>(ulp) / magnitude(static_cast<Exact>(cal.Delta()));
    return std::max(static_cast<Exact>(1e-6), inElements);
}

/// How an index is rounded, and whether rounding errors may decide otherwise.
struct Rounded {
    long long floor;
    long long nearest;
    long long ceiling;
    bool isDoubtful;

    Rounded(const cal_cArrayCal& cal, double x) {
        const Exact p = exactIndex(cal, x);
        const Exact tolerance = toleranceOf(cal, x);
        const long long below = floorOf(p);
        const Exact part = p - static_cast<Exact>(below);
        const Exact toWhole = std::min(part, 1 - part);
        const Exact toHalf = static_cast<Exact>(0.5) - part;
        floor = ceiling = nearest = toWhole == part ? below : below + 1;
        if (toWhole > tolerance) {
            floor = below;
            ceiling = below + 1;
            nearest = toHalf <= tolerance ? below + 1 : below;
        }
        // The library's index has an error of some places of x, offset and index.
        const Exact error = tolerance / 2;
        isDoubtful =
            magnitude(toWhole - tolerance) < error || magnitude(toHalf - tolerance) < error;
    }
};

TEST(Positions, OfAnElementMeansThatElement) {
    RandomCalibrations random(1);
    for (int round = 0; round < 20000; ++round) {
        const int count = random.Between(1, 40);
        const cal_c1DArrayCal cal = random.Next(count);
        const std::vector<double> elements = spoilingElements(count, random);
        const darr_c1DArray line = lineOf(elements, cal);
        for (int i = -3; i < count + 3; ++i) {
            const double x = cal.Position(i);
            ASSERT_EQ(cal.Index(x), i) << described(cal);
            ASSERT_EQ(cal.RealIndex(x), i) << described(cal);
            if (i < 0 || i >= count)
                continue;
            const double element = elements[static_cast<std::size_t>(i)];
            for (const auto interpolation : {darr_NoInterpolation, darr_LinearInterpolation})
                ASSERT_TRUE(isSameElement(line.Value(x, interpolation).As<double>(), element))
                    << described(cal) << " at " << i;
        }
    }
}

TEST(Positions, TheOwnRangeIsTheWholeArrayByEveryRule) {
    RandomCalibrations random(2);
    for (int round = 0; round < 20000; ++round) {
        const int count = random.Between(0, 40);
        const cal_c1DArrayCal cal = random.Next(count);
        const std::vector<double> elements = spoilingElements(count, random);
        const darr_c1DArray line = lineOf(elements, cal);
        for (const rnge_eIndexSelect rule : rules) {
            const darr_c1DArray whole = line.Selection(line.Range(), rule);
            expectSame(elements, whole, described(cal));
            ASSERT_EQ(whole.Cal(), cal);
        }
    }
}

TEST(Positions, AdjacentRangesNeitherShareNorLoseAnElement) {
    RandomCalibrations random(3);
    for (int round = 0; round < 5000; ++round) {
        const int count = random.Between(2, 40);
        const cal_c1DArrayCal cal = random.Next(count);
        const std::vector<double> elements = spoilingElements(count, random);
        const darr_c1DArray line = lineOf(elements, cal);
        std::vector<double> cuts = {cal.Position(0), cal.Position(count)};
        for (int k = random.Below(6); k > 0; --k) {
            const double part = random.Below(2) == 0 ? 0.5 * random.Below(3) : random.Part();
            const double from = cal.Position(random.Below(count));
            cuts.push_back(from + part * cal.Delta());
        }
        std::sort(cuts.begin(), cuts.end());
        if (cal.Delta() < 0)
            std::reverse(cuts.begin(), cuts.end());
        for (const auto rule : {rnge_IndexFloor, rnge_IndexNearest, rnge_IndexCeiling}) {
            std::vector<double> gathered;
            for (std::size_t k = 1; k < cuts.size(); ++k) {
                const auto [low, high] = std::minmax(cuts[k - 1], cuts[k]);
                for (const double x :
                     elementsOf<double>(line.Selection(rnge_c1DRange(low, high), rule)))
                    gathered.push_back(x);
            }
            expectSame(elements, lineOf(gathered), described(cal));
        }
    }
}

TEST(Positions, RulesRoundTheExactIndexOfEachEnd) {
    RandomCalibrations random(4);
    int checked = 0;
    for (int round = 0; round < 100000; ++round) {
        const int count = random.Between(1, 40);
        const cal_c1DArrayCal cal = random.Next(count);
        const auto position = [&] {
            const double near = cal.Position(random.Between(-count, 2 * count));
            const double parts[] = {0, 0.5, 1e-7, 0.4999999, 0.9999999, 1e-4, random.Part()};
            return near + parts[random.Below(7)] * cal.Delta();
        };
        double start = position(), end = position();
        if (start > end && cal.Delta() > 0)
            std::swap(start, end);
        const rnge_c1DRange range(start, end);
        if (cal.Delta() < 0 && start < end)
            std::swap(start, end);
        const Rounded p(cal, start), q(cal, end);
        if (p.isDoubtful || q.isDoubtful)
            continue;
        ++checked;
        const long long expected[4][2] = {{p.floor, q.floor},
                                          {p.nearest, q.nearest},
                                          {p.floor, q.ceiling},
                                          {p.ceiling, q.ceiling}};
        for (int rule = 0; rule < 4; ++rule) {
            const rnge_c1DIndexRange selected(range, cal, rules[rule]);
            ASSERT_EQ(selected.First(), expected[rule][0]) << described(cal) << " rule " << rule;
            ASSERT_EQ(selected.Last(), expected[rule][1]) << described(cal) << " rule " << rule;
        }
        ASSERT_EQ(cal.Index(start), p.nearest) << described(cal);
    }
    EXPECT_GT(checked, 50000);
}

TEST(Positions, WithinTheToleranceAreThoseOfTheElement) {
    const cal_c1DArrayCal cal(10, 0.5, 0);
    const darr_c1DArray line = lineOf<double>({1, notANumber, 3, 4}, cal);
    for (const double part : {-0.9e-6, -1e-9, 0.0, 1e-9, 0.9e-6}) {
        const double x = 11 + part * 0.5;
        EXPECT_EQ(cal.RealIndex(x), 2);
        EXPECT_EQ(line.Value(x, darr_NoInterpolation).As<double>(), 3);
        EXPECT_EQ(line.Value(x, darr_LinearInterpolation).As<double>(), 3);
        EXPECT_EQ(cal.Index(10.75 + part * 0.5), 2); // halves go upward
    }
    EXPECT_TRUE(std::isnan(line.Value(11 - 0.55e-6, darr_LinearInterpolation).As<double>()));
    EXPECT_EQ(cal.Index(10.75 - 0.55e-6), 1);
    // Beside a large offset, or at a large position, four units in the last place count.
    const cal_c1DArrayCal time(1.7e12, 0.25, 0);
    const double ulp = lastPlaceOf(1.7e12);
    EXPECT_EQ(time.Tolerance(0), 4 * ulp / 0.25);
    EXPECT_EQ(time.RealIndex(1.7e12 + 0.25 + 4 * ulp), 1);
    EXPECT_NE(time.RealIndex(1.7e12 + 0.25 + 5 * ulp), 1);
    EXPECT_EQ(cal_cArrayCal(0, 0.25, 0).Tolerance(-1.7e12), 4 * ulp / 0.25);
    EXPECT_EQ(cal_cArrayCal(0, -0.25, 0).Tolerance(1), 1e-6);
}

TEST(Positions, OfTheSpectrumInTheFirstExampleAreFound) {
    const darr_c1DArray spectrum =
        lineOf<unsigned short>({12, 15, 90, 15, 11}, cal_c1DArrayCal(6.2, 0.1, 0));
    EXPECT_EQ(spectrum.Value(6.3, darr_NoInterpolation).As<int>(), 15);
    EXPECT_EQ(spectrum.Value(6.3, darr_LinearInterpolation).As<double>(), 15);
    EXPECT_EQ(
        extr_Max(spectrum, rnge_c1DRange(6.5, 6.7), darr_NoInterpolation, conv_RealPart).As<int>(),
        15);
    EXPECT_EQ(extr_Max(spectrum, rnge_c1DRange(6.5, 6.7), darr_LinearInterpolation, conv_RealPart)
                  .As<int>(),
              15);
}

TEST(Positions, OfRangeExtremaAreThoseOfSelectionAndValue) {
    RandomCalibrations random(5);
    for (int round = 0; round < 20000; ++round) {
        const int count = random.Between(1, 30);
        const cal_c1DArrayCal cal = random.Next(count);
        std::vector<double> elements;
        for (int i = 0; i < count; ++i)
            elements.push_back(random.Part());
        const darr_c1DArray line = lineOf(elements, cal);
        double low = cal.Position(0) + (1.4 * random.Part() - 0.2) * count * cal.Delta();
        double high = cal.Position(random.Between(-2, count + 2));
        if (low > high)
            std::swap(low, high);
        for (const auto interpolation : {darr_NoInterpolation, darr_LinearInterpolation}) {
            // Whatever lies inside, by its own position, and the values at both ends.
            double least = std::min(line.Value(low, interpolation).As<double>(),
                                    line.Value(high, interpolation).As<double>());
            for (int i = 0; i < count; ++i)
                if (cal.Position(i) > low && cal.Position(i) < high)
                    least = std::min(least, elements[static_cast<std::size_t>(i)]);
            ASSERT_EQ(
                extr_Min(line, rnge_c1DRange(low, high), interpolation, conv_RealPart).As<double>(),
                least)
                << described(cal) << " over " << low << ", " << high;
        }
    }
}

// ---- downward ----

TEST(DownwardAxis, SelectsTheElementsInside) {
    std::vector<double> elements;
    for (int i = 0; i < 10; ++i)
        elements.push_back(10 - i); // each holds its position
    const darr_c1DArray line = lineOf(elements, cal_c1DArrayCal(10, -1, 0));
    const struct {
        double start, end;
        rnge_eIndexSelect rule;
        std::vector<double> inside;
    } table[] = {
        {3.5, 6.5, rnge_IndexNearest, {6, 5, 4}}, {3.5, 6.5, rnge_IndexCeiling, {6, 5, 4}},
        {3.5, 6.5, rnge_IndexFloor, {7, 6, 5}},   {3.5, 6.5, rnge_IndexOuter, {7, 6, 5, 4}},
        {3.2, 6.2, rnge_IndexCeiling, {6, 5, 4}}, {3.2, 6.2, rnge_IndexNearest, {6, 5, 4}},
        {3, 6, rnge_IndexCeiling, {6, 5, 4}},     {6, 3, rnge_IndexCeiling, {6, 5, 4}},
        {0, 10, rnge_IndexNearest, elements},     {8, 8, rnge_IndexNearest, {}},
    };
    for (const auto& row : table)
        EXPECT_EQ(elementsOf<double>(line.Selection(rnge_c1DRange(row.start, row.end), row.rule)),
                  row.inside)
            << row.start << ' ' << row.end << ' ' << row.rule;
    const darr_c2DArray plane =
        planeOf<double>(2, 3, {11, 12, 21, 22, 31, 32}, cal_c2DArrayCal(0, 1, 5, -1, 0, 0));
    EXPECT_EQ(elementsOf<double>(plane.Selection(rnge_c2DRange(0, 2.5, 2, 4.5), rnge_IndexNearest)),
              (std::vector<double>{21, 22, 31, 32}));
}

TEST(DownwardAxis, IsResampledInItsDirection) {
    const darr_c1DArray line = lineOf<double>({1, 3, 2}, cal_c1DArrayCal(4, -1, 0));
    const darr_c1DArray fine = resc_Rescale(line, -0.25);
    EXPECT_EQ(elementsOf<double>(fine),
              (std::vector<double>{1, 1.5, 2, 2.5, 3, 2.75, 2.5, 2.25, 2, 2, 2, 2}));
    EXPECT_EQ(fine.Cal(), cal_c1DArrayCal(4, -0.25, 0));
    for (const double sign : {1.0, -1.0})
        try {
            resc_Rescale(lineOf<double>({1, 3, 2}, cal_c1DArrayCal(4, -sign, 0)), sign);
            ADD_FAILURE() << "not refused";
        } catch (const expt_cProgramException& refusal) {
            EXPECT_STREQ(refusal.what(), "resc:1: Axes that run in opposite directions cannot be "
                                         "brought to one delta.");
        }
}

// ---- resampled elements ----

TEST(Resampled, ElementAtTheOwnPositionIsTaken) {
    RandomCalibrations random(6);
    for (int round = 0; round < 20000; ++round) {
        const int count = random.Between(1, 40);
        const cal_c1DArrayCal cal = random.Next(count);
        const int up = random.Between(1, 12), down = random.Between(1, 12);
        const double delta = cal.Delta() * up / down; // as far as doubles can say
        const std::vector<double> elements = spoilingElements(count, random);
        const darr_c1DArray result = resc_Rescale(lineOf(elements, cal), delta);
        ASSERT_EQ(result.Cal(), cal_c1DArrayCal(cal.Position(0), delta, 0));
        for (int i = 0; i < result.Size(); ++i) {
            if (i * up % down != 0 || i * up / down >= count)
                continue;
            ASSERT_TRUE(isSameElement(result.Number(i).As<double>(),
                                      elements[static_cast<std::size_t>(i * up / down)]))
                << described(cal) << " to " << delta << " at " << i;
        }
    }
}

TEST(Resampled, PlacesAreExactAtEveryIndex) {
    RandomCalibrations random(7);
    for (int round = 0; round < 300000; ++round) {
        const double stored = std::pow(10, 20 * random.Part() - 10);
        const double delta = stored * std::pow(10, 4 * random.Part() - 3);
        const int most = INT_MAX;
        const double lastIndex = std::min(2147483646.0, 2147483646.0 * stored / delta);
        const auto i = static_cast<long long>(random.Part() * lastIndex);
        int index = 0;
        double part = 0;
        view_cPlaces(delta, stored, 1e-6).Fill(i, 1, most, &index, &part);
        const Exact p =
            static_cast<Exact>(i) * static_cast<Exact>(delta) / static_cast<Exact>(stored);
        const Exact away = p - static_cast<Exact>(index);
        if (part == 0) {
            ASSERT_LE(static_cast<double>(magnitude(away)), 1e-6) << i << ' ' << delta / stored;
        } else {
            ASSERT_GE(part, 1e-6);
            ASSERT_LE(part, 1 - 1e-6);
            ASSERT_LE(static_cast<double>(magnitude(away - static_cast<Exact>(part))),
                      std::numeric_limits<double>::epsilon())
                << i << ' ' << delta / stored;
        }
    }
}

TEST(Resampled, FarElementsAreAsGoodAsNearOnes) {
    forEachElementType([]<class T>(int code) {
        const int count = 2000000;
        std::vector<T> elements;
        for (int i = 0; i < count; ++i)
            elements.push_back(elementOf<T>(i % 2 * 100));
        const double delta = 1000.1;
        const darr_c1DArray result = resc_Rescale(lineOf(elements), delta);
        for (int i = 0; i < result.Size(); ++i) {
            const Exact p = i * static_cast<Exact>(delta);
            const long long left = floorOf(p);
            const Exact part = p - static_cast<Exact>(left);
            if (part < 2e-6 || part > 1 - 2e-6 || left >= count - 1)
                continue;
            const Exact expected = left % 2 == 0 ? 100 * part : 100 - 100 * part;
            const Exact got = static_cast<Exact>(result.Number(i).As<double>());
            const double bound = code < 7                 ? 0.5 + 1e-9
                                 : code == 7 || code == 9 ? 100 * 6e-8
                                                          : 100 * 4.5e-16;
            ASSERT_LE(static_cast<double>(magnitude(got - expected)), bound)
                << "type " << code << " at " << i;
        }
    });
}

// ---- counts ----

TEST(Positions, CountsOfALengthAreThatOfTheNearestWholeOne) {
    const cal_cArrayCal cal(3, 0.5, 7);
    EXPECT_EQ(cal.Count(2), 4);
    EXPECT_EQ(cal.Count(2.25), 5);
    EXPECT_EQ(cal.Count(2.24), 4);
    EXPECT_EQ(cal.Count(-0.24), 0);
    EXPECT_EQ(cal_cArrayCal(0, -0.5, 0).Count(-2), 4);
    EXPECT_EQ(refusalOf([&] { cal.Count(-0.26); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { cal.Count(notANumber); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { cal.Count(infinity); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { cal.Count(INT_MAX / 2 + 0.5); }), "none");
    EXPECT_EQ(refusalOf([&] { cal.Count(INT_MAX / 2 + 1.0); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { cal_cArrayCal(0, 0, 0).Count(1); }), sizeRefusal);
}

} // namespace
