#include "dataprocessing/valuemodel/pos.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "dataprocessing/base/type.h"

TEST(Position, HoldsItsCoordinates) {
    EXPECT_EQ(pos_c1DPosition().Value(), 0);
    pos_c1DPosition line(2.5);
    EXPECT_EQ(line.Value(), 2.5);
    EXPECT_EQ(line.X(), 2.5);
    line.SetX(-1);
    EXPECT_EQ(line.Value(), -1);

    EXPECT_EQ(pos_c2DPosition(), pos_c2DPosition(0, 0));
    pos_c2DPosition plane(1, 2);
    EXPECT_EQ(plane.X(), 1);
    EXPECT_EQ(plane.Y(), 2);
    plane.SetX(3);
    plane.SetY(4);
    EXPECT_EQ(plane, pos_c2DPosition(3, 4));
}

TEST(Position, EqualityIsExact) {
    EXPECT_NE(pos_c1DPosition(1), pos_c1DPosition(std::nextafter(1.0, 2.0)));
    EXPECT_EQ(pos_c1DPosition(1), pos_c1DPosition(1));
    EXPECT_NE(pos_c2DPosition(1, 2), pos_c2DPosition(2, 1));
    EXPECT_NE(pos_c2DPosition(1, 2), pos_c2DPosition(1, 3));
    EXPECT_NE(pos_c2DPosition(1, 2), pos_c2DPosition(3, 2));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_NE(pos_c2DPosition(nan, 2), pos_c2DPosition(nan, 2));
}

TEST(Position, AngleIsTheDirectionFromTheFirstToTheSecond) {
    const pos_c2DPosition p(10, -5);
    const struct {
        double dx, dy, angle;
    } table[] = {{1, 0, 0},
                 {2, 2, type_Pi / 4},
                 {0, 3, type_Pi / 2},
                 {-1, 1, 3 * type_Pi / 4},
                 {-4, 0, type_Pi},
                 {-2, -2, -3 * type_Pi / 4},
                 {0, -1, -type_Pi / 2},
                 {1, -1, -type_Pi / 4},
                 {0, 0, 0}};
    for (const auto& row : table)
        EXPECT_DOUBLE_EQ(pos_Angle(p, pos_c2DPosition(10 + row.dx, -5 + row.dy)), row.angle)
            << row.dx << ' ' << row.dy;
}

TEST(Position, ExchangedPositionsTurnTheAngleByHalfATurn) {
    const pos_c2DPosition p(1, 2);
    const pos_c2DPosition q(4, 3);
    EXPECT_NEAR(pos_Angle(p, q) - pos_Angle(q, p), type_Pi, 4e-16);
}

TEST(Position, AngleOfNaNIsNaN) {
    EXPECT_TRUE(std::isnan(pos_Angle(
        pos_c2DPosition(), pos_c2DPosition(1, std::numeric_limits<double>::quiet_NaN()))));
}
