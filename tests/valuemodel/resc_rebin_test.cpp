#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "dataprocessing/reduce/stat.h"
#include "dataprocessing/valuemodel/resc.h"
#include "tests/failing_new.h"
#include "tests/support/arrays.h"
#include "tests/support/bounds.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"
#include "tests/support/shares.h"

namespace {

template<class T>
long double partOf(const T& element, bool imaginary) {
    if constexpr (isComplexElement<T>)
        return imaginary ? element.im : element.re;
    else
        return imaginary ? 0 : static_cast<long double>(element);
}

long double positionOf(const cal_cArrayCal& cal, int index) {
    return cal.Offset() + (static_cast<long double>(index) - cal.CalIndex()) * cal.Delta();
}

/// Which part of element `i` lies in bin `j`: from the positions of both.
long double shareOf(int i, const cal_cArrayCal& elements, int j, const cal_cArrayCal& bins) {
    const long double low = std::max(positionOf(elements, i), positionOf(bins, j));
    const long double high = std::min(positionOf(elements, i + 1), positionOf(bins, j + 1));
    return high > low ? (high - low) / elements.Delta() : 0;
}

/// Every bin holds what every element leaves in it.
template<class T>
void expectShares(const std::vector<T>& elements, int sizeX, int sizeY, const darr_c2DArray& result,
                  const cal_c2DArrayCal& from) {
    using Result = ResultOf<T>;
    ASSERT_EQ(result.DataType(), dtyp_Of<Result>());
    const auto found = result.Elements<Result>();
    const double bound = statedBound("`resc_Rebin`") * epsilon;
    for (int j = 0; j < result.SizeY(); ++j)
        for (int i = 0; i < result.SizeX(); ++i)
            for (const bool imaginary : {false, true}) {
                long double wanted = 0;
                for (int y = 0; y < sizeY; ++y)
                    for (int x = 0; x < sizeX; ++x)
                        wanted +=
                            shareOf(x, from.X(), i, result.Cal().X()) *
                            shareOf(y, from.Y(), j, result.Cal().Y()) *
                            partOf(elements[static_cast<std::size_t>(y * sizeX + x)], imaginary);
                const long double got =
                    partOf(found[static_cast<std::size_t>(j * result.SizeX() + i)], imaginary);
                using Part = typename PartOf<Result>::type;
                ASSERT_LE(std::fabs(got - wanted),
                          std::fabs(wanted) * std::numeric_limits<Part>::epsilon() +
                              bound * 120 * sizeX * sizeY)
                    << i << ", " << j;
            }
}

} // namespace

TEST(Rebin, SharesOutByOverlapForEveryType) {
    std::mt19937 random(1);
    const cal_c2DArrayCal from(6.2, 0.5, -3, 2, 1, 4);
    const cal_c2DArrayCal grids[] = {from,
                                     {5.83, 0.37, -12, 1.7, 0, 0},
                                     {6.2, 3.3, -7, 5.9, 0, 2},
                                     {100, 1, 100, 1, 0, 0},
                                     {7, 0.125, -9.3, 0.4, 3, 3}};
    forEachElementType([&]<class T>(int code) {
        for (const auto& [sizeX, sizeY] : {std::pair(1, 1), std::pair(7, 1), std::pair(5, 4)}) {
            const auto elements = randomElements<T>(sizeX * sizeY, random);
            const darr_c2DArray plane = planeOf(sizeX, sizeY, elements, from);
            for (const auto& grid : grids) {
                SCOPED_TRACE(std::to_string(code) + ": " + std::to_string(sizeX) + " x " +
                             std::to_string(sizeY) + " to " + std::to_string(grid.X().Delta()));
                const darr_c2DArray result =
                    resc_Rebin(plane, darr_c2DArray(9, 6, dtyp_UInt8, grid));
                ASSERT_EQ(result.SizeX(), 9);
                ASSERT_EQ(result.SizeY(), 6);
                ASSERT_EQ(result.Cal(), grid);
                expectShares(elements, sizeX, sizeY, result, from);
                const darr_c2DArray fitted = resc_Rebin(plane, grid.X().Delta(), grid.Y().Delta());
                ASSERT_EQ(fitted.Cal(),
                          cal_c2DArrayCal(5.7, grid.X().Delta(), -11, grid.Y().Delta(), 0, 0));
                expectShares(elements, sizeX, sizeY, fitted, from);
            }
        }
    });
}

TEST(Rebin, OfALineIsThatOfAnImageOfOneRow) {
    std::mt19937 random(2);
    const auto elements = randomElements<float>(200, random);
    const cal_c1DArrayCal cal(-0.3, 0.01, 0);
    const darr_c1DArray grid(77, dtyp_Float, cal_c1DArrayCal(-0.5, 0.033, 2));
    const darr_c1DArray line = resc_Rebin(lineOf(elements, cal), grid);
    EXPECT_EQ(line.Cal(), grid.Cal());
    const darr_c2DArray plane =
        resc_Rebin(planeOf(200, 1, elements, cal_c2DArrayCal(cal, {})),
                   darr_c2DArray(77, 1, dtyp_Float, cal_c2DArrayCal(grid.Cal(), {})));
    EXPECT_EQ(elementsOf<float>(line), elementsOf<float>(plane));
}

TEST(Rebin, KeepsTheSum) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> part(0.05, 20);
    for (int repeat = 0; repeat < 300; ++repeat) {
        const int count = 1 + repeat % 120;
        const auto elements = randomElements<unsigned short>(count, random);
        const double start = repeat % 2 == 0 ? -0.3 : 1.7e9; // seconds since 1970
        const double delta = repeat % 3 == 0 ? 0.01 : 60;
        const darr_c1DArray line = lineOf(elements, {start, delta, repeat % 5});
        const double sum = stat_Sum(line).As<double>();
        const darr_c1DArray result = resc_Rebin(line, delta * part(random));
        EXPECT_NEAR(stat_Sum(result).As<double>(), sum, sum * 1e-13) << repeat;
        EXPECT_EQ(result.Range().Start(), line.Range().Start());
        EXPECT_GE(result.Range().End(), line.Range().End() - 1e-6 * delta);
        EXPECT_LT(result.Range().End(), line.Range().End() + result.Cal().Delta());
    }
}

// Where a bin is little more than what positions can tell apart, edges are moved, each to one
// place only.
TEST(Rebin, CountsNoElementTwiceFarFromTheOrigin) {
    const darr_c1DArray ones(8, 1.0, {0x1p48 - 4.1875, 1, 0});
    for (const double delta : {0.0625, 0.0703125, 0.171875, 0.4375, 1.3}) {
        EXPECT_EQ(stat_Sum(resc_Rebin(ones, delta)).As<double>(), 8) << delta;
        const int bins = static_cast<int>(10 / delta);
        EXPECT_EQ(
            stat_Sum(resc_Rebin(ones, darr_c1DArray(bins, dtyp_Int8, {0x1p48 - 4.5, delta, 0})))
                .As<double>(),
            8)
            << delta;
    }
    const darr_c1DArray fine = resc_Rebin(ones, 0.0625);
    ASSERT_EQ(fine.Size(), 128);
    for (const double& share : fine.Elements<double>())
        EXPECT_LE(share, 1);
}

TEST(Rebin, CoversTheLastElementsHoweverWideTheBins) {
    const darr_c1DArray few(5, 1.0, cal_c1DArrayCal(-3, 1, 0));
    for (const double delta : {5.0, 4e6, 6e6, 1e9, 1e300}) {
        const darr_c1DArray sum = resc_Rebin(few, delta);
        ASSERT_EQ(sum.Size(), 1) << delta;
        EXPECT_EQ(sum.Number(0).As<double>(), 5) << delta;
    }
    const darr_c2DArray image =
        resc_Rebin(darr_c2DArray(5, 4, 1.0, cal_c2DArrayCal(0, 1, 0, 0.5, 0, 0)), 1e9, 1e9);
    ASSERT_EQ(image.Count(), 1);
    EXPECT_EQ(image.Number(0, 0).As<double>(), 20);

    constexpr int bin = 10000000;
    const darr_c1DArray beyond = resc_Rebin(
        darr_c1DArray(bin + 8, pnum_cNumber(static_cast<unsigned char>(1)), cal_c1DArrayCal()),
        bin);
    ASSERT_EQ(beyond.Size(), 2);
    EXPECT_EQ(beyond.Number(0).As<double>(), bin);
    EXPECT_EQ(beyond.Number(1).As<double>(), 8);
}

TEST(Rebin, KeepsIntegersExactWhereBinsFit) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3, 4, 5, 6, 7}, cal_c1DArrayCal(6.2, 0.1, 0));
    EXPECT_EQ(elementsOf<double>(resc_Rebin(line, 0.2)), (std::vector<double>{3, 7, 11, 7}));
    EXPECT_EQ(elementsOf<double>(resc_Rebin(line, 0.3)), (std::vector<double>{6, 15, 7}));
    EXPECT_EQ(elementsOf<double>(resc_Rebin(line, 0.7)), std::vector<double>{28});
    EXPECT_EQ(resc_Rebin(line, 0.7).Cal(), cal_c1DArrayCal(6.2, 0.7, 0));
    const darr_c1DArray halved =
        resc_Rebin(lineOf<short>({1, -2, 3}, cal_c1DArrayCal(6.25, 0.125, 0)), 0.0625);
    EXPECT_EQ(elementsOf<double>(halved), (std::vector<double>{0.5, 0.5, -1, -1, 1.5, 1.5}));
    EXPECT_EQ(elementsOf<double>(resc_Rebin(line, 5)), std::vector<double>{28});
    // Far from the offset, where 0.1 is not exact any more.
    const cal_c1DArrayCal far(1.7e9, 0.1, 0);
    std::vector<int> ones(100000, 1);
    const darr_c1DArray pairs = resc_Rebin(lineOf(ones, far), 0.2);
    EXPECT_EQ(elementsOf<double>(pairs), std::vector<double>(50000, 2.0));
}

TEST(Rebin, LeavesOutWhatLiesOutsideTheGrid) {
    const darr_c1DArray line = lineOf<float>({1, 2, 4, 8});
    const auto onto = [&](double offset, double delta, int count) {
        return elementsOf<float>(
            resc_Rebin(line, darr_c1DArray(count, dtyp_Int8, {offset, delta, 0})));
    };
    EXPECT_EQ(onto(1, 1, 2), (std::vector<float>{2, 4}));
    EXPECT_EQ(onto(-2, 1, 3), (std::vector<float>{0, 0, 1}));
    EXPECT_EQ(onto(3.5, 1, 3), (std::vector<float>{4, 0, 0}));
    EXPECT_EQ(onto(-5, 20, 1), std::vector<float>{15});
    EXPECT_EQ(onto(9, 1, 2), (std::vector<float>{0, 0}));
    EXPECT_EQ(onto(0, 1, 0), std::vector<float>{});
}

TEST(Rebin, DoesNotMindWhatIsNotOverlapped) {
    const darr_c1DArray line = lineOf<double>({1, notANumber, 4, infinity, 5});
    const auto found = elementsOf<double>(resc_Rebin(line, 0.5));
    EXPECT_EQ(found[1], 0.5);
    EXPECT_TRUE(std::isnan(found[2]) && std::isnan(found[3]));
    EXPECT_EQ(found[4], 2);
    EXPECT_EQ(found[6], infinity);
    EXPECT_EQ(found[9], 2.5);
}

TEST(Rebin, LeavesNothingInBinsThatCountAsOneEdge) {
    const darr_c1DArray line = lineOf<double>({1, notANumber, 4});
    const darr_c1DArray grid(3, dtyp_Int8, {1, 1e-12, 0});
    EXPECT_EQ(elementsOf<double>(resc_Rebin(line, grid)), (std::vector<double>{0, 0, 0}));
}

TEST(Rebin, OfTheSameOffsetAndDeltaTakesElementsWhereverTheyLie) {
    // The last has neighbours at one position.
    for (const cal_c1DArrayCal& cal :
         {cal_c1DArrayCal(), cal_c1DArrayCal(6.2, 0.1, 4), cal_c1DArrayCal(1e300, -0.3, 0)}) {
        const darr_c1DArray line = lineOf<double>({1, notANumber, 4, infinity, 5}, cal);
        const auto onto = [&](int count, int ahead) {
            return resc_Rebin(line,
                              darr_c1DArray(count, dtyp_Int8,
                                            {cal.Offset(), cal.Delta(), cal.CalIndex() + ahead}));
        };
        const auto all = elementsOf<double>(onto(6, 0));
        EXPECT_EQ(all[0], 1);
        EXPECT_TRUE(std::isnan(all[1]));
        EXPECT_EQ(std::vector<double>(all.begin() + 2, all.end()),
                  (std::vector<double>{4, infinity, 5, 0}));
        EXPECT_EQ(elementsOf<double>(onto(3, 2)), (std::vector<double>{0, 0, 1}));
        EXPECT_EQ(elementsOf<double>(onto(3, -3)), (std::vector<double>{infinity, 5, 0}));
    }
    const darr_c1DArray same = resc_Rebin(lineOf<int>({3, -1, 7}, {-1e200, 2, 0}), 2);
    EXPECT_EQ(elementsOf<double>(same), (std::vector<double>{3, -1, 7}));
    // Along one axis of an image.
    const darr_c2DArray image = planeOf<float>(2, 2, {1, 2, 3, 4}, {1e300, 1, 0, 1, 0, 0});
    const darr_c2DArray rows(2, 1, dtyp_Int8, {1e300, 1, 0, 2, 0, 0});
    EXPECT_EQ(elementsOf<float>(resc_Rebin(image, rows)), (std::vector<float>{4, 6}));
}

TEST(Rebin, RefusesDeltasThatPositionsDoNotShow) {
    const auto at = [](double offset, double delta, int index) {
        return lineOf<int>({1, 2, 3}, {offset, delta, index});
    };
    const darr_c1DArray line = at(0, 1, 0);
    // The farthest position decides, and it may be that of the end: 0x1p53 + 1 is none.
    for (const darr_c1DArray& fine : {at(0x1p53, 1, 0), at(0x1p53, 16, 0), at(0x1p53 - 20, 8, 0),
                                      at(-0x1p53, -16, 0), at(0x1p53, 1, 3), at(1.5, 1e-300, 0)}) {
        const darr_c1DArray wide(2, dtyp_Int8, {0, 10 * fine.Cal().Delta(), 0});
        EXPECT_EQ(refusalOf([&] { resc_Rebin(fine, wide); }), "resc:2") << fine.Cal();
        if (fine.Cal().CalIndex() == 0) {
            EXPECT_EQ(refusalOf([&] { resc_Rebin(fine, 2 * fine.Cal().Delta()); }), "resc:2");
        }
    }
    for (const darr_c1DArray& fine : {at(0x1p53, 1, 0), at(-0x1p53, -1, 0), at(1.5, 1e-300, 0)}) {
        const darr_c1DArray wide(2, dtyp_Int8, {0, fine.Cal().Delta() < 0 ? -9.0 : 9.0, 0});
        EXPECT_EQ(refusalOf([&] { resc_Rebin(wide, fine); }), "resc:2") << fine.Cal();
    }
    EXPECT_EQ(refusalOf([&] { resc_Rebin(at(0x1p53, 32, 0), 1); }), "resc:2");
    EXPECT_EQ(elementsOf<double>(resc_Rebin(at(0x1p53, 24, 0), 12)),
              (std::vector<double>{0.5, 0.5, 1, 1, 1.5, 1.5}));
    EXPECT_EQ(elementsOf<double>(resc_Rebin(at(0x1p53 - 30, 9, 0), 18)),
              (std::vector<double>{3, 3}));
    EXPECT_EQ(elementsOf<double>(resc_Rebin(at(0x1p53, 18, 0), 36)), (std::vector<double>{3, 3}));
    // Just above the limit shares are not whole.
    EXPECT_EQ(elementsOf<double>(resc_Rebin(at(0x1p53, 32, 0), 48)), (std::vector<double>{2, 4}));
    const darr_c2DArray plane = planeOf<int>(3, 1, {1, 2, 3}, {0, 1, 1e20, 1, 0, 0});
    EXPECT_EQ(refusalOf([&] { resc_Rebin(plane, 1, 2); }), "resc:2");
}

TEST(Rebin, RefusesNoDeltaThatNothingDependsOn) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3});
    const cal_c1DArrayCal far(1e20, 1, 0);
    const darr_c1DArray nothing(0, dtyp_Int8, far);
    EXPECT_EQ(resc_Rebin(line, nothing).Size(), 0);
    EXPECT_EQ(elementsOf<double>(resc_Rebin(nothing, line)), (std::vector<double>{0, 0, 0}));
    EXPECT_EQ(elementsOf<double>(
                  resc_Rebin(darr_c1DArray(0, dtyp_Int8, {}), darr_c1DArray(2, dtyp_Int8, far))),
              (std::vector<double>{0, 0}));
    EXPECT_EQ(resc_Rebin(nothing, 2).Size(), 0);
}

TEST(Rebin, KeepsElementsOfTheirOwnDelta) {
    for (const cal_c1DArrayCal& cal :
         {cal_c1DArrayCal(1e20, 1, 0), {1e20, 1, 3}, {-3, 0.1, 2147483647}, {1e300, -5, -7}}) {
        const darr_c1DArray same = resc_Rebin(lineOf<int>({1, 2, 3, 4, 5, 6}, cal), cal.Delta());
        EXPECT_EQ(elementsOf<double>(same), (std::vector<double>{1, 2, 3, 4, 5, 6})) << cal;
        EXPECT_EQ(same.Cal(), cal_c1DArrayCal(cal.Position(0), cal.Delta(), 0));
    }
}

// Many bins are computed together, in vectors and in strips of the rows.
TEST(Rebin, GivesEachBinWhatItHasAlone) {
    std::mt19937 random(4);
    forEachElementType([&]<class T>(int code) {
        for (const int count : {1, 2, 7, 255, 256, 257, 511, 513, 1000}) {
            const auto elements = randomElements<T>(300, random);
            const cal_c1DArrayCal cal(count % 2 == 0 ? -0.7 : 1.7e9, 0.3, 2);
            const darr_c1DArray line = lineOf(elements, cal);
            const cal_cArrayCal bins(cal.Offset() - 5.3, 100.0 / count, 4);
            using Result = ResultOf<T>;
            const darr_c1DArray all =
                resc_Rebin(line, darr_c1DArray(count, dtyp_Int8, cal_c1DArrayCal(bins)));
            for (int bin = 0; bin < count; ++bin) {
                const cal_c1DArrayCal alone(bins.Offset(), bins.Delta(), bins.CalIndex() - bin);
                ASSERT_EQ(
                    elementsOf<Result>(all)[static_cast<std::size_t>(bin)],
                    elementsOf<Result>(resc_Rebin(line, darr_c1DArray(1, dtyp_Int8, alone)))[0])
                    << code << ": " << bin << " of " << count;
            }
        }
    });
}

TEST(Rebin, OfAnImageIsThatOfItsRowsWhereTheyStay) {
    std::mt19937 random(5);
    constexpr int sizeX = 700, sizeY = 3, bins = 600;
    const auto elements = randomElements<comp_cComplex<float>>(sizeX * sizeY, random);
    const cal_cArrayCal from(0, 1, 0), to(-3.3, 1.19, 0);
    const darr_c2DArray image =
        resc_Rebin(planeOf(sizeX, sizeY, elements, cal_c2DArrayCal(from, from)),
                   darr_c2DArray(bins, sizeY, dtyp_Int8, cal_c2DArrayCal(to, from)));
    for (int y = 0; y < sizeY; ++y) {
        const auto row = elements.begin() + y * sizeX;
        const darr_c1DArray line =
            resc_Rebin(lineOf(std::vector<comp_cComplex<float>>(row, row + sizeX)),
                       darr_c1DArray(bins, dtyp_Int8, cal_c1DArrayCal(to)));
        EXPECT_EQ(elementsOf<comp_cComplex<float>>(image.LineAtY(y)),
                  elementsOf<comp_cComplex<float>>(line))
            << y;
    }
}

TEST(Rebin, TakesNoMemoryButForTheResult) {
    const darr_c1DArray line(100000, 1.0F, cal_c1DArrayCal());
    const darr_c2DArray image(400, 300, 1.0F, cal_c2DArrayCal());
    const PeakOfNew peak;
    const std::size_t bytes =
        sizeof(float) * static_cast<std::size_t>(resc_Rebin(line, 0.7).Size() +
                                                 resc_Rebin(image, 0.7, 0.7).Count());
    constexpr std::size_t lastPages = 16384;
    EXPECT_LT(peak.Bytes(), bytes + lastPages);
}

TEST(Rebin, OfNothingIsNothingOrZero) {
    const darr_c1DArray empty(0, dtyp_Int16, {1, 2, 3});
    EXPECT_EQ(resc_Rebin(empty, 0.5).Size(), 0);
    EXPECT_EQ(resc_Rebin(empty, 0.5).Cal(), cal_c1DArrayCal(-5, 0.5, 0));
    EXPECT_EQ(elementsOf<double>(resc_Rebin(empty, darr_c1DArray(2, dtyp_Int8, {}))),
              (std::vector<double>{0, 0}));
    EXPECT_EQ(resc_Rebin(darr_c2DArray(0, 4, dtyp_Float, {}), 0.5, 2).SizeY(), 2);
    EXPECT_EQ(elementsOf<float>(resc_Rebin(darr_c2DArray(4, 0, dtyp_Float, {}),
                                           darr_c2DArray(2, 1, dtyp_Int8, {}))),
              (std::vector<float>{0, 0}));
}

TEST(Rebin, RefusesWhatHasNoWidth) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3});
    const darr_c2DArray plane = planeOf<int>(3, 1, {1, 2, 3});
    for (const double delta : {0.0, -0.0, -1.0, notANumber, infinity, -infinity}) {
        const darr_c1DArray badLine(3, dtyp_Int8, {0, delta, 0});
        const darr_c2DArray badX(3, 1, dtyp_Int8, {0, delta, 0, 1, 0, 0});
        const darr_c2DArray badY(3, 1, dtyp_Int8, {0, 1, 0, delta, 0, 0});
        EXPECT_EQ(refusalOf([&] { resc_Rebin(line, delta); }), "resc:1") << delta;
        EXPECT_EQ(refusalOf([&] { resc_Rebin(plane, delta, 1); }), "resc:1") << delta;
        EXPECT_EQ(refusalOf([&] { resc_Rebin(plane, 1, delta); }), "resc:1") << delta;
        EXPECT_EQ(refusalOf([&] { resc_Rebin(line, badLine); }), "resc:1") << delta;
        EXPECT_EQ(refusalOf([&] { resc_Rebin(badLine, line); }), "resc:1") << delta;
        for (const darr_c2DArray& bad : {badX, badY}) {
            EXPECT_EQ(refusalOf([&] { resc_Rebin(plane, bad); }), "resc:1") << delta;
            EXPECT_EQ(refusalOf([&] { resc_Rebin(bad, plane); }), "resc:1") << delta;
        }
    }
    for (const double offset : {notANumber, infinity}) {
        const darr_c1DArray nowhere(3, dtyp_Int8, {offset, 1, 0});
        EXPECT_EQ(refusalOf([&] { resc_Rebin(line, nowhere); }), "resc:2");
        EXPECT_EQ(refusalOf([&] { resc_Rebin(nowhere, line); }), "resc:2");
        EXPECT_EQ(refusalOf([&] { resc_Rebin(nowhere, 1); }), "resc:2");
    }
    for (const double delta : {1e-9, 5e-324})
        EXPECT_EQ(refusalOf([&] { resc_Rebin(line, delta); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { resc_Rebin(plane, 1.0 / 65536, 1.0 / 65536); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { resc_Rebin(darr_c1DArray(3, dtyp_cDataType(11), {}), 1); }),
              "conv:1");
}

TEST(Rebin, OfAxesThatRunDownwardIsThatOfTheMirroredOnes) {
    std::mt19937 random(11);
    const auto part = [&] { return static_cast<double>(random() % 1000) / 300 + 0.01; };
    const auto mirrored = [](const cal_cArrayCal& cal) {
        return cal_cArrayCal(-cal.Offset(), -cal.Delta(), cal.CalIndex());
    };
    for (int repeat = 0; repeat < 200; ++repeat) {
        const cal_c1DArrayCal from(part() - 2, part(), repeat % 5);
        const cal_c1DArrayCal to(part() - 2, part(), -(repeat % 3));
        const darr_c1DArray line = lineOf(countedElements<double>(repeat % 30), from);
        darr_c1DArray downward = line;
        downward.SetCal(cal_c1DArrayCal(mirrored(from)));
        const darr_c1DArray by = resc_Rebin(downward, -to.Delta());
        EXPECT_EQ(elementsOf<double>(by), elementsOf<double>(resc_Rebin(line, to.Delta())));
        EXPECT_EQ(by.Cal(), cal_c1DArrayCal(-from.Position(0), -to.Delta(), 0));
        EXPECT_EQ(elementsOf<double>(resc_Rebin(
                      downward, darr_c1DArray(20, dtyp_Int8, cal_c1DArrayCal(mirrored(to))))),
                  elementsOf<double>(resc_Rebin(line, darr_c1DArray(20, dtyp_Int8, to))));
        // Along one axis of an image.
        const darr_c2DArray plane = planeOf(5, 6, countedElements<float>(30), {from, to});
        darr_c2DArray down = plane;
        down.SetCal({from, mirrored(to)});
        EXPECT_EQ(elementsOf<float>(resc_Rebin(down, 0.7, -0.9)),
                  elementsOf<float>(resc_Rebin(plane, 0.7, 0.9)));
    }
    const darr_c1DArray energies = lineOf<int>({1, 2, 3, 4}, {290, -0.5, 0});
    EXPECT_EQ(elementsOf<double>(resc_Rebin(energies, -1)), (std::vector<double>{3, 7}));
}

TEST(Rebin, RefusesAxesInOppositeDirections) {
    const darr_c1DArray up = lineOf<int>({1, 2, 3}), down = lineOf<int>({1, 2, 3}, {0, -1, 0});
    EXPECT_EQ(refusalOf([&] { resc_Rebin(up, down); }), "resc:1");
    EXPECT_EQ(refusalOf([&] { resc_Rebin(down, up); }), "resc:1");
    try {
        resc_Rebin(down, 1);
        FAIL();
    } catch (const expt_cProgramException& refusal) {
        EXPECT_STREQ(refusal.what(), "resc:1: Axes that run in opposite directions cannot be "
                                     "brought to one delta.");
    }
}
