#include "dataprocessing/geometry/warp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/geometry/warp_kernels.h"
#include "tests/failing_new.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"
#include "tests/support/refusal_expected.h"

using dataprocessing::detail::level_eSet;
using dataprocessing::detail::level_Name;
using dataprocessing::detail::warp_Sample;

namespace {

constexpr double smallest = std::numeric_limits<double>::min();
const rnge_c2DRange& whole = rnge_c2DRange::Null;

using Rows = std::vector<std::vector<double>>;

template<class T>
darr_c2DArray imageOf(const Rows& rows, const cal_c2DArrayCal& cal = cal_c2DArrayCal()) {
    std::vector<T> elements;
    for (const auto& row : rows)
        for (const double value : row)
            elements.push_back(elementOf<T>(value, 0 - value));
    const int sizeX = rows.empty() ? 0 : static_cast<int>(rows[0].size());
    return {sizeX, static_cast<int>(rows.size()), std::span<const T>(elements), cal};
}

template<class T>
darr_c2DArray countedImage(int sizeX, int sizeY, const cal_c2DArrayCal& cal = cal_c2DArrayCal()) {
    const std::vector<T> elements = countedElements<T>(sizeX * sizeY);
    return {sizeX, sizeY, std::span<const T>(elements), cal};
}

Rows rowsOf(const darr_c2DArray& image) {
    Rows rows(static_cast<std::size_t>(image.SizeY()));
    for (int y = 0; y < image.SizeY(); ++y)
        for (int x = 0; x < image.SizeX(); ++x)
            rows[static_cast<std::size_t>(y)].push_back(image.Number(x, y).As<double>());
    return rows;
}

const Rows sample = {{1, 2, 3}, {4, 5, 6}};

darr_c2DArray sampleImage(const cal_c2DArrayCal& cal = cal_c2DArrayCal()) {
    return imageOf<float>(sample, cal);
}

// The same elements, calibration and type.
::testing::AssertionResult isSame(const darr_c2DArray& a, const darr_c2DArray& b) {
    if (a.SizeX() != b.SizeX() || a.SizeY() != b.SizeY())
        return ::testing::AssertionFailure()
               << a.SizeX() << " x " << a.SizeY() << " is not " << b.SizeX() << " x " << b.SizeY();
    if (!(a.Cal() == b.Cal()))
        return ::testing::AssertionFailure() << a.Cal() << " is not " << b.Cal();
    if (a.DataType() != b.DataType())
        return ::testing::AssertionFailure() << "types differ";
    if (a.Count() != 0 &&
        std::memcmp(a.Data(), b.Data(),
                    static_cast<std::size_t>(a.Count()) * a.DataType().SizeOf()) != 0)
        return ::testing::AssertionFailure() << "elements differ:\n" << a << "\nis not\n" << b;
    return ::testing::AssertionSuccess();
}

// ---- The method, one element at a time ---------------------------------------------------------

struct sMatrix {
    double a, b, c, d;
};

sMatrix product(const sMatrix& p, const sMatrix& q) {
    return {p.a * q.a + p.b * q.c, p.a * q.b + p.b * q.d, p.c * q.a + p.d * q.c,
            p.c * q.b + p.d * q.d};
}

sMatrix turn(double angle) {
    return {std::cos(angle), -std::sin(angle), std::sin(angle), std::cos(angle)};
}

template<class T>
using Sampled = std::conditional_t<std::is_integral_v<T>, float, T>;

// What is found for element (x, y): floor, then the border, then the cast.
template<class T>
Sampled<T> literalElement(const T* source, int sizeX, int sizeY, const sMatrix& n, double t0,
                          double t1, int x, int y) {
    const double column = std::floor(n.a * x + n.b * y + t0 + 0.5);
    const double row = std::floor(n.c * x + n.d * y + t1 + 0.5);
    if (!(column >= 0 && column < sizeX && row >= 0 && row < sizeY))
        return Sampled<T>();
    return static_cast<Sampled<T>>(
        source[static_cast<std::size_t>(row) * static_cast<std::size_t>(sizeX) +
               static_cast<std::size_t>(column)]);
}

template<class T>
darr_c2DArray literalWarp(const darr_c2DArray& image, const sMatrix& m, const rnge_c2DRange& r) {
    const double ox = image.Cal().X().Offset(), oy = image.Cal().Y().Offset();
    const double dx = image.Cal().X().Delta(), dy = image.Cal().Y().Delta();
    const double sx = ox - (m.a * ox + m.b * oy), sy = oy - (m.c * ox + m.d * oy);
    double left = infinity, right = -infinity, bottom = infinity, top = -infinity;
    const double corners[][2] = {{r.Left(), r.LeftY()},
                                 {r.TopX(), r.Top()},
                                 {r.Right(), r.RightY()},
                                 {r.BottomX(), r.Bottom()}};
    for (const auto& p : corners) {
        const double x = m.a * p[0] + m.b * p[1] + sx;
        const double y = m.c * p[0] + m.d * p[1] + sy;
        left = std::min(left, x);
        right = std::max(right, x);
        bottom = std::min(bottom, y);
        top = std::max(top, y);
    }
    const int columns = static_cast<int>(std::floor((right - left) / dx + 0.5));
    const int rows = static_cast<int>(std::floor((top - bottom) / dy + 0.5));
    cal_c2DArrayCal cal(left, dx, bottom, dy, 0, 0);
    if (left <= ox && ox < right && bottom <= oy && oy < top)
        cal = cal_c2DArrayCal(ox, dx, oy, dy, static_cast<int>(std::floor((ox - left) / dx + 0.5)),
                              static_cast<int>(std::floor((oy - bottom) / dy + 0.5)));
    const double det = m.a * m.d - m.b * m.c;
    const sMatrix n = {m.d / det, -m.b / det, -m.c / det, m.a / det};
    const double u = n.a * (left - sx) + n.b * (bottom - sy);
    const double v = n.c * (left - sx) + n.d * (bottom - sy);
    const double t0 = (u - ox) / dx + image.Cal().X().CalIndex();
    const double t1 = (v - oy) / dy + image.Cal().Y().CalIndex();
    std::vector<Sampled<T>> elements;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x)
            elements.push_back(literalElement(image.Elements<T>().data(), image.SizeX(),
                                              image.SizeY(), n, t0, t1, x, y));
    return {columns, rows, std::span<const Sampled<T>>(elements), cal};
}

// Samples and compares with the literal loop; what lies before and behind the result stays.
template<class T>
::testing::AssertionResult samplesLiterally(int code, const std::vector<T>& source, int sizeX,
                                            int sizeY, const sMatrix& n, double t0, double t1,
                                            int columns, int rows, level_eSet level) {
    const Sampled<T> guard = elementOf<Sampled<T>>(77, 78);
    const std::size_t count = static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    std::vector<Sampled<T>> result(count + 2, guard);
    const LevelInUse inUse(level);
    warp_Sample({source.data(), dtyp_cDataType(code), sizeX, sizeY}, {{n.a, n.b, n.c, n.d}, t0, t1},
                columns, rows, result.data() + 1);
    for (std::size_t i = 0; i < count; ++i) {
        const int x = static_cast<int>(i) % columns, y = static_cast<int>(i) / columns;
        if (!isSameElement(result[i + 1],
                           literalElement(source.data(), sizeX, sizeY, n, t0, t1, x, y)))
            return ::testing::AssertionFailure()
                   << "type " << code << ", " << level_Name(level) << ", element (" << x << ", "
                   << y << ") of " << columns << " x " << rows << " from " << sizeX << " x "
                   << sizeY << ", map " << n.a << ' ' << n.b << ' ' << n.c << ' ' << n.d << ' '
                   << t0 << ' ' << t1;
    }
    if (!isSameElement(result.front(), guard) || !isSameElement(result.back(), guard))
        return ::testing::AssertionFailure() << "wrote outside, type " << code;
    return ::testing::AssertionSuccess();
}

bool isSizeRefused(const darr_c2DArray& image, double factorX, double factorY) {
    const long before = allocationCount();
    try {
        const darr_c2DArray result = warp_Resize(image, factorX, factorY);
    } catch (const arr_cSizeException&) {
        // What an exception itself takes are its texts.
        return allocationCount() - before < 8;
    }
    return false;
}

} // namespace

// ---- Hand-computed images ----------------------------------------------------------------------

TEST(WarpResize, DoublesAndHalvesAlongAnAxis) {
    EXPECT_EQ(rowsOf(warp_Resize(sampleImage(), 2, 1)),
              (Rows{{1, 2, 2, 3, 3, 0}, {4, 5, 5, 6, 6, 0}}));
    EXPECT_EQ(rowsOf(warp_Resize(sampleImage(), 0.5, 1)), (Rows{{1, 3}, {4, 6}}));
    EXPECT_EQ(rowsOf(warp_Resize(sampleImage(), 1, 2)),
              (Rows{{1, 2, 3}, {4, 5, 6}, {4, 5, 6}, {0, 0, 0}}));
}

TEST(WarpResize, ANegativeFactorMirrorsAboutTheOrigin) {
    const darr_c2DArray mirrored = warp_Resize(sampleImage(), -1, 1);
    EXPECT_EQ(rowsOf(mirrored), (Rows{{0, 3, 2}, {0, 6, 5}}));
    EXPECT_EQ(mirrored.Cal(), cal_c2DArrayCal(-3, 1, 0, 1, 0, 0));
}

TEST(WarpResize, KeepsTheDeltas) {
    const darr_c2DArray image = sampleImage(cal_c2DArrayCal(0, 0.5, 0, 4, 0, 0));
    const darr_c2DArray resized = warp_Resize(image, 2, 1);
    EXPECT_EQ(resized.Cal(), cal_c2DArrayCal(0, 0.5, 0, 4, 0, 0));
    EXPECT_EQ(resized.SizeX(), 6);
}

TEST(WarpResize, FactorsOfOneGiveACopy) {
    const darr_c2DArray image =
        imageOf<unsigned char>(sample, cal_c2DArrayCal(notANumber, 0, infinity, -1, 5, 6));
    const darr_c2DArray copy = warp_Resize(image, 1.0, 1.0);
    EXPECT_EQ(copy.DataType(), dtyp_UInt8);
    EXPECT_EQ(rowsOf(copy), sample);
    EXPECT_EQ(copy.Cal().X().CalIndex(), 5);
    EXPECT_EQ(copy.Cal().Y().Offset(), infinity);
}

TEST(WarpResize, OneFactorOfOneIsNoCopy) {
    EXPECT_EQ(warp_Resize(imageOf<unsigned char>(sample), 1, 2).DataType(), dtyp_Float);
    EXPECT_EQ(warp_Resize(imageOf<unsigned char>(sample), 2, 1).DataType(), dtyp_Float);
}

TEST(WarpResize, RefusesFactorsBelowTheSmallestNormalValue) {
    const double below = std::nextafter(smallest, 0);
    for (const double tiny : {0.0, -0.0, below, -below}) {
        EXPECT_EQ(refusalOf([&] { warp_Resize(sampleImage(), tiny, 1); }), "Warp:229");
        EXPECT_EQ(refusalOf([&] { warp_Resize(sampleImage(), 1, tiny); }), "Warp:229");
    }
    EXPECT_EQ(refusalOf([&] { warp_Resize(sampleImage(), smallest, 1); }), "none");
}

TEST(WarpRescale, TakesOtherDeltas) {
    const darr_c2DArray finer = warp_Rescale(sampleImage(), 0.5, 1);
    EXPECT_EQ(rowsOf(finer), (Rows{{1, 2, 2, 3, 3, 0}, {4, 5, 5, 6, 6, 0}}));
    EXPECT_EQ(finer.Cal(), cal_c2DArrayCal(0, 0.5, 0, 1, 0, 0));
    const darr_c2DArray coarser = warp_Rescale(sampleImage(), 1, 2);
    EXPECT_EQ(rowsOf(coarser), (Rows{{1, 2, 3}}));
    EXPECT_EQ(coarser.Cal(), cal_c2DArrayCal(0, 1, 0, 2, 0, 0));
}

TEST(WarpRescale, KeepsTheCalibrationOriginInItsPlace) {
    // Element 1 lies at 10; on half the delta element 2 does.
    const darr_c2DArray image = sampleImage(cal_c2DArrayCal(10, 1, 0, 1, 1, 0));
    const darr_c2DArray finer = warp_Rescale(image, 0.5, 1);
    EXPECT_EQ(finer.Cal(), cal_c2DArrayCal(10, 0.5, 0, 1, 2, 0));
    EXPECT_EQ(rowsOf(finer)[0], (std::vector<double>{1, 2, 2, 3, 3, 0}));
}

TEST(WarpRescale, AnOriginOutsideLeavesTheLeftOfTheEnlargedBox) {
    // Element 0 lies at 15, 5 from the origin, and twice as far when enlarged.
    const darr_c2DArray image = sampleImage(cal_c2DArrayCal(10, 1, 0, 1, -5, 0));
    EXPECT_EQ(warp_Rescale(image, 0.5, 1).Cal(), cal_c2DArrayCal(20, 0.5, 0, 1, 0, 0));
}

TEST(WarpRescale, ItsOwnDeltasGiveACopy) {
    const cal_c2DArrayCal cal(3, 0.25, -1, 0.5, 2, 1);
    const darr_c2DArray copy = warp_Rescale(imageOf<short>(sample, cal), 0.25, 0.5);
    EXPECT_TRUE(isSame(copy, imageOf<short>(sample, cal)));
    EXPECT_EQ(warp_Rescale(imageOf<short>(sample, cal), 0.25, 1).DataType(), dtyp_Float);
    EXPECT_EQ(warp_Rescale(imageOf<short>(sample, cal), 1, 0.5).DataType(), dtyp_Float);
}

TEST(WarpRescale, RefusesDeltasBelowTheSmallestNormalValue) {
    const double below = std::nextafter(smallest, 0);
    for (const double tiny : {0.0, -0.0, below, -below}) {
        EXPECT_EQ(refusalOf([&] { warp_Rescale(sampleImage(), tiny, 1); }), "Warp:202");
        EXPECT_EQ(refusalOf([&] { warp_Rescale(sampleImage(), 1, tiny); }), "Warp:202");
    }
    // Even where the image has that delta already.
    EXPECT_EQ(refusalOf([] { warp_Rescale(sampleImage(cal_c2DArrayCal(0, 0, 0, 1, 0, 0)), 0, 1); }),
              "Warp:202");
}

TEST(WarpShear, SlantsTheRows) {
    const darr_c2DArray sheared = warp_Shear(sampleImage(), type_Pi / 4, 0);
    EXPECT_EQ(rowsOf(sheared), (Rows{{1, 2, 3, 0, 0}, {0, 4, 5, 6, 0}}));
    const darr_c2DArray other = warp_Shear(sampleImage(), -type_Pi / 4, 0);
    EXPECT_EQ(rowsOf(other), (Rows{{0, 0, 1, 2, 3}, {0, 4, 5, 6, 0}}));
}

TEST(WarpShear, SlantsTheColumnsAlongTheOtherAxis) {
    EXPECT_EQ(rowsOf(warp_Shear(sampleImage(), type_Pi / 4, type_Pi / 2)),
              (Rows{{0, 0, 0}, {0, 0, 3}, {0, 2, 6}, {1, 5, 0}, {4, 0, 0}}));
}

TEST(WarpShear, RefusesExactlyTwoAngles) {
    EXPECT_EQ(refusalOf([] { warp_Shear(sampleImage(), type_Pi / 2, 0); }), "Warp:251");
    EXPECT_EQ(refusalOf([] { warp_Shear(sampleImage(), 3 * type_Pi / 2, 0); }), "Warp:251");
    // Minus pi / 2 is not one of them: its tangent makes the result too large instead.
    EXPECT_EQ(refusalOf([] { warp_Shear(sampleImage(), -type_Pi / 2, 0); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { warp_Shear(sampleImage(), std::nextafter(1.6, 0), 0); }), "none");
}

TEST(WarpShear, ATinyAngleGivesACopy) {
    const darr_c2DArray image = imageOf<unsigned short>(sample);
    const double below = std::nextafter(smallest, 0);
    for (const double tiny : {0.0, -0.0, below, -below})
        EXPECT_TRUE(isSame(warp_Shear(image, tiny, 1), image));
    EXPECT_EQ(warp_Shear(image, smallest, 0).DataType(), dtyp_Float);
}

TEST(WarpFlipAxis, AtZeroMirrorsX) {
    const darr_c2DArray flipped = warp_FlipAxis(sampleImage(), 0);
    EXPECT_EQ(rowsOf(flipped), (Rows{{0, 3, 2}, {0, 6, 5}}));
    EXPECT_EQ(flipped.Cal(), cal_c2DArrayCal(-3, 1, 0, 1, 0, 0));
}

TEST(WarpFlipAxis, AtAQuarterTurnMirrorsY) {
    EXPECT_EQ(rowsOf(warp_FlipAxis(sampleImage(), type_Pi / 2)), (Rows{{0, 0, 0}, {4, 5, 6}}));
}

// At pi / 4 the axis is the diagonal x = y, so that the map swaps the coordinates. The origin is
// put off the half so that no coordinate lies on the border between two elements.
TEST(WarpFlipAxis, AtAnEighthTurnSwapsTheCoordinates) {
    EXPECT_EQ(rowsOf(warp_FlipAxis(sampleImage(), type_Pi / 4)), (Rows{{1, 4}, {2, 5}, {3, 6}}));
}

TEST(WarpFlipPoint, MirrorsBothCoordinates) {
    const darr_c2DArray flipped = warp_FlipPoint(sampleImage());
    EXPECT_EQ(rowsOf(flipped), (Rows{{0, 0, 0}, {0, 6, 5}}));
    EXPECT_EQ(flipped.Cal(), cal_c2DArrayCal(-3, 1, -2, 1, 0, 0));
}

// Position p of the result holds what position -p of the image does; the element at the origin
// stays, and those that would come from beyond the last ones are zero.
TEST(WarpFlipPoint, AboutTheCentreTurnsTheImageByHalfATurn) {
    const cal_c2DArrayCal centred(5, 1, -3, 1, 2, 1);
    const darr_c2DArray image = imageOf<float>({{1, 2, 3, 4}, {5, 6, 7, 8}}, centred);
    const darr_c2DArray turned = warp_FlipPoint(image);
    EXPECT_EQ(rowsOf(turned), (Rows{{0, 0, 0, 0}, {0, 8, 7, 6}}));
    EXPECT_EQ(turned.Cal(), centred);
}

TEST(WarpRotate, ByAQuarterTurn) {
    const darr_c2DArray left = warp_Rotate(sampleImage(), type_Pi / 2, whole);
    EXPECT_EQ(rowsOf(left), (Rows{{0, 4}, {0, 5}, {0, 6}}));
    EXPECT_EQ(left.Cal(), cal_c2DArrayCal(0, 1, 0, 1, 2, 0));
    const darr_c2DArray right = warp_Rotate(sampleImage(), -type_Pi / 2, whole);
    EXPECT_EQ(rowsOf(right), (Rows{{0, 0}, {3, 6}, {2, 5}}));
    EXPECT_EQ(right.Cal(), cal_c2DArrayCal(0, 1, 0, 1, 0, 3));
    EXPECT_EQ(rowsOf(warp_Rotate(sampleImage(), 3 * type_Pi / 2, whole)), rowsOf(right));
}

TEST(WarpRotate, ByHalfATurn) {
    const Rows turned = {{0, 0, 0}, {0, 6, 5}};
    EXPECT_EQ(rowsOf(warp_Rotate(sampleImage(), type_Pi, whole)), turned);
    EXPECT_EQ(rowsOf(warp_Rotate(sampleImage(), -type_Pi, whole)), turned);
}

// The folded angle of a whole turn is pi, whose sine is almost zero: so would be the deltas.
TEST(WarpRotate, AWholeTurnHasNoSize) {
    EXPECT_EQ(refusalOf([] { warp_Rotate(sampleImage(), 2 * type_Pi, whole); }), sizeRefusal);
}

TEST(WarpRotate, QuarterTurnsOfOddAndEvenSizesMoveEveryElementOnce) {
    for (const int sizeX : {1, 2, 5, 8})
        for (const int sizeY : {1, 2, 5, 8}) {
            // The origin lies beyond the last elements, so that none is lost to the border.
            const darr_c2DArray image = countedImage<float>(sizeX, sizeY);
            const Rows rows = rowsOf(image);
            const Rows left = rowsOf(warp_Rotate(image, type_Pi / 2, whole));
            ASSERT_EQ(left.size(), static_cast<std::size_t>(sizeX));
            for (int y = 0; y < sizeX; ++y)
                for (int x = 0; x < sizeY; ++x)
                    EXPECT_EQ(left[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)],
                              x == 0 ? 0
                                     : rows[static_cast<std::size_t>(sizeY - x)]
                                           [static_cast<std::size_t>(y)]);
        }
}

TEST(WarpRotate, ByNothingSelectsTheRange) {
    const cal_c2DArrayCal cal(10, 2, 20, 3, 1, 1);
    const darr_c2DArray image = imageOf<unsigned char>(sample, cal);
    EXPECT_TRUE(isSame(warp_Rotate(image, 0, whole), image));
    EXPECT_TRUE(isSame(warp_Rotate(image, -0.0, whole), image));
    const rnge_c2DRange range(10.9, 17, 100, 20.1);
    EXPECT_TRUE(isSame(warp_Rotate(image, 0, range), image.Selection(range, rnge_IndexNearest)));
    EXPECT_EQ(warp_Rotate(image, 0, range).SizeX(), 45);
}

TEST(WarpRotate, ByNothingARangeWithoutIndicesIsRefused) {
    const rnge_c2DRange odd(notANumber, 0, 1, 1);
    EXPECT_EQ(refusalOf([&] { warp_Rotate(sampleImage(), 0, odd); }), indexRefusal);
}

TEST(WarpRotate, BeyondAWholeTurnTheDeltasAreNegative) {
    const darr_c2DArray turned = warp_Rotate(sampleImage(), 7, whole);
    EXPECT_EQ(turned.Cal().X().Delta(), std::sin(7 - type_Pi));
    EXPECT_LT(turned.Cal().X().Delta(), 0);
}

TEST(WarpRotate, OnlyTheNullRangeItselfMeansTheWholeImage) {
    const rnge_c2DRange equal = rnge_c2DRange::Null;
    ASSERT_EQ(equal, rnge_c2DRange::Null);
    EXPECT_EQ(warp_Rotate(sampleImage(), 0, equal).Count(), 0);
    EXPECT_EQ(warp_Rotate(sampleImage(), 0.3, equal).Count(), 0);
    EXPECT_GT(warp_Rotate(sampleImage(), 0.3, whole).Count(), 0);
}

TEST(WarpRotate, TakesOnlyTheRange) {
    const darr_c2DArray image = countedImage<float>(8, 8);
    const darr_c2DArray part = warp_Rotate(image, type_Pi / 2, rnge_c2DRange(2, 3, 5, 7));
    // Rotated by a quarter turn, [2, 5) x [3, 7) becomes [-7, -3) x [2, 5).
    EXPECT_EQ(part.Cal(), cal_c2DArrayCal(-7, 1, 2, 1, 0, 0));
    ASSERT_EQ(part.SizeX(), 4);
    ASSERT_EQ(part.SizeY(), 3);
    EXPECT_EQ(rowsOf(part)[0][0], rowsOf(image)[7][2]);
    EXPECT_EQ(rowsOf(part)[2][3], rowsOf(image)[4][4]);
}

TEST(WarpRotate, DeltasFollowTheFoldedAngle) {
    struct sCase {
        double angle, dx, dy, newX, newY;
    };
    const auto c = [](double x) { return std::cos(x); };
    const auto s = [](double x) { return std::sin(x); };
    const double pi = type_Pi;
    const sCase cases[] = {
        {0.5, 1, 1, c(0.5), c(0.5)},
        {1.0, 1, 1, s(1.0), s(1.0)},
        // atan(2) is 1.107, atan(1 / 2) is 0.464
        {1.1, 1, 2, c(1.1), c(1.1) * 2},
        {1.12, 1, 2, s(1.12) * 2, s(1.12)},
        {0.46, 2, 1, c(0.46) * 2, c(0.46)},
        {0.47, 2, 1, s(0.47), s(0.47) * 2},
        {-0.5, 1, 2, c(0.5), c(0.5) * 2},
        {-1.2, 1, 2, s(1.2) * 2, s(1.2)},
        // beyond pi / 2, and beyond pi
        {2.0, 1, 1, s(std::fabs(2.0 - pi)), s(std::fabs(2.0 - pi))},
        {2.9, 1, 2, c(std::fabs(2.9 - pi)), c(std::fabs(2.9 - pi)) * 2},
        {-2.9, 1, 2, c(std::fabs(2.9 - pi)), c(std::fabs(2.9 - pi)) * 2},
        {3.5, 1, 2, c(3.5 - pi), c(3.5 - pi) * 2},
        {4.5, 1, 2, s(4.5 - pi) * 2, s(4.5 - pi)},
    };
    for (const sCase& test : cases) {
        const darr_c2DArray image =
            countedImage<float>(6, 5, cal_c2DArrayCal(1, test.dx, 2, test.dy, 2, 3));
        const darr_c2DArray turned = warp_Rotate(image, test.angle, whole);
        EXPECT_EQ(turned.Cal().X().Delta(), test.newX) << test.angle;
        EXPECT_EQ(turned.Cal().Y().Delta(), test.newY) << test.angle;

        darr_c2DArray expected = literalWarp<float>(
            image, product(turn(test.angle), {test.dx / test.newX, 0, 0, test.dy / test.newY}),
            image.Range());
        expected.SetDeltaX(test.newX);
        expected.SetDeltaY(test.newY);
        EXPECT_TRUE(isSame(turned, expected)) << test.angle;
    }
}

// ---- What holds for all ------------------------------------------------------------------------

TEST(Warp, TheCalibrationDependsOnWhereTheOriginLies) {
    // The origin inside: its index moves. Outside: offsets at the box's left and bottom.
    const darr_c2DArray inside = sampleImage(cal_c2DArrayCal(10, 0.5, 20, 1, 2, 1));
    EXPECT_EQ(warp_Resize(inside, 2, 3).Cal(), cal_c2DArrayCal(10, 0.5, 20, 1, 4, 3));
    const darr_c2DArray outside = sampleImage(cal_c2DArrayCal(10, 0.5, 20, 1, -2, 0));
    EXPECT_EQ(warp_Resize(outside, 2, 3).Cal(), cal_c2DArrayCal(12, 0.5, 20, 1, 0, 0));
    const darr_c2DArray above = sampleImage(cal_c2DArrayCal(10, 0.5, 20, 1, 0, 2));
    EXPECT_EQ(warp_Resize(above, 2, 3).Cal(), cal_c2DArrayCal(10, 0.5, 14, 1, 0, 0));
}

TEST(Warp, EveryTypeIsSampledAsItselfOrAsSinglePrecision) {
    forEachElementType([]<class T>(int code) {
        const darr_c2DArray result = warp_Resize(imageOf<T>(sample), 2, 1);
        ASSERT_EQ(result.DataType().Code(), std::max(code, 7));
        const darr_c2DArray expected =
            imageOf<Sampled<T>>({{1, 2, 2, 3, 3, 0}, {4, 5, 5, 6, 6, 0}});
        for (std::size_t i = 0; i < 12; ++i)
            EXPECT_TRUE(isSameElement(result.template Elements<Sampled<T>>()[i],
                                      expected.template Elements<Sampled<T>>()[i]))
                << code << ' ' << i;
    });
}

TEST(Warp, LargeIntegersAreRoundedToSinglePrecision) {
    const std::vector<int> elements = {16777217, -2147483647};
    const darr_c2DArray image(2, 1, std::span<const int>(elements));
    const darr_c2DArray result = warp_Resize(image, 1, 2);
    EXPECT_EQ(result.Elements<float>()[0], 16777216.0F);
    EXPECT_EQ(result.Elements<float>()[1], -2147483648.0F);
}

TEST(Warp, TheLimitsOfTheIntegersKeepTheirSigns) {
    forEachElementType([]<class T>(int) {
        if constexpr (std::is_integral_v<T>) {
            const std::vector<T> elements = {std::numeric_limits<T>::min(),
                                             std::numeric_limits<T>::max()};
            const darr_c2DArray image(2, 1, std::span<const T>(elements));
            const darr_c2DArray result = warp_Resize(image, 1, 2);
            EXPECT_EQ(result.Elements<float>()[0], static_cast<float>(elements[0]));
            EXPECT_EQ(result.Elements<float>()[1], static_cast<float>(elements[1]));
        }
    });
}

TEST(Warp, ValuesAreCopiedBitForBit) {
    const std::vector<float> elements = {-0.0F, std::numeric_limits<float>::denorm_min(),
                                         std::numeric_limits<float>::infinity(),
                                         std::numeric_limits<float>::signaling_NaN()};
    const darr_c2DArray image(4, 1, std::span<const float>(elements));
    const darr_c2DArray result = warp_Resize(image, 1, 2);
    ASSERT_EQ(result.Count(), 8);
    EXPECT_EQ(std::memcmp(result.Data(), elements.data(), 16), 0);
}

TEST(Warp, UnknownTypesAreRefused) {
    for (const int code : {0, 11, -1}) {
        const darr_c2DArray image(3, 2, dtyp_cDataType(code), cal_c2DArrayCal());
        EXPECT_EQ(refusalOf([&] { warp_FlipPoint(image); }), "Warp:93") << code;
        EXPECT_EQ(refusalOf([&] { warp_Rotate(image, 1, whole); }), "Warp:93") << code;
    }
}

TEST(Warp, SingularMatricesAreRefused) {
    const auto refusal =
        caught<expt_cUserException>([&] { warp_Resize(sampleImage(), 1e-200, 1e-200); });
    EXPECT_EQ(refusal.SourceFile(), "linalg");
    EXPECT_EQ(refusal.Line(), 157);
    EXPECT_EQ(refusal.Message(), expt_InvertSingularMatrix);
    EXPECT_EQ(refusalOf([] { warp_Rescale(sampleImage(), 1e200, 1e200); }), "linalg:157");
}

TEST(Warp, EmptyImagesStayEmpty) {
    for (const auto& [sizeX, sizeY] : {std::pair(0, 0), std::pair(0, 5), std::pair(5, 0)}) {
        const darr_c2DArray image(sizeX, sizeY, dtyp_Int16, cal_c2DArrayCal());
        EXPECT_EQ(warp_Rescale(image, 0.1, 0.1).Count(), 0);
        EXPECT_EQ(warp_Rescale(image, 1, 1).Count(), 0);
        EXPECT_EQ(warp_Resize(image, 2, 2).Count(), 0);
        EXPECT_EQ(warp_Resize(image, 1, 1).Count(), 0);
        EXPECT_EQ(warp_Shear(image, 1, 1).Count(), 0);
        EXPECT_EQ(warp_FlipAxis(image, 1).Count(), 0);
        EXPECT_EQ(warp_FlipPoint(image).Count(), 0);
        EXPECT_EQ(warp_Rotate(image, 1, whole).Count(), 0);
        EXPECT_EQ(warp_Rotate(image, 1, rnge_c2DRange(0, 0, 5, 5)).Count(), 0);
    }
}

TEST(Warp, AResultMayHaveNoColumnOrNoRow) {
    const darr_c2DArray noColumn = warp_Resize(sampleImage(), 0.1, 1e6);
    EXPECT_EQ(noColumn.SizeX(), 0);
    EXPECT_EQ(noColumn.SizeY(), 2000000);
    const darr_c2DArray noRow = warp_Resize(sampleImage(), 1, 0.1);
    EXPECT_EQ(noRow.SizeX(), 3);
    EXPECT_EQ(noRow.SizeY(), 0);
    EXPECT_EQ(warp_Resize(sampleImage(), 3000, 0.1).SizeX(), 9000);
}

TEST(Warp, SizesAreRefusedBeforeAnythingIsAllocated) {
    const darr_c2DArray image = sampleImage();
    EXPECT_TRUE(isSizeRefused(image, 1e300, 1));
    EXPECT_TRUE(isSizeRefused(image, 1, 1e300));
    EXPECT_TRUE(isSizeRefused(image, infinity, 1));
    EXPECT_TRUE(isSizeRefused(image, notANumber, 1));
    EXPECT_TRUE(isSizeRefused(image, 1, notANumber));
    EXPECT_TRUE(isSizeRefused(image, 2147483648.0 / 3, 1));
    EXPECT_TRUE(isSizeRefused(image, 50000, 50000));
    for (const double delta : {-1.0, 0.0, notANumber}) {
        EXPECT_TRUE(isSizeRefused(sampleImage(cal_c2DArrayCal(0, delta, 0, 1, 0, 0)), 2, 1));
        EXPECT_TRUE(isSizeRefused(sampleImage(cal_c2DArrayCal(0, 1, 0, delta, 0, 0)), 2, 1));
    }
    EXPECT_TRUE(isSizeRefused(sampleImage(cal_c2DArrayCal(infinity, 1, 0, 1, 0, 0)), 2, 1));
    EXPECT_TRUE(isSizeRefused(sampleImage(cal_c2DArrayCal(0, 1, notANumber, 1, 0, 0)), 2, 1));
}

TEST(Warp, ARangeThatIsNoNumberIsRefused) {
    for (int bound = 0; bound < 4; ++bound)
        for (const double odd : {notANumber, infinity}) {
            double b[4] = {0, 0, 2, 2};
            b[bound] = odd;
            const rnge_c2DRange range(b[0], b[1], b[2], b[3]);
            EXPECT_EQ(refusalOf([&] { warp_Rotate(sampleImage(), 1, range); }), sizeRefusal)
                << bound << ' ' << odd;
        }
    const rnge_c2DRange turned(0, 0, 3, 2, notANumber);
    EXPECT_EQ(refusalOf([&] { warp_Rotate(sampleImage(), 1, turned); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { warp_Rotate(sampleImage(), notANumber, whole); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { warp_FlipAxis(sampleImage(), infinity); }), sizeRefusal);
}

TEST(Warp, WithoutMemoryNothingIsLost) {
    const darr_c2DArray image = sampleImage();
    {
        const FailingNew none(0);
        EXPECT_THROW(warp_Rotate(image, 1, whole), std::bad_alloc);
    }
    EXPECT_EQ(rowsOf(image), sample);
}

TEST(Warp, AllocatesTheResultAlone) {
    const darr_c2DArray image = countedImage<unsigned char>(64, 64);
    const long before = allocationCount();
    const darr_c2DArray result = warp_Rotate(image, 1, whole);
    EXPECT_EQ(allocationCount() - before, 1);
}

TEST(Warp, TwoThreadsDoNotDisturbEachOther) {
    const darr_c2DArray a = countedImage<float>(60, 50), b = countedImage<double>(40, 70);
    const darr_c2DArray expectedA = warp_Rotate(a, 0.3, whole);
    const darr_c2DArray expectedB = warp_Shear(b, 0.7, 0.2);
    int equalA = 0, equalB = 0;
    std::thread first([&] {
        for (int i = 0; i < 200; ++i)
            equalA += isSame(warp_Rotate(a, 0.3, whole), expectedA) ? 1 : 0;
    });
    std::thread second([&] {
        for (int i = 0; i < 200; ++i)
            equalB += isSame(warp_Shear(b, 0.7, 0.2), expectedB) ? 1 : 0;
    });
    first.join();
    second.join();
    EXPECT_EQ(equalA, 200);
    EXPECT_EQ(equalB, 200);
}

TEST(Warp, RandomImagesAndMapsFollowTheMethod) {
    std::mt19937 random(4);
    std::uniform_real_distribution<double> real(-1, 1);
    const auto size = [&] { return 1 + static_cast<int>(random() % 12); };
    for (int i = 0; i < 3000; ++i) {
        const double dx = std::exp(real(random)), dy = i % 2 ? dx : std::exp(real(random));
        const cal_c2DArrayCal cal(10 * real(random), dx, 10 * real(random), dy, size() - 3,
                                  size() - 3);
        const darr_c2DArray image = i % 3 ? countedImage<float>(size(), size(), cal)
                                          : countedImage<ComplexDouble>(size(), size(), cal);
        const auto expected = [&](const sMatrix& m, const rnge_c2DRange& range) {
            return i % 3 ? literalWarp<float>(image, m, range)
                         : literalWarp<ComplexDouble>(image, m, range);
        };
        const double p = 3 * real(random), q = 3 * real(random);
        EXPECT_TRUE(isSame(warp_Resize(image, p, q), expected({p, 0, 0, q}, image.Range())));

        const double newX = dx * std::exp(p / 2), newY = dy * std::exp(q / 2);
        darr_c2DArray rescaled = expected({dx / newX, 0, 0, dy / newY}, image.Range());
        rescaled.SetDeltaX(newX);
        rescaled.SetDeltaY(newY);
        EXPECT_TRUE(isSame(warp_Rescale(image, newX, newY), rescaled));

        const sMatrix shear = product(product(turn(-q), {1, std::tan(p / 2.2), 0, 1}), turn(q));
        EXPECT_TRUE(isSame(warp_Shear(image, p / 2.2, q), expected(shear, image.Range())));

        const sMatrix flip = product(product(turn(-p), {-1, 0, 0, 1}), turn(p));
        EXPECT_TRUE(isSame(warp_FlipAxis(image, p), expected(flip, image.Range())));
        EXPECT_TRUE(isSame(warp_FlipPoint(image), expected({-1, 0, 0, -1}, image.Range())));

        double a = std::fabs(p);
        if (a > type_Pi / 2)
            a = std::fabs(a - type_Pi);
        const bool flat = a < std::atan(dy / dx);
        const double turnedX = flat ? std::cos(a) * dx : std::sin(a) * dy;
        const double turnedY = flat ? std::cos(a) * dy : std::sin(a) * dx;
        const rnge_c2DRange range(cal.X().Position(3), cal.Y().Position(3), 6 * dx, 4 * dy, q);
        darr_c2DArray turned =
            expected(product(turn(p), {dx / turnedX, 0, 0, dy / turnedY}), range);
        turned.SetDeltaX(turnedX);
        turned.SetDeltaY(turnedY);
        EXPECT_TRUE(isSame(warp_Rotate(image, p, range), turned));
        if (HasFailure())
            return;
    }
}

// ---- The kernel --------------------------------------------------------------------------------

TEST(WarpSample, GivesTheLiteralLoopForRandomMapsSizesAndTypes) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> real(-1, 1);
    const auto size = [&] { return 1 + static_cast<int>(random() % 40); };
    forEachElementType([&]<class T>(int code) {
        for (int i = 0; i < 500; ++i) {
            const int sizeX = size(), sizeY = size();
            // Halves put many coordinates exactly on the border between two elements.
            const auto factor = [&] {
                return i % 4 == 0 ? std::round(4 * real(random)) / 2 : 2 * real(random);
            };
            const auto shift = [&] {
                return i % 4 == 0 ? std::round(40 * real(random)) / 2 : 40 * real(random);
            };
            const sMatrix n{factor(), factor(), factor(), factor()};
            const double t0 = shift(), t1 = shift();
            const std::vector<T> source = countedElements<T>(sizeX * sizeY);
            const int columns = size() - 1, rows = size() - 1;
            for (const level_eSet level : levels())
                ASSERT_TRUE(
                    samplesLiterally(code, source, sizeX, sizeY, n, t0, t1, columns, rows, level));
        }
    });
}

TEST(WarpSample, GivesTheLiteralLoopForLongRows) {
    std::mt19937 random(6);
    std::uniform_real_distribution<double> real(-1, 1);
    forEachElementType([&]<class T>(int code) {
        const std::vector<T> source = countedElements<T>(3000 * 3);
        for (const int columns : {1023, 1024, 1025, 2047, 2048, 2049, 4095, 4096, 4097, 8193})
            for (int i = 0; i < 4; ++i) {
                const double factor = 2950.0 / columns;
                const sMatrix n{i % 2 ? factor : -factor, real(random), real(random) * 1e-4, 1};
                const double t0 = i % 2 ? 100 * real(random) : 2900 + 100 * real(random);
                for (const level_eSet level : levels())
                    ASSERT_TRUE(samplesLiterally(code, source, 3000, 3, n, t0, real(random),
                                                 columns, 3, level));
            }
    });
}

TEST(WarpSample, GivesTheLiteralLoopForExtremeMaps) {
    const double extremes[] = {
        0.0,  -0.0,  1.0,    -1.0,    1e-300,     -1e-300,  4e-324,    1e9,
        -1e9, 1e300, -1e300, 1.7e308, notANumber, infinity, -infinity, 0.49999999999999994};
    const int count = static_cast<int>(std::size(extremes));
    std::mt19937 random(7);
    const auto extreme = [&] { return extremes[static_cast<int>(random()) % count & 15]; };
    const std::vector<float> source = countedElements<float>(7 * 5);
    for (int i = 0; i < 20000; ++i) {
        const sMatrix n{extreme(), extreme(), extreme(), extreme()};
        const double t0 = extreme(), t1 = extreme();
        for (const level_eSet level : levels())
            ASSERT_TRUE(samplesLiterally(7, source, 7, 5, n, t0, t1, 9, 6, level));
    }
}

TEST(WarpSample, TakesEveryElementOfTheBorder) {
    const std::vector<double> source = countedElements<double>(4 * 3);
    for (const level_eSet level : levels())
        for (const double t : {-0.5, -0.5000000000000001, 0.49999999999999994, 0.5, 3.0, 2.5}) {
            EXPECT_TRUE(samplesLiterally(8, source, 4, 3, {1, 0, 0, 1}, t, t, 6, 6, level));
            EXPECT_TRUE(samplesLiterally(8, source, 4, 3, {-1, 0, 0, -1}, t, t, 6, 6, level));
        }
}
