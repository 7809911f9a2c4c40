#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/algebra/mrqm.h"
#include "dataprocessing/algebra/rcps_exception.h"
#include "tests/failing_new.h"
#include "tests/support/constants.h"
#include "tests/support/measured.h"
#include "tests/support/refusal_expected.h"

using namespace dataprocessing::detail;

namespace {

/// y = a0 + a1 x; the derivative by a1 is given in two parts.
class Line : public mrqm_cModel {
public:
    bool Begin(std::span<const double> a) override { return a[0] < 100; }
    double Evaluate(double x, std::span<const double> a,
                    std::vector<mrqm_sPartial>& partials) override {
        partials.push_back({1, 0.25 * x});
        partials.push_back({0, 1.0});
        if (a.size() > 2)
            partials.push_back({1, 0.75 * x});
        else
            partials.front().value = x;
        return a[0] + a[1] * x;
    }
};

/// Two peaks on a decay: y = b1 exp(-b2 x) + b3 exp(-((x - b4) / b5)^2) + b6 exp(-((x - b7) /
/// b8)^2).
class Certified : public mrqm_cModel {
public:
    bool Begin(std::span<const double>) override { return true; }
    double Evaluate(double x, std::span<const double> b,
                    std::vector<mrqm_sPartial>& partials) override {
        const double decay = std::exp(-b[1] * x);
        partials.push_back({0, decay});
        partials.push_back({1, -b[0] * x * decay});
        double y = b[0] * decay;
        for (const std::size_t k : {std::size_t{2}, std::size_t{5}}) {
            const double t = (x - b[k + 1]) / b[k + 2];
            const double e = std::exp(-t * t);
            partials.push_back({k, e});
            partials.push_back({k + 1, 2 * b[k] * e * t / b[k + 2]});
            partials.push_back({k + 2, 2 * b[k] * e * t * t / b[k + 2]});
            y += b[k] * e;
        }
        return y;
    }
};

struct CertifiedCase {
    std::string file;
    std::array<std::array<double, 8>, 2> starts;
};

/// The numbers of a line behind its equals signs and commas.
std::vector<double> numbersOf(const std::string& text) {
    std::istringstream words(text);
    std::vector<double> numbers;
    for (std::string word; words >> word;) {
        double number = 0;
        if (std::istringstream(word) >> number)
            numbers.push_back(number);
    }
    return numbers;
}

} // namespace

TEST(LevenbergMarquardt, FindsTheCertifiedParametersAndDeviations) {
    const std::array<CertifiedCase, 3> cases{{
        {"Gauss1",
         {{{97, 0.009, 100, 65, 20, 70, 178, 16.5}, {94, 0.0105, 99, 63, 25, 71, 180, 20}}}},
        {"Gauss2",
         {{{96, 0.009, 103, 106, 18, 72, 151, 18}, {98, 0.0105, 103, 105, 20, 73, 150, 20}}}},
        {"Gauss3",
         {{{94.9, 0.009, 90.1, 113, 20, 73.8, 140, 20}, {96, 0.0096, 80, 110, 25, 74, 139, 25}}}},
    }};
    for (const CertifiedCase& test : cases) {
        const std::filesystem::path path = measuredFile("nist/" + test.file + ".csv");
        std::ifstream file(path);
        if (!file)
            GTEST_SKIP() << path << " is absent";
        std::vector<double> certified, deviations, x, y;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("# certified b1"))
                certified = numbersOf(line);
            else if (line.starts_with("# certified standard"))
                deviations = numbersOf(line);
            else if (!line.starts_with("#")) {
                x.push_back(std::stod(line));
                y.push_back(std::stod(line.substr(line.find(',') + 1)));
            }
        }
        ASSERT_EQ(certified.size(), 8U);
        ASSERT_EQ(deviations.size(), 8U);
        const std::vector<double> sig(x.size(), 1.0);
        const std::vector<int> all(8, 1);
        for (const std::array<double, 8>& start : test.starts) {
            Certified model;
            mrqm_cFit fit(x, y, sig, start, all, model);
            const mrqm_sResult result = fit.Solve({0, 1e-6, 99});
            EXPECT_EQ(result.why, mrqm_Optimum);
            const double variance = result.chiSquared / static_cast<double>(x.size() - 8);
            for (std::size_t i = 0; i < 8; ++i) {
                EXPECT_NEAR(fit.Parameters()[i], certified[i], 1e-6 * std::fabs(certified[i]));
                EXPECT_NEAR(std::sqrt(variance * fit.Covariance(i, i)), deviations[i],
                            1e-6 * deviations[i]);
            }
        }
    }
}

TEST(LevenbergMarquardt, DampingFollowsTheOutcomeOfEachStep) {
    /// One constant; what it is tried with tells the damping of each step.
    class Tried : public Line {
    public:
        bool Begin(std::span<const double> a) override {
            trials.push_back(a[0]);
            return Line::Begin(a);
        }
        std::vector<double> trials;
    } model;
    const std::vector<double> x{0, 1}, y{500, 500}, sig{1, 1};
    mrqm_cFit fit(x, y, sig, std::vector<double>{50, 0}, std::vector<int>{1, 0}, model);
    EXPECT_EQ(fit.Solve({0, 0, 9}).why, mrqm_TooManyIterations);
    ASSERT_EQ(model.trials.size(), 10U);
    double taken = model.trials[0];
    EXPECT_EQ(taken, 50);
    std::size_t trial = 1;
    for (const double lambda : {1e-3, 1e-2, 0.1, 1.0, 10.0, 1.0, 10.0, 100.0, 10.0}) {
        const double tried = model.trials[trial++];
        EXPECT_NEAR(tried, taken + (500 - taken) / (1 + lambda), 1e-10) << lambda;
        if (tried < 100)
            taken = tried;
    }
    EXPECT_EQ(fit.Parameters()[0], taken);
}

TEST(LevenbergMarquardt, FirstStepIsDampedAndTheCovarianceIsNot) {
    const std::vector<double> x{0, 1, 2}, y{4, 4, 4}, sig{2, 2, 2};
    Line model;
    mrqm_cFit fit(x, y, sig, std::vector<double>{0, 0}, std::vector<int>{1, 0}, model);
    fit.Solve({0, 0, 1});
    EXPECT_NEAR(fit.Parameters()[0], 4 / 1.001, 1e-14);
    EXPECT_EQ(fit.Parameters()[1], 0);
    // Whatever it has changed, the second step ends it.
    EXPECT_EQ(fit.Solve({infinity, 0, 99}).iterations, 2);
    EXPECT_NEAR(fit.Covariance(0, 0), 4.0 / 3, 1e-14);
    EXPECT_EQ(fit.Covariance(0, 1), 0);
    EXPECT_EQ(fit.Covariance(1, 1), 0);
    mrqm_cFit both(x, y, std::vector<double>{1, 1, 1}, std::vector<double>{0, 0},
                   std::vector<int>{1, 1}, model);
    both.Solve({infinity, 0, 99});
    EXPECT_NEAR(both.Covariance(0, 0), 5.0 / 6, 1e-13);
    EXPECT_NEAR(both.Covariance(0, 1), -0.5, 1e-13);
    EXPECT_NEAR(both.Covariance(1, 0), -0.5, 1e-13);
    EXPECT_NEAR(both.Covariance(1, 1), 0.5, 1e-13);
}

TEST(LevenbergMarquardt, PartsOfOneDerivativeAddUp) {
    const std::vector<double> x{1, 2, 4}, y{3, 5, 10}, sig{1, 2, 1};
    Line model;
    for (int steps = 1; steps <= 3; ++steps) {
        mrqm_cFit whole(x, y, sig, std::vector<double>{0, 0}, std::vector<int>{1, 1}, model);
        mrqm_cFit parts(x, y, sig, std::vector<double>{0, 0, 0}, std::vector<int>{1, 1, 0}, model);
        whole.Solve({0, 0, steps});
        parts.Solve({0, 0, steps});
        EXPECT_NEAR(parts.Parameters()[0], whole.Parameters()[0], 1e-12);
        EXPECT_NEAR(parts.Parameters()[1], whole.Parameters()[1], 1e-12);
    }
}

TEST(LevenbergMarquardt, ParametersWithoutAModelAreRefused) {
    const std::vector<double> x{0, 1}, y{500, 500}, sig{1, 1};
    Line model;
    mrqm_cFit fit(x, y, sig, std::vector<double>{50, 0}, std::vector<int>{1, 0}, model);
    fit.Solve({0, 0, 1});
    EXPECT_EQ(fit.Parameters()[0], 50);
    fit.Solve({0, 0, 60});
    EXPECT_GT(fit.Parameters()[0], 90);
    EXPECT_LT(fit.Parameters()[0], 100);
}

TEST(LevenbergMarquardt, EndsAsItIsTold) {
    const std::vector<double> x{0, 1, 2, 3}, sig(4, 0.5), start{0, 0};
    const std::vector<int> both{1, 1};
    const std::vector<double> scattered{1, 3.5, 4.5, 7.25}, exact{1, 3, 5, 7};
    struct Row {
        std::string what;
        const std::vector<double>& y;
        mrqm_sOptions options;
        mrqm_eEnd why;
    };
    const std::vector<Row> rows{
        {"a small change", scattered, {1e-4, 0, 99}, mrqm_SmallChange},
        {"the optimum", scattered, {0, 1e-6, 99}, mrqm_Optimum},
        {"the optimum of points on a line", exact, {0, 1e-6, 99}, mrqm_Optimum},
        {"no lower step", exact, {1e-4, 0, 999}, mrqm_NoLowerStep},
        {"too many", scattered, {1e-4, 0, 2}, mrqm_TooManyIterations},
        {"too many before the first", scattered, {1e-4, 0, 0}, mrqm_TooManyIterations}};
    for (const Row& row : rows) {
        Line model;
        mrqm_cFit fit(x, row.y, sig, start, both, model);
        const mrqm_sResult result = fit.Solve(row.options);
        EXPECT_EQ(result.why, row.why) << row.what;
        double chiSquared = 0;
        for (std::size_t i = 0; i < x.size(); ++i)
            chiSquared +=
                4 * std::pow(row.y[i] - fit.Parameters()[0] - fit.Parameters()[1] * x[i], 2);
        EXPECT_NEAR(result.chiSquared, row.options.maxIterations > 0 ? chiSquared : 0,
                    1e-12 * chiSquared + 1e-28)
            << row.what;
        EXPECT_LE(result.iterations, row.options.maxIterations) << row.what;
        EXPECT_GE(result.iterations, std::min(row.options.maxIterations, 2)) << row.what;
        if (row.why == mrqm_TooManyIterations)
            continue;
        // The line of the normal equations, and its distance in standard errors.
        const bool isExact = &row.y == &exact;
        const double errors[] = {fit.Parameters()[0] - (isExact ? 1 : 1.1),
                                 fit.Parameters()[1] - (isExact ? 2 : 1.975)};
        const double distance =
            std::sqrt(4 * (4 * errors[0] * errors[0] + 12 * errors[0] * errors[1] +
                           14 * errors[1] * errors[1]));
        EXPECT_NEAR(result.distance, distance, 1e-6 * distance + 1e-14) << row.what;
        EXPECT_LT(distance, row.options.distance > 0 ? 1e-6 : 0.1) << row.what;
    }
}

TEST(LevenbergMarquardt, AnotherSolveGoesOnWhereTheLastEnded) {
    const std::vector<double> x{0, 1, 2, 3}, y{1, 3.5, 4.5, 7.25}, sig(4, 0.5);
    Line model;
    mrqm_cFit fit(x, y, sig, std::vector<double>{0, 0}, std::vector<int>{1, 1}, model);
    const mrqm_sResult first = fit.Solve({1e-4, 0, 99});
    const mrqm_sResult second = fit.Solve({0, 1e-9, 99});
    EXPECT_LE(second.chiSquared, first.chiSquared);
    EXPECT_EQ(second.why, mrqm_Optimum);
    EXPECT_LT(second.distance, 1e-9);
    EXPECT_NEAR(fit.Parameters()[1], 1.975, 1e-9);
}

TEST(LevenbergMarquardt, WhatOnlyRoundingTellsApartIsSingular) {
    /// y = (a0 + a1) x + a2, with x far from zero.
    class Twins : public mrqm_cModel {
    public:
        bool Begin(std::span<const double>) override { return true; }
        double Evaluate(double x, std::span<const double> a,
                        std::vector<mrqm_sPartial>& partials) override {
            partials.push_back({0, x});
            partials.push_back({1, x * strength});
            partials.push_back({2, 1.0});
            return (a[0] + a[1] * strength) * x + a[2];
        }
        double strength = 1;
    } model;
    for (const double strength : {1.0, 1.0 / 3, 1e-9, 7e12}) {
        model.strength = strength;
        std::vector<double> x, y;
        for (int i = 0; i < 100; ++i) {
            x.push_back(10 + 0.1 * i);
            y.push_back(i % 7);
        }
        mrqm_cFit fit(x, y, std::vector<double>(x.size(), 1.0), std::vector<double>{0, 0, 0},
                      std::vector<int>{1, 1, 1}, model);
        EXPECT_THROW(fit.Solve({1e-4, 0, 999}), rcps_cRecipesException) << strength;
    }
}

TEST(LevenbergMarquardt, SingularEquationsAreRefused) {
    Line model;
    const std::vector<double> zero{0, 0, 0}, y{1, 2, 3}, sig{1, 1, 1};
    mrqm_cFit flat(zero, y, sig, std::vector<double>{0, 0}, std::vector<int>{1, 1}, model);
    EXPECT_THROW(flat.Solve({0, 0, 1}), rcps_cRecipesException);
    mrqm_cFit slope(zero, y, sig, std::vector<double>{0, 0}, std::vector<int>{0, 1}, model);
    EXPECT_THROW(slope.Solve({0, 0, 1}), rcps_cRecipesException);
    const std::vector<double> x{0, 1, 2}, unknown(3, std::nan(""));
    mrqm_cFit nothing(x, y, unknown, std::vector<double>{0, 0}, std::vector<int>{1, 1}, model);
    EXPECT_THROW(nothing.Solve({0, 0, 1}), rcps_cRecipesException);
    const auto e = caught<rcps_cRecipesException>([&] { flat.Solve({0, 0, 1}); });
    EXPECT_EQ(e.SourceFile(), "recipes");
    EXPECT_EQ(e.Line(), 0);
    EXPECT_EQ(e.Message(), "Singular matrix.");
}

TEST(LevenbergMarquardt, EliminationPivotsAmongFarMagnitudes) {
    /// y(x) = a[x]: the curvature is what the weights make it, with three fixed partners.
    class Mixed : public mrqm_cModel {
    public:
        bool Begin(std::span<const double>) override { return true; }
        double Evaluate(double x, std::span<const double> a,
                        std::vector<mrqm_sPartial>& partials) override {
            static constexpr double rows[4][4] = {
                {1e-3, 2, 0, 5}, {3, 1e-6, 7, 0}, {0, 1, 1e-9, 40}, {2, 0, 600, 1}};
            double y = 0;
            for (std::size_t k = 0; k < 4; ++k) {
                const double part = rows[static_cast<std::size_t>(x)][k];
                partials.push_back({k, part});
                y += part * a[k];
            }
            return y;
        }
    } model;
    const std::vector<double> x{0, 1, 2, 3}, sig(4, 1.0), truth{1, -2, 3, -4};
    std::vector<double> y;
    std::vector<mrqm_sPartial> partials;
    for (const double point : x)
        y.push_back(model.Evaluate(point, truth, partials));
    mrqm_cFit fit(x, y, sig, std::vector<double>(4, 0.0), std::vector<int>(4, 1), model);
    fit.Solve({0, 0, 40});
    for (std::size_t k = 0; k < 4; ++k)
        EXPECT_NEAR(fit.Parameters()[k], truth[k], 1e-10);
}

TEST(LevenbergMarquardt, EqualChiSquaredCountsAsWorse) {
    /// Nothing follows from the parameter, whatever the derivative says.
    class Stiff : public mrqm_cModel {
    public:
        bool Begin(std::span<const double>) override { return true; }
        double Evaluate(double, std::span<const double>,
                        std::vector<mrqm_sPartial>& partials) override {
            partials.push_back({0, 1.0});
            return 0;
        }
    } model;
    const std::vector<double> x{0}, y{1}, sig{1};
    mrqm_cFit fit(x, y, sig, std::vector<double>{3}, std::vector<int>{1}, model);
    EXPECT_EQ(fit.Solve({0, 0, 9}).why, mrqm_TooManyIterations);
    EXPECT_EQ(fit.Parameters()[0], 3);
}

TEST(LevenbergMarquardt, WithoutFittedParametersNothingMoves) {
    const std::vector<double> x{0, 1}, y{1, 1}, sig{1, 1};
    Line model;
    mrqm_cFit fit(x, y, sig, std::vector<double>{3, 0}, std::vector<int>{0, 0}, model);
    EXPECT_EQ(fit.Solve({0, 0, 1}).chiSquared, 8);
    EXPECT_EQ(fit.Parameters()[0], 3);
}

TEST(LevenbergMarquardt, StepsAllocateNothing) {
    std::vector<double> x, y;
    for (int i = 0; i < 250; ++i) {
        x.push_back(i);
        y.push_back(90 * std::exp(-0.01 * i) + 100 * std::exp(-std::pow((i - 70) / 22.0, 2)) +
                    70 * std::exp(-std::pow((i - 170) / 17.0, 2)));
    }
    const std::vector<double> sig(x.size(), 1.0);
    Certified model;
    mrqm_cFit fit(x, y, sig, std::vector<double>{97, 0.009, 95, 65, 20, 75, 178, 16.5},
                  std::vector<int>(8, 1), model);
    const long before = allocationCount();
    fit.Solve({0, 1e-9, 99});
    EXPECT_EQ(allocationCount(), before);
    EXPECT_NEAR(fit.Parameters()[7], 17, 1e-9);
}
