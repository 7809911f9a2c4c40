#include "dataprocessing/filter/smth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "dataprocessing/reduce/stat.h"
#include "tests/support/arrays.h"
#include "tests/support/bounds.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"
#include "tests/support/shares.h"

namespace {

/// A number of a complex element type's parts in extended precision.
struct sValue {
    long double re = 0;
    long double im = 0;
};

template<class T>
sValue valueOf(const T& element) {
    if constexpr (isComplexElement<T>)
        return {element.re, element.im};
    else
        return {static_cast<long double>(element), 0};
}

/// Differs from `wanted` by no more than that many epsilon of double of that size and the last
/// rounding.
template<class T>
void expectValue(const T& found, const sValue& wanted, long double scale, double epsilons) {
    using Part = typename PartOf<T>::type;
    const auto check = [&](long double part, long double expected) {
        EXPECT_LE(std::fabs(part - expected),
                  scale * epsilons * std::numeric_limits<double>::epsilon() +
                      std::fabs(expected) * std::numeric_limits<Part>::epsilon());
    };
    check(valueOf(found).re, wanted.re);
    check(valueOf(found).im, wanted.im);
}

/// One step at a time to the element that stands at `i`, beyond the ends too.
int mirrored(int i, int count) {
    while (i < 0 || i >= count)
        i = i < 0 ? -1 - i : 2 * count - 1 - i;
    return i;
}

double gaussBound() {
    static const double bound = statedBound("`smth_Gauss`");
    return bound;
}

std::vector<long double> gaussWeights(double sigma) {
    const int reach = static_cast<int>(4 * sigma + 0.5);
    std::vector<long double> weights;
    long double sum = 0;
    for (int d = -reach; d <= reach; ++d) {
        weights.push_back(sigma > 0 ? std::exp(-0.5L * d * d / (1.0L * sigma * sigma)) : 1);
        sum += weights.back();
    }
    for (long double& weight : weights)
        weight /= sum;
    return weights;
}

/// The weighted sum around (x, y) of an image.
template<class T>
sValue averageAt(const std::vector<T>& elements, int sizeX, int sizeY, int x, int y,
                 const std::vector<long double>& alongX, const std::vector<long double>& alongY) {
    sValue sum;
    const int reachX = static_cast<int>(alongX.size() / 2);
    const int reachY = static_cast<int>(alongY.size() / 2);
    for (int dy = -reachY; dy <= reachY; ++dy)
        for (int dx = -reachX; dx <= reachX; ++dx) {
            const long double weight = alongX[static_cast<std::size_t>(dx + reachX)] *
                                       alongY[static_cast<std::size_t>(dy + reachY)];
            const sValue value = valueOf(elements[static_cast<std::size_t>(
                mirrored(y + dy, sizeY) * sizeX + mirrored(x + dx, sizeX))]);
            sum.re += weight * value.re;
            sum.im += weight * value.im;
        }
    return sum;
}

template<class T>
void expectGauss(int sizeX, int sizeY, double sigmaX, double sigmaY, std::mt19937& random) {
    const auto elements = randomElements<T>(sizeX * sizeY, random);
    const cal_c2DArrayCal cal(5, 0.5, -0.3, 2, 1, 7);
    const darr_c2DArray result =
        smth_Gauss(planeOf(sizeX, sizeY, elements, cal), 0.5 * sigmaX, 2 * sigmaY);
    ASSERT_EQ(result.DataType(), dtyp_Of<ResultOf<T>>());
    ASSERT_EQ(result.SizeX(), sizeX);
    ASSERT_EQ(result.SizeY(), sizeY);
    ASSERT_EQ(result.Cal(), cal);
    const auto alongX = gaussWeights(sigmaX);
    const auto alongY = gaussWeights(sigmaY);
    const auto found = result.Elements<ResultOf<T>>();
    for (int y = 0; y < sizeY; ++y)
        for (int x = 0; x < sizeX; ++x)
            expectValue(found[static_cast<std::size_t>(y * sizeX + x)],
                        averageAt(elements, sizeX, sizeY, x, y, alongX, alongY), 120,
                        gaussBound() * static_cast<double>(alongX.size() + alongY.size()));
}

/// Solves for the polynomial around the middle of `width` places by Gaussian elimination with
/// pivots, in powers of the place: its derivative at `at`.
sValue fittedDerivative(const std::vector<sValue>& values, int order, int derivative, int at) {
    const int n = order + 1;
    const int half = static_cast<int>(values.size()) / 2;
    std::vector<std::vector<long double>> a(static_cast<std::size_t>(n),
                                            std::vector<long double>(static_cast<std::size_t>(n)));
    std::vector<sValue> b(static_cast<std::size_t>(n));
    // Places are divided by the half width, so that powers stay near 1.
    const long double unit = half > 0 ? half : 1;
    for (std::size_t k = 0; k < values.size(); ++k)
        for (std::size_t i = 0; i < b.size(); ++i) {
            const long double x = (static_cast<int>(k) - half) / unit;
            for (std::size_t j = 0; j < b.size(); ++j)
                a[i][j] += std::pow(x, static_cast<int>(i + j));
            b[i].re += values[k].re * std::pow(x, static_cast<int>(i));
            b[i].im += values[k].im * std::pow(x, static_cast<int>(i));
        }
    for (std::size_t c = 0; c < b.size(); ++c) {
        std::size_t pivot = c;
        for (std::size_t r = c; r < b.size(); ++r)
            if (std::fabs(a[r][c]) > std::fabs(a[pivot][c]))
                pivot = r;
        std::swap(a[c], a[pivot]);
        std::swap(b[c], b[pivot]);
        for (std::size_t r = 0; r < b.size(); ++r) {
            if (r == c)
                continue;
            const long double factor = a[r][c] / a[c][c];
            for (std::size_t j = c; j < b.size(); ++j)
                a[r][j] -= factor * a[c][j];
            b[r].re -= factor * b[c].re;
            b[r].im -= factor * b[c].im;
        }
    }
    sValue sum;
    for (int j = derivative; j < n; ++j) {
        long double term = std::pow((at - half) / unit, j - derivative);
        for (int d = 0; d < derivative; ++d)
            term *= (j - d) / unit;
        const auto row = static_cast<std::size_t>(j);
        sum.re += term * b[row].re / a[row][row];
        sum.im += term * b[row].im / a[row][row];
    }
    return sum;
}

/// The median by sorting each neighbourhood; a NaN is the largest.
template<class T>
T medianAt(const std::vector<T>& elements, int sizeX, int sizeY, int x, int y, int widthX,
           int widthY) {
    std::vector<T> near;
    for (int dy = -(widthY / 2); dy <= widthY / 2; ++dy)
        for (int dx = -(widthX / 2); dx <= widthX / 2; ++dx)
            near.push_back(elements[static_cast<std::size_t>(mirrored(y + dy, sizeY) * sizeX +
                                                             mirrored(x + dx, sizeX))]);
    std::sort(near.begin(), near.end(), [](T a, T b) {
        if (a != a || b != b)
            return a == a && b != b;
        return a < b || (a == b && std::signbit(static_cast<double>(a)) &&
                         !std::signbit(static_cast<double>(b)));
    });
    return near[near.size() / 2];
}

template<class T>
void expectMedians(const std::vector<T>& elements, int sizeX, int sizeY, int widthX, int widthY) {
    SCOPED_TRACE(std::to_string(sizeX) + " x " + std::to_string(sizeY) + " by " +
                 std::to_string(widthX) + " x " + std::to_string(widthY));
    const cal_c2DArrayCal cal(5, 0.5, -0.3, 2, 1, 7);
    const darr_c2DArray result = smth_Median(planeOf(sizeX, sizeY, elements, cal), widthX, widthY);
    ASSERT_EQ(result.DataType(), dtyp_Of<T>());
    ASSERT_EQ(result.Cal(), cal);
    const auto found = elementsOf<T>(result);
    for (int y = 0; y < sizeY; ++y)
        for (int x = 0; x < sizeX; ++x)
            ASSERT_TRUE(isSameElement(found[static_cast<std::size_t>(y * sizeX + x)],
                                      medianAt(elements, sizeX, sizeY, x, y, widthX, widthY)))
                << x << ", " << y;
    if (sizeY == 1 && widthY == 1) {
        const auto line = elementsOf<T>(smth_Median(lineOf(elements), widthX));
        EXPECT_TRUE(std::equal(line.begin(), line.end(), found.begin(), isSameElement<T>));
    }
}

} // namespace

TEST(GaussianSmoothing, IsTheWeightedAverageForEveryType) {
    std::mt19937 random(1);
    forEachElementType([&]<class T>(int code) {
        SCOPED_TRACE(code);
        expectGauss<T>(1, 1, 2, 3, random);
        expectGauss<T>(37, 1, 1.5, 0, random);
        expectGauss<T>(1, 23, 0, 2.2, random);
        expectGauss<T>(13, 9, 0.9, 1.7, random);
        expectGauss<T>(5, 3, 6, 4, random); // mirrored more than once
        expectGauss<T>(20, 20, 0.1, 0, random);
    });
}

TEST(GaussianSmoothing, OfALineIsThatOfAnImageOfOneRow) {
    std::mt19937 random(2);
    for (const int count : {1, 2, 7, 2047, 2048, 2049, 4096, 4100}) {
        const auto elements = randomElements<float>(count, random);
        const darr_c1DArray line =
            smth_Gauss(lineOf(elements, cal_c1DArrayCal(1.7e9, 60, 0)), 60 * 3.3);
        EXPECT_EQ(line.Cal(), cal_c1DArrayCal(1.7e9, 60, 0));
        const auto weights = gaussWeights(3.3);
        const auto found = elementsOf<float>(line);
        for (int i = 0; i < count; ++i)
            expectValue(found[static_cast<std::size_t>(i)],
                        averageAt(elements, count, 1, i, 0, weights, {1}), 120,
                        gaussBound() * static_cast<double>(weights.size()));
    }
}

TEST(GaussianSmoothing, KeepsTheSum) {
    std::mt19937 random(3);
    const auto elements = randomElements<double>(300, random);
    const double sum = stat_Sum(lineOf(elements)).As<double>();
    for (const double sigma : {0.0, 0.3, 2.0, 50.0, 1000.0})
        EXPECT_NEAR(stat_Sum(smth_Gauss(lineOf(elements), sigma)).As<double>(), sum, 1e-12 * sum);
}

TEST(GaussianSmoothing, OfNegativeDeltasIsThatOfTheirMagnitude) {
    const std::vector<double> elements = {0, 0, 8, 0, 1};
    EXPECT_EQ(elementsOf<double>(smth_Gauss(lineOf(elements, {0, -2, 0}), 2.4)),
              elementsOf<double>(smth_Gauss(lineOf(elements, {0, 2, 0}), 2.4)));
}

TEST(GaussianSmoothing, SpreadsNaNsAsFarAsItReaches) {
    std::vector<double> elements(40, 1.0);
    elements[20] = notANumber;
    const auto smooth = elementsOf<double>(smth_Gauss(lineOf(elements), 2));
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(std::isnan(smooth[static_cast<std::size_t>(i)]), std::abs(i - 20) <= 8) << i;
}

TEST(GaussianSmoothing, RefusesSigmasWithoutAMeaning) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3});
    const darr_c2DArray plane = planeOf<int>(3, 1, {1, 2, 3});
    for (const double sigma : {-1.0, -5e-324, notANumber, infinity, 1048577.0, 1e300}) {
        EXPECT_EQ(refusalOf([&] { smth_Gauss(line, sigma); }), "smth:4") << sigma;
        EXPECT_EQ(refusalOf([&] { smth_Gauss(plane, sigma, 0); }), "smth:4") << sigma;
        EXPECT_EQ(refusalOf([&] { smth_Gauss(plane, 0, sigma); }), "smth:4") << sigma;
    }
    for (const double delta : {0.0, notANumber}) {
        EXPECT_EQ(refusalOf([&] { smth_Gauss(lineOf<int>({1}, {0, delta, 0}), 1); }), "smth:4");
        EXPECT_EQ(refusalOf([&] { smth_Gauss(lineOf<int>({1}, {0, delta, 0}), 0); }), "none");
    }
}

TEST(PolynomialSmoothing, IsTheLeastSquaresFitForEveryType) {
    const double bound = statedBound("`smth_SavitzkyGolay`");
    std::mt19937 random(4);
    const std::array<std::array<int, 3>, 9> table = {{{1, 0, 0},
                                                      {5, 0, 0},
                                                      {5, 2, 0},
                                                      {5, 2, 1},
                                                      {7, 3, 2},
                                                      {9, 4, 3},
                                                      {15, 6, 0},
                                                      {5, 4, 0},
                                                      {5, 4, 4}}};
    forEachElementType([&]<class T>(int code) {
        for (const auto& [width, order, derivative] : table)
            for (const int count : {width, width + 1, 41}) {
                SCOPED_TRACE(std::to_string(code) + ": " + std::to_string(count) + " by " +
                             std::to_string(width) + ", " + std::to_string(order) + ", " +
                             std::to_string(derivative));
                const auto elements = randomElements<T>(count, random);
                const cal_c1DArrayCal cal(3, 0.5, 1);
                const darr_c1DArray result =
                    smth_SavitzkyGolay(lineOf(elements, cal), width, order, derivative);
                ASSERT_EQ(result.DataType(), dtyp_Of<ResultOf<T>>());
                ASSERT_EQ(result.Size(), count);
                ASSERT_EQ(result.Cal(), cal);
                const auto found = result.template Elements<ResultOf<T>>();
                for (int i = 0; i < count; ++i) {
                    const int first = std::clamp(i - width / 2, 0, count - width);
                    std::vector<sValue> near;
                    for (int k = first; k < first + width; ++k)
                        near.push_back(valueOf(elements[static_cast<std::size_t>(k)]));
                    sValue wanted = fittedDerivative(near, order, derivative, i - first);
                    wanted.re *= std::pow(2.0L, derivative);
                    wanted.im *= std::pow(2.0L, derivative);
                    expectValue(found[static_cast<std::size_t>(i)], wanted,
                                120 * std::pow(8.0L, derivative), bound * width);
                }
            }
    });
}

TEST(PolynomialSmoothing, KeepsPolynomialsOfItsOrder) {
    for (const int order : {0, 1, 3, 8, 15, 30})
        for (const int width : {order + 1 + order % 2, 31, 101}) {
            if (width <= order || width % 2 == 0)
                continue;
            // A Chebyshev polynomial, which stays between -1 and 1 over the array.
            std::vector<double> elements;
            for (int i = 0; i < 150; ++i)
                elements.push_back(std::cos(order * std::acos(i / 74.5 - 1)));
            const auto smooth =
                elementsOf<double>(smth_SavitzkyGolay(lineOf(elements), width, order));
            for (std::size_t i = 0; i < elements.size(); ++i)
                ASSERT_NEAR(smooth[i], elements[i], 1e-11) << order << ' ' << width << ' ' << i;
        }
}

TEST(PolynomialSmoothing, OfADerivativeAboveItsOrderIsZero) {
    const darr_c1DArray line = lineOf<float>({1, std::nanf(""), -3, 4, 5});
    const darr_c1DArray result = smth_SavitzkyGolay(line, 3, 1, 2);
    for (const float element : result.Elements<float>())
        EXPECT_TRUE(isSameElement(element, 0.0F));
}

TEST(PolynomialSmoothing, DoesNotTakeFromBeyondTheEnds) {
    std::vector<double> elements(30, 2.0);
    elements[12] = notANumber;
    const auto smooth = elementsOf<double>(smth_SavitzkyGolay(lineOf(elements), 5, 2));
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(std::isnan(smooth[static_cast<std::size_t>(i)]), std::abs(i - 12) <= 2) << i;
}

TEST(PolynomialSmoothing, RefusesWhatDoesNotFit) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3, 4, 5});
    for (const int width : {0, -1, -3, 2, 4})
        EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(line, width, 0); }), "smth:1") << width;
    EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(line, 3, -1); }), "smth:2");
    EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(line, 3, 3); }), "smth:2");
    EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(line, 33, 31); }), "smth:2");
    EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(line, 3, 2, -1); }), "smth:3");
    for (const double delta : {0.0, -0.0, std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()}) {
        darr_c1DArray flat = line;
        flat.SetDeltaX(delta);
        EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(flat, 3, 2, 1); }), "smth:6") << delta;
        EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(flat, 3, 2); }), "none") << delta;
    }
    EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(line, 7, 2); }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(line, 5, 2); }), "none");
}

TEST(MedianSmoothing, IsTheMiddleOneForEveryType) {
    std::mt19937 random(5);
    forEachElementType([&]<class T>(int code) {
        if constexpr (std::is_arithmetic_v<T>) {
            SCOPED_TRACE(code);
            const auto elements = randomElements<T>(400, random);
            for (const auto& [sizeX, sizeY] :
                 {std::pair(1, 1), std::pair(400, 1), std::pair(1, 19), std::pair(33, 12)})
                for (const auto& [widthX, widthY] :
                     {std::pair(1, 1), std::pair(3, 1), std::pair(1, 3), std::pair(3, 3),
                      std::pair(5, 5), std::pair(7, 7), std::pair(9, 7), std::pair(51, 1)})
                    expectMedians(
                        std::vector<T>(elements.begin(), elements.begin() + sizeX * sizeY), sizeX,
                        sizeY, widthX, widthY);
        }
    });
}

TEST(MedianSmoothing, IsTheSameForAllWidthsOnBothWays) {
    // Up to 49 elements are sorted side by side, more in a window that slides.
    std::mt19937 random(6);
    const auto elements = randomElements<short>(130, random);
    for (int width = 1; width <= 75; width += 2)
        expectMedians(elements, 130, 1, width, 1);
}

TEST(MedianSmoothing, CrossesStrips) {
    std::mt19937 random(7);
    for (const int count : {2047, 2048, 2049, 4101})
        for (const int width : {3, 61})
            expectMedians(randomElements<unsigned char>(count, random), count, 1, width, 1);
}

TEST(MedianSmoothing, CountsANaNAsTheLargest) {
    const double least = std::numeric_limits<double>::lowest();
    std::vector<double> elements = {1,        notANumber, 3,    -notANumber, notANumber, 2,
                                    infinity, -infinity,  -0.0, 0.0,         -0.0,       least,
                                    5,        notANumber, 7,    -3,          -2,         -5e-324};
    for (const int width : {1, 3, 5, 7, 51})
        expectMedians(elements, 18, 1, width, 1);
    const std::vector<float> floats(elements.begin(), elements.end());
    for (const int width : {1, 3, 5, 7, 51})
        expectMedians(floats, 18, 1, width, 1);
}

TEST(MedianSmoothing, RefusesWhatItCannotServe) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3});
    const darr_c2DArray plane = planeOf<int>(3, 1, {1, 2, 3});
    for (const int width : {0, -1, 2}) {
        EXPECT_EQ(refusalOf([&] { smth_Median(line, width); }), "smth:1");
        EXPECT_EQ(refusalOf([&] { smth_Median(plane, width, 1); }), "smth:1");
        EXPECT_EQ(refusalOf([&] { smth_Median(plane, 1, width); }), "smth:1");
    }
    for (const auto type : {dtyp_ComplexFloat, dtyp_ComplexDouble})
        EXPECT_EQ(refusalOf([&] { smth_Median(darr_c1DArray(3, type, {}), 3); }), "smth:5");
    EXPECT_EQ(refusalOf([&] { smth_Median(plane, 65537, 65537); }), sizeRefusal);
}

TEST(Smoothing, OfNothingIsNothing) {
    const cal_c1DArrayCal cal(1, 2, 3);
    const darr_c1DArray empty(0, dtyp_Int16, cal);
    EXPECT_EQ(smth_SavitzkyGolay(empty, 5, 2).Size(), 0);
    EXPECT_EQ(smth_SavitzkyGolay(empty, 5, 2).DataType(), dtyp_Double);
    EXPECT_EQ(smth_Gauss(empty, 5).Cal(), cal);
    EXPECT_EQ(smth_Median(empty, 5).DataType(), dtyp_Int16);
    const darr_c2DArray rowless(4, 0, dtyp_Float, {});
    EXPECT_EQ(smth_Gauss(rowless, 1, 1).SizeX(), 4);
    EXPECT_EQ(smth_Median(rowless, 3, 3).SizeX(), 4);
    EXPECT_EQ(smth_Median(darr_c2DArray(0, 4, dtyp_Float, {}), 3, 3).SizeY(), 4);
}

TEST(Smoothing, RefusesUnknownElementTypes) {
    const darr_c1DArray line(3, dtyp_cDataType(11), {});
    EXPECT_EQ(refusalOf([&] { smth_SavitzkyGolay(line, 3, 1); }), "conv:1");
    EXPECT_EQ(refusalOf([&] { smth_Gauss(line, 1); }), "conv:1");
    EXPECT_EQ(refusalOf([&] { smth_Median(line, 1); }), "conv:1");
}
