#include "dataprocessing/valuemodel/cal.h"
#include "tests/support/constants.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <sstream>

#include <gtest/gtest.h>

namespace {

template<class Cal>
std::string printed(const Cal& cal) {
    std::ostringstream stream;
    stream << cal;
    return stream.str();
}

} // namespace

TEST(Calibration, DefaultsAreZeroOneZero) {
    EXPECT_EQ(cal_c1DArrayCal(), cal_c1DArrayCal(0, 1, 0));
    EXPECT_EQ(cal_c1DArrayCal::Default, cal_c1DArrayCal(0, 1, 0));
    EXPECT_EQ(cal_c2DArrayCal(), cal_c2DArrayCal(0, 1, 0, 1, 0, 0));
    EXPECT_EQ(cal_c2DArrayCal::Default, cal_c2DArrayCal(0, 1, 0, 1, 0, 0));
}

TEST(Calibration, HoldsWhatItIsGiven) {
    cal_c1DArrayCal cal(1.5, 0.25, -3);
    EXPECT_EQ(cal.Offset(), 1.5);
    EXPECT_EQ(cal.Delta(), 0.25);
    EXPECT_EQ(cal.CalIndex(), -3);
    cal.SetOffset(2);
    cal.SetDelta(-4);
    cal.SetCalIndex(5);
    EXPECT_EQ(cal, cal_c1DArrayCal(2, -4, 5));
}

TEST(Calibration, TwoAxesTakeOffsetsAndDeltasInTurnThenTheIndices) {
    cal_c2DArrayCal cal(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(cal.X(), cal_cArrayCal(1, 2, 5));
    EXPECT_EQ(cal.Y(), cal_cArrayCal(3, 4, 6));
    EXPECT_EQ(cal, cal_c2DArrayCal(cal_cArrayCal(1, 2, 5), cal_cArrayCal(3, 4, 6)));
    cal.Y().SetDelta(8);
    EXPECT_EQ(cal, cal_c2DArrayCal(1, 2, 3, 8, 5, 6));
}

TEST(Calibration, DiffersWhenAnyPartDoes) {
    const cal_cArrayCal cal(1, 2, 3);
    EXPECT_NE(cal, cal_cArrayCal(1.5, 2, 3));
    EXPECT_NE(cal, cal_cArrayCal(1, 2.5, 3));
    EXPECT_NE(cal, cal_cArrayCal(1, 2, 4));
}

TEST(Calibration, PositionAndRealIndexAreInverse) {
    const cal_cArrayCal cal(10, 0.5, 4);
    EXPECT_EQ(cal.Position(4), 10);
    EXPECT_EQ(cal.Position(6), 11);
    EXPECT_EQ(cal.Position(0), 8);
    EXPECT_EQ(cal.RealIndex(11.25), 6.5);
    for (int i = -20; i < 20; ++i)
        EXPECT_EQ(cal.RealIndex(cal.Position(i)), i);
}

TEST(Calibration, PositionTakesTheDifferenceOfTheIndicesExactly) {
    EXPECT_EQ(cal_cArrayCal(0, 1, INT_MIN).Position(INT_MAX), 4294967295.0);
    EXPECT_EQ(cal_cArrayCal(0, 1, INT_MAX).Position(INT_MIN), -4294967295.0);
    // A large calibration index must not cost the digits of the offset.
    EXPECT_EQ(cal_cArrayCal(0.1, 1e-3, 2000000000).Position(2000000001), 0.1 + 1e-3);
}

TEST(Calibration, IndexIsTheNearestElement) {
    const cal_cArrayCal cal(1, 0.5, 2);
    const struct {
        double x;
        int index;
    } table[] = {{1, 2},    {1.24, 2}, {1.25, 3},  {1.26, 3},   {0.75, 2},
                 {0.74, 1}, {0, 0},    {-0.25, 0}, {-0.26, -1}, {100, 200}};
    for (const auto& row : table)
        EXPECT_EQ(cal.Index(row.x), row.index) << row.x;
    EXPECT_EQ(cal_cArrayCal(0, -2, 0).Index(3), -1); // p = -1.5
    EXPECT_EQ(cal_cArrayCal(0, -2, 0).Index(3.1), -2);
}

TEST(Calibration, IndexIsClampedToInt) {
    const cal_cArrayCal cal;
    EXPECT_EQ(cal.Index(2147483646.0), INT_MAX - 1);
    EXPECT_EQ(cal.Index(2147483646.5), INT_MAX);
    EXPECT_EQ(cal.Index(2147483647.6), INT_MAX);
    EXPECT_EQ(cal.Index(1e300), INT_MAX);
    EXPECT_EQ(cal.Index(infinity), INT_MAX);
    EXPECT_EQ(cal.Index(-2147483647.0), -INT_MAX);
    EXPECT_EQ(cal.Index(-2147483648.0), INT_MIN);
    EXPECT_EQ(cal.Index(-2147483649.0), INT_MIN);
    EXPECT_EQ(cal.Index(-1e300), INT_MIN);
    EXPECT_EQ(cal.Index(-infinity), INT_MIN);
}

TEST(Calibration, IndexOfAPositionWithoutOneIsZero) {
    EXPECT_EQ(cal_cArrayCal(0, 1, 7).Index(std::nan("")), 0);
    EXPECT_EQ(cal_cArrayCal(3, 0, 7).Index(3), 0); // 0 / 0
    EXPECT_EQ(cal_cArrayCal(3, 0, 7).Index(4), INT_MAX);
}

TEST(Calibration, ToleranceIsFourLastPlacesOrAMillionth) {
    constexpr double largest = std::numeric_limits<double>::max();
    constexpr double smallest = std::numeric_limits<double>::min();
    for (const double delta : {0.1, -3.0, 1e-12, 1e-300, infinity})
        for (const double offset : {0.0, -0.0, 1e9, -1.7e9, 5e-324, smallest, largest, infinity})
            for (const double x : {0.0, -1e9, 2e9, 4503599627370497.0, 5e-324, -largest, -infinity,
                                   static_cast<double>(notANumber)}) {
                const double larger = std::max(std::fabs(x), std::fabs(offset));
                const double places = 4 * (std::nextafter(larger, infinity) - larger);
                EXPECT_EQ(cal_cArrayCal(offset, delta, 3).Tolerance(x),
                          std::max(1e-6, places / std::fabs(delta)))
                    << offset << ", " << delta << ", " << x;
            }
}

TEST(Calibration, Prints) {
    EXPECT_EQ(printed(cal_c1DArrayCal(1.5, 0.25, -3)), "offset 1.5, delta 0.25, index -3");
    EXPECT_EQ(printed(cal_c2DArrayCal(1, 2, 3, 4, 5, 6)),
              "x: offset 1, delta 2, index 5; y: offset 3, delta 4, index 6");
}
