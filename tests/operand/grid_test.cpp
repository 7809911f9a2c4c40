#include "dataprocessing/operand/grid.h"

#include <gtest/gtest.h>

#include <string>

#include "dataprocessing/binary/bnry.h"
#include "tests/support/arrays.h"
#include "tests/support/calibrations.h"
#include "tests/support/elements.h"

namespace {

/// What the sum has, or how it is refused.
template<class Array>
auto answerOf(const Array& a, const Array& b, bool byTheSum) {
    struct sAnswer {
        std::string refusal;
        decltype(grid_Of(a)) grid;
        bool operator==(const sAnswer&) const = default;
    } answer;
    answer.refusal =
        refusalOf([&] { answer.grid = byTheSum ? grid_Of(a + b) : algn_Calibration(a, b); });
    return answer;
}

darr_c1DArray line(int size, const cal_c1DArrayCal& cal) { return {size, pnum_cNumber(1.0F), cal}; }
darr_c2DArray image(int sizeX, int sizeY, const cal_c2DArrayCal& cal) {
    return {sizeX, sizeY, pnum_cNumber(1.0F), cal};
}

} // namespace

TEST(Grid, IsThatOfAnArray) {
    const cal_c1DArrayCal cal(1, 2, 3);
    EXPECT_EQ(grid_Of(line(5, cal)), (grid_s1DGrid{cal, 5}));
    const cal_c2DArrayCal cal2D(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(grid_Of(image(5, 4, cal2D)), (grid_s2DGrid{cal2D, 5, 4}));
}

TEST(AlignedCalibration, IsThatOfTheSumOfLines) {
    RandomCalibrations random(3);
    int aligned = 0;
    for (int trial = 0; trial < 4000; ++trial) {
        const int countA = random.Below(12), countB = random.Below(12);
        const cal_c1DArrayCal a = random.Next(50);
        const double deltas[] = {1, 2, 0.5, 1.0 / 3, 1.7, -1, 0};
        const cal_c1DArrayCal b(a.Position(random.Below(9) - 4) + random.Part() * a.Delta(),
                                trial % 3 == 0 ? a.Delta() : a.Delta() * deltas[random.Below(7)],
                                random.Between(-9, 9));
        const darr_c1DArray first = line(countA, a), second = line(countB, trial % 7 == 0 ? a : b);
        ASSERT_EQ(answerOf(first, second, false), answerOf(first, second, true)) << trial;
        ASSERT_EQ(answerOf(second, first, false), answerOf(second, first, true)) << trial;
        aligned += answerOf(first, second, true).refusal == "none" ? 1 : 0;
    }
    EXPECT_GT(aligned, 2000);
}

TEST(AlignedCalibration, IsThatOfTheSumOfImages) {
    RandomCalibrations random(4);
    int refused = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        const cal_c1DArrayCal x = random.Next(20), y = random.Next(20);
        const double deltas[] = {1, 1, 1, 2, 0.5};
        const auto beside = [&](const cal_cArrayCal& cal) {
            return cal_cArrayCal(cal.Position(random.Below(5) - 2) + random.Part() * cal.Delta(),
                                 cal.Delta() * deltas[random.Below(5)], random.Between(-9, 9));
        };
        const darr_c2DArray a = image(random.Below(6), random.Below(6), {x, y});
        const darr_c2DArray b = image(random.Below(6), random.Below(6), {beside(x), beside(y)});
        ASSERT_EQ(answerOf(a, b, false), answerOf(a, b, true)) << trial;
        refused += answerOf(a, b, true).refusal == sizeRefusal ? 1 : 0;
    }
    EXPECT_GT(refused, 10); // each the finer along one axis
}

TEST(AlignedCalibration, OfArraysThatLieTogetherIsThatOfTheFirst) {
    const darr_c1DArray a = line(4, {1, 0.5, 0}), b = line(4, {2, 0.5, 2});
    EXPECT_EQ(algn_Calibration(a, b), grid_Of(a));
    EXPECT_EQ(algn_Calibration(b, a), grid_Of(b));
}

TEST(AlignedCalibration, AsksNothingOfTheElements) {
    const darr_c1DArray unknown(4, dtyp_cDataType(11), {1, 0.5, 0});
    EXPECT_EQ(algn_Calibration(unknown, line(4, {3, 0.5, 0})).size, 8);
}
