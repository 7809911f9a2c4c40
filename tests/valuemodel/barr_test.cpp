#include "dataprocessing/valuemodel/barr.h"

#include <array>
#include <climits>
#include <cmath>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/failing_new.h"
#include "tests/support/elements.h"

namespace {

barr_c1DBoolArray mask(int size, const cal_c1DArrayCal& cal = {}) {
    barr_c1DBoolArray result(size);
    result.SetCal(cal);
    return result;
}

barr_c2DBoolArray mask(int sizeX, int sizeY, const cal_c2DArrayCal& cal) {
    barr_c2DBoolArray result(sizeX, sizeY);
    result.SetCal(cal);
    return result;
}

} // namespace

TEST(BoolArray, StartsAllFalseOnTheDefaultCalibration) {
    const barr_c1DBoolArray line(1000);
    EXPECT_EQ(line.Size(), 1000);
    EXPECT_EQ(line.Cal(), cal_c1DArrayCal::Default);
    for (int i = 0; i < line.Size(); ++i)
        ASSERT_EQ(line.Element(i), 0);
    const barr_c2DBoolArray plane(30, 7);
    EXPECT_EQ(plane.SizeX(), 30);
    EXPECT_EQ(plane.SizeY(), 7);
    EXPECT_EQ(plane.Count(), 210);
    EXPECT_EQ(plane.Cal(), cal_c2DArrayCal::Default);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 30; ++x)
            ASSERT_EQ(plane.Element(x, y), 0);
}

TEST(BoolArray, EmptyOnes) {
    EXPECT_EQ(barr_c1DBoolArray().Size(), 0);
    EXPECT_EQ(barr_c1DBoolArray(0).Size(), 0);
    EXPECT_EQ(barr_c2DBoolArray().Count(), 0);
    EXPECT_EQ(barr_c2DBoolArray(0, 5).SizeY(), 5);
    EXPECT_EQ(barr_c2DBoolArray(0, 5).Count(), 0);
    EXPECT_EQ(mask(0, cal_c1DArrayCal(2, 3, 1)).Range(), rnge_c1DRange(-1, -1));
}

TEST(BoolArray, ImpossibleSizesAreRefused) {
    EXPECT_EQ(refusalOf([] { barr_c1DBoolArray(-1); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { barr_c1DBoolArray{INT_MIN}; }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { barr_c2DBoolArray(-1, 2); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { barr_c2DBoolArray(2, -1); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { barr_c2DBoolArray(-1, -1); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { barr_c2DBoolArray(-1, 0); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { barr_c2DBoolArray(INT_MAX, 2); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { barr_c2DBoolArray(65536, 32768); }), sizeRefusal);
}

TEST(BoolArray, ElementsAreCheckedOnAllSides) {
    barr_c1DBoolArray line(3);
    const barr_c1DBoolArray& readLine = line;
    for (const int i : {-1, 3, INT_MIN, INT_MAX}) {
        EXPECT_EQ(refusalOf([&] { line.Element(i); }), indexRefusal) << i;
        EXPECT_EQ(refusalOf([&] { readLine.Element(i); }), indexRefusal) << i;
    }
    barr_c2DBoolArray plane(3, 2);
    const barr_c2DBoolArray& readPlane = plane;
    for (const auto& [x, y] : {std::pair(-1, 0), std::pair(3, 0), std::pair(0, -1), std::pair(0, 2),
                               std::pair(-1, 1), std::pair(5, -1), std::pair(INT_MAX, INT_MAX)}) {
        EXPECT_EQ(refusalOf([&, x = x, y = y] { plane.Element(x, y); }), indexRefusal) << x << y;
        EXPECT_EQ(refusalOf([&, x = x, y = y] { readPlane.Element(x, y); }), indexRefusal);
    }
    EXPECT_EQ(refusalOf([] { barr_c1DBoolArray().Element(0); }), indexRefusal);
}

TEST(BoolArray, ElementsLieRowAfterRow) {
    barr_c2DBoolArray plane(3, 2);
    unsigned char value = 1;
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            plane.Element(x, y) = value++;
    const unsigned char* first = &plane.Element(0, 0);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(first[i], i + 1);
}

TEST(BoolArray, CopiesAreIndependentAndMovedOnesEmpty) {
    barr_c1DBoolArray first = mask(3, cal_c1DArrayCal(1, 2, 0));
    first.Element(1) = 1;
    barr_c1DBoolArray copy = first;
    first.Element(1) = 0;
    EXPECT_EQ(copy.Element(1), 1);
    EXPECT_EQ(copy.Cal(), cal_c1DArrayCal(1, 2, 0));
    const barr_c1DBoolArray moved = std::move(copy);
    EXPECT_EQ(moved.Element(1), 1);
    EXPECT_EQ(copy.Size(), 0); // NOLINT(bugprone-use-after-move): the contract says so
    EXPECT_EQ(refusalOf([&] { copy.Element(0); }), indexRefusal);

    barr_c2DBoolArray plane = mask(2, 2, cal_c2DArrayCal(1, 2, 3, 4, 0, 0));
    plane.Element(1, 1) = 1;
    barr_c2DBoolArray planeCopy(1, 1);
    planeCopy = plane;
    plane.Element(1, 1) = 0;
    EXPECT_EQ(planeCopy.Element(1, 1), 1);
    EXPECT_EQ(planeCopy.Cal(), plane.Cal());
    const barr_c2DBoolArray planeMoved = std::move(planeCopy);
    EXPECT_EQ(planeMoved.Element(1, 1), 1);
    EXPECT_EQ(planeCopy.Count(), 0); // NOLINT(bugprone-use-after-move): the contract says so
    EXPECT_EQ(planeCopy.SizeX(), 0);
    EXPECT_EQ(planeCopy.SizeY(), 0);
}

TEST(BoolArray, RangeIsTheCalibratedExtent) {
    EXPECT_EQ(mask(4, cal_c1DArrayCal(10, 0.5, 2)).Range(), rnge_c1DRange(9, 11));
    EXPECT_EQ(mask(4, 3, cal_c2DArrayCal(10, 0.5, -1, 2, 2, 1)).Range(),
              rnge_c2DRange(9, -3, 11, 3));
}

TEST(BoolArray, RangeAndDeltaAreComparedExactly) {
    const barr_c1DBoolArray line = mask(4, cal_c1DArrayCal(10, 0.5, 2));
    EXPECT_TRUE(line.IsRangeAndDelta(line));
    // Another way to say the same.
    EXPECT_TRUE(line.IsRangeAndDelta(mask(4, cal_c1DArrayCal(9, 0.5, 0))));
    EXPECT_FALSE(line.IsRangeAndDelta(mask(5, cal_c1DArrayCal(10, 0.5, 2))));
    EXPECT_FALSE(line.IsRangeAndDelta(mask(4, cal_c1DArrayCal(10, 0.5, 1))));
    EXPECT_FALSE(line.IsRangeAndDelta(mask(2, cal_c1DArrayCal(9, 1, 0))));
    EXPECT_FALSE(line.IsRangeAndDelta(mask(3, cal_c1DArrayCal(9.5, 0.5, 0)))); // the same end
    EXPECT_FALSE(
        line.IsRangeAndDelta(mask(4, cal_c1DArrayCal(std::nextafter(10.0, 11.0), 0.5, 2))));
    // Empty masks have a range too.
    EXPECT_TRUE(mask(0).IsRangeAndDelta(barr_c1DBoolArray()));
    EXPECT_FALSE(mask(0).IsRangeAndDelta(mask(0, cal_c1DArrayCal(0, 2, 0))));

    const cal_c2DArrayCal cal(1, 2, 3, 4, 0, 0);
    const barr_c2DBoolArray plane = mask(4, 3, cal);
    EXPECT_TRUE(plane.IsRangeAndDelta(mask(4, 3, cal)));
    EXPECT_FALSE(plane.IsRangeAndDelta(mask(5, 3, cal)));
    EXPECT_FALSE(plane.IsRangeAndDelta(mask(4, 4, cal)));
    EXPECT_FALSE(plane.IsRangeAndDelta(mask(2, 3, cal_c2DArrayCal(1, 4, 3, 4, 0, 0))));
    EXPECT_FALSE(plane.IsRangeAndDelta(mask(4, 6, cal_c2DArrayCal(1, 2, 3, 2, 0, 0))));
    EXPECT_FALSE(plane.IsRangeAndDelta(mask(4, 3, cal_c2DArrayCal(1, 2, 3, 4, 1, 0))));
    EXPECT_FALSE(plane.IsRangeAndDelta(mask(4, 3, cal_c2DArrayCal(1, 2, 3, 4, 0, 1))));
}

TEST(BoolArray, AssignmentThatCannotAllocateChangesNothing) {
    const barr_c2DBoolArray source = mask(5, 5, cal_c2DArrayCal(1, 2, 3, 4, 0, 0));
    barr_c2DBoolArray target = mask(2, 3, cal_c2DArrayCal());
    target.Element(1, 2) = 7;
    bool failed = false;
    {
        const FailingNew failing(0);
        try {
            target = source;
        } catch (const std::bad_alloc&) {
            failed = true;
        }
    }
    EXPECT_TRUE(failed);
    EXPECT_EQ(target.SizeX(), 2);
    EXPECT_EQ(target.SizeY(), 3);
    EXPECT_EQ(target.Element(1, 2), 7);
    EXPECT_EQ(target.Cal(), cal_c2DArrayCal());
}

TEST(BoolArray, IsMadeOfTruthsInEveryWay) {
    const cal_c1DArrayCal cal(1, 2, 3);
    const std::vector<bool> bits = {true, false, true};
    const std::array<bool, 3> truths = {true, false, true};
    const std::vector<unsigned char> bytes = {7, 0, 255};
    const barr_c1DBoolArray made[] = {barr_c1DBoolArray(bits, cal), barr_c1DBoolArray(truths, cal),
                                      barr_c1DBoolArray(bytes, cal),
                                      barr_c1DBoolArray(std::span<const unsigned char>(bytes), cal),
                                      barr_c1DBoolArray({true, false, true}, cal)};
    for (const barr_c1DBoolArray& mask : made) {
        EXPECT_EQ(mask.Cal(), cal);
        const auto elements = mask.Elements();
        EXPECT_EQ(std::vector<int>(elements.begin(), elements.end()), (std::vector{1, 0, 1}));
    }
    EXPECT_EQ(barr_c1DBoolArray(bits).Cal(), cal_c1DArrayCal());
    EXPECT_EQ(barr_c1DBoolArray(std::vector<bool>()).Size(), 0);
    EXPECT_EQ((barr_c1DBoolArray{3}).Size(), 3); // a size, not a truth
    EXPECT_EQ((barr_c1DBoolArray{1}).Element(0), 0);

    const cal_c2DArrayCal cal2D(1, 2, 3, 4, 5, 6);
    const std::vector<bool> six = {true, false, true, false, false, true};
    for (const barr_c2DBoolArray& mask :
         {barr_c2DBoolArray(3, 2, six, cal2D),
          barr_c2DBoolArray(3, 2, {true, false, true, false, false, true}, cal2D)}) {
        EXPECT_EQ(mask.Cal(), cal2D);
        EXPECT_EQ(mask.SizeX(), 3);
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(mask.Element(i % 3, i / 3), six[static_cast<std::size_t>(i)] ? 1 : 0) << i;
    }
}

TEST(BoolArray, OfAnotherNumberOfTruthsIsRefused) {
    const std::vector<bool> six(6);
    EXPECT_EQ(refusalOf([&] { barr_c2DBoolArray(3, 3, six); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { barr_c2DBoolArray(3, 1, six); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { barr_c2DBoolArray(-3, -2, six); }), sizeRefusal);
    struct sHuge : std::vector<bool> {
        std::size_t size() const { return std::size_t{1} << 31; }
    };
    EXPECT_EQ(refusalOf([&] { barr_c1DBoolArray{sHuge()}; }), sizeRefusal);
}

TEST(BoolArray, ElementsAreOneSpanOfBytes) {
    barr_c2DBoolArray plane(3, 2);
    plane.Elements()[4] = 9;
    EXPECT_EQ(plane.Element(1, 1), 9);
    EXPECT_EQ(plane.Elements().data(), &plane.Element(0, 0));
    EXPECT_EQ(plane.Elements().size(), 6U);
    barr_c1DBoolArray nothing;
    EXPECT_TRUE(nothing.Elements().empty());
}

TEST(BoolArray, IsReadByIndex) {
    const std::vector<unsigned char> bytes = {0, 1, 200};
    const barr_c1DBoolArray mask(bytes);
    EXPECT_FALSE(mask[0]);
    EXPECT_TRUE(mask[std::size_t{1}]);
    EXPECT_TRUE(mask[2LL]);
    EXPECT_EQ(refusalOf([&] { static_cast<void>(mask[3]); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { static_cast<void>(mask[-1]); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { static_cast<void>(mask[1LL << 32]); }), indexRefusal);
}

TEST(BoolArray, IsReadByColumnAndRow) {
    const barr_c2DBoolArray mask(3, 2, {true, false, true, false, false, true});
    for (int y = 0; y < 2; ++y)
        for (std::size_t x = 0; x < 3; ++x)
            EXPECT_EQ(mask(x, y), mask.Element(static_cast<int>(x), y) != 0) << x << ' ' << y;
    for (const auto& [x, y] :
         {std::pair(3LL, 0LL), {-1LL, 0LL}, {0LL, 2LL}, {0LL, -1LL}, {1LL << 32, 0LL}})
        EXPECT_EQ(refusalOf([&, i = x, k = y] { static_cast<void>(mask(i, k)); }), indexRefusal);
}

TEST(BoolArray, IsIteratedAsTruths) {
    const std::vector<unsigned char> bytes = {0, 1, 200, 0};
    const barr_c1DBoolArray line(bytes);
    const barr_c2DBoolArray plane(2, 2, bytes);
    std::vector<bool> truths;
    for (const bool truth : line)
        truths.push_back(truth);
    EXPECT_EQ(truths, (std::vector<bool>{false, true, true, false}));
    EXPECT_EQ(std::vector<bool>(plane.begin(), plane.end()), truths);
    EXPECT_EQ(std::ranges::count(plane, true), 2);
    EXPECT_EQ(std::ranges::find(line, true), ++line.begin());
    const barr_c1DBoolArray nothing;
    EXPECT_EQ(nothing.begin(), nothing.end());
}

TEST(BoolArray, CountsWhatIsTrue) {
    for (const int size : {0, 1, 254, 255, 256, 510, 511, 1000, 70000})
        for (const int step : {1, 2, 3, 256}) {
            barr_c1DBoolArray line(size);
            barr_c2DBoolArray plane(1, size);
            int expected = 0;
            for (int i = 0; i < size; i += step, ++expected)
                line.Element(i) = plane.Element(0, i) = static_cast<unsigned char>(i % 255 + 1);
            EXPECT_EQ(line.CountTrue(), expected) << size << " " << step;
            EXPECT_EQ(plane.CountTrue(), expected);
            EXPECT_EQ(line.Any(), expected > 0);
            EXPECT_EQ(plane.Any(), expected > 0);
            EXPECT_EQ(line.All(), expected == size);
            EXPECT_EQ(plane.All(), expected == size);
        }
    EXPECT_FALSE(barr_c1DBoolArray(3).Any());
    EXPECT_FALSE(barr_c1DBoolArray(3).All());
}

TEST(BoolArray, PrintsAsOnesAndZeros) {
    const auto printed = [](const auto& mask) {
        std::ostringstream stream;
        stream << mask;
        return stream.str();
    };
    EXPECT_EQ(printed(barr_c1DBoolArray()), "[]");
    EXPECT_EQ(printed(barr_c1DBoolArray(std::vector<unsigned char>{1, 0, 9})), "[1, 0, 1]");
    std::vector<bool> many(9);
    many[8] = true;
    EXPECT_EQ(printed(barr_c1DBoolArray(many)), "[0, 0, 0, 0, ..., 0, 0, 0, 1]");
    EXPECT_EQ(printed(barr_c2DBoolArray(2, 2, {true, false, false, true})), "[1, 0]\n[0, 1]");
    EXPECT_EQ(printed(barr_c2DBoolArray(1, 9, many)),
              "[0]\n[0]\n[0]\n[0]\n...\n[0]\n[0]\n[0]\n[1]");
    EXPECT_EQ(printed(barr_c2DBoolArray(0, 2)), "[]\n[]");
}
