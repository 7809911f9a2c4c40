#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/maps/maps_peaks.h"
#include "tests/maps/map.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"

namespace {

using testing::Each;
using testing::ElementsAre;

constexpr std::size_t channels = 301;
const cal_c1DArrayCal scale(5, 0.01, 3);

/// Three peaks, of which two overlap, on a straight line.
pkmd_cModel model(double height = 400) {
    pkmd_cModel made;
    made.AddPeak(pkmd_Gaussian, 5.5, height, 0.05);
    made.AddPeak(pkmd_Gaussian, 6.4, 2 * height, 0.06);
    made.AddPeak(pkmd_Gaussian, 6.55, height, 0.06);
    made.AddPolynomial({20, -4}, 6.5, 1.5);
    return made;
}

/// Counts around a model whose parameters change over the map; what they are there.
struct Map {
    std::vector<unsigned short> counts;
    std::vector<double> truth; ///< By planes.
};
Map mapOf(
    const pkmd_cModel& of, std::size_t spectra, double part = 1, unsigned seed = 1,
    const std::function<bool(int)>& isMoving = [](int) { return true; }) {
    const auto parameters = static_cast<std::size_t>(of.ParameterCount());
    Map map{{}, std::vector<double>(parameters * spectra)};
    std::vector<std::vector<double>> curves;
    std::vector<double> x;
    for (std::size_t k = 0; k < channels; ++k)
        x.push_back(scale.Position(static_cast<long long>(k)));
    for (std::size_t q = 0; q < spectra; ++q) {
        std::vector<double> p(of.Starts().begin(), of.Starts().end());
        for (std::size_t i = 0; i < parameters; ++i) {
            const double phase = std::sin(0.7 * static_cast<double>(q) + static_cast<double>(i));
            const bool isPosition = i < 9 && i % 3 == 0;
            if (isMoving(static_cast<int>(i)))
                p[i] += part * phase * (isPosition ? 0.01 : 0.1 * p[i]);
            map.truth[i * spectra + q] = p[i];
        }
        std::vector<double>& y = curves.emplace_back(channels);
        of.Values(p, x, y);
    }
    map.counts = countsOf(
        spectra, channels,
        [&](std::size_t q, double k) { return curves[q][static_cast<std::size_t>(k)]; }, seed);
    return map;
}

struct PeakPlanes : Planes {
    PeakPlanes(const maps_cPeaks& fit, std::size_t spectra)
        : Planes(fit.ParameterCount(), spectra), areas(fit.PeakCount() * spectra),
          areaErrors(areas.size()) {}
    maps_sPeakPlanes Those() { return {All(), areas, areaErrors}; }
    std::vector<double> areas;
    std::vector<double> areaErrors;
};
std::uint64_t hashOf(const PeakPlanes& planes) {
    return ::hashOf(
        std::span(planes.areaErrors),
        ::hashOf(std::span(planes.areas), ::hashOf(static_cast<const Planes&>(planes))));
}

pkmd_sOptions aloneOf(const maps_sPeakOptions& options) {
    pkmd_sOptions alone;
    alone.objective = options.objective;
    alone.weights = options.weights;
    alone.errors = options.errors;
    alone.windows = options.windows;
    alone.from = options.from;
    alone.to = options.to;
    return alone;
}

/// Compares with pkmd_Fit, spectrum by spectrum. Where windows are narrow, what they cut off
/// differs.
void expectThoseOfPkmd(const pkmd_cModel& of, const std::vector<unsigned short>& counts,
                       const maps_sPeakOptions& options, std::span<const double> starts = {}) {
    const std::size_t spectra = counts.size() / channels;
    const maps_cPeaks fit(of, channels, scale, options);
    PeakPlanes planes(fit, spectra);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(counts), channels, scale), planes.Those(), room, starts);
    const std::size_t parameters = fit.ParameterCount();
    const bool isNarrow = options.windows < 7;
    const double part = isNarrow ? 1e-3 : 1e-4; // of an error
    for (std::size_t q = 0; q < spectra; ++q) {
        SCOPED_TRACE(q);
        const std::vector<double> y(counts.begin() + static_cast<std::ptrdiff_t>(q * channels),
                                    counts.begin() +
                                        static_cast<std::ptrdiff_t>((q + 1) * channels));
        pkmd_cModel own = of;
        for (std::size_t i = 0; i < parameters && !starts.empty(); ++i)
            own.SetStart(static_cast<int>(i), starts[i * spectra + q]);
        const pkmd_sResult alone =
            pkmd_Fit(own, darr_c1DArray(std::span(y), scale), aloneOf(options));
        ASSERT_TRUE(alone.fit.Converged());
        ASSERT_EQ(planes.status[q], maps_Good);
        EXPECT_NEAR(planes.chiSquared[q] / alone.fit.chiSquared, 1, isNarrow ? 1e-4 : 1e-8);
        EXPECT_GE(planes.iterations[q], 1);
        for (std::size_t i = 0; i < parameters; ++i) {
            const std::size_t at = i * spectra + q;
            const double error = alone.fit.standardErrors[i];
            EXPECT_NEAR(planes.values[at], alone.fit.parameters[i],
                        error > 0 ? part * error : 1e-12)
                << alone.names[i];
            EXPECT_NEAR(planes.errors[at], error, part * error) << alone.names[i];
        }
        for (std::size_t k = 0; k < alone.peaks.size(); ++k) {
            const std::size_t at = k * spectra + q;
            EXPECT_NEAR(planes.areas[at], alone.peaks[k].area, part * alone.peaks[k].areaError);
            EXPECT_NEAR(planes.areaErrors[at] / alone.peaks[k].areaError, 1, part);
        }
    }
}

TEST(PeakMap, ResultsAreThoseOfOneSpectrumAtATime) {
    const Map map = mapOf(model(), 24);
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        expectThoseOfPkmd(model(), map.counts, {.objective = objective});
        expectThoseOfPkmd(model(), map.counts,
                          {.objective = objective, .errors = nlsq_ErrorsFromScatter});
        expectThoseOfPkmd(model(), map.counts, {.objective = objective, .windows = 8});
        expectThoseOfPkmd(model(), map.counts, {.objective = objective, .from = 5.2, .to = 7.3});
    }
    std::vector<double> weights(channels, 0.05);
    weights[40] = weights[150] = 0;
    expectThoseOfPkmd(model(), map.counts, {.objective = nlsq_LeastSquares, .weights = weights});
    expectThoseOfPkmd(
        model(), map.counts,
        {.objective = nlsq_LeastSquares, .weights = weights, .errors = nlsq_ErrorsFromScatter});
}

TEST(PeakMap, ParametersMayStayOrFollow) {
    const auto isFree = [](int i) { return i != 2 && i != 5 && i != 8; };
    const Map map = mapOf(model(), 16, 1, 2, isFree);
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        pkmd_cModel tied = model();
        tied.Tie(tied.Width(1), tied.Width(2), 1);
        tied.Fix(tied.Width(0));
        expectThoseOfPkmd(tied, map.counts, {.objective = objective});
        pkmd_cModel split = model();
        split.Fix(split.Position(1));
        split.Tie(split.Position(2), split.Position(1), 1, 0.15);
        split.Tie(split.Width(2), split.Width(0), 1.2);
        split.Tie(split.Width(1), split.Width(0), 1.2);
        const Map still = mapOf(model(), 16, 1, 3, [&](int i) { return i % 3 == 1 || i > 8; });
        expectThoseOfPkmd(split, still.counts, {.objective = objective});
    }
}

TEST(PeakMap, BackgroundsMayComeFirstOrBeMissing) {
    pkmd_cModel turned;
    turned.AddPolynomial({20}, 6.5);
    turned.AddPeak(pkmd_Gaussian, 6.4, 300, 0.06);
    const auto isStill = [](int) { return false; };
    const Map constant = mapOf(turned, 9, 1, 4, isStill);
    pkmd_cModel none;
    none.AddPeak(pkmd_Gaussian, 6.4, 3000, 0.3);
    const Map broad = mapOf(none, 9, 1, 5, isStill);
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood})
        expectThoseOfPkmd(turned, constant.counts, {.objective = objective});
    expectThoseOfPkmd(none, broad.counts, {.objective = nlsq_LeastSquares});
    pkmd_cModel line;
    line.AddPolynomial({20, 3}, 6.5, 1.5);
    const Map flat = mapOf(line, 9, 1, 6, isStill);
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood})
        expectThoseOfPkmd(line, flat.counts, {.objective = objective});
}

// Lanes know no bounds: what they find beyond one is fitted again.
TEST(PeakMap, BoundsHold) {
    const Map map = mapOf(model(), 20, 0.3);
    pkmd_cModel tight = model();
    const auto height = static_cast<std::size_t>(tight.Height(0));
    tight.Bound(tight.Height(0), 0, tight.Starts()[height]);
    expectThoseOfPkmd(tight, map.counts, {});
    tight.Bound(tight.Height(0), tight.Starts()[height], std::numeric_limits<double>::infinity());
    expectThoseOfPkmd(tight, map.counts, {});
}

/// A line within one channel tells no width; lanes stop it at a fifth of the channel, too.
TEST(PeakMap, WidthsStayAtAFifthOfAChannel) {
    constexpr std::size_t length = 60;
    const cal_c1DArrayCal cal(0, 1, 0);
    pkmd_cModel made;
    made.AddPeak(pkmd_Gaussian, 30, 300, 0.8);
    made.AddPolynomial({20}, 30, 30);
    std::vector<double> values(length, 20.0);
    values[30] = 300;
    maps_cWorkspace room;
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        const maps_cPeaks fit(made, length, cal, {.objective = objective});
        PeakPlanes planes(fit, 1);
        fit.Run(stackOf(std::span<const double>(values), length, cal), planes.Those(), room);
        EXPECT_THAT(planes.status, ElementsAre(maps_Good));
        EXPECT_NEAR(planes.values[1], 280, 0.01);
        EXPECT_DOUBLE_EQ(planes.values[2], 0.2);
    }
}

TEST(PeakMap, OtherModelsAreFittedOneByOne) {
    const Map map = mapOf(model(), 4, 0.3);
    pkmd_cModel bounded = model();
    bounded.Bound(bounded.Height(0), 0, 1e6);
    pkmd_cModel broad = model();
    broad.AddPeak(pkmd_Lorentzian, 7.2, 50, 0.05);
    pkmd_cModel lawful = model();
    lawful.SetWidthLaw(0.06, 0.001, 6.4);
    expectThoseOfPkmd(bounded, map.counts, {});
    expectThoseOfPkmd(lawful, map.counts, {});
    const Map more = mapOf(broad, 4, 0.3);
    expectThoseOfPkmd(broad, more.counts, {});
}

TEST(PeakMap, AxesMayRunDownward) {
    const Map map = mapOf(model(), 8);
    std::vector<unsigned short> turned = map.counts;
    for (std::size_t q = 0; q < 8; ++q)
        std::reverse(turned.begin() + static_cast<std::ptrdiff_t>(q * channels),
                     turned.begin() + static_cast<std::ptrdiff_t>((q + 1) * channels));
    const cal_c1DArrayCal down(scale.Position(300), -0.01, 0);
    maps_cWorkspace room;
    const maps_sPeakOptions options{.windows = 8};
    const maps_cPeaks fit(model(), channels, scale, options);
    const maps_cPeaks reversed(model(), channels, down, options);
    PeakPlanes planes(fit, 8);
    PeakPlanes others(fit, 8);
    fit.Run(stackOf(std::span(map.counts), channels, scale), planes.Those(), room);
    reversed.Run(stackOf(std::span<const unsigned short>(turned), channels, down), others.Those(),
                 room);
    for (std::size_t i = 0; i < planes.values.size(); ++i)
        EXPECT_NEAR(planes.values[i], others.values[i], 1e-4 * planes.errors[i]);
}

TEST(PeakMap, SpectraMayHaveTheirOwnStarts) {
    const Map map = mapOf(model(), 12);
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        expectThoseOfPkmd(model(), map.counts, {.objective = objective, .windows = 8}, map.truth);
        pkmd_cModel fixed = model();
        fixed.Fix(fixed.Width(1));
        fixed.Tie(fixed.Width(2), fixed.Width(1), 1);
        expectThoseOfPkmd(fixed, map.counts, {.objective = objective, .windows = 8}, map.truth);
    }
    // Where a peak is far from its window, the fit goes on elsewhere.
    pkmd_cModel far = model();
    far.SetStart(far.Position(0), 5.9);
    expectThoseOfPkmd(far, map.counts, {.windows = 8}, map.truth);
    std::vector<double> bad = map.truth;
    bad[3] = std::nan("");
    const maps_cPeaks fit(model(), channels, scale);
    PeakPlanes planes(fit, 12);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(map.counts), channels, scale), planes.Those(), room, bad);
    EXPECT_EQ(planes.status[3], maps_NotConverged);
    EXPECT_EQ(std::count(planes.status.begin(), planes.status.end(), maps_Good), 11);
}

TEST(PeakMap, ErrorsAreWhatTheySay) {
    constexpr std::size_t spectra = 3000;
    const Map map = mapOf(model(4000), spectra, 0.5, 2);
    const maps_cPeaks fit(model(4000), channels, scale);
    PeakPlanes planes(fit, spectra);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(map.counts), channels, scale), planes.Those(), room);
    EXPECT_THAT(planes.status, Each(maps_Good));
    for (std::size_t i = 0; i < fit.ParameterCount(); ++i) {
        double sum = 0;
        double squares = 0;
        for (std::size_t q = 0; q < spectra; ++q) {
            const std::size_t at = i * spectra + q;
            const double pull = (planes.values[at] - map.truth[at]) / planes.errors[at];
            sum += pull;
            squares += pull * pull;
        }
        // Three and a half standard deviations.
        EXPECT_NEAR(sum / spectra, 0, 3.5 / std::sqrt(spectra)) << i;
        EXPECT_NEAR(std::sqrt(squares / spectra), 1, 3.5 / std::sqrt(2.0 * spectra)) << i;
    }
}

/// Of a line alone the largest likelihood is known: mean, deviation and number of its counts. That
/// deviation is low by 3 / (4 N) of itself, and less where its error is, which goes with it.
TEST(PeakMap, WidthsHaveTheBiasOfTheLikelihoodItself) {
    constexpr std::size_t spectra = 4000;
    constexpr std::size_t length = 96;
    constexpr double expected = 100; // counts
    const double height = expected / (5 * std::sqrt(2 * std::acos(-1.0)));
    const std::vector<unsigned short> counts =
        countsOf(spectra, length, [&](std::size_t, double k) {
            return height * std::exp(-std::pow((k - 48.3) / 5, 2) / 2);
        });
    pkmd_cModel line;
    line.AddPeak(pkmd_Gaussian, 48.3, height, 5);
    const maps_cPeaks fit(line, length, {}, {.windows = 11});
    PeakPlanes planes(fit, spectra);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(counts), length), planes.Those(), room);
    double pull = 0;
    for (std::size_t q = 0; q < spectra; ++q) {
        ASSERT_EQ(planes.status[q], maps_Good);
        long double sums[3] = {};
        for (std::size_t k = 0; k < length; ++k)
            for (int power = 0; power < 3; ++power)
                sums[power] +=
                    counts[q * length + k] * std::pow(static_cast<long double>(k), power);
        const auto number = static_cast<double>(sums[0]);
        const auto mean = static_cast<double>(sums[1] / sums[0]);
        const auto width = static_cast<double>(
            std::sqrt(sums[2] / sums[0] - sums[1] / sums[0] * sums[1] / sums[0]));
        const double error = width / std::sqrt(2 * number);
        EXPECT_NEAR(planes.values[q], mean, 1e-6 * error);
        EXPECT_NEAR(planes.values[2 * spectra + q], width, 1e-6 * error);
        EXPECT_NEAR(planes.errors[2 * spectra + q], error, 1e-4 * error);
        EXPECT_NEAR(planes.areas[q], number, 1e-6 * std::sqrt(number));
        pull += (planes.values[2 * spectra + q] - 5) / planes.errors[2 * spectra + q] / spectra;
    }
    EXPECT_NEAR(pull, -1.25 * std::sqrt(2 / expected), 3 / std::sqrt(spectra));
}

TEST(PeakMap, BadSpectraAreMarkedAndLeaveTheOthersAlone) {
    constexpr std::size_t spectra = 40;
    const Map map = mapOf(model(), spectra);
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        std::vector<float> values(map.counts.begin(), map.counts.end());
        std::vector<maps_eStatus> expected(spectra, maps_Good);
        const auto spoil = [&](std::size_t q, std::size_t k, float value, maps_eStatus status) {
            values[q * channels + k] = value;
            expected[q] = status;
        };
        constexpr float infinity = std::numeric_limits<float>::infinity();
        spoil(0, 100, std::numeric_limits<float>::quiet_NaN(), maps_NotFinite);
        spoil(5, 0, infinity, maps_NotFinite);
        spoil(6, 300, -infinity, maps_NotFinite);
        spoil(39, 299, std::numeric_limits<float>::quiet_NaN(), maps_NotFinite);
        for (const std::size_t q : {9, 10, 11, 12, 13, 14, 15, 16, 17, 30}) {
            std::fill_n(values.begin() + static_cast<std::ptrdiff_t>(q * channels), channels, 0.0F);
            expected[q] = maps_Empty;
        }
        if (objective == nlsq_PoissonLikelihood)
            spoil(20, 7, -1, maps_Negative);
        const maps_cPeaks fit(model(), channels, scale, {.objective = objective});
        maps_cWorkspace room;
        PeakPlanes good(fit, spectra);
        PeakPlanes planes(fit, spectra);
        fit.Run(stackOf(std::span(map.counts), channels, scale), good.Those(), room);
        fit.Run(stackOf(std::span<const float>(values), channels, scale), planes.Those(), room);
        EXPECT_EQ(planes.status, expected);
        for (std::size_t q = 0; q < spectra; ++q) {
            const bool isGood = expected[q] == maps_Good;
            for (std::size_t i = 0; i < fit.ParameterCount(); ++i) {
                const std::size_t at = i * spectra + q;
                EXPECT_TRUE(isGood ? planes.values[at] == good.values[at]
                                   : std::isnan(planes.values[at]));
                EXPECT_TRUE(isGood ? planes.errors[at] == good.errors[at]
                                   : std::isnan(planes.errors[at]));
            }
            for (std::size_t k = 0; k < fit.PeakCount(); ++k)
                EXPECT_EQ(std::isnan(planes.areas[k * spectra + q]) ||
                              std::isnan(planes.areaErrors[k * spectra + q]),
                          !isGood);
            EXPECT_EQ(std::isnan(planes.chiSquared[q]), !isGood);
        }
    }
}

/// No size of values stops the fits of others.
TEST(PeakMap, ValuesOfAnySizeStopNoOther) {
    constexpr std::size_t spectra = 3;
    const Map map = mapOf(model(), spectra);
    const std::vector<double> good(map.counts.begin(), map.counts.end());
    for (const bool isFast : {true, false})
        for (const nlsq_eObjective objective : {nlsq_PoissonLikelihood, nlsq_LeastSquares}) {
            pkmd_cModel of = model();
            if (!isFast)
                of.SetWidthLaw(0.06, 0.001, 6.4);
            const maps_cPeaks fit(of, channels, scale, {.objective = objective});
            maps_cWorkspace room;
            PeakPlanes expected(fit, spectra);
            fit.Run(stackOf(std::span<const double>(good), channels, scale), expected.Those(),
                    room);
            for (const double factor :
                 {1e-300, 1e-170, 1e-155, 1e-150, 1e150, 1e155, 1e200, 1e300}) {
                std::vector<double> values = good;
                for (std::size_t k = 0; k < channels; ++k)
                    values[channels + k] *= factor;
                PeakPlanes planes(fit, spectra);
                fit.Run(stackOf(std::span<const double>(values), channels, scale), planes.Those(),
                        room);
                for (const std::size_t q : {0, 2}) {
                    EXPECT_EQ(planes.status[q], maps_Good);
                    EXPECT_EQ(planes.values[q], expected.values[q]);
                }
                // Of what is not determined there is what is known.
                const bool isFound =
                    planes.status[1] == maps_Good || planes.status[1] == maps_Undetermined;
                EXPECT_EQ(isFound, std::isfinite(planes.values[1])) << factor;
                EXPECT_NE(planes.status[1], maps_Empty);
            }
        }
}

/// A channel without a weight may hold anything.
TEST(PeakMap, ChannelsWithoutAWeightMayBeNotFinite) {
    constexpr std::size_t spectra = 11;
    for (const bool isFast : {true, false}) {
        pkmd_cModel of = model();
        if (!isFast)
            of.SetWidthLaw(0.06, 0.001, 6.4);
        const Map map = mapOf(model(), spectra);
        std::vector<double> weights(channels, 0.1);
        for (const std::size_t k : {50, 51, 200})
            weights[k] = 0;
        const maps_cPeaks fit(of, channels, scale,
                              {.objective = nlsq_LeastSquares, .weights = weights});
        std::vector<double> values(map.counts.begin(), map.counts.end());
        maps_cWorkspace room;
        PeakPlanes expected(fit, spectra);
        fit.Run(stackOf(std::span<const double>(values), channels, scale), expected.Those(), room);
        EXPECT_THAT(expected.status, Each(maps_Good));
        for (std::size_t q = 0; q < spectra; ++q)
            for (const std::size_t k : {50, 51, 200})
                values[q * channels + k] = q % 2 == 0 ? std::nan("") : -HUGE_VAL;
        PeakPlanes planes(fit, spectra);
        fit.Run(stackOf(std::span<const double>(values), channels, scale), planes.Those(), room);
        EXPECT_EQ(hashOf(planes), hashOf(expected));
        values[52] = std::nan("");
        fit.Run(stackOf(std::span<const double>(values), channels, scale), planes.Those(), room);
        EXPECT_EQ(planes.status[0], maps_NotFinite);
    }
}

TEST(PeakMap, WhatTheDataDoNotTellIsSaid) {
    // Two peaks at one place: the data tell the sum of their heights.
    pkmd_cModel twice;
    for (const double height : {250., 150.}) {
        const int peak = twice.AddPeak(pkmd_Gaussian, 6.4, height, 0.06);
        twice.Fix(twice.Position(peak));
        twice.Fix(twice.Width(peak));
    }
    twice.AddPolynomial({20}, 6.5);
    const Map map = mapOf(twice, 3, 1, 8, [](int) { return false; });
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        const maps_cPeaks fit(twice, channels, scale, {.objective = objective});
        PeakPlanes planes(fit, 3);
        maps_cWorkspace room;
        fit.Run(stackOf(std::span(map.counts), channels, scale), planes.Those(), room);
        EXPECT_THAT(planes.status, Each(maps_Undetermined));
        for (std::size_t q = 0; q < 3; ++q) {
            EXPECT_NEAR(planes.values[1 * 3 + q] + planes.values[4 * 3 + q], 400, 40);
            EXPECT_TRUE(std::isnan(planes.errors[1 * 3 + q]));
            EXPECT_TRUE(std::isnan(planes.errors[4 * 3 + q]));
            EXPECT_TRUE(std::isnan(planes.areaErrors[q]));
            EXPECT_NEAR(planes.errors[6 * 3 + q], 0.27, 0.05);
        }
    }
}

TEST(PeakMap, FewEvaluationsAreNotEnough) {
    const Map map = mapOf(model(), 9);
    const maps_cPeaks fit(model(), channels, scale, {.mostEvaluations = 2});
    PeakPlanes planes(fit, 9);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(map.counts), channels, scale), planes.Those(), room);
    EXPECT_THAT(planes.status, Each(maps_NotConverged));
    EXPECT_TRUE(std::isnan(planes.values[0]));
}

TEST(PeakMap, BitsDoNotDependOnCutsNeighboursLevelsOrStrides) {
    constexpr std::size_t spectra = 61;
    Map map = mapOf(model(), spectra);
    // Few counts take more steps, and a few of them the other way.
    const Map few = mapOf(model(4), 20, 1, 9);
    map.counts.insert(map.counts.begin() + 20 * channels, few.counts.begin(), few.counts.end());
    const std::size_t all = spectra + 20;
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        const maps_cPeaks fit(model(), channels, scale, {.objective = objective});
        std::uint64_t expected = 0;
        for (const auto level : levels()) {
            const LevelInUse use(level);
            maps_cWorkspace room;
            for (const std::size_t part : {all, std::size_t{1}, std::size_t{7}, std::size_t{50}}) {
                PeakPlanes whole(fit, all);
                for (std::size_t first = 0; first < all; first += part) {
                    const std::size_t many = std::min(part, all - first);
                    PeakPlanes own(fit, many);
                    fit.Run(stackOf(std::span<const unsigned short>(map.counts)
                                        .subspan(first * channels, many * channels),
                                    channels, scale),
                            own.Those(), room);
                    const auto put = [&](const auto& from, auto& to) {
                        for (std::size_t i = 0; i < from.size(); ++i)
                            to[i / many * all + first + i % many] = from[i];
                    };
                    put(own.values, whole.values);
                    put(own.errors, whole.errors);
                    put(own.areas, whole.areas);
                    put(own.areaErrors, whole.areaErrors);
                    put(own.chiSquared, whole.chiSquared);
                    put(own.iterations, whole.iterations);
                    put(own.status, whole.status);
                }
                const std::uint64_t hash = hashOf(whole);
                expected = expected == 0 ? hash : expected;
                EXPECT_EQ(hash, expected) << part;
            }
            // Backwards, and of another type.
            std::vector<double> turned(map.counts.rbegin(), map.counts.rend());
            PeakPlanes planes(fit, all);
            const auto count = static_cast<std::ptrdiff_t>(channels);
            fit.Run(maps_cStack(std::span<const double>(turned),
                                {1, all, channels, 0, -count, -1,
                                 static_cast<std::ptrdiff_t>(turned.size()) - 1},
                                scale),
                    planes.Those(), room);
            EXPECT_EQ(hashOf(planes), expected);
        }
    }
}

TEST(PeakMap, PlanesThatAreNotWantedAreLeftOut) {
    const Map map = mapOf(model(), 5);
    const maps_cPeaks fit(model(), channels, scale);
    maps_cWorkspace room;
    PeakPlanes all(fit, 5);
    PeakPlanes some(fit, 5);
    const maps_cStack stack = stackOf(std::span(map.counts), channels, scale);
    fit.Run(stack, all.Those(), room);
    fit.Run(stack, {{{}, {}, {}, {}, {}}, some.areas, some.areaErrors}, room);
    fit.Run(stack, {{some.values, {}, {}, {}, {}}, {}, {}}, room);
    EXPECT_EQ(some.values, all.values);
    EXPECT_EQ(some.areas, all.areas);
    EXPECT_EQ(some.areaErrors, all.areaErrors);
}

TEST(PeakMap, WhatMeansNothingIsRefused) {
    const auto made = [](const maps_sPeakOptions& options, const pkmd_cModel& of = model()) {
        return refusalOf([&] { maps_cPeaks(of, channels, scale, options); });
    };
    EXPECT_EQ(made({}), "none");
    EXPECT_EQ(made({.from = 9}), "maps:5");
    EXPECT_EQ(made({.windows = 0}), "maps:7");
    EXPECT_EQ(made({.windows = std::nan("")}), "maps:7");
    EXPECT_EQ(made({.tolerance = 0}), "maps:7");
    EXPECT_EQ(made({.mostEvaluations = 0}), "maps:7");
    EXPECT_EQ(made({}, pkmd_cModel()), "maps:7");
    EXPECT_EQ(made({.weights = std::vector<double>(channels, 1.0)}), "maps:7");
    EXPECT_EQ(made({.objective = nlsq_LeastSquares, .weights = {1}}), "maps:7");
    EXPECT_EQ(
        made({.objective = nlsq_LeastSquares, .weights = std::vector<double>(channels, -1.0)}),
        "maps:7");
    pkmd_cModel power = model();
    power.AddPowerLaw(1, -1, 1);
    EXPECT_EQ(refusalOf([&] { maps_cPeaks(power, channels, {-5, 0.01, 0}); }), "pkmd:9");
    pkmd_cModel circle = model();
    circle.Tie(0, 1, 1);
    circle.Tie(1, 0, 1);
    EXPECT_EQ(made({}, circle), "nlsq:11");

    const maps_cPeaks fit(model(), channels, scale);
    EXPECT_EQ(fit.ParameterCount(), 11U);
    EXPECT_EQ(fit.PeakCount(), 3U);
    const std::vector<float> values(2 * channels, 1.0F);
    PeakPlanes planes(fit, 2);
    PeakPlanes wrong(fit, 3);
    maps_cWorkspace room;
    const maps_cStack stack = stackOf(std::span<const float>(values), channels, scale);
    EXPECT_EQ(refusalOf([&] {
                  fit.Run(stackOf(std::span<const float>(values), channels), planes.Those(), room);
              }),
              "maps:4");
    EXPECT_EQ(refusalOf([&] { fit.Run(stack, wrong.Those(), room); }), "maps:3");
    EXPECT_EQ(refusalOf([&] { fit.Run(stack, {planes.All(), wrong.areas, {}}, room); }), "maps:3");
    EXPECT_EQ(refusalOf([&] { fit.Run(stack, {planes.All(), {}, wrong.areas}, room); }), "maps:3");
    EXPECT_EQ(refusalOf([&] { fit.Run(stack, planes.Those(), room, wrong.values); }), "maps:3");
}

TEST(PeakMap, SizesThatWrapAreRefused) {
    const std::vector<double> block(channels, 5.0);
    pkmd_cModel two;
    two.AddPeak(pkmd_Gaussian, 6.3, 50, 0.05);
    two.AddPeak(pkmd_Gaussian, 6.6, 50, 0.05);
    const maps_cPeaks fit(two, channels, scale);
    const maps_cStack many(std::span<const double>(block),
                           {(std::size_t{1} << 63) + 1, 1, channels, 0, 0, 1, 0}, scale);
    std::vector<double> values(6);
    const std::span areas = std::span(values).first(2);
    maps_cWorkspace room;
    EXPECT_EQ(refusalOf([&] { fit.Run(many, {{}, areas, {}}, room); }), "maps:3");
    EXPECT_EQ(refusalOf([&] { fit.Run(many, {{}, {}, areas}, room); }), "maps:3");
    EXPECT_EQ(refusalOf([&] { fit.Run(many, {}, room, values); }), "maps:3");
}

} // namespace
