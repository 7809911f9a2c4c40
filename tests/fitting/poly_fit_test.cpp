#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/fitting/plft.h"
#include "tests/failing_new.h"
#include "tests/fitting/certified.h"
#include "tests/fitting/listener.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Pointwise;

constexpr double eps = std::numeric_limits<double>::epsilon();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A polynomial that is fitted to points as they are given.
class Polynomial final : public plft_c1DPolyFittingFunction {
public:
    using plft_c1DPolyFittingFunction::plft_c1DPolyFittingFunction;
    void fit(const std::vector<double>& x, const std::vector<double>& y) {
        RefitValues(arr_cC_Array<double>(std::span<const double>(x)),
                    arr_cC_Array<double>(std::span<const double>(y)));
    }
};

std::vector<double> listOf(const arr_cC_Array<double>& values) {
    return {values.begin(), values.end()};
}

/// Whether `call` raises a program error of the unit "poly_fit" from this line.
template<class Call>
testing::AssertionResult raisesAt(int line, const Call& call) {
    try {
        call();
    } catch (const expt_cProgramException& e) {
        if (e.SourceFile() == "poly_fit" && e.Line() == line)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << e.what();
    }
    return testing::AssertionFailure() << "nothing was raised";
}

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
        EXPECT_TRUE(raisesAt(22, [&] { Polynomial(order, selection); })) << order;
    EXPECT_THROW(Polynomial(std::numeric_limits<int>::max(), selection), arr_cSizeException);
    selection.AddLocalRange(rnge_c1DRange(1, 2)); // nobody is registered
}

TEST_F(PolynomialFit, OrderZeroIsTheMean) {
    const std::vector<double> c = fit(0, {1, 5, 7, 8}, {2, 4, 9, 1});
    EXPECT_NEAR(c[0], 4, 16 * eps);
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
    EXPECT_NEAR(c[1], static_cast<double>(slope), 50 * eps);
    EXPECT_NEAR(c[0], static_cast<double>((sy - slope * sx) / 5), 50 * eps);
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
                EXPECT_NEAR(static_cast<double>(product), 0, 2e4 * count * eps)
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
    EXPECT_TRUE(raisesAt(72, [&] { polynomial.fit({1, 2, 3}, {1, 2}); }));
    EXPECT_TRUE(raisesAt(72, [&] { polynomial.fit({}, {1}); }));
    for (const int size : {0, 2, 4}) {
        arr_cC_Array<double> x(3, 1.0);
        arr_cC_Array<double> y(size, 1.0);
        EXPECT_TRUE(raisesAt(44, [&] { polynomial.LoadValues(x, y); })) << size;
    }
}

TEST_F(PolynomialFit, PositionsThatAreAllZeroAreRefused) {
    Polynomial polynomial(1, selection);
    for (const double x : {0.0, -0.0, 1.1754943508222874e-38, -1e-300})
        EXPECT_TRUE(raisesAt(105, [&] { polynomial.fit({x, 0, x}, {1, 2, 3}); })) << x;
    Polynomial mean(0, selection);
    EXPECT_TRUE(raisesAt(105, [&] { mean.fit({0, 0}, {1, 2}); })) << "of order 0, too";
    polynomial.fit({1.1754943508222875e-38, 0, 0}, {3, 1, 1});
    EXPECT_NEAR(polynomial.Coefficients()[0], 1, 1e-14);
    polynomial.fit({-1.1754943508222875e-38, 0, 0}, {3, 1, 1});
    EXPECT_NEAR(polynomial.Coefficients()[0], 1, 1e-14) << "the magnitude counts";
}

TEST_F(PolynomialFit, SelectionWithoutPositionsButZeroIsRefused) {
    selection.AddLocalRange(rnge_c1DRange(0, 1));
    Polynomial polynomial(0, selection);
    EXPECT_TRUE(raisesAt(105, [&] { polynomial.Refit(darr_c1DArray(9, pnum_cNumber(1), {})); }));
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
            EXPECT_NEAR(fitted[j] / c[j], 1, 100 * eps) << scale << ' ' << j;
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
    for (const double bad : {nan, infinity, -infinity}) {
        EXPECT_THAT(fit(1, {1, bad, 3}, {1, 2, 3}), Each(testing::IsNan())) << bad;
        EXPECT_THAT(fit(1, {1, 2, 3}, {1, 2, nan}), Each(testing::IsNan()));
    }
}

TEST_F(PolynomialFit, InfiniteValuesLeaveNothingFinite) {
    const auto isFinite = [](double c) { return std::isfinite(c); };
    for (const int order : {0, 1, 2})
        for (const double bad : {infinity, -infinity, 1e308}) {
            const std::vector<double> c = fit(order, {1, 2, 3}, {bad, bad, bad});
            EXPECT_TRUE(std::none_of(c.begin(), c.end(), isFinite)) << order << ' ' << bad;
        }
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
        const auto regression = certified(name);
        if (!regression)
            GTEST_SKIP() << "the certified data are not here";
        const double agreed = agreement(*regression, order);
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
