#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/algebra/nlsq.h"
#include "dataprocessing/algebra/nlsq_covariance.h"
#include "dataprocessing/algebra/nlsq_steps.h"
#include "tests/support/constants.h"
#include "tests/support/refusal_expected.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Parameters = std::span<const double>;
using Derivatives = std::span<double>;

const nlsq_cFunctionModel decay([](double x, Parameters p) { return p[0] * std::exp(-p[1] * x); },
                                [](double x, Parameters p, Derivatives d) {
                                    d[0] = std::exp(-p[1] * x);
                                    d[1] = -x * p[0] * d[0];
                                });
const nlsq_cFunctionModel line([](double x, Parameters p) { return p[0] + p[1] * x; },
                               [](double x, Parameters, Derivatives d) {
                                   d[0] = 1;
                                   d[1] = x;
                               });

std::vector<double> positions(std::size_t count) {
    std::vector<double> x;
    for (std::size_t i = 0; i < count; ++i)
        x.push_back(0.25 * static_cast<double>(i));
    return x;
}

/// 5 e^(-0.4 x) with something added that is not random, but looks it.
std::vector<double> disturbed(const std::vector<double>& x) {
    std::vector<double> y;
    for (const double at : x)
        y.push_back(5 * std::exp(-0.4 * at) + 0.05 * std::sin(37 * at * at));
    return y;
}

const std::vector<double> start{3, 1};

nlsq_sOptions with(std::vector<nlsq_sParameter> parameters) {
    nlsq_sOptions options;
    options.parameters = std::move(parameters);
    return options;
}

/// The closed form of a weighted straight line.
struct StraightLine {
    StraightLine(const std::vector<double>& x, const std::vector<double>& y,
                 const std::vector<double>& w) {
        long double s = 0, sx = 0, sxx = 0, sy = 0, sxy = 0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            s += w[i];
            sx += w[i] * static_cast<long double>(x[i]);
            sxx += w[i] * static_cast<long double>(x[i]) * x[i];
            sy += w[i] * static_cast<long double>(y[i]);
            sxy += w[i] * static_cast<long double>(x[i]) * y[i];
        }
        const long double determinant = s * sxx - sx * sx;
        offset = static_cast<double>((sxx * sy - sx * sxy) / determinant);
        slope = static_cast<double>((s * sxy - sx * sy) / determinant);
        variances = {static_cast<double>(sxx / determinant), static_cast<double>(s / determinant)};
        covariance = static_cast<double>(-sx / determinant);
        for (std::size_t i = 0; i < x.size(); ++i)
            chiSquared += w[i] * std::pow(y[i] - offset - slope * x[i], 2);
    }
    double offset, slope, covariance, chiSquared = 0;
    std::vector<double> variances;
};

TEST(Nlsq, StraightLineIsTheClosedForm) {
    const std::vector<double> x = positions(300);
    const std::vector<double> y = disturbed(x);
    std::vector<double> w, sigma;
    for (std::size_t i = 0; i < x.size(); ++i) {
        w.push_back(1.0 / static_cast<double>(1 + i % 4));
        sigma.push_back(1 / std::sqrt(w.back()));
    }
    const StraightLine expected(x, y, w);
    nlsq_sOptions weighted;
    weighted.weights = w;
    nlsq_sOptions deviations;
    deviations.standardDeviations = sigma;
    const double reduced = expected.chiSquared / 298;
    const auto check = [&](const nlsq_sResult& fit, double factor) {
        EXPECT_NEAR(fit.parameters[0], expected.offset, 500 * epsilon);
        EXPECT_NEAR(fit.parameters[1], expected.slope, 50 * epsilon);
        EXPECT_NEAR(fit.chiSquared, expected.chiSquared, 400 * epsilon * expected.chiSquared);
        EXPECT_NEAR(fit.ReducedChiSquared(), reduced, 400 * epsilon * reduced);
        EXPECT_NEAR(fit.standardErrors[0], std::sqrt(factor * expected.variances[0]), 1e-13);
        EXPECT_NEAR(fit.standardErrors[1], std::sqrt(factor * expected.variances[1]), 1e-14);
        EXPECT_NEAR(fit.Covariance(0, 1), factor * expected.covariance, 1e-14);
        EXPECT_NEAR(fit.Correlation(1, 0),
                    expected.covariance / std::sqrt(expected.variances[0] * expected.variances[1]),
                    1e-13);
        EXPECT_EQ(fit.Correlation(1, 1), 1);
        EXPECT_EQ(fit.degreesOfFreedom, 298);
        EXPECT_EQ(fit.rank, 2);
        EXPECT_EQ(fit.free, 2);
        EXPECT_TRUE(fit.Converged());
    };
    check(nlsq_Fit(line, x, y, std::vector{1.0, 1.0}, weighted), reduced);
    check(nlsq_Fit(line, x, y, std::vector{1.0, 1.0}, deviations), 1);
    check(nlsq_FitLinear(line, x, y, 2, weighted), reduced);
    check(nlsq_FitLinear(line, x, y, 2, deviations), 1);
    weighted.errors = nlsq_ErrorsAsGiven;
    check(nlsq_Fit(line, x, y, std::vector{1.0, 1.0}, weighted), 1);
    deviations.errors = nlsq_ErrorsFromScatter;
    check(nlsq_FitLinear(line, x, y, 2, deviations), reduced);
}

/// How far a fit of a straight line, with exact derivatives, ends from the closed form, in standard
/// errors of the slope.
double slopeShort(double from, std::vector<double> begin) {
    std::vector<double> x, y;
    std::minstd_rand random(3);
    for (int i = 0; i < 60; ++i) {
        x.push_back(from + i);
        y.push_back(5 + 0.5 * i + std::uniform_real_distribution<double>(-1.7, 1.7)(random));
    }
    // Counted from the first point, so that the closed form has its digits.
    long double s = 0, sx = 0, sxx = 0, sy = 0, sxy = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const long double t = static_cast<long double>(x[i]) - from;
        s += 1;
        sx += t;
        sxx += t * t;
        sy += y[i];
        sxy += t * y[i];
    }
    const long double slope = (s * sxy - sx * sy) / (s * sxx - sx * sx);
    const nlsq_sResult fit = nlsq_Fit(line, x, y, begin);
    EXPECT_TRUE(fit.Converged()) << from << ": " << nlsq_Text(fit.end);
    EXPECT_EQ(fit.rank, 2);
    EXPECT_LT(fit.evaluations, 100) << from;
    return static_cast<double>(std::fabs(fit.parameters[1] - slope)) / fit.standardErrors[1];
}

TEST(Nlsq, LinesFarFromTheOriginOfTheirPositionsEndAtTheBottom) {
    for (const double from : {0.0, 1e3, 1e5, 1e6, 1e7, 1e8, 1.7e9})
        for (const std::vector<double>& begin :
             {std::vector{1.0, 0.0}, std::vector{0.0, 1.0}, std::vector{5 - 0.49 * from, 0.49}})
            EXPECT_LT(slopeShort(from, begin), 1e-3) << from << ", " << begin[1];
}

/// c_0 + c_1 columnOf(x)
class TwoColumns : public nlsq_cModel {
public:
    explicit TwoColumns(std::function<double(double)> columnOf) : columnOf_(std::move(columnOf)) {}
    void Evaluate(std::span<const double> x, Parameters p, std::span<double> values,
                  Derivatives derivatives) const override {
        for (std::size_t i = 0; i < x.size(); ++i) {
            const double column = columnOf_(x[i]);
            values[i] = p[0] + column * p[1];
            if (!derivatives.empty()) {
                derivatives[i] = 1;
                derivatives[x.size() + i] = column;
            }
        }
    }

private:
    std::function<double(double)> columnOf_;
};

TEST(Nlsq, LinearProblemsOfNearlyParallelColumnsAreSolved) {
    const std::vector<double> x{-1, 0, 1, 2}, y{1, 2, 4, 3};
    for (int power = 10; power <= 44; ++power) {
        const double small = std::ldexp(1.0, -power);
        const TwoColumns model([&](double at) { return 1 + small * at; });
        const nlsq_sResult fit = nlsq_FitLinear(model, x, y, 2);
        EXPECT_EQ(fit.end, nlsq_Solved) << power;
        EXPECT_EQ(fit.rank, 2) << power;
        // The slope is 0.8 +- 0.42; sums of values of this size hide so much.
        const double hidden = std::ldexp(1.0, power - 48);
        EXPECT_NEAR(fit.parameters[1] * small, 0.8, 0.01 + hidden) << power;
    }
}

TEST(Nlsq, ParabolasFarFromTheOriginOfTheirPositionsAreSolved) {
    const nlsq_cFunctionModel parabola(
        [](double x, Parameters p) { return p[0] + x * (p[1] + x * p[2]); },
        [](double x, Parameters, Derivatives d) {
            d[0] = 1;
            d[1] = x;
            d[2] = x * x;
        });
    for (const double from : {0.0, 1e3, 1e5, 1e6, 1e7}) {
        std::vector<double> x, y;
        for (int i = 0; i < 60; ++i) {
            x.push_back(from + i);
            y.push_back(5 + 0.5 * i + 0.01 * i * i + std::sin(37.0 * i * i));
        }
        const nlsq_sResult fit = nlsq_FitLinear(parabola, x, y, 3);
        EXPECT_EQ(fit.end, nlsq_Solved) << from;
        EXPECT_EQ(fit.rank, 3) << from;
        EXPECT_NEAR(fit.parameters[2], 0.01, 5 * fit.standardErrors[2]) << from;
        EXPECT_LT(fit.chiSquared, 60) << from;
    }
}

TEST(Nlsq, ModelsThatAreNotLinearAreNotSolved) {
    const std::vector<double> x = positions(40);
    const std::vector<double> y = disturbed(x);
    const nlsq_cFunctionModel bent(
        [](double at, Parameters p) { return p[0] + p[1] * at + p[1] * p[1] * at * at; });
    EXPECT_EQ(nlsq_FitLinear(bent, x, y, 2).end, nlsq_NoDecrease);
}

TEST(Nlsq, ValuesOfEverySizeThatCanBeSquaredHaveTheSameFit) {
    const std::vector<double> x = positions(30);
    const std::vector<double> y = disturbed(x);
    const nlsq_sResult one = nlsq_Fit(decay, x, y, start);
    for (const double size : {0x1p-470, 0x1p470}) {
        std::vector<double> scaled;
        for (const double value : y)
            scaled.push_back(value * size);
        const std::vector<double> from{start[0] * size, start[1]};
        const nlsq_sResult found = nlsq_Fit(decay, x, scaled, from);
        EXPECT_THAT(found.parameters, ElementsAre(one.parameters[0] * size, one.parameters[1]));
        EXPECT_THAT(found.standardErrors,
                    ElementsAre(one.standardErrors[0] * size, one.standardErrors[1]));
        EXPECT_EQ(found.end, one.end);
    }
}

TEST(Nlsq, DevianceIsNeverBelowZero) {
    // One parameter for each point: nothing is left but rounding.
    const nlsq_cFunctionModel points(
        [](double x, Parameters p) { return p[static_cast<std::size_t>(x)]; });
    nlsq_sOptions options;
    options.objective = nlsq_PoissonLikelihood;
    for (const double count : {3.0, 7.0, 1e3, 123456.0}) {
        const nlsq_sResult found =
            nlsq_Fit(points, std::vector{0.0, 1.0, 2.0}, std::vector{count, count / 3, count / 7},
                     std::vector{count + 1, count / 3 + 1, count / 7 + 1}, options);
        EXPECT_GE(found.chiSquared, 0) << count;
        EXPECT_LT(found.chiSquared, 1e-9) << count;
        EXPECT_TRUE(found.Converged()) << nlsq_Text(found.end);
    }
}

TEST(Nlsq, PointsOfWeightZeroTakeNoPart) {
    const std::vector<double> x = positions(40);
    std::vector<double> y = disturbed(x);
    const nlsq_sResult without =
        nlsq_Fit(decay, std::span(x).first(30), std::span(y).first(30), start);
    for (std::size_t i = 30; i < 40; ++i)
        y[i] = 1e6;
    nlsq_sOptions options;
    options.weights.assign(40, 1);
    std::fill(options.weights.begin() + 30, options.weights.end(), 0.0);
    const nlsq_sResult fit = nlsq_Fit(decay, x, y, start, options);
    EXPECT_EQ(fit.degreesOfFreedom, 28);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(fit.parameters[i], without.parameters[i], 1e-13);
        EXPECT_NEAR(fit.standardErrors[i], without.standardErrors[i], 1e-13);
    }
}

TEST(Nlsq, FixedParametersStay) {
    const std::vector<double> x = positions(50);
    const std::vector<double> y = disturbed(x);
    const nlsq_sResult fit = nlsq_Fit(decay, x, y, std::vector{3.0, 0.4},
                                      with({nlsq_sParameter::Free(), nlsq_sParameter::Fixed()}));
    double numerator = 0;
    double denominator = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        numerator += y[i] * std::exp(-0.4 * x[i]);
        denominator += std::exp(-0.8 * x[i]);
    }
    EXPECT_NEAR(fit.parameters[0], numerator / denominator, 1e-13);
    EXPECT_EQ(fit.parameters[1], 0.4);
    EXPECT_EQ(fit.standardErrors[1], 0);
    EXPECT_EQ(fit.Correlation(0, 1), 0);
    EXPECT_EQ(fit.Correlation(1, 1), 1);
    EXPECT_EQ(fit.rank, 1);
    EXPECT_EQ(fit.degreesOfFreedom, 49);

    const nlsq_sResult none =
        nlsq_Fit(decay, x, y, start, with({nlsq_sParameter::Fixed(), nlsq_sParameter::Fixed()}));
    EXPECT_EQ(none.parameters, start);
    EXPECT_EQ(none.rank, 0);
    EXPECT_EQ(none.end, nlsq_GradientSmall);
}

TEST(Nlsq, BoundsHold) {
    const std::vector<double> x = positions(50);
    const std::vector<double> y = disturbed(x);
    const nlsq_sResult free = nlsq_Fit(decay, x, y, start);
    const nlsq_sResult fixed = nlsq_Fit(decay, x, y, std::vector{3.0, 0.3},
                                        with({nlsq_sParameter::Free(), nlsq_sParameter::Fixed()}));
    const nlsq_sResult bound =
        nlsq_Fit(decay, x, y, std::vector{3.0, 0.1},
                 with({nlsq_sParameter::Free(), nlsq_sParameter::Bounded(0, 0.3)}));
    EXPECT_TRUE(bound.Converged());
    EXPECT_EQ(bound.parameters[1], 0.3);
    EXPECT_THAT(bound.atBound, ElementsAre(1));
    EXPECT_EQ(bound.standardErrors[1], 0);
    EXPECT_EQ(bound.free, 1);
    EXPECT_NEAR(bound.parameters[0], fixed.parameters[0], 1e-13);
    EXPECT_NEAR(bound.standardErrors[0], fixed.standardErrors[0], 1e-13);

    // One that does not matter changes nothing, and a start outside is moved inside.
    const nlsq_sResult wide =
        nlsq_Fit(decay, x, y, std::vector{3.0, 9.0},
                 with({nlsq_sParameter::Bounded(0, 100), nlsq_sParameter::Bounded(0.2, 1)}));
    EXPECT_THAT(wide.atBound, IsEmpty());
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(wide.parameters[i], free.parameters[i], 1e-9 * free.standardErrors[i]);
        EXPECT_NEAR(wide.standardErrors[i], free.standardErrors[i], 1e-12);
    }
    // From a bound a parameter comes back.
    const nlsq_sResult back =
        nlsq_Fit(decay, x, y, std::vector{3.0, 0.2},
                 with({nlsq_sParameter::Free(), nlsq_sParameter::Bounded(0.2, 1)}));
    EXPECT_THAT(back.atBound, IsEmpty());
    EXPECT_NEAR(back.parameters[1], free.parameters[1], 1e-9 * free.standardErrors[1]);
}

/// The least sum of squares of a bounded linear problem of three unknowns, by all ways to put some
/// of them on a bound.
long double leastOfAllWays(const std::vector<std::array<long double, 3>>& rows,
                           const std::vector<double>& y, const std::array<double, 3>& lower,
                           const std::array<double, 3>& upper) {
    long double least = std::numeric_limits<long double>::infinity();
    for (int way = 0; way < 27; ++way) {
        const std::array<int, 3> which{way % 3, way / 3 % 3, way / 9};
        std::array<long double, 3> x{};
        std::vector<std::size_t> free;
        for (std::size_t j = 0; j < 3; ++j) {
            if (which[j] == 0)
                free.push_back(j);
            else
                x[j] = which[j] == 1 ? lower[j] : upper[j];
        }
        std::vector<std::vector<long double>> q; // columns at right angles
        std::vector<std::vector<long double>> r;
        std::vector<long double> rest;
        for (std::size_t i = 0; i < rows.size(); ++i)
            rest.push_back(y[i] - rows[i][0] * x[0] - rows[i][1] * x[1] - rows[i][2] * x[2]);
        const auto dot = [&](const auto& a, const auto& b) {
            long double sum = 0;
            for (std::size_t i = 0; i < rows.size(); ++i)
                sum += a[i] * b[i];
            return sum;
        };
        std::vector<long double> right;
        for (const std::size_t j : free) {
            std::vector<long double> column;
            for (const auto& row : rows)
                column.push_back(row[j]);
            std::vector<long double> above(q.size() + 1);
            for (int twice = 0; twice < 2; ++twice)
                for (std::size_t k = 0; k < q.size(); ++k) {
                    const long double part = dot(q[k], column);
                    above[k] += part;
                    for (std::size_t i = 0; i < rows.size(); ++i)
                        column[i] -= part * q[k][i];
                }
            above.back() = std::sqrt(dot(column, column));
            for (long double& element : column)
                element /= above.back();
            r.push_back(above);
            q.push_back(column);
            right.push_back(dot(column, rest));
        }
        for (std::size_t k = free.size(); k-- > 0;) {
            long double sum = right[k];
            for (std::size_t l = k + 1; l < free.size(); ++l)
                sum -= r[l][k] * x[free[l]];
            x[free[k]] = sum / r[k][k];
        }
        bool isInside = true;
        long double squares = 0;
        for (std::size_t j = 0; j < 3; ++j)
            isInside = isInside && x[j] >= lower[j] && x[j] <= upper[j];
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const long double residual =
                y[i] - rows[i][0] * x[0] - rows[i][1] * x[1] - rows[i][2] * x[2];
            squares += residual * residual;
        }
        if (isInside)
            least = std::min(least, squares);
    }
    return least;
}

// Steps along nearly parallel columns lead through bounds.
TEST(Nlsq, BoundedProblemsEndAtTheirOptimumHoweverParallelTheirColumns) {
    std::mt19937 random(11);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform(0, 1);
    int most = 0;
    for (int problem = 0; problem < 1500; ++problem) {
        const double apart = std::array{1.0, 1e-2, 1e-5}[static_cast<std::size_t>(problem % 3)];
        const auto points = static_cast<std::size_t>(3 + problem % 7);
        std::vector<std::array<long double, 3>> rows(points);
        std::vector<double> x, y;
        for (auto& row : rows) {
            const double common = normal(random);
            for (long double& element : row)
                element = common + apart * normal(random);
            x.push_back(static_cast<double>(x.size()));
            y.push_back(normal(random));
        }
        std::array<double, 3> lower, upper;
        std::vector<nlsq_sParameter> kinds;
        std::vector<double> from;
        for (std::size_t j = 0; j < 3; ++j) {
            lower[j] = uniform(random) < 0.5 ? -1e9 : -1 + 1.5 * uniform(random);
            upper[j] = uniform(random) < 0.5 ? 1e9 : 0.5 + uniform(random);
            kinds.push_back(nlsq_sParameter::Bounded(lower[j], upper[j]));
            from.push_back(-2 + 4 * uniform(random));
        }
        const nlsq_cFunctionModel model(
            [&](double at, std::span<const double> p) {
                const auto& row = rows[static_cast<std::size_t>(at)];
                double sum = 0;
                for (std::size_t j = 0; j < 3; ++j)
                    sum += static_cast<double>(row[j]) * p[j];
                return sum;
            },
            [&](double at, std::span<const double>, std::span<double> d) {
                for (std::size_t j = 0; j < 3; ++j)
                    d[j] = static_cast<double>(rows[static_cast<std::size_t>(at)][j]);
            });
        nlsq_sOptions options = with(kinds);
        options.standardDeviations.assign(points, 1);
        const nlsq_sResult fit = nlsq_Fit(model, x, y, from, options);
        EXPECT_TRUE(fit.Converged()) << problem << ' ' << nlsq_Text(fit.end);
        const auto least = static_cast<double>(leastOfAllWays(rows, y, lower, upper));
        EXPECT_NEAR(fit.chiSquared, least, 1e-8 * (1 + least)) << problem;
        std::vector<int> atBound;
        for (int j = 0; j < 3; ++j) {
            const auto number = static_cast<std::size_t>(j);
            if (fit.parameters[number] == lower[number] || fit.parameters[number] == upper[number])
                atBound.push_back(j);
        }
        EXPECT_EQ(fit.atBound, atBound) << problem;
        most = std::max(most, fit.evaluations);
    }
    EXPECT_LT(most, 100);
}

// Where the derivative by a parameter is nearly that of another, the curvature tells nothing of
// them: what ends a hair inside its bound is put there.
TEST(Nlsq, WhatEndsAHairFromItsBoundIsPutThere) {
    const nlsq_cFunctionModel model(
        [](double x, std::span<const double> p) {
            return (p[0] + p[1]) * x + p[1] * p[1] * p[1] * x * x;
        },
        [](double x, std::span<const double> p, std::span<double> d) {
            d[0] = x;
            d[1] = x + 3 * p[1] * p[1] * x * x;
        });
    const std::vector<double> x{-4, -3, -2, -1, 1, 2, 3, 4};
    // At a right angle to x and to x^2.
    const std::vector<double> residuals{-1, 2, 0, -2, 2, 0, -2, 1};
    // The deviation of p[1] is 1 / (3 p[1]^2 26.6): 125 where p[1] is 0.01.
    for (const bool isUpper : {false, true})
        for (const double away : {1e-9, 1e-4, 1e-3, 1e-2}) {
            const double side = isUpper ? -1 : 1;
            const double found = side * (0.01 + away);
            std::vector<double> y;
            for (std::size_t i = 0; i < x.size(); ++i)
                y.push_back(5 * x[i] + found * found * found * x[i] * x[i] + residuals[i]);
            nlsq_sOptions options =
                with({nlsq_sParameter::Free(), isUpper ? nlsq_sParameter::Bounded(-3, -0.01)
                                                       : nlsq_sParameter::Bounded(0.01, 3)});
            options.standardDeviations.assign(x.size(), 1);
            const nlsq_sResult fit = nlsq_Fit(model, x, y, std::vector{4.0, side}, options);
            EXPECT_TRUE(fit.Converged());
            EXPECT_NEAR(fit.chiSquared, 18, 1e-9);
            EXPECT_NEAR(fit.parameters[0] + fit.parameters[1], 5, 1e-9);
            if (away < 5e-4) {
                EXPECT_EQ(fit.parameters[1], side * 0.01);
                EXPECT_THAT(fit.atBound, ElementsAre(1));
                EXPECT_NEAR(fit.standardErrors[0], 1 / std::sqrt(60), 1e-9);
            } else {
                EXPECT_NEAR(fit.parameters[1], found, 1e-4);
                EXPECT_THAT(fit.atBound, IsEmpty());
                EXPECT_GT(fit.standardErrors[0], 10);
            }
        }
}

/// A parabola in one variable whose column has the norm 1, however flat it is, and a record of what
/// a fit asks of it. Its windows reach to `covered`; new ones make it `more` higher.
class cParabola : public dataprocessing::detail::nlsq_cEquations {
public:
    cParabola(double curvature, double bottom, double least)
        : curvature_(curvature), bottom_(bottom), least_(least) {}

    double Try(std::span<const double> q) override {
        asked += 'T';
        there_ = {curvature_ * (bottom_ - q[0])};
        if (isNothingCovered && covered > q[0] && q[0] == 0)
            return infinity;
        return least_ + higher + curvature_ * (bottom_ - q[0]) * (bottom_ - q[0]) +
               (higher > 0 && q[0] > wall ? 1e9 : 0.0);
    }
    void Accept() noexcept override {
        asked += 'A';
        here_ = there_;
    }
    bool Covers(std::span<const double> q) const override { return q[0] <= covered; }
    void Cover(std::span<const double>, std::span<const double> to) override {
        asked += 'C';
        before_ = covered;
        covered = 2 * to[0];
        higher += more;
    }
    void Uncover() override {
        asked += 'U';
        covered = before_;
        higher -= more;
    }
    double Rounding(double) const noexcept override { return 0; }
    std::span<const double> Gradient() const noexcept override { return here_; }
    std::span<const double> Norms() const noexcept override { return norms_; }
    bool Solve(double damping, std::span<const double> scale, std::span<const char>,
               std::span<double> step) override {
        step[0] = here_[0] / (curvature_ + damping * scale[0] * scale[0]);
        return true;
    }
    bool SolveWhole(std::span<const char>, std::span<double> step) override {
        step[0] = here_[0] / curvature_;
        return true;
    }
    double Curvature(std::span<const double> step) const noexcept override {
        return curvature_ * step[0] * step[0];
    }
    dataprocessing::detail::nlsq_sCovariance Covariance(std::span<const char>) override {
        return {{1 / curvature_}, 1, {0}};
    }

    double covered = infinity;
    double more = 0;
    double higher = 0;
    double wall = infinity;
    bool isNothingCovered = false; ///< Where it stands, by new windows.
    std::string asked;

private:
    double curvature_;
    double bottom_;
    double least_;
    double before_ = 0;
    std::vector<double> here_{0};
    std::vector<double> there_{0};
    std::vector<double> norms_{1};
};

nlsq_sResult minimise(cParabola& parabola, int mostEvaluations = 100) {
    const std::vector<double> from{0};
    using namespace dataprocessing::detail;
    return nlsq_Minimise(parabola, nlsq_cParameters(from, {}), {.mostEvaluations = mostEvaluations},
                         10, false);
}

// The gradient is small beside the column, and there is a thousandth of chi-squared to gain.
TEST(NlsqSteps, GoAlmostAllTheWayWhereOnlyTheDampingMakesThemShort) {
    cParabola flat(1e-23, 1e10, 1);
    const nlsq_sResult fit = minimise(flat);
    EXPECT_TRUE(fit.Converged());
    EXPECT_NEAR(fit.parameters[0], 1e10, 2e8);
    EXPECT_LE(fit.evaluations, 5);
}

// Before a step leaves the windows they are laid anew, and both ends are looked at with the same.
TEST(NlsqSteps, LookAtBothEndsOfAStepThatLeavesTheWindows) {
    cParabola parabola(1, 4, 1);
    parabola.covered = 1;
    parabola.more = 0.5;
    const nlsq_sResult fit = minimise(parabola);
    EXPECT_TRUE(fit.Converged());
    EXPECT_NEAR(fit.parameters[0], 4, 1e-9);
    EXPECT_NEAR(fit.chiSquared, 1.5, 1e-12);
    EXPECT_EQ(parabola.asked.substr(0, 7), "TATCTAT");
}

TEST(NlsqSteps, KeepTheWindowsWhereNewOnesHaveNoValue) {
    cParabola parabola(1, 4, 1);
    parabola.covered = 1;
    parabola.more = 0.5;
    parabola.isNothingCovered = true;
    parabola.covered = -1;
    const nlsq_sResult fit = minimise(parabola, 60);
    EXPECT_EQ(parabola.asked.substr(0, 6), "TATCTU");
    EXPECT_EQ(parabola.higher, 0);
    EXPECT_EQ(fit.parameters[0], 0);
    EXPECT_EQ(fit.chiSquared, 17);
}

// Where it stands, a fit tells of the windows that it ended with, though it went nowhere with them.
TEST(NlsqSteps, TellTheGradientOfTheWindowsThatTheyEndWith) {
    cParabola parabola(1, 4, 1);
    parabola.covered = 1;
    parabola.more = 8;
    // Beyond it no step is taken in new windows.
    parabola.wall = 3.9;
    const nlsq_sResult fit = minimise(parabola, 5);
    EXPECT_EQ(fit.end, nlsq_MostEvaluations);
    EXPECT_EQ(fit.chiSquared, 17 + 8);
    EXPECT_DOUBLE_EQ(fit.gradient, 4 / std::sqrt(fit.chiSquared));
}

// Far from the origin intercept and slope go together: cutting the step of one alone makes it
// worse.
TEST(Nlsq, BoundThatCutsAStepIsNotTheEnd) {
    std::vector<double> x, y;
    for (int i = 0; i < 101; ++i) {
        x.push_back(10 + 0.01 * i);
        y.push_back(200 - 3 * x.back() + i * 37 % 23 / 23.0);
    }
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood})
        for (const double upper : {0.1, 1.0, 50.0, 100.0}) {
            nlsq_sOptions options =
                with({nlsq_sParameter::Bounded(-infinity, upper), nlsq_sParameter::Free()});
            options.objective = objective;
            const nlsq_sResult bound = nlsq_Fit(line, x, y, std::vector{0.0, 17.0}, options);
            options.parameters[0] = nlsq_sParameter::Fixed();
            const nlsq_sResult fixed = nlsq_Fit(line, x, y, std::vector{upper, 17.0}, options);
            EXPECT_TRUE(bound.Converged());
            EXPECT_EQ(bound.parameters[0], upper);
            EXPECT_THAT(bound.atBound, ElementsAre(0));
            EXPECT_NEAR(bound.parameters[1], fixed.parameters[1], 1e-6 * fixed.standardErrors[1]);
            EXPECT_NEAR(bound.standardErrors[1], fixed.standardErrors[1],
                        1e-6 * fixed.standardErrors[1]);
            EXPECT_LT(bound.evaluations, 30);
        }
}

// Against descent along one parameter after the other.
TEST(Nlsq, BoundedLinearProblemsEndAtTheirOptimum) {
    std::mt19937_64 generator(1);
    const auto draw = [&] { return 2 * (static_cast<double>(generator() >> 11) * 0x1p-53) - 1; };
    constexpr std::size_t points = 40;
    std::vector<double> x;
    for (std::size_t i = 0; i < points; ++i)
        x.push_back(static_cast<double>(i));
    for (std::size_t problem = 0; problem < 200; ++problem) {
        const std::size_t count = 2 + problem % 4;
        const double together = static_cast<double>(problem / 4 % 3);
        std::vector<double> columns, y, from, lower, upper;
        for (std::size_t i = 0; i < points * count; ++i)
            columns.push_back(3 * together + draw());
        for (std::size_t i = 0; i < points; ++i)
            y.push_back(10 * draw());
        nlsq_sOptions options;
        for (std::size_t j = 0; j < count; ++j) {
            const double a = 3 * draw();
            const double b = 3 * draw();
            lower.push_back(std::min(a, b));
            upper.push_back(std::max(a, b));
            from.push_back(a + (b - a) * (0.5 + 0.5 * draw()));
            options.parameters.push_back(nlsq_sParameter::Bounded(lower[j], upper[j]));
        }
        const nlsq_cFunctionModel model(
            [&](double at, Parameters p) {
                const double* const factors = &columns[static_cast<std::size_t>(at) * count];
                double sum = 0;
                for (std::size_t j = 0; j < count; ++j)
                    sum += factors[j] * p[j];
                return sum;
            },
            [&](double at, Parameters, Derivatives d) {
                std::copy_n(&columns[static_cast<std::size_t>(at) * count], count, d.begin());
            });
        const nlsq_sResult result = nlsq_Fit(model, x, y, from, options);

        std::vector<double> p = from, residuals = y;
        for (std::size_t i = 0; i < points; ++i)
            for (std::size_t j = 0; j < count; ++j)
                residuals[i] -= columns[i * count + j] * p[j];
        for (int round = 0; round < 5000; ++round)
            for (std::size_t j = 0; j < count; ++j) {
                double slope = 0, square = 0;
                for (std::size_t i = 0; i < points; ++i) {
                    slope += columns[i * count + j] * residuals[i];
                    square += columns[i * count + j] * columns[i * count + j];
                }
                const double next = std::clamp(p[j] + slope / square, lower[j], upper[j]);
                for (std::size_t i = 0; i < points; ++i)
                    residuals[i] -= columns[i * count + j] * (next - p[j]);
                p[j] = next;
            }
        double least = 0;
        for (const double residual : residuals)
            least += residual * residual;
        EXPECT_TRUE(result.Converged()) << problem;
        EXPECT_LE(result.chiSquared, least * (1 + 1e-9)) << problem;
    }
}

TEST(Nlsq, TiesReachThroughOthers) {
    const std::vector<double> x = positions(60);
    std::vector<double> y;
    for (const double at : x)
        y.push_back(5 * std::exp(-0.4 * at) + 11 * std::exp(-0.9 * at) +
                    0.02 * std::cos(50 * at * at));
    // p2 = 2 p0 + 1 and p3 = p1 + 0.5, p4 = 3 p3 - 1 = 3 p1 + 0.5
    const nlsq_cFunctionModel two([](double at, Parameters p) {
        return p[0] * std::exp(-p[1] * at) + p[2] * std::exp(-p[3] * at) + 0.001 * p[4];
    });
    const nlsq_cFunctionModel one([](double at, Parameters p) {
        return p[0] * std::exp(-p[1] * at) + (2 * p[0] + 1) * std::exp(-(p[1] + 0.5) * at) +
               0.001 * (3 * p[1] + 0.5);
    });
    const nlsq_sResult expected = nlsq_Fit(one, x, y, std::vector{4.0, 0.5});
    const nlsq_sResult fit = nlsq_Fit(
        two, x, y, std::vector{4.0, 0.5, 0.0, 0.0, notANumber},
        with({nlsq_sParameter::Free(), nlsq_sParameter::Free(), nlsq_sParameter::Tied(0, 2, 1),
              nlsq_sParameter::Tied(1, 1, 0.5), nlsq_sParameter::Tied(3, 3, -1)}));
    ASSERT_TRUE(fit.Converged());
    const double error = expected.standardErrors[1];
    EXPECT_NEAR(fit.parameters[0], expected.parameters[0], 1e-7 * expected.standardErrors[0]);
    EXPECT_NEAR(fit.parameters[1], expected.parameters[1], 1e-7 * error);
    EXPECT_DOUBLE_EQ(fit.parameters[2], 2 * fit.parameters[0] + 1);
    EXPECT_DOUBLE_EQ(fit.parameters[4], 3 * fit.parameters[1] + 0.5);
    EXPECT_NEAR(fit.standardErrors[2], 2 * expected.standardErrors[0], 1e-8);
    EXPECT_NEAR(fit.standardErrors[4], 3 * error, 1e-8);
    EXPECT_NEAR(fit.Correlation(3, 4), 1, 1e-14);
    EXPECT_EQ(fit.rank, 2);

    // Tied to one that is fixed is fixed.
    const nlsq_sResult fixed =
        nlsq_Fit(decay, x, y, std::vector{7.0, 0.0},
                 with({nlsq_sParameter::Fixed(), nlsq_sParameter::Tied(0, 0.1)}));
    EXPECT_DOUBLE_EQ(fixed.parameters[1], 0.7);
    EXPECT_EQ(fixed.rank, 0);
}

TEST(Nlsq, WhatTheDataDoNotDetermineIsSaid) {
    // Only the product of the first two matters, and the last does not at all.
    const nlsq_cFunctionModel model(
        [](double x, Parameters p) { return p[0] * p[1] * std::exp(-p[2] * x) + 0 * p[3]; });
    const std::vector<double> x = positions(50);
    const std::vector<double> y = disturbed(x);
    const nlsq_sResult expected = nlsq_Fit(decay, x, y, start);
    const nlsq_sResult fit = nlsq_Fit(model, x, y, std::vector{1.0, 3.0, 1.0, 2.0});
    ASSERT_TRUE(fit.Converged());
    EXPECT_EQ(fit.free, 4);
    EXPECT_EQ(fit.rank, 2);
    EXPECT_EQ(fit.degreesOfFreedom, 48);
    EXPECT_THAT(fit.undetermined, ElementsAre(0, 1, 3));
    EXPECT_NEAR(fit.parameters[0] * fit.parameters[1], expected.parameters[0], 1e-6);
    EXPECT_NEAR(fit.standardErrors[2], expected.standardErrors[1], 1e-9);
    EXPECT_EQ(fit.parameters[3], 2);
    for (const double error : fit.standardErrors)
        EXPECT_TRUE(std::isfinite(error));

    // A linear problem takes the shortest solution: equal parts, both columns being as long.
    const nlsq_cFunctionModel sum([](double x1, Parameters p) { return (p[0] + p[1]) * x1; },
                                  [](double x1, Parameters, Derivatives d) { d[0] = d[1] = x1; });
    const nlsq_sResult half =
        nlsq_FitLinear(sum, std::vector{1.0, 2.0, 3.0}, std::vector{2.0, 4.0, 6.0}, 2);
    EXPECT_EQ(half.rank, 1);
    EXPECT_NEAR(half.parameters[0], 1, 1e-15);
    EXPECT_NEAR(half.parameters[1], 1, 1e-15);
    EXPECT_THAT(half.undetermined, ElementsAre(0, 1));

    // A constant that takes a small part in what is missing is not determined either.
    const nlsq_cFunctionModel nearly(
        [](double t, Parameters p) { return p[0] * t + p[1] + p[2] * (t + 0.01); },
        [](double t, Parameters, Derivatives d) {
            d[0] = t;
            d[1] = 1;
            d[2] = t + 0.01;
        });
    const nlsq_sResult little = nlsq_FitLinear(nearly, std::vector{-2.0, -1.0, 1.0, 2.0},
                                               std::vector{-2.0, -1.0, 1.0, 2.5}, 3);
    EXPECT_EQ(little.rank, 2);
    EXPECT_THAT(little.undetermined, ElementsAre(0, 1, 2));
}

TEST(Nlsq, FewerPointsThanParametersIsAnAnswerToo) {
    const nlsq_sResult fit =
        nlsq_Fit(decay, std::vector{1.0}, std::vector{2.0}, std::vector{3.0, 0.5});
    EXPECT_TRUE(fit.Converged());
    EXPECT_EQ(fit.rank, 1);
    EXPECT_EQ(fit.degreesOfFreedom, 0);
    EXPECT_TRUE(std::isnan(fit.ReducedChiSquared()));
    EXPECT_NEAR(fit.parameters[0] * std::exp(-fit.parameters[1]), 2, 1e-14);
}

TEST(Nlsq, LikelihoodOfCountsIsUnbiased) {
    // The mean of counts is what makes them most likely, and its variance the mean over n.
    const nlsq_cFunctionModel constant([](double, Parameters p) { return p[0]; },
                                       [](double, Parameters, Derivatives d) { d[0] = 1; });
    std::mt19937_64 random(7);
    std::poisson_distribution<int> counts(0.7);
    std::vector<double> x, y;
    double mean = 0;
    for (int i = 0; i < 1000; ++i) {
        x.push_back(i);
        y.push_back(counts(random));
        mean += y.back() / 1000;
    }
    nlsq_sOptions options;
    options.objective = nlsq_PoissonLikelihood;
    const nlsq_sResult fit = nlsq_Fit(constant, x, y, std::vector{20.0}, options);
    ASSERT_TRUE(fit.Converged());
    EXPECT_NEAR(fit.parameters[0], mean, 1e-13);
    EXPECT_NEAR(fit.standardErrors[0], std::sqrt(mean / 1000), 1e-10);
    double deviance = 0;
    for (const double count : y)
        deviance += 2 * (mean - count + (count > 0 ? count * std::log(count / mean) : 0));
    EXPECT_NEAR(fit.chiSquared, deviance, 1e-11);

    // A model that would have to be negative somewhere does not get there.
    const nlsq_sResult falling =
        nlsq_Fit(line, std::vector{0.0, 1.0, 2.0, 3.0}, std::vector{9.0, 1.0, 0.0, 0.0},
                 std::vector{5.0, -1.0}, options);
    EXPECT_GE(falling.parameters[0] + 3 * falling.parameters[1], 0);
    EXPECT_LT(falling.parameters[1], -1);
}

TEST(Nlsq, PointsOfWeightZeroNeedNoValue) {
    const nlsq_cFunctionModel hyperbola([](double x, Parameters p) { return p[0] / x + p[1]; });
    const nlsq_cFunctionModel exact([](double x, Parameters p) { return p[0] / x + p[1]; },
                                    [](double x, Parameters, Derivatives d) {
                                        d[0] = 1 / x;
                                        d[1] = 1;
                                    });
    std::vector<double> x, y;
    for (int i = 0; i < 10; ++i) {
        x.push_back(i);
        y.push_back(i == 0 ? 0 : 2.0 / i + 1 + 0.01 * std::sin(7.0 * i));
    }
    nlsq_sOptions options;
    options.weights.assign(10, 1);
    options.weights[0] = 0;
    const nlsq_sResult expected =
        nlsq_FitLinear(exact, std::span(x).subspan(1), std::span(y).subspan(1), 2);
    for (const nlsq_cFunctionModel* model : {&hyperbola, &exact})
        for (const nlsq_sResult& fit :
             {nlsq_Fit(*model, x, y, start, options), nlsq_FitLinear(*model, x, y, 2, options)}) {
            EXPECT_TRUE(fit.Converged()) << nlsq_Text(fit.end);
            EXPECT_EQ(fit.degreesOfFreedom, 7);
            for (std::size_t i = 0; i < 2; ++i) {
                EXPECT_NEAR(fit.parameters[i], expected.parameters[i], 1e-8);
                EXPECT_NEAR(fit.standardErrors[i], expected.standardErrors[i], 1e-8);
            }
        }
}

TEST(Nlsq, LinearProblemsAreSolvedInTwoEvaluations) {
    const std::vector<double> x{0, 1, 2, 3}, y{1, 2, 3, 5};
    nlsq_sOptions options;
    options.control.mostEvaluations = 2;
    const nlsq_sResult fit = nlsq_FitLinear(line, x, y, 2, options);
    EXPECT_EQ(fit.end, nlsq_Solved);
    EXPECT_EQ(fit.evaluations, 2);
    EXPECT_NEAR(fit.chiSquared, 0.3, 1e-12);
    options.control.mostEvaluations = 1;
    EXPECT_EQ(nlsq_FitLinear(line, x, y, 2, options).end, nlsq_MostEvaluations);
}

TEST(Nlsq, EndsAreTold) {
    const std::vector<double> x = positions(50);
    const std::vector<double> y = disturbed(x);
    const nlsq_sResult whole = nlsq_Fit(decay, x, y, start);
    ASSERT_TRUE(whole.Converged());
    ASSERT_GT(whole.iterations, 4);

    nlsq_sOptions options;
    options.control.mostEvaluations = 3;
    const nlsq_sResult few = nlsq_Fit(decay, x, y, start, options);
    EXPECT_EQ(few.end, nlsq_MostEvaluations);
    EXPECT_EQ(few.evaluations, 3);
    EXPECT_FALSE(few.Converged());
    EXPECT_GT(few.standardErrors[0], 0);

    options = {};
    options.control.gradientTolerance = 1e-3;
    const nlsq_sResult flat = nlsq_Fit(decay, x, y, start, options);
    EXPECT_EQ(flat.end, nlsq_GradientSmall);
    EXPECT_LE(flat.gradient, 1e-3);
    EXPECT_LT(flat.iterations, whole.iterations);

    options = {};
    options.control.stepTolerance = 1e-2;
    const nlsq_sResult slow = nlsq_Fit(decay, x, y, start, options);
    EXPECT_EQ(slow.end, nlsq_StepSmall);
    EXPECT_LE(slow.step, 1e-2);
    EXPECT_GT(slow.step, 0);

    options = {};
    options.control.decreaseTolerance = 1e-4;
    const nlsq_sResult level = nlsq_Fit(decay, x, y, start, options);
    EXPECT_EQ(level.end, nlsq_DecreaseSmall);
    EXPECT_LE(level.decrease, 1e-4);
    EXPECT_GT(level.decrease, 0);
    EXPECT_LT(level.iterations, whole.iterations);

    std::stop_source source;
    options = {};
    options.control.stop = source.get_token();
    options.control.observer = [&](const nlsq_sIteration& iteration) {
        if (iteration.iteration == 2)
            source.request_stop();
        return nlsq_Continue;
    };
    const nlsq_sResult stopped = nlsq_Fit(decay, x, y, start, options);
    EXPECT_EQ(stopped.end, nlsq_Stopped);
    EXPECT_EQ(stopped.iterations, 2);

    options = {};
    std::vector<double> seen;
    options.control.observer = [&](const nlsq_sIteration& iteration) {
        EXPECT_EQ(iteration.iteration, static_cast<int>(seen.size()) + 1);
        EXPECT_GT(iteration.evaluations, iteration.iteration);
        EXPECT_GT(iteration.damping, 0);
        EXPECT_EQ(iteration.parameters.size(), 2U);
        seen.push_back(iteration.chiSquared);
        return seen.size() == 3 ? nlsq_Stop : nlsq_Continue;
    };
    const nlsq_sResult observed = nlsq_Fit(decay, x, y, start, options);
    EXPECT_EQ(observed.end, nlsq_StoppedByObserver);
    EXPECT_EQ(seen.size(), 3U);
    EXPECT_TRUE(std::is_sorted(seen.rbegin(), seen.rend()));
    EXPECT_EQ(observed.chiSquared, seen.back());

    const nlsq_cFunctionModel root([](double at, Parameters p) { return std::sqrt(p[0] + at); });
    const nlsq_sResult nowhere = nlsq_Fit(root, x, y, std::vector{-1.0});
    EXPECT_EQ(nowhere.end, nlsq_NoValue);
    EXPECT_THAT(nowhere.parameters, ElementsAre(-1));
    EXPECT_THAT(nowhere.standardErrors, ElementsAre(0));

    // Derivatives of the wrong sign lead uphill, however short the step.
    const nlsq_cFunctionModel wrong([](double at, Parameters p) { return p[0] * at; },
                                    [](double at, Parameters, Derivatives d) { d[0] = -at; });
    const nlsq_sResult uphill = nlsq_Fit(wrong, x, y, std::vector{1.0});
    EXPECT_EQ(uphill.end, nlsq_NoDecrease);
    EXPECT_FALSE(uphill.Converged());
    EXPECT_GT(uphill.gradient, 1e-3);

    for (int end = nlsq_GradientSmall; end <= nlsq_NoValue; ++end)
        EXPECT_STRNE(nlsq_Text(static_cast<nlsq_eEnd>(end)), "unknown");
}

/// A straight line that asks for a stop at one of its evaluations with derivatives, and counts
/// those from then on.
class cStoppingLine : public nlsq_cModel {
public:
    explicit cStoppingLine(int last) : left_(last) {}
    void Evaluate(std::span<const double> x, std::span<const double> p, std::span<double> values,
                  std::span<double> derivatives) const override {
        after_ += source_.stop_requested();
        line.Evaluate(x, p, values, derivatives);
        if (!derivatives.empty() && --left_ == 0)
            source_.request_stop();
    }
    std::stop_token Token() const { return source_.get_token(); }
    int After() const { return after_; }

private:
    mutable std::stop_source source_;
    mutable int left_;
    mutable int after_ = 0;
};

// In the middle of a step that is shortened, of many steps at once, or before a barrier.
/// (10 - q)^2, and 5 more each time that it is made anew for places further out.
class cGrowing : public dataprocessing::detail::nlsq_cEquations {
public:
    double Try(std::span<const double> q) override {
        there_ = 10 - q[0];
        return there_ * there_ + offset_;
    }
    void Accept() noexcept override { here_ = there_; }
    bool Covers(std::span<const double> q) const override { return q[0] <= end_; }
    void Cover(std::span<const double>, std::span<const double> to) override {
        end_ = to[0];
        offset_ += 5;
    }
    double Rounding(double chiSquared) const noexcept override { return 1e-16 * chiSquared; }
    std::span<const double> Gradient() const noexcept override { return {&here_, 1}; }
    std::span<const double> Norms() const noexcept override { return {&one_, 1}; }
    bool Solve(double damping, std::span<const double>, std::span<const char>,
               std::span<double> step) override {
        step[0] = here_ / (1 + damping);
        return true;
    }
    bool SolveWhole(std::span<const char>, std::span<double> step) override {
        step[0] = here_;
        return true;
    }
    double Curvature(std::span<const double> step) const noexcept override {
        return step[0] * step[0];
    }
    dataprocessing::detail::nlsq_sCovariance Covariance(std::span<const char>) override {
        return {{1.0}, 1, {0}};
    }
    double Offset() const { return offset_; }

private:
    double here_ = 0;
    double there_ = 0;
    double one_ = 1;
    double end_ = 1;
    double offset_ = 1;
};

TEST(Nlsq, WhatIsMadeAnewOnTheWayIsComparedWithItself) {
    using namespace dataprocessing::detail;
    cGrowing equations;
    const std::vector<double> begin{0};
    const nlsq_cParameters parameters(begin, {});
    nlsq_sControl control;
    control.gradientTolerance = 0;
    const nlsq_sResult fit = nlsq_Minimise(equations, parameters, control, 3, false);
    EXPECT_TRUE(fit.Converged()) << nlsq_Text(fit.end);
    EXPECT_NEAR(fit.parameters[0], 10, 1e-6);
    EXPECT_NEAR(fit.chiSquared, equations.Offset(), 1e-6);
    EXPECT_GT(equations.Offset(), 8);
    // No more evaluations are made than are allowed.
    for (int evaluations = 1; evaluations < fit.evaluations; ++evaluations) {
        cGrowing again;
        control.mostEvaluations = evaluations;
        const nlsq_sResult few = nlsq_Minimise(again, parameters, control, 3, false);
        EXPECT_LE(few.evaluations, evaluations);
        EXPECT_EQ(few.end, nlsq_MostEvaluations);
    }
}

TEST(Nlsq, NothingIsEvaluatedAfterAStop) {
    const std::vector<double> x = positions(20);
    nlsq_sOptions options;
    options.objective = nlsq_PoissonLikelihood;
    for (const std::vector<double>& counts : std::vector<std::vector<double>>{
             {50, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
             {0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1},
             {0, 0, 1, 1, 1, 2, 2, 1, 3, 2, 2, 6, 4, 4, 5, 2, 6, 3, 3, 2}})
        for (const auto& [first, slope] :
             std::vector<std::pair<double, double>>{{2.5, 0}, {40, 0}, {2.5, -0.4}})
            for (int last = 1; last < 15; ++last) {
                const cStoppingLine stopping(last);
                options.control.stop = stopping.Token();
                const nlsq_sResult fit =
                    nlsq_Fit(stopping, x, counts, std::vector{first, slope}, options);
                EXPECT_EQ(fit.end, nlsq_Stopped) << first << ' ' << slope << ' ' << last;
                EXPECT_EQ(fit.evaluations, last + stopping.After());
                // A barrier is taken away.
                EXPECT_LE(stopping.After(), last > 5 ? 1 : 0)
                    << first << ' ' << slope << ' ' << last;
            }
}

// exp(-p x) to values far from any exponential: a step leaves a fifth of the distance, or three.
TEST(Nlsq, EndsWhereLittleIsLeftToGainAtThePaceOfItsSteps) {
    const nlsq_cFunctionModel oneDecay(
        [](double t, std::span<const double> p) { return std::exp(-p[0] * t); },
        [](double t, std::span<const double> p, std::span<double> d) {
            d[0] = -t * std::exp(-p[0] * t);
        });
    const std::vector<double> x{0.5, 1, 2, 3}, from{0.6};
    for (const auto& [y, leaves] : {std::pair{std::vector{1.4, -0.3, 0.5, -0.1}, 0.2},
                                    std::pair{std::vector{-0.1, 1.9, -1.9, 2.2}, 0.6}}) {
        nlsq_sOptions options;
        options.control.decreaseTolerance = 0;
        options.control.gradientTolerance = 0;
        options.control.stepTolerance = 0;
        std::vector<double> parameters;
        options.control.observer = [&](const nlsq_sIteration& at) {
            parameters.push_back(at.parameters[0]);
            return nlsq_Continue;
        };
        const nlsq_sResult best = nlsq_Fit(oneDecay, x, y, from, options);
        const double first = parameters[4] - best.parameters[0];
        const double second = parameters[5] - best.parameters[0];
        ASSERT_NEAR(std::fabs(second / first), leaves, 0.05) << "not slow";
        options.control.observer = {};
        int evaluations = best.evaluations;
        for (const double tolerance : {1e-14, 1e-11, 1e-8, 1.0}) {
            options.control.remainderTolerance = tolerance;
            const nlsq_sResult found = nlsq_Fit(oneDecay, x, y, from, options);
            EXPECT_EQ(found.end, nlsq_DecreaseSmall);
            EXPECT_LT(found.evaluations, evaluations) << tolerance;
            EXPECT_GE(found.evaluations, 3) << tolerance << ": two paces are needed";
            evaluations = found.evaluations;
            // What the curvature of chi-squared says of the distance.
            double curvature = 0;
            for (const double t : x)
                curvature += std::pow(t * std::exp(-best.parameters[0] * t), 2);
            const double left = std::pow(found.parameters[0] - best.parameters[0], 2) * curvature;
            EXPECT_LE(left, 2 * tolerance * best.chiSquared) << tolerance;
        }
    }
}

/// The deviance of a line through `first` and `last` at both ends, infinite where it is not
/// positive.
double devianceOfLine(const std::vector<double>& y, double first, double last) {
    double sum = 0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        const double t = static_cast<double>(i) / static_cast<double>(y.size() - 1);
        const double value = first * (1 - t) + last * t;
        if (value < 0 || (value == 0 && y[i] > 0))
            return std::numeric_limits<double>::infinity();
        sum += 2 * (value - y[i] + (y[i] > 0 ? y[i] * std::log(y[i] / value) : 0));
    }
    return sum;
}

/// The least value of a convex function from 0 to 60, by golden sections.
template<class Function>
double leastOf(Function function) {
    double low = 0;
    double high = 60;
    for (int i = 0; i < 42; ++i) {
        const double a = low + 0.381966 * (high - low);
        const double b = high - 0.381966 * (high - low);
        if (function(a) <= function(b))
            high = b;
        else
            low = a;
    }
    return std::min(function(0.0), function(low / 2 + high / 2));
}

/// The fit of a straight line to counts at 0, 1, 2, ..., from their mean.
nlsq_sResult likeliestLine(const std::vector<double>& counts, nlsq_sOptions options = {}) {
    const nlsq_cFunctionModel straight([](double t, Parameters p) { return p[0] + p[1] * t; },
                                       [](double t, Parameters, std::span<double> d) {
                                           d[0] = 1;
                                           d[1] = t;
                                       });
    std::vector<double> positions(counts.size());
    std::iota(positions.begin(), positions.end(), 0.0);
    const double sum = std::accumulate(counts.begin(), counts.end(), 0.0);
    options.objective = nlsq_PoissonLikelihood;
    return nlsq_Fit(straight, positions, counts,
                    std::vector{sum / static_cast<double>(counts.size()), 0.0}, options);
}

/// Expects that the likeliest line was found, and returns the lesser of its values at the ends.
double expectLikeliest(const nlsq_sResult& found, const std::vector<double>& counts) {
    const double best = leastOf(
        [&](double a) { return leastOf([&](double b) { return devianceOfLine(counts, a, b); }); });
    EXPECT_TRUE(found.Converged()) << nlsq_Text(found.end);
    EXPECT_NEAR(found.chiSquared, best, 1e-5);
    const double first = found.parameters[0];
    const double last = first + found.parameters[1] * static_cast<double>(counts.size() - 1);
    // What helped on the way is not in the result.
    EXPECT_NEAR(found.chiSquared, devianceOfLine(counts, first, last), 1e-10);
    EXPECT_GT(std::min(first, last), 0);
    EXPECT_EQ(found.rank, 2);
    if (std::min(first, last) > 1e-3) {
        EXPECT_LT(found.gradient, 1e-8);
    }
    return std::min(first, last);
}

// Half of these lines are likeliest where they touch 0 at an end.
TEST(Nlsq, LikelihoodIsLargestAtTheEdgeOfAPositiveModelToo) {
    std::mt19937 random(5);
    std::uniform_real_distribution<> exponent(-2, 1);
    int atEdge = 0;
    int evaluations = 0;
    for (int spectra = 0; spectra < 120; ++spectra) {
        const double first = std::pow(10, exponent(random));
        const double last = std::pow(10, exponent(random));
        std::vector<double> counts;
        for (int i = 0; i < 20; ++i)
            counts.push_back(std::poisson_distribution<>(first + (last - first) * i / 19)(random));
        if (std::all_of(counts.begin(), counts.end(), [](double count) { return count == 0; }))
            continue;
        SCOPED_TRACE(spectra);
        const nlsq_sResult found = likeliestLine(counts);
        atEdge += expectLikeliest(found, counts) < 1e-5;
        EXPECT_LT(found.evaluations, 90);
        evaluations += found.evaluations;
    }
    EXPECT_GT(atEdge, 40);
    EXPECT_LT(evaluations, 120 * 30);
}

// Lines whose steps are too short a thousand times, lead to and fro, come near 0 slowly, or would
// be held up by the weights of a channel near 0.
TEST(Nlsq, LikelihoodIsLargestAlsoWhereTheWayIsLong) {
    for (const auto& [counts, most] : std::vector<std::pair<std::vector<double>, int>>{
             {{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}, 45},
             {{0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 25},
             {{0, 0, 1, 1, 1, 2, 2, 1, 3, 2, 2, 6, 4, 4, 5, 2, 6, 3, 3, 2}, 90},
             {{7, 13, 7, 9, 10, 4, 7, 5, 5, 2, 6, 3, 2, 1, 4, 2, 1, 0, 1, 0}, 90},
             {{3, 6, 2, 3, 4, 3, 2, 2, 2, 1, 1, 2, 1, 1, 2, 1, 0, 1, 0, 0}, 90},
             {{5, 4, 6, 2, 3, 5, 1, 3, 0, 4, 2, 2, 1, 1, 0, 0, 0, 0, 1, 0}, 90},
             {{7, 10, 9, 11, 8, 8, 2, 5, 4, 6, 6, 4, 0, 1, 3, 2, 2, 0, 1, 0}, 90},
             {{4, 1, 3, 3, 0, 0, 2, 0, 2, 2, 1, 0, 1, 1, 0, 0, 0, 1, 0, 0}, 90}}) {
        SCOPED_TRACE(testing::PrintToString(counts));
        const nlsq_sResult found = likeliestLine(counts);
        expectLikeliest(found, counts);
        EXPECT_LT(found.evaluations, most);
    }
}

// Where steps are slow, a long one goes no further than bounds and evaluations allow.
TEST(Nlsq, LongStepsKeepToBoundsAndEvaluations) {
    for (std::vector<double> counts : std::vector<std::vector<double>>{
             {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0},
             {0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1},
             {7, 13, 7, 9, 10, 4, 7, 5, 5, 2, 6, 3, 2, 1, 4, 2, 1, 0, 1, 0}})
        for (int turn = 0; turn < 2; ++turn) {
            std::reverse(counts.begin(), counts.end());
            const double mean = std::accumulate(counts.begin(), counts.end(), 0.0) / 20;
            const nlsq_sResult best = likeliestLine(counts);
            for (const double part : {0.3, 0.6, 0.9, 0.97, 0.99, 0.999}) {
                SCOPED_TRACE(part);
                // From the mean, not all the way to where they would go.
                const double to[] = {mean + part * (best.parameters[0] - mean),
                                     part * best.parameters[1]};
                const double from[] = {mean, 0};
                for (const std::size_t i : {0U, 1U}) {
                    nlsq_sOptions options =
                        with({nlsq_sParameter::Free(), nlsq_sParameter::Free()});
                    const auto [lower, upper] = std::minmax(from[i], to[i]);
                    options.parameters[i] = nlsq_sParameter::Bounded(lower, upper);
                    const nlsq_sResult bound = likeliestLine(counts, options);
                    EXPECT_TRUE(bound.Converged());
                    EXPECT_GE(bound.parameters[i], lower);
                    EXPECT_LE(bound.parameters[i], upper);
                }
            }
            for (int most = 1; most < best.evaluations; ++most) {
                nlsq_sOptions options;
                options.control.mostEvaluations = most;
                const nlsq_sResult early = likeliestLine(counts, options);
                EXPECT_EQ(early.end, nlsq_MostEvaluations);
                EXPECT_LE(early.evaluations, most);
            }
        }
}

// From ends next to nothing a parabola seems to be at the edge; what helps there is not in what it
// ends at.
TEST(Nlsq, LikelihoodIsLargestInsideAfterAWayAlongTheEdge) {
    const nlsq_cFunctionModel parabola(
        [](double t, Parameters p) {
            return p[0] * (1 - t) * (1 - 2 * t) + p[1] * t * (2 * t - 1) + p[2] * 4 * t * (1 - t);
        },
        [](double t, Parameters, Derivatives d) {
            d[0] = (1 - t) * (1 - 2 * t);
            d[1] = t * (2 * t - 1);
            d[2] = 4 * t * (1 - t);
        });
    const std::vector<double> counts[] = {
        {0, 1, 0, 0, 0, 1, 2, 0, 2, 3, 1, 1, 1, 1, 3, 2, 4, 4, 4, 2},
        {0, 2, 0, 4, 2, 1, 1, 2, 0, 0, 1, 1, 0, 2, 2, 0, 0, 0, 1, 0},
        {2, 4, 4, 5, 5, 0, 3, 2, 0, 1, 0, 1, 1, 2, 1, 0, 0, 0, 1, 0}};
    std::vector<double> x;
    for (int i = 0; i < 20; ++i)
        x.push_back(i / 19.0);
    nlsq_sOptions options;
    options.objective = nlsq_PoissonLikelihood;
    for (const std::vector<double>& y : counts) {
        const nlsq_sResult expected = nlsq_Fit(parabola, x, y, std::vector{1.0, 1.0, 1.0}, options);
        ASSERT_TRUE(expected.Converged());
        for (const double first : {1e-9, 1e-8})
            for (const double last : {1e-7, 1e-4})
                for (const double middle : {0.01, 0.1, 1.0, 10.0}) {
                    const nlsq_sResult fit =
                        nlsq_Fit(parabola, x, y, std::vector{first, last, middle}, options);
                    EXPECT_TRUE(fit.Converged()) << first << ' ' << last << ' ' << middle;
                    for (std::size_t i = 0; i < 3; ++i)
                        EXPECT_NEAR(fit.parameters[i], expected.parameters[i], 2e-8)
                            << first << ' ' << last << ' ' << middle;
                }
    }
}

// From next to nothing, a whole first step would lead to where the exponential is gone.
TEST(Nlsq, TinyStartsLeadToTheOptimum) {
    const std::vector<double> x = positions(50);
    const std::vector<double> y = disturbed(x);
    const nlsq_sResult expected = nlsq_Fit(decay, x, y, start);
    for (const double high : {1e-8, 1e-6, 1e-4})
        for (const double rate : {1e-8, 1e-4, 1e-2, 0.1}) {
            const nlsq_sResult fit = nlsq_Fit(decay, x, y, std::vector{high, rate});
            EXPECT_TRUE(fit.Converged()) << high << ' ' << rate;
            EXPECT_NEAR(fit.parameters[0], expected.parameters[0], 1e-6) << high << ' ' << rate;
            EXPECT_NEAR(fit.parameters[1], expected.parameters[1], 1e-6) << high << ' ' << rate;
        }
}

TEST(Nlsq, StartsOfAnySizeLeadToTheOptimum) {
    const nlsq_cFunctionModel proportional([](double x, Parameters p) { return p[0] * x; },
                                           [](double x, Parameters, Derivatives d) { d[0] = x; });
    const std::vector<double> x{1, 2, 3, 4};
    for (const double size : {1e-100, 1.0, 1e100}) {
        std::vector<double> y{2.1, 3.9, 6.2, 7.8};
        for (double& value : y)
            value *= size;
        for (const double from : {0.0, 1e-300, 1e-100, 1e-20, 1e-15, 1e-12, 1.0, 1e20, 1e100}) {
            const nlsq_sResult fit = nlsq_Fit(proportional, x, y, std::vector{from});
            EXPECT_TRUE(fit.Converged()) << size << ' ' << from;
            EXPECT_NEAR(fit.parameters[0] / size, 59.7 / 30, 1e-6) << size << ' ' << from;
            EXPECT_LT(fit.evaluations, 60) << size << ' ' << from;
        }
    }
}

TEST(Nlsq, DerivativesThatCannotBeSquaredAreNoEnd) {
    const nlsq_cFunctionModel proportional([](double x, Parameters p) { return p[0] * x; },
                                           [](double x, Parameters, Derivatives d) { d[0] = x; });
    const std::vector<double> y{2.1, 3.9, 6.2, 7.8};
    const std::vector<double> large{1e160, 2e160, 3e160, 4e160};
    EXPECT_EQ(nlsq_Fit(proportional, large, y, std::vector{1e-160}).end, nlsq_NoValue);
    EXPECT_FALSE(nlsq_FitLinear(proportional, large, y, 1).Converged());
    const std::vector<double> small{1e-170, 2e-170, 3e-170, 4e-170};
    const nlsq_sResult fit = nlsq_Fit(proportional, small, y, std::vector{1e170});
    EXPECT_EQ(fit.rank, 0);
    EXPECT_THAT(fit.undetermined, ElementsAre(0));
}

TEST(Nlsq, ParametersAtABoundHaveNoErrorWhereThereIsNoScatter) {
    const std::vector<double> x{0, 1};
    const std::vector<double> y{3, 2};
    const nlsq_sResult fit =
        nlsq_Fit(line, std::span(x).first(1), std::span(y).first(1), std::vector{1.0, -1.0},
                 with({nlsq_sParameter::Free(), nlsq_sParameter::Bounded(-1, -1)}));
    EXPECT_EQ(fit.degreesOfFreedom, 0);
    EXPECT_TRUE(std::isnan(fit.standardErrors[0]));
    EXPECT_THAT(fit.atBound, ElementsAre(1));
    EXPECT_EQ(fit.standardErrors[1], 0);
    EXPECT_EQ(fit.Covariance(0, 1), 0);
}

// Two columns that differ by a bit of a third one, and by less than the tolerance of nothing.
TEST(Nlsq, WhatADirectionLeftOutMovesABitIsSaid) {
    constexpr double tolerance = 1e-8;
    const std::vector<std::size_t> places{0, 1, 2};
    for (const auto& [bit, isMoved] :
         std::vector<std::pair<double, char>>{{1e-7, 1}, {1e-8, 1}, {1e-11, 0}}) {
        const std::vector<double> triangle{1, 0, 1, 0, 1, bit, 0, 0, 1e-10};
        const auto inverse =
            dataprocessing::detail::nlsq_Inverse(triangle, 3, places, 3, tolerance);
        EXPECT_EQ(inverse.rank, 2);
        EXPECT_THAT(inverse.isIncomplete, ElementsAre(1, isMoved, 1)) << bit;
    }
}

// The position of a peak beside values that are a million times higher.
TEST(Nlsq, DifferencesBesideMuchLargerValuesAreDerivatives) {
    const auto value = [](double t, Parameters p) {
        const double z = (t - p[3]) / p[4];
        return p[0] * std::exp(-2 * t) + p[1] + p[2] * std::exp(-z * z / 2);
    };
    const nlsq_cFunctionModel exact(value, [](double t, Parameters p, Derivatives d) {
        const double z = (t - p[3]) / p[4];
        const double e = std::exp(-z * z / 2);
        d[0] = std::exp(-2 * t);
        d[1] = 1;
        d[2] = e;
        d[3] = p[2] * e * z / p[4];
        d[4] = d[3] * z;
    });
    const nlsq_cFunctionModel differences(value);
    const std::vector<double> x = positions(100);
    for (const double high : {1e2, 1e5, 1e7, 1e8}) {
        const std::vector<double> p{high, 20, 50, 12, 0.5};
        const nlsq_sDerivativeCheck check = nlsq_CheckDerivatives(exact, x, p);
        EXPECT_LT(check.difference, high < 1e6 ? 1e-6 : 1e-4) << high << ' ' << check.parameter;
        std::vector<double> values(100), expected(500), found(500);
        exact.Evaluate(x, p, values, expected);
        differences.Evaluate(x, p, values, found);
        for (const std::size_t j : {3U, 4U})
            for (std::size_t i = 40; i < 56; ++i)
                EXPECT_NEAR(found[j * 100 + i], expected[j * 100 + i], 1e-5)
                    << high << ' ' << j << ' ' << i;
    }
}

// Without a count, nothing is likeliest.
TEST(Nlsq, LikelihoodOfNoCountsIsThatOfNothing) {
    const nlsq_cFunctionModel constant([](double, Parameters p) { return p[0]; });
    nlsq_sOptions options;
    options.objective = nlsq_PoissonLikelihood;
    const std::vector<double> positions{0, 1, 2, 3}, none(4);
    for (const bool isBounded : {false, true}) {
        if (isBounded)
            options.parameters = {nlsq_sParameter::Bounded(0, 10)};
        const nlsq_sResult found = nlsq_Fit(constant, positions, none, std::vector{2.0}, options);
        EXPECT_TRUE(found.Converged()) << nlsq_Text(found.end);
        EXPECT_NEAR(found.parameters[0], 0, 2e-7);
        EXPECT_NEAR(found.chiSquared, 0, 2e-6);
        EXPECT_LT(found.evaluations, 100);
    }
}

TEST(Nlsq, KeepsAwayFromWhereTheModelHasNoValue) {
    const nlsq_cFunctionModel root([](double x, Parameters p) { return std::sqrt(p[0] - x); });
    std::vector<double> y;
    const std::vector<double> x = positions(20);
    for (const double at : x)
        y.push_back(std::sqrt(5 - at));
    const nlsq_sResult fit = nlsq_Fit(root, x, y, std::vector{50.0});
    EXPECT_TRUE(fit.Converged());
    EXPECT_NEAR(fit.parameters[0], 5, 1e-9);
}

TEST(Nlsq, ExceptionsOfTheModelPass) {
    const nlsq_cFunctionModel fails(
        [](double, Parameters) -> double { throw std::runtime_error("model"); });
    EXPECT_THROW(nlsq_Fit(fails, std::vector{1.0}, std::vector{1.0}, std::vector{1.0}),
                 std::runtime_error);
}

TEST(Nlsq, MoreParametersThanABlockHasRows) {
    // 150 levels, two points each.
    const nlsq_cFunctionModel levels(
        [](double x, Parameters p) { return p[static_cast<std::size_t>(x)]; },
        [](double x, Parameters, Derivatives d) {
            std::fill(d.begin(), d.end(), 0.0);
            d[static_cast<std::size_t>(x)] = 1;
        });
    std::vector<double> x, y;
    for (int i = 0; i < 300; ++i) {
        x.push_back(i % 150);
        y.push_back(i);
    }
    const nlsq_sResult fit = nlsq_Fit(levels, x, y, std::vector<double>(150, 1.0));
    EXPECT_EQ(fit.rank, 150);
    for (std::size_t k = 0; k < 150; ++k) {
        EXPECT_NEAR(fit.parameters[k], static_cast<double>(k) + 75, 1e-11);
        EXPECT_NEAR(fit.standardErrors[k], 75, 1e-10);
    }
}

TEST(Nlsq, DerivativesAreChecked) {
    const std::vector<double> x = positions(300);
    EXPECT_LT(nlsq_CheckDerivatives(decay, x, std::vector{5.0, 0.4}).difference, 1e-9);
    const nlsq_cFunctionModel wrong([](double at, Parameters p) { return p[0] + p[1] * at * at; },
                                    [](double at, Parameters, Derivatives d) {
                                        d[0] = 1;
                                        d[1] = at == 70 ? 0 : at * at;
                                    });
    const nlsq_sDerivativeCheck found = nlsq_CheckDerivatives(wrong, x, std::vector{1.0, 0.0});
    EXPECT_EQ(found.parameter, 1);
    EXPECT_EQ(found.position, 70);
    EXPECT_NEAR(found.difference, 70 * 70 / (74.75 * 74.75), 1e-6);
    const nlsq_cFunctionModel infinite([](double, Parameters p) { return std::sqrt(p[0]); });
    EXPECT_TRUE(std::isnan(nlsq_CheckDerivatives(infinite, x, std::vector{-1.0}).difference));
    // Derivatives by differences have ten digits.
    const nlsq_cFunctionModel numeric(
        [](double at, Parameters p) { return p[0] * std::exp(-p[1] * at); });
    std::vector<double> values(40), expected(80), derivatives(80);
    const std::span<const double> few = std::span(x).first(40);
    decay.Evaluate(few, std::vector{5.0, 0.4}, values, expected);
    numeric.Evaluate(few, std::vector{5.0, 0.4}, values, derivatives);
    for (std::size_t i = 0; i < 80; ++i)
        EXPECT_NEAR(derivatives[i], expected[i], 1e-9) << i;
}

TEST(Nlsq, LinearFitsEndWhereTheyAreAsked) {
    const std::vector<double> x{0, 1, 2, 3, 4}, y{1, 3, 5, 7, 9.5};
    nlsq_sOptions options;
    options.control.mostEvaluations = 1;
    EXPECT_EQ(nlsq_FitLinear(line, x, y, 2, options).end, nlsq_MostEvaluations);
    options = {};
    std::stop_source source;
    source.request_stop();
    options.control.stop = source.get_token();
    EXPECT_EQ(nlsq_FitLinear(line, x, y, 2, options).end, nlsq_Stopped);
    options = {};
    int calls = 0;
    options.control.observer = [&](const nlsq_sIteration& at) {
        EXPECT_EQ(at.iteration, ++calls);
        EXPECT_EQ(at.parameters.size(), 2);
        return nlsq_Stop;
    };
    EXPECT_EQ(nlsq_FitLinear(line, x, y, 2, options).end, nlsq_StoppedByObserver);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(nlsq_FitLinear(line, x, y, 2).end, nlsq_Solved);
    const nlsq_cFunctionModel bent([](double at, Parameters p) { return std::exp(p[0] * at) - 1; });
    const std::vector<double> far{0, 1e5, 1e3, 1e4, 9e5};
    for (const std::vector<double>& values : {y, far})
        EXPECT_EQ(nlsq_FitLinear(bent, x, values, 1).end, nlsq_NoDecrease);
}

TEST(Nlsq, ChoicesThatThereAreNotAreRefused) {
    const std::vector<double> x{0, 1, 2}, y{1, 3, 5};
    nlsq_sOptions options;
    options.objective = static_cast<nlsq_eObjective>(3);
    ExpectRefusal("nlsq")(15, [&] { nlsq_Fit(line, x, y, start, options); });
    options = {};
    options.errors = static_cast<nlsq_eErrors>(3);
    ExpectRefusal("nlsq")(15, [&] { nlsq_FitLinear(line, x, y, 2, options); });
    nlsq_sParameter other;
    other.kind = static_cast<nlsq_sParameter::eKind>(3);
    ExpectRefusal("nlsq")(15, [&] { nlsq_Fit(line, x, y, start, with({other, other})); });
    options = {};
    options.weights.assign(3, 0);
    ExpectRefusal("nlsq")(3, [&] { nlsq_Fit(line, x, y, start, options); });
}

TEST(Nlsq, DifferencesNearZeroAreDerivatives) {
    const nlsq_cFunctionModel numeric([](double x, Parameters p) { return p[0] + p[1] * x; });
    const std::vector<double> x{-2, -1, 0, 1, 2}, y{5.1, 4.9, 5, 4.9, 5.1};
    for (const double slope : {1.0, 0.3, 0.0, 1e-8, 1e-12, 1e-15, -1e-300}) {
        const nlsq_sResult result = nlsq_Fit(numeric, x, y, std::vector{1.0, slope});
        EXPECT_TRUE(result.Converged()) << slope;
        EXPECT_EQ(result.rank, 2) << slope;
        EXPECT_NEAR(result.standardErrors[1], std::sqrt(0.04 / 3 / 10), 1e-8) << slope;
    }
    const std::vector<double> from1{1, 2, 3, 4, 5}, same(5, 3e5);
    EXPECT_EQ(nlsq_Fit(numeric, from1, same, std::vector{1.0, 1.0}).rank, 2);
    EXPECT_EQ(nlsq_FitLinear(numeric, from1, same, 2).rank, 2);

    const auto values = [](double at, Parameters p) {
        const double z = (at - p[1]) / p[2];
        return p[0] * std::exp(-0.5 * z * z) + p[3];
    };
    const nlsq_cFunctionModel peak(values);
    const nlsq_cFunctionModel exact(values, [](double at, Parameters p, Derivatives d) {
        const double z = (at - p[1]) / p[2];
        d[0] = std::exp(-0.5 * z * z);
        d[1] = p[0] * d[0] * z / p[2];
        d[2] = d[1] * z;
        d[3] = 1;
    });
    // In the units that there are, also where those are metres and the lines those of atoms.
    for (const double unit : {1.0, 1e-10, 1e6}) {
        std::vector<double> at, counts;
        for (int i = -20; i <= 20; ++i) {
            at.push_back(0.5 * i * unit);
            counts.push_back(1000 * std::exp(-0.125 * 0.25 * i * i) + 100 +
                             3 * std::cos(7.0 * i * i));
        }
        for (const double position : {0.3, 0.0, 1e-3, 1e-8, 1e-10, 1e-12, 1e-14, 1e-300}) {
            const std::vector<double> from{800, position * unit, 1.5 * unit, 50};
            const nlsq_sResult result = nlsq_Fit(peak, at, counts, from);
            const nlsq_sResult expected = nlsq_Fit(exact, at, counts, from);
            EXPECT_TRUE(result.Converged()) << unit << ' ' << position;
            EXPECT_EQ(result.rank, 4) << unit << ' ' << position;
            for (std::size_t j = 0; j < 4; ++j)
                EXPECT_NEAR(result.standardErrors[j] / expected.standardErrors[j], 1, 1e-6)
                    << unit << ' ' << position << " parameter " << j;
            EXPECT_LT(nlsq_CheckDerivatives(exact, at, from).difference, 1e-8)
                << unit << ' ' << position;
        }
    }
}

TEST(Nlsq, InverseWithAndWithoutAllDirections) {
    using namespace dataprocessing::detail;
    // R'R of [[2, 1], [0, 4]] is [[4, 2], [2, 17]], its inverse [[17, -2], [-2, 4]] / 64.
    const std::vector<double> triangle{2, 1, 0, 4};
    const std::vector<std::size_t> places{2, 0};
    const nlsq_sCovariance whole = nlsq_Inverse(triangle, 2, places, 3, 1e-12);
    EXPECT_EQ(whole.rank, 2);
    const std::vector<double> expected{4. / 64, 0, -2. / 64, 0, 0, 0, -2. / 64, 0, 17. / 64};
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(whole.matrix[i], expected[i], 4 * epsilon) << i;
    // The same by singular values: a tolerance that only the estimate of the condition passes.
    const nlsq_sCovariance singular = nlsq_Inverse(triangle, 2, places, 3, 0.6);
    EXPECT_EQ(singular.rank, 2);
    for (std::size_t i = 0; i < 9; ++i)
        EXPECT_NEAR(singular.matrix[i], expected[i], 8 * epsilon) << i;
    const std::vector<double> x = nlsq_Shortest(triangle, 2, std::vector{4.0, 8.0}, 1e-12);
    EXPECT_NEAR(x[0], 1, 4 * epsilon);
    EXPECT_NEAR(x[1], 2, 4 * epsilon);

    // Columns 1 and 2 the same: the shortest inverse shares between them.
    const nlsq_sCovariance half =
        nlsq_Inverse(std::vector<double>{2, 2, 0, 0}, 2, std::vector<std::size_t>{0, 1}, 2, 1e-9);
    EXPECT_EQ(half.rank, 1);
    EXPECT_THAT(half.isIncomplete, ElementsAre(1, 1));
    for (const double element : half.matrix)
        EXPECT_NEAR(element, 1.0 / 16, 4 * epsilon);
}

const ExpectRefusal expectRefusal("nlsq");

TEST(Nlsq, MisuseIsToldWithItsPlace) {
    const std::vector<double> x = positions(5);
    const std::vector<double> y = disturbed(x);
    const auto textOf = [&](auto call) {
        return std::string(caught<expt_cProgramException>(call).what());
    };
    const auto textOfFit = [&](const nlsq_sOptions& options) {
        return textOf([&] { nlsq_Fit(decay, x, y, start, options); });
    };
    const auto broken = [](std::vector<double> values, std::size_t i, double value) {
        values[i] = value;
        return values;
    };
    EXPECT_EQ(textOf([&] { nlsq_Fit(decay, x, std::span(y).first(4), start); }),
              "nlsq:2: There are 4 values for 5 positions.");
    EXPECT_EQ(textOf([&] { nlsq_Fit(decay, std::vector<double>(), {}, start); }),
              "nlsq:3: There are no points.");
    EXPECT_EQ(textOf([&] { nlsq_Fit(decay, broken(x, 3, infinity), y, start); }),
              "nlsq:4: Position 3 is not finite.");
    EXPECT_EQ(textOf([&] { nlsq_Fit(decay, x, broken(y, 0, notANumber), start); }),
              "nlsq:4: Value 0 is not finite.");
    EXPECT_EQ(textOf([&] { nlsq_Fit(decay, x, y, broken(start, 1, infinity)); }),
              "nlsq:4: Start 1 is not finite.");
    EXPECT_EQ(textOfFit(with({nlsq_sParameter::Free(), nlsq_sParameter::Tied(0, notANumber)})),
              "nlsq:4: The tie of parameter 1 is not finite.");
    nlsq_sOptions options;
    options.weights.assign(4, 1);
    EXPECT_EQ(textOfFit(options), "nlsq:5: There are 4 weights for 5 points.");
    options.weights.assign(5, 1);
    options.weights[2] = -1;
    EXPECT_EQ(textOfFit(options), "nlsq:7: Weight 2 is negative or not finite.");
    options = {};
    options.standardDeviations.assign(6, 1);
    EXPECT_EQ(textOfFit(options), "nlsq:5: There are 6 standard deviations for 5 points.");
    options.standardDeviations.assign(5, 1);
    options.standardDeviations[4] = 0;
    EXPECT_EQ(textOfFit(options), "nlsq:7: Standard deviation 4 is not positive and finite.");
    options = {};
    options.objective = nlsq_PoissonLikelihood;
    EXPECT_EQ(textOf([&] { nlsq_Fit(decay, x, broken(y, 3, -1), start, options); }),
              "nlsq:8: Count 3 is negative.");
    EXPECT_EQ(textOfFit(with({nlsq_sParameter::Free()})),
              "nlsq:9: There are 1 kinds for 2 parameters.");
    EXPECT_EQ(textOfFit(with({nlsq_sParameter::Free(), nlsq_sParameter::Bounded(1, 0)})),
              "nlsq:10: The bounds of parameter 1 are out of order.");
    EXPECT_EQ(textOfFit(with({nlsq_sParameter::Free(), nlsq_sParameter::Tied(2, 1)})),
              "nlsq:11: Parameter 1 is tied to one that is not there, or in a circle.");
    EXPECT_EQ(textOf([&] { nlsq_Fit(decay, x, y, start).Covariance(0, 2); }),
              "nlsq:20: There is no parameter 2.");
}

TEST(Nlsq, MisuseIsRefused) {
    const std::vector<double> x = positions(5);
    const std::vector<double> y = disturbed(x);
    const std::vector<double> none;
    const auto refused = [&](int lineNumber, const nlsq_sOptions& options) {
        expectRefusal(lineNumber, [&] { nlsq_Fit(decay, x, y, start, options); });
    };
    expectRefusal(1, [] { nlsq_cFunctionModel{nlsq_cFunctionModel::Function()}; });
    expectRefusal(1, [] {
        nlsq_cFunctionModel([](double, Parameters) { return 0.0; },
                            nlsq_cFunctionModel::Gradient());
    });
    expectRefusal(2, [&] { nlsq_Fit(decay, x, std::span(y).first(4), start); });
    expectRefusal(3, [&] { nlsq_Fit(decay, none, none, start); });
    expectRefusal(3, [&] { nlsq_CheckDerivatives(decay, none, start); });
    for (const double bad : {notANumber, infinity}) {
        std::vector<double> broken = x;
        broken[2] = bad;
        expectRefusal(4, [&] { nlsq_Fit(decay, broken, y, start); });
        expectRefusal(4, [&] { nlsq_Fit(decay, x, broken, start); });
        expectRefusal(4, [&] { nlsq_Fit(decay, x, y, std::vector{1.0, bad}); });
        refused(4, with({nlsq_sParameter::Free(), nlsq_sParameter::Tied(0, bad)}));
        nlsq_sOptions options;
        options.weights.assign(5, bad);
        refused(7, options);
        options = {};
        options.standardDeviations.assign(5, bad);
        refused(7, options);
    }
    for (const double bad : {0.0, -1.0, 1e-310}) { // the reciprocal of the last one is infinite
        nlsq_sOptions options;
        options.standardDeviations.assign(5, 1);
        options.standardDeviations[3] = bad;
        refused(7, options);
    }
    nlsq_sOptions options;
    options.weights.assign(4, 1);
    refused(5, options);
    options.weights.assign(5, 1);
    options.standardDeviations.assign(5, 1);
    refused(6, options);
    options.standardDeviations.clear();
    options.objective = nlsq_PoissonLikelihood;
    refused(6, options);
    options = {};
    options.weights.assign(5, -1);
    refused(7, options);
    options = {};
    options.objective = nlsq_PoissonLikelihood;
    expectRefusal(8, [&] {
        nlsq_Fit(decay, x, std::vector{1.0, 2.0, -1.0, 0.0, 1.0}, start, options);
    });
    refused(9, with({nlsq_sParameter::Free()}));
    expectRefusal(9, [&] { nlsq_FitLinear(line, x, y, -1); });
    refused(10, with({nlsq_sParameter::Free(), nlsq_sParameter::Bounded(1, 0)}));
    refused(10, with({nlsq_sParameter::Free(), nlsq_sParameter::Bounded(0, notANumber)}));
    refused(11, with({nlsq_sParameter::Free(), nlsq_sParameter::Tied(2, 1)}));
    refused(11, with({nlsq_sParameter::Free(), nlsq_sParameter::Tied(-1, 1)}));
    refused(11, with({nlsq_sParameter::Free(), nlsq_sParameter::Tied(1, 1)}));
    refused(11, with({nlsq_sParameter::Tied(1, 1), nlsq_sParameter::Tied(0, 1)}));
    for (double nlsq_sControl::*tolerance :
         {&nlsq_sControl::gradientTolerance, &nlsq_sControl::stepTolerance,
          &nlsq_sControl::decreaseTolerance, &nlsq_sControl::remainderTolerance}) {
        options = {};
        options.control.*tolerance = -1;
        refused(12, options);
        options.control.*tolerance = notANumber;
        refused(12, options);
    }
    options = {};
    options.control.mostEvaluations = 0;
    refused(12, options);
    for (const double size : {1e-150, 1e150}) {
        std::vector<double> extreme;
        for (const double value : y)
            extreme.push_back(value * size);
        expectRefusal(14, [&] { nlsq_Fit(decay, x, extreme, start); });
        options = {};
        options.weights.assign(5, size * size);
        refused(14, options);
        options = {};
        options.standardDeviations.assign(5, 1 / size);
        refused(14, options);
    }
    EXPECT_EQ(nlsq_FitLinear(line, x, std::vector<double>(5), 2).parameters[0], 0);
    options = {};
    options.objective = nlsq_PoissonLikelihood;
    expectRefusal(13, [&] {
        nlsq_FitLinear(line, x, std::vector{1.0, 2.0, 3.0, 4.0, 5.0}, 2, options);
    });
    expectRefusal(13, [&] {
        nlsq_FitLinear(line, x, y, 2,
                       with({nlsq_sParameter::Free(), nlsq_sParameter::Bounded(0, 1)}));
    });
    const nlsq_sResult fit = nlsq_Fit(decay, x, y, start);
    expectRefusal(20, [&] { fit.Covariance(0, 2); });
    expectRefusal(20, [&] { fit.Correlation(-1, 0); });
}

} // namespace
