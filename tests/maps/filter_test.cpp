#include <array>
#include <cmath>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/filter/smth.h"
#include "dataprocessing/maps/maps_filter.h"
#include "dataprocessing/valuemodel/resc.h"
#include "tests/maps/map.h"
#include "tests/support/constants.h"
#include "tests/support/levels.h"
#include "tests/support/refusal.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsNan;

/// Spectra of a filter, as vectors.
struct Spectra {
    Spectra(const maps_cFilter& filter, const maps_cStack& stack)
        : values(filter.Channels() * stack.Spectra(), -1), errors(values.size(), -1),
          status(stack.Spectra(), maps_NotConverged) {
        maps_cWorkspace workspace;
        filter.Run(stack, {values, errors, status}, workspace);
    }
    std::vector<double> values;
    std::vector<double> errors;
    std::vector<maps_eStatus> status;
};

std::vector<unsigned short> someCounts(std::size_t spectra, std::size_t channels) {
    return countsOf(spectra, channels, [](std::size_t q, double k) {
        return 5.0 + static_cast<double>(q) + 20 * std::exp(-std::pow((k - 20) / 4, 2));
    });
}

darr_c1DArray arrayOf(std::span<const unsigned short> counts, const cal_c1DArrayCal& cal) {
    return darr_c1DArray(counts, cal);
}

std::span<const double> elementsOf(const darr_c1DArray& array) { return array.Elements<double>(); }

/// The column of the filter's matrix that belongs to each channel, by spectra of one count.
std::vector<double> matrixOf(const maps_cFilter& filter, std::size_t channels,
                             const cal_c1DArrayCal& cal) {
    std::vector<double> ones(channels * channels);
    for (std::size_t k = 0; k < channels; ++k)
        ones[k * channels + k] = 1;
    return Spectra(filter, stackOf(std::span<const double>(ones), channels, cal)).values;
}

/// The errors of counts, by the columns of the matrix.
void expectErrorsOfCounts(const maps_cFilter& filter, std::span<const unsigned short> counts,
                          std::size_t channels, const cal_c1DArrayCal& cal) {
    const std::vector<double> matrix = matrixOf(filter, channels, cal);
    const Spectra made(filter, stackOf(counts, channels, cal));
    for (std::size_t j = 0; j < filter.Channels(); ++j) {
        long double variance = 0;
        for (std::size_t k = 0; k < channels; ++k) {
            const long double c = matrix[k * filter.Channels() + j];
            variance += c * c * counts[k];
        }
        const auto expected = static_cast<double>(std::sqrt(variance));
        EXPECT_NEAR(made.errors[j], expected, 1e-14 * expected) << j;
    }
}

TEST(MapFilter, RebinsCountsAsOneSpectrumIsRebinned) {
    const std::size_t channels = 600;
    const auto counts = someCounts(5, channels);
    const cal_c1DArrayCal cal(1.5, 0.1, 3);
    for (const double delta : {0.2, 0.37, 0.03, 100.0}) {
        const maps_cFilter filter = maps_Rebin(channels, cal, delta);
        const Spectra made(filter, stackOf(std::span(counts), channels, cal));
        for (std::size_t q = 0; q < 5; ++q) {
            const darr_c1DArray alone =
                resc_Rebin(arrayOf(std::span(counts).subspan(q * channels, channels), cal), delta);
            ASSERT_EQ(filter.Channels(), static_cast<std::size_t>(alone.Size()));
            EXPECT_EQ(filter.Cal(), alone.Cal());
            for (std::size_t j = 0; j < filter.Channels(); ++j)
                ASSERT_EQ(made.values[q * filter.Channels() + j], elementsOf(alone)[j])
                    << delta << ' ' << q << ' ' << j;
        }
    }
}

TEST(MapFilter, RebinsOntoAGridAndKeepsItsCalibration) {
    const std::size_t channels = 40;
    const auto counts = someCounts(3, channels);
    const cal_c1DArrayCal cal(1, 0.5, 0);
    const cal_c1DArrayCal grid(-3, 0.07, 2);
    const maps_cFilter filter = maps_Rebin(channels, cal, 700, grid);
    EXPECT_EQ(filter.Channels(), 700U);
    EXPECT_EQ(filter.Cal(), grid);
    const Spectra made(filter, stackOf(std::span(counts), channels, cal));
    for (std::size_t q = 0; q < 3; ++q) {
        const darr_c1DArray alone =
            resc_Rebin(arrayOf(std::span(counts).subspan(q * channels, channels), cal),
                       darr_c1DArray(700, dtyp_Double, grid));
        for (std::size_t j = 0; j < 700; ++j)
            ASSERT_EQ(made.values[q * 700 + j], elementsOf(alone)[j]) << q << ' ' << j;
    }
    EXPECT_THAT(made.status, Each(maps_Good));
}

/// That the filter does with every spectrum what `smooth` does with one array.
template<class Smooth>
void expectAsAlone(const maps_cFilter& filter, std::span<const unsigned short> counts,
                   std::size_t channels, const cal_c1DArrayCal& cal, double tolerance,
                   const Smooth& smooth) {
    EXPECT_EQ(filter.Cal(), cal);
    const Spectra made(filter, stackOf(counts, channels, cal));
    for (std::size_t q = 0; q < counts.size() / channels; ++q) {
        const darr_c1DArray alone = smooth(arrayOf(counts.subspan(q * channels, channels), cal));
        for (std::size_t j = 0; j < channels; ++j)
            EXPECT_NEAR(made.values[q * channels + j], elementsOf(alone)[j], tolerance)
                << q << ' ' << j;
    }
}

TEST(MapFilter, SmoothsByPolynomialsAsOneSpectrumIsSmoothed) {
    const std::size_t channels = 57;
    const auto counts = someCounts(3, channels);
    const cal_c1DArrayCal cal(1, -0.5, 0);
    for (const std::array<int, 3>& with :
         {std::array{9, 2, 0}, {9, 3, 1}, {57, 4, 0}, {1, 0, 0}, {5, 2, 3}}) {
        SCOPED_TRACE(testing::PrintToString(with));
        expectAsAlone(maps_Smooth(channels, cal, with[0], with[1], with[2]), counts, channels, cal,
                      1e-12, [&](const darr_c1DArray& array) {
                          return smth_SavitzkyGolay(array, with[0], with[1], with[2]);
                      });
    }
}

TEST(MapFilter, AveragesByAGaussianCurveAsOneSpectrumIsAveraged) {
    const std::size_t channels = 41;
    const auto counts = someCounts(2, channels);
    const cal_c1DArrayCal cal(1, 0.5, 0);
    for (const double sigma : {0.0, 0.2, 1.5, 2.5, 2.6, 9.0, 300.0}) {
        SCOPED_TRACE(sigma);
        expectAsAlone(maps_SmoothGauss(channels, cal, sigma), counts, channels, cal, 1e-13,
                      [&](const darr_c1DArray& array) { return smth_Gauss(array, sigma); });
    }
}

TEST(MapFilter, ErrorsAreThoseOfCounts) {
    const std::size_t channels = 30;
    const auto counts = someCounts(1, channels);
    const cal_c1DArrayCal cal(1, 0.5, 0);
    expectErrorsOfCounts(maps_Rebin(channels, cal, 0.7), counts, channels, cal);
    expectErrorsOfCounts(maps_Smooth(channels, cal, 7, 2), counts, channels, cal);
    expectErrorsOfCounts(maps_SmoothGauss(channels, cal, 1.1), counts, channels, cal);
}

TEST(MapFilter, ValuesBelowZeroHaveNoVariance) {
    const std::vector<double> values{4, -3, 9, -1};
    const Spectra made(maps_Rebin(4, {}, 2), stackOf(std::span(values), 4));
    EXPECT_THAT(made.values, ElementsAre(1, 8));
    EXPECT_THAT(made.errors, ElementsAre(2, 3));
}

TEST(MapFilter, SpectraThatAreNotFiniteStopNoOther) {
    std::vector<double> values{1, 2, 3, 4, 5, infinity, 7, 8, 0, 0, 0, 0, 1e308, 1e308, 1, 1};
    const Spectra made(maps_Rebin(4, {}, 2), stackOf(std::span<const double>(values), 4));
    EXPECT_THAT(made.status, ElementsAre(maps_Good, maps_NotFinite, maps_Good, maps_NotFinite));
    EXPECT_THAT(std::span(made.values).first(2), ElementsAre(3, 7));
    EXPECT_THAT(std::span(made.values).subspan(2, 2), Each(IsNan()));
    EXPECT_THAT(std::span(made.errors).subspan(2, 2), Each(IsNan()));
    EXPECT_THAT(std::span(made.values).subspan(4, 2), Each(0));
    EXPECT_THAT(std::span(made.errors).subspan(4, 2), Each(0));
}

TEST(MapFilter, ChannelsOutsideOfTheGridDoNotMatter) {
    const std::vector<double> values{infinity, 2, 3, NAN};
    const maps_cFilter filter = maps_Rebin(4, {}, 2, cal_c1DArrayCal(1, 1, 0));
    const Spectra made(filter, stackOf(std::span(values), 4));
    EXPECT_THAT(made.values, ElementsAre(2, 3));
    EXPECT_THAT(made.status, ElementsAre(maps_Good));
}

TEST(MapFilter, DerivativesAboveTheOrderAreZeroWhateverTheSpectraAre) {
    const std::vector<double> values{infinity, 2, 3, NAN};
    const Spectra made(maps_Smooth(4, {}, 3, 1, 2), stackOf(std::span(values), 4));
    EXPECT_THAT(made.values, Each(0));
    EXPECT_THAT(made.status, ElementsAre(maps_Good));
}

TEST(MapFilter, BitsDependNeitherOnTheLevelNorOnTheCut) {
    const std::size_t channels = 203;
    const auto counts = someCounts(11, channels);
    const cal_c1DArrayCal cal(0, 0.3, 0);
    for (const auto& make :
         {+[](const cal_c1DArrayCal& c) { return maps_Rebin(203, c, 0.5); },
          +[](const cal_c1DArrayCal& c) { return maps_Smooth(203, c, 11, 3); },
          +[](const cal_c1DArrayCal& c) { return maps_SmoothGauss(203, c, 2); }}) {
        const maps_cFilter filter = make(cal);
        const Spectra whole(filter, stackOf(std::span(counts), channels, cal));
        for (const auto level : levels()) {
            const LevelInUse use(level);
            for (const std::size_t part : {1, 3, 11})
                for (std::size_t q = 0; q < 11; q += part) {
                    const std::size_t many = std::min(part, 11 - q);
                    const Spectra made(
                        filter, stackOf(std::span(counts).subspan(q * channels, many * channels),
                                        channels, cal));
                    const std::size_t from = q * filter.Channels();
                    const std::size_t size = many * filter.Channels();
                    EXPECT_EQ(hashOf(std::span(made.values)),
                              hashOf(std::span(whole.values).subspan(from, size)));
                    EXPECT_EQ(hashOf(std::span(made.errors)),
                              hashOf(std::span(whole.errors).subspan(from, size)));
                }
        }
    }
}

TEST(MapFilter, SpansThatAreEmptyAreNotWanted) {
    const auto counts = someCounts(2, 20);
    const maps_cStack stack = stackOf(std::span(counts), 20);
    const maps_cFilter filter = maps_Rebin(20, {}, 2);
    const Spectra all(filter, stack);
    maps_cWorkspace workspace;
    std::vector<double> errors(20);
    std::vector<maps_eStatus> status(2, maps_Empty);
    filter.Run(stack, {{}, errors, {}}, workspace);
    filter.Run(stack, {{}, {}, status}, workspace);
    EXPECT_EQ(errors, all.errors);
    EXPECT_EQ(status, all.status);
}

TEST(MapFilter, RefusesOtherSizesAndOtherSpectra) {
    const auto counts = someCounts(2, 20);
    const maps_cStack stack = stackOf(std::span(counts), 20);
    const maps_cFilter filter = maps_Rebin(20, {}, 2);
    maps_cWorkspace workspace;
    std::vector<double> right(20);
    std::vector<double> wrong(21);
    std::vector<maps_eStatus> status(3);
    const auto refused = [&](const maps_cStack& given, const maps_sSpectra& spectra) {
        return refusalOf([&] { filter.Run(given, spectra, workspace); });
    };
    EXPECT_EQ(refused(stack, {right, right, {}}), "none");
    EXPECT_EQ(refused(stack, {wrong, {}, {}}), "maps:3");
    EXPECT_EQ(refused(stack, {{}, wrong, {}}), "maps:3");
    EXPECT_EQ(refused(stack, {{}, {}, status}), "maps:3");
    EXPECT_EQ(refused(stackOf(std::span(counts), 10), {{}, {}, {}}), "maps:4");
    EXPECT_EQ(refused(stackOf(std::span(counts), 20, cal_c1DArrayCal(1, 1, 0)), {{}, {}, {}}),
              "maps:4");
}

TEST(MapFilter, SizesThatWrapAreRefused) {
    const std::vector<double> block(16);
    const maps_cStack many(std::span<const double>(block),
                           {(std::size_t{1} << 60) + 1, 1, 16, 0, 0, 1, 0});
    const maps_cFilter filter = maps_Rebin(16, {}, 1);
    std::vector<double> values(16);
    maps_cWorkspace workspace;
    EXPECT_EQ(refusalOf([&] { filter.Run(many, {values, {}, {}}, workspace); }), "maps:3");
    EXPECT_EQ(refusalOf([&] { filter.Run(many, {{}, values, {}}, workspace); }), "maps:3");
}

TEST(MapFilter, ValuesAloneDecideTheStatus) {
    const cal_c1DArrayCal fine(0, 1e-6, 0);
    const maps_cFilter slope = maps_Smooth(5, fine, 5, 2, 1);
    const std::vector<double> values{1e300, 1e300, 1e300, 1e300, 1e300};
    const Spectra made(slope, stackOf(std::span(values), 5, fine));
    EXPECT_THAT(made.status, ElementsAre(maps_Good));
    const cal_c1DArrayCal tiny(0, 1e-160, 0);
    const std::vector<double> zeros(5);
    const Spectra ofZeros(maps_Smooth(5, tiny, 5, 2, 1), stackOf(std::span(zeros), 5, tiny));
    EXPECT_THAT(ofZeros.status, ElementsAre(maps_Good));
    EXPECT_THAT(ofZeros.errors, Each(0));
    const cal_c1DArrayCal wide(0, 1e200, 0);
    const std::vector<double> ones(5, 1.0);
    const Spectra ofOnes(maps_Smooth(5, wide, 5, 2, 1), stackOf(std::span(ones), 5, wide));
    EXPECT_NEAR(ofOnes.errors[2] * 1e200, std::sqrt(0.1), 1e-12);
}

/// The square of a share, next to 1, times such a value is more than there is a number for.
TEST(MapFilter, ErrorsThatAreTooLargeAreNaNBesideTheirValues) {
    const std::vector<double> values{1.5e308, 4};
    const maps_cFilter filter = maps_Rebin(1, {}, 1, cal_c1DArrayCal(0, 0.9, 0));
    const Spectra made(filter, stackOf(std::span<const double>(values), 1));
    EXPECT_THAT(made.status, Each(maps_Good));
    EXPECT_DOUBLE_EQ(made.values[0] / made.values[1], 1.5e308 / 4);
    EXPECT_THAT(made.errors[0], IsNan());
    EXPECT_GT(made.errors[1], 0);
}

TEST(MapFilter, RefusesWhatTheFunctionsOfOneSpectrumRefuse) {
    EXPECT_EQ(refusalOf([] { maps_Rebin(20, {}, 0); }), "resc:1");
    EXPECT_EQ(refusalOf([] { maps_Rebin(20, {}, -1); }), "resc:1");
    EXPECT_EQ(refusalOf([] { maps_Rebin(20, {}, 3, cal_c1DArrayCal(infinity, 1, 0)); }), "resc:2");
    EXPECT_EQ(refusalOf([] { maps_Smooth(20, {}, 4, 2); }), "smth:1");
    EXPECT_EQ(refusalOf([] { maps_Smooth(20, {}, 5, 5); }), "smth:2");
    EXPECT_EQ(refusalOf([] { maps_Smooth(20, {}, 5, 2, -1); }), "smth:3");
    EXPECT_EQ(refusalOf([] { maps_SmoothGauss(20, {}, -1); }), "smth:4");
    EXPECT_EQ(refusalOf([] { maps_Smooth(20, cal_c1DArrayCal(0, 0, 0), 5, 2, 1); }), "smth:6");
    EXPECT_ANY_THROW(maps_Smooth(4, {}, 5, 2));
    EXPECT_ANY_THROW(maps_Rebin(std::size_t{1} << 31, {}, 1));
}

TEST(MapFilter, SpectraWithoutChannelsGiveNone) {
    EXPECT_EQ(maps_Rebin(0, {}, 1).Channels(), 0U);
    EXPECT_EQ(maps_Smooth(0, {}, 5, 2).Channels(), 0U);
    EXPECT_EQ(maps_SmoothGauss(0, {}, 3).Channels(), 0U);
    const maps_cFilter grid = maps_Rebin(0, {}, 2, {});
    const maps_cStack stack(std::span<const double>(), {1, 3, 0, 0, 0, 1, 0});
    EXPECT_THAT(Spectra(grid, stack).values, Each(0));
}

} // namespace
