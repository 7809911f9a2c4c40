#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/maps/maps_integrate.h"
#include "dataprocessing/maps/maps_power.h"
#include "tests/maps/map.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"

namespace {

using testing::ElementsAre;

constexpr std::size_t channels = 301;
const cal_c1DArrayCal scale(200, 1, 0);
const std::vector<maps_sRange> before{{230, 279}, {285, 330}};
constexpr double amplitude = 200;
constexpr double exponent = -3;
constexpr double reference = 300;

double lawAt(double k) { return amplitude * std::pow((200 + k) / reference, exponent); }
double withEdge(std::size_t, double k) { return lawAt(k) + (k >= 150 && k < 250 ? 40 : 0); }
bool isBefore(double x) { return (x >= 230 && x <= 279) || (x >= 285 && x <= 330); }

TEST(PowerLawMap, LawsAreThoseOfTheLargestLikelihood) {
    constexpr std::size_t spectra = 21;
    const std::vector<unsigned short> counts = countsOf(spectra, channels, withEdge);
    const maps_cPowerLaw fit(channels, scale, before, reference);
    Planes planes(2, spectra);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span(counts), channels, scale), planes.All(), room);
    for (std::size_t q = 0; q < spectra; ++q) {
        ASSERT_EQ(planes.status[q], maps_Good);
        const double a = planes.values[q];
        const double r = planes.values[spectra + q];
        double score = 0;
        double slope = 0;
        double f0 = 0;
        double f1 = 0;
        double f2 = 0;
        double chiSquared = 0;
        for (std::size_t k = 0; k < channels; ++k) {
            const double x = 200 + static_cast<double>(k);
            if (!isBefore(x))
                continue;
            const double l = std::log(x / reference);
            const double f = a * std::pow(x / reference, r);
            const double y = counts[q * channels + k];
            score += y - f;
            slope += (y - f) * l;
            f0 += f;
            f1 += f * l;
            f2 += f * l * l;
            chiSquared += (y - f) * (y - f) / f;
        }
        EXPECT_LT(std::fabs(score), 1e-6 * std::sqrt(f0));
        EXPECT_LT(std::fabs(slope), 1e-6 * std::sqrt(f2));
        const double determinant = f0 * f2 - f1 * f1;
        EXPECT_NEAR(planes.errors[q] / (a * std::sqrt(f2 / determinant)), 1, 1e-8);
        EXPECT_NEAR(planes.errors[spectra + q] / std::sqrt(f0 / determinant), 1, 1e-8);
        EXPECT_NEAR(planes.chiSquared[q] / chiSquared, 1, 1e-9);
        EXPECT_GT(planes.iterations[q], 1);
    }
}

TEST(PowerLawMap, LawsOfAnySteepnessComeBack) {
    for (const double r : {-25., -1., 0., 2., 60.}) {
        std::vector<double> values;
        for (std::size_t k = 0; k < channels; ++k)
            values.push_back(7 * std::pow((200 + static_cast<double>(k)) / reference, r));
        const maps_cPowerLaw fit(channels, scale, {{200, 500}}, reference);
        Planes planes(2, 1);
        maps_cWorkspace room;
        fit.Run(stackOf(std::span<const double>(values), channels, scale), planes.All(), room);
        EXPECT_NEAR(planes.values[0], 7, 1e-6);
        EXPECT_NEAR(planes.values[1], r, 1e-7);
    }
}

TEST(PowerLawMap, SpectraWithoutALawAreMarked) {
    std::vector<float> values(5 * channels, 4.0F);
    values[0 * channels + 40] = std::numeric_limits<float>::quiet_NaN();
    values[1 * channels + 3] = std::numeric_limits<float>::quiet_NaN(); // not asked for
    std::fill_n(values.begin() + 2 * channels, channels, 0.0F);
    std::fill_n(values.begin() + 3 * channels, channels, 0.0F);
    values[3 * channels + 30] = 9; // all of them in the first channel: infinitely steep
    const maps_cPowerLaw fit(channels, scale, before, reference);
    Planes planes(2, 5);
    maps_cWorkspace room;
    fit.Run(stackOf(std::span<const float>(values), channels, scale), planes.All(), room);
    EXPECT_THAT(planes.status,
                ElementsAre(maps_NotFinite, maps_Good, maps_Empty, maps_NotConverged, maps_Good));
    for (const std::size_t q : {0, 2, 3})
        EXPECT_TRUE(std::isnan(planes.values[q]) && std::isnan(planes.values[5 + q]) &&
                    std::isnan(planes.errors[q]) && std::isnan(planes.errors[5 + q]) &&
                    std::isnan(planes.chiSquared[q]));
    EXPECT_NEAR(planes.values[4], 4, 1e-9);
    EXPECT_NEAR(planes.values[9], 0, 1e-9);
}

TEST(PowerLawMap, WhatMeansNothingIsRefused) {
    const auto made = [](const cal_c1DArrayCal& cal, const std::vector<maps_sRange>& ranges,
                         double at) {
        return refusalOf([&] { maps_cPowerLaw(channels, cal, ranges, at); });
    };
    EXPECT_EQ(made(scale, {}, 1), "maps:5");
    EXPECT_EQ(made(scale, {{230, 230}}, 1), "maps:5");
    EXPECT_EQ(made({0, 1, 0}, {{0, 100}}, 1), "maps:5");
    EXPECT_EQ(made({-10, 1, 0}, {{-5, 100}}, 1), "maps:5");
    EXPECT_EQ(made({5, 0, 0}, {{0, 100}}, 1), "maps:5");
    EXPECT_EQ(made(scale, before, 0), "maps:7");
    EXPECT_EQ(made(scale, before, std::nan("")), "maps:7");
    const maps_cPowerLaw fit(channels, scale, before, 300);
    const std::vector<float> values(channels, 1.0F);
    Planes planes(2, 1);
    maps_cWorkspace room;
    EXPECT_EQ(refusalOf([&] {
                  fit.Run(stackOf(std::span<const float>(values), channels), planes.All(), room);
              }),
              "maps:4");
    EXPECT_EQ(refusalOf([&] {
                  fit.Run(stackOf(std::span<const float>(values), channels, scale),
                          Planes(1, 1).All(), room);
              }),
              "maps:3");
}

maps_sPlanes withoutChiSquared(Planes& planes) {
    return {planes.values, planes.errors, {}, planes.iterations, planes.status};
}

TEST(Integral, WindowsWithoutABackgroundAreSums) {
    const std::vector<unsigned short> counts = countsOf(9, channels, withEdge);
    const maps_cIntegral integral(channels, scale, {{350, 449}, {203, 203}});
    EXPECT_EQ(integral.WindowCount(), 2U);
    Planes planes(2, 9);
    maps_cWorkspace room;
    integral.Run(stackOf(std::span(counts), channels, scale), withoutChiSquared(planes), room);
    for (std::size_t q = 0; q < 9; ++q) {
        double sum = 0;
        for (std::size_t k = 150; k < 250; ++k)
            sum += counts[q * channels + k];
        EXPECT_EQ(planes.values[q], sum);
        EXPECT_EQ(planes.errors[q], std::sqrt(sum));
        EXPECT_EQ(planes.values[9 + q], counts[q * channels + 3]);
        EXPECT_EQ(planes.status[q], maps_Good);
        EXPECT_EQ(planes.iterations[q], 0);
    }
}

/// The sums and errors of windows, from the definition: a straight line by least squares over the
/// ranges, as a number for each channel.
TEST(Integral, LinesAreTakenAwayWithTheirErrors) {
    const std::vector<unsigned short> counts = countsOf(5, channels, withEdge);
    const std::vector<maps_sRange> ranges{{300, 339}, {445, 480}}; // one is half in the window
    const maps_cIntegral integral(channels, scale, {{350, 449}},
                                  {maps_sBackground::Polynomial, ranges, 1});
    Planes planes(1, 5);
    maps_cWorkspace room;
    integral.Run(stackOf(std::span(counts), channels, scale), withoutChiSquared(planes), room);
    std::vector<long double> factors(channels);
    long double n = 0;
    long double sx = 0;
    long double sxx = 0;
    const auto isTaking = [](double x) { return (x >= 300 && x < 340) || (x >= 445 && x <= 480); };
    for (std::size_t k = 0; k < channels; ++k) {
        const double x = 200 + static_cast<double>(k);
        if (isTaking(x)) {
            n += 1;
            sx += x;
            sxx += x * x;
        }
    }
    long double w0 = 100;
    long double w1 = 0;
    for (int x = 350; x < 450; ++x)
        w1 += x;
    for (std::size_t k = 0; k < channels; ++k) {
        const double x = 200 + static_cast<double>(k);
        factors[k] = x >= 350 && x < 450 ? 1 : 0;
        if (isTaking(x))
            factors[k] -= (w0 * (sxx - sx * x) + w1 * (n * x - sx)) / (n * sxx - sx * sx);
    }
    for (std::size_t q = 0; q < 5; ++q) {
        long double sum = 0;
        long double variance = 0;
        for (std::size_t k = 0; k < channels; ++k) {
            sum += factors[k] * counts[q * channels + k];
            variance += factors[k] * factors[k] * counts[q * channels + k];
        }
        EXPECT_NEAR(planes.values[q], static_cast<double>(sum), 1e-8);
        EXPECT_NEAR(planes.errors[q], static_cast<double>(std::sqrt(variance)), 1e-8);
    }
}

TEST(Integral, PolynomialsOfAnyDegreeVanish) {
    for (int degree = 0; degree <= 9; ++degree) {
        std::vector<double> values;
        for (std::size_t k = 0; k < channels; ++k)
            values.push_back(100 + 50 * std::pow(static_cast<double>(k) / 150 - 1, degree));
        const maps_cIntegral integral(channels, scale, {{350, 449}},
                                      {maps_sBackground::Polynomial, {{210, 490}}, degree});
        Planes planes(1, 1);
        maps_cWorkspace room;
        integral.Run(stackOf(std::span<const double>(values), channels, scale),
                     withoutChiSquared(planes), room);
        EXPECT_NEAR(planes.values[0], 0, 1e-8) << degree;
    }
}

TEST(Integral, ErrorsOverAPowerLawAreThoseOfCountsAndLaw) {
    const std::vector<unsigned short> counts = countsOf(3, channels, withEdge);
    maps_cWorkspace room;
    Planes laws(2, 3);
    Planes planes(1, 3);
    const maps_cStack stack = stackOf(std::span(counts), channels, scale);
    maps_cPowerLaw(channels, scale, before, reference).Run(stack, laws.All(), room);
    maps_cIntegral(channels, scale, {{350, 449}}, {maps_sBackground::PowerLaw, before})
        .Run(stack, withoutChiSquared(planes), room);
    for (std::size_t q = 0; q < 3; ++q) {
        // In ln A and the exponent.
        double f0 = 0;
        double f1 = 0;
        double f2 = 0;
        double sum = 0;
        double slope = 0;
        double inside = 0;
        for (std::size_t k = 0; k < channels; ++k) {
            const double x = 200 + static_cast<double>(k);
            const double l = std::log(x / reference);
            const double f = laws.values[q] * std::exp(laws.values[3 + q] * l);
            if (isBefore(x)) {
                f0 += f;
                f1 += f * l;
                f2 += f * l * l;
            }
            if (x >= 350 && x < 450) {
                inside += counts[q * channels + k];
                sum += f;
                slope += f * l;
            }
        }
        const double determinant = f0 * f2 - f1 * f1;
        const double ofLaw =
            (sum * sum * f2 - 2 * sum * slope * f1 + slope * slope * f0) / determinant;
        EXPECT_NEAR(planes.values[q] / (inside - sum), 1, 1e-9);
        EXPECT_NEAR(planes.errors[q] / std::sqrt(inside + ofLaw), 1, 1e-9);
    }
}

TEST(Integral, ErrorsOverAPowerLawAreWhatTheySay) {
    constexpr std::size_t spectra = 3000;
    const std::vector<unsigned short> counts = countsOf(spectra, channels, withEdge);
    const maps_cIntegral integral(channels, scale, {{350, 449}, {470, 480}},
                                  {maps_sBackground::PowerLaw, before});
    Planes planes(2, spectra);
    maps_cWorkspace room;
    integral.Run(stackOf(std::span(counts), channels, scale), withoutChiSquared(planes), room);
    for (std::size_t w = 0; w < 2; ++w) {
        double sum = 0;
        double squares = 0;
        for (std::size_t q = 0; q < spectra; ++q) {
            const std::size_t at = w * spectra + q;
            const double pull = (planes.values[at] - (w == 0 ? 4000 : 0)) / planes.errors[at];
            sum += pull;
            squares += pull * pull;
        }
        EXPECT_NEAR(sum / spectra, 0, 4 / std::sqrt(spectra));
        EXPECT_NEAR(std::sqrt(squares / spectra), 1, 3 / std::sqrt(2.0 * spectra));
    }
}

TEST(Integral, BadSpectraAreMarked) {
    std::vector<float> values(5 * channels, 4.0F);
    values[0 * channels + 160] = std::numeric_limits<float>::quiet_NaN(); // in the window
    values[1 * channels + 3] = std::numeric_limits<float>::quiet_NaN();   // nowhere
    std::fill_n(values.begin() + 2 * channels, channels, 0.0F);
    std::fill_n(values.begin() + 3 * channels, 140, 0.0F);
    maps_cWorkspace room;
    Planes planes(1, 5);
    const maps_cStack stack = stackOf(std::span<const float>(values), channels, scale);
    maps_cIntegral(channels, scale, {{350, 449}}, {maps_sBackground::PowerLaw, before})
        .Run(stack, withoutChiSquared(planes), room);
    EXPECT_THAT(planes.status,
                ElementsAre(maps_NotFinite, maps_Good, maps_Empty, maps_Empty, maps_Good));
    EXPECT_TRUE(std::isnan(planes.values[0]) && std::isnan(planes.errors[3]));
    EXPECT_NEAR(planes.values[4], 0, 1e-9);
    maps_cIntegral(channels, scale, {{350, 449}}).Run(stack, withoutChiSquared(planes), room);
    EXPECT_THAT(planes.status,
                ElementsAre(maps_NotFinite, maps_Good, maps_Good, maps_Good, maps_Good));
    EXPECT_EQ(planes.values[2], 0);
    EXPECT_EQ(planes.errors[2], 0);
}

/// Channels between windows and ranges may hold anything, and the bits are the same.
TEST(Integral, WhatNoSumNeedsMayBeNotFinite) {
    const std::vector<unsigned short> counts = countsOf(9, channels, withEdge);
    const std::vector<double> values(counts.begin(), counts.end());
    std::vector<double> dead = values;
    for (std::size_t q = 0; q < 9; ++q)
        for (const std::size_t k : {81, 82, 140, 260})
            dead[q * channels + k] = q % 2 == 0 ? std::numeric_limits<double>::quiet_NaN()
                                                : -std::numeric_limits<double>::infinity();
    std::vector<double> needed = dead;
    for (std::size_t q = 0; q < 9; ++q)
        needed[q * channels + 160 - 10 * (q % 2) - 70 * (q / 5)] = std::nan("");
    const auto stack = [](const std::vector<double>& of) {
        return stackOf(std::span<const double>(of), channels, scale);
    };
    const auto compare = [&](const auto& fit, bool hasChiSquared, const auto& isNeeded) {
        maps_cWorkspace room;
        Planes all(2, 9);
        Planes some(2, 9);
        Planes none(2, 9);
        const auto run = [&](const std::vector<double>& of, Planes& planes) {
            maps_sPlanes to = planes.All();
            if (!hasChiSquared)
                to.chiSquared = {};
            fit.Run(stack(of), to, room);
        };
        run(values, all);
        run(dead, some);
        run(needed, none);
        EXPECT_EQ(hashOf(some), hashOf(all));
        EXPECT_THAT(all.status, testing::Each(maps_Good));
        for (std::size_t q = 0; q < 9; ++q)
            EXPECT_EQ(none.status[q],
                      isNeeded(160 - 10 * (q % 2) - 70 * (q / 5)) ? maps_NotFinite : maps_Good);
    };
    const std::vector<maps_sRange> windows{{350, 449}, {290, 305}}; // 150 to 249, 90 to 105
    const auto isInWindow = [](std::size_t k) { return (k >= 150 && k < 250) || k == 90; };
    compare(maps_cIntegral(channels, scale, windows), false, isInWindow);
    compare(maps_cIntegral(channels, scale, {{350, 449}, {461, 470}},
                           {maps_sBackground::Polynomial, before, 1}),
            false, isInWindow);
    compare(maps_cIntegral(channels, scale, {{350, 449}, {461, 470}},
                           {maps_sBackground::PowerLaw, before}),
            false, isInWindow);
    compare(maps_cPowerLaw(channels, scale, before, reference), true,
            [](std::size_t k) { return k == 90; });
}

/// Of all values whose factor is 0, only those that are asked for by name are needed.
TEST(Integral, AFactorThatComesOutAsZeroIsNeededAllTheSame) {
    std::vector<double> values{1, 1, 1, 1, std::nan(""), 1};
    const maps_cIntegral integral(6, {}, {{3, 5}}, {maps_sBackground::Polynomial, {{3, 5}}, 0});
    Planes planes(1, 1);
    maps_cWorkspace room;
    integral.Run(stackOf(std::span<const double>(values), 6), withoutChiSquared(planes), room);
    EXPECT_THAT(planes.status, ElementsAre(maps_NotFinite));
}

TEST(Integral, ValuesBelowZeroHaveNoVariance) {
    const std::vector<float> values{-1, -2, 3, -4, 5, -6, -1, -1, -1, -1, -1, -1};
    std::vector<float> cut = values;
    std::replace_if(
        cut.begin(), cut.end(), [](float value) { return value < 0; }, 0.0F);
    const maps_sBackground line{maps_sBackground::Polynomial, {{0, 1}, {4, 5}}, 1};
    for (const maps_sBackground& background : {maps_sBackground(), line}) {
        const maps_cIntegral integral(6, {}, {{0, 5}, {2, 3}}, background);
        Planes planes(2, 2);
        Planes counts(2, 2);
        maps_cWorkspace room;
        integral.Run(stackOf(std::span(std::as_const(values)), 6), withoutChiSquared(planes), room);
        integral.Run(stackOf(std::span(std::as_const(cut)), 6), withoutChiSquared(counts), room);
        EXPECT_THAT(planes.status, testing::Each(maps_Good));
        EXPECT_EQ(planes.errors, counts.errors);
        EXPECT_NE(planes.values, counts.values);
        EXPECT_EQ(planes.errors[1], 0);
    }
}

/// Ends as they are written, in decimal digits, are those of channels.
TEST(Integral, EndsThatAreChannelsButForRoundingAreIncluded) {
    constexpr std::size_t length = 120;
    std::vector<double> values(length);
    for (std::size_t k = 0; k < length; ++k)
        values[k] = static_cast<double>(k + 1);
    struct Axis {
        int offset;
        int delta;
        double unit;
    };
    for (const Axis& axis : {Axis{600, 1, 100}, Axis{0, 1, 10}, Axis{-20, 1, 10}, Axis{50, 3, 10},
                             Axis{0, 5, 1000}, Axis{700, -1, 100}}) {
        const auto at = [&](std::size_t k) {
            return (axis.offset + axis.delta * static_cast<int>(k)) / axis.unit;
        };
        const cal_c1DArrayCal cal(axis.offset / axis.unit, axis.delta / axis.unit, 0);
        const maps_cStack stack = stackOf(std::span<const double>(values), length, cal);
        maps_cWorkspace room;
        for (std::size_t k = 0; k + 4 < length; ++k)
            for (const std::size_t more : {0, 2}) {
                maps_sRange window{at(k), at(k + more)};
                if (axis.delta < 0)
                    std::swap(window.from, window.to);
                Planes planes(1, 1);
                maps_cIntegral(length, cal, {window}).Run(stack, withoutChiSquared(planes), room);
                EXPECT_EQ(planes.values[0], more == 0 ? values[k] : 3 * values[k + 1]) << k;
                if (more == 0)
                    continue;
                // Three channels through which the parabola goes exactly.
                maps_cIntegral(length, cal, {window}, {maps_sBackground::Polynomial, {window}, 2})
                    .Run(stack, withoutChiSquared(planes), room);
                EXPECT_NEAR(planes.values[0], 0, 1e-9);
            }
    }
    EXPECT_EQ(refusalOf([] {
                  maps_cIntegral(4, {1, std::numeric_limits<double>::infinity(), 0}, {{-9, 9}});
              }),
              "maps:5");
}

TEST(Integral, BitsDoNotDependOnCutsOrLevels) {
    const std::vector<unsigned short> counts = countsOf(50, channels, withEdge);
    const maps_cIntegral integral(channels, scale, {{350, 449}, {470, 480}},
                                  {maps_sBackground::PowerLaw, before});
    const maps_cIntegral line(channels, scale, {{350, 449}, {470, 480}},
                              {maps_sBackground::Polynomial, before, 2});
    const maps_cPowerLaw law(channels, scale, before, reference);
    const auto all = [&](std::size_t part) {
        maps_cWorkspace room;
        const auto run = [&](auto& fit) {
            return hashOf(inParts<unsigned short>(
                [&](const maps_cStack& stack, maps_sPlanes planes) {
                    if constexpr (requires { fit.WindowCount(); })
                        planes.chiSquared = {};
                    fit.Run(stack, planes, room);
                },
                2, counts, channels, part, scale));
        };
        return std::array{run(integral), run(line), run(law)};
    };
    const auto expected = all(50);
    for (const auto level : levels()) {
        const LevelInUse use(level);
        for (const std::size_t part : {50, 1, 7, 8, 20})
            EXPECT_EQ(all(part), expected) << part;
    }
}

TEST(Integral, WhatMeansNothingIsRefused) {
    const auto made = [](const std::vector<maps_sRange>& windows,
                         const maps_sBackground& background = {}) {
        return refusalOf([&] { maps_cIntegral(channels, scale, windows, background); });
    };
    EXPECT_EQ(made({}), "maps:5");
    EXPECT_EQ(made({{300, 310}, {300.2, 300.8}}), "maps:5");
    EXPECT_EQ(made({{310, 300}}), "maps:5");
    EXPECT_EQ(made({{300, 310}}, {maps_sBackground::Polynomial, {{320, 321}}, 2}), "maps:5");
    EXPECT_EQ(made({{300, 310}}, {maps_sBackground::Polynomial, {{320, 350}}, -1}), "maps:7");
    EXPECT_EQ(made({{300, 310}}, {maps_sBackground::Polynomial, {{320, 350}}, 10}), "maps:7");
    EXPECT_EQ(made({{300, 310}}, {static_cast<maps_sBackground::eCurve>(3), {{320, 350}}, 1}),
              "maps:7");
    EXPECT_EQ(made({{300, 310}}, {maps_sBackground::PowerLaw, {}, 1}), "maps:5");
    const std::vector<float> values(channels, 1.0F);
    const maps_cIntegral integral(channels, scale, {{350, 449}});
    Planes planes(1, 1);
    maps_cWorkspace room;
    const maps_cStack stack = stackOf(std::span<const float>(values), channels, scale);
    EXPECT_EQ(refusalOf([&] { integral.Run(stack, planes.All(), room); }), "maps:3");
    EXPECT_EQ(refusalOf([&] {
                  integral.Run(stackOf(std::span<const float>(values), channels),
                               withoutChiSquared(planes), room);
              }),
              "maps:4");
}

} // namespace
