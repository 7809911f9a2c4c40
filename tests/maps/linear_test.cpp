#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/maps/maps_linear.h"
#include "tests/maps/map.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"

namespace {

using testing::ElementsAre;

constexpr std::size_t channels = 203;
constexpr std::size_t shapeCount = 5;

/// Three peaks that end, two of which overlap, and a straight line.
std::vector<double> shapes() {
    std::vector<double> all(shapeCount * channels);
    const double positions[] = {40.2, 100.7, 121.1};
    for (std::size_t k = 0; k < channels; ++k) {
        for (std::size_t s = 0; s < 3; ++s) {
            const double z = (static_cast<double>(k) - positions[s]) / 5;
            all[s * channels + k] = std::fabs(z) < 4 ? std::exp(-0.5 * z * z) : 0;
        }
        all[3 * channels + k] = 1;
        all[4 * channels + k] = (static_cast<double>(k) - 101) / 101;
    }
    return all;
}

double meanOf(std::size_t q, double k) {
    static const std::vector<double> all = shapes();
    const auto at = static_cast<std::size_t>(k);
    const double heights[] = {50, q % 3 == 0 ? 0.0 : 80.0, 30, 20, -5};
    double sum = 0;
    for (std::size_t s = 0; s < shapeCount; ++s)
        sum += heights[s] * all[s * channels + at];
    return sum;
}

/// The solution of H x = g and the inverse, by Gauss and Jordan, of some of the unknowns.
struct Solution {
    std::vector<long double> x;
    std::vector<std::vector<long double>> inverse;
};
Solution solve(const std::vector<std::vector<long double>>& h, const std::vector<long double>& g) {
    const std::size_t n = g.size();
    std::vector<std::vector<long double>> a(n, std::vector<long double>(2 * n + 1));
    for (std::size_t i = 0; i < n; ++i) {
        std::copy(h[i].begin(), h[i].end(), a[i].begin());
        a[i][n + i] = 1;
        a[i][2 * n] = g[i];
    }
    for (std::size_t p = 0; p < n; ++p) {
        const long double pivot = a[p][p];
        for (long double& element : a[p])
            element /= pivot;
        for (std::size_t r = 0; r < n; ++r)
            if (r != p) {
                const long double factor = a[r][p];
                for (std::size_t c = 0; c <= 2 * n; ++c)
                    a[r][c] -= factor * a[p][c];
            }
    }
    Solution solution{{}, std::vector<std::vector<long double>>(n)};
    for (std::size_t i = 0; i < n; ++i) {
        solution.x.push_back(a[i][2 * n]);
        solution.inverse[i].assign(a[i].begin() + static_cast<std::ptrdiff_t>(n), a[i].end() - 1);
    }
    return solution;
}

/// Weighted least squares with the shapes of a set alone; the others have 0.
struct Oracle {
    std::vector<double> x = std::vector<double>(shapeCount);
    std::vector<double> errors = std::vector<double>(shapeCount);
    double chiSquared = 0;
};
Oracle leastSquares(const double* y, const std::vector<double>& w, bool areErrorsOfCounts,
                    unsigned set = 31) {
    const std::vector<double> all = shapes();
    std::vector<std::size_t> in;
    for (std::size_t s = 0; s < shapeCount; ++s)
        if ((set >> s & 1U) != 0)
            in.push_back(s);
    const std::size_t n = in.size();
    std::vector<std::vector<long double>> h(n, std::vector<long double>(n));
    auto m = h;
    std::vector<long double> g(n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t k = 0; k < channels; ++k) {
            const long double a = all[in[i] * channels + k];
            g[i] += a * w[k] * y[k];
            for (std::size_t j = 0; j < n; ++j) {
                h[i][j] += a * w[k] * all[in[j] * channels + k];
                m[i][j] += a * y[k] * all[in[j] * channels + k];
            }
        }
    const Solution solution = solve(h, g);
    Oracle oracle;
    for (std::size_t i = 0; i < n; ++i) {
        long double variance = solution.inverse[i][i];
        if (areErrorsOfCounts) {
            variance = 0;
            for (std::size_t a = 0; a < n; ++a)
                for (std::size_t b = 0; b < n; ++b)
                    variance += solution.inverse[i][a] * m[a][b] * solution.inverse[i][b];
        }
        oracle.x[in[i]] = static_cast<double>(solution.x[i]);
        oracle.errors[in[i]] = static_cast<double>(std::sqrt(variance));
    }
    long double chiSquared = 0;
    for (std::size_t k = 0; k < channels; ++k) {
        long double f = 0;
        for (std::size_t s = 0; s < shapeCount; ++s)
            f += static_cast<long double>(oracle.x[s]) * all[s * channels + k];
        chiSquared += w[k] * (y[k] - f) * (y[k] - f);
    }
    oracle.chiSquared = static_cast<double>(chiSquared);
    return oracle;
}

std::vector<double> weightsOf(maps_eWeights kind, const double* y) {
    std::vector<double> w(channels, 1.0);
    if (kind == maps_WeightsOfCounts)
        for (std::size_t k = 0; k < channels; ++k)
            w[k] = 1 / std::max(y[k], 1.0);
    return w;
}

TEST(LinearMap, FactorsErrorsAndChiSquaredAreThoseOfLeastSquares) {
    constexpr std::size_t spectra = 12;
    const std::vector<unsigned short> counts = countsOf(spectra, channels, meanOf);
    const std::vector<double> y(counts.begin(), counts.end());
    maps_cWorkspace room;
    for (const maps_eWeights weights : {maps_WeightsOfCounts, maps_EqualWeights}) {
        const maps_cLinear fit(shapes(), channels, {.weights = weights});
        EXPECT_EQ(fit.ParameterCount(), shapeCount);
        Planes planes(shapeCount, spectra);
        fit.Run(stackOf(std::span(counts), channels), planes.All(), room);
        for (std::size_t q = 0; q < spectra; ++q) {
            const double* const own = y.data() + q * channels;
            const Oracle oracle =
                leastSquares(own, weightsOf(weights, own), weights == maps_EqualWeights);
            EXPECT_EQ(planes.status[q], maps_Good);
            EXPECT_EQ(planes.iterations[q], 1);
            EXPECT_NEAR(planes.chiSquared[q] / oracle.chiSquared, 1, 1e-10);
            for (std::size_t s = 0; s < shapeCount; ++s) {
                EXPECT_NEAR(planes.values[s * spectra + q], oracle.x[s], 1e-10 * oracle.errors[s]);
                EXPECT_NEAR(planes.errors[s * spectra + q] / oracle.errors[s], 1, 1e-12);
            }
        }
    }
}

TEST(LinearMap, FactorsThatMayNotFallBelowZeroAreTheBestOfThose) {
    constexpr std::size_t spectra = 60;
    // Peaks that are not there, or dips.
    const std::vector<unsigned short> counts =
        countsOf(spectra, channels, [](std::size_t q, double k) {
            return std::max(0.5, meanOf(0, k) - (q % 4 < 2 ? 1.1 : 0.9) * (meanOf(1, k) - 18));
        });
    const std::vector<double> y(counts.begin(), counts.end());
    maps_cWorkspace room;
    int bounded = 0;
    for (const maps_eWeights weights : {maps_WeightsOfCounts, maps_EqualWeights}) {
        const maps_cLinear fit(shapes(), channels, {.weights = weights, .nonNegative = {0, 1, 2}});
        Planes planes(shapeCount, spectra);
        fit.Run(stackOf(std::span(counts), channels), planes.All(), room);
        for (std::size_t q = 0; q < spectra; ++q) {
            // Of all sets of shapes, the best that is allowed.
            const double* const own = y.data() + q * channels;
            Oracle best;
            best.chiSquared = std::numeric_limits<double>::infinity();
            for (unsigned set = 24; set < 32; ++set) {
                const Oracle oracle =
                    leastSquares(own, weightsOf(weights, own), weights == maps_EqualWeights, set);
                if (*std::min_element(oracle.x.begin(), oracle.x.begin() + 3) >= 0 &&
                    oracle.chiSquared < best.chiSquared)
                    best = oracle;
            }
            EXPECT_NEAR(planes.chiSquared[q] / best.chiSquared, 1, 1e-10);
            for (std::size_t s = 0; s < shapeCount; ++s) {
                bounded += best.x[s] == 0 ? 1 : 0;
                EXPECT_NEAR(planes.values[s * spectra + q], best.x[s], 1e-8);
                EXPECT_NEAR(planes.errors[s * spectra + q], best.errors[s], 1e-8);
            }
        }
    }
    EXPECT_GT(bounded, 60);
}

/// Shapes that can hardly be told apart: many bounds hold, and meet each other on the way.
TEST(LinearMap, FactorsOfLikeShapesMeetTheConditionsOfABound) {
    constexpr std::size_t like = 8;
    constexpr std::size_t length = 80;
    constexpr std::size_t spectra = 300;
    std::vector<double> all(like * length);
    for (std::size_t i = 0; i < all.size(); ++i) {
        const double z =
            (static_cast<double>(i % length) - 12 - 8 * static_cast<double>(i / length)) / 12;
        all[i] = std::exp(-0.5 * z * z);
    }
    const std::vector<unsigned short> counts =
        countsOf(spectra, length, [](std::size_t q, double k) {
            return 20 + 15 * std::sin(0.3 * static_cast<double>(q) + 0.2 * k);
        });
    const maps_cLinear fit(all, length,
                           {.weights = maps_EqualWeights, .nonNegative = {0, 1, 2, 3, 4, 5, 6, 7}});
    Planes planes(like, spectra);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(counts), length), planes.All(), room);
    for (std::size_t q = 0; q < spectra; ++q) {
        ASSERT_EQ(planes.status[q], maps_Good);
        for (std::size_t s = 0; s < like; ++s) {
            double slope = 0;
            for (std::size_t k = 0; k < length; ++k) {
                double f = 0;
                for (std::size_t i = 0; i < like; ++i)
                    f += planes.values[i * spectra + q] * all[i * length + k];
                slope += all[s * length + k] * (counts[q * length + k] - f);
            }
            const double factor = planes.values[s * spectra + q];
            EXPECT_GE(factor, 0);
            EXPECT_LT(slope, 1e-6);
            EXPECT_TRUE(factor == 0 || slope > -1e-6) << slope;
        }
    }
}

/// Without noise a factor that is 0 lies on either side of its bound by rounding alone.
TEST(LinearMap, FactorsOnTheirBoundsAreFoundAtAnyScale) {
    constexpr std::size_t many = 5;
    constexpr std::size_t length = 50;
    constexpr std::size_t spectra = 100;
    std::mt19937 random(7);
    std::uniform_real_distribution<> uniform;
    std::vector<double> all(many * length);
    for (double& value : all)
        value = 0.1 + 0.9 * uniform(random);
    std::vector<double> truth(many * spectra);
    for (std::size_t i = 0; i < truth.size(); ++i)
        truth[i] = uniform(random) < 0.5 ? 0 : uniform(random);
    for (std::size_t q = 0; q < spectra; ++q)
        truth[q] += 0.1;
    std::vector<double> plain(spectra * length);
    for (std::size_t q = 0; q < spectra; ++q)
        for (std::size_t s = 0; s < many; ++s)
            for (std::size_t k = 0; k < length; ++k)
                plain[q * length + k] += truth[s * spectra + q] * all[s * length + k];
    maps_cWorkspace room;
    for (const maps_eWeights weights :
         {maps_WeightsOfCounts, maps_EqualWeights, maps_WeightsOfModel}) {
        const maps_cLinear fit(all, length, {.weights = weights, .nonNegative = {0, 1, 2, 3, 4}});
        for (const double scale : {1e-9, 1e-3, 1., 1e6, 1e9, 1e12, 1e15}) {
            std::vector<double> values = plain;
            for (double& value : values)
                value *= scale;
            Planes planes(many, spectra);
            fit.Run(stackOf(std::span<const double>(values), length), planes.All(), room);
            EXPECT_THAT(planes.status, testing::Each(maps_Good)) << weights << ' ' << scale;
            // Steps towards the likelihood end at a part of the errors of so few counts.
            const double bound = weights == maps_WeightsOfModel && scale <= 1 ? 1e-9 : 1e-12;
            for (std::size_t i = 0; i < truth.size(); ++i) {
                EXPECT_GE(planes.values[i], 0);
                EXPECT_NEAR(planes.values[i] / scale, truth[i], bound) << weights << ' ' << scale;
            }
        }
    }
}

/// Slopes at such bounds are sums of large numbers, of which nothing but rounding is left.
TEST(LinearMap, FactorsOfOverlappingShapesEndOnTheirBounds) {
    std::mt19937 random(5);
    std::uniform_real_distribution<> uniform;
    maps_cWorkspace room;
    for (const std::size_t many : {4, 6, 8, 10})
        for (const std::size_t length : {20, 45, 70}) {
            constexpr std::size_t spectra = 200;
            std::vector<double> all(many * length);
            for (std::size_t s = 0; s < many; ++s)
                for (std::size_t k = 0; k < length; ++k) {
                    const double part = static_cast<double>(k) / static_cast<double>(length);
                    const double z =
                        (part - (static_cast<double>(s) + 0.5) / static_cast<double>(many)) / 0.15;
                    all[s * length + k] = std::exp(-0.5 * z * z);
                }
            std::vector<double> values(spectra * length);
            for (std::size_t q = 0; q < spectra; ++q)
                for (std::size_t s = 0; s < many; ++s) {
                    const double factor = uniform(random) < 0.5 ? 0 : uniform(random);
                    for (std::size_t k = 0; k < length; ++k)
                        values[q * length + k] += factor * all[s * length + k];
                }
            std::fill_n(values.begin(), length, 1.0); // none is empty
            std::vector<int> bounded(many);
            std::iota(bounded.begin(), bounded.end(), 0);
            const maps_cLinear fit(all, length,
                                   {.weights = maps_EqualWeights, .nonNegative = bounded});
            Planes planes(many, spectra);
            fit.Run(stackOf(std::span<const double>(values), length), planes.All(), room);
            for (std::size_t q = 1; q < spectra; ++q)
                EXPECT_NE(planes.status[q], maps_Undetermined) << many << ' ' << length;
        }
}

TEST(LinearMap, WeightsOfTheModelGiveTheMaximumOfTheLikelihood) {
    constexpr std::size_t spectra = 20;
    const std::vector<unsigned short> counts =
        countsOf(spectra, channels, [](std::size_t q, double k) { return meanOf(q, k) / 10; });
    const maps_cLinear fit(shapes(), channels, {.weights = maps_WeightsOfModel});
    Planes planes(shapeCount, spectra);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(counts), channels), planes.All(), room);
    const std::vector<double> all = shapes();
    for (std::size_t q = 0; q < spectra; ++q) {
        ASSERT_EQ(planes.status[q], maps_Good);
        std::vector<double> f(channels);
        std::vector<double> w(channels);
        double deviance = 0;
        for (std::size_t k = 0; k < channels; ++k) {
            for (std::size_t s = 0; s < shapeCount; ++s)
                f[k] += planes.values[s * spectra + q] * all[s * channels + k];
            const double y = counts[q * channels + k];
            w[k] = 1 / f[k];
            deviance += 2 * (f[k] - y + (y > 0 ? y * std::log(y / f[k]) : 0));
        }
        const std::vector<double> y(counts.begin() + static_cast<std::ptrdiff_t>(q * channels),
                                    counts.begin() +
                                        static_cast<std::ptrdiff_t>((q + 1) * channels));
        const Oracle oracle = leastSquares(y.data(), w, false);
        EXPECT_NEAR(planes.chiSquared[q] / deviance, 1, 1e-10);
        for (std::size_t s = 0; s < shapeCount; ++s) {
            double score = 0;
            for (std::size_t k = 0; k < channels; ++k)
                score += (y[k] / f[k] - 1) * all[s * channels + k];
            EXPECT_LT(std::fabs(score * oracle.errors[s]), 1e-5);
            EXPECT_NEAR(planes.errors[s * spectra + q] / oracle.errors[s], 1, 1e-5);
        }
    }
}

/// Three lines of very different heights over a constant; where `isCut` they end.
std::vector<double> linesOverAConstant(bool isCut) {
    constexpr std::size_t length = 300;
    std::vector<double> all(4 * length, 1.0);
    const double positions[] = {60, 75, 200};
    const double widths[] = {4, 4, 6};
    for (std::size_t s = 0; s < 3; ++s)
        for (std::size_t k = 0; k < length; ++k) {
            const double z = (static_cast<double>(k) - positions[s]) / widths[s];
            all[s * length + k] = isCut && std::fabs(z) >= 6 ? 0 : std::exp(-0.5 * z * z);
        }
    return all;
}

/// Sums of shapes without negative values, fitted by expectation and maximization, which comes
/// near the largest likelihood from below.
struct Expected {
    Expected(const std::vector<double>& all, const unsigned short* y, std::size_t length, int steps)
        : x(all.size() / length, 1.0) {
        for (; steps > 0; --steps) {
            const std::vector<double> f = Curve(all, x, length);
            for (std::size_t s = 0; s < x.size(); ++s) {
                double seen = 0;
                double sum = 0;
                for (std::size_t k = 0; k < length; ++k) {
                    seen += y[k] > 0 ? all[s * length + k] * y[k] / f[k] : 0;
                    sum += all[s * length + k];
                }
                x[s] *= seen / sum;
            }
        }
    }
    static std::vector<double> Curve(const std::vector<double>& all, const std::vector<double>& x,
                                     std::size_t length) {
        std::vector<double> f(length);
        for (std::size_t s = 0; s < x.size(); ++s)
            for (std::size_t k = 0; k < length; ++k)
                f[k] += x[s] * all[s * length + k];
        return f;
    }
    static double Deviance(const std::vector<double>& f, const unsigned short* y) {
        double deviance = 0;
        for (std::size_t k = 0; k < f.size(); ++k)
            deviance += 2 * (f[k] - y[k] + (y[k] > 0 ? y[k] * std::log(y[k] / f[k]) : 0));
        return deviance;
    }
    std::vector<double> x;
};

std::vector<double> factorsOf(const Planes& planes, std::size_t q) {
    std::vector<double> x;
    for (std::size_t at = q; at < planes.values.size(); at += planes.status.size())
        x.push_back(planes.values[at]);
    return x;
}

/// Where a strong line makes nearly all counts, and a constant next to none.
TEST(LinearMap, TheLikelihoodIsLargestBesideNextToNoCounts) {
    constexpr std::size_t spectra = 12;
    constexpr std::size_t length = 300;
    maps_cWorkspace room;
    for (const bool isCut : {false, true}) {
        const std::vector<double> all = linesOverAConstant(isCut);
        const maps_cLinear bounded(all, length,
                                   {.weights = maps_WeightsOfModel, .nonNegative = {0, 1, 2, 3}});
        const maps_cLinear free(all, length, {.weights = maps_WeightsOfModel});
        for (const double level : {0.1, 1.0, 10.0, 1000.0})
            for (const double constant : {0.005, 0.02, 0.05, 0.2}) {
                const std::vector<double> mean =
                    Expected::Curve(all, {20 * level, 10 * level, 3 * level, constant}, length);
                const std::vector<unsigned short> counts =
                    countsOf(spectra, length, [&](std::size_t, double k) {
                        return mean[static_cast<std::size_t>(k)];
                    });
                Planes planes(4, spectra);
                Planes freely(4, spectra);
                const maps_cStack stack = stackOf(std::span(counts), length);
                bounded.Run(stack, planes.All(), room);
                free.Run(stack, freely.All(), room);
                for (std::size_t q = 0; q < spectra; ++q) {
                    const unsigned short* const y = counts.data() + q * length;
                    ASSERT_EQ(planes.status[q], maps_Good) << level << ' ' << constant << ' ' << q;
                    const std::vector<double> x = factorsOf(planes, q);
                    EXPECT_GE(*std::min_element(x.begin(), x.end()), 0);
                    const double own = Expected::Deviance(Expected::Curve(all, x, length), y);
                    const Expected expected(all, y, length, 400);
                    const double other =
                        Expected::Deviance(Expected::Curve(all, expected.x, length), y);
                    EXPECT_LT(own, other + 1e-7) << level << ' ' << constant << ' ' << q;
                    EXPECT_NEAR(planes.chiSquared[q], own, 1e-9 * (own + level));
                    EXPECT_LE(planes.iterations[q], 20);
                    // One that meets no bound is the largest of all.
                    if (*std::min_element(x.begin(), x.end()) == 0)
                        continue;
                    ASSERT_EQ(freely.status[q], maps_Good) << level << ' ' << constant << ' ' << q;
                    for (std::size_t s = 0; s < 4; ++s)
                        EXPECT_NEAR(freely.values[s * spectra + q], x[s],
                                    1e-4 * planes.errors[s * spectra + q]);
                }
            }
    }
}

/// The maximum scales with the spectrum, however small its unit makes it, and however large.
TEST(LinearMap, TheLikelihoodOfOtherUnitsIsThatOfCounts) {
    constexpr std::size_t spectra = 60;
    const std::vector<double> all = linesOverAConstant(false);
    const std::vector<double> mean = Expected::Curve(all, {40, 20, 8, 0.02}, 300);
    const std::vector<unsigned short> counts = countsOf(
        spectra, 300, [&](std::size_t, double k) { return mean[static_cast<std::size_t>(k)]; });
    maps_cWorkspace room;
    for (const bool isBounded : {true, false}) {
        maps_sLinearOptions options{.weights = maps_WeightsOfModel};
        if (isBounded)
            options.nonNegative = {0, 1, 2, 3};
        const maps_cLinear fit(all, 300, options);
        Planes planes(4, spectra);
        fit.Run(stackOf(std::span(counts), 300), planes.All(), room);
        for (const double unit : {1e-3, 1e-9, 44.0}) {
            std::vector<double> scaled(counts.begin(), counts.end());
            for (double& y : scaled)
                y *= unit;
            Planes other(4, spectra);
            fit.Run(stackOf(std::span<const double>(scaled), 300), other.All(), room);
            EXPECT_EQ(other.status, planes.status) << isBounded << ' ' << unit;
            for (std::size_t q = 0; q < spectra; ++q)
                for (std::size_t at = q; at < planes.values.size(); at += spectra)
                    if (planes.status[q] == maps_Good) {
                        EXPECT_NEAR(other.values[at] / unit, planes.values[at],
                                    1e-4 * std::max(planes.errors[at], 0.01));
                    }
        }
    }
}

/// Scoring steps to and fro about a maximum that lies in a sharp bend.
TEST(LinearMap, StepsThatGoToAndFroFindTheMaximum) {
    const std::vector<double> all{27,  27,  27,  0,   0,   0,    0,     0,    0,   0,   0,
                                  0,   0,   0,   .75, .6,  .5,   .4,    .3,   .25, .2,  .15,
                                  .1,  .08, .06, .04, .02, .012, .0004, .002, .01, .04, .11,
                                  .25, .47, .7,  .9,  .97, .87,  .66,   .42,  .22};
    maps_cWorkspace room;
    const maps_cLinear fit(all, 14, {.weights = maps_WeightsOfModel, .nonNegative = {0, 1, 2}});
    std::mt19937 random(5);
    for (int trial = 0; trial < 2000; ++trial) {
        std::vector<unsigned short> counts(14);
        for (int n = 0; n < 18; ++n)
            ++counts[random() % 14];
        Planes planes(3, 1);
        fit.Run(stackOf(std::span<const unsigned short>(counts), 14), planes.All(), room);
        ASSERT_EQ(planes.status[0], maps_Good) << trial;
        const Expected expected(all, counts.data(), 14, 300);
        EXPECT_LT(planes.chiSquared[0],
                  Expected::Deviance(Expected::Curve(all, expected.x, 14), counts.data()) + 1e-7);
    }
}

/// Where nothing is expected nothing was seen: that is likely, and no reason to give up.
TEST(LinearMap, ChannelsThatTheModelLeavesEmptyMayBeEmpty) {
    const std::vector<double> all{1, 2, 1, 0, 0, 0, 1, 1, 1, 1, 1, 1};
    const std::vector<unsigned short> counts{3, 6, 3, 0, 0, 0, 3, 6, 3, 0, 0, 0};
    const maps_cLinear fit(all, 6, {.weights = maps_WeightsOfModel, .nonNegative = {0, 1}});
    maps_cWorkspace room;
    Planes planes(2, 2);
    fit.Run(stackOf(std::span(counts), 6), planes.All(), room);
    EXPECT_THAT(planes.status, ElementsAre(maps_Good, maps_Good));
    EXPECT_NEAR(planes.values[0], 3, 1e-9);
    EXPECT_EQ(planes.values[2], 0);
    EXPECT_EQ(planes.errors[2], 0);
    EXPECT_NEAR(planes.chiSquared[0], 0, 1e-12);
    // Counts where no factor may be are none that this model can tell of.
    const maps_cLinear line(std::vector{1., 2., 1., 1e-200, 1e-200, 1e-200}, 6,
                            {.weights = maps_WeightsOfModel, .nonNegative = {0}});
    const std::vector<unsigned short> beside{3, 6, 3, 0, 1, 0};
    Planes one(1, 1);
    line.Run(stackOf(std::span<const unsigned short>(beside), 6), one.All(), room);
    EXPECT_THAT(one.status, ElementsAre(maps_NotConverged));
    line.Run(stackOf(std::span<const unsigned short>(beside), 6), {{}, {}, {}, {}, one.status},
             room);
    EXPECT_THAT(one.status, ElementsAre(maps_NotConverged));
}

/// Tails too small to be normal numbers are nothing, too.
TEST(LinearMap, TailsMayBeSmallerThanNumbersAre) {
    const std::vector<unsigned short> counts{3, 6, 3, 0, 0, 0};
    maps_cWorkspace room;
    Planes planes(1, 1);
    for (const double tail : {1e-250, 1e-310}) {
        const maps_cLinear fit(std::vector{1., 2., 1., tail, tail, 0.}, 6,
                               {.weights = maps_WeightsOfModel, .nonNegative = {0}});
        fit.Run(stackOf(std::span(counts), 6), planes.All(), room);
        EXPECT_THAT(planes.status, ElementsAre(maps_Good));
        EXPECT_NEAR(planes.values[0], 3, 1e-12);
        EXPECT_NEAR(planes.errors[0], std::sqrt(12.0) / 4, 1e-12);
        EXPECT_NEAR(planes.chiSquared[0], 0, 1e-12);
    }
}

/// Values below 0, which are no counts, have no curvature.
TEST(LinearMap, ValuesBelowZeroDoNotTurnTheLikelihood) {
    std::vector<double> all(60, 1.0);
    std::fill_n(all.begin(), 30, 0.0);
    std::vector<float> values(30);
    for (const int k : {14, 15, 16})
        all[static_cast<std::size_t>(k)] = k == 15 ? 2 : 1;
    values[14] = values[16] = values[3] = 1;
    values[15] = -1;
    const maps_cLinear fit(all, 30, {.weights = maps_WeightsOfModel, .nonNegative = {0, 1}});
    maps_cWorkspace room;
    Planes planes(2, 1);
    fit.Run(stackOf(std::span<const float>(values), 30), planes.All(), room);
    EXPECT_THAT(planes.status, ElementsAre(maps_Good));
    const std::vector<double> f = Expected::Curve(all, planes.values, 30);
    for (std::size_t s = 0; s < 2; ++s) {
        double score = 0;
        for (std::size_t k = 0; k < 30; ++k)
            score += all[s * 30 + k] * (values[k] / f[k] - 1);
        EXPECT_NEAR(score, 0, 1e-3);
    }
    double deviance = 0;
    for (std::size_t k = 0; k < 30; ++k)
        deviance +=
            2 * (f[k] - values[k] + (values[k] > 0 ? values[k] * std::log(values[k] / f[k]) : 0));
    EXPECT_GT(deviance, 10);
    EXPECT_NEAR(planes.chiSquared[0], deviance, 1e-9);
}

/// Also where fewer had been expected on the way.
TEST(LinearMap, ErrorsFromOneCountOnAreThoseExpected) {
    constexpr std::size_t spectra = 4000;
    constexpr std::size_t length = 40;
    std::vector<double> all(3 * length);
    for (std::size_t k = 0; k < length; ++k) {
        const double x = static_cast<double>(k);
        all[k] = 1;
        all[length + k] = std::exp(-(x - 20) * (x - 20) / 18);
        all[2 * length + k] = x / length;
    }
    const std::vector<unsigned short> counts =
        countsOf(spectra, length, [&](std::size_t, double x) {
            return 1.5 + 3000 * std::exp(-(x - 20) * (x - 20) / 18);
        });
    const maps_cLinear fit(all, length, {.weights = maps_WeightsOfModel, .nonNegative = {0, 1, 2}});
    Planes planes(3, spectra);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span<const unsigned short>(counts), length), planes.All(), room);
    int compared = 0;
    for (std::size_t q = 0; q < spectra; ++q) {
        double x[3];
        for (std::size_t i = 0; i < 3; ++i)
            x[i] = planes.values[i * spectra + q];
        double least = 1e9;
        double information[3][3] = {};
        for (std::size_t k = 0; k < length; ++k) {
            double f = 0;
            for (std::size_t i = 0; i < 3; ++i)
                f += x[i] * all[i * length + k];
            least = std::min(least, f);
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 3; ++j)
                    information[i][j] += all[static_cast<std::size_t>(i) * length + k] *
                                         all[static_cast<std::size_t>(j) * length + k] / f;
        }
        if (least < 1 || !(x[0] > 0 && x[1] > 0 && x[2] > 0))
            continue;
        const auto minor = [&](int i, int j) {
            const int a = (i + 1) % 3, b = (i + 2) % 3, c = (j + 1) % 3, d = (j + 2) % 3;
            return information[a][c] * information[b][d] - information[a][d] * information[b][c];
        };
        const double determinant = information[0][0] * minor(0, 0) +
                                   information[0][1] * minor(0, 1) +
                                   information[0][2] * minor(0, 2);
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(planes.errors[static_cast<std::size_t>(i) * spectra + q] /
                            std::sqrt(minor(i, i) / determinant),
                        1, 1e-4)
                << q;
        ++compared;
    }
    EXPECT_GT(compared, 500);
}

/// Channels that no shape reaches do not make a spectrum one of few counts.
TEST(LinearMap, ChannelsThatNoShapeReachesChangeNoBits) {
    constexpr std::size_t spectra = 20;
    const auto fitted = [&](std::size_t length) {
        std::vector<double> all(2 * length);
        for (std::size_t k = 0; k < 9; ++k) {
            all[k] = static_cast<double>(k + 1);
            all[length + k] = 10 - static_cast<double>(k);
        }
        std::vector<double> values(spectra * length);
        for (std::size_t q = 0; q < spectra; ++q)
            for (std::size_t k = 0; k < 9; ++k)
                values[q * length + k] = static_cast<double>(20 + (7 * q + 5 * k * k) % 13);
        Planes planes(2, spectra);
        maps_cWorkspace room;
        maps_cLinear(all, length, {.weights = maps_WeightsOfModel})
            .Run(stackOf(std::span<const double>(values), length), planes.All(), room);
        EXPECT_THAT(planes.status, testing::Each(maps_Good));
        return hashOf(planes);
    };
    EXPECT_EQ(fitted(9), fitted(12));
}

TEST(LinearMap, ErrorsOfTheLikelihoodAreWhatTheySay) {
    constexpr std::size_t spectra = 4000;
    const std::vector<unsigned short> counts =
        countsOf(spectra, channels, [](std::size_t, double k) { return meanOf(1, k); });
    const maps_cLinear fit(shapes(), channels, {.weights = maps_WeightsOfModel});
    Planes planes(shapeCount, spectra);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(counts), channels), planes.All(), room);
    const double truth[] = {50, 80, 30, 20, -5};
    for (std::size_t s = 0; s < shapeCount; ++s) {
        double sum = 0;
        double squares = 0;
        for (std::size_t q = 0; q < spectra; ++q) {
            const double pull =
                (planes.values[s * spectra + q] - truth[s]) / planes.errors[s * spectra + q];
            sum += pull;
            squares += pull * pull;
        }
        EXPECT_NEAR(sum / spectra, 0, 4 / std::sqrt(spectra));
        EXPECT_NEAR(std::sqrt(squares / spectra), 1, 3 / std::sqrt(2.0 * spectra));
    }
}

TEST(LinearMap, BadSpectraAreMarkedAndLeaveTheOthersAlone) {
    constexpr std::size_t spectra = 9;
    const std::vector<unsigned short> counts = countsOf(spectra, channels, meanOf);
    std::vector<float> values(counts.begin(), counts.end());
    const maps_eWeights all[] = {maps_WeightsOfCounts, maps_EqualWeights, maps_WeightsOfModel};
    for (const maps_eWeights weights : all) {
        const maps_cLinear fit(shapes(), channels, {.weights = weights});
        maps_cWorkspace room;
        Planes good(shapeCount, spectra);
        fit.Run(stackOf(std::span<const float>(values), channels), good.All(), room);
        std::vector<float> bad = values;
        bad[2 * channels + 7] = std::numeric_limits<float>::quiet_NaN();
        bad[3 * channels] = std::numeric_limits<float>::infinity();
        bad[4 * channels + 202] = -std::numeric_limits<float>::infinity();
        std::fill_n(bad.begin() + 6 * channels, channels, 0.0F);
        Planes planes(shapeCount, spectra);
        fit.Run(stackOf(std::span<const float>(bad), channels), planes.All(), room);
        EXPECT_THAT(planes.status,
                    ElementsAre(maps_Good, maps_Good, maps_NotFinite, maps_NotFinite,
                                maps_NotFinite, maps_Good, maps_Empty, maps_Good, maps_Good));
        for (std::size_t q = 0; q < spectra; ++q)
            for (std::size_t s = 0; s < shapeCount; ++s) {
                const std::size_t at = s * spectra + q;
                if (planes.status[q] == maps_Good) {
                    EXPECT_EQ(planes.values[at], good.values[at]);
                    EXPECT_EQ(planes.errors[at], good.errors[at]);
                } else {
                    EXPECT_TRUE(std::isnan(planes.values[at]) && std::isnan(planes.errors[at]) &&
                                std::isnan(planes.chiSquared[q]));
                    EXPECT_EQ(planes.iterations[q], 0);
                }
            }
    }
}

TEST(LinearMap, ValuesTooSmallToBeSquaredAreNotEmpty) {
    const std::vector<double> values{1e-170, 2e-170, 1e-170, 0, 0, 0};
    maps_cWorkspace room;
    for (const maps_eWeights weights :
         {maps_WeightsOfCounts, maps_EqualWeights, maps_WeightsOfModel}) {
        const maps_cLinear fit(std::vector{1., 1., 1.}, 3, {.weights = weights});
        Planes planes(1, 2);
        fit.Run(stackOf(std::span<const double>(values), 3), planes.All(), room);
        EXPECT_THAT(planes.status, ElementsAre(maps_NotFinite, maps_Empty));
    }
}

/// The deviance is that of the channels that a shape reaches; chi-squared is that of all.
TEST(LinearMap, WhatNoShapeReachesMayBeNotFiniteWhereChiSquaredLeavesItOut) {
    const std::vector<double> all{0, 1, 2, 1, 0, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0, 0};
    const std::vector<double> good{7, 12, 21, 9, 11, 3, 4, 5, 6};
    std::vector<double> dead = good;
    dead[5] = std::nan("");
    dead[6] = std::numeric_limits<double>::infinity();
    std::vector<double> needed = dead;
    needed[3] = std::nan("");
    maps_cWorkspace room;
    for (const maps_eWeights weights :
         {maps_WeightsOfCounts, maps_EqualWeights, maps_WeightsOfModel}) {
        const maps_cLinear fit(all, 9, {.weights = weights});
        Planes whole(2, 1);
        Planes planes(2, 1);
        fit.Run(stackOf(std::span<const double>(good), 9), whole.All(), room);
        fit.Run(stackOf(std::span<const double>(dead), 9), planes.All(), room);
        EXPECT_THAT(whole.status, ElementsAre(maps_Good));
        if (weights == maps_WeightsOfModel)
            EXPECT_EQ(hashOf(planes), hashOf(whole));
        else
            EXPECT_THAT(planes.status, ElementsAre(maps_NotFinite));
        fit.Run(stackOf(std::span<const double>(needed), 9), planes.All(), room);
        EXPECT_THAT(planes.status, ElementsAre(maps_NotFinite));
    }
}

TEST(LinearMap, ValuesBelowZeroHaveNoVarianceWithEqualWeights) {
    const std::vector<float> values{-1, -2, 3, -4, 5, -6, -1, -1, -1, -1, -1, -1};
    std::vector<float> cut = values;
    std::replace_if(
        cut.begin(), cut.end(), [](float value) { return value < 0; }, 0.0F);
    cut[6] = -1e-30F; // not empty
    const maps_cLinear fit(std::vector{1., 1., 1., 1., 1., 1., 0., 1., 2., 3., 4., 5.}, 6,
                           {.weights = maps_EqualWeights});
    Planes planes(2, 2);
    Planes counts(2, 2);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(std::as_const(values)), 6), planes.All(), room);
    fit.Run(stackOf(std::span(std::as_const(cut)), 6), counts.All(), room);
    EXPECT_THAT(planes.status, ElementsAre(maps_Good, maps_Good));
    EXPECT_EQ(planes.errors, counts.errors);
    EXPECT_EQ(planes.errors[1], 0);
    EXPECT_GT(planes.errors[0], 0);
}

/// Where a model comes near 0 its weights have no bounds; the shapes are told apart all the same.
TEST(LinearMap, FewCountsDoNotMakeShapesUndetermined) {
    constexpr std::size_t spectra = 400;
    const std::vector<unsigned short> counts =
        countsOf(spectra, channels, [](std::size_t q, double k) { return meanOf(q, k) / 1000; });
    for (const bool isBounded : {false, true}) {
        maps_sLinearOptions options{.weights = maps_WeightsOfModel};
        if (isBounded)
            options.nonNegative = {0, 1, 2, 3};
        const maps_cLinear fit(shapes(), channels, options);
        Planes planes(shapeCount, spectra);
        maps_cWorkspace room;
        fit.Run(stackOf(std::span(counts), channels), planes.All(), room);
        EXPECT_THAT(planes.status, testing::Each(testing::Ne(maps_Undetermined)));
    }
}

/// A factor is not known better than the few counts say, also where the model goes to 0.
TEST(LinearMap, ErrorsOfFewCountsAreNoSmallerThanTheyShouldBe) {
    constexpr std::size_t spectra = 600;
    std::vector<double> all = shapes();
    for (std::size_t k = 0; k < channels; ++k)
        all[4 * channels + k] += 1; // a slope that ends at 0
    double sums[shapeCount] = {};
    for (std::size_t i = 0; i < all.size(); ++i)
        sums[i / channels] += all[i];
    const double truth[] = {100, 40, 0, 20, 20};
    maps_cWorkspace room;
    for (const double part : {0.001, 0.0025, 0.005, 0.01, 0.05}) {
        const std::vector<unsigned short> counts =
            countsOf(spectra, channels, [&](std::size_t, double k) {
                double sum = 0;
                for (std::size_t s = 0; s < shapeCount; ++s)
                    sum += part * truth[s] * all[s * channels + static_cast<std::size_t>(k)];
                return sum;
            });
        for (const bool isBounded : {false, true}) {
            maps_sLinearOptions options{.weights = maps_WeightsOfModel};
            if (isBounded)
                options.nonNegative = {0, 1, 2, 3, 4};
            const maps_cLinear fit(all, channels, options);
            Planes planes(shapeCount, spectra);
            fit.Run(stackOf(std::span(counts), channels), planes.All(), room);
            for (std::size_t s = 0; s < shapeCount; ++s) {
                double squares = 0;
                double largest = 0;
                double least = 1;
                int many = 0;
                for (std::size_t q = 0; q < spectra; ++q) {
                    const std::size_t at = s * spectra + q;
                    if (planes.status[q] != maps_Good || planes.errors[at] == 0)
                        continue;
                    const double pull = (planes.values[at] - part * truth[s]) / planes.errors[at];
                    squares += pull * pull;
                    largest = std::max(largest, std::fabs(pull));
                    least = std::min(least, planes.errors[at] * sums[s]);
                    ++many;
                }
                EXPECT_LT(std::sqrt(squares / many), 1.25) << part << isBounded << s;
                EXPECT_LT(largest, 8) << part << isBounded << s;
                EXPECT_GT(least, 1 - 1e-12) << part << isBounded << s; // in counts
            }
        }
    }
}

/// A count where two shapes are the same says nothing about either.
TEST(LinearMap, WhatTheCountsLeaveOpenIsNotKnownBetterThanByOneCount) {
    const std::vector<double> all{2, 1, 4, 0, 0, 0, 0, 4, 2, 1};
    const std::vector<unsigned short> counts{0, 0, 1, 0, 0};
    const maps_cLinear fit(all, 5, {.weights = maps_WeightsOfModel, .nonNegative = {0, 1}});
    Planes planes(2, 1);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span<const unsigned short>(counts), 5), planes.All(), room);
    ASSERT_THAT(planes.status, ElementsAre(maps_Good));
    EXPECT_NEAR(7 * (planes.values[0] + planes.values[1]), 1, 1e-5);
    EXPECT_GT(std::min(planes.values[0], planes.values[1]), 0.01);
    EXPECT_DOUBLE_EQ(planes.errors[0], 1.0 / 7);
    EXPECT_DOUBLE_EQ(planes.errors[1], 1.0 / 7);
}

/// A shape that takes as much as it gives has counts, too.
TEST(LinearMap, OneCountIsThatOfWhatAShapeGivesAndTakes) {
    constexpr std::size_t length = 20;
    std::vector<double> all(2 * length, 1.0);
    for (std::size_t k = 0; k < length; ++k)
        all[length + k] = k < length / 2 ? -0.5 : 0.5;
    std::vector<unsigned short> counts(length);
    counts[3] = counts[15] = 1;
    const maps_cLinear fit(all, length, {.weights = maps_WeightsOfModel});
    maps_cWorkspace room;
    Planes planes(2, 1);
    fit.Run(stackOf(std::span<const unsigned short>(counts), length), planes.All(), room);
    EXPECT_THAT(planes.status, ElementsAre(maps_Good));
    EXPECT_NEAR(planes.errors[0], std::sqrt(2.0) / 20, 1e-9);
    EXPECT_NEAR(planes.errors[1], std::sqrt(2.0) / 10, 1e-9);
    // One count leaves one of the halves at its edge: no more is known than that count.
    counts[3] = 0;
    const maps_cLinear bounded(all, length,
                               {.weights = maps_WeightsOfModel, .nonNegative = {0, 1}});
    bounded.Run(stackOf(std::span<const unsigned short>(counts), length), planes.All(), room);
    for (std::size_t s = 0; s < 2; ++s)
        EXPECT_TRUE(planes.status[0] != maps_Good || planes.errors[s] == 0 ||
                    (planes.errors[s] >= 1.0 / 20 && planes.errors[s] < 1));
}

TEST(LinearMap, SpectraWithoutAPositiveModelHaveNotConverged) {
    const maps_cLinear fit(std::vector{1., 1., 1., 1., 0., 1., 2., 3.}, 4,
                           {.weights = maps_WeightsOfModel});
    const std::vector<short> values{9, 3, -3, -9, 10, 10, 10, 10};
    Planes planes(2, 2);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span<const short>(values), 4), planes.All(), room);
    EXPECT_THAT(planes.status, ElementsAre(maps_NotConverged, maps_Good));
}

TEST(LinearMap, BitsDoNotDependOnCutsNeighboursLevelsOrStrides) {
    constexpr std::size_t spectra = 64;
    struct Case {
        maps_eWeights weights;
        double part;
        std::vector<int> nonNegative = {1};
    };
    for (const auto& [weights, part, nonNegative] : {Case{maps_WeightsOfCounts, 1.0},
                                                     {maps_EqualWeights, 1.0},
                                                     {maps_WeightsOfModel, 1.0},
                                                     {maps_WeightsOfModel, 0.01},
                                                     {maps_WeightsOfModel, 0.002},
                                                     {maps_WeightsOfModel, 0.001, {0, 1, 2, 3}},
                                                     {maps_WeightsOfModel, 0.01, {}}}) {
        const std::vector<unsigned short> counts =
            countsOf(spectra, channels,
                     [scale = part](std::size_t q, double k) { return scale * meanOf(q, k); });
        const maps_cLinear fit(shapes(), channels,
                               {.weights = weights, .nonNegative = nonNegative});
        std::uint64_t expected = 0;
        for (const auto level : levels()) {
            const LevelInUse use(level);
            maps_cWorkspace room;
            for (const std::size_t many : {64, 1, 7, 50}) {
                const std::uint64_t hash = hashOf(inParts<unsigned short>(
                    [&](const maps_cStack& stack, const maps_sPlanes& planes) {
                        fit.Run(stack, planes, room);
                    },
                    shapeCount, counts, channels, many));
                expected = expected == 0 ? hash : expected;
                EXPECT_EQ(hash, expected) << many;
            }
            std::vector<double> turned(counts.size());
            for (std::size_t q = 0; q < spectra; ++q)
                for (std::size_t k = 0; k < channels; ++k)
                    turned[k * spectra + q] = counts[q * channels + k];
            Planes planes(shapeCount, spectra);
            fit.Run(maps_cStack(std::span<const double>(turned),
                                {8, 8, channels, 8, 1, static_cast<std::ptrdiff_t>(spectra), 0}),
                    planes.All(), room);
            EXPECT_EQ(hashOf(planes), expected);
        }
    }
}

TEST(LinearMap, PlanesThatAreNotWantedAreLeftOut) {
    const std::vector<unsigned short> counts = countsOf(3, channels, meanOf);
    maps_cWorkspace room;
    for (const maps_eWeights weights :
         {maps_WeightsOfCounts, maps_EqualWeights, maps_WeightsOfModel}) {
        const maps_cLinear fit(shapes(), channels, {.weights = weights});
        Planes all(shapeCount, 3);
        Planes some(shapeCount, 3);
        fit.Run(stackOf(std::span(counts), channels), all.All(), room);
        fit.Run(stackOf(std::span(counts), channels), {some.values, {}, {}, {}, {}}, room);
        EXPECT_EQ(some.values, all.values);
    }
}

TEST(LinearMap, PolynomialsComeBack) {
    const cal_c1DArrayCal cal(5, 0.25, 3);
    std::vector<double> values;
    for (long long k = 0; k < 50; ++k) {
        const double t = (cal.Position(k) - 10) / 6;
        values.push_back(100 + 20 * t - 30 * t * t);
    }
    const maps_cLinear fit = maps_Polynomial(50, cal, 2, 10, 6);
    Planes planes(3, 1);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span<const double>(values), 50, cal), planes.All(), room);
    EXPECT_NEAR(planes.values[0], 100, 1e-10);
    EXPECT_NEAR(planes.values[1], 20, 1e-10);
    EXPECT_NEAR(planes.values[2], -30, 1e-10);
}

TEST(LinearMap, WhatMeansNothingIsRefused) {
    const double nan = std::nan("");
    const auto made = [](std::vector<double> all, std::size_t length,
                         const maps_sLinearOptions& options = {}) {
        return refusalOf([&] { maps_cLinear(all, length, options); });
    };
    EXPECT_EQ(made({}, 4), "maps:6");
    EXPECT_EQ(made({1, 2, 3, 4, 5}, 4), "maps:6");
    EXPECT_EQ(made({1, 2}, 0), "maps:6");
    EXPECT_EQ(made({1, nan}, 2), "maps:6");
    EXPECT_EQ(made({0, 0}, 2), "maps:6");
    EXPECT_EQ(made({1, 2, 3, 2, 4, 6}, 3), "maps:6");
    EXPECT_EQ(made({1, 2}, 2, {.nonNegative = {1}}), "maps:7");
    EXPECT_EQ(made({1, 2}, 2, {.nonNegative = {-1}}), "maps:7");
    EXPECT_EQ(made({1, 2}, 2, {.weights = static_cast<maps_eWeights>(3)}), "maps:7");
    for (const auto& [degree, reference, scale] :
         {std::tuple{-1, 0., 1.}, {1, nan, 1.}, {1, 0., 0.}, {1, 0., nan}})
        EXPECT_EQ(refusalOf([&, d = degree, r = reference, s = scale] {
                      maps_Polynomial(9, {}, d, r, s);
                  }),
                  "maps:7");
    EXPECT_EQ(refusalOf([&] { maps_Polynomial(2, {}, 2, 0, 1); }), "maps:6");

    const maps_cLinear fit(std::vector{1., 2., 3.}, 3);
    const std::vector<int> values(12);
    maps_cWorkspace room;
    Planes planes(1, 4);
    const maps_cStack stack = stackOf(std::span<const int>(values), 3);
    EXPECT_EQ(refusalOf([&] {
                  fit.Run(stackOf(std::span<const int>(values), 4), Planes(1, 3).All(), room);
              }),
              "maps:4");
    std::vector<double> wrong(5);
    std::vector<int> wrongSteps(5);
    std::vector<maps_eStatus> wrongStatus(5);
    for (const maps_sPlanes& to : {maps_sPlanes{wrong, {}, {}, {}, {}},
                                   {{}, wrong, {}, {}, {}},
                                   {{}, {}, wrong, {}, {}},
                                   {{}, {}, {}, wrongSteps, {}},
                                   {{}, {}, {}, {}, wrongStatus}})
        EXPECT_EQ(refusalOf([&] { fit.Run(stack, to, room); }), "maps:3");
}

} // namespace
