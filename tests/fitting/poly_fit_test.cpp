#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <new>
#include <random>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/fitting/plft.h"
#include "dataprocessing/fitting/pwft.h"
#include "tests/failing_new.h"
#include "tests/fitting/certified.h"
#include "tests/fitting/listener.h"
#include "tests/support/constants.h"
#include "tests/support/refusal_expected.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Pointwise;

/// A polynomial that is fitted to points as they are given.
class Polynomial final : public plft_c1DPolyFittingFunction {
public:
    using plft_c1DPolyFittingFunction::plft_c1DPolyFittingFunction;
    void fit(const std::vector<double>& x, const std::vector<double>& y) {
        RefitValues(arr_cC_Array<double>(std::span<const double>(x)),
                    arr_cC_Array<double>(std::span<const double>(y)));
    }
    void fit(const std::vector<double>& x, const std::vector<double>& y,
             const std::vector<double>& deviations) {
        RefitValues(arr_cC_Array<double>(std::span<const double>(x)),
                    arr_cC_Array<double>(std::span<const double>(y)),
                    arr_cC_Array<double>(std::span<const double>(deviations)));
    }
};

/// The same about the middle of the points.
class OffsetPolynomial final : public plft_c1DOffsetPolyFittingFunction {
public:
    using plft_c1DOffsetPolyFittingFunction::plft_c1DOffsetPolyFittingFunction;
    void fit(const std::vector<double>& x, const std::vector<double>& y) {
        RefitValues(arr_cC_Array<double>(std::span<const double>(x)),
                    arr_cC_Array<double>(std::span<const double>(y)));
    }
    void fit(const std::vector<double>& x, const std::vector<double>& y,
             const std::vector<double>& deviations) {
        RefitValues(arr_cC_Array<double>(std::span<const double>(x)),
                    arr_cC_Array<double>(std::span<const double>(y)),
                    arr_cC_Array<double>(std::span<const double>(deviations)));
    }
};

/// A polynomial in x - offset by the normal equations in extended precision, of powers of x -
/// offset over the largest of them.
struct NormalEquations {
    NormalEquations(int order, const std::vector<double>& x, const std::vector<double>& y,
                    const std::vector<double>& deviations, double offset = 0)
        : coefficients(static_cast<std::size_t>(order) + 1) {
        const std::size_t n = coefficients.size();
        long double scale = 0;
        for (const double position : x)
            scale = std::max(scale, std::fabs(static_cast<long double>(position) - offset));
        std::vector<std::vector<long double>> m(n, std::vector<long double>(2 * n + 1));
        const auto weight = [&](std::size_t i) {
            const long double deviation = deviations.empty() ? 1 : deviations[i];
            return 1 / (deviation * deviation);
        };
        const auto power = [&](std::size_t i, std::size_t j) {
            return std::pow((static_cast<long double>(x[i]) - offset) / scale,
                            static_cast<long double>(j));
        };
        for (std::size_t j = 0; j < n; ++j) {
            m[j][n + j] = 1;
            for (std::size_t i = 0; i < x.size(); ++i) {
                m[j][2 * n] += power(i, j) * y[i] * weight(i);
                for (std::size_t k = 0; k < n; ++k)
                    m[j][k] += power(i, j) * power(i, k) * weight(i);
            }
        }
        for (std::size_t p = 0; p < n; ++p)
            for (std::size_t r = 0; r < n; ++r) {
                const long double by = m[r][p] / m[p][p];
                for (std::size_t c = 0; r != p && c <= 2 * n; ++c)
                    m[r][c] -= by * m[p][c];
            }
        for (std::size_t i = 0; i < x.size(); ++i) {
            long double residual = y[i];
            for (std::size_t j = 0; j < n; ++j)
                residual -= m[j][2 * n] / m[j][j] * power(i, j);
            residualSum += residual * residual * weight(i);
        }
        const long double variance =
            deviations.empty() ? residualSum / static_cast<long double>(x.size() - n) : 1;
        for (std::size_t j = 0; j < n; ++j) {
            const auto size = [&](std::size_t k) {
                return std::pow(scale, static_cast<long double>(k));
            };
            coefficients[j] = m[j][2 * n] / m[j][j] / size(j);
            covariance.emplace_back();
            for (std::size_t k = 0; k < n; ++k)
                covariance[j].push_back(m[j][n + k] / m[j][j] / size(j) / size(k) * variance);
        }
    }

    std::vector<long double> coefficients;
    std::vector<std::vector<long double>> covariance;
    long double residualSum = 0;
};

/// Holds a fit against the normal equations.
void expectFitOf(const plft_c1DPolyFittingFunction& found, const NormalEquations& expected,
                 std::size_t points, double tolerance) {
    const int n = found.Order() + 1;
    EXPECT_EQ(found.Rank(), n);
    EXPECT_EQ(found.DegreesOfFreedom(), static_cast<int>(points) - n);
    const auto sum = static_cast<double>(expected.residualSum);
    EXPECT_NEAR(found.ResidualSum() / sum, 1, tolerance);
    const arr_cC_Array<double> errors = found.StandardErrors();
    for (int i = 0; i < n; ++i) {
        const auto row = static_cast<std::size_t>(i);
        const auto error = static_cast<double>(std::sqrt(expected.covariance[row][row]));
        EXPECT_NEAR(found.Coefficients()[i] / error,
                    static_cast<double>(expected.coefficients[row]) / error,
                    tolerance *
                        (1 + std::fabs(static_cast<double>(expected.coefficients[row]) / error)));
        EXPECT_NEAR(errors[i] / error, 1, tolerance);
        for (int j = 0; j < n; ++j) {
            const auto column = static_cast<std::size_t>(j);
            const long double size =
                std::sqrt(expected.covariance[row][row] * expected.covariance[column][column]);
            EXPECT_NEAR(static_cast<double>(found.Covariance()(i, j) / size),
                        static_cast<double>(expected.covariance[row][column] / size), tolerance);
        }
    }
}

std::vector<double> listOf(const arr_cC_Array<double>& values) {
    return {values.begin(), values.end()};
}

const ExpectRefusal expectRefusal("poly_fit");
const ExpectRefusal expectUserRefusal("poly_fit", ExpectRefusal::User);

long double valueAt(const std::vector<double>& coefficients, double x) {
    long double y = 0;
    for (std::size_t j = coefficients.size(); j-- > 0;)
        y = y * x + coefficients[j];
    return y;
}

class PolynomialFit : public testing::Test {
protected:
    std::vector<double> fit(int order, const std::vector<double>& x, const std::vector<double>& y) {
        Polynomial polynomial(order, selection);
        polynomial.fit(x, y);
        return listOf(polynomial.Coefficients());
    }
    /// Fits points on this polynomial.
    std::vector<double> fitExact(const std::vector<double>& coefficients,
                                 const std::vector<double>& x) {
        std::vector<double> y;
        for (const double xi : x)
            y.push_back(static_cast<double>(valueAt(coefficients, xi)));
        return fit(static_cast<int>(coefficients.size()) - 1, x, y);
    }

    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
};

TEST_F(PolynomialFit, IsZeroUntilItIsFitted) {
    const Polynomial polynomial(3, selection);
    EXPECT_EQ(polynomial.Order(), 3);
    EXPECT_THAT(listOf(polynomial.Coefficients()), ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(polynomial.ChiSquared(), 0);
    arr_cC_Array<double> values(4, 9.0);
    polynomial.Load(values, cal_c1DArrayCal::Default);
    EXPECT_THAT(listOf(values), Each(0));
}

TEST_F(PolynomialFit, NegativeOrderIsRefused) {
    for (const int order : {-1, -2, std::numeric_limits<int>::min()})
        expectRefusal(22, [&] { Polynomial(order, selection); });
    EXPECT_THROW(Polynomial(std::numeric_limits<int>::max(), selection), arr_cSizeException);
    selection.AddLocalRange(rnge_c1DRange(1, 2)); // nobody is registered
}

TEST_F(PolynomialFit, OrderZeroIsTheMean) {
    const std::vector<double> c = fit(0, {1, 5, 7, 8}, {2, 4, 9, 1});
    EXPECT_NEAR(c[0], 4, 16 * epsilon);
}

TEST_F(PolynomialFit, ExactPointsGiveTheirCoefficientsAndChiSquaredStaysZero) {
    Polynomial polynomial(2, selection);
    polynomial.fit({0, 1, 2, 3, 4}, {1, 0, 3, 10, 21});
    EXPECT_THAT(listOf(polynomial.Coefficients()),
                Pointwise(testing::DoubleNear(1e-13), {1.0, -3.0, 2.0}));
    EXPECT_EQ(polynomial.ChiSquared(), 0);
    polynomial.fit({0, 1, 2, 3, 4}, {1, 0, 30, 10, 21});
    EXPECT_EQ(polynomial.ChiSquared(), 0) << "of points that lie on none, too";
}

TEST_F(PolynomialFit, ScatteredPointsGiveTheLineOfTheClosedForm) {
    const std::vector<double> x = {1, 2, 4, 7, 11};
    const std::vector<double> y = {3, 2, 8, 7, 20};
    long double sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sx += x[i];
        sy += y[i];
        sxx += static_cast<long double>(x[i]) * x[i];
        sxy += static_cast<long double>(x[i]) * y[i];
    }
    const long double slope = (5 * sxy - sx * sy) / (5 * sxx - sx * sx);
    const std::vector<double> c = fit(1, x, y);
    EXPECT_NEAR(c[1], static_cast<double>(slope), 50 * epsilon);
    EXPECT_NEAR(c[0], static_cast<double>((sy - slope * sx) / 5), 50 * epsilon);
}

// Numbers of points around the ends of whatever they are taken in.
TEST_F(PolynomialFit, ResidualsAreOrthogonalToEveryPower) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (const int order : {0, 1, 2, 3, 5, 8})
        for (const int count : {9, 10, 63, 64, 65, 127, 128, 129, 130, 255, 256, 257, 1000}) {
            std::vector<double> x, y;
            for (int i = 0; i < count; ++i) {
                x.push_back(uniform(random));
                y.push_back(uniform(random));
            }
            const std::vector<double> c = fit(order, x, y);
            for (int j = 0; j <= order; ++j) {
                long double product = 0;
                for (std::size_t i = 0; i < x.size(); ++i)
                    product +=
                        std::pow(static_cast<long double>(x[i]), j) * (y[i] - valueAt(c, x[i]));
                EXPECT_NEAR(static_cast<double>(product), 0, 2e4 * count * epsilon)
                    << "order " << order << ", " << count << " points, power " << j;
            }
        }
}

TEST_F(PolynomialFit, NoMorePointsThanTheOrderGiveZeroAndAZeroCurve) {
    Polynomial polynomial(2, selection);
    for (int count = 0; count <= 2; ++count) {
        polynomial.fit({1, 2, 3}, {4, 5, 7});
        ASSERT_NE(polynomial.Coefficients()[0], 0);
        std::vector<double> x(static_cast<std::size_t>(count), 2.0);
        polynomial.fit(x, x);
        EXPECT_THAT(listOf(polynomial.Coefficients()), ElementsAre(0, 0, 0)) << count;
        arr_cC_Array<double> values(3, 9.0);
        polynomial.Load(values, cal_c1DArrayCal::Default);
        EXPECT_THAT(listOf(values), ElementsAre(0, 0, 0));
    }
    polynomial.fit({1, 2, 3}, {4, 5, 7});
    EXPECT_THAT(listOf(polynomial.Coefficients()),
                Pointwise(testing::DoubleNear(1e-12), {4.0, -0.5, 0.5}))
        << "one point more than the order is enough";
}

TEST_F(PolynomialFit, TooFewPointsAreNoErrorWhateverTheirPositions) {
    Polynomial polynomial(2, selection);
    polynomial.fit({0, 0}, {1, 1});
    EXPECT_THAT(listOf(polynomial.Coefficients()), ElementsAre(0, 0, 0));
}

TEST_F(PolynomialFit, SizesThatDifferAreRefused) {
    Polynomial polynomial(1, selection);
    expectRefusal(72, [&] { polynomial.fit({1, 2, 3}, {1, 2}); });
    expectRefusal(72, [&] { polynomial.fit({}, {1}); });
    for (const int size : {0, 2, 4}) {
        arr_cC_Array<double> x(3, 1.0);
        arr_cC_Array<double> y(size, 1.0);
        expectRefusal(44, [&] { polynomial.LoadValues(x, y); });
    }
}

TEST_F(PolynomialFit, PositionsThatAreAllZeroAreRefused) {
    Polynomial polynomial(1, selection);
    for (const double x : {0.0, -0.0, 1.1754943508222874e-38, -1e-300})
        expectRefusal(105, [&] { polynomial.fit({x, 0, x}, {1, 2, 3}); });
    Polynomial mean(0, selection);
    expectRefusal(105, [&] { mean.fit({0, 0}, {1, 2}); });
    polynomial.fit({1.1754943508222875e-38, 0, 0}, {3, 1, 1});
    EXPECT_NEAR(polynomial.Coefficients()[0], 1, 1e-14);
    polynomial.fit({-1.1754943508222875e-38, 0, 0}, {3, 1, 1});
    EXPECT_NEAR(polynomial.Coefficients()[0], 1, 1e-14) << "the magnitude counts";
}

TEST_F(PolynomialFit, SelectionWithoutPositionsButZeroIsRefused) {
    selection.AddLocalRange(rnge_c1DRange(0, 1));
    Polynomial polynomial(0, selection);
    expectRefusal(105, [&] { polynomial.Refit(darr_c1DArray(9, pnum_cNumber(1), {})); });
}

TEST_F(PolynomialFit, EveryScaleFitsAsWell) {
    const std::vector<double> near = {1, -0.5, 0.25, 2};
    for (const double scale : {1e-30, 1e-6, 1e-3, 1.0, 1000.0, 1e6, 1e30}) {
        std::vector<double> x, c;
        for (int i = -10; i <= 10; ++i)
            x.push_back(i / 10.0 * scale);
        for (std::size_t j = 0; j < near.size(); ++j)
            c.push_back(near[j] / std::pow(scale, j));
        const std::vector<double> fitted = fitExact(c, x);
        for (std::size_t j = 0; j < c.size(); ++j)
            EXPECT_NEAR(fitted[j] / c[j], 1, 100 * epsilon) << scale << ' ' << j;
    }
}

// x up to 1000 on both sides of 0 behaves as x up to 1: a power of two scales without rounding.
TEST_F(PolynomialFit, PowersOfTwoScaleWithoutAnyRounding) {
    std::vector<double> x, wide, y;
    for (int i = -20; i <= 20; ++i) {
        x.push_back(i);
        wide.push_back(i * 1024.0);
        y.push_back(std::sin(i));
    }
    const std::vector<double> c = fit(3, x, y);
    const std::vector<double> d = fit(3, wide, y);
    for (int j = 0; j <= 3; ++j)
        EXPECT_EQ(d[static_cast<std::size_t>(j)] * std::pow(1024.0, j),
                  c[static_cast<std::size_t>(j)]);
}

// Positions far from zero and close together cannot tell the powers apart: the small singular
// values are left out, and the coefficients stay small.
TEST_F(PolynomialFit, WhatTheDataCannotTellIsLeftOut) {
    std::vector<double> x, y;
    for (int i = 0; i < 50; ++i) {
        x.push_back(1e6 + i);
        y.push_back(7);
    }
    const std::vector<double> c = fit(1, x, y);
    EXPECT_NEAR(c[0], 3.5, 1e-3) << "shared between both";
    EXPECT_NEAR(c[1] * 1e6, 3.5, 1e-3);
    EXPECT_NEAR(static_cast<double>(valueAt(c, 1e6 + 25)), 7, 1e-3);
}

// Positions 1 and 1 - d, in turn, have singular values in the ratio d / (4 - 2 d + d^2), in as many
// blocks of points as there may be.
TEST_F(PolynomialFit, SingularValuesBelowOneHundredThousandthAreLeftOutHoweverManyPointsThereAre) {
    for (const std::size_t count : {2U, 128U, 1000U})
        for (const double ratio : {0.9999e-5, 1.0001e-5}) {
            const double d = 4 * ratio / (1 + 2 * ratio);
            std::vector<double> x, y;
            for (std::size_t i = 0; i < count; ++i) {
                x.push_back(i % 2 == 0 ? 1 : 1 - d);
                y.push_back(i % 2 == 0 ? 0 : 1);
            }
            const std::vector<double> c = fit(1, x, y);
            const double slope = ratio < 1e-5 ? 0.25 : -1 / d;
            EXPECT_NEAR(c[1], slope, 1e-4 * std::fabs(slope)) << count << ' ' << ratio;
        }
}

TEST_F(PolynomialFit, NaNAndInfinityComeOutAsNaN) {
    for (const double bad : {notANumber, infinity, -infinity}) {
        EXPECT_THAT(fit(1, {1, bad, 3}, {1, 2, 3}), Each(testing::IsNan())) << bad;
        EXPECT_THAT(fit(1, {1, 2, 3}, {1, 2, notANumber}), Each(testing::IsNan()));
    }
}

TEST_F(PolynomialFit, InfiniteValuesLeaveNothingFinite) {
    const auto isFinite = [](double c) { return std::isfinite(c); };
    for (const int order : {0, 1, 2})
        for (const double bad : {infinity, -infinity}) {
            const std::vector<double> c = fit(order, {1, 2, 3}, {bad, bad, bad});
            EXPECT_TRUE(std::none_of(c.begin(), c.end(), isFinite)) << order << ' ' << bad;
        }
    EXPECT_THAT(fit(0, {1, 2, 3}, {1e308, 1e308, 1e308}), ElementsAre(testing::DoubleEq(1e308)));
    for (const double bad : {infinity, -infinity}) {
        const std::vector<double> c = fit(1, {1, 2, 3}, {1, bad, 3});
        EXPECT_TRUE(std::none_of(c.begin(), c.end(), isFinite)) << bad;
    }
}

TEST_F(PolynomialFit, ValuesAreAddedFromTheConstantUpwardsWithPowersByMultiplication) {
    Polynomial polynomial(3, selection);
    polynomial.fit({1, 2, 3, 4, 5.5, 7}, {0.1, 0.7, -0.3, 12, 5, 3});
    const std::vector<double> c = listOf(polynomial.Coefficients());
    arr_cC_Array<double> x({0.3, -7.7, 1e5, 0.0});
    arr_cC_Array<double> y(4, 9.0);
    polynomial.LoadValues(x, y);
    for (int i = 0; i < 4; ++i) {
        volatile double expected = c[0];
        volatile double power = x[i];
        for (std::size_t j = 1; j <= 3; ++j) {
            const volatile double term = power * c[j];
            expected = expected + term;
            power = power * x[i];
        }
        EXPECT_EQ(y[i], expected);
    }
    EXPECT_EQ(y[3], c[0]);
}

TEST_F(PolynomialFit, RefitThenLoadFollowsTheData) {
    std::vector<double> elements;
    const cal_c1DArrayCal cal(100, 0.5, 10); // 95 to 144.5
    for (int i = 0; i < 100; ++i)
        elements.push_back(3 - 0.25 * cal.Position(i));
    const darr_c1DArray data(std::span<const double>(elements), cal);
    selection.AddLocalRange(rnge_c1DRange(97, 105));
    selection.AddLocalRange(rnge_c1DRange(130, 500));
    plft_c1DPolyFittingFunction line(1, selection);
    Listener listener(line);
    line.Refit(data);
    EXPECT_THAT(listOf(line.Coefficients()), Pointwise(testing::DoubleNear(1e-10), {3.0, -0.25}));
    arr_cC_Array<double> curve(100);
    line.Load(curve, cal);
    for (int i = 0; i < 100; ++i)
        EXPECT_NEAR(curve[i], elements[static_cast<std::size_t>(i)], 1e-11);
    EXPECT_THAT(listener.take(), testing::IsEmpty());
    selection.RangeList()[0]->SetEnd(110);
    EXPECT_THAT(listener.take(), ElementsAre(ftfn_FunctionChanged));
}

TEST_F(PolynomialFit, RefitThatRaisesLeavesTheCoefficients) {
    Polynomial polynomial(1, selection);
    polynomial.fit({1, 2, 3}, {1, 2, 4});
    const std::vector<double> before = listOf(polynomial.Coefficients());
    EXPECT_ANY_THROW(polynomial.fit({0, 0, 0}, {1, 2, 3}));
    EXPECT_ANY_THROW(polynomial.fit({1, 2, 3}, {1}));
    EXPECT_EQ(listOf(polynomial.Coefficients()), before);
}

TEST_F(PolynomialFit, MissingMemoryLeavesTheCoefficients) {
    Polynomial polynomial(2, selection);
    polynomial.fit({1, 2, 3}, {1, 2, 4});
    const std::vector<double> before = listOf(polynomial.Coefficients());
    const darr_c1DArray data(300, pnum_cNumber(8.0), {});
    selection.AddLocalRange(rnge_c1DRange(0, 300));
    int failures = 0;
    for (bool isDone = false; !isDone;) {
        ASSERT_LT(failures, 200);
        try {
            const FailingNew failing(failures);
            polynomial.Refit(data);
            isDone = true;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(listOf(polynomial.Coefficients()), before) << failures;
            ++failures;
        }
    }
    EXPECT_GT(failures, 10);
    EXPECT_NEAR(polynomial.Coefficients()[0], 8, 1e-12);
}

TEST_F(PolynomialFit, AFitTakesNoMoreMemoryForMorePoints) {
    Polynomial polynomial(3, selection);
    const auto allocations = [&](int count) {
        arr_cC_Array<double> x(count, 1.0);
        std::vector<double> points(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < points.size(); ++i)
            points[i] = static_cast<double>(i);
        const long before = allocationCount();
        polynomial.fit(points, points);
        return allocationCount() - before;
    };
    EXPECT_EQ(allocations(10), allocations(5000));
}

TEST_F(PolynomialFit, CopyHasTheCoefficientsAndHearsNothing) {
    Polynomial polynomial(1, selection);
    polynomial.SetName("background");
    polynomial.fit({1, 2, 3}, {1, 2, 4});
    const std::vector<double> before = listOf(polynomial.Coefficients());
    const plft_c1DPolyFittingFunction copy(polynomial);
    polynomial.fit({1, 2, 3}, {0, 0, 0});
    EXPECT_EQ(listOf(copy.Coefficients()), before);
    EXPECT_EQ(copy.Order(), 1);
    EXPECT_EQ(copy.Name(), "background");
    plft_c1DPolyFittingFunction another(copy);
    Listener listener(another);
    selection.AddLocalRange(rnge_c1DRange(1, 2));
    EXPECT_THAT(listener.take(), testing::IsEmpty());
}

// Their coefficients mean something else: copies would be other curves.
static_assert(!std::is_constructible_v<plft_c1DPolyFittingFunction,
                                       const plft_c1DOffsetPolyFittingFunction&>);
static_assert(
    !std::is_constructible_v<plft_c1DPolyFittingFunction, const plft_c1DOffsetPolyFittingFunction&,
                             dasl_c1DDataArraySelection&>);
static_assert(
    !std::is_constructible_v<plft_c1DPolyFittingFunction, const pwft_cPowerLawFittingFunction&>);
static_assert(
    !std::is_constructible_v<plft_c1DPolyFittingFunction, const pwft_cPowerLawFittingFunction&,
                             dasl_c1DDataArraySelection&>);
static_assert(
    !std::is_constructible_v<plft_c1DOffsetPolyFittingFunction,
                             const pwft_cPowerLawFittingFunction&, dasl_c1DDataArraySelection&>);
static_assert(
    std::is_constructible_v<plft_c1DOffsetPolyFittingFunction,
                            const plft_c1DOffsetPolyFittingFunction&, dasl_c1DDataArraySelection&>);

TEST_F(PolynomialFit, CopyOverAnotherSelectionHearsThatOne) {
    plft_c1DPolyFittingFunction original(2, selection);
    original.SetName("background");
    dasl_c1DDataArraySelection other(rnge_IndexNearest);
    plft_c1DPolyFittingFunction copy(original, other);
    EXPECT_EQ(copy.Name(), "background");
    EXPECT_EQ(copy.Order(), 2);
    Listener listener(copy);
    selection.AddLocalRange(rnge_c1DRange(1, 2));
    EXPECT_THAT(listener.take(), testing::IsEmpty());
    other.AddLocalRange(rnge_c1DRange(1, 2));
    EXPECT_THAT(listener.take(), ElementsAre(ftfn_FunctionChanged));
}

TEST_F(PolynomialFit, ErrorsAreThoseOfTheNormalEquations) {
    std::mt19937 random(12);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (const int order : {0, 1, 2, 4})
        for (const std::size_t count : {7U, 128U, 300U})
            for (const double scale : {1.0, 1e-9, 1e12})
                for (const double size : {0.0, 1.0, 1e-100, 1e100}) {
                    std::vector<double> x, y, deviations;
                    for (std::size_t i = 0; i < count; ++i) {
                        x.push_back(scale * uniform(random));
                        y.push_back(uniform(random) * (size == 0 ? 1 : size));
                        if (size > 0)
                            deviations.push_back(size * (1.5 + uniform(random)));
                    }
                    Polynomial polynomial(order, selection);
                    size > 0 ? polynomial.fit(x, y, deviations) : polynomial.fit(x, y);
                    expectFitOf(polynomial, NormalEquations(order, x, y, deviations), count, 1e-10);
                }
}

TEST_F(PolynomialFit, EqualDeviationsChangeTheErrorsAlone) {
    const std::vector<double> x{1, 2, 3, 4, 5, 6}, y{1, 2, 4, 4, 3, 9};
    Polynomial plain(1, selection), weighted(1, selection);
    plain.fit(x, y);
    weighted.fit(x, y, std::vector<double>(6, 0.25));
    EXPECT_EQ(listOf(weighted.Coefficients()), listOf(plain.Coefficients()));
    EXPECT_DOUBLE_EQ(weighted.ResidualSum(), 16 * plain.ResidualSum());
    EXPECT_NEAR(weighted.StandardErrors()[1], 0.25 / std::sqrt(17.5), 1e-14);
    EXPECT_NEAR(plain.StandardErrors()[1], std::sqrt(plain.ResidualSum() / 4 / 17.5), 1e-14);
}

// What is squared on the way is next to 1, however large the values and the deviations are.
TEST_F(PolynomialFit, ErrorsAreThoseOfTheNormalEquationsAtEverySize) {
    const std::vector<double> x{1, 2, 3, 4, 5, 6}, y{3, 5, 4, 7, 6, 9}, s{1, 2, 1, 3, 2, 1};
    Polynomial of(1, selection);
    const auto scaled = [](std::vector<double> values, double factor) {
        for (double& value : values)
            value *= factor;
        return values;
    };
    for (const double size : {0x1p-560, 0x1p-1000, 0x1p530, 0x1p1000}) {
        of.fit(x, y);
        const std::vector<double> errors = listOf(of.StandardErrors());
        of.fit(x, scaled(y, size));
        EXPECT_EQ(listOf(of.StandardErrors()), scaled(errors, size)) << size;
        of.fit(x, y, s);
        const std::vector<double> weighed = listOf(of.StandardErrors());
        const double sum = of.ResidualSum();
        of.fit(x, scaled(y, size), scaled(s, size));
        EXPECT_EQ(listOf(of.StandardErrors()), scaled(weighed, size)) << size;
        EXPECT_EQ(of.ResidualSum(), sum) << size;
    }
}

TEST_F(PolynomialFit, WeighsByTheDeviationsOfTheData) {
    const cal_c1DArrayCal cal(10, 0.5, 0);
    std::vector<double> y, deviations, x;
    for (int i = 0; i < 40; ++i) {
        y.push_back(3 + i % 5 + 0.1 * i);
        deviations.push_back(1 + i % 3);
        x.push_back(cal.Position(i));
    }
    const darr_c1DArray data(std::span<const double>(y), cal);
    const darr_c1DArray errors(std::span<const double>(deviations), cal);
    selection.AddLocalRange(rnge_c1DRange(0, 1000));
    plft_c1DPolyFittingFunction polynomial(2, selection);
    polynomial.Refit(data, errors);
    expectFitOf(polynomial, NormalEquations(2, x, y, deviations), 40, 1e-9);
    polynomial.Refit(data);
    expectFitOf(polynomial, NormalEquations(2, x, y, {}), 40, 1e-9);
}

TEST_F(PolynomialFit, DeviationsThatDoNotFitAreRefusedAndChangeNothing) {
    const cal_c1DArrayCal cal(10, 0.5, 0);
    const darr_c1DArray data(9, pnum_cNumber(2.0), cal);
    selection.AddLocalRange(rnge_c1DRange(0, 1000));
    plft_c1DPolyFittingFunction polynomial(1, selection);
    polynomial.Refit(data);
    const std::vector<double> before = listOf(polynomial.Coefficients());
    EXPECT_THROW(polynomial.Refit(data, darr_c1DArray(8, pnum_cNumber(1.0), cal)),
                 arr_cSizeException);
    expectRefusal(1, [&] { polynomial.Refit(data, darr_c1DArray(9, pnum_cNumber(1.0), {})); });
    for (const double bad : {0.0, -1.0, notANumber, infinity})
        for (const int place : {0, 4, 8}) {
            darr_c1DArray deviations(9, pnum_cNumber(1.0), cal);
            deviations.SetNumber(place, bad);
            expectUserRefusal(2, [&] { polynomial.Refit(data, deviations); });
        }
    selection.Clear();
    const darr_c1DArray ones(9, pnum_cNumber(1.0), cal);
    expectUserRefusal(3, [&] { polynomial.Refit(data, ones); });
    selection.AddLocalRange(rnge_c1DRange(10, 10.5));
    expectUserRefusal(3, [&] { polynomial.Refit(data, ones); });
    EXPECT_EQ(listOf(polynomial.Coefficients()), before);
    EXPECT_EQ(polynomial.Rank(), 2);
    Polynomial direct(1, selection);
    EXPECT_THROW(direct.fit({1, 2, 3}, {1, 2, 3}, {1, 1}), arr_cSizeException);
    expectRefusal(72, [&] { direct.fit({1, 2, 3}, {1, 2}, {1, 1}); });
    expectRefusal(105, [&] { direct.fit({0, 0, 0}, {1, 2, 3}, {1, 1, 1}); });
}

TEST_F(PolynomialFit, WithoutAFitThereAreNoErrors) {
    Polynomial polynomial(2, selection);
    const auto expectNothing = [&](int points, double sum) {
        EXPECT_EQ(polynomial.Rank(), 0);
        EXPECT_EQ(polynomial.DegreesOfFreedom(), points);
        EXPECT_EQ(polynomial.ResidualSum(), sum);
        EXPECT_EQ(polynomial.Covariance().Rows(), 0);
        EXPECT_THAT(listOf(polynomial.StandardErrors()),
                    ElementsAre(testing::IsNan(), testing::IsNan(), testing::IsNan()));
    };
    expectNothing(0, 0);
    polynomial.fit({1, 2, 3, 4}, {1, 2, 4, 4});
    EXPECT_EQ(polynomial.Rank(), 3);
    polynomial.fit({1, 2}, {3, 4});
    expectNothing(2, 25);
    polynomial.fit({1, 2, 3}, {4, 5, 7});
    EXPECT_EQ(polynomial.DegreesOfFreedom(), 0);
    EXPECT_THAT(listOf(polynomial.StandardErrors()), Each(testing::IsNan()));
}

TEST_F(PolynomialFit, CopiesKnowTheirQuality) {
    Polynomial polynomial(1, selection);
    polynomial.fit({1, 2, 3, 4}, {1, 2, 4, 4});
    const plft_c1DPolyFittingFunction copy(polynomial), other(polynomial, selection);
    polynomial.fit({1}, {1});
    for (const plft_c1DPolyFittingFunction* each : {&copy, &other}) {
        EXPECT_EQ(each->Rank(), 2);
        EXPECT_EQ(each->DegreesOfFreedom(), 2);
        EXPECT_NEAR(each->ResidualSum(), 0.7, 1e-14);
        EXPECT_NEAR(each->StandardErrors()[1], std::sqrt(0.35 / 5), 1e-14);
    }
}

// Points from 1 - width to 1, evenly: below which width the order is not reached.
TEST_F(PolynomialFit, RankIsLostInWindowsThatAreNarrowForTheirDistance) {
    const auto rank = [&](int order, double width) {
        std::vector<double> x;
        for (int i = 0; i <= 1000; ++i)
            x.push_back(1 - width * i / 1000);
        Polynomial polynomial(order, selection);
        polynomial.fit(x, x);
        return polynomial.Rank();
    };
    const double limits[] = {0.024, 0.16, 0.37, 0.61};
    for (int order = 2; order <= 5; ++order) {
        double low = 0.001, high = 1;
        for (int step = 0; step < 30; ++step) {
            const double middle = (low + high) / 2;
            (rank(order, middle) == order + 1 ? high : low) = middle;
        }
        std::cout << "[  limit   ] order " << order << ": " << high << '\n';
        const double limit = limits[order - 2];
        EXPECT_NEAR(high, limit, order == 2 ? 0.0005 : 0.005) << order;
    }
}

TEST_F(PolynomialFit, ResidualsKnowWhatWasLeftOut) {
    std::vector<double> x, y;
    for (int i = 0; i < 50; ++i) {
        x.push_back(1e6 + i);
        y.push_back(3.0 * i);
    }
    Polynomial polynomial(1, selection);
    polynomial.fit(x, y);
    EXPECT_EQ(polynomial.Rank(), 1);
    EXPECT_EQ(polynomial.DegreesOfFreedom(), 49);
    double sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i)
        sum += std::pow(
            y[i] - static_cast<double>(valueAt(listOf(polynomial.Coefficients()), x[i])), 2);
    EXPECT_NEAR(polynomial.ResidualSum() / sum, 1, 1e-9);
}

TEST_F(PolynomialFit, SpreadOfCoefficientsIsThatOfTheirErrors) {
    std::mt19937 random(31);
    std::normal_distribution<double> noise;
    double squares[2] = {};
    constexpr int rounds = 1000;
    for (int round = 0; round < rounds; ++round) {
        std::vector<double> x, y, deviations;
        for (int i = 0; i < 50; ++i) {
            x.push_back(3 + 0.1 * i);
            deviations.push_back(1 + i % 4);
            y.push_back(2 - x.back() + deviations.back() * noise(random));
        }
        Polynomial polynomial(1, selection);
        polynomial.fit(x, y, deviations);
        const arr_cC_Array<double> errors = polynomial.StandardErrors();
        squares[0] += std::pow((polynomial.Coefficients()[0] - 2) / errors[0], 2);
        squares[1] += std::pow((polynomial.Coefficients()[1] + 1) / errors[1], 2);
    }
    for (const double square : squares)
        EXPECT_NEAR(std::sqrt(square / rounds), 1, 4 / std::sqrt(2.0 * rounds));
}

TEST_F(PolynomialFit, OffsetPolynomialKeepsAllDigitsWhereverThePointsLie) {
    std::mt19937 random(13);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (const int order : {0, 1, 3, 5, 7})
        for (const double place : {0.0, 100.0, -1e6, 1e9})
            for (const bool isWeighted : {false, true}) {
                std::vector<double> x, y, deviations;
                for (int i = 0; i <= 200; ++i) {
                    x.push_back(place + i * 0.25);
                    y.push_back(uniform(random));
                    if (isWeighted)
                        deviations.push_back(1.5 + uniform(random));
                }
                OffsetPolynomial polynomial(order, selection);
                isWeighted ? polynomial.fit(x, y, deviations) : polynomial.fit(x, y);
                EXPECT_EQ(polynomial.Offset(), place + 25);
                expectFitOf(polynomial, NormalEquations(order, x, y, deviations, place + 25), 201,
                            1e-11);
            }
}

TEST_F(PolynomialFit, OffsetPolynomialIsEvaluatedAboutItsOffset) {
    const cal_c1DArrayCal cal(1e6, 1, 0);
    std::vector<double> y;
    for (int i = 0; i < 51; ++i)
        y.push_back(7 + 2.0 * (i - 25) - 0.5 * (i - 25) * (i - 25));
    selection.AddLocalRange(rnge_c1DRange(0, 2e6));
    plft_c1DOffsetPolyFittingFunction polynomial(2, selection);
    EXPECT_EQ(polynomial.Offset(), 0);
    polynomial.Refit(darr_c1DArray(std::span<const double>(y), cal));
    EXPECT_EQ(polynomial.Offset(), 1e6 + 25);
    EXPECT_THAT(listOf(polynomial.Coefficients()),
                Pointwise(testing::DoubleNear(1e-11), {7.0, 2.0, -0.5}));
    const plft_c1DOffsetPolyFittingFunction copy(polynomial), other(polynomial, selection);
    const plft_c1DOffsetPolyFittingFunction& original = polynomial;
    for (const plft_c1DOffsetPolyFittingFunction* each : {&original, &copy, &other}) {
        arr_cC_Array<double> curve(51);
        each->Load(curve, cal);
        EXPECT_THAT(listOf(curve), Pointwise(testing::DoubleNear(1e-9), y));
    }
    arr_cC_Array<double> one(1, 1.0), two(2, 1.0);
    expectRefusal(44, [&] { polynomial.LoadValues(one, two); });
}

TEST_F(PolynomialFit, OffsetPolynomialTakesPointsAtOnePlace) {
    OffsetPolynomial mean(0, selection), line(1, selection);
    mean.fit({5}, {3});
    EXPECT_EQ(mean.Coefficients()[0], 3);
    EXPECT_EQ(mean.Offset(), 5);
    line.fit({0, 0, 0}, {1, 2, 6});
    EXPECT_NEAR(line.Coefficients()[0], 3, 1e-14);
    EXPECT_EQ(line.Coefficients()[1], 0);
    EXPECT_EQ(line.Rank(), 1);
    line.fit({1, 2, 4}, {1, 2, 6});
    const std::vector<double> before = listOf(line.Coefficients());
    expectUserRefusal(3, [&] { line.fit({8}, {1}); });
    expectUserRefusal(3, [&] { mean.fit({}, {}); });
    EXPECT_EQ(listOf(line.Coefficients()), before);
    expectRefusal(72, [&] { line.fit({1, 2}, {1}); });
    EXPECT_THAT((line.fit({1, notANumber, 4}, {1, 2, 6}), listOf(line.Coefficients())),
                Each(testing::IsNan()));
}

TEST_F(PolynomialFit, OffsetPolynomialOfEvenlySpreadPointsHasFullRank) {
    const auto rankOf = [this](int order, int count) {
        std::vector<double> x, y;
        for (int i = 0; i < count; ++i) {
            x.push_back(1e6 + i);
            y.push_back(i % 7);
        }
        OffsetPolynomial polynomial(order, selection);
        polynomial.fit(x, y);
        return polynomial.Rank();
    };
    for (int order = 0; order <= 11; ++order)
        for (int count = order + 1; count <= 40; ++count)
            EXPECT_EQ(rankOf(order, count), order + 1) << count << " points";
    for (const int order : {12, 13})
        for (const int count : {18, 19, 25, 100, 10000})
            EXPECT_EQ(rankOf(order, count), order + 1) << count << " points";
    EXPECT_LT(rankOf(12, 13), 13);
    EXPECT_LT(rankOf(13, 17), 14);
}

TEST(PolynomialFits, OffsetPolynomialLeavesTheCertifiedResiduals) {
    const Regression regression = certified("Filip");
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    OffsetPolynomial polynomial(10, selection);
    std::vector<double> x, y;
    for (const auto& row : regression.rows) {
        x.push_back(row[0]);
        y.push_back(row[1]);
    }
    polynomial.fit(x, y);
    EXPECT_EQ(polynomial.Rank(), 11);
    EXPECT_NEAR(polynomial.ResidualSum(), 0.000795851382172941, 1e-12);
}

/// The digits that a fit of this order has of the known coefficients.
double agreement(const Regression& regression, int order) {
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    Polynomial polynomial(order, selection);
    std::vector<double> x, y;
    for (const auto& row : regression.rows) {
        x.push_back(row[0]);
        y.push_back(row[1]);
    }
    polynomial.fit(x, y);
    return digits(listOf(polynomial.Coefficients()), regression.coefficients);
}

struct Certified {
    std::string name;
    int order;
    double least, most;
};

// The last one is there to show its limit: its points need singular values that the fit, which
// leaves out what is below 1e-5 of the largest, does not use, so that not one digit is right.
TEST(PolynomialFits, CertifiedRegressionsAgreeToTheseDigits) {
    for (const auto& [name, order, least, most] : std::vector<Certified>{
             {"Norris", 1, 12, 16}, {"Pontius", 2, 11, 16}, {"Filip", 10, -2, 1}}) {
        const double agreed = agreement(certified(name), order);
        printDigits("polynomial", name, agreed);
        EXPECT_GE(agreed, least) << name;
        EXPECT_LE(agreed, most) << name;
    }
}

TEST(PolynomialFits, WamplersProblemsAgreeToTheseDigits) {
    const double bounds[] = {9, 12, 9, 8, 6};
    for (int number = 1; number <= 5; ++number) {
        const double agreed = agreement(wampler(number), 5);
        printDigits("polynomial", "Wampler" + std::to_string(number), agreed);
        EXPECT_GE(agreed, bounds[number - 1]) << number;
    }
}

TEST(Wampler, PatternIsOrthogonalToThePowers) {
    const Regression scattered = wampler(3);
    const Regression exact = wampler(1);
    for (int j = 0; j <= 5; ++j) {
        long long product = 0;
        for (int x = 0; x <= 20; ++x) {
            const auto i = static_cast<std::size_t>(x);
            long long power = 1;
            for (int k = 0; k < j; ++k)
                power *= x;
            product += power * std::llround(scattered.rows[i][1] - exact.rows[i][1]);
        }
        EXPECT_EQ(product, 0) << j;
    }
}

} // namespace
