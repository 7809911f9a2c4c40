#include <climits>
#include <cstring>
#include <functional>
#include <map>
#include <thread>

#include <gtest/gtest.h>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/fourier/fft_kernels.h"
#include "dataprocessing/fourier/four.h"
#include "dataprocessing/kernels/radix.h"
#include "dataprocessing/kernels/radix_twiddles.h"
#include "dataprocessing/platform/memory.h"
#include "dataprocessing/reduce/stat.h"
#include "dataprocessing/unary/unry.h"
#include "dataprocessing/valuemodel/resc.h"
#include "tests/failing_new.h"
#include "tests/fourier/fft_oracle.h"
#include "tests/support/elements.h"

using namespace dataprocessing::detail;
using oracle::Exact;

namespace {

const cal_c1DArrayCal lineCal(3, 0.25, 7);
const cal_c2DArrayCal imageCal(3, 0.25, -2, 0.5, 7, 9);
const std::string noMean1D = "statist:166";
const std::string noMean2D = "statist:178";
const std::string noConversion = "conv:1";
const std::string noDelta = "resc:1";

std::vector<float> counted(int count) {
    std::vector<float> values;
    for (int i = 1; i <= count; ++i)
        values.push_back(static_cast<float>(i));
    return values;
}

/// The values, followed by their mean up to a power of two.
std::vector<Exact> expanded(std::vector<Exact> values) {
    Exact mean = 0;
    for (const Exact& z : values)
        mean += z;
    mean /= static_cast<long double>(values.size());
    std::size_t n = 2;
    while (n < values.size())
        n *= 2;
    values.resize(n, mean);
    return values;
}

int powerOfTwo(int n) {
    int power = 2;
    while (power < n)
        power *= 2;
    return power;
}

std::vector<Exact> expanded(const std::vector<Exact>& values, int w, int h) {
    Exact mean = 0;
    for (const Exact& z : values)
        mean += z;
    mean /= static_cast<long double>(values.size());
    const int nx = powerOfTwo(w);
    std::vector<Exact> result(static_cast<std::size_t>(nx * powerOfTwo(h)), mean);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            result[static_cast<std::size_t>(y * nx + x)] =
                values[static_cast<std::size_t>(y * w + x)];
    return result;
}

std::vector<Exact> halvesExchanged(std::vector<Exact> values) {
    std::rotate(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                values.end());
    return values;
}

/// The forward transform of a line bit by bit: centred, and divided by its count.
std::vector<ComplexFloat> forwardOf(std::vector<ComplexFloat> line) {
    const std::size_t n = line.size();
    oracle::textbook(line, 1);
    std::rotate(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(n / 2), line.end());
    const float s = 1.0F / static_cast<float>(n);
    for (ComplexFloat& z : line)
        z = ComplexFloat(z.re * s - z.im * 0.0F, z.re * 0.0F + z.im * s);
    return line;
}

/// Makes a centred spectrum one of a real image: of each pair of conjugates one follows the other.
void symmetrise(std::vector<ComplexFloat>& centred, int w, int h) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            ComplexFloat& z = centred[static_cast<std::size_t>(y * w + x)];
            ComplexFloat& partner =
                centred[static_cast<std::size_t>((h - y) % h * w + (w - x) % w)];
            if (&z == &partner)
                z.im = 0;
            else
                partner = ComplexFloat(z.re, -z.im);
        }
}

std::vector<ComplexFloat> someSpectrum(int w, int h, unsigned seed) {
    std::vector<ComplexFloat> centred = oracle::someValues(static_cast<std::size_t>(w * h), seed);
    symmetrise(centred, w, h);
    return centred;
}

/// Row 0 is not that of a real image's spectrum; takes a width of at least 4.
std::vector<ComplexFloat> someGeneral(int w, int h, unsigned seed) {
    std::vector<ComplexFloat> values = oracle::someValues(static_cast<std::size_t>(w * h), seed);
    values[1] = ComplexFloat(1, 2);
    values[static_cast<std::size_t>(w - 1)] = ComplexFloat(1, 2);
    return values;
}

} // namespace

// ---- four_FitToPowerOfTwo -----------------------------------------------------------------------

TEST(FitToPowerOfTwo, IsTheSmallestPowerThatHoldsTheNumberAndAtLeastTwo) {
    const int cases[][2] = {{INT_MIN, 2},
                            {-5, 2},
                            {0, 2},
                            {1, 2},
                            {2, 2},
                            {3, 4},
                            {4, 4},
                            {5, 8},
                            {8, 8},
                            {9, 16},
                            {1024, 1024},
                            {1025, 2048},
                            {(1 << 30) - 1, 1 << 30},
                            {1 << 30, 1 << 30}};
    for (const auto& [n, expected] : cases)
        EXPECT_EQ(four_FitToPowerOfTwo(n), expected) << n;
}

TEST(FitToPowerOfTwo, RefusesWhatHasNoPowerInAnInt) {
    EXPECT_EQ(refusalOf([] { four_FitToPowerOfTwo((1 << 30) + 1); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { four_FitToPowerOfTwo(INT_MAX); }), sizeRefusal);
}

// ---- four_ExpandToPowerOfTwo --------------------------------------------------------------------

TEST(ExpandToPowerOfTwo, FillsALineWithItsMeanOnTheDefaultCalibration) {
    const darr_c1DArray expanded = four_ExpandToPowerOfTwo(lineOf<float>({1, 2, 3, 4, 5}, lineCal));
    EXPECT_EQ(elementsOf<float>(expanded), (std::vector<float>{1, 2, 3, 4, 5, 3, 3, 3}));
    EXPECT_EQ(expanded.Cal(), cal_c1DArrayCal::Default);
}

TEST(ExpandToPowerOfTwo, GivesASingleElementAnEqualSecond) {
    EXPECT_EQ(elementsOf<double>(four_ExpandToPowerOfTwo(lineOf<double>({7}))),
              (std::vector<double>{7, 7}));
}

TEST(ExpandToPowerOfTwo, CopiesALineOfFittingSizeWithItsCalibration) {
    const darr_c1DArray copy = four_ExpandToPowerOfTwo(lineOf<float>({1, 2, 3, 4}, lineCal));
    EXPECT_EQ(elementsOf<float>(copy), (std::vector<float>{1, 2, 3, 4}));
    EXPECT_EQ(copy.Cal(), lineCal);
}

TEST(ExpandToPowerOfTwo, FillsAnImageWithItsMeanOnTheDefaultCalibration) {
    const darr_c2DArray expanded =
        four_ExpandToPowerOfTwo(imageOf<float>(3, 2, {1, 2, 3, 4, 5, 9}, imageCal));
    EXPECT_EQ(expanded.SizeX(), 4);
    EXPECT_EQ(expanded.SizeY(), 2);
    EXPECT_EQ(elementsOf<float>(expanded), (std::vector<float>{1, 2, 3, 4, 4, 5, 9, 4}));
    EXPECT_EQ(expanded.Cal(), cal_c2DArrayCal::Default);
}

TEST(ExpandToPowerOfTwo, FillsAnImageOfWhichOneSizeFits) {
    const darr_c2DArray expanded = four_ExpandToPowerOfTwo(imageOf<float>(2, 1, {1, 2}, imageCal));
    EXPECT_EQ(elementsOf<float>(expanded), (std::vector<float>{1, 2, 1.5F, 1.5F}));
}

TEST(ExpandToPowerOfTwo, CopiesAnImageOfFittingSizesWithItsCalibration) {
    const darr_c2DArray copy = four_ExpandToPowerOfTwo(imageOf<float>(4, 2, counted(8), imageCal));
    EXPECT_EQ(elementsOf<float>(copy), counted(8));
    EXPECT_EQ(copy.Cal(), imageCal);
}

TEST(ExpandToPowerOfTwo, KeepsEveryElementTypeAndRoundsTheMeanToIt) {
    forEachElementType([]<class T>(int code) {
        const std::vector<T> values{elementOf<T>(1), elementOf<T>(2), elementOf<T>(2)};
        const darr_c1DArray line = four_ExpandToPowerOfTwo(lineOf(values));
        const darr_c2DArray image = four_ExpandToPowerOfTwo(imageOf(1, 3, values));
        using Part = typename PartOf<T>::type;
        const Part mean =
            std::is_integral_v<Part> ? Part(2) : static_cast<Part>((1.0 + 2.0 + 2.0) * (1.0 / 3.0));
        ASSERT_EQ(line.DataType().Code(), code);
        ASSERT_EQ(image.DataType().Code(), code);
        EXPECT_TRUE(isSameElement(line.Elements<T>()[3], T(mean))) << code;
        EXPECT_TRUE(isSameElement(image.Elements<T>()[7], T(mean))) << code;
        EXPECT_TRUE(isSameElement(image.Elements<T>()[2], elementOf<T>(2))) << code;
    });
}

TEST(ExpandToPowerOfTwo, RefusesArraysWithoutElementsInTheMean) {
    EXPECT_EQ(refusalOf([] { four_ExpandToPowerOfTwo(darr_c1DArray()); }), noMean1D);
    EXPECT_EQ(refusalOf([] { four_ExpandToPowerOfTwo(darr_c2DArray()); }), noMean2D);
}

TEST(ExpandToPowerOfTwo, RefusesSizesBeyondAnArray) {
    const dtyp_cDataType none(0); // has no storage
    const darr_c1DArray line((1 << 30) + 1, none, {});
    const darr_c2DArray wide((1 << 30) + 1, 1, none, {});
    const darr_c2DArray large((1 << 15) + 1, (1 << 14) + 1, none, {});
    EXPECT_EQ(refusalOf([&] { four_ExpandToPowerOfTwo(line); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { four_ExpandToPowerOfTwo(wide); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { four_ExpandToPowerOfTwo(large); }), sizeRefusal);
}

TEST(ExpandToPowerOfTwo, RefusesAnUnknownType) {
    const darr_c1DArray line(3, dtyp_cDataType(11), {});
    EXPECT_EQ(refusalOf([&] { four_ExpandToPowerOfTwo(line); }), noConversion);
}

// ---- four_MatchAndFitToPowerOfTwo ---------------------------------------------------------------

TEST(MatchAndFit, ExtendsBothLinesWithZerosToTheLargerFittedSize) {
    darr_c1DArray a = lineOf<float>({1, 2, 3}, cal_c1DArrayCal(10, 0.5, 2));
    darr_c1DArray b = lineOf<short>({5, 6, 7, 8, 9}, cal_c1DArrayCal(0, 0.5, 0));
    four_MatchAndFitToPowerOfTwo(a, b);
    EXPECT_EQ(elementsOf<float>(a), (std::vector<float>{1, 2, 3, 0, 0, 0, 0, 0}));
    EXPECT_EQ(elementsOf<short>(b), (std::vector<short>{5, 6, 7, 8, 9, 0, 0, 0}));
    EXPECT_EQ(a.Cal(), cal_c1DArrayCal(9, 0.5, 0));
    EXPECT_EQ(b.Cal(), cal_c1DArrayCal(0, 0.5, 0));
}

TEST(MatchAndFit, ResamplesToTheSmallerDeltaWhicheverHasIt) {
    const darr_c1DArray coarse = lineOf<float>({0, 2, 4, 6}, cal_c1DArrayCal(1, 1, 0));
    const darr_c1DArray fine = lineOf<float>({1, 1, 1, 1}, cal_c1DArrayCal(2, 0.5, 0));
    for (const bool coarseFirst : {true, false}) {
        darr_c1DArray a = coarseFirst ? coarse : fine;
        darr_c1DArray b = coarseFirst ? fine : coarse;
        four_MatchAndFitToPowerOfTwo(a, b);
        const darr_c1DArray& c = coarseFirst ? a : b;
        const darr_c1DArray& f = coarseFirst ? b : a;
        EXPECT_EQ(elementsOf<float>(c), (std::vector<float>{0, 1, 2, 3, 4, 5, 6, 6}));
        EXPECT_EQ(elementsOf<float>(f), (std::vector<float>{1, 1, 1, 1, 0, 0, 0, 0}));
        EXPECT_EQ(c.Cal(), cal_c1DArrayCal(1, 0.5, 0));
        EXPECT_EQ(f.Cal(), cal_c1DArrayCal(2, 0.5, 0));
    }
}

TEST(MatchAndFit, EqualsResamplingAndSelectingOneAfterTheOther) {
    const darr_c1DArray coarse = lineOf(someReals(13, 1), cal_c1DArrayCal(1, 0.7, 3));
    const darr_c1DArray fine = lineOf(someReals(21, 2), cal_c1DArrayCal(2, 0.31, -4));
    darr_c1DArray a = coarse;
    darr_c1DArray b = fine;
    four_MatchAndFitToPowerOfTwo(a, b);
    const darr_c1DArray expectedA = resc_Rescale(coarse, 0.31).Selection(0, 32);
    const darr_c1DArray expectedB = resc_Rescale(fine, 0.31).Selection(0, 32);
    EXPECT_EQ(elementsOf<float>(a), elementsOf<float>(expectedA));
    EXPECT_EQ(elementsOf<float>(b), elementsOf<float>(expectedB));
    EXPECT_EQ(a.Cal(), expectedA.Cal());
    EXPECT_EQ(b.Cal(), expectedB.Cal());
}

TEST(MatchAndFit, MatchesImagesAlongEachAxis) {
    const darr_c2DArray first =
        imageOf(5, 3, someReals(15, 1), cal_c2DArrayCal(1, 1, 5, 0.5, 2, 1));
    const darr_c2DArray second =
        imageOf(7, 2, someReals(14, 2), cal_c2DArrayCal(0, 0.5, 0, 2, 0, 0));
    darr_c2DArray a = first;
    darr_c2DArray b = second;
    four_MatchAndFitToPowerOfTwo(a, b);
    const darr_c2DArray expectedA = resc_Rescale(first, 0.5, 0.5).Selection(0, 0, 16, 8);
    const darr_c2DArray expectedB = resc_Rescale(second, 0.5, 0.5).Selection(0, 0, 16, 8);
    ASSERT_EQ(a.SizeX(), 16);
    ASSERT_EQ(a.SizeY(), 8);
    EXPECT_EQ(elementsOf<float>(a), elementsOf<float>(expectedA));
    EXPECT_EQ(elementsOf<float>(b), elementsOf<float>(expectedB));
    EXPECT_EQ(a.Cal(), expectedA.Cal());
    EXPECT_EQ(b.Cal(), expectedB.Cal());
}

TEST(MatchAndFit, IsWhatResamplingToTheSameDeltaGivesForEveryElementType) {
    forEachElementType([]<class T>(int code) {
        for (const double delta : {1.0, 0.1, 1e-310, 1e300})
            for (const double deltaY : {delta, 2 * delta}) {
                const cal_c2DArrayCal cal(0.3, delta, -7, deltaY, -3, 5);
                const darr_c2DArray image = imageOf(7, 3, countedElements<T>(21), cal);
                const darr_c2DArray other =
                    imageOf(2, 2, countedElements<T>(4), cal_c2DArrayCal(1, delta, 1, delta, 0, 1));
                darr_c2DArray a = image;
                darr_c2DArray b = other;
                four_MatchAndFitToPowerOfTwo(a, b);
                const darr_c2DArray expectedA =
                    resc_Rescale(image, delta, delta).Selection(0, 0, a.SizeX(), a.SizeY());
                const darr_c2DArray expectedB =
                    resc_Rescale(other, delta, delta).Selection(0, 0, 8, b.SizeY());
                EXPECT_TRUE(elementsOf<T>(a) == elementsOf<T>(expectedA)) << code << " " << delta;
                EXPECT_TRUE(elementsOf<T>(b) == elementsOf<T>(expectedB)) << code << " " << delta;
                EXPECT_EQ(a.Cal(), expectedA.Cal()) << code << " " << delta;
                EXPECT_EQ(b.Cal(), expectedB.Cal()) << code << " " << delta;
                EXPECT_EQ(a.SizeX(), 8);
                EXPECT_EQ(a.SizeY(), deltaY == delta ? 4 : 8);
            }
    });
}

TEST(MatchAndFit, GivesArraysWithoutElementsZeros) {
    darr_c1DArray a;
    darr_c1DArray b = lineOf<float>({1, 2, 3});
    four_MatchAndFitToPowerOfTwo(a, b);
    EXPECT_EQ(elementsOf<double>(a), std::vector<double>(4));
    EXPECT_EQ(elementsOf<float>(b), (std::vector<float>{1, 2, 3, 0}));
}

TEST(MatchAndFit, MatchesAnArrayWithItself) {
    darr_c1DArray a = lineOf<float>({1, 2, 3});
    four_MatchAndFitToPowerOfTwo(a, a);
    EXPECT_EQ(elementsOf<float>(a), (std::vector<float>{1, 2, 3, 0}));
}

TEST(MatchAndFit, ChangesNothingWhenItRefuses) {
    const cal_c1DArrayCal backward(0, -1, 0);
    darr_c1DArray a = lineOf<float>({1, 2, 3});
    darr_c1DArray b = lineOf<float>({4, 5, 6}, backward);
    EXPECT_EQ(refusalOf([&] { four_MatchAndFitToPowerOfTwo(a, b); }), noDelta);
    EXPECT_EQ(elementsOf<float>(a), (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(elementsOf<float>(b), (std::vector<float>{4, 5, 6}));
    EXPECT_EQ(a.Cal(), cal_c1DArrayCal::Default);
    EXPECT_EQ(b.Cal(), backward);
}

TEST(MatchAndFit, RefusesADeltaThatIsNotPositiveAndFiniteEvenWhereBothHaveIt) {
    for (const double delta : {-1.0, 0.0, std::numeric_limits<double>::infinity()}) {
        darr_c1DArray a = lineOf<float>({1, 2, 3}, cal_c1DArrayCal(0, delta, 0));
        darr_c1DArray b = a;
        EXPECT_EQ(refusalOf([&] { four_MatchAndFitToPowerOfTwo(a, b); }), noDelta) << delta;
    }
}

TEST(MatchAndFit, ChangesNothingWhenMemoryRunsOut) {
    for (int allowed = 0; allowed < 2; ++allowed) {
        darr_c1DArray a = lineOf<float>({1, 2, 3});
        darr_c1DArray b = lineOf<float>({4, 5, 6});
        const FailingNew failing(allowed);
        EXPECT_THROW(four_MatchAndFitToPowerOfTwo(a, b), std::bad_alloc);
        EXPECT_EQ(a.Size(), 3);
        EXPECT_EQ(b.Size(), 3);
    }
}

// ---- four_Center --------------------------------------------------------------------------------

TEST(Center, ExchangesTheHalvesOfALine) {
    const darr_c1DArray centred = four_Center(lineOf(counted(6), lineCal));
    EXPECT_EQ(elementsOf<float>(centred), (std::vector<float>{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(centred.Cal(), cal_c1DArrayCal::Default);
    EXPECT_EQ(elementsOf<float>(four_Center(centred)), counted(6));
}

TEST(Center, LeavesTheLastElementOfAnOddLineZero) {
    EXPECT_EQ(elementsOf<float>(four_Center(lineOf(counted(5)))),
              (std::vector<float>{3, 4, 5, 2, 0}));
    EXPECT_EQ(elementsOf<float>(four_Center(lineOf(counted(3)))), (std::vector<float>{2, 3, 0}));
}

TEST(Center, KeepsTheShortestLines) {
    EXPECT_EQ(elementsOf<float>(four_Center(lineOf(counted(1)))), counted(1));
    EXPECT_EQ(four_Center(darr_c1DArray()).Size(), 0);
    EXPECT_EQ(four_Center(darr_c2DArray()).Count(), 0);
}

TEST(Center, ExchangesTheQuadrantsOfAnImageAndKeepsItsCalibration) {
    const darr_c2DArray centred = four_Center(imageOf(4, 2, counted(8), imageCal));
    EXPECT_EQ(elementsOf<float>(centred), (std::vector<float>{7, 8, 5, 6, 3, 4, 1, 2}));
    EXPECT_EQ(centred.Cal(), imageCal);
    EXPECT_EQ(elementsOf<float>(four_Center(centred)), counted(8));
}

TEST(Center, WritesTheOverlappingQuadrantsOfAnOddImageInOrder) {
    //  1  2  3      quadrants: 1 | 2 3 above 4 7 | 5 6 8 9
    //  4  5  6      1 to (1, 1); 2 3 to (0, 1); 4 7 to (1, 0); 5 6 8 9 to (0, 0)
    //  7  8  9      what none reaches: column and row 2
    EXPECT_EQ(elementsOf<float>(four_Center(imageOf(3, 3, counted(9)))),
              (std::vector<float>{5, 6, 3, 8, 9, 6, 7, 8, 9}));
    //  1  2  3  4  5          1 2 to (2, 1); 3 4 5 to (0, 1); 6 7 to (2, 0); 8 9 10 to (0, 0)
    //  6  7  8  9 10
    EXPECT_EQ(elementsOf<float>(four_Center(imageOf(5, 2, counted(10)))),
              (std::vector<float>{8, 9, 10, 7, 5, 3, 4, 5, 2, 10}));
}

TEST(Center, KeepsEveryElementType) {
    forEachElementType([]<class T>(int code) {
        const std::vector<T> v = countedElements<T>(4);
        const darr_c1DArray line = four_Center(lineOf(v));
        const darr_c2DArray image = four_Center(imageOf(2, 2, v));
        ASSERT_EQ(line.DataType().Code(), code);
        EXPECT_TRUE(elementsOf<T>(line) == (std::vector<T>{v[2], v[3], v[0], v[1]})) << code;
        EXPECT_TRUE(elementsOf<T>(image) == (std::vector<T>{v[3], v[2], v[1], v[0]})) << code;
    });
}

// ---- Bits ---------------------------------------------------------------------------------------

/// Powers of two: from 4 on in lanes, from 8 on as one line, from 17 on without the last tables.
constexpr int eachWayToCompute[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 17};

TEST(RadixTwoFFT, HasTheBitsOfTheTextbookLoop) {
    for (int bits = 1; bits <= 20; ++bits)
        for (const int sign : {1, -1}) {
            const std::size_t n = std::size_t{1} << bits;
            std::vector<ComplexFloat> expected = oracle::someValues(n, static_cast<unsigned>(bits));
            std::vector<ComplexFloat> values = expected;
            oracle::textbook(expected, sign);
            four_RadixTwoFFT(values.data(), static_cast<int>(n), sign);
            EXPECT_TRUE(isSameBits(values, expected)) << n << " " << sign;
        }
}

TEST(RadixTwoFFT, HasTheBitsOfTheTextbookLoopForZerosOfEitherSign) {
    for (const int bits : eachWayToCompute)
        for (const int sign : {1, -1}) {
            const std::size_t n = std::size_t{1} << bits;
            std::vector<ComplexFloat> expected = oracle::someValues(n, 17);
            for (ComplexFloat& z : expected)
                z = ComplexFloat(std::copysign(0.0F, z.re), std::copysign(0.0F, z.im));
            std::vector<ComplexFloat> values = expected;
            oracle::textbook(expected, sign);
            four_RadixTwoFFT(values.data(), static_cast<int>(n), sign);
            EXPECT_TRUE(isSameBits(values, expected)) << n << " " << sign;
        }
}

TEST(RadixTwoFFT, HasTheBitsOfTheTextbookLoopForConstantsWithZerosOfEitherSign) {
    // Here the sign of a zero survives the sums, up to the factors 1 + 0i of every pass.
    const float parts[] = {0.0F, -0.0F, 1.0F, -1.0F};
    for (const int bits : eachWayToCompute)
        for (const int sign : {1, -1})
            for (const float re : parts)
                for (const float im : parts) {
                    const std::size_t n = std::size_t{1} << bits;
                    std::vector<ComplexFloat> expected(n, ComplexFloat(re, im));
                    std::vector<ComplexFloat> values = expected;
                    std::vector<ComplexFloat> columns(n * 3, ComplexFloat(re, im));
                    oracle::textbook(expected, sign);
                    four_RadixTwoFFT(values.data(), static_cast<int>(n), sign);
                    EXPECT_TRUE(isSameBits(values, expected)) << n << " " << sign << re << im;
                    radix_Columns(columns.data(), 3, n, 3, sign, radix_DoubleProducts);
                    for (std::size_t i = 0; i < n; ++i)
                        values[i] = columns[3 * i + 1];
                    EXPECT_TRUE(isSameBits(values, expected)) << n << " " << sign << re << im;
                }
}

TEST(RadixTwoFFT, HasTheBitsOfTheTextbookLoopForPairsOfZeros) {
    const float parts[] = {0.0F, -0.0F, 1.0F, -1.0F};
    for (unsigned choice = 0; choice < 256; ++choice)
        for (const int sign : {1, -1}) {
            std::vector<ComplexFloat> expected{{parts[choice % 4], parts[choice / 4 % 4]},
                                               {parts[choice / 16 % 4], parts[choice / 64]}};
            std::vector<ComplexFloat> values = expected;
            std::vector<ComplexFloat> columns{expected[0], expected[0], expected[1], expected[1]};
            oracle::textbook(expected, sign);
            four_RadixTwoFFT(values.data(), 2, sign);
            EXPECT_TRUE(isSameBits(values, expected)) << choice << " " << sign;
            radix_Columns(columns.data(), 2, 2, 2, sign, radix_DoubleProducts);
            EXPECT_TRUE(isSameBits({columns[1], columns[3]}, expected)) << choice << " " << sign;
        }
}

TEST(RadixTwoFFT, HasTheBitsOfTheTextbookLoopForSubnormalAndHugeValues) {
    for (const float scale : {0x1p-140F, 0x1p120F})
        for (const int bits : eachWayToCompute)
            for (const int sign : {1, -1}) {
                const std::size_t n = std::size_t{1} << bits;
                std::vector<ComplexFloat> expected = oracle::someValues(n, 18);
                for (ComplexFloat& z : expected)
                    z = ComplexFloat(z.re * scale, z.im * scale);
                std::vector<ComplexFloat> values = expected;
                oracle::textbook(expected, sign);
                four_RadixTwoFFT(values.data(), static_cast<int>(n), sign);
                for (std::size_t i = 0; i < n; ++i)
                    ASSERT_TRUE(isSameElement(values[i], expected[i])) << n << " " << i;
            }
}

TEST(RadixTwoFFT, SpreadsInfinitiesAndNaNsAsTheTextbookLoopDoes) {
    for (const int bits : eachWayToCompute)
        for (const float odd :
             {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()})
            for (const int sign : {1, -1}) {
                const std::size_t n = std::size_t{1} << bits;
                std::vector<ComplexFloat> expected = oracle::someValues(n, 19);
                expected[n / 3].re = odd;
                std::vector<ComplexFloat> values = expected;
                oracle::textbook(expected, sign);
                four_RadixTwoFFT(values.data(), static_cast<int>(n), sign);
                for (std::size_t i = 0; i < n; ++i)
                    ASSERT_TRUE(isSameElement(values[i], expected[i])) << n << " " << i;
            }
}

TEST(RadixTwoFFTnD, HasTheBitsOfTheTextbookLoopAlongEachDimension) {
    const std::vector<std::vector<int>> shapes = {
        {2},       {2, 2},     {4, 4},      {2, 8},    {8, 2},      {16, 16},    {32, 4},
        {4, 32},   {64, 64},   {128, 16},   {16, 256}, {512, 32},   {32, 1024},  {2, 4096},
        {4096, 2}, {256, 256}, {2, 131072}, {2, 4, 8}, {16, 2, 32}, {4, 4, 4, 4}};
    for (const std::vector<int>& shape : shapes)
        for (const int sign : {1, -1}) {
            std::size_t count = 1;
            for (const int size : shape)
                count *= static_cast<std::size_t>(size);
            std::vector<ComplexFloat> expected = oracle::someValues(count, 5);
            std::vector<ComplexFloat> values = expected;
            oracle::textbook(expected, shape, sign);
            four_RadixTwoFFTnD(values.data(), shape, sign);
            EXPECT_TRUE(isSameBits(values, expected))
                << testing::PrintToString(shape) << " " << sign;
        }
}

TEST(FftLine, ForwardBitsAreTheTextbookLoopCentredAndMultipliedByTheReciprocal) {
    std::vector<std::vector<ComplexFloat>> lines;
    for (int bits = 1; bits <= 18; ++bits)
        lines.push_back(oracle::someValues(std::size_t{1} << bits, 3));
    for (const std::size_t n : {2U, 16U, 64U, 256U, 1024U}) // with zeros of either sign
        for (const ComplexFloat& z :
             {ComplexFloat(0, 0), ComplexFloat(-0.0F, 0), ComplexFloat(-0.0F, -1),
              ComplexFloat(-1, -0.0F), ComplexFloat(1, -0.0F), ComplexFloat(0, -0.0F),
              ComplexFloat(-0.0F, -0.0F)})
            lines.emplace_back(n, z);
    for (const std::size_t n : {2U, 16U, 64U, 256U, 1024U}) { // with -0 - i in the spectrum
        lines.emplace_back(n, ComplexFloat(-0.0F, 0));
        lines.back()[0] = ComplexFloat(-0.0F, -1);
    }
    for (const std::vector<ComplexFloat>& line : lines) {
        EXPECT_TRUE(isSameBits(elementsOf<ComplexFloat>(four_FFT(lineOf(line))), forwardOf(line)))
            << line.size();
    }
}

TEST(FftLine, InverseBitsAreTheTextbookLoop) {
    for (int bits = 1; bits <= 18; ++bits) {
        const std::size_t n = std::size_t{1} << bits;
        std::vector<ComplexFloat> expected = oracle::someValues(n, 4);
        const darr_c1DArray result = four_IFFT(lineOf(expected));
        oracle::textbook(expected, -1);
        EXPECT_TRUE(isSameBits(elementsOf<ComplexFloat>(result), expected)) << n;
    }
}

TEST(FftLine, BitsOfEveryElementTypeAreTheTextbookLoopOfItsValues) {
    for (const int n : {8, 11, 512, 700})
        forEachElementType([&]<class T>(int code) {
            const darr_c1DArray line = lineOf(countedElements<T>(n), lineCal);
            std::vector<ComplexFloat> values;
            double sum = 0;
            for (int i = 0; i < n; ++i) {
                const float x = static_cast<float>(i % 120 + 1);
                values.emplace_back(x, isComplexElement<T> ? -x : 0.0F);
                sum += x;
            }
            const float mean = static_cast<float>(sum * (1.0 / n));
            values.resize(static_cast<std::size_t>(powerOfTwo(n)),
                          ComplexFloat(mean, isComplexElement<T> ? -mean : 0.0F));
            std::vector<ComplexFloat> inverse = values;
            oracle::textbook(inverse, -1);
            EXPECT_TRUE(isSameBits(elementsOf<ComplexFloat>(four_IFFT(line)), inverse))
                << code << " " << n;
            EXPECT_TRUE(isSameBits(elementsOf<ComplexFloat>(four_FFT(line)), forwardOf(values)))
                << code << " " << n;
        });
}

TEST(FftImage, BitsOfAGeneralComplexOneAreTheTextbookLoopOverLinesAlongY) {
    const int sizes[][2] = {{4, 4}, {4, 2}, {4, 16}, {16, 4}, {64, 64}, {32, 128}, {128, 32}};
    for (const auto& [w, h] : sizes)
        for (const int sign : {1, -1}) {
            std::vector<ComplexFloat> expected = someGeneral(w, h, 6);
            const darr_c2DArray image = imageOf(w, h, expected);
            const darr_c2DArray result = sign > 0 ? four_FFT(image) : four_IFFT(image);
            oracle::textbook(expected, {w, h}, sign);
            ASSERT_EQ(result.SizeX(), w);
            EXPECT_TRUE(isSameBits(elementsOf<ComplexFloat>(result), expected))
                << w << " x " << h << " " << sign;
        }
}

// ---- Accuracy -----------------------------------------------------------------------------------

TEST(FftLine, ForwardIsTheCentredSumOverN) {
    for (int n = 2; n <= 64; ++n) {
        const std::vector<ComplexFloat> values =
            oracle::someValues(static_cast<std::size_t>(n), static_cast<unsigned>(n));
        const std::vector<Exact> x = expanded(oracle::exact(values));
        const long double size = static_cast<long double>(x.size());
        const std::vector<Exact> expected =
            oracle::scaled(halvesExchanged(oracle::sum(x, 1)), 1 / size);
        const darr_c1DArray result = four_FFT(lineOf(values));
        EXPECT_EQ(result.DataType(), dtyp_ComplexFloat);
        EXPECT_LE(distance(exactOf(result), expected),
                  oracle::tolerance(x.size(), oracle::magnitude(x) / static_cast<double>(size)))
            << n;
    }
}

TEST(FftLine, InverseIsThePlainSumWithTheOtherSign) {
    for (int n = 2; n <= 64; ++n) {
        const std::vector<ComplexFloat> values =
            oracle::someValues(static_cast<std::size_t>(n), static_cast<unsigned>(n));
        const std::vector<Exact> x = expanded(oracle::exact(values));
        const darr_c1DArray result = four_IFFT(lineOf(values));
        EXPECT_EQ(result.DataType(), dtyp_ComplexFloat);
        EXPECT_LE(distance(exactOf(result), oracle::sum(x, -1)),
                  oracle::tolerance(x.size(), oracle::magnitude(x)))
            << n;
    }
}

TEST(FftLine, LongOnesKeepTheTolerance) {
    for (const std::size_t n : {1024U, 8192U, 65536U}) {
        const std::vector<ComplexFloat> values = oracle::someValues(n, 12);
        const std::vector<Exact> x = oracle::exact(values);
        const std::vector<Exact> root = oracle::roots(n, -1);
        const std::vector<Exact> result = exactOf(four_IFFT(lineOf(values)));
        for (std::size_t f = 1; f < n; f += n / 7) {
            Exact expected = 0;
            for (std::size_t k = 0; k < n; ++k)
                expected += x[k] * root[f * k % n];
            EXPECT_LE(std::abs(result[f] - expected), oracle::tolerance(n, oracle::magnitude(x)))
                << n << ' ' << f;
        }
    }
}

TEST(FftLine, ToleranceTellsAWrongSignAMissingCentreAndAWrongScale) {
    for (int n = 4; n <= 64; n *= 2) {
        const std::vector<Exact> x =
            oracle::exact(oracle::someValues(static_cast<std::size_t>(n), 8));
        const long double size = static_cast<long double>(n);
        const std::vector<Exact> right =
            oracle::scaled(halvesExchanged(oracle::sum(x, 1)), 1 / size);
        const double allowed =
            oracle::tolerance(x.size(), oracle::magnitude(x) / static_cast<double>(size));
        EXPECT_GT(distance(right, oracle::scaled(halvesExchanged(oracle::sum(x, -1)), 1 / size)),
                  allowed);
        EXPECT_GT(distance(right, oracle::scaled(oracle::sum(x, 1), 1 / size)), allowed);
        EXPECT_GT(distance(right, oracle::scaled(halvesExchanged(oracle::sum(x, 1)), 1)), allowed);
        EXPECT_GT(distance(right, oracle::scaled(right, 1 + 1e-5L)), 0);
    }
}

TEST(FftImage, OfRealsIsTheCentredSumWithTheScaleOfItsDirection) {
    for (int h = 1; h <= 32; ++h)
        for (int w = 1; w <= 32; ++w) {
            const std::vector<float> values = someReals(w * h, static_cast<unsigned>(100 * w + h));
            const std::vector<Exact> x = expanded(oracle::exact(values), w, h);
            const int nx = powerOfTwo(w);
            const int ny = powerOfTwo(h);
            const double count = static_cast<double>(x.size());
            for (const bool forward : {true, false}) {
                const double scale = forward ? 2 / (count * count) : 1;
                const std::vector<Exact> expected = oracle::centred(
                    oracle::scaled(oracle::sum(x, nx, ny, forward ? -1 : 1), scale), nx, ny);
                const darr_c2DArray image = imageOf(w, h, values);
                const darr_c2DArray result = forward ? four_FFT(image) : four_IFFT(image);
                ASSERT_EQ(result.DataType(), dtyp_ComplexFloat);
                ASSERT_EQ(result.SizeX(), nx);
                ASSERT_EQ(result.SizeY(), ny);
                ASSERT_LE(distance(exactOf(result), expected),
                          oracle::tolerance(x.size(), scale * oracle::magnitude(x)))
                    << w << " x " << h << (forward ? " forward" : " inverse");
            }
        }
}

TEST(FftImage, OfASymmetricSpectrumIsTheRealSumWithTheScaleOfItsDirection) {
    for (int h = 2; h <= 32; h *= 2)
        for (int w = 2; w <= 32; w *= 2) {
            const std::vector<ComplexFloat> values =
                someSpectrum(w, h, static_cast<unsigned>(100 * w + h));
            const std::vector<Exact> x = oracle::centred(oracle::exact(values), w, h);
            const double count = static_cast<double>(x.size());
            for (const bool forward : {true, false}) {
                const double scale = forward ? 2 / (count * count) : 1;
                const std::vector<Exact> expected =
                    oracle::scaled(oracle::sum(x, w, h, forward ? -1 : 1), scale);
                const darr_c2DArray image = imageOf(w, h, values);
                const darr_c2DArray result = forward ? four_FFT(image) : four_IFFT(image);
                ASSERT_EQ(result.DataType(), dtyp_Float);
                EXPECT_LE(distance(exactOf(result), expected),
                          oracle::tolerance(x.size(), scale * oracle::magnitude(x)))
                    << w << " x " << h << (forward ? " forward" : " inverse");
            }
        }
}

TEST(FftImage, ToleranceTellsAWrongSignAMissingCentreAndAWrongScale) {
    const int w = 16;
    const int h = 8;
    const std::vector<Exact> x = oracle::exact(someReals(w * h, 9));
    const double allowed = oracle::tolerance(x.size(), oracle::magnitude(x));
    const std::vector<Exact> right = oracle::centred(oracle::sum(x, w, h, -1), w, h);
    EXPECT_GT(distance(right, oracle::centred(oracle::sum(x, w, h, 1), w, h)), allowed);
    EXPECT_GT(distance(right, oracle::sum(x, w, h, -1)), allowed);
    EXPECT_GT(distance(right, oracle::scaled(right, 2)), allowed);
}

TEST(FftImage, OfLargerRealsFollowsTheLineTransforms) {
    const int sizes[][2] = {{64, 64}, {256, 32}, {32, 256}, {2, 512}, {512, 2}, {128, 256}};
    for (const auto& [w, h] : sizes) {
        const std::vector<float> values = someReals(w * h, 10);
        const std::vector<Exact> x = oracle::exact(values);
        const std::vector<Exact> expected = oracle::centred(oracle::sum(x, w, h, 1), w, h);
        const double allowed = oracle::tolerance(x.size(), oracle::magnitude(x));
        const darr_c2DArray spectrum = four_IFFT(imageOf(w, h, values));
        EXPECT_LE(distance(exactOf(spectrum), expected), allowed) << w << " x " << h;
        const darr_c2DArray image = four_FFT(spectrum);
        ASSERT_EQ(image.DataType(), dtyp_Float);
        const long double count = static_cast<long double>(x.size());
        EXPECT_LE(distance(exactOf(image), oracle::scaled(x, 2 / count)),
                  allowed * 2 / static_cast<double>(count))
            << w << " x " << h;
    }
}

/// The spectrum of a tone is nearly all in few elements, so its errors are far beyond its root mean
/// square in them. `expected` has what is not zero.
template<class Array>
void expectTone(const Array& spectrum, const std::map<std::size_t, Exact>& expected) {
    const std::vector<Exact> found = exactOf(spectrum);
    const double count = static_cast<double>(found.size());
    const double largest = static_cast<double>(std::abs(expected.begin()->second));
    long double squares = 0;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const auto at = expected.find(i);
        const long double error = std::abs(at == expected.end() ? found[i] : found[i] - at->second);
        ASSERT_LE(error, oracle::tolerance(found.size(), largest)) << i << " of " << count;
        squares += error * error;
    }
    constexpr double epsilon = std::numeric_limits<float>::epsilon();
    const double rootMeanSquare = largest * std::sqrt(static_cast<double>(expected.size()) / count);
    EXPECT_LE(std::sqrt(static_cast<double>(squares) / count), 2 * epsilon * rootMeanSquare)
        << count;
}

TEST(FftLine, OfAToneHasErrorsOfItsLargestElement) {
    for (const std::size_t n : {1024U, 65536U, 262144U}) {
        const std::size_t f = n / 5;
        const std::vector<Exact> roots = oracle::roots(n, 1);
        std::vector<float> values;
        for (std::size_t k = 0; k < n; ++k)
            values.push_back(static_cast<float>(roots[f * k % n].real()));
        const long double half = static_cast<long double>(n) / 2;
        expectTone(four_IFFT(lineOf(values)), {{f, half}, {n - f, half}});
    }
}

TEST(FftImage, OfAToneHasErrorsOfItsLargestElement) {
    const std::size_t sizes[][2] = {{512, 512}, {1024, 64}, {64, 1024}};
    for (const auto& [w, h] : sizes) {
        const std::size_t u = w / 5;
        const std::size_t v = h / 7;
        const std::vector<Exact> x = oracle::roots(w, 1);
        const std::vector<Exact> y = oracle::roots(h, 1);
        std::vector<float> values;
        for (std::size_t i = 0; i < w * h; ++i)
            values.push_back(static_cast<float>((x[u * (i % w) % w] * y[v * (i / w) % h]).real()));
        const long double half = static_cast<long double>(w * h) / 2;
        expectTone(four_IFFT(imageOf(static_cast<int>(w), static_cast<int>(h), values)),
                   {{(h / 2 + v) * w + w / 2 + u, half}, {(h / 2 - v) * w + w / 2 - u, half}});
    }
}

// ---- Closed forms -------------------------------------------------------------------------------

TEST(FftLine, OfAConstantIsOneAtTheCentre) {
    const darr_c1DArray result = four_FFT(lineOf(std::vector<float>(8, 1), lineCal));
    std::vector<ComplexFloat> expected(8);
    expected[4] = ComplexFloat(1);
    EXPECT_EQ(distance(exactOf(result), oracle::exact(expected)), 0);
    EXPECT_EQ(result.Cal(), cal_c1DArrayCal(0, 1 / (8 * 0.25), 4));
}

TEST(FftLine, OfAnImpulseIsConstant) {
    std::vector<float> impulse(16);
    impulse[0] = 1;
    EXPECT_EQ(distance(exactOf(four_FFT(lineOf(impulse))), std::vector<Exact>(16, 1 / 16.0L)), 0);
    EXPECT_EQ(distance(exactOf(four_IFFT(lineOf(impulse))), std::vector<Exact>(16, 1)), 0);
}

TEST(FftLine, OfAShiftedImpulseIsAWaveOfThatSign) {
    const int n = 32;
    const std::vector<Exact> root = oracle::roots(n, 1);
    for (int shift = 0; shift < n; ++shift) {
        std::vector<float> impulse(n);
        impulse[static_cast<std::size_t>(shift)] = 1;
        std::vector<Exact> forward;
        std::vector<Exact> inverse;
        for (int i = 0; i < n; ++i) {
            const int f = i - n / 2;
            forward.push_back(root[static_cast<std::size_t>((f * shift % n + n) % n)] / 32.0L);
            inverse.push_back(std::conj(root[static_cast<std::size_t>(i * shift % n)]));
        }
        EXPECT_LE(distance(exactOf(four_FFT(lineOf(impulse))), forward),
                  oracle::tolerance(n, 1 / 32.0));
        EXPECT_LE(distance(exactOf(four_IFFT(lineOf(impulse))), inverse), oracle::tolerance(n, 1));
    }
}

TEST(FftLine, OfACosineHasHalvesAtItsTwoFrequencies) {
    const int n = 64;
    const std::vector<Exact> root = oracle::roots(n, 1);
    for (int bin = 0; bin <= n / 2; ++bin) {
        std::vector<float> wave;
        for (int k = 0; k < n; ++k)
            wave.push_back(static_cast<float>(root[static_cast<std::size_t>(bin * k % n)].real()));
        std::vector<Exact> expected(n);
        expected[static_cast<std::size_t>((n / 2 + bin) % n)] += 0.5L;
        expected[static_cast<std::size_t>(n / 2 - bin)] += 0.5L;
        EXPECT_LE(distance(exactOf(four_FFT(lineOf(wave))), expected), oracle::tolerance(n, 1))
            << bin;
    }
}

TEST(FftLine, KeepsTheSumOfSquares) {
    for (const int n : {4, 256, 4096}) {
        const std::vector<ComplexFloat> values =
            oracle::someValues(static_cast<std::size_t>(n), 11);
        const double energy = std::pow(oracle::magnitude(oracle::exact(values)), 2);
        const double forward = std::pow(oracle::magnitude(exactOf(four_FFT(lineOf(values)))), 2);
        const double inverse = std::pow(oracle::magnitude(exactOf(four_IFFT(lineOf(values)))), 2);
        EXPECT_NEAR(forward * n, energy, oracle::tolerance(static_cast<std::size_t>(n), energy));
        EXPECT_NEAR(inverse / n, energy, oracle::tolerance(static_cast<std::size_t>(n), energy));
    }
}

TEST(FftImage, OfFourByFourIsScaledByTwoOver256AndSixteen) {
    const darr_c2DArray image = imageOf(4, 4, std::vector<float>(16, 1));
    std::vector<Exact> expected(16);
    expected[2 * 4 + 2] = 16 * 2 / 256.0L;
    EXPECT_EQ(distance(exactOf(four_FFT(image)), expected), 0);
    expected[2 * 4 + 2] = 16;
    EXPECT_EQ(distance(exactOf(four_IFFT(image)), expected), 0);
}

TEST(FftImage, OfAShiftedImpulseIsAWaveAlongBothAxesOfTheOtherSignThanALine) {
    const int w = 8;
    const int h = 4;
    std::vector<float> impulse(w * h);
    impulse[1 * w + 3] = 1;
    std::vector<Exact> expected;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const long double turns = (x - w / 2) * 3 / 8.0L + (y - h / 2) * 1 / 4.0L;
            const long double angle = -2 * std::acos(-1.0L) * turns;
            expected.emplace_back(std::cos(angle), std::sin(angle));
        }
    expected = oracle::scaled(expected, 2 / (32.0L * 32.0L));
    EXPECT_LE(distance(exactOf(four_FFT(imageOf(w, h, impulse))), expected),
              oracle::tolerance(32, 2 / (32.0 * 32.0)));
}

TEST(FftImage, KeepsTheSumOfSquares) {
    const std::vector<float> values = someReals(64 * 32, 12);
    const double energy = std::pow(oracle::magnitude(oracle::exact(values)), 2);
    const double spectrum =
        std::pow(oracle::magnitude(exactOf(four_IFFT(imageOf(64, 32, values)))), 2);
    EXPECT_NEAR(spectrum / (64 * 32), energy, oracle::tolerance(64 * 32, energy));
}

TEST(FftLine, InverseOfTheForwardTransformAlternatesInSign) {
    const std::vector<ComplexFloat> values = oracle::someValues(16, 13);
    std::vector<Exact> alternating = oracle::exact(values);
    for (std::size_t i = 1; i < 16; i += 2)
        alternating[i] = -alternating[i];
    const std::vector<Exact> back = exactOf(four_IFFT(four_FFT(lineOf(values))));
    EXPECT_LE(distance(back, alternating), oracle::tolerance(16, 2));
    EXPECT_GT(distance(back, oracle::exact(values)), 0.1);
}

// ---- Which path an image takes ------------------------------------------------------------------

TEST(FftImage, WithOneAsymmetricElementInRowZeroIsGeneral) {
    const int w = 8;
    const int h = 4;
    for (int i = 1; i < w; ++i)
        for (const bool realPart : {true, false}) {
            std::vector<ComplexFloat> values = someSpectrum(w, h, 14);
            ComplexFloat& z = values[static_cast<std::size_t>(i)];
            (realPart ? z.re : z.im) += 1;
            const bool isPair = i != w / 2; // that element has no partner and is not compared
            EXPECT_EQ(four_IFFT(imageOf(w, h, values)).DataType(),
                      isPair ? dtyp_ComplexFloat : dtyp_Float)
                << i << " " << realPart;
        }
}

TEST(FftImage, IsJudgedByRowZeroAlone) {
    std::vector<ComplexFloat> values = someSpectrum(8, 4, 15);
    const std::vector<Exact> x = oracle::centred(oracle::exact(values), 8, 4);
    values[0] = ComplexFloat(values[0].re, 5); // its imaginary part has no meaning
    values[4] = ComplexFloat(values[4].re, 5);
    for (int y = 1; y < 4; ++y)
        for (int u = 1; u < 4; ++u) // u < 0, except u = -W/2, is not read
            values[static_cast<std::size_t>(y * 8 + u)] = ComplexFloat(7, 9);
    const darr_c2DArray result = four_IFFT(imageOf(8, 4, values));
    ASSERT_EQ(result.DataType(), dtyp_Float);
    EXPECT_LE(distance(exactOf(result), oracle::sum(x, 8, 4, 1)),
              oracle::tolerance(x.size(), oracle::magnitude(x)));
}

TEST(FftImage, OfWidthTwoAlwaysCountsAsASpectrum) {
    for (const int w : {1, 2})
        for (const int h : {2, 4, 16}) {
            const std::vector<ComplexFloat> values =
                oracle::someValues(static_cast<std::size_t>(w * h), 16);
            EXPECT_EQ(four_FFT(imageOf(w, h, values)).DataType(), dtyp_Float);
            EXPECT_EQ(four_IFFT(imageOf(w, h, values)).DataType(), dtyp_Float);
        }
}

TEST(FftImage, WithZerosOfOppositeSignsIsSymmetricAndWithANaNIsNot) {
    std::vector<ComplexFloat> values(4 * 4);
    values[1] = ComplexFloat(0, 0.0F);
    values[3] = ComplexFloat(-0.0F, 0.0F);
    EXPECT_EQ(four_FFT(imageOf(4, 4, values)).DataType(), dtyp_Float);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    values[1] = values[3] = ComplexFloat(nan, 0);
    EXPECT_EQ(four_FFT(imageOf(4, 4, values)).DataType(), dtyp_ComplexFloat);
    values[1] = values[3] = ComplexFloat(0, nan);
    EXPECT_EQ(four_FFT(imageOf(4, 4, values)).DataType(), dtyp_ComplexFloat);
}

TEST(FftImage, OfComplexDoublesIsJudgedInSinglePrecision) {
    std::vector<ComplexFloat> single = someSpectrum(8, 4, 20);
    single[1].re = single[7].re = 1;
    std::vector<ComplexDouble> values;
    for (const ComplexFloat& z : single)
        values.emplace_back(z.re, z.im);
    values[1].re += 1e-12; // lost when converted
    const darr_c2DArray real = four_IFFT(imageOf(8, 4, values));
    ASSERT_EQ(real.DataType(), dtyp_Float);
    const std::vector<Exact> x = oracle::centred(oracle::exact(single), 8, 4);
    EXPECT_LE(distance(exactOf(real), oracle::sum(x, 8, 4, 1)),
              oracle::tolerance(x.size(), oracle::magnitude(x)));
    values[1].re += 1;
    single[1].re += 1;
    oracle::textbook(single, {8, 4}, -1);
    EXPECT_TRUE(isSameBits(elementsOf<ComplexFloat>(four_IFFT(imageOf(8, 4, values))), single));
}

TEST(FftImage, OfEveryRealTypeIsTheSumOfItsValues) {
    forEachElementType([]<class T>(int code) {
        if constexpr (!isComplexElement<T>) {
            for (const int h : {4, 3}) { // the mean of 24 values, 12.5, is rounded to their type
                std::vector<Exact> x(32, std::is_integral_v<T> ? 12 : 12.5L);
                for (int i = 0; i < 8 * h; ++i)
                    x[static_cast<std::size_t>(i)] = i + 1;
                const darr_c2DArray result = four_FFT(imageOf(8, h, countedElements<T>(8 * h)));
                ASSERT_EQ(result.DataType(), dtyp_ComplexFloat);
                const double scale = 2 / (32.0 * 32.0);
                EXPECT_LE(distance(exactOf(result),
                                   oracle::centred(oracle::scaled(oracle::sum(x, 8, 4, -1), scale),
                                                   8, 4)),
                          oracle::tolerance(x.size(), scale * oracle::magnitude(x)))
                    << code;
            }
        }
    });
}

TEST(FftImage, ThatIsExpandedIsGeneralOrNotAfterwards) {
    // 3 by 2: row 0 becomes z0, z1, z2, mean; it is symmetric when z1 is the mean's conjugate.
    const std::vector<ComplexFloat> symmetric{{3, 1}, {1, 0}, {0, 5}, {0, 0}, {1, -3}, {1, -3}};
    const darr_c2DArray image = imageOf(3, 2, symmetric); // mean (1, 0)
    EXPECT_EQ(four_FFT(image).DataType(), dtyp_Float);
    std::vector<ComplexFloat> general = symmetric;
    std::swap(general[1], general[2]);
    EXPECT_EQ(four_FFT(imageOf(3, 2, general)).DataType(), dtyp_ComplexFloat);
}

// ---- Calibration --------------------------------------------------------------------------------

TEST(FftLine, CalibrationFollowsTheExpandedSize) {
    const darr_c1DArray line = lineOf(counted(5), lineCal);
    EXPECT_EQ(four_FFT(line).Cal(), cal_c1DArrayCal(0, 1 / (8 * 0.25), 4));
    EXPECT_EQ(four_IFFT(line).Cal(), cal_c1DArrayCal(0, 1 / (8 * 0.25), 0));
}

TEST(FftImage, CalibrationFollowsTheExpandedSizesForwardAndTheOriginalOnesBackward) {
    const std::vector<ComplexFloat> general = someGeneral(5, 3, 21);
    const std::vector<darr_c2DArray> images = {
        imageOf(5, 3, counted(15), imageCal), imageOf(5, 3, general, imageCal),
        imageOf(5, 3, std::vector<ComplexFloat>(15, ComplexFloat(1)), imageCal)};
    for (const darr_c2DArray& image : images) {
        EXPECT_EQ(four_FFT(image).Cal(),
                  cal_c2DArrayCal(0, 1 / (8 * 0.25), 0, 1 / (4 * 0.5), 4, 2));
        EXPECT_EQ(four_IFFT(image).Cal(),
                  cal_c2DArrayCal(0, 1 / (5 * 0.25), 0, 1 / (3 * 0.5), 0, 0));
    }
}

// ---- Refusals and extremes ----------------------------------------------------------------------

TEST(FftLine, OfOneElementIsThatOfTwoEqualOnes) {
    EXPECT_EQ(distance(exactOf(four_FFT(lineOf<float>({3}))), {0, 3}), 0);
    EXPECT_EQ(distance(exactOf(four_IFFT(lineOf<float>({3}))), {6, 0}), 0);
}

TEST(FftImage, OfOneElementIsThatOfFourEqualOnes) {
    const darr_c2DArray one = imageOf<float>(1, 1, {3});
    EXPECT_EQ(distance(exactOf(four_FFT(one)), {0, 0, 0, 12 * 2 / 16.0L}), 0);
    EXPECT_EQ(distance(exactOf(four_IFFT(one)), {0, 0, 0, 12}), 0);
}

TEST(FftLine, WithoutElementsIsRefusedInTheMean) {
    EXPECT_EQ(refusalOf([] { four_FFT(darr_c1DArray()); }), noMean1D);
    EXPECT_EQ(refusalOf([] { four_IFFT(darr_c1DArray()); }), noMean1D);
}

TEST(FftImage, WithoutElementsIsRefusedInTheMean) {
    EXPECT_EQ(refusalOf([] { four_FFT(darr_c2DArray()); }), noMean2D);
    EXPECT_EQ(refusalOf([] { four_IFFT(darr_c2DArray(4, 0, dtyp_Float, {})); }), noMean2D);
}

TEST(FftLine, OfAnUnknownTypeIsRefused) {
    EXPECT_EQ(refusalOf([] { four_FFT(darr_c1DArray(4, dtyp_cDataType(0), {})); }), noConversion);
    EXPECT_EQ(refusalOf([] { four_IFFT(darr_c1DArray(4, dtyp_cDataType(11), {})); }), noConversion);
}

TEST(FftImage, OfAnUnknownTypeIsRefused) {
    EXPECT_EQ(refusalOf([] { four_FFT(darr_c2DArray(4, 4, dtyp_cDataType(0), {})); }),
              noConversion);
    EXPECT_EQ(refusalOf([] { four_IFFT(darr_c2DArray(3, 4, dtyp_cDataType(11), {})); }),
              noConversion);
}

TEST(FftLine, WithANaNIsNaNThroughout) {
    std::vector<float> values = counted(8);
    values[5] = std::numeric_limits<float>::quiet_NaN();
    for (const ComplexFloat& z : elementsOf<ComplexFloat>(four_FFT(lineOf(values))))
        EXPECT_TRUE(std::isnan(z.re) || std::isnan(z.im));
}

TEST(FftImage, WithANaNIsNaNThroughout) {
    std::vector<float> values = counted(8 * 8);
    values[21] = std::numeric_limits<float>::quiet_NaN();
    for (const ComplexFloat& z : elementsOf<ComplexFloat>(four_FFT(imageOf(8, 8, values))))
        EXPECT_TRUE(std::isnan(z.re) || std::isnan(z.im));
}

TEST(FftLine, AndImageTransformsSurviveWantOfMemory) {
    const darr_c1DArray line = lineOf(counted(700));
    const darr_c2DArray real = imageOf(20, 30, counted(600));
    const darr_c2DArray general = imageOf(20, 30, someGeneral(20, 30, 22));
    const darr_c2DArray spectrum = imageOf(32, 32, someSpectrum(32, 32, 23));
    const auto outlast = [](const auto& call) {
        const auto expected = exactOf(call());
        for (int allowed = 0;; ++allowed) {
            try {
                const FailingNew failing(allowed);
                const auto result = call();
                EXPECT_GT(allowed, 0);
                EXPECT_EQ(distance(exactOf(result), expected), 0);
                return;
            } catch (const std::bad_alloc&) {
                ASSERT_LT(allowed, 100);
            }
        }
    };
    outlast([&] { return four_FFT(line); });
    outlast([&] { return four_IFFT(line); });
    outlast([&] { return four_FFT(real); });
    outlast([&] { return four_IFFT(general); });
    outlast([&] { return four_IFFT(spectrum); });
}

TEST(RadixTwiddles, OfALongTransformAreNotKeptWhenMemoryRunsOut) {
    constexpr std::size_t kept = std::size_t{1} << 20;
    radix_cTwiddles{kept};
    // Between the attempts a block of another size takes the place of what the thread has spare.
    const auto isMade = [](std::size_t n, long allowed) {
        mem_cBlock(std::size_t{6} << 20);
        const FailingNew failing(allowed);
        try {
            radix_cTwiddles{n};
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    };
    EXPECT_TRUE(isMade(kept, 0));
    EXPECT_FALSE(isMade(4 * kept, 0));
    EXPECT_FALSE(isMade(2 * kept, 0));
    EXPECT_TRUE(isMade(kept, 1));
}

TEST(RadixRoom, IsKeptUpToThatOfALineOfTwoToTheTwentieth) {
    constexpr std::size_t kept = std::size_t{1} << 16; // values of a column of its own
    std::vector<ComplexFloat> column(2 * kept);
    const auto isRunWithoutMemory = [&](std::size_t n) {
        radix_Columns(column.data(), 1, n, 1, 1, radix_DoubleProducts);
        mem_cBlock(std::size_t{6} << 20);
        const FailingNew failing(0);
        try {
            radix_Columns(column.data(), 1, n, 1, 1, radix_DoubleProducts);
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    };
    EXPECT_TRUE(isRunWithoutMemory(kept));
    EXPECT_FALSE(isRunWithoutMemory(2 * kept));
}

TEST(FftThread, EndsWithTransformsThatAreRightAfterWhatItKeptHasGone) {
    struct sLast {
        std::function<void()> call;
        ~sLast() {
            if (call)
                call();
        }
    };
    const darr_c1DArray line = lineOf(oracle::someValues(1 << 18, 31));
    const darr_c2DArray real = imageOf(64, 128, counted(64 * 128));
    const darr_c2DArray general = imageOf(64, 64, someGeneral(64, 64, 32));
    const auto transforms = [&] {
        return std::vector{exactOf(four_FFT(line)), exactOf(four_IFFT(line.Selection(0, 100))),
                           exactOf(four_FFT(real)), exactOf(four_FFT(general))};
    };
    const std::vector<std::vector<Exact>> expected = transforms();
    std::vector<std::vector<Exact>> atTheEnd;
    const long live = liveAllocations();
    std::thread([&] {
        thread_local sLast last; // made first, so it goes last
        last.call = [&] { atTheEnd = transforms(); };
        transforms();
    }).join();
    ASSERT_EQ(atTheEnd.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(distance(atTheEnd[i], expected[i]), 0) << i;
    atTheEnd = std::vector<std::vector<Exact>>();
    EXPECT_EQ(liveAllocations(), live);
}
