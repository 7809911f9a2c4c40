#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/fitting/gsft.h"
#include "dataprocessing/fitting/gsft_deviations.h"
#include "dataprocessing/fitting/pwft.h"
#include "tests/failing_new.h"
#include "tests/support/constants.h"
#include "tests/support/measured.h"
#include "tests/support/refusal_expected.h"

namespace {

constexpr double smallestNormal = 2.2250738585072014e-308;
const double fwhmOfWidth = 2 * std::sqrt(std::log(2.0));

const ExpectRefusal expectRefusal("gaussfit");

/// A function whose fit can be called with points of the test's own.
class Function : public gsft_c1DGaussianFittingFunction {
public:
    using gsft_c1DGaussianFittingFunction::gsft_c1DGaussianFittingFunction;
    using gsft_c1DGaussianFittingFunction::RefitValues;
};

/// Everything that a fit refers to.
struct Spectrometer {
    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
    std::deque<gsft_cGaussian> peaks;
    list_cPtrList<gsft_cGaussian> list;
    cal_c1DArrayCal cal;
    type_cBoolean fitCalibration = false;
    gsft_cResolution resolution{50, 16};
    type_cBoolean fitResolution = false;
    Function function{selection, list, cal, fitCalibration, resolution, fitResolution};

    Spectrometer() = default;
    Spectrometer(const Spectrometer&) = delete;

    gsft_cGaussian& add(double amplitude, double center) {
        peaks.emplace_back(amplitude, center, 1.0);
        list.Append(&peaks.back());
        return peaks.back();
    }
    void refit(const std::vector<double>& y) {
        arr_cC_Array<double> x(static_cast<int>(y.size()));
        for (int i = 0; i < x.Size(); ++i)
            x[i] = cal.Position(i);
        function.RefitValues(x, arr_cC_Array<double>(std::span<const double>(y)));
    }
    /// All that a fit may change.
    std::vector<double> state() const {
        std::vector<double> all{cal.Offset(),
                                cal.Delta(),
                                static_cast<double>(cal.CalIndex()),
                                resolution.ReferencePosition(),
                                resolution.ReferenceFWHM(),
                                function.ChiSquared()};
        for (const gsft_cGaussian& peak : peaks)
            all.insert(all.end(), {peak.Amplitude(), peak.Center(), peak.Width()});
        return all;
    }
};

double widthOf(const gsft_cResolution& law, double center) {
    return std::sqrt((center - law.ReferencePosition()) * 2.3 +
                     law.ReferenceFWHM() * law.ReferenceFWHM()) /
           fwhmOfWidth;
}

/// A peak as a fit sees it, with nothing from three widths on.
double peakAt(double u, double amplitude, double center, double width) {
    const double t = (u - center) / width;
    return std::fabs(t) < 3 ? amplitude * std::exp(-t * t) : 0.0;
}

std::vector<double> spectrumOf(int count, const cal_c1DArrayCal& cal, const gsft_cResolution& law,
                               const std::vector<double>& amplitudes,
                               const std::vector<double>& centers) {
    std::vector<double> y(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        for (std::size_t k = 0; k < amplitudes.size(); ++k)
            y[static_cast<std::size_t>(i)] +=
                peakAt(cal.Position(i), amplitudes[k], centers[k], widthOf(law, centers[k]));
    return y;
}

/// The deviations, looked for channel by channel.
std::vector<double> naiveDeviations(const std::vector<double>& y) {
    const int n = static_cast<int>(y.size());
    std::vector<double> result;
    for (int i = 0; i < n; ++i) {
        double s = std::fabs(y[static_cast<std::size_t>(i)]);
        for (int d = 1; d <= std::max(i, n - 1 - i) && s < type_MinValue; ++d)
            s = (std::fabs(y[static_cast<std::size_t>(std::max(i - d, 0))]) +
                 std::fabs(y[static_cast<std::size_t>(std::min(i + d, n - 1))])) /
                2;
        if (s < type_MinValue)
            s = 1;
        result.push_back(std::sqrt(s));
    }
    return result;
}

} // namespace

TEST(Gaussian, HasHeightPositionWidthAndNoReference) {
    gsft_cGaussian peak(3, 4, 5);
    EXPECT_EQ(peak.Amplitude(), 3);
    EXPECT_EQ(peak.Center(), 4);
    EXPECT_EQ(peak.Width(), 5);
    EXPECT_FALSE(peak.HasReference());
    EXPECT_TRUE(peak.hRefGaussian().IsEmpty());
    peak.SetAmplitude(-6);
    peak.SetCenter(7);
    peak.SetWidth(-8); // unchecked
    EXPECT_EQ(peak.Amplitude(), -6);
    EXPECT_EQ(peak.Center(), 7);
    EXPECT_EQ(peak.Width(), -8);
}

TEST(Gaussian, WidthBelowTheSmallestNormalIsRefused) {
    for (const double width : {0.0, -1.0, -infinity, std::nextafter(smallestNormal, 0.0)})
        expectRefusal(132, [&] { gsft_cGaussian(1, 2, width); });
    EXPECT_EQ(gsft_cGaussian(1, 2, smallestNormal).Width(), smallestNormal);
}

TEST(Gaussian, CopiesKeepTheReference) {
    gsft_cGaussian reference(10, 0, 1), peak(5, 1, 1), assigned(7, 2, 2);
    peak.SetRefGaussian(reference);
    const gsft_cGaussian copy(peak);
    assigned = peak;
    for (const gsft_cGaussian& each : {copy, assigned}) {
        EXPECT_EQ(each.Amplitude(), 5);
        EXPECT_EQ(each.Center(), 1);
        EXPECT_EQ(each.Width(), 1);
        EXPECT_EQ(each.hRefGaussian().Get(), &reference);
    }
    peak.SetRefGaussian({});
    EXPECT_FALSE(peak.HasReference());
}

TEST(Gaussian, ValueIsNothingFromFourWidthsOn) {
    const gsft_cGaussian peak(2, 10, 0.5);
    EXPECT_EQ(peak.Value(10), 2);
    EXPECT_NEAR(peak.Value(10.5), 2 / std::exp(1.0), 1e-15);
    EXPECT_NEAR(peak.Value(10 - fwhmOfWidth * 0.25), 1, 1e-14);
    EXPECT_EQ(peak.Value(12), 0);
    EXPECT_EQ(peak.Value(8), 0);
    EXPECT_EQ(peak.Value(infinity), 0);
    for (const double inside : {std::nextafter(12.0, 0.0), std::nextafter(8.0, 20.0)}) {
        EXPECT_GT(peak.Value(inside), 0);
        EXPECT_LT(peak.Value(inside), 1e-6);
    }
    EXPECT_TRUE(std::isnan(peak.Value(notANumber)));
}

TEST(Gaussian, IntensityIsNotTheIntegral) {
    EXPECT_DOUBLE_EQ(gsft_cGaussian(3, 0, 2).Intensity(), 3 * std::sqrt(3.14159265358979323846));
    EXPECT_DOUBLE_EQ(gsft_cGaussian(-3, 9, 8).Intensity(), -6 * std::sqrt(3.14159265358979323846));
}

TEST(Gaussian, RatioNeedsAReferenceWithAnAmplitude) {
    gsft_cGaussian reference(-8, 0, 1), peak(2, 1, 1);
    expectRefusal(199, [&] { peak.AmplitudeRatio(); });
    expectRefusal(214, [&] { peak.SetAmplitudeFromRatio(1); });
    EXPECT_EQ(peak.Amplitude(), 2);
    peak.SetRefGaussian(reference);
    EXPECT_EQ(peak.AmplitudeRatio(), -0.25);
    peak.SetAmplitudeFromRatio(0.5);
    EXPECT_EQ(peak.Amplitude(), -4);
    for (const double nothing : {0.0, -0.0, std::nextafter(smallestNormal, 0.0), -1e-310}) {
        reference.SetAmplitude(nothing);
        EXPECT_THROW(peak.AmplitudeRatio(), gsft_cFitException);
        peak.SetAmplitudeFromRatio(0.5);
    }
    reference.SetAmplitude(smallestNormal);
    peak.SetAmplitude(2 * smallestNormal);
    EXPECT_EQ(peak.AmplitudeRatio(), 2);
}

TEST(Resolution, WidthGrowsWithTheRootOfThePosition) {
    const gsft_cResolution law(5900, 140);
    EXPECT_EQ(law.ReferencePosition(), 5900);
    EXPECT_EQ(law.ReferenceFWHM(), 140);
    EXPECT_EQ(law.FWHM(5900), 140);
    EXPECT_DOUBLE_EQ(law.FWHM(6900), std::sqrt(2300.0 + 19600));
    EXPECT_DOUBLE_EQ(law.FWHM(4900), std::sqrt(19600.0 - 2300));
}

TEST(Resolution, HasNoValueWhereTheRadicandIsNotPositive) {
    const gsft_cResolution law(10, std::sqrt(2.3));
    EXPECT_TRUE(law.HasValue(9.1));
    for (const double x : {8.9, -infinity, notANumber}) {
        EXPECT_FALSE(law.HasValue(x));
        EXPECT_THROW(law.FWHM(x), gsft_cFitException);
    }
    EXPECT_THROW(gsft_cResolution(0, 0).FWHM(0), gsft_cFitException);
    try {
        law.FWHM(notANumber);
    } catch (const expt_cUserException& e) {
        EXPECT_EQ(e.SourceFile(), "gaussfit");
        EXPECT_FALSE(std::string(e.Message().Text()).empty());
    }
}

TEST(Deviations, ChannelsWithoutCountsTakeThoseOfTheirNeighbours) {
    using dataprocessing::detail::gsft_Deviations;
    const std::vector<double> y{0, 0, -9, 0, 0, 0, 25};
    const std::vector<double> expected{std::sqrt(4.5),  std::sqrt(4.5),  3, std::sqrt(4.5),
                                       std::sqrt(17.0), std::sqrt(12.5), 5};
    const std::vector<double> found = gsft_Deviations(y);
    for (std::size_t i = 0; i < y.size(); ++i)
        EXPECT_DOUBLE_EQ(found[i], expected[i]) << i;
    EXPECT_EQ(gsft_Deviations(std::vector<double>(5, 0.0)), std::vector<double>(5, 1.0));
    EXPECT_EQ(gsft_Deviations(std::vector<double>{}), std::vector<double>{});
}

TEST(Deviations, EqualThoseLookedForChannelByChannel) {
    std::mt19937 random(3);
    const std::vector<double> values{
        0.0,   -0.0,     type_MinValue * 0.9, type_MinValue, 1.5e-38, 4.0, -7.0,
        1e300, infinity, type_MinValue / 2};
    for (int round = 0; round < 5000; ++round) {
        std::vector<double> y(random() % 60);
        const unsigned long density = 1 + random() % 12;
        for (double& value : y)
            value = random() % density == 0 ? values[random() % values.size()] : 0.0;
        EXPECT_EQ(dataprocessing::detail::gsft_Deviations(y), naiveDeviations(y));
    }
}

TEST(Deviations, NotANumberStaysOne) {
    const std::vector<double> found =
        dataprocessing::detail::gsft_Deviations(std::vector<double>{0, notANumber, 4});
    EXPECT_TRUE(std::isnan(found[0]));
    EXPECT_TRUE(std::isnan(found[1]));
    EXPECT_EQ(found[2], 2);
}

TEST(Deviations, LongEmptyStretchesCostNoMoreThanOthers) {
    // Millions of channels would take hours one by one.
    std::vector<double> y(4000000);
    y.front() = 4;
    y.back() = 16;
    const std::vector<double> found = dataprocessing::detail::gsft_Deviations(y);
    EXPECT_EQ(found[1], std::sqrt(2.0));
    EXPECT_EQ(found[y.size() - 2], std::sqrt(8.0));
}

TEST(GaussianFit, CurveIsTheSumOfThePeaks) {
    Spectrometer setup;
    setup.add(2, 3).SetWidth(0.5);
    setup.add(5, 4).SetWidth(2);
    arr_cC_Array<double> x({3, 4, 5.5}), y(3);
    setup.function.LoadValues(x, y);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(y[i], setup.peaks[0].Value(x[i]) + setup.peaks[1].Value(x[i]));
    arr_cC_Array<double> curve(4);
    setup.function.Load(curve, cal_c1DArrayCal(4, 0.25, 2));
    EXPECT_EQ(curve[0], setup.peaks[0].Value(3.5) + setup.peaks[1].Value(3.5));
    EXPECT_EQ(curve[3], setup.peaks[0].Value(4.25) + setup.peaks[1].Value(4.25));
}

TEST(GaussianFit, CurveNeedsPointsInPairs) {
    Spectrometer setup;
    arr_cC_Array<double> none, one(1), two(2);
    expectRefusal(302, [&] { setup.function.LoadValues(one, two); });
    expectRefusal(304, [&] { setup.function.LoadValues(none, none); });
    expectRefusal(304, [&] { setup.function.Load(none, cal_c1DArrayCal()); });
}

TEST(GaussianFit, FitNeedsPointsInPairs) {
    Spectrometer setup;
    setup.add(1, 2);
    const arr_cC_Array<double> none, one(1), two(2);
    expectRefusal(334, [&] { setup.function.RefitValues(one, two); });
    expectRefusal(336, [&] { setup.function.RefitValues(none, none); });
    expectRefusal(336, [&] { setup.function.Refit(darr_c1DArray(5, 1.0, cal_c1DArrayCal())); });
    EXPECT_EQ(setup.function.ChiSquared(), 0);
}

TEST(GaussianFit, ReferencesMustBeUncoupledPeaksOfTheList) {
    const std::vector<double> y(100, 5.0);
    Spectrometer setup;
    setup.add(1, 60);
    gsft_cGaussian& coupled = setup.add(1, 70);
    gsft_cGaussian& second = setup.add(1, 80);
    gsft_cGaussian stranger(0, 1, 1);
    const std::vector<double> before = setup.state();
    coupled.SetRefGaussian(stranger);
    expectRefusal(1, [&] { setup.refit(y); });
    coupled.SetRefGaussian(coupled);
    expectRefusal(2, [&] { setup.refit(y); });
    coupled.SetRefGaussian(setup.peaks[0]);
    second.SetRefGaussian(coupled);
    expectRefusal(2, [&] { setup.refit(y); });
    EXPECT_EQ(setup.state(), before);
}

TEST(GaussianFit, FailuresChangeNothing) {
    const std::vector<double> y = spectrumOf(200, {}, {50, 16}, {100, 40}, {80, 120});
    struct Row {
        std::string what;
        std::function<void(Spectrometer&)> spoil;
        bool isSingular;
    };
    const std::vector<Row> rows{
        {"reference without amplitude", [](Spectrometer& s) { s.peaks[0].SetAmplitude(0); }, false},
        {"no width at a peak",
         [](Spectrometer& s) {
             s.resolution = {100, 6};
         },
         false},
        {"no center", [](Spectrometer& s) { s.peaks[1].SetCenter(notANumber); }, false},
        {"no resolution",
         [](Spectrometer& s) {
             s.resolution = {50, notANumber};
         },
         false},
        {"a peak without points", [](Spectrometer& s) { s.add(1, 900); }, true},
        {"a derivative that is zero",
         [](Spectrometer& s) {
             s.resolution = {-50, 0};
             s.fitResolution = true;
         },
         true}};
    for (const Row& row : rows) {
        Spectrometer setup;
        setup.add(90, 80);
        setup.add(50, 120).SetRefGaussian(setup.peaks[0]);
        setup.refit(y);
        row.spoil(setup);
        const std::vector<double> before = setup.state();
        if (row.isSingular)
            EXPECT_THROW(setup.refit(y), rcps_cRecipesException) << row.what;
        else
            EXPECT_THROW(setup.refit(y), gsft_cFitException) << row.what;
        const std::vector<double> after = setup.state();
        for (std::size_t i = 0; i < before.size(); ++i)
            EXPECT_TRUE(before[i] == after[i] || std::isnan(before[i])) << row.what << i;
    }
}

TEST(GaussianFit, ExactPeakIsFoundFromAnyHeight) {
    const std::vector<double> y = spectrumOf(128, {}, {50, 16}, {1000}, {61.25});
    for (const double start : {0.0, 1.0, 1000.0, -500.0, 1e6}) {
        Spectrometer setup;
        setup.add(start, 61.25);
        setup.refit(y);
        EXPECT_NEAR(setup.peaks[0].Amplitude(), 1000, 1e-9);
        EXPECT_LT(setup.function.ChiSquared(), 1e-20);
        EXPECT_EQ(setup.peaks[0].Center(), 61.25);
        EXPECT_EQ(setup.peaks[0].Width(), 1);
        EXPECT_EQ(setup.resolution.ReferenceFWHM(), 16);
        EXPECT_EQ(setup.cal, cal_c1DArrayCal());
    }
}

TEST(GaussianFit, ZeroChiSquaredEndsTheFit) {
    // The start is the solution: no step ever lowers chi-squared.
    Spectrometer setup;
    setup.add(1000, 61.25);
    setup.refit(spectrumOf(128, {}, {50, 16}, {1000}, {61.25}));
    EXPECT_EQ(setup.peaks[0].Amplitude(), 1000);
    EXPECT_LT(setup.function.ChiSquared(), 1e-30);
    Spectrometer none;
    none.refit(std::vector<double>(10, 2.0));
    EXPECT_NEAR(none.function.ChiSquared(), 1, 1e-15);
}

TEST(GaussianFit, NoiseFreeSpectraGiveTheirAmplitudesBack) {
    std::mt19937 random(11);
    const auto between = [&](double low, double high) {
        return std::uniform_real_distribution<>(low, high)(random);
    };
    const gsft_cResolution law(50, 16);
    struct Row {
        double resolution, offset, scale;
        bool fitsCalibration, fitsResolution;
    };
    const std::vector<Row> rows{{1, 0, 1, false, false},        {1, 0.5, 1, true, false},
                                {1, -0.5, 1.0003, true, false}, {1.2, 0, 1, false, true},
                                {0.8, 0, 1, false, true},       {1.2, 0.5, 1, true, true},
                                {0.8, 0.5, 1, true, true},      {0.8, -0.5, 0.9997, true, true}};
    for (const Row& row : rows)
        for (std::size_t count = 1; count <= 20; ++count) {
            if (count == 1 && row.fitsCalibration && row.fitsResolution)
                continue; // one peak does not tell the scale from the resolution
            const cal_c1DArrayCal truth(3, 1, 3);
            std::vector<double> amplitudes, centers;
            for (std::size_t k = 0; k < count; ++k) {
                const double spacing = 900.0 / static_cast<double>(count);
                amplitudes.push_back(between(100, 10000));
                centers.push_back(60 + spacing * (static_cast<double>(k) + between(0.2, 0.8)));
            }
            std::vector<int> reference(count, -1);
            for (std::size_t k = 2; k < count; k += 3)
                reference[k] = static_cast<int>(k) - 2;

            Spectrometer setup;
            setup.cal = truth;
            setup.cal.SetOffset(3 + row.offset * widthOf(law, centers[0]));
            setup.cal.SetDelta(row.scale);
            setup.resolution.SetReferenceFWHM(16 * row.resolution);
            setup.fitCalibration = row.fitsCalibration;
            setup.fitResolution = row.fitsResolution;
            for (std::size_t k = 0; k < count; ++k) {
                gsft_cGaussian& peak = setup.add(amplitudes[k] * between(0.5, 1.5), centers[k]);
                if (reference[k] >= 0) {
                    const auto r = static_cast<std::size_t>(reference[k]);
                    peak.SetRefGaussian(setup.peaks[r]);
                    peak.SetAmplitudeFromRatio(amplitudes[k] / amplitudes[r]);
                }
            }
            setup.refit(spectrumOf(1024, truth, law, amplitudes, centers));
            for (std::size_t k = 0; k < count; ++k)
                EXPECT_NEAR(setup.peaks[k].Amplitude(), amplitudes[k], 1e-6 * amplitudes[k])
                    << count << " peaks, " << row.resolution << ", " << row.offset;
            EXPECT_NEAR(setup.cal.Offset(), 3, 1e-6);
            EXPECT_NEAR(setup.cal.Delta(), 1, 1e-9);
            EXPECT_EQ(setup.cal.CalIndex(), 3);
            EXPECT_NEAR(setup.resolution.ReferenceFWHM(), 16, 1e-6);
            EXPECT_LT(setup.function.ChiSquared(), 1e-15);
        }
}

TEST(GaussianFit, RejectedStepsAreFollowedByShorterOnes) {
    // With heights next to nothing the first steps of the calibration go far astray.
    const std::vector<double> centers{100, 140, 400}, amplitudes{900, 500, 700};
    Spectrometer setup;
    setup.cal.SetOffset(5);
    setup.resolution.SetReferenceFWHM(60);
    setup.fitCalibration = true;
    setup.fitResolution = true;
    for (const double center : centers)
        setup.add(0.01, center);
    setup.refit(spectrumOf(512, {}, {50, 16}, amplitudes, centers));
    for (std::size_t k = 0; k < 3; ++k)
        EXPECT_NEAR(setup.peaks[k].Amplitude(), amplitudes[k], 1e-6 * amplitudes[k]);
}

TEST(GaussianFit, FitThatFindsNoEndIsGivenUp) {
    // Two peaks beside the line: steps that are better, or lost and shortened, go on and on.
    const auto line = [](double x) { return 100 * std::exp(-std::pow((x - 30) / 4, 2)); };
    std::vector<double> y;
    for (int i = 0; i < 60; ++i)
        y.push_back(line(i));
    Spectrometer setup;
    setup.resolution = {0, 20};
    setup.fitResolution = true;
    setup.add(10, 13);
    setup.add(10, 17);
    const std::vector<double> before = setup.state();
    const auto e = caught<gsft_cFitException>([&] { setup.refit(y); });
    EXPECT_STREQ(e.Message().Text(), "The fit has not converged.");
    EXPECT_EQ(setup.state(), before);
}

TEST(GaussianFit, PeaksMayBeListedInAnyOrder) {
    const std::vector<double> centers{500, 100, 700, 300, 320}, amplitudes{10, 20, 30, 40, 50};
    Spectrometer setup;
    for (const double center : centers)
        setup.add(1, center);
    setup.peaks[0].SetAmplitude(3); // 0.3 of the one at 700, which comes later
    setup.peaks[0].SetRefGaussian(setup.peaks[2]);
    setup.peaks[2].SetAmplitude(9);
    setup.refit(spectrumOf(800, {}, {50, 16}, amplitudes, centers));
    for (std::size_t k = 1; k < 5; ++k)
        EXPECT_NEAR(setup.peaks[k].Amplitude(), amplitudes[k], 1e-9);
    EXPECT_NEAR(setup.peaks[0].Amplitude(), 10, 1e-9);
}

TEST(GaussianFit, PointsMayComeInAnyOrderAndTwice) {
    const std::vector<double> centers{100, 300}, amplitudes{10, 20};
    const std::vector<double> y = spectrumOf(400, {}, {50, 16}, amplitudes, centers);
    const darr_c1DArray data{std::span<const double>(y)};
    Spectrometer setup;
    setup.add(1, 100);
    setup.add(1, 300);
    setup.selection.AddLocalRange({250, 400});
    setup.selection.AddLocalRange({80, 120});
    setup.selection.AddLocalRange({90, 310});
    setup.function.Refit(data);
    EXPECT_NEAR(setup.peaks[0].Amplitude(), 10, 1e-9);
    EXPECT_NEAR(setup.peaks[1].Amplitude(), 20, 1e-9);
}

TEST(GaussianFit, PositionsAreThoseOfTheNearestChannels) {
    const std::vector<double> y = spectrumOf(128, {}, {50, 16}, {1000}, {61.25});
    arr_cC_Array<double> x(128);
    for (int i = 0; i < 128; ++i)
        x[i] = i + (i % 2 == 0 ? 0.4 : -0.4);
    Spectrometer setup;
    setup.add(700, 61.25);
    setup.function.RefitValues(x, arr_cC_Array<double>(std::span<const double>(y)));
    EXPECT_NEAR(setup.peaks[0].Amplitude(), 1000, 1e-9);
}

TEST(GaussianFit, PeakEndsAtThreeWidthsExactly) {
    Spectrometer setup;
    setup.resolution = {60, 2 * fwhmOfWidth};
    setup.add(1, 60);
    setup.function.RefitValues({54, 60, 66}, {1000, 4, 1000});
    EXPECT_NEAR(setup.peaks[0].Amplitude(), 4, 1e-6);
    setup.function.RefitValues({55, 60, 65}, {1000, 4, 1000});
    EXPECT_GT(setup.peaks[0].Amplitude(), 4.001);
}

TEST(GaussianFit, PeaksAtOnePlaceAreRefusedInTheEnd) {
    // Damped steps converge: only the covariance does not exist.
    Spectrometer setup;
    setup.add(1, 60);
    setup.add(2, 60);
    const std::vector<double> before = setup.state();
    EXPECT_THROW(setup.function.RefitValues({60}, {4}), rcps_cRecipesException);
    EXPECT_EQ(setup.state(), before);
}

TEST(GaussianFit, PeaksAtOnePlaceAreRefusedAmongOthers) {
    std::mt19937 random(21);
    for (int round = 0; round < 100; ++round) {
        std::vector<double> y;
        for (int i = 0; i < 400; ++i)
            y.push_back(static_cast<double>(5 + random() % 90));
        Spectrometer setup;
        setup.fitCalibration = round % 2 == 1;
        setup.fitResolution = round % 4 > 1;
        const double place = 100.0 + static_cast<double>(random() % 1000) / 7;
        setup.add(30, place);
        setup.add(20, 60);
        setup.add(10, place);
        setup.add(20, 340);
        const std::vector<double> before = setup.state();
        EXPECT_ANY_THROW(setup.refit(y)) << round;
        EXPECT_EQ(setup.state(), before);
        if (round % 4 == 0) {
            EXPECT_THROW(setup.refit(y), rcps_cRecipesException) << round;
        }
    }
}

TEST(GaussianFit, FittedWidthComesOutPositive) {
    std::vector<double> found;
    for (const double start : {18.0, -18.0}) {
        Spectrometer setup;
        setup.resolution = {50, start};
        setup.fitResolution = true;
        setup.add(90, 80);
        setup.add(50, 120);
        setup.refit(spectrumOf(200, {}, {50, 16}, {100, 40}, {80, 120}));
        EXPECT_NEAR(setup.resolution.ReferenceFWHM(), 16, 1e-6);
        found.push_back(setup.function.Covariance()(gsft_FWHM, gsft_FirstPeak));
        EXPECT_LT(found.back(), 0) << "a wider peak is lower";
    }
    EXPECT_NEAR(found[1], found[0], 1e-6 * std::fabs(found[0]));
}

TEST(GaussianFit, CalibrationThatIsTurnedRoundIsRefused) {
    // The line of 60 comes after that of 100: only a falling calibration has them so.
    for (const double direction : {1.0, -1.0}) {
        Spectrometer setup;
        setup.resolution = {100, 30, 0};
        setup.add(100, 100 + direction * -40);
        setup.add(100, 100);
        setup.cal = cal_c1DArrayCal(100 - direction * 5, direction * 0.3, 100);
        setup.fitCalibration = true;
        std::vector<double> y;
        for (int i = 0; i < 201; ++i)
            y.push_back(peakAt(i, 100, 140, 16 / fwhmOfWidth) +
                        peakAt(i, 100, 100, 16 / fwhmOfWidth));
        const std::vector<double> before = setup.state();
        try {
            setup.refit(y);
            FAIL();
        } catch (const gsft_cFitException& e) {
            EXPECT_EQ(e.Message(), "The fit has turned the calibration round.");
        }
        EXPECT_EQ(setup.state(), before);
    }
}

TEST(GaussianFit, AmplitudesAreWeightedByTheDeviations) {
    std::mt19937 random(5);
    for (int round = 0; round < 50; ++round) {
        std::vector<double> y;
        for (int i = 0; i < 120; ++i)
            y.push_back(random() % 3 == 0 ? 0.0 : static_cast<double>(random() % 50));
        Spectrometer setup;
        setup.add(5, 60);
        setup.refit(y);
        const std::vector<double> sigma = naiveDeviations(y);
        double up = 0, down = 0, chiSquared = 0, sum = 0;
        const double width = widthOf({50, 16}, 60);
        for (std::size_t i = 0; i < y.size(); ++i) {
            const double e = peakAt(static_cast<double>(i), 1, 60, width);
            up += e * y[i] / (sigma[i] * sigma[i]);
            down += e * e / (sigma[i] * sigma[i]);
        }
        for (std::size_t i = 0; i < y.size(); ++i) {
            const double e = peakAt(static_cast<double>(i), up / down, 60, width);
            chiSquared += (y[i] - e) * (y[i] - e) / (sigma[i] * sigma[i]);
            sum += y[i];
        }
        EXPECT_NEAR(setup.peaks[0].Amplitude(), up / down, 1e-5 * up / down);
        EXPECT_NEAR(setup.function.ChiSquared(), chiSquared / sum, 1e-9 * chiSquared / sum);
    }
}

TEST(GaussianFit, NoiseSpreadsTheAmplitudesAsTheCovarianceSays) {
    std::mt19937 random(2024);
    const double amplitude = 1000, width = widthOf({50, 16}, 60);
    double sumOfShapes = 0, points = 0;
    for (int i = 45; i < 75; ++i) {
        sumOfShapes += peakAt(i, 1, 60, width);
        ++points;
    }
    double sum = 0, squares = 0;
    constexpr int spectra = 200;
    for (int round = 0; round < spectra; ++round) {
        std::vector<double> y;
        for (int i = 0; i < 120; ++i)
            y.push_back(
                std::poisson_distribution<>(1e-9 + peakAt(i, amplitude, 60, width))(random));
        Spectrometer setup;
        setup.add(700, 60);
        setup.selection.AddLocalRange({45, 75});
        setup.function.Refit(darr_c1DArray(std::span<const double>(y)));
        sum += setup.peaks[0].Amplitude();
        squares += setup.peaks[0].Amplitude() * setup.peaks[0].Amplitude();
    }
    // With weights 1 / y the curvature is sum(e^2 / y), so the variance is amplitude / sum(e); a
    // point that is low by chance weighs more, which costs each of them about one count.
    const double deviation = std::sqrt(amplitude / sumOfShapes);
    const double mean = sum / spectra;
    EXPECT_NEAR(mean, amplitude - points / sumOfShapes, 4 * deviation / std::sqrt(spectra));
    EXPECT_NEAR(std::sqrt(squares / spectra - mean * mean), deviation, 0.15 * deviation);
}

TEST(GaussianFit, CalibrationIsRefinedAtItsIndex) {
    const cal_c1DArrayCal truth(100, 0.5, 40);
    const gsft_cResolution law(90, 8);
    const std::vector<double> centers{110, 170, 260}, amplitudes{300, 900, 500};
    Spectrometer setup;
    setup.cal = cal_c1DArrayCal(101, 0.502, 40);
    setup.resolution = law;
    setup.fitCalibration = true;
    for (const double center : centers)
        setup.add(400, center);
    setup.selection.AddLocalRange({0, 1000});
    const std::vector<double> spectrum = spectrumOf(500, truth, law, amplitudes, centers);
    setup.function.Refit(darr_c1DArray(std::span<const double>(spectrum), setup.cal));
    EXPECT_NEAR(setup.cal.Offset(), 100, 1e-8);
    EXPECT_NEAR(setup.cal.Delta(), 0.5, 1e-10);
    EXPECT_EQ(setup.cal.CalIndex(), 40);
}

TEST(GaussianFit, PointsThatAreNotFiniteAreRefusedWhereverTheyAre) {
    const std::vector<double> clean = spectrumOf(200, {}, {50, 16}, {100, 40}, {80, 120});
    for (const double bad : {notANumber, infinity, -infinity})
        for (const int place : {0, 80, 100, 199}) // far from the peaks, in them, between them
            for (const bool isPosition : {false, true}) {
                Spectrometer setup;
                setup.add(90, 80);
                setup.add(50, 120);
                arr_cC_Array<double> x(200), y{std::span<const double>(clean)};
                for (int i = 0; i < 200; ++i)
                    x[i] = i;
                (isPosition ? x : y)[place] = bad;
                const std::vector<double> before = setup.state();
                try {
                    setup.function.RefitValues(x, y);
                    FAIL() << bad << ' ' << place;
                } catch (const gsft_cFitException& e) {
                    EXPECT_EQ(e.Message(), "A point is not a number, or infinite.");
                }
                EXPECT_EQ(setup.state(), before);
            }
}

TEST(GaussianFit, ExtremeDataEndInAFitOrAnError) {
    const std::vector<double> clean = spectrumOf(200, {}, {50, 16}, {100, 40}, {80, 120});
    for (const double extreme : {1e308, 5e-324})
        for (const std::size_t place : {0U, 80U, 100U, 199U})
            for (const int settings : {0, 1, 2, 3})
                for (const bool isEverywhere : {false, true}) {
                    std::vector<double> y = clean;
                    y[place] = extreme;
                    if (isEverywhere)
                        std::fill(y.begin(), y.end(), extreme);
                    Spectrometer setup;
                    setup.fitCalibration = (settings & 1) != 0;
                    setup.fitResolution = (settings & 2) != 0;
                    setup.add(90, 80);
                    setup.add(50, 120);
                    const std::vector<double> before = setup.state();
                    try {
                        setup.refit(y);
                    } catch (const gsft_cFitException&) {
                        EXPECT_EQ(setup.state(), before);
                    } catch (const rcps_cRecipesException&) {
                        EXPECT_EQ(setup.state(), before);
                    }
                }
}

TEST(GaussianFit, PositionsFarOutsideCountAsTheLastChannel) {
    Spectrometer setup;
    setup.add(90, 80);
    arr_cC_Array<double> x(200), y(200, 10.0);
    for (int i = 0; i < 200; ++i)
        x[i] = i;
    x[90] = 1e300;
    setup.function.RefitValues(x, y);
    EXPECT_TRUE(std::isfinite(setup.peaks[0].Amplitude()));
}

TEST(GaussianFit, RunningOutOfMemoryChangesNothing) {
    const std::vector<double> y = spectrumOf(64, {}, {20, 16}, {100, 40}, {25, 45});
    const darr_c1DArray data{std::span<const double>(y)};
    bool isDone = false;
    for (long allowed = 0; !isDone; ++allowed) {
        ASSERT_LT(allowed, 1000);
        Spectrometer setup;
        setup.resolution = {20, 14};
        setup.fitResolution = true;
        setup.fitCalibration = true;
        setup.add(90, 25);
        setup.add(50, 45);
        setup.selection.AddLocalRange({0, 64});
        const std::vector<double> before = setup.state();
        try {
            const FailingNew failing(allowed);
            setup.function.Refit(data);
            isDone = true;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(setup.state(), before);
        }
    }
}

TEST(GaussianFit, IterationsAllocateNothing) {
    const std::vector<double> y = spectrumOf(512, {}, {50, 16}, {100, 40}, {80, 220});
    const auto allocationsFrom = [&](double resolution) {
        Spectrometer setup;
        setup.resolution = {50, 16 * resolution};
        setup.fitResolution = true;
        setup.add(100, 80);
        setup.add(40, 220);
        const long before = allocationCount();
        setup.refit(y);
        return allocationCount() - before;
    };
    EXPECT_EQ(allocationsFrom(1), allocationsFrom(0.8));
    EXPECT_LT(allocationsFrom(1), 60);
}

TEST(GaussianFit, FitsOnTwoThreadsAreIndependent) {
    const auto fit = [](double scale) {
        const cal_c1DArrayCal truth;
        Spectrometer setup;
        setup.cal = cal_c1DArrayCal(2, 1, 0);
        setup.fitCalibration = true;
        setup.fitResolution = true;
        const std::vector<double> centers{100, 140, 400}, amplitudes{90 * scale, 50, 70};
        for (const double center : centers)
            setup.add(60, center);
        setup.refit(spectrumOf(512, truth, {50, 18}, amplitudes, centers));
        return setup.state();
    };
    std::vector<std::vector<double>> alone, together(2);
    for (const double scale : {1.0, 2.0})
        alone.push_back(fit(scale));
    for (int round = 0; round < 5; ++round) {
        std::thread first([&] { together[0] = fit(1.0); });
        std::thread second([&] { together[1] = fit(2.0); });
        first.join();
        second.join();
        EXPECT_EQ(together, alone);
    }
}

TEST(GaussianFit, CopiesReferToTheSamePeaks) {
    Spectrometer setup;
    setup.add(50, 60);
    setup.refit(spectrumOf(120, {}, {50, 16}, {100}, {60}));
    const gsft_c1DGaussianFittingFunction copy(setup.function);
    EXPECT_EQ(copy.ChiSquared(), setup.function.ChiSquared());
    setup.peaks[0].SetAmplitude(7);
    arr_cC_Array<double> x({60}), y(1);
    copy.LoadValues(x, y);
    EXPECT_EQ(y[0], 7);
}

TEST(GaussianFit, MeasuredLineLeavesCountingNoise) {
    const std::vector<double> counts = measuredCounts("xrf_standard");
    if (counts.empty())
        GTEST_SKIP() << "xrf_standard is absent";

    // Electron volts. The line is a close doublet, half as strong 15 eV below.
    Spectrometer setup;
    setup.cal = cal_c1DArrayCal(0, 4.7, 0);
    setup.resolution = {6930, 150};
    setup.fitCalibration = true;
    setup.fitResolution = true;
    gsft_cGaussian& upper = setup.add(1000, 6930.3);
    gsft_cGaussian& lower = setup.add(510, 6915.3);
    lower.SetRefGaussian(upper);
    const darr_c1DArray data(std::span<const double>(counts), setup.cal);

    dasl_c1DDataArraySelection unused(rnge_IndexNearest);
    pwft_cMultiPowerLawFitFunc background(1, unused);
    background.AddPeak(6930, 250, 150, -400, 800);
    background.Refit(data);
    arr_cC_Array<double> net(data.Size());
    background.Load(net, data.Cal());

    setup.selection.AddLocalRange({6930 - 100, 6930 + 100});
    setup.function.Refit(darr_c1DArray(std::span<const double>(net), data.Cal()));
    EXPECT_NEAR(setup.resolution.ReferenceFWHM(), 150, 15);

    double sum = 0, squares = 0, products = 0, last = 0;
    int points = 0;
    for (int i = data.Cal().Index(6830); i < data.Cal().Index(7030); ++i, ++points) {
        double model = 0;
        for (const gsft_cGaussian& peak : setup.peaks)
            model += peakAt(setup.cal.Position(i), peak.Amplitude(), peak.Center(),
                            widthOf(setup.resolution, peak.Center()));
        const double residual = (net[i] - model) / std::sqrt(counts[static_cast<std::size_t>(i)]);
        sum += residual;
        squares += residual * residual;
        products += residual * last;
        last = residual;
    }
    // Each mean as for independent residuals of unit variance, within three deviations.
    EXPECT_NEAR(squares / points, 1, 3 * std::sqrt(2.0 / points));
    EXPECT_NEAR(sum / points, 0, 3 / std::sqrt(points));
    EXPECT_NEAR(products / points, 0, 3 / std::sqrt(points));
}

namespace {

/// A fit's equations by differences in extended precision, from nothing but the formula of the sum.
class Oracle {
public:
    Oracle(const Spectrometer& setup, const std::vector<double>& y)
        : y_(y), sigma_(naiveDeviations(y)), position_(setup.resolution.ReferencePosition()),
          factor_(setup.resolution.Factor()) {
        parameters = {setup.cal.Position(0), setup.cal.Delta(), setup.resolution.ReferenceFWHM()};
        isFitted = {setup.fitCalibration, setup.fitCalibration, setup.fitResolution};
        for (const gsft_cGaussian& peak : setup.peaks) {
            parameters.push_back(peak.HasReference() ? peak.AmplitudeRatio() : peak.Amplitude());
            isFitted.push_back(!peak.HasReference());
            parameters.push_back(peak.Center());
            isFitted.push_back(false);
            reference_.push_back(peak.HasReference() ? setup.list.IndexOf(peak.hRefGaussian().Get())
                                                     : -1);
        }
        fit();
    }

    std::vector<long double> parameters;
    std::vector<bool> isFitted;
    std::vector<std::size_t> fitted;
    std::vector<std::vector<long double>> covariance; // of the fitted ones
    long double chiSquared = 0;
    long double distance = 0; // to the optimum, in standard errors

    long double covarianceOf(std::size_t i, std::size_t j) const {
        for (std::size_t p = 0; p < fitted.size(); ++p)
            for (std::size_t q = 0; q < fitted.size(); ++q)
                if (fitted[p] == i && fitted[q] == j)
                    return covariance[p][q];
        return 0;
    }

private:
    /// The sum at channel x; which points lie within three widths is decided by `inside`.
    long double value(const std::vector<long double>& a, int x,
                      const std::vector<long double>& inside) const {
        long double sum = 0;
        for (std::size_t k = 0; k < reference_.size(); ++k) {
            const auto t = [&](const std::vector<long double>& p) {
                const long double center = p[4 + 2 * k];
                const long double width = std::sqrt((center - position_) * factor_ + p[2] * p[2]) /
                                          (2 * std::sqrt(std::log(2.0L)));
                return (p[0] + p[1] * static_cast<long double>(x) - center) / width;
            };
            if (std::fabs(t(inside)) >= 3)
                continue;
            long double amplitude = a[3 + 2 * k];
            if (reference_[k] >= 0)
                amplitude *= a[3 + 2 * static_cast<std::size_t>(reference_[k])];
            sum += amplitude * std::exp(-t(a) * t(a));
        }
        return sum;
    }

    void fit() {
        for (std::size_t i = 0; i < parameters.size(); ++i)
            if (isFitted[i])
                fitted.push_back(i);
        const std::size_t n = fitted.size();
        std::vector<std::vector<long double>> m(n, std::vector<long double>(2 * n + 1));
        for (std::size_t point = 0; point < y_.size(); ++point) {
            const int x = static_cast<int>(point);
            const long double weight =
                1 / (static_cast<long double>(sigma_[point]) * sigma_[point]);
            const long double residual = y_[point] - value(parameters, x, parameters);
            chiSquared += residual * residual * weight;
            std::vector<long double> slope(n);
            for (std::size_t p = 0; p < n; ++p) {
                const long double h = 1e-6L * std::max(1.0L, std::fabs(parameters[fitted[p]]));
                const auto moved = [&](long double by) {
                    std::vector<long double> a = parameters;
                    a[fitted[p]] += by * h;
                    return value(a, x, parameters);
                };
                slope[p] = (8 * (moved(1) - moved(-1)) - moved(2) + moved(-2)) / (12 * h);
            }
            for (std::size_t p = 0; p < n; ++p) {
                m[p][2 * n] += slope[p] * residual * weight;
                for (std::size_t q = 0; q < n; ++q)
                    m[p][q] += slope[p] * slope[q] * weight;
            }
        }
        std::vector<long double> gradient(n), scale(n);
        for (std::size_t p = 0; p < n; ++p) {
            gradient[p] = m[p][2 * n];
            scale[p] = std::sqrt(m[p][p]);
        }
        for (std::size_t p = 0; p < n; ++p) {
            for (std::size_t q = 0; q < n; ++q)
                m[p][q] /= scale[p] * scale[q];
            m[p][n + p] = 1;
        }
        for (std::size_t p = 0; p < n; ++p) // positive definite, with ones on the diagonal
            for (std::size_t r = 0; r < n; ++r) {
                if (r == p)
                    continue;
                const long double by = m[r][p] / m[p][p];
                for (std::size_t c = 0; c < 2 * n; ++c)
                    m[r][c] -= by * m[p][c];
            }
        covariance.assign(n, std::vector<long double>(n));
        for (std::size_t p = 0; p < n; ++p)
            for (std::size_t q = 0; q < n; ++q) {
                covariance[p][q] = m[p][n + q] / m[p][p] / scale[p] / scale[q];
                distance += gradient[p] * covariance[p][q] * gradient[q];
            }
        distance = std::sqrt(distance);
    }

    std::vector<double> y_;
    std::vector<double> sigma_;
    long double position_;
    long double factor_;
    std::vector<int> reference_;
};

/// Noisy spectra of three peaks, the last coupled to the first, over all settings.
template<class Check>
void overNoisySpectra(int rounds, gsft_eStop stop, const Check& check) {
    std::mt19937 random(77);
    for (int round = 0; round < rounds; ++round) {
        const cal_c1DArrayCal truth(3, 0.5, 5);
        const gsft_cResolution law(50, 16);
        const std::vector<double> amplitudes{900, 400, 300}, centers{60.3, 91, 150.7};
        std::vector<double> y = spectrumOf(400, truth, law, amplitudes, centers);
        for (double& value : y)
            value = std::poisson_distribution<>(value + 3)(random);
        Spectrometer setup;
        setup.cal = truth;
        setup.fitCalibration = round % 2 == 1;
        setup.fitResolution = round % 4 > 1;
        setup.resolution = {50, setup.fitResolution ? 17.0 : 16.0};
        for (std::size_t k = 0; k < 3; ++k)
            setup.add(amplitudes[k] * 0.9, centers[k]);
        setup.peaks[2].SetRefGaussian(setup.peaks[0]);
        setup.selection.AddLocalRange({-1000, 1000});
        setup.function.Refit(darr_c1DArray(std::span<const double>(y), truth), stop);
        check(setup, y);
    }
}

} // namespace

TEST(GaussianFit, CovarianceIsThatOfTheTrueDerivatives) {
    for (const gsft_eStop stop : {gsft_StopAtSmallChange, gsft_StopAtOptimum})
        overNoisySpectra(8, stop, [](const Spectrometer& setup, const std::vector<double>& y) {
            const Oracle oracle(setup, y);
            const arr_c2DNumberArray<double> found = setup.function.Covariance();
            const arr_cC_Array<double> errors = setup.function.StandardErrors();
            ASSERT_EQ(found.Rows(), 9);
            ASSERT_EQ(found.Columns(), 9);
            ASSERT_EQ(errors.Size(), 9);
            for (std::size_t i = 0; i < 9; ++i)
                for (std::size_t j = 0; j < 9; ++j) {
                    const auto expected = static_cast<double>(oracle.covarianceOf(i, j));
                    const double size = std::sqrt(
                        static_cast<double>(oracle.covarianceOf(i, i) * oracle.covarianceOf(j, j)));
                    EXPECT_NEAR(found(static_cast<int>(i), static_cast<int>(j)), expected,
                                1e-8 * size)
                        << i << ' ' << j;
                    if (i == j) {
                        EXPECT_NEAR(errors[static_cast<int>(i)], std::sqrt(expected), 1e-8 * size);
                    }
                }
            const auto chiSquared = static_cast<double>(oracle.chiSquared);
            EXPECT_NEAR(setup.function.ResidualSum(), chiSquared, 1e-10 * chiSquared);
            EXPECT_EQ(setup.function.DegreesOfFreedom(),
                      400 - static_cast<int>(oracle.fitted.size()));
            const auto distance = static_cast<double>(oracle.distance);
            EXPECT_NEAR(setup.function.DistanceToOptimum(), distance, 1e-6 + 1e-6 * distance);
        });
}

TEST(GaussianFit, ErrorsOfPeaksFollowFromTheCovariance) {
    overNoisySpectra(
        8, gsft_StopAtSmallChange, [](Spectrometer& setup, const std::vector<double>&) {
            const arr_c2DNumberArray<double> c = setup.function.Covariance();
            setup.function.SetWidthsFromResolution();
            // By differences of the area, height and f moved together.
            for (int k = 0; k < 3; ++k) {
                const bool isCoupled = k == 2;
                const auto number = static_cast<std::size_t>(k);
                const double ratio = isCoupled ? setup.peaks[number].AmplitudeRatio() : 1;
                const int at = gsft_FirstPeak + (isCoupled ? 0 : 2 * k);
                const auto area = [&](double amplitude, double fwhm) {
                    gsft_cResolution law = setup.resolution;
                    law.SetReferenceFWHM(law.ReferenceFWHM() + fwhm);
                    gsft_cGaussian peak(setup.peaks[number]);
                    peak.SetAmplitude(peak.Amplitude() + ratio * amplitude);
                    peak.SetWidth(law.FWHM(peak.Center()) / fwhmOfWidth);
                    return peak.Area();
                };
                const double h = 1e-5;
                const double a = (area(h, 0) - area(-h, 0)) / (2 * h);
                const double f = (area(0, h) - area(0, -h)) / (2 * h);
                const double variance = a * a * c(at, at) + 2 * a * f * c(at, gsft_FWHM) +
                                        f * f * c(gsft_FWHM, gsft_FWHM);
                EXPECT_NEAR(setup.function.AreaError(k), std::sqrt(variance),
                            1e-6 * std::sqrt(variance));
                EXPECT_DOUBLE_EQ(setup.function.AmplitudeError(k), ratio * std::sqrt(c(at, at)));
                // Counts are area / delta, which varies with the area.
                const double delta = setup.cal.Delta();
                const std::array places{at, static_cast<int>(gsft_FWHM),
                                        static_cast<int>(gsft_Delta)};
                const std::array slopes{a / delta, f / delta,
                                        (area(0, 0) / (delta + h) - area(0, 0) / (delta - h)) /
                                            (2 * h)};
                double counts = 0;
                for (std::size_t i = 0; i < 3; ++i)
                    for (std::size_t j = 0; j < 3; ++j)
                        counts += slopes[i] * c(places[i], places[j]) * slopes[j];
                EXPECT_NEAR(setup.function.CountsError(k), std::sqrt(counts),
                            1e-6 * std::sqrt(counts));
                if (!setup.fitCalibration) {
                    EXPECT_DOUBLE_EQ(setup.function.CountsError(k),
                                     setup.function.AreaError(k) / delta);
                }
            }
            EXPECT_THROW(setup.function.AreaError(3), arr_cIndexException);
            EXPECT_THROW(setup.function.CountsError(3), arr_cIndexException);
            EXPECT_THROW(setup.function.AmplitudeError(-1), arr_cIndexException);
        });
}

TEST(GaussianFit, OptimumIsWithinAMillionthOfTheErrors) {
    overNoisySpectra(16, gsft_StopAtOptimum,
                     [](const Spectrometer& setup, const std::vector<double>& y) {
                         if (setup.function.End() != gsft_Optimum) {
                             // A point at the edge of a window is in the way.
                             EXPECT_EQ(setup.function.End(), gsft_NoLowerStep);
                             return;
                         }
                         EXPECT_LT(Oracle(setup, y).distance, 2e-6L);
                         EXPECT_LT(setup.function.Steps(), 60);
                     });
}

TEST(GaussianFit, SmallChangeEndsNearTheOptimum) {
    std::vector<double> distances;
    overNoisySpectra(200, gsft_StopAtSmallChange,
                     [&](const Spectrometer& setup, const std::vector<double>&) {
                         EXPECT_EQ(setup.function.End(), gsft_SmallChange);
                         if (setup.fitResolution)
                             distances.push_back(setup.function.DistanceToOptimum());
                     });
    std::sort(distances.begin(), distances.end());
    const double median = distances[distances.size() / 2];
    std::cout << "[ distance ] median " << median << ", largest " << distances.back() << '\n';
    EXPECT_LT(median, 0.3);
}

TEST(GaussianFit, ErrorsAreTheSpreadOfWhatIsFound) {
    // Gaussian noise of the very deviations that the fit takes.
    std::mt19937 random(4);
    const cal_c1DArrayCal truth(0, 1, 0);
    const std::vector<double> amplitudes{40000, 25000}, centers{80, 210};
    const std::vector<double> clean = spectrumOf(300, truth, {50, 16}, amplitudes, centers);
    double sums[3] = {};
    constexpr int spectra = 400;
    for (int round = 0; round < spectra; ++round) {
        std::vector<double> y;
        for (const double value : clean)
            y.push_back(value + std::sqrt(value) * std::normal_distribution<>()(random));
        Spectrometer setup;
        setup.fitCalibration = setup.fitResolution = true;
        for (std::size_t k = 0; k < 2; ++k)
            setup.add(amplitudes[k], centers[k]);
        setup.selection.AddLocalRange({72, 89});
        setup.selection.AddLocalRange({200, 221});
        setup.function.Refit(darr_c1DArray(std::span<const double>(y), truth), gsft_StopAtOptimum);
        const arr_cC_Array<double> errors = setup.function.StandardErrors();
        sums[0] += std::pow((setup.cal.Position(0)) / errors[gsft_Offset], 2);
        sums[1] += std::pow((setup.resolution.ReferenceFWHM() - 16) / errors[gsft_FWHM], 2);
        sums[2] +=
            std::pow((setup.peaks[0].Amplitude() - 40000) / setup.function.AmplitudeError(0), 2);
    }
    for (const double sum : sums)
        EXPECT_NEAR(std::sqrt(sum / spectra), 1, 0.15);
}

TEST(GaussianFit, StepsToTheOptimumComeOnTopOfTheOthers) {
    std::vector<int> coarse;
    overNoisySpectra(4, gsft_StopAtSmallChange,
                     [&](const Spectrometer& setup, const std::vector<double>&) {
                         coarse.push_back(setup.function.Steps());
                     });
    std::size_t round = 0;
    overNoisySpectra(4, gsft_StopAtOptimum,
                     [&](const Spectrometer& setup, const std::vector<double>&) {
                         EXPECT_GT(setup.function.Steps(), coarse[round++]);
                     });
}

TEST(GaussianFit, KnowsNothingBeforeTheFirstFit) {
    Spectrometer setup;
    setup.add(1, 2);
    EXPECT_EQ(setup.function.End(), gsft_NotFitted);
    EXPECT_EQ(setup.function.Steps(), 0);
    EXPECT_EQ(setup.function.ResidualSum(), 0);
    EXPECT_EQ(setup.function.DegreesOfFreedom(), 0);
    EXPECT_EQ(setup.function.DistanceToOptimum(), 0);
    EXPECT_EQ(setup.function.Covariance().Rows(), 0);
    EXPECT_EQ(setup.function.StandardErrors().Size(), 0);
    EXPECT_THROW(setup.function.AmplitudeError(0), arr_cIndexException);
}

TEST(GaussianFit, EndsWithoutALowerStepWhereNoneIs) {
    const std::vector<double> y = spectrumOf(128, {}, {50, 16}, {1000}, {61.25});
    Spectrometer setup;
    setup.add(1000, 61.25);
    setup.refit(y);
    EXPECT_EQ(setup.function.End(), gsft_NoLowerStep);
    EXPECT_GT(setup.function.Steps(), 3);
    Spectrometer refined;
    refined.add(700, 61.25);
    refined.selection.AddLocalRange({0, 128});
    refined.function.Refit(darr_c1DArray(std::span<const double>(y)), gsft_StopAtOptimum);
    EXPECT_EQ(refined.function.End(), gsft_Optimum);
    EXPECT_NEAR(refined.peaks[0].Amplitude(), 1000, 1e-9);
}

TEST(GaussianFit, RefinedFitRefusesWhatTheOtherDoes) {
    Spectrometer setup;
    setup.add(1, 60);
    setup.selection.AddLocalRange({0, 100});
    const darr_c1DArray bad(100, notANumber, cal_c1DArrayCal());
    EXPECT_THROW(setup.function.Refit(bad, gsft_StopAtOptimum), gsft_cFitException);
    setup.selection.Clear();
    expectRefusal(336, [&] { setup.function.Refit(bad, gsft_StopAtOptimum); });
}

TEST(GaussianFit, SecondFitOfDataThatCarryTheCalibrationFindsItAgain) {
    const cal_c1DArrayCal truth(100, 0.5, 40);
    const std::vector<double> centers{110, 170, 260}, amplitudes{300, 900, 500};
    Spectrometer setup;
    setup.cal = cal_c1DArrayCal(103, 0.502, 40);
    setup.resolution = {90, 8};
    setup.fitCalibration = true;
    for (const double center : centers)
        setup.add(400, center);
    setup.selection.AddLocalRange({0, 1000});
    const std::vector<double> y = spectrumOf(500, truth, {90, 8}, amplitudes, centers);
    darr_c1DArray data(std::span<const double>(y), setup.cal);
    for (int fit = 0; fit < 3; ++fit) {
        setup.function.Refit(data);
        EXPECT_NEAR(setup.cal.Offset(), 100, 1e-8) << fit;
        EXPECT_NEAR(setup.cal.Delta(), 0.5, 1e-10) << fit;
        data.SetCal(setup.cal);
    }
}

TEST(GaussianFit, WidthsAreSetFromTheLaw) {
    Spectrometer setup;
    setup.add(3, 40);
    setup.add(4, 90);
    setup.function.SetWidthsFromResolution();
    for (const gsft_cGaussian& peak : setup.peaks)
        EXPECT_DOUBLE_EQ(peak.Width(), widthOf(setup.resolution, peak.Center()));
    setup.resolution = {100, 6};
    const std::vector<double> before = setup.state();
    EXPECT_THROW(setup.function.SetWidthsFromResolution(), gsft_cFitException);
    EXPECT_EQ(setup.state(), before);
}

TEST(Gaussian, AreaIsTheIntegral) {
    const gsft_cGaussian peak(3, 10, 2.5);
    long double sum = 0;
    for (int i = -4000; i < 4000; ++i)
        sum += 3 * std::exp(-std::pow((i + 0.5L) * 0.01L / 2.5L, 2)) * 0.01L;
    EXPECT_NEAR(peak.Area(), static_cast<double>(sum), 1e-12);
}

TEST(Resolution, FactorIsThatOfElectronvoltsUnlessAnotherIsGiven) {
    EXPECT_EQ(gsft_cResolution(5900, 140).Factor(), 2.3);
    const gsft_cResolution small(5.9, 0.14, 0.0023);
    EXPECT_EQ(small.Factor(), 0.0023);
    for (const double x : {3000.0, 5900.0, 6400.0, 12000.0})
        EXPECT_NEAR(1000 * small.FWHM(x / 1000), gsft_cResolution(5900, 140).FWHM(x), 1e-10);
}

TEST(Resolution, FitInKiloelectronvoltsIsThatInElectronvolts) {
    std::vector<std::vector<double>> found;
    for (const double unit : {1.0, 0.001}) {
        Spectrometer setup;
        setup.cal = cal_c1DArrayCal(6000 * unit, 10 * unit, 0);
        setup.resolution = {6930 * unit, 150 * unit, 2.3 * unit};
        setup.fitCalibration = setup.fitResolution = true;
        setup.add(800, 6930 * unit);
        setup.add(80, 7649 * unit);
        std::vector<double> y;
        for (int i = 0; i < 201; ++i)
            y.push_back(1000 * std::exp(-std::pow((6004 + 10 * i - 6930) / 90.0, 2)) +
                        100 * std::exp(-std::pow((6004 + 10 * i - 7649) / 94.0, 2)) + 5);
        setup.refit(y);
        found.push_back({setup.peaks[0].Amplitude(), setup.peaks[1].Amplitude(),
                         setup.cal.Offset() / unit, setup.cal.Delta() / unit,
                         setup.resolution.ReferenceFWHM() / unit,
                         setup.function.AmplitudeError(1)});
    }
    for (std::size_t i = 0; i < found[0].size(); ++i)
        EXPECT_NEAR(found[1][i], found[0][i], 1e-6 * std::fabs(found[0][i])) << i;
}

TEST(Resolution, RefusalNamesTheUnitWhereItIsTheCause) {
    struct Row {
        gsft_cResolution law;
        double x;
        std::string text;
    };
    const std::string keV = " look like keV; the law of widths wants eV.";
    for (const Row& row :
         std::vector<Row>{{{7, 0.14}, 6.4, "Positions of 6.4" + keV},
                          {{7, -0.14}, 3.69, "Positions of 3.69" + keV},
                          {{7000, 0.14}, 6400, "The resolution law has no width at 6400."},
                          {{7, 0.14, 0.23}, 6.2, "The resolution law has no width at 6.2."},
                          {{7000, 20}, 6400, "The resolution law has no width at 6400."},
                          {{7, 0.14}, notANumber, "The resolution law has no width at nan."}}) {
        try {
            row.law.FWHM(row.x);
            FAIL() << row.text;
        } catch (const gsft_cFitException& e) {
            EXPECT_EQ(e.Message(), row.text.c_str());
        }
    }
}

TEST(GaussianFit, FailureNamesTheUnitWhereItIsTheCause) {
    struct Row {
        double delta, fwhm, line, reference;
        bool fitsCalibration;
        const char* text;
    };
    const Row rows[] = {
        {0.04, 0.2, 20, 13, true, "Positions of 0.52 look like keV; the law of widths wants eV."},
        {0.01, 0.9, 20, 5, false, "Positions of 0.13 look like keV; the law of widths wants eV."}};
    for (const Row& row : rows) {
        std::vector<double> y;
        for (int i = 0; i < 60; ++i)
            y.push_back(100 * std::exp(-std::pow((i - row.line) / 4, 2)));
        Spectrometer setup;
        setup.cal = cal_c1DArrayCal(0, row.delta, 0);
        setup.resolution = {row.reference * row.delta, row.fwhm};
        setup.fitCalibration = row.fitsCalibration;
        setup.fitResolution = !row.fitsCalibration;
        setup.add(10, 13 * row.delta);
        setup.add(10, 17 * row.delta);
        try {
            setup.refit(y);
            FAIL();
        } catch (const gsft_cFitException& e) {
            EXPECT_EQ(e.Message(), row.text);
        }
    }
}

TEST(GaussianFit, WhatIsFittedCanBeToldOnceAndForAll) {
    Spectrometer told, asked;
    asked.fitResolution = true;
    for (Spectrometer* each : {&told, &asked}) {
        each->cal = cal_c1DArrayCal(5000, 10, 0);
        each->add(80, 5900);
        each->add(50, 6400);
    }
    auto function = std::make_unique<Function>(told.selection, told.list, told.cal, false,
                                               told.resolution, true);
    Function copy(*function);
    function.reset();
    const darr_c1DArray data(
        spectrumOf(200, told.cal, gsft_cResolution(50, 24), {100, 60}, {5900, 6400}), told.cal);
    told.selection.AddLocalRange(rnge_c1DRange(5000, 7000));
    asked.selection.AddLocalRange(rnge_c1DRange(5000, 7000));
    copy.Refit(data);
    asked.function.Refit(data);
    EXPECT_NE(told.resolution.ReferenceFWHM(), 16);
    EXPECT_EQ(told.resolution.ReferenceFWHM(), asked.resolution.ReferenceFWHM());
    EXPECT_EQ(told.cal, cal_c1DArrayCal(5000, 10, 0));
    EXPECT_EQ(copy.ChiSquared(), asked.function.ChiSquared());
}
