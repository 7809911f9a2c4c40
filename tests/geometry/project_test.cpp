#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/geometry/proj.h"
#include "dataprocessing/geometry/warp.h"
#include "tests/support/elements.h"

namespace {

template<class T>
darr_c2DArray imageOf(int sizeX, int sizeY, std::vector<T> elements,
                      const cal_c2DArrayCal& cal = cal_c2DArrayCal()) {
    return {sizeX, sizeY, std::span<const T>(elements), cal};
}

// Every element is gx x + gy y of its own position.
darr_c2DArray rampImage(int sizeX, int sizeY, double gx, double gy, const cal_c2DArrayCal& cal) {
    std::vector<double> elements;
    for (int y = 0; y < sizeY; ++y)
        for (int x = 0; x < sizeX; ++x)
            elements.push_back(gx * cal.X().Position(x) + gy * cal.Y().Position(y));
    return imageOf(sizeX, sizeY, elements, cal);
}

std::vector<double> valuesOf(const darr_c1DArray& profile) {
    std::vector<double> values;
    for (int i = 0; i < profile.Size(); ++i)
        values.push_back(profile.Number(i).As<double>());
    return values;
}

using Values = std::vector<double>;

const std::vector<float> sample = {1, 2, 3, 4, 5, 9};

} // namespace

TEST(Project, IsTheMeanOfTheRowsOfAnUprightRange) {
    const darr_c2DArray image = imageOf(3, 2, sample);
    EXPECT_EQ(valuesOf(proj_Project(image, rnge_c2DRange(0, 0, 3, 2))), (Values{2.5, 3.5, 6}));
    EXPECT_EQ(valuesOf(proj_Project(image, rnge_c2DRange(1, 0, 3, 2))), (Values{3.5, 6}));
    EXPECT_EQ(valuesOf(proj_Project(image, rnge_c2DRange(0, 0, 3, 3))),
              (Values{5 / 3.0F, 7 / 3.0F, 4})); // what lies outside is zero
}

TEST(Project, AcrossAQuarterTurnAveragesColumns) {
    const darr_c2DArray image = imageOf<float>(4, 4, countedElements<float>(16));
    // Upwards through columns 1 and 2: rows of the turned image are columns 2, then 1.
    const rnge_c2DRange range(2, 2, 4, 2, type_Pi / 2);
    const darr_c2DArray turned = warp_Rotate(image, -type_Pi / 2, range);
    ASSERT_EQ(turned.SizeX(), 4);
    ASSERT_EQ(turned.SizeY(), 2);
    const Values expected = {2.5, 6.5, 10.5, 14.5};
    const Values found = valuesOf(proj_Project(image, range));
    ASSERT_EQ(found.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(found[i], (turned.Number(static_cast<int>(i), 0).As<double>() +
                             turned.Number(static_cast<int>(i), 1).As<double>()) /
                                2);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(found[i], expected[i], 1); // an element's step, for the half element
}

TEST(Project, OneRowIsReturnedAsItIs) {
    const darr_c2DArray image = imageOf<unsigned char>(3, 2, {1, 2, 3, 4, 5, 9});
    const darr_c1DArray row = proj_Project(image, rnge_c2DRange(0, 1, 3, 2));
    EXPECT_EQ(row.DataType(), dtyp_UInt8);
    EXPECT_EQ(valuesOf(row), (Values{4, 5, 9}));
}

TEST(Project, IntegersGiveFloatingMeans) {
    forEachElementType([]<class T>(int code) {
        const darr_c1DArray profile =
            proj_Project(imageOf<T>(2, 3, {1, 2, 2, 2, 120, 2}), rnge_c2DRange(0, 0, 2, 3));
        EXPECT_EQ(profile.DataType().Code(), std::max(code, 7));
        EXPECT_NEAR(valuesOf(profile)[0], 41, 1e-4) << code;
        EXPECT_EQ(valuesOf(profile)[1], 2) << code;
    });
}

TEST(Project, EveryTypeIsTheSumOfItsRowsOverTheirNumber) {
    forEachElementType([]<class T>(int code) {
        const darr_c2DArray image =
            imageOf<T>(20, 17, countedElements<T>(340), cal_c2DArrayCal(3, 0.5, 7, 0.5, 2, 4));
        for (const double angle : {0.0, 0.4, -2.0, type_Pi}) {
            const rnge_c2DRange range(7, 9, 6, 4, angle);
            darr_c2DArray turned = warp_Rotate(image, -angle, range);
            turned.SetOffsetX(0);
            darr_c1DArray expected = turned.LineAtY(0);
            for (int y = 1; y < turned.SizeY(); ++y)
                expected += turned.LineAtY(y);
            expected /= pnum_cNumber(static_cast<float>(turned.SizeY()));
            const darr_c1DArray profile = proj_Project(image, range);
            ASSERT_EQ(profile.DataType(), expected.DataType()) << code;
            EXPECT_EQ(profile.Cal(), expected.Cal());
            EXPECT_EQ(valuesOf(profile), valuesOf(expected)) << code << ' ' << angle;
        }
    });
}

TEST(Project, AWholeImageIsTheSumOfItsRowsHoweverWideItIs) {
    forEachElementType([]<class T>(int code) {
        for (const int width : {1, 511, 513, 1025, 2049, 4100}) {
            const darr_c2DArray image(width, 5, std::span<const T>(countedElements<T>(width * 5)),
                                      cal_c2DArrayCal(3, 0.5, 7, 0.25, 2, 4));
            darr_c1DArray expected = image.LineAtY(0);
            for (int y = 1; y < 5; ++y)
                expected += image.LineAtY(y);
            expected /= pnum_cNumber(5.0F);
            expected.SetOffsetX(0);
            const darr_c1DArray profile = proj_Project(image, rnge_c2DRange::Null);
            ASSERT_EQ(profile.DataType(), expected.DataType()) << code;
            EXPECT_EQ(profile.Cal(), expected.Cal());
            EXPECT_EQ(valuesOf(profile), valuesOf(expected)) << code << ' ' << width;
        }
    });
}

TEST(Project, RowsOfAnUnknownTypeAreNotAdded) {
    const darr_c2DArray image(3, 2, dtyp_cDataType(0), cal_c2DArrayCal());
    const darr_c1DArray row = image.LineAtY(0);
    const std::string refusal = refusalOf([&] { proj_Project(image, rnge_c2DRange::Null); });
    EXPECT_EQ(refusal, refusalOf([&] { bnry_Operate(bnry_Add, row, row); }));
    EXPECT_NE(refusal, "none");
}

TEST(Project, TheOffsetOfTheProfileIsZero) {
    const darr_c2DArray image = imageOf(3, 2, sample, cal_c2DArrayCal(10, 2, 5, 1, 1, 0));
    const darr_c1DArray profile = proj_Project(image, rnge_c2DRange(8, 5, 14, 7));
    EXPECT_EQ(profile.Cal(), cal_c1DArrayCal(0, 2, 1));
    // Upright, the origin is at 0 even from outside; a turned range then starts there.
    const darr_c1DArray beside = proj_Project(image, rnge_c2DRange(12, 5, 14, 7));
    EXPECT_EQ(beside.Cal(), cal_c1DArrayCal(0, 2, -1));
    const darr_c1DArray turnedBeside = proj_Project(image, rnge_c2DRange(12.5, 6, 2, 1, 0.2));
    EXPECT_EQ(turnedBeside.Cal().Position(0), 0);
    const darr_c1DArray turned = proj_Project(image, rnge_c2DRange(11, 6, 4, 2, 0.2));
    EXPECT_EQ(turned.Cal().Offset(), 0);
    EXPECT_EQ(turned.Cal().Delta(), std::cos(0.2) * 2);
}

TEST(Project, TheNullRangeItselfMeansTheWholeImage) {
    const darr_c2DArray image = imageOf(3, 2, sample);
    EXPECT_EQ(valuesOf(proj_Project(image, rnge_c2DRange::Null)), (Values{2.5, 3.5, 6}));
}

TEST(Project, WithoutARowIsRefused) {
    const darr_c2DArray image = imageOf(3, 2, sample);
    const darr_c2DArray empty(0, 0, dtyp_Float, cal_c2DArrayCal());
    for (const double angle : {0.0, 1.0}) {
        const rnge_c2DRange flat(1, 1, 3, 0, angle);
        EXPECT_EQ(refusalOf([&] { proj_Project(image, flat); }), indexRefusal);
        EXPECT_EQ(refusalOf([&] { proj_Project(empty, rnge_c2DRange(0, 0, 0, 0, angle)); }),
                  indexRefusal);
    }
    EXPECT_EQ(refusalOf([&] { proj_Project(image, rnge_c2DRange(1, 1, 1, 1)); }), indexRefusal);
}

TEST(LineScan, GivesARampsValuesWithinAnElementsStepInEveryDirection) {
    const double delta = 0.5;
    const cal_c2DArrayCal cal(10, delta, 20, delta, 7, 30);
    const double gx = 3, gy = -2;
    const darr_c2DArray image = rampImage(64, 64, gx, gy, cal);
    const double centreX = cal.X().Position(32), centreY = cal.Y().Position(32);
    const double step = delta * (std::fabs(gx) + std::fabs(gy));
    for (int degree = 0; degree < 360; ++degree) {
        const double angle = degree * type_Pi / 180;
        const double c = std::cos(angle), s = std::sin(angle);
        const double x1 = centreX - 10 * c, y1 = centreY - 10 * s;
        const darr_c1DArray profile =
            proj_LineScan(image, x1, y1, centreX + 10 * c, centreY + 10 * s, 1.5);
        const double fold = std::max(std::fabs(c), std::fabs(s));
        EXPECT_NEAR(profile.Cal().Delta(), delta * fold, 1e-12) << degree;
        EXPECT_EQ(profile.Cal().Offset(), 0) << degree;
        ASSERT_NEAR(profile.Size() * profile.Cal().Delta(), 20, profile.Cal().Delta()) << degree;
        for (int i = 0; i < profile.Size(); ++i) {
            const double at = i * profile.Cal().Delta();
            const double expected = gx * (x1 + at * c) + gy * (y1 + at * s);
            ASSERT_NEAR(profile.Number(i).As<double>(), expected, step) << degree << ' ' << i;
        }
    }
}

TEST(LineScan, SwappedEndsReverseTheProfileOfEqualRows) {
    std::vector<float> elements;
    for (int i = 0; i < 64; ++i)
        elements.push_back(static_cast<float>(i % 8 * i % 8 + 1));
    for (int i = 8; i < 64; ++i)
        elements[static_cast<std::size_t>(i)] = elements[static_cast<std::size_t>(i % 8)];
    const darr_c2DArray image = imageOf(8, 8, elements);
    const auto value = [&](int x) { return double{elements[static_cast<std::size_t>(x)]}; };
    EXPECT_EQ(valuesOf(proj_LineScan(image, 2, 4, 6, 4, 2)),
              (Values{value(2), value(3), value(4), value(5)}));
    // Element i lies at position i of the way, so that the way back starts at element 6.
    EXPECT_EQ(valuesOf(proj_LineScan(image, 6, 4, 2, 4, 2)),
              (Values{value(6), value(5), value(4), value(3)}));
}

TEST(LineScan, SwappedEndsMayTakeTheNextRow) {
    std::vector<float> elements;
    for (int i = 0; i < 30; ++i)
        elements.push_back(static_cast<float>(i % 6 + i / 6 * 10));
    const darr_c2DArray image = imageOf(6, 5, elements);
    EXPECT_EQ(valuesOf(proj_LineScan(image, 1, 2, 4, 2, 1)), (Values{21, 22, 23}));
    EXPECT_EQ(valuesOf(proj_LineScan(image, 4, 2, 1, 2, 1)), (Values{34, 33, 32}));
}

TEST(LineScan, IsTheProjectionAcrossTheRectangleAlongTheSegment) {
    const darr_c2DArray image =
        imageOf<float>(20, 20, countedElements<float>(400), cal_c2DArrayCal(0, 1, 0, 1, 10, 10));
    const darr_c1DArray scan = proj_LineScan(image, -3, 1, 5, 7, 3);
    const darr_c1DArray projected =
        proj_Project(image, rnge_c2DRange(1, 4, 10, 3, std::atan2(6.0, 8.0)));
    EXPECT_EQ(scan.Cal(), projected.Cal());
    EXPECT_EQ(valuesOf(scan), valuesOf(projected));
}

TEST(LineScan, BetweenEqualPointsHasNoElement) {
    const darr_c2DArray image = imageOf(3, 2, sample);
    const darr_c1DArray scan = proj_LineScan(image, 1, 1, 1, 1, 2);
    EXPECT_EQ(scan.Size(), 0);
    EXPECT_EQ(scan.Cal().Delta(), 1);
}

TEST(LineScan, BetweenEqualPointsVisitsNoRow) {
    // One after the other they would take minutes.
    const darr_c2DArray image = imageOf(3, 2, sample);
    EXPECT_EQ(proj_LineScan(image, 1, 1, 1, 1, 2e9).Size(), 0);
}

TEST(LineScan, OutsideTheImageIsZero) {
    const darr_c2DArray image = imageOf(3, 2, sample);
    for (const double value : valuesOf(proj_LineScan(image, 100, 100, 110, 105, 3)))
        EXPECT_EQ(value, 0);
}

TEST(LineScan, PointsThatAreNoNumbersAreRefused) {
    const darr_c2DArray image = imageOf(3, 2, sample);
    const double notANumber = std::nan(""), infinity = HUGE_VAL;
    EXPECT_EQ(refusalOf([&] { proj_LineScan(image, notANumber, 0, 1, 1, 1); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { proj_LineScan(image, 0, 0, 1, infinity, 1); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { proj_LineScan(image, 0, 0, 1, 1, infinity); }), sizeRefusal);
}
