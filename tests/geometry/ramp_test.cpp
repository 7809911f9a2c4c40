#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/base/type.h"
#include "dataprocessing/geometry/ramp.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

std::vector<float> elementsOf(const darr_c1DArray& array) {
    const auto elements = array.Elements<float>();
    return {elements.begin(), elements.end()};
}
std::vector<float> elementsOf(const darr_c2DArray& array) {
    const auto elements = array.Elements<float>();
    return {elements.begin(), elements.end()};
}

} // namespace

TEST(Ramp1D, HoldsThePositionsOfItsElements) {
    const cal_c1DArrayCal cal(0, 0.25, 4);
    const darr_c1DArray ramp = ramp_c1DRamp(8, cal);
    EXPECT_EQ(ramp.DataType(), dtyp_Float);
    EXPECT_EQ(ramp.Cal(), cal);
    EXPECT_EQ(elementsOf(ramp), (std::vector<float>{-1, -0.75, -0.5, -0.25, 0, 0.25, 0.5, 0.75}));
}

TEST(Ramp1D, AccumulatesItsPositions) {
    const double delta = 0.7390851332151607;
    const darr_c1DArray ramp = ramp_c1DRamp(1000000, cal_c1DArrayCal(0, delta, 0));
    double sum = 0;
    bool differsFromProduct = false;
    for (int i = 0; i < ramp.Size(); ++i) {
        const float element = ramp.Elements<float>()[static_cast<std::size_t>(i)];
        ASSERT_EQ(element, static_cast<float>(sum)) << i;
        differsFromProduct |= element != static_cast<float>(i * delta);
        sum += delta;
    }
    EXPECT_TRUE(differsFromProduct);
}

TEST(Ramp1D, RunsDownForANegativeDelta) {
    EXPECT_EQ(elementsOf(ramp_c1DRamp(3, cal_c1DArrayCal(1, -2, 0))),
              (std::vector<float>{1, -1, -3}));
}

TEST(Ramp1D, CanBeEmpty) {
    const darr_c1DArray none = ramp_c1DRamp(0, cal_c1DArrayCal::Default);
    EXPECT_EQ(none.Size(), 0);
    EXPECT_EQ(none.DataType(), dtyp_Float);
}

TEST(Ramp1D, RefusesANegativeCount) {
    EXPECT_EQ(refusalOf([] { ramp_c1DRamp(-1, cal_c1DArrayCal::Default); }), sizeRefusal);
}

TEST(Ramp1D, FollowsANewCalibration) {
    ramp_c1DRamp ramp(3, cal_c1DArrayCal::Default);
    ramp.SetCal(cal_c1DArrayCal(5, 2, 1));
    const darr_c1DArray array = ramp;
    EXPECT_EQ(elementsOf(array), (std::vector<float>{3, 5, 7}));
    EXPECT_EQ(array.Cal(), cal_c1DArrayCal(5, 2, 1));
}

TEST(Ramp1D, TakesTheRoundedLengthOfARangeAndKeepsItsCalibration) {
    ramp_c1DRamp ramp(8, cal_c1DArrayCal(1, 0.3, 0));
    const struct {
        rnge_c1DRange range;
        int count;
    } cases[] = {{rnge_c1DRange(0, 1), 3},
                 {rnge_c1DRange(100, 101), 3},
                 {rnge_c1DRange(0, 1.06), 4},
                 {rnge_c1DRange(0, 0.1), 0},
                 {rnge_c1DRange(2, 2), 0}};
    for (const auto& [range, count] : cases) {
        ramp.SetRange(range);
        const darr_c1DArray array = ramp;
        EXPECT_EQ(array.Size(), count) << range;
        EXPECT_EQ(array.Cal(), cal_c1DArrayCal(1, 0.3, 0));
        EXPECT_EQ(array.Cal().Position(0), 1);
    }
}

TEST(Ramp1D, RefusesARangeWithoutACountAndStaysAsItIs) {
    ramp_c1DRamp ramp(2, cal_c1DArrayCal(0, 0.5, 0));
    for (const rnge_c1DRange& range : {rnge_c1DRange(1, 0), rnge_c1DRange(0, infinity),
                                       rnge_c1DRange(0, notANumber), rnge_c1DRange(0, 1e10)}) {
        EXPECT_EQ(refusalOf([&] { ramp.SetRange(range); }), sizeRefusal) << range;
        EXPECT_EQ(elementsOf(ramp), (std::vector<float>{0, 0.5}));
    }
    ramp.SetCal(cal_c1DArrayCal(0, 0, 0));
    EXPECT_EQ(refusalOf([&] { ramp.SetRange(rnge_c1DRange(0, 1)); }), sizeRefusal);
}

TEST(Ramp1D, CopiesAreIndependent) {
    ramp_c1DRamp ramp(2, cal_c1DArrayCal::Default);
    ramp_c1DRamp copy = ramp;
    copy.SetCal(cal_c1DArrayCal(7, 1, 0));
    EXPECT_EQ(elementsOf(ramp), (std::vector<float>{0, 1}));
    EXPECT_EQ(elementsOf(copy), (std::vector<float>{7, 8}));
    ramp = copy;
    EXPECT_EQ(elementsOf(ramp), (std::vector<float>{7, 8}));
    ramp.SetRange(rnge_c1DRange(0, 1));
    EXPECT_EQ(elementsOf(ramp), (std::vector<float>{7}));
    EXPECT_EQ(elementsOf(copy), (std::vector<float>{7, 8}));
}

TEST(Ramp2D, HoldsTheFunctionOfItsTypeAtEveryPosition) {
    const cal_c2DArrayCal cal(1, 0.5, -2, 0.25, 2, 1);
    const auto expected = [](ramp_eRampType type, long double x, long double y) {
        switch (type) {
        case ramp_X:
            return x;
        case ramp_Y:
            return y;
        case ramp_Radius:
            return std::sqrt(x * x + y * y);
        default:
            return x == 0 && y == 0 ? 0 : std::atan2(y, x);
        }
    };
    for (const ramp_eRampType type : {ramp_X, ramp_Y, ramp_Radius, ramp_Angle}) {
        const darr_c2DArray ramp = ramp_c2DRamp(type, 5, 3, cal);
        ASSERT_EQ(ramp.SizeX(), 5);
        ASSERT_EQ(ramp.SizeY(), 3);
        EXPECT_EQ(ramp.DataType(), dtyp_Float);
        EXPECT_EQ(ramp.Cal(), cal);
        for (int j = 0; j < 3; ++j)
            for (int i = 0; i < 5; ++i) {
                const long double x = 1 + (i - 2) * 0.5L;
                const long double y = -2 + (j - 1) * 0.25L;
                EXPECT_FLOAT_EQ(ramp.Elements<float>()[static_cast<std::size_t>(j * 5 + i)],
                                static_cast<float>(expected(type, x, y)))
                    << type << " " << i << " " << j;
            }
    }
}

TEST(Ramp2D, AccumulatesAlongEachAxisAnewForEveryRow) {
    const cal_c2DArrayCal cal(0, 0.1, 0, 0.3, 0, 0);
    const darr_c2DArray x = ramp_c2DRamp(ramp_X, 100, 50, cal);
    const darr_c2DArray y = ramp_c2DRamp(ramp_Y, 100, 50, cal);
    double sumY = 0;
    for (std::size_t j = 0; j < 50; ++j) {
        double sumX = 0;
        for (std::size_t i = 0; i < 100; ++i) {
            ASSERT_EQ(x.Elements<float>()[j * 100 + i], static_cast<float>(sumX));
            ASSERT_EQ(y.Elements<float>()[j * 100 + i], static_cast<float>(sumY));
            sumX += 0.1;
        }
        sumY += 0.3;
    }
}

TEST(Ramp2D, AnglesAreCounterClockwiseInAllQuadrants) {
    const float quarter = static_cast<float>(type_Pi / 4);
    const darr_c2DArray ramp = ramp_c2DRamp(ramp_Angle, 3, 3, cal_c2DArrayCal(0, 1, 0, 1, 1, 1));
    const std::vector<float> expected{-3 * quarter, -2 * quarter, -quarter, 4 * quarter, 0, 0,
                                      3 * quarter,  2 * quarter,  quarter};
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_FLOAT_EQ(ramp.Elements<float>()[i], expected[i]) << i;
}

TEST(Ramp2D, AngleAtTheOriginIsZeroEvenForANegativeZero) {
    // x is -0.0 there: the arc tangent would make pi of it.
    const darr_c2DArray ramp =
        ramp_c2DRamp(ramp_Angle, 1, 1, cal_c2DArrayCal(-0.0, -1, 0, 1, 0, 0));
    EXPECT_TRUE(isSameElement(ramp.Elements<float>()[0], 0.0F));
}

TEST(Ramp2D, RefusesNegativeAndTooLargeCountsAndUnknownTypes) {
    const cal_c2DArrayCal cal;
    EXPECT_EQ(refusalOf([&] { ramp_c2DRamp(ramp_X, -1, 2, cal); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { ramp_c2DRamp(ramp_X, 2, -1, cal); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { ramp_c2DRamp(ramp_X, 1 << 16, 1 << 16, cal); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { ramp_c2DRamp(static_cast<ramp_eRampType>(4), 2, 2, cal); }),
              "ramp:1");
    const darr_c2DArray none = ramp_c2DRamp(ramp_X, 0, 5, cal);
    EXPECT_EQ(none.Count(), 0);
}

TEST(Ramp2D, FollowsANewCalibration) {
    ramp_c2DRamp ramp(ramp_Y, 2, 2, cal_c2DArrayCal::Default);
    ramp.SetCal(cal_c2DArrayCal(0, 1, 5, 2, 0, 1));
    EXPECT_EQ(elementsOf(ramp), (std::vector<float>{3, 3, 5, 5}));
}

TEST(Ramp2D, TakesTheRoundedLengthAndWidthOfARange) {
    ramp_c2DRamp ramp(ramp_X, 2, 2, cal_c2DArrayCal(0, 0.5, 0, 2, 0, 0));
    ramp.SetRange(rnge_c2DRange(10, 20, 11.3, 25)); // 1.3 by 5
    darr_c2DArray array = ramp;
    EXPECT_EQ(array.SizeX(), 3);
    EXPECT_EQ(array.SizeY(), 3);
    EXPECT_EQ(array.Cal(), cal_c2DArrayCal(0, 0.5, 0, 2, 0, 0));
    ramp.SetRange(rnge_c2DRange(0, 0, 2, 4, 1.0)); // a rotated one has its own length and width
    array = ramp;
    EXPECT_EQ(array.SizeX(), 4);
    EXPECT_EQ(array.SizeY(), 2);
    EXPECT_EQ(refusalOf([&] { ramp.SetRange(rnge_c2DRange(0, 0, notANumber, 1)); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { ramp.SetRange(rnge_c2DRange(0, 5, 1, 1)); }), sizeRefusal);
    array = ramp;
    EXPECT_EQ(array.SizeX(), 4);
}

TEST(Ramp2D, CopiesAreIndependent) {
    ramp_c2DRamp ramp(ramp_X, 2, 1, cal_c2DArrayCal::Default);
    ramp_c2DRamp copy = ramp;
    copy.SetCal(cal_c2DArrayCal(7, 1, 0, 1, 0, 0));
    EXPECT_EQ(elementsOf(ramp), (std::vector<float>{0, 1}));
    ramp = copy;
    EXPECT_EQ(elementsOf(ramp), (std::vector<float>{7, 8}));
}
