#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/maps/maps_align.h"
#include "dataprocessing/maps/maps_sum.h"
#include "tests/maps/map.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsNan;

constexpr std::size_t channels = 200;
const cal_c1DArrayCal energies(10, 0.5, 0);

/// Two lines over a falling background, at a channel.
double curveAt(double k) {
    return 2 + 8 * std::exp(-k / 60) + 40 * std::exp(-std::pow((k - 80) / 3, 2) / 2) +
           15 * std::exp(-std::pow((k - 130) / 5, 2) / 2);
}

std::vector<double> referenceOf(double factor = 1) {
    std::vector<double> reference;
    for (std::size_t k = 0; k < channels; ++k)
        reference.push_back(factor * curveAt(static_cast<double>(k)));
    return reference;
}

Planes alignedOf(const maps_cAlign& align, const maps_cStack& stack) {
    Planes planes(2, stack.Spectra());
    maps_cWorkspace workspace;
    align.Run(stack, planes.All(), workspace);
    return planes;
}

/// Spectra without noise: the curve, shifted and multiplied.
std::vector<double> shifted(const std::vector<double>& shifts, double factor) {
    std::vector<double> values;
    for (const double shift : shifts)
        for (std::size_t k = 0; k < channels; ++k)
            values.push_back(factor * curveAt(static_cast<double>(k) - shift));
    return values;
}

TEST(MapAlign, FindsShiftsAndFactorsOfCurvesWithoutNoise) {
    const std::vector<double> shifts{0, 1, -1, 0.5, 2.25, -3.7, 9.9, -9.99};
    const auto values = shifted(shifts, 3);
    const maps_cAlign align(referenceOf(), energies, 5);
    const Planes planes = alignedOf(align, stackOf(std::span(values), channels, energies));
    EXPECT_THAT(planes.status, Each(maps_Good));
    for (std::size_t q = 0; q < shifts.size(); ++q) {
        EXPECT_NEAR(planes.values[q], 0.5 * shifts[q], 2e-4) << q;
        EXPECT_NEAR(planes.values[shifts.size() + q], 3, 1e-3) << q;
        EXPECT_LT(planes.chiSquared[q], 1e-2);
    }
}

TEST(MapAlign, ErrorsAreThoseOfCounts) {
    const std::size_t spectra = 4000;
    const auto shiftOf = [](std::size_t q) { return 4 * std::sin(static_cast<double>(q)); };
    const auto counts = countsOf(
        spectra, channels, [&](std::size_t q, double k) { return 0.3 * curveAt(k - shiftOf(q)); });
    const maps_cAlign align(referenceOf(100), energies, 4);
    const Planes planes = alignedOf(align, stackOf(std::span(counts), channels, energies));
    EXPECT_THAT(planes.status, Each(maps_Good));
    double sum[3] = {};
    double squares[2] = {};
    for (std::size_t q = 0; q < spectra; ++q) {
        const double pulls[2] = {(planes.values[q] - 0.5 * shiftOf(q)) / planes.errors[q],
                                 (planes.values[spectra + q] - 0.003) / planes.errors[spectra + q]};
        for (int i = 0; i < 2; ++i) {
            sum[i] += pulls[i] / static_cast<double>(spectra);
            squares[i] += pulls[i] * pulls[i] / static_cast<double>(spectra);
        }
        sum[2] += planes.chiSquared[q] / static_cast<double>(spectra);
    }
    // Four standard deviations of such means.
    const double tolerance = 4 / std::sqrt(static_cast<double>(spectra));
    for (int i = 0; i < 2; ++i) {
        EXPECT_NEAR(sum[i], 0, tolerance) << i;
        EXPECT_NEAR(squares[i], 1, tolerance * std::sqrt(2.0)) << i;
    }
    const double degrees = channels - 2 * (8 + 3) - 2;
    EXPECT_NEAR(sum[2] / degrees, 1, 0.02);
}

TEST(MapAlign, EndsBetweenChannelsWhoseSlopesLeadToEachOther) {
    // Spectra that were shifted back lie next to whole channels.
    const std::size_t spectra = 600;
    const auto counts = countsOf(spectra, channels, [&](std::size_t q, double k) {
        return 20 * curveAt(k - 2 * std::sin(static_cast<double>(q)));
    });
    const maps_cAlign align(referenceOf(), energies, 2);
    const maps_cStack stack = stackOf(std::span(counts), channels, energies);
    const Planes planes = alignedOf(align, stack);
    std::vector<double> back(counts.size());
    maps_cWorkspace workspace;
    maps_Shift(stack, std::span(planes.values).first(spectra), {back, {}, {}}, workspace);
    const Planes again =
        alignedOf(align, stackOf(std::span<const double>(back), channels, energies));
    EXPECT_THAT(again.status, Each(maps_Good));
    for (std::size_t q = 0; q < spectra; ++q)
        EXPECT_NEAR(again.values[q], 0, 0.3 * again.errors[q]);
}

TEST(MapAlign, TakesTheRangeAlone) {
    auto values = shifted({1.5, 1.5}, 1);
    for (std::size_t k = 150; k < channels; ++k)
        values[k] = 1e5;
    const maps_cAlign align(referenceOf(), energies, 5, {.from = 30, .to = 80});
    const Planes planes =
        alignedOf(align, stackOf(std::span<const double>(values), channels, energies));
    EXPECT_THAT(planes.status, Each(maps_Good));
    EXPECT_NEAR(planes.values[0], 0.75, 1e-4);
    EXPECT_EQ(planes.values[0], planes.values[1]);
}

TEST(MapAlign, AxesMayRunDownward) {
    const cal_c1DArrayCal downward(10, -0.5, 0);
    const auto values = shifted({1.5}, 1);
    const maps_cAlign align(referenceOf(), downward, 5);
    const Planes planes = alignedOf(align, stackOf(std::span(values), channels, downward));
    EXPECT_NEAR(planes.values[0], -0.75, 1e-4);
    EXPECT_GT(planes.errors[0], 0);
}

TEST(MapAlign, SaysWhatBecameOfBadSpectra) {
    auto values = shifted({1, 2, 30, 0, 4, 1}, 1);
    for (std::size_t k = 5 * channels; k < 6 * channels; ++k)
        values[k] = -values[k];
    values[100] = std::numeric_limits<double>::quiet_NaN();
    std::fill_n(values.begin() + channels, channels, 0.0);
    const maps_cAlign align(referenceOf(), energies, 5);
    const Planes planes =
        alignedOf(align, stackOf(std::span<const double>(values), channels, energies));
    EXPECT_THAT(planes.status, ElementsAre(maps_NotFinite, maps_Empty, maps_NotConverged, maps_Good,
                                           maps_Good, maps_Negative));
    for (const std::size_t bad : {0, 1, 2, 5}) {
        EXPECT_THAT(planes.values[bad], IsNan());
        EXPECT_THAT(planes.errors[bad], IsNan());
        EXPECT_THAT(planes.values[6 + bad], IsNan());
        EXPECT_THAT(planes.chiSquared[bad], IsNan());
    }
    EXPECT_NEAR(planes.values[4], 2, 1e-4);
    EXPECT_EQ(planes.iterations[0], 0);
}

TEST(MapAlign, AReferenceWithoutStructureTellsNoShift) {
    const auto values = shifted({1}, 1);
    const maps_cAlign align(std::vector<double>(channels, 3.7), energies, 5);
    EXPECT_THAT(alignedOf(align, stackOf(std::span(values), channels, energies)).status,
                ElementsAre(maps_Undetermined));
}

TEST(MapAlign, AReferenceWithHardlyAnyStructureTellsNoShift) {
    auto reference = std::vector<double>(channels, 3.7);
    for (std::size_t k = 0; k < channels; ++k)
        reference[k] += 1e-4 * curveAt(static_cast<double>(k));
    const auto values = countsOf(1, channels, [](std::size_t, double) { return 3.7; });
    const maps_cAlign align(reference, energies, 5);
    EXPECT_THAT(alignedOf(align, stackOf(std::span(values), channels, energies)).status,
                ElementsAre(maps_Undetermined));
}

TEST(MapAlign, ShiftsBeyondTheLimitAreGivenUpSoon) {
    const auto values = shifted({10.4, -10.6, 10, -9.9}, 1);
    const maps_cAlign align(referenceOf(), energies, 5);
    const Planes planes = alignedOf(align, stackOf(std::span(values), channels, energies));
    EXPECT_THAT(planes.status,
                ElementsAre(maps_NotConverged, maps_NotConverged, maps_Good, maps_Good));
    EXPECT_LT(planes.iterations[0], 10);
    EXPECT_LT(planes.iterations[1], 10);
}

TEST(MapAlign, StartsWhereCountsAreMostLikelyOnASlope) {
    // Where a spectrum is cut off, more of it comes with a shift up the slope.
    std::vector<double> reference;
    std::vector<double> values;
    const auto slope = [](double k) {
        return 100 * std::exp(-k / 20) + std::exp(-std::pow((k - 100) / 2, 2));
    };
    for (std::size_t k = 0; k < channels; ++k) {
        reference.push_back(slope(static_cast<double>(k)));
        values.push_back(slope(static_cast<double>(k) - 0.25));
    }
    const maps_cAlign align(reference, energies, 20);
    const Planes planes =
        alignedOf(align, stackOf(std::span<const double>(values), channels, energies));
    EXPECT_NEAR(planes.values[0], 0.125, 1e-3);
    EXPECT_LE(planes.iterations[0], 5);
}

TEST(MapAlign, CountsByChanceWhereTheReferenceIsZeroRuleNothingOut) {
    std::vector<double> reference(channels);
    std::vector<double> values(channels);
    for (const std::size_t k : {98, 99, 100, 101, 102}) {
        const double line = std::exp(-std::pow(static_cast<double>(k) - 100, 2) / 2);
        reference[k] = line;
        values[k + 6] = 1000 * line;
    }
    values[100] = 1; // nowhere but at the shift 0 is this not impossible
    const maps_cAlign align(reference, energies, 5);
    const Planes planes =
        alignedOf(align, stackOf(std::span<const double>(values), channels, energies));
    EXPECT_THAT(planes.status, ElementsAre(maps_Good));
    EXPECT_NEAR(planes.values[0], 3, 0.01);
}

TEST(MapAlign, ToleranceAndStepsEndTheFit) {
    const auto values = shifted({2.4}, 1);
    const auto stepsOf = [&](const maps_sAlignOptions& options) {
        const maps_cAlign align(referenceOf(), energies, 5, options);
        return alignedOf(align, stackOf(std::span(values), channels, energies));
    };
    const Planes loose = stepsOf({.tolerance = 0.1});
    const Planes tight = stepsOf({.tolerance = 1e-9});
    EXPECT_LT(loose.iterations[0], tight.iterations[0]);
    EXPECT_NEAR(loose.values[0], tight.values[0], 0.1 * tight.errors[0]);
    const int needed = tight.iterations[0];
    EXPECT_THAT(stepsOf({.tolerance = 1e-9, .mostSteps = needed}).status, ElementsAre(maps_Good));
    EXPECT_THAT(stepsOf({.tolerance = 1e-9, .mostSteps = needed - 1}).status,
                ElementsAre(maps_NotConverged));
}

TEST(MapAlign, TheLimitIsNoWholeChannel) {
    const auto values = shifted({0.5, 0.95, -0.59, -0.95}, 1);
    const maps_cAlign align(referenceOf(), energies, 0.3); // .6 channels
    const Planes planes = alignedOf(align, stackOf(std::span(values), channels, energies));
    EXPECT_THAT(planes.status,
                ElementsAre(maps_Good, maps_NotConverged, maps_Good, maps_NotConverged));
    EXPECT_NEAR(planes.values[0], 0.25, 1e-4);
    EXPECT_NEAR(planes.values[2], -0.295, 1e-4);
    // A start that fits is not taken for a shift within the limit.
    const auto whole = shifted({1, -1}, 1);
    EXPECT_THAT(alignedOf(align, stackOf(std::span(whole), channels, energies)).status,
                Each(maps_NotConverged));
}

/// A line of a standard deviation, in channels, over a background.
double lineAt(double k, double deviation, double background) {
    return background + std::exp(-std::pow((k - 100) / deviation, 2) / 2);
}

TEST(MapAlign, LinesWithoutABackgroundAreFound) {
    // The tails of such a line are as small as numbers go.
    for (const double deviation : {1.5, 2.0, 3.0, 8.0}) {
        std::vector<double> reference;
        for (std::size_t k = 0; k < channels; ++k)
            reference.push_back(lineAt(static_cast<double>(k), deviation, 0));
        const auto counts = countsOf(200, channels, [&](std::size_t q, double k) {
            return 200 * lineAt(k - std::sin(static_cast<double>(q)), deviation, 0);
        });
        const maps_cAlign align(reference, energies, 3);
        const Planes planes = alignedOf(align, stackOf(std::span(counts), channels, energies));
        EXPECT_THAT(planes.status, Each(maps_Good)) << deviation;
        double squares = 0;
        for (std::size_t q = 0; q < 200; ++q) {
            const double true_ = 0.5 * std::sin(static_cast<double>(q));
            squares += std::pow((planes.values[q] - true_) / planes.errors[q], 2) / 200;
        }
        EXPECT_NEAR(squares, 1, 0.4) << deviation;
    }
}

TEST(MapAlign, WhatIsNextToNothingInTheReferenceDoesNotDecide) {
    const auto counts = countsOf(1500, channels, [](std::size_t q, double k) {
        return 10 * lineAt(k - std::sin(static_cast<double>(q)), 3, 0.001);
    });
    const maps_cStack stack = stackOf(std::span(counts), channels, energies);
    std::vector<double> sum(channels);
    maps_cWorkspace workspace;
    maps_Sum(stack, sum, {}, workspace);
    const maps_cAlign align(sum, energies, 4);
    const Planes planes = alignedOf(align, stack);
    for (std::size_t q = 0; q < 1500; ++q)
        EXPECT_FALSE(planes.errors[q] < 0.05) << q; // NaN for a spectrum without counts
}

/// The noise of a reference where there is nothing in it has slopes, and may be negative.
TEST(MapAlign, NoiseOfTheReferenceBesideItsLineDoesNotDecide) {
    constexpr std::size_t spectra = 1000;
    const auto shiftOf = [](std::size_t q) { return 2 * std::sin(static_cast<double>(q)); };
    const auto counts = countsOf(spectra, channels, [&](std::size_t q, double k) {
        return 100 * lineAt(k - shiftOf(q), 4, 0);
    });
    std::mt19937 random(3);
    std::normal_distribution<> noise;
    std::vector<double> read(counts.begin(), counts.end()); // with that of a camera, less its dark
    for (double& value : read)
        value += noise(random);
    const auto widthOfPulls = [&](double part, bool isCut, double spike, const auto& values) {
        std::vector<double> reference;
        for (std::size_t k = 0; k < channels; ++k) {
            const double value = lineAt(static_cast<double>(k), 4, 0) + part * noise(random);
            reference.push_back(1e4 * (isCut ? std::max(value, 0.0) : value));
        }
        reference[30] += 1e4 * spike;
        const maps_cAlign align(reference, energies, 3);
        const Planes planes = alignedOf(align, stackOf(std::span(values), channels, energies));
        EXPECT_THAT(planes.status, Each(maps_Good));
        double squares = 0;
        for (std::size_t q = 0; q < spectra; ++q)
            squares += std::pow((planes.values[q] - 0.5 * shiftOf(q)) / planes.errors[q], 2);
        return std::sqrt(squares / spectra);
    };
    for (const double part : {0.0, 1e-4, 1e-3})
        for (const bool isCut : {false, true}) {
            EXPECT_NEAR(widthOfPulls(part, isCut, 0, counts), 1, 0.1) << part << isCut;
            EXPECT_NEAR(widthOfPulls(part, isCut, -0.1, counts), 1, 0.1) << part << isCut;
        }
    EXPECT_NEAR(widthOfPulls(1e-3, false, 0, std::as_const(read)), 1, 0.1);
    EXPECT_NEAR(widthOfPulls(3e-3, false, 0, counts), 1, 0.1);
    EXPECT_NEAR(widthOfPulls(1e-2, false, 0, counts), 1, 0.15);
}

/// Errors are those of spectrum and reference, also where the spectrum has far more counts.
TEST(MapAlign, NoiseOfTheReferenceIsInTheErrors) {
    constexpr std::size_t spectra = 300;
    const auto shiftOf = [](std::size_t q) { return 2 * std::sin(static_cast<double>(q)); };
    for (const auto& [background, options] :
         {std::pair<double, maps_sAlignOptions>{0.05, {}}, {1, {}}, {1, {.to = 60.5}}})
        for (const double height : {30., 3000., 30000.}) {
            const auto counts = countsOf(spectra, channels, [&](std::size_t q, double k) {
                return height * lineAt(k - shiftOf(q), 3, background);
            });
            const maps_cStack stack = stackOf(std::span(counts), channels, energies);
            std::mt19937 random(7);
            std::normal_distribution<> noise;
            for (const double part : {1e-3, 3e-3, 1e-2}) {
                double squares = 0;
                double chiSquared = 0;
                constexpr int references = 8; // that which one does to all spectra is by chance
                for (int i = 0; i < references; ++i) {
                    std::vector<double> reference;
                    for (std::size_t k = 0; k < channels; ++k)
                        reference.push_back(lineAt(static_cast<double>(k), 3, background) +
                                            part * noise(random));
                    const maps_cAlign align(reference, energies, 3, options);
                    const Planes planes = alignedOf(align, stack);
                    EXPECT_THAT(planes.status, Each(maps_Good));
                    for (std::size_t q = 0; q < spectra; ++q) {
                        const double pull =
                            (planes.values[q] - 0.5 * shiftOf(q)) / planes.errors[q];
                        squares += pull * pull / references / spectra;
                        chiSquared += planes.chiSquared[q] / references / spectra /
                                      static_cast<double>(align.Channels() - 2);
                    }
                }
                EXPECT_NEAR(std::sqrt(squares), 1, 0.25)
                    << background << ' ' << height << ' ' << part;
                EXPECT_NEAR(chiSquared, 1, 0.25) << background << ' ' << height << ' ' << part;
            }
        }
}

TEST(MapAlign, ErrorsBesideHardlyAnyNoiseAreThoseWithout) {
    // On a slope shift and factor do nearly the same.
    const auto slope = [](double k) {
        return 1 + 20 * std::exp(-k / 40) + std::exp(-std::pow((k - 100) / 3, 2) / 2);
    };
    std::mt19937 random(7);
    std::normal_distribution<> noise;
    std::vector<double> clean;
    std::vector<double> noisy;
    for (std::size_t k = 0; k < channels; ++k) {
        clean.push_back(slope(static_cast<double>(k)));
        noisy.push_back(clean.back() + 5e-4 * noise(random));
    }
    const auto counts =
        countsOf(20, channels, [&](std::size_t, double k) { return 2e3 * slope(k); });
    const maps_cStack stack = stackOf(std::span(counts), channels, energies);
    const Planes with = alignedOf(maps_cAlign(noisy, energies, 3), stack);
    const Planes without = alignedOf(maps_cAlign(clean, energies, 3), stack);
    EXPECT_THAT(with.status, Each(maps_Good));
    for (std::size_t i = 0; i < with.errors.size(); ++i) {
        EXPECT_NE(with.errors[i], without.errors[i]);
        EXPECT_NEAR(with.errors[i] / without.errors[i], 1, 0.01);
    }
}

/// An empty channel has the variance of a hundredth of the largest value.
TEST(MapAlign, ACountBesideALineIsOneOfAHundredthOfIt) {
    std::vector<double> reference;
    std::vector<double> values;
    for (std::size_t k = 0; k < channels; ++k) {
        reference.push_back(lineAt(static_cast<double>(k), 4, 0));
        values.push_back(200 * reference.back());
    }
    std::vector<double> both = values;
    both.insert(both.end(), values.begin(), values.end());
    both[channels + 20] += 1;
    const Planes planes = alignedOf(maps_cAlign(reference, energies, 3),
                                    stackOf(std::span<const double>(both), channels, energies));
    EXPECT_THAT(planes.status, Each(maps_Good));
    EXPECT_NEAR(planes.chiSquared[1] - planes.chiSquared[0], 0.5, 0.02);
}

/// The same noise, more and more of it: errors grow, until nine tenths of the slopes are noise.
TEST(MapAlign, NoiseCountsFromAThousandthOfTheSlopesToNineTenths) {
    std::mt19937 random(3);
    std::vector<double> noise(channels, -6.0);
    for (double& value : noise)
        for (int i = 0; i < 12; ++i)
            value += static_cast<double>(random()) / 4294967296.0;
    const auto counts =
        countsOf(4, channels, [](std::size_t, double k) { return 100 * lineAt(k - 1, 4, 1); });
    const auto fitted = [&](double part) {
        std::vector<double> reference;
        for (std::size_t k = 0; k < channels; ++k)
            reference.push_back(lineAt(static_cast<double>(k), 4, 1) + part * noise[k]);
        return alignedOf(maps_cAlign(reference, energies, 3),
                         stackOf(std::span(counts), channels, energies));
    };
    const Planes clean = fitted(0);
    const Planes some = fitted(3e-3);  // 2 per cent
    const Planes most = fitted(0.036); // 84 per cent
    EXPECT_THAT(some.status, Each(maps_Good));
    EXPECT_THAT(most.status, Each(maps_Good));
    EXPECT_THAT(fitted(0.0445).status, Each(maps_Undetermined)); // 97 per cent
    for (std::size_t q = 0; q < 4; ++q) {
        EXPECT_GT(some.errors[q], 1.001 * clean.errors[q]);
        EXPECT_LT(some.errors[q], 1.1 * clean.errors[q]);
        EXPECT_GT(most.errors[q], 2 * clean.errors[q]);
    }
}

TEST(MapAlign, AReferenceWhoseSlopesAreNoiseTellsNoShift) {
    std::mt19937 random(3);
    std::normal_distribution<> noise;
    std::vector<double> reference;
    for (std::size_t k = 0; k < channels; ++k)
        reference.push_back(lineAt(static_cast<double>(k), 4, 1) + 0.1 * noise(random));
    const auto counts =
        countsOf(5, channels, [](std::size_t, double k) { return 100 * lineAt(k - 1, 4, 1); });
    const maps_cAlign align(reference, energies, 3);
    EXPECT_THAT(alignedOf(align, stackOf(std::span(counts), channels, energies)).status,
                Each(maps_Undetermined));
}

TEST(MapAlign, WhatLiesOutsideOfTheRangeDoesNotDecideTheStart) {
    std::vector<double> reference;
    for (std::size_t k = 0; k < channels; ++k)
        reference.push_back(5 + 200 * lineAt(static_cast<double>(k), 3, 0) + (k < 20 ? 1e8 : 0));
    const auto counts = countsOf(100, channels, [](std::size_t q, double k) {
        return 1 + 40 * lineAt(k - 15 * std::sin(static_cast<double>(q)), 3, 0);
    });
    const maps_cAlign align(reference, energies, 10, {.from = 40, .to = 80});
    EXPECT_THAT(alignedOf(align, stackOf(std::span(counts), channels, energies)).status,
                Each(maps_Good));
}

TEST(MapAlign, AnyScaleWillDo) {
    const auto values = shifted({1.25}, 1);
    for (const double factor : {1e-150, 1e-30, 1e30, 1e150}) {
        const maps_cAlign align(referenceOf(factor), energies, 5);
        const Planes planes = alignedOf(align, stackOf(std::span(values), channels, energies));
        EXPECT_NEAR(planes.values[0], 0.625, 1e-4) << factor;
        EXPECT_NEAR(planes.values[1] * factor, 1, 1e-3) << factor;
    }
    const auto large = shifted({1.25}, 1e30);
    const maps_cAlign align(referenceOf(), energies, 5);
    const Planes planes = alignedOf(align, stackOf(std::span(large), channels, energies));
    EXPECT_THAT(planes.status, ElementsAre(maps_Good));
    EXPECT_NEAR(planes.values[0], 0.625, 1e-4);
}

TEST(MapAlign, SaysHowManyChannelsTakePart) {
    EXPECT_EQ(maps_cAlign(referenceOf(), energies, 5).Channels(), channels - 2 * (10 + 3));
    EXPECT_EQ(maps_cAlign(referenceOf(), energies, 5, {.from = 60, .to = 70}).Channels(), 21U);
}

TEST(MapAlign, BitsDependNeitherOnTheLevelNorOnTheCut) {
    const std::size_t spectra = 21;
    const auto counts = countsOf(spectra, channels, [](std::size_t q, double k) {
        return curveAt(k - static_cast<double>(q % 5));
    });
    std::mt19937 random(3);
    std::normal_distribution<> noise;
    for (const double deviation : {0.0, 0.3}) {
        std::vector<double> reference = referenceOf();
        for (double& value : reference)
            value += deviation * noise(random);
        const maps_cAlign align(reference, energies, 4);
        const auto fit = [&](const maps_cStack& stack, const maps_sPlanes& planes) {
            maps_cWorkspace workspace;
            align.Run(stack, planes, workspace);
        };
        const auto whole = hashOf(inParts(fit, 2, std::span(counts), channels, spectra, energies));
        for (const auto level : levels()) {
            const LevelInUse use(level);
            const maps_cAlign again(reference, energies, 4);
            const auto fitAgain = [&](const maps_cStack& stack, const maps_sPlanes& planes) {
                maps_cWorkspace workspace;
                again.Run(stack, planes, workspace);
            };
            for (const std::size_t part : {1, 2, 21})
                EXPECT_EQ(hashOf(inParts(fitAgain, 2, std::span(counts), channels, part, energies)),
                          whole);
        }
    }
}

TEST(MapAlign, RefusesWhatHasNoMeaning) {
    const auto refused = [](const std::vector<double>& reference, const cal_c1DArrayCal& cal,
                            double most, const maps_sAlignOptions& options = {}) {
        return refusalOf([&] { maps_cAlign(reference, cal, most, options); });
    };
    const auto good = referenceOf();
    auto nan = good;
    nan[7] = NAN;
    EXPECT_EQ(refused(good, energies, 5), "none");
    EXPECT_EQ(refused(good, energies, 47.5), "none");
    EXPECT_EQ(refused(good, energies, 48), "maps:5");
    EXPECT_EQ(refused(good, energies, 1e9), "maps:5");
    EXPECT_EQ(refused({}, energies, 1), "maps:5");
    EXPECT_EQ(refused(good, energies, 5, {.from = 300}), "maps:5");
    EXPECT_EQ(refused(nan, energies, 5), "maps:6");
    EXPECT_EQ(refused(std::vector<double>(channels), energies, 5), "maps:6");
    EXPECT_EQ(refused(std::vector<double>(channels, -1), energies, 5), "maps:6");
    EXPECT_EQ(refused(good, energies, -1), "maps:7");
    EXPECT_EQ(refused(good, energies, 0), "maps:7");
    EXPECT_EQ(refused(good, energies, NAN), "maps:7");
    EXPECT_EQ(refused(good, energies, std::numeric_limits<double>::infinity()), "maps:7");
    EXPECT_EQ(refused(good, cal_c1DArrayCal(0, 0, 0), 1), "maps:7");
    EXPECT_EQ(refused(good, energies, 5, {.tolerance = 0}), "maps:7");
    EXPECT_EQ(refused(good, energies, 5, {.mostSteps = 0}), "maps:7");

    const maps_cAlign align(good, energies, 5);
    const auto values = shifted({0, 1}, 1);
    maps_cWorkspace workspace;
    Planes planes(2, 3);
    EXPECT_EQ(refusalOf([&] {
                  align.Run(stackOf(std::span(values), channels, energies), planes.All(),
                            workspace);
              }),
              "maps:3");
    EXPECT_EQ(refusalOf([&] { align.Run(stackOf(std::span(values), channels), {}, workspace); }),
              "maps:4");
    EXPECT_EQ(
        refusalOf([&] { align.Run(stackOf(std::span(values), 100, energies), {}, workspace); }),
        "maps:4");
}

// ---- Shifting back -----------------------------------------------------------------------------

TEST(MapShift, SharesCountsOutByTheirEdges) {
    const std::vector<unsigned> counts{1, 2, 4, 8, 1, 2, 4, 8, 1, 2, 4, 8, 1, 2, 4, 8, 1, 2, 4, 8};
    const cal_c1DArrayCal cal(0, 2, 0);
    const maps_cStack stack = stackOf(std::span(counts), 4, cal);
    std::vector<double> values(20);
    std::vector<double> errors(20);
    std::vector<maps_eStatus> status(5);
    maps_cWorkspace workspace;
    maps_Shift(stack, std::vector<double>{0, 2, -1, 8, -1e300}, {values, errors, status},
               workspace);
    EXPECT_THAT(values,
                ElementsAre(1, 2, 4, 8, 2, 4, 8, 0, 0.5, 1.5, 3, 6, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_DOUBLE_EQ(errors[9], std::sqrt(0.25 * 1 + 0.25 * 2));
    EXPECT_DOUBLE_EQ(errors[4], std::sqrt(2.0));
    EXPECT_THAT(status, Each(maps_Good));
}

TEST(MapShift, BringsLinesToWhereTheReferenceHasThem) {
    const std::vector<double> shifts{3, -2, 0};
    const auto values = shifted(shifts, 1);
    const maps_cStack stack = stackOf(std::span(values), channels, energies);
    std::vector<double> back(values.size());
    maps_cWorkspace workspace;
    maps_Shift(stack, std::vector<double>{1.5, -1, 0}, {back, {}, {}}, workspace);
    for (std::size_t q = 0; q < shifts.size(); ++q)
        for (std::size_t k = 5; k < channels - 5; ++k)
            EXPECT_NEAR(back[q * channels + k], curveAt(static_cast<double>(k)), 1e-12);
}

TEST(MapShift, ShiftsThatAreNotFiniteStopNoOther) {
    const std::vector<unsigned> counts{1, 2, 1, 2};
    std::vector<double> values(4);
    std::vector<double> errors(4);
    std::vector<maps_eStatus> status(2);
    maps_cWorkspace workspace;
    maps_Shift(stackOf(std::span(counts), 2), std::vector<double>{NAN, 1}, {values, errors, status},
               workspace);
    EXPECT_THAT(status, ElementsAre(maps_NotFinite, maps_Good));
    EXPECT_THAT(std::span(values).first(2), Each(IsNan()));
    EXPECT_THAT(std::span(errors).first(2), Each(IsNan()));
    EXPECT_THAT(std::span(values).last(2), ElementsAre(2, 0));
}

TEST(MapShift, WhatIsShiftedOutDoesNotMatter) {
    const std::vector<double> counts{NAN, 2, 3, 1, 2, NAN};
    std::vector<double> values(6);
    std::vector<maps_eStatus> status(2);
    maps_cWorkspace workspace;
    maps_Shift(stackOf(std::span(counts), 3), std::vector<double>{1, -1}, {values, {}, status},
               workspace);
    EXPECT_THAT(values, ElementsAre(2, 3, 0, 0, 1, 2));
    EXPECT_THAT(status, Each(maps_Good));
}

TEST(MapShift, NothingComesFromACallBefore) {
    const std::vector<double> before(60, 7);
    const std::vector<double> counts{1, 2, 3};
    maps_cWorkspace workspace;
    std::vector<double> unwanted(60);
    maps_Shift(stackOf(std::span(before), 60), std::vector<double>{0.5}, {unwanted, unwanted, {}},
               workspace);
    for (const double shift : {2.5, -2.5, 1e300, -1e300}) {
        std::vector<double> values(3, -1);
        std::vector<double> errors(3, -1);
        maps_Shift(stackOf(std::span(counts), 3, cal_c1DArrayCal(0, 1e-10, 0)),
                   std::vector<double>{shift * 1e-10}, {values, errors, {}}, workspace);
        const double first = shift == 2.5 ? 1.5 : 0;
        const double last = shift == -2.5 ? 0.5 : 0;
        EXPECT_NEAR(values[0], first, 1e-6);
        EXPECT_EQ(values[1], 0);
        EXPECT_NEAR(values[2], last, 1e-6);
        EXPECT_EQ(errors[1], 0);
    }
}

TEST(MapShift, RefusesOtherSizesAndChannelsWithoutAWidth) {
    const std::vector<unsigned> counts{1, 2, 1, 2};
    maps_cWorkspace workspace;
    std::vector<double> wrong(3);
    const std::vector<double> shifts(2);
    const maps_cStack stack = stackOf(std::span(counts), 2);
    EXPECT_EQ(refusalOf([&] { maps_Shift(stack, wrong, {}, workspace); }), "maps:3");
    EXPECT_EQ(refusalOf([&] { maps_Shift(stack, shifts, {wrong, {}, {}}, workspace); }), "maps:3");
    EXPECT_EQ(refusalOf([&] {
                  maps_Shift(stackOf(std::span(counts), 2, cal_c1DArrayCal(0, 0, 0)), shifts, {},
                             workspace);
              }),
              "maps:7");
}

} // namespace
