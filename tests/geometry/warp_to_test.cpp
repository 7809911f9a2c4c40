#include "dataprocessing/geometry/warp_to.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/failing_new.h"
#include "tests/support/arrays.h"
#include "tests/support/bounds.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"
#include "tests/support/levels.h"

namespace {

using Long = long double;
using Value = std::complex<Long>;

constexpr warp_eInterpolation interpolations[] = {warp_NearestElement, warp_LinearInterpolation,
                                                  warp_CubicInterpolation};

template<class T>
Value valueOf(T x) {
    if constexpr (isComplexElement<T>)
        return {x.re, x.im};
    else
        return static_cast<Long>(x);
}

/// The weight of an element at a distance.
Long weight(int interpolation, Long distance) {
    const Long t = std::fabs(distance);
    if (interpolation == warp_LinearInterpolation)
        return t < 1 ? 1 - t : 0;
    const Long a = -0.5L;
    if (t <= 1)
        return (a + 2) * t * t * t - (a + 3) * t * t + 1;
    return t < 2 ? a * t * t * t - 5 * a * t * t + 8 * a * t - 4 * a : 0;
}

/// Where an element of the result comes from, along one axis.
struct Origin {
    Long index;
    Long nearest; ///< a half within the tolerance being the half
    bool isInside;
    bool isClose; ///< to where something changes at once
};

Origin originOf(const cal_cArrayCal& cal, int size, Long position) {
    const Long real = (position - cal.Offset()) / cal.Delta() + cal.CalIndex();
    const Long whole = std::floor(real + 0.5L);
    const Long distance = std::fabs(real - whole);
    const Long tolerance =
        std::max(cal.Tolerance(cal.Position(0)), cal.Tolerance(cal.Position(size)));
    const Long index = distance <= tolerance ? whole : real;
    const Long nearest = std::floor(index + 0.5L + tolerance);
    return {index, nearest, nearest >= 0 && nearest < size,
            std::fabs(distance - tolerance) < 1e-9L ||
                std::fabs(std::fabs(distance) - (0.5L - tolerance)) < 1e-9L};
}

/// The plain loop. Answers how many elements of `result` were compared.
template<class T>
int compare(const darr_c2DArray& image, const darr_c2DArray& result, const warp_s2x3Map& map,
            int interpolation) {
    const auto elements = image.Elements<T>();
    const Long determinant = Long{map.m00} * map.m11 - Long{map.m01} * map.m10;
    int compared = 0;
    for (int row = 0; row < result.SizeY(); ++row)
        for (int column = 0; column < result.SizeX(); ++column) {
            const Long dx = Long{result.Cal().X().Position(column)} - map.shiftX;
            const Long dy = Long{result.Cal().Y().Position(row)} - map.shiftY;
            const Origin x = originOf(image.Cal().X(), image.SizeX(),
                                      (map.m11 * dx - map.m01 * dy) / determinant);
            const Origin y = originOf(image.Cal().Y(), image.SizeY(),
                                      (map.m00 * dy - map.m10 * dx) / determinant);
            if (x.isClose || y.isClose)
                continue;
            Value expected = 0;
            Long largest = 0;
            const auto at = [&](Long i, Long k) {
                const int c = std::clamp(static_cast<int>(i), 0, image.SizeX() - 1);
                const int r = std::clamp(static_cast<int>(k), 0, image.SizeY() - 1);
                return valueOf(elements[static_cast<std::size_t>(r * image.SizeX() + c)]);
            };
            if (x.isInside && y.isInside) {
                if (interpolation == warp_NearestElement)
                    expected = at(x.nearest, y.nearest);
                else {
                    const Long ix = std::clamp(x.index, Long{0}, Long(image.SizeX() - 1));
                    const Long iy = std::clamp(y.index, Long{0}, Long(image.SizeY() - 1));
                    for (Long k = std::floor(iy) - 1; k <= std::floor(iy) + 2; ++k)
                        for (Long i = std::floor(ix) - 1; i <= std::floor(ix) + 2; ++i) {
                            expected += at(i, k) * weight(interpolation, i - ix) *
                                        weight(interpolation, k - iy);
                            largest = std::max(largest, std::abs(at(i, k)));
                        }
                }
            }
            const Value found = valueOf(result.Number(column, row).As<ComplexDouble>());
            const bool isSingle =
                result.DataType() == dtyp_Float || result.DataType() == dtyp_ComplexFloat;
            const Long epsilon = isSingle ? 0x1p-23L : 0x1p-52L;
            static const Long bound = statedBound("images between elements");
            const Long places = 0x1p-52L * 64 * (image.SizeX() + image.SizeY());
            EXPECT_LE(std::abs(found - expected), (bound * epsilon + places) * largest)
                << column << " " << row << " at " << static_cast<double>(x.index) << " "
                << static_cast<double>(y.index);
            ++compared;
        }
    return compared;
}

template<class T>
darr_c2DArray randomImage(int sizeX, int sizeY, const cal_c2DArrayCal& cal, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<T> elements;
    for (int i = 0; i < sizeX * sizeY; ++i) {
        const double re = static_cast<double>(random() % 120),
                     im = static_cast<double>(random() % 900) / 7;
        elements.push_back(elementOf<T>(std::is_integral_v<T> ? re : re / 7, im));
    }
    return planeOf(sizeX, sizeY, elements, cal);
}

std::string bitsOf(const darr_c2DArray& image) {
    return {static_cast<const char*>(image.Data()),
            static_cast<std::size_t>(image.Count()) * image.DataType().SizeOf()};
}

const warp_s2x3Map maps[] = {
    {},
    {.shiftX = 0.3, .shiftY = -1.7},
    {0.8, -0.6, 3, 0.6, 0.8, -4},
    {1.7, 0.2, -9, -0.3, 0.9, 5},
    {-1, 0, 11.25, 0, 1, 0.5},
    {0.05, 0.01, 4, -0.02, 0.04, 3},
    {0, 40, 1, -30, 0, 2},
};

} // namespace

template<class T>
class WarpTo : public testing::Test {};
using ElementTypes = testing::Types<unsigned char, unsigned short, unsigned int, signed char, short,
                                    int, float, double, ComplexFloat, ComplexDouble>;
TYPED_TEST_SUITE(WarpTo, ElementTypes);

TYPED_TEST(WarpTo, IsThatOfThePlainLoop) {
    const cal_c2DArrayCal cal(1.5, 0.5, -3, 1.25, 2, 1);
    const grid_s2DGrid grids[] = {{cal_c2DArrayCal(0, 0.25, -6, 0.5, 0, 0), 61, 47},
                                  {cal_c2DArrayCal(3, -0.7, 2, 0.9, 4, 5), 33, 20}};
    int compared = 0, size = 0;
    for (const auto& [sizeX, sizeY] :
         {std::pair(23, 17), std::pair(1, 1), std::pair(2, 3), std::pair(5, 1)})
        for (const warp_s2x3Map& map : maps)
            for (const warp_eInterpolation interpolation : interpolations) {
                const darr_c2DArray image = randomImage<TypeParam>(sizeX, sizeY, cal, 7);
                for (const grid_s2DGrid& grid : {grid_Of(image), grids[0], grids[1]}) {
                    const darr_c2DArray result = warp_MapTo(image, map, grid, interpolation);
                    ASSERT_EQ(grid_Of(result), grid);
                    compared += compare<TypeParam>(image, result, map, interpolation);
                    size += result.Count();
                    ASSERT_FALSE(::testing::Test::HasFailure())
                        << sizeX << " x " << sizeY << " map " << &map - maps << " by "
                        << interpolation;
                }
            }
    EXPECT_GT(compared, size * 9 / 10);
}

TYPED_TEST(WarpTo, GivesTheSameBitsAtEveryLevel) {
    const cal_c2DArrayCal cal(1.5, 0.5, -3, 1.25, 2, 1);
    const darr_c2DArray image = randomImage<TypeParam>(600, 37, cal, 8);
    for (const warp_s2x3Map& map : maps)
        for (const warp_eInterpolation interpolation : interpolations) {
            std::string bits;
            for (const auto level : levels()) {
                const LevelInUse use(level);
                const std::string now = bitsOf(warp_MapTo(image, map, {}, interpolation));
                EXPECT_TRUE(bits.empty() || bits == now) << level << " " << &map - maps;
                bits = now;
            }
        }
}

TYPED_TEST(WarpTo, HasTheTypeThatNothingIsRoundedIn) {
    const darr_c2DArray image = planeOf(2, 2, countedElements<TypeParam>(4));
    const int code = image.DataType().Code();
    const int interpolated = code == 3 || code == 6 ? 8 : code < 7 ? 7 : code;
    EXPECT_EQ(warp_RotateTo(image, 0.1, {}, {}, warp_NearestElement).DataType().Code(), code);
    EXPECT_EQ(warp_RotateTo(image, 0.1).DataType().Code(), interpolated);
    EXPECT_EQ(warp_RotateTo(image, 0.1, {}, {}, warp_CubicInterpolation).DataType().Code(),
              interpolated);
}

TYPED_TEST(WarpTo, QuarterTurnsExchangeTheElementsOfASquare) {
    constexpr int n = 9;
    const cal_c2DArrayCal cal(0.1, 0.3, -7.7, 0.3, 4, -2);
    const darr_c2DArray image = randomImage<TypeParam>(n, n, cal, 9);
    for (const warp_eInterpolation interpolation : interpolations)
        for (int quarters = -3; quarters <= 9; ++quarters) {
            const darr_c2DArray turned =
                warp_RotateTo(image, quarters * (type_Pi / 2), {}, {}, interpolation);
            for (int y = 0; y < n; ++y)
                for (int x = 0; x < n; ++x) {
                    int fromX = x, fromY = y;
                    for (int k = 0; k < ((quarters % 4) + 4) % 4; ++k) {
                        const int before = fromX; // back by a quarter, clockwise
                        fromX = fromY;
                        fromY = n - 1 - before;
                    }
                    ASSERT_EQ(turned.Number(x, y).template As<ComplexDouble>(),
                              image.Number(fromX, fromY).template As<ComplexDouble>())
                        << quarters << " quarters at " << x << " " << y;
                }
        }
}

TEST(WarpToMaps, AreThoseOfTheirFormulas) {
    const cal_c2DArrayCal cal(2, 0.5, -1, 0.25, 0, 0);
    const darr_c2DArray image = randomImage<double>(20, 30, cal, 3);
    const pos_c2DPosition centre(4, 1);
    const grid_s2DGrid grid{cal_c2DArrayCal(0, 0.3, -2, 0.3, 0, 0), 25, 26};
    const auto about = [](const pos_c2DPosition& p, double a, double b, double c, double d) {
        return warp_s2x3Map{a, b, p.X() - a * p.X() - b * p.Y(),
                            c, d, p.Y() - c * p.X() - d * p.Y()};
    };
    const pos_c2DPosition middle(2 + 0.5 * 9.5, -1 + 0.25 * 14.5);
    const double c = std::cos(0.4), s = std::sin(0.4), t = std::tan(0.3);
    for (const bool isGiven : {false, true}) {
        const std::optional<pos_c2DPosition> given = isGiven ? std::optional(centre) : std::nullopt;
        const pos_c2DPosition p = isGiven ? centre : middle;
        EXPECT_GT(compare<double>(image, warp_RotateTo(image, 0.4, given, grid),
                                  about(p, c, -s, s, c), warp_LinearInterpolation),
                  500);
        EXPECT_GT(compare<double>(image, warp_ResizeTo(image, 1.7, -0.4, given, grid),
                                  about(p, 1.7, 0, 0, -0.4), warp_LinearInterpolation),
                  500);
        // Rot(-axis) (1, t / 0, 1) Rot(axis)
        EXPECT_GT(compare<double>(image, warp_ShearTo(image, 0.3, 0.4, given, grid),
                                  about(p, 1 + c * t * s, c * t * c, -s * t * s, 1 - s * t * c),
                                  warp_LinearInterpolation),
                  500);
    }
    EXPECT_EQ(bitsOf(warp_ShearTo(image, 0, 1)), bitsOf(image));
    EXPECT_EQ(bitsOf(warp_ResizeTo(image, 1, 1)), bitsOf(image));
}

// Unequal deltas: a point keeps its distance from the centre, in calibrated units.
TEST(WarpToMaps, TurnInCoordinatesAndNotInElements) {
    darr_c2DArray image(81, 41, dtyp_Double, cal_c2DArrayCal(0, 0.5, 0, 1, 40, 20));
    const auto spot = [](double x, double y) { return std::exp(-(x * x + y * y) / 8); };
    image.Fill([&](double x, double y) { return spot(x - 10, y); });
    const darr_c2DArray turned = warp_RotateTo(image, type_Pi / 3, {}, {}, warp_CubicInterpolation);
    const double atX = 10 * std::cos(type_Pi / 3), atY = 10 * std::sin(type_Pi / 3);
    for (int y = 0; y < 41; ++y)
        for (int x = 0; x < 81; ++x)
            EXPECT_NEAR(turned.Number(x, y).As<double>(),
                        spot(image.Cal().X().Position(x) - atX, image.Cal().Y().Position(y) - atY),
                        0.01);
}

TEST(WarpToMaps, KeepWhatTheirMethodFollowsExactly) {
    darr_c2DArray image(30, 20, dtyp_Double, cal_c2DArrayCal());
    const auto plane = [](double x, double y) { return 3 + 2 * x - y; };
    const auto parabola = [](double x, double y) { return x * x - 3 * x * y + 2 * y * y; };
    const warp_s2x3Map shifted{.shiftX = 0.3, .shiftY = -0.6};
    for (const bool isCubic : {false, true}) {
        isCubic ? image.Fill(parabola) : image.Fill(plane);
        const darr_c2DArray moved = warp_MapTo(
            image, shifted, {}, isCubic ? warp_CubicInterpolation : warp_LinearInterpolation);
        for (int y = 3; y < 16; ++y)
            for (int x = 3; x < 26; ++x)
                EXPECT_NEAR(moved.Number(x, y).As<double>(),
                            isCubic ? parabola(x - 0.3, y + 0.6) : plane(x - 0.3, y + 0.6), 1e-11);
    }
}

TEST(WarpToMaps, ElementsOfWeightZeroDoNotMatter) {
    for (const warp_eInterpolation interpolation : interpolations) {
        std::vector<double> elements(7 * 7, 1);
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 7; ++x)
                if ((x + y) % 2 != 0)
                    elements[static_cast<std::size_t>(7 * y + x)] =
                        x % 2 != 0 ? notANumber : infinity;
        elements[24] = -0.0;
        const darr_c2DArray image = planeOf(7, 7, elements);
        const darr_c2DArray turned = warp_RotateTo(image, type_Pi / 2, {}, {}, interpolation);
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 7; ++x)
                EXPECT_TRUE(isSameElement(turned.Number(x, y).As<double>(),
                                          image.Number(y, 6 - x).As<double>()))
                    << x << " " << y;
        // Along one axis alone.
        std::vector<double> rows(7 * 7);
        for (std::size_t i = 0; i < rows.size(); ++i)
            rows[i] = i / 7 % 2 == 0 ? 2.0 : notANumber;
        const darr_c2DArray moved =
            warp_MapTo(planeOf(7, 7, rows), {.shiftX = 0.25}, {}, interpolation);
        EXPECT_EQ(moved.Number(3, 2).As<double>(), 2);
        EXPECT_TRUE(std::isnan(moved.Number(3, 3).As<double>()));
    }
}

TEST(WarpToMaps, HoldTheEdgeForHalfAStepAndAreZeroBeyond) {
    const darr_c2DArray image = planeOf(3, 1, std::vector<float>{5, 6, 7});
    const grid_s2DGrid fine{cal_c2DArrayCal(-1, 0.25, 0, 1, 0, 0), 17, 1};
    const std::vector<float> expected[] = {
        {0, 0, 5, 5, 5, 5, 6, 6, 6, 6, 7, 7, 7, 7, 0, 0, 0},
        {0, 0, 5, 5, 5, 5.25F, 5.5F, 5.75F, 6, 6.25F, 6.5F, 6.75F, 7, 7, 0, 0, 0}};
    for (const int k : {0, 1})
        EXPECT_EQ(elementsOf<float>(warp_MapTo(image, {}, fine, interpolations[k])), expected[k]);
}

// Where positions are coarser than elements, all indices are within the tolerance of a whole one.
TEST(WarpToMaps, LeaveAnImageOnItsOwnGridAsItIs) {
    const std::vector<double> elements{1, 2, 3, 4, 5, 6};
    for (const auto& [offset, delta] :
         {std::pair(1.7e9, 1e-6), std::pair(1.7e18, 1000.0), std::pair(1.7e18, 250.0),
          std::pair(1e9, 4e-7), std::pair(1e9, 1.1e-6), std::pair(1e9, 1e-3)})
        for (const bool isColumn : {false, true}) {
            const cal_cArrayCal far(offset, delta, 0), near;
            const darr_c2DArray image =
                planeOf(isColumn ? 1 : 6, isColumn ? 6 : 1, elements,
                        isColumn ? cal_c2DArrayCal(near, far) : cal_c2DArrayCal(far, near));
            for (const warp_eInterpolation interpolation : interpolations) {
                EXPECT_EQ(elementsOf<double>(warp_MapTo(image, {}, {}, interpolation)), elements)
                    << offset << " " << delta << " " << interpolation;
                EXPECT_EQ(elementsOf<double>(warp_RotateTo(image, 0, {}, {}, interpolation)),
                          elements);
                EXPECT_EQ(elementsOf<double>(warp_ResizeTo(image, 1, 1, {}, {}, interpolation)),
                          elements);
            }
        }
}

TEST(WarpToMaps, RoundIndicesToWholeOnesFirstAndThenHalvesUp) {
    // 4 units in the last place of 1e9 are 4.77e-7: 0.4 of this delta.
    const double delta = 0x1p-21 / 0.4;
    const darr_c2DArray image(
        planeOf(3, 1, std::vector<double>{1, 2, 3}, cal_c2DArrayCal(1e9, delta, 0, 1, 0, 0)));
    ASSERT_NEAR(image.Cal().X().Tolerance(1e9), 0.4, 1e-12);
    const auto nearestAt = [&](double steps) {
        const grid_s2DGrid grid{cal_c2DArrayCal(1e9 + steps * delta, delta, 0, 1, 0, 0), 1, 1};
        return warp_MapTo(image, {}, grid, warp_NearestElement).Number(0, 0).As<double>();
    };
    EXPECT_EQ(nearestAt(1.3), 2);
    EXPECT_EQ(nearestAt(0.3), 1);
    EXPECT_EQ(nearestAt(1.5), 3);
    EXPECT_EQ(nearestAt(-0.3), 1);
}

// The tolerance of such a calibration is infinite.
TEST(WarpToMaps, ReadNothingOutsideWherePositionsHaveNoIndex) {
    for (const double delta : {1e-308, -1e-308, 5e-324, 1e-290}) {
        const std::vector<double> elements{1, 2, 3, 4, 5, 6};
        for (const bool isColumn : {false, true}) {
            const cal_cArrayCal dense(1e20, delta, 0), coarse(1e20, 1, 0), near;
            const darr_c2DArray image =
                planeOf(isColumn ? 1 : 6, isColumn ? 6 : 1, elements,
                        isColumn ? cal_c2DArrayCal(near, dense) : cal_c2DArrayCal(dense, near));
            const grid_s2DGrid grid{isColumn ? cal_c2DArrayCal(near, coarse)
                                             : cal_c2DArrayCal(coarse, near),
                                    isColumn ? 1 : 5, isColumn ? 5 : 1};
            const warp_s2x3Map back = isColumn ? warp_s2x3Map{.m11 = -1, .shiftY = 2e20}
                                               : warp_s2x3Map{.m00 = -1, .shiftX = 2e20};
            for (const warp_eInterpolation interpolation : interpolations)
                try {
                    EXPECT_EQ(elementsOf<double>(warp_MapTo(image, back, grid, interpolation)),
                              (std::vector<double>{1, 0, 0, 0, 0}));
                } catch (const expt_cProgramException&) { // 1 / 5e-324 is no step
                    EXPECT_EQ(delta, 5e-324);
                }
        }
    }
}

TEST(WarpToMaps, BetweenFarElementsAreThatOfValue) {
    const double most = std::numeric_limits<double>::max();
    for (const auto& [a, b] : {std::pair(most, -most), std::pair(-most, most),
                               std::pair(infinity, 1.0), std::pair(1.0, -infinity),
                               std::pair(infinity, infinity), std::pair(infinity, -infinity)}) {
        constexpr int size = 300; // both at the edges and inside
        std::vector<double> elements;
        for (int i = 0; i < size * 4; ++i)
            elements.push_back((i + i / size) % 2 == 0 ? a : b);
        const darr_c2DArray image = planeOf(size, 4, elements);
        for (const warp_s2x3Map& map : {warp_s2x3Map{.shiftX = 0.25}, warp_s2x3Map{.shiftY = 0.25},
                                        warp_s2x3Map{.shiftX = -0.75, .shiftY = 0.125}})
            for (const auto level : levels()) {
                const LevelInUse use(level);
                const darr_c2DArray moved = warp_MapTo(image, map, {}, warp_LinearInterpolation);
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x + 1 < size; ++x)
                        ASSERT_TRUE(
                            isSameElement(moved.Number(x, y).As<double>(),
                                          image.Value(x - map.shiftX, y - map.shiftY).As<double>()))
                            << a << " " << b << " at " << x << " " << y << " " << level;
            }
    }
}

TEST(WarpToMaps, CubicSumsOutOfRangeAreFiniteWhereTheResultIs) {
    const auto check = [&]<class T>(T most) {
        for (const int size : {5, 300}) {
            std::vector<T> elements(static_cast<std::size_t>(size) * 6);
            for (std::size_t i = 0; i < elements.size();
                 ++i) // columns overflow, their sum does not
                elements[i] = (i / static_cast<std::size_t>(size) + 1) % 4 < 2 ? most : -most;
            std::vector<T> small = elements;
            for (T& element : small)
                element /= 16;
            for (const warp_s2x3Map& map :
                 {warp_s2x3Map{.shiftX = 0.5, .shiftY = 0.5}, warp_s2x3Map{.shiftY = 0.125},
                  warp_s2x3Map{.shiftX = 0.25, .shiftY = 0.75}}) {
                const darr_c2DArray moved =
                    warp_MapTo(planeOf(size, 6, elements), map, {}, warp_CubicInterpolation);
                const darr_c2DArray lower =
                    warp_MapTo(planeOf(size, 6, small), map, {}, warp_CubicInterpolation);
                for (int i = 0; i < moved.Count(); ++i)
                    ASSERT_TRUE(
                        isSameElement(moved.Elements<T>()[static_cast<std::size_t>(i)],
                                      lower.Elements<T>()[static_cast<std::size_t>(i)] * 16))
                        << i;
            }
        }
    };
    check(std::numeric_limits<float>::max());
    check(std::numeric_limits<double>::max());
}

TEST(WarpToMaps, RefuseWhatIsNoMap) {
    const darr_c2DArray image = planeOf(2, 2, std::vector<float>{1, 2, 3, 4});
    for (const double bad : {notANumber, infinity, -infinity}) {
        EXPECT_EQ(refusalOf([&] { warp_MapTo(image, {.m01 = bad}); }), "warp_to:1");
        EXPECT_EQ(refusalOf([&] { warp_MapTo(image, {.shiftY = bad}); }), "warp_to:1");
        EXPECT_EQ(refusalOf([&] { warp_RotateTo(image, bad); }), "warp_to:1");
        EXPECT_EQ(refusalOf([&] { warp_ResizeTo(image, 1, bad); }), "warp_to:1");
        EXPECT_EQ(refusalOf([&] { warp_RotateTo(image, 1, pos_c2DPosition(bad, 0)); }),
                  "warp_to:1");
    }
    EXPECT_EQ(refusalOf([&] { warp_MapTo(image, {}, {}, static_cast<warp_eInterpolation>(3)); }),
              "warp_to:2");
    EXPECT_EQ(refusalOf([&] { warp_MapTo(image, {}, {}, static_cast<warp_eInterpolation>(-1)); }),
              "warp_to:2");
    EXPECT_EQ(refusalOf([&] { warp_RotateTo(darr_c2DArray(2, 2, dtyp_cDataType(11), {}), 1); }),
              "warp_to:3");
    for (const double bad : {notANumber, infinity, -infinity})
        for (const cal_c2DArrayCal& cal :
             {cal_c2DArrayCal(bad, 1, 0, 1, 0, 0), cal_c2DArrayCal(0, 1, 0, bad, 0, 0)})
            EXPECT_EQ(refusalOf([&] {
                          warp_MapTo(image, {}, grid_s2DGrid{cal, 2, 2});
                      }),
                      "warp_to:5");
    for (const double angle : {type_Pi / 2, -type_Pi / 2, 3 * (type_Pi / 2)})
        EXPECT_EQ(refusalOf([&] { warp_ShearTo(image, angle, 0); }), "warp_to:4");
    EXPECT_EQ(refusalOf([&] { warp_ResizeTo(image, 0, 1); }), "linalg:157");
    EXPECT_EQ(refusalOf([&] { warp_MapTo(image, {.m00 = 1, .m01 = 1, .m10 = 1, .m11 = 1}); }),
              "linalg:157");
    EXPECT_EQ(refusalOf([&] { warp_MapTo(image, {}, grid_s2DGrid{{}, -1, 2}); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { warp_MapTo(image, {}, grid_s2DGrid{{}, INT_MAX, 2}); }), sizeRefusal);
    darr_c2DArray flat = image;
    flat.SetDeltaY(0);
    EXPECT_EQ(refusalOf([&] { warp_RotateTo(flat, 1); }), indexRefusal);
    const FailingNew failing(0);
    EXPECT_THROW(warp_RotateTo(image, 1), std::bad_alloc);
}

TEST(WarpToMaps, OfNothingAreZeros) {
    const grid_s2DGrid grid{cal_c2DArrayCal(1, 2, 3, 4, 5, 6), 3, 2};
    const darr_c2DArray zeros = warp_RotateTo(darr_c2DArray(0, 5, dtyp_UInt8, {}), 1, {}, grid);
    EXPECT_EQ(elementsOf<float>(zeros), std::vector<float>(6));
    EXPECT_EQ(grid_Of(zeros), grid);
    EXPECT_EQ(warp_RotateTo(darr_c2DArray(), 1).Count(), 0);
    const darr_c2DArray image = planeOf(2, 2, std::vector<float>{1, 2, 3, 4});
    EXPECT_EQ(warp_RotateTo(image, 1, {}, grid_s2DGrid{{}, 0, 7}).SizeY(), 7);
}

// Indices beyond int, infinite products of an element's number: nothing is read outside.
TEST(WarpToMaps, OfHugeNumbersStayInside) {
    const darr_c2DArray image = randomImage<float>(5, 4, {}, 2);
    for (const double huge : {1e10, 1e100, 1e300, 1e308})
        for (const double tiny : {1e-10, 1e-100, 1e-290})
            for (const warp_eInterpolation interpolation : interpolations) {
                const grid_s2DGrid grids[] = {{cal_c2DArrayCal(-huge, huge, 0, huge, 0, 0), 9, 9},
                                              {cal_c2DArrayCal(0, tiny, huge, tiny, 3, 0), 9, 9},
                                              {cal_c2DArrayCal(0, huge, 0, tiny, 4, 0), 9, 9}};
                for (const grid_s2DGrid& grid : grids)
                    for (const warp_s2x3Map& map :
                         {warp_s2x3Map{}, warp_s2x3Map{.m00 = tiny}, warp_s2x3Map{.m01 = huge}})
                        try {
                            warp_MapTo(image, map, grid, interpolation);
                        } catch (const expt_cProgramException&) {
                        }
            }
}
