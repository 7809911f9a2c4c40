#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/fitting/pwft.h"
#include "dataprocessing/unary/unry.h"
#include "tests/failing_new.h"
#include "tests/fitting/listener.h"
#include "tests/support/constants.h"
#include "tests/support/refusal_expected.h"

namespace {

const ExpectRefusal expectRefusal("poly_fit");

/// A power law whose fit can be called with points of the test's own.
class PowerLaw : public pwft_cPowerLawFittingFunction {
public:
    using pwft_cPowerLawFittingFunction::pwft_cPowerLawFittingFunction;
    using pwft_cPowerLawFittingFunction::RefitValues;
};

struct Single {
    explicit Single(int order) : function(order, selection) {}
    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
    PowerLaw function;

    std::vector<double> curve(int count, const cal_c1DArrayCal& cal) const {
        arr_cC_Array<double> values(count, 77.0);
        function.Load(values, cal);
        return {values.begin(), values.end()};
    }
};

struct Multi {
    explicit Multi(int order = 1) : function(order, selection) {}
    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
    pwft_cMultiPowerLawFitFunc function;
};

std::vector<double> loaded(const pwft_cMultiPowerLawFitFunc& function, int count,
                           const cal_c1DArrayCal& cal) {
    arr_cC_Array<double> values(count, 77.0);
    function.Load(values, cal);
    return {values.begin(), values.end()};
}

double decay(double x) { return 3e6 * std::pow(x, -2); }

/// 3e6 x^-2 over `count` elements, and `excess` more over [200, 220).
darr_c1DArray spectrum(int count, const cal_c1DArrayCal& cal, double excess = 0) {
    std::vector<double> y;
    for (int i = 0; i < count; ++i) {
        const double x = cal.Position(i);
        y.push_back(decay(x) + (x >= 200 && x < 220 ? excess : 0.0));
    }
    return darr_c1DArray(std::span<const double>(y), cal);
}

} // namespace

TEST(PowerLaw, FindsThreeOverXSquared) {
    Single fit(1);
    fit.selection.AddLocalRange({10, 60});
    const cal_c1DArrayCal cal(2, 0.5, 0);
    std::vector<double> y;
    for (int i = 0; i < 200; ++i)
        y.push_back(3 * std::pow(cal.Position(i), -2));
    fit.function.Refit(darr_c1DArray(std::span<const double>(y), cal));
    EXPECT_NEAR(fit.function.Coefficients()[0], std::log(3.0), 1e-12);
    EXPECT_NEAR(fit.function.Coefficients()[1], -2, 1e-12);
    const std::vector<double> curve = fit.curve(200, cal);
    for (std::size_t i = 0; i < y.size(); ++i)
        EXPECT_NEAR(curve[i], y[i], 1e-11 * y[i]);
}

TEST(PowerLaw, HigherOrdersAddPowersOfTheLogarithm) {
    Single fit(2);
    arr_cC_Array<double> x(40), y(40);
    for (int i = 0; i < 40; ++i) {
        x[i] = 1 + i;
        const double u = std::log(x[i]);
        y[i] = std::exp(0.5 - u + 0.25 * u * u);
    }
    fit.function.RefitValues(x, y);
    EXPECT_NEAR(fit.function.Coefficients()[0], 0.5, 1e-11);
    EXPECT_NEAR(fit.function.Coefficients()[1], -1, 1e-11);
    EXPECT_NEAR(fit.function.Coefficients()[2], 0.25, 1e-11);
}

TEST(PowerLaw, QualityIsAlwaysZero) {
    Single fit(1);
    Multi multi;
    EXPECT_EQ(fit.function.ChiSquared(), 0);
    EXPECT_EQ(multi.function.ChiSquared(), 0);
    fit.function.RefitValues({1, 2, 3}, {5, 1, 9});
    multi.function.Refit(spectrum(10, cal_c1DArrayCal(1, 1, 0)));
    EXPECT_EQ(fit.function.ChiSquared(), 0);
    EXPECT_EQ(multi.function.ChiSquared(), 0);
}

TEST(PowerLaw, NegativeOrdersAreRefused) {
    expectRefusal(22, [] { Single fit(-1); });
    Multi multi(-1);
    expectRefusal(22, [&] { multi.function.AddPeak(1, 2, 3, 4, 5); });
    EXPECT_EQ(multi.function.PeakCount(), 0);
}

TEST(PowerLaw, IsFoundOfAnyNumberOfPoints) {
    for (const int count : {2, 511, 512, 513, 1025}) {
        arr_cC_Array<double> x(count), y(count);
        for (int i = 0; i < count; ++i) {
            x[i] = 1 + i / 8.0;
            y[i] = 3 / (x[i] * x[i]);
        }
        Single fit(1);
        fit.function.RefitValues(x, y);
        EXPECT_NEAR(fit.function.Coefficients()[0], std::log(3.0), 1e-12) << count;
        EXPECT_NEAR(fit.function.Coefficients()[1], -2, 1e-12) << count;
    }
}

TEST(PowerLaw, PointsOutsideTheLogarithmTakeNoPart) {
    const double least = type_MinValue, more = std::nextafter(type_MinValue, 1.0);
    const std::vector<std::pair<double, double>> dropped{
        {0, 5}, {-1, 5}, {5, 0}, {5, -1}, {least, 5}, {5, least}, {notANumber, 5}, {5, notANumber}};
    for (const auto& [px, py] : dropped) {
        Single fit(1);
        fit.function.RefitValues({2, px, 4, 8}, {3.0 / 4, py, 3.0 / 16, 3.0 / 64});
        EXPECT_NEAR(fit.function.Coefficients()[0], std::log(3.0), 1e-12) << px << " " << py;
        EXPECT_NEAR(fit.function.Coefficients()[1], -2, 1e-12);
    }
    Single fit(1);
    fit.function.RefitValues({1, std::exp(1.0)}, {more, 1});
    EXPECT_NEAR(fit.function.Coefficients()[0], std::log(type_MinValue), 1e-10);
    fit.function.RefitValues({more, 1}, {2, 2});
    EXPECT_NEAR(fit.function.Coefficients()[0], std::log(2.0), 1e-10);
}

/// A polynomial whose fit can be called with points of the test's own.
class Logarithms : public plft_c1DPolyFittingFunction {
public:
    using plft_c1DPolyFittingFunction::plft_c1DPolyFittingFunction;
    using plft_c1DPolyFittingFunction::RefitValues;
};

// Bit by bit, wherever the points that take no part lie among the others.
TEST(PowerLaw, IsThePolynomialOfLogarithmsTakenOneByOne) {
    std::mt19937 random(8);
    std::uniform_real_distribution<double> uniform(0.01, 100);
    for (const int count : {2, 3, 5, 511, 512, 513, 1025, 3000})
        for (const unsigned dropped : {0U, 3U}) {
            arr_cC_Array<double> x(count), y(count), deviations(count);
            std::vector<double> logX, logY, logDeviations;
            for (int i = 0; i < count; ++i) {
                x[i] = dropped != 0 && random() % dropped == 0 ? -uniform(random) : uniform(random);
                y[i] = dropped != 0 && random() % dropped == 0 ? 0.0 : uniform(random);
                deviations[i] = uniform(random);
                if (x[i] > 0 && y[i] > 0) {
                    logX.push_back(std::log(x[i]));
                    logY.push_back(std::log(y[i]));
                    logDeviations.push_back(deviations[i] / y[i]);
                }
            }
            if (logX.size() < 2)
                continue;
            Single fit(1);
            Logarithms expected(1, fit.selection);
            const arr_cC_Array<double> plainX{std::span<const double>(logX)};
            const arr_cC_Array<double> plainY{std::span<const double>(logY)};
            fit.function.RefitValues(x, y);
            expected.RefitValues(plainX, plainY);
            const auto compare = [&](const char* which) {
                for (int j = 0; j < 2; ++j) {
                    EXPECT_EQ(fit.function.Coefficients()[j], expected.Coefficients()[j])
                        << which << ' ' << count;
                    EXPECT_EQ(fit.function.Covariance()(j, j), expected.Covariance()(j, j))
                        << which << ' ' << count;
                }
            };
            if (logX.size() > 2)
                compare("unweighted");
            fit.function.RefitValues(x, y, deviations);
            expected.RefitValues(plainX, plainY,
                                 arr_cC_Array<double>(std::span<const double>(logDeviations)));
            compare("weighted");
        }
}

TEST(PowerLaw, TooFewPointsGiveAZeroCurve) {
    Single fit(1);
    fit.selection.AddLocalRange({0, 10});
    for (const double value : {0.0, -3.0}) {
        fit.function.RefitValues({2, 4, 8}, {1, 2, 3});
        fit.function.Refit(darr_c1DArray(10, value, cal_c1DArrayCal(1, 1, 0)));
        EXPECT_EQ(fit.function.Coefficients()[0], 0);
        EXPECT_EQ(fit.function.Coefficients()[1], 0);
        EXPECT_EQ(fit.curve(4, cal_c1DArrayCal(-1, 1, 0)), std::vector<double>(4, 0.0));
    }
    fit.function.RefitValues({2, 4}, {1, -2});
    EXPECT_EQ(fit.function.Coefficients()[0], 0);
}

TEST(PowerLaw, ZeroFitKeepsThePositions) {
    const Single fit(1);
    arr_cC_Array<double> x({-1, 0, 2}), y({5, 6, 7});
    fit.function.LoadValues(x, y);
    EXPECT_EQ(x[0], -1);
    ASSERT_EQ(y.Size(), 3);
    for (const double value : y)
        EXPECT_EQ(value, 0);
}

TEST(PowerLaw, CurveIsZeroUpToPositionZero) {
    Single fit(1);
    fit.function.RefitValues({2, 4, 8}, {3.0 / 4, 3.0 / 16, 3.0 / 64});
    const cal_c1DArrayCal cal(-1, 0.5, 0);
    const std::vector<double> curve = fit.curve(8, cal);
    for (int i = 0; i < 8; ++i) {
        const double x = cal.Position(i);
        const double expected = x > 0 ? 3 / (x * x) : 0;
        EXPECT_NEAR(curve[static_cast<std::size_t>(i)], expected, 1e-11 * expected);
    }
    EXPECT_EQ(fit.curve(3, cal_c1DArrayCal(-2, 1, 0)), std::vector<double>(3, 0.0));

    arr_cC_Array<double> x({-1, 2, type_MinValue, 4}), y(4);
    fit.function.LoadValues(x, y);
    ASSERT_EQ(x.Size(), 2);
    ASSERT_EQ(y.Size(), 2);
    EXPECT_NEAR(x[0], 2, 1e-14);
    EXPECT_NEAR(x[1], 4, 1e-14);
    EXPECT_NEAR(y[1], 3.0 / 16, 1e-12);
}

TEST(PowerLaw, ElementsAtZeroLieThereExactly) {
    // 0.01 added thirty times to -0.3 is 5.8e-16: the curve was 1e32 there.
    for (const cal_c1DArrayCal& cal :
         {cal_c1DArrayCal(-0.3, 0.01, 0), cal_c1DArrayCal(0.3, -0.01, 0),
          cal_c1DArrayCal(-0.1, 0.1, 0), cal_c1DArrayCal(-0.3 + 0.9e-8, 0.01, 0)}) {
        const int zero = cal.Index(0);
        std::vector<double> y;
        for (int i = 0; i < 100; ++i)
            y.push_back(i == zero ? 1e9 : 3 / (cal.Position(i) * cal.Position(i)));
        Single fit(1);
        const rnge_c1DRange all(-100, 100);
        fit.selection.AddLocalRange(all);
        fit.function.Refit(darr_c1DArray(std::span<const double>(y), cal));
        EXPECT_NEAR(fit.function.Coefficients()[0], std::log(3), 1e-6);
        EXPECT_NEAR(fit.function.Coefficients()[1], -2, 1e-6);
        fit.function.Refit(darr_c1DArray(std::span<const double>(y), cal),
                           darr_c1DArray(100, pnum_cNumber(1.0), cal));
        EXPECT_NEAR(fit.function.Coefficients()[1], -2, 1e-5);
        const std::vector<double> curve = fit.curve(100, cal);
        for (int i = 0; i < 100; ++i) {
            const double x = cal.Position(i);
            const double expected = i == zero || x <= 0 ? 0 : 3 / (x * x);
            ASSERT_NEAR(curve[static_cast<std::size_t>(i)], expected, 1e-5 * expected) << i;
        }
    }
    // Steps away from zero, an element is where it is.
    Single fit(1);
    fit.function.RefitValues({2, 4, 8}, {3.0 / 4, 3.0 / 16, 3.0 / 64});
    EXPECT_NEAR(fit.curve(1, cal_c1DArrayCal(1e-7, 0.01, 0))[0], 3e14, 1e4);
    EXPECT_EQ(fit.curve(1, cal_c1DArrayCal(0.9e-8, 0.01, 0))[0], 0);
    EXPECT_NEAR(fit.curve(1, cal_c1DArrayCal(0.9e-8, -0.001, 0))[0], 3 / (0.9e-8 * 0.9e-8), 1e6);
}

TEST(PowerLaw, ConstantsAreCurvesToo) {
    Single fit(0);
    fit.function.RefitValues({2, 4, 8}, {2, 4, 8});
    for (const double value : fit.curve(3, cal_c1DArrayCal(1, 1, 0)))
        EXPECT_NEAR(value, 4, 1e-13);
}

TEST(PowerLaw, PointsComeInPairs) {
    Single fit(1);
    expectRefusal(72, [&] { fit.function.RefitValues({1, 2}, {1}); });
    expectRefusal(105, [&] { fit.function.RefitValues({1, 1, 1}, {1, 2, 3}); });
    fit.function.RefitValues({2, 4, 8}, {1, 2, 4});
    arr_cC_Array<double> one(1, 1.0), two(2, 1.0);
    expectRefusal(44, [&] { fit.function.LoadValues(one, two); });
}

TEST(PowerLaw, FailedFitKeepsTheLastOne) {
    Single fit(1);
    fit.function.RefitValues({2, 4, 8}, {3.0 / 4, 3.0 / 16, 3.0 / 64});
    const double before = fit.function.Coefficients()[0];
    EXPECT_THROW(fit.function.RefitValues({1, 1, 1}, {1, 2, 3}), expt_cProgramException);
    EXPECT_EQ(fit.function.Coefficients()[0], before);
}

TEST(PowerLaw, CopiesHaveTheCoefficients) {
    Single fit(1);
    fit.function.RefitValues({2, 4, 8}, {3.0 / 4, 3.0 / 16, 3.0 / 64});
    fit.function.SetName("tail");
    const PowerLaw copy(fit.function);
    dasl_c1DDataArraySelection other(rnge_IndexNearest);
    pwft_cPowerLawFittingFunction moved(fit.function, other);
    fit.function.RefitValues({2, 4, 8}, {1, 1, 1});
    EXPECT_NEAR(copy.Coefficients()[1], -2, 1e-12);
    EXPECT_NEAR(moved.Coefficients()[1], -2, 1e-12);
    EXPECT_EQ(moved.Name(), "tail");
    Listener listener(moved);
    other.AddLocalRange({1, 2});
    EXPECT_EQ(listener.take(), std::vector<unsigned long>{ftfn_FunctionChanged});
}

TEST(PowerLaw, ErrorsAreThoseOfTheLogarithms) {
    // A line through (ln x, ln y), by the closed form.
    std::mt19937 random(6);
    std::uniform_real_distribution<double> uniform(0.5, 2);
    for (const bool isWeighted : {false, true}) {
        Single fit(1);
        arr_cC_Array<double> x(42), y(42), deviations(42);
        long double s = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
        for (int i = 0; i < 42; ++i) {
            x[i] = i < 2 ? -1.0 * i : 2 + i; // two take no part
            y[i] = 50 * std::pow(x[i] < 1 ? 1 : x[i], -1.5) * uniform(random);
            deviations[i] = y[i] * uniform(random) * 0.1;
            if (i < 2)
                continue;
            const long double weight =
                isWeighted ? std::pow(static_cast<long double>(y[i]) / deviations[i], 2) : 1;
            const long double u = std::log(static_cast<long double>(x[i]));
            const long double v = std::log(static_cast<long double>(y[i]));
            s += weight;
            sx += weight * u;
            sy += weight * v;
            sxx += weight * u * u;
            sxy += weight * u * v;
        }
        isWeighted ? fit.function.RefitValues(x, y, deviations) : fit.function.RefitValues(x, y);
        const long double determinant = s * sxx - sx * sx;
        const long double c1 = (s * sxy - sx * sy) / determinant;
        const long double c0 = (sy - c1 * sx) / s;
        EXPECT_NEAR(fit.function.Coefficients()[0], static_cast<double>(c0), 1e-12);
        EXPECT_NEAR(fit.function.Coefficients()[1], static_cast<double>(c1), 1e-12);
        EXPECT_EQ(fit.function.Rank(), 2);
        EXPECT_EQ(fit.function.DegreesOfFreedom(), 38);
        const double variance = isWeighted ? 1 : fit.function.ResidualSum() / 38;
        const auto error0 = static_cast<double>(std::sqrt(variance * sxx / determinant));
        const auto error1 = static_cast<double>(std::sqrt(variance * s / determinant));
        EXPECT_NEAR(fit.function.StandardErrors()[0], error0, 1e-11 * error0);
        EXPECT_NEAR(fit.function.StandardErrors()[1], error1, 1e-11 * error1);
    }
}

TEST(PowerLaw, WeighedFitRefusesWhatItCannotUse) {
    Single fit(1);
    fit.function.RefitValues({2, 4, 8}, {3, 2, 1});
    const double before = fit.function.Coefficients()[0];
    EXPECT_THROW(fit.function.RefitValues({1, 2, 4}, {1, 2, 3}, {1, 0, 1}), expt_cUserException);
    EXPECT_THROW(fit.function.RefitValues({1, 2, 4}, {1, -2, 0}, {1, 1, 1}), expt_cUserException)
        << "one point is left";
    expectRefusal(72, [&] { fit.function.RefitValues({1, 2}, {1}, {1}); });
    EXPECT_EQ(fit.function.Coefficients()[0], before);
    const cal_c1DArrayCal cal(100, 1, 0);
    fit.selection.AddLocalRange({0, 1000});
    const darr_c1DArray data = spectrum(50, cal);
    fit.function.Refit(data, sqrt(data));
    EXPECT_NEAR(fit.function.Coefficients()[1], -2, 1e-12);
}

TEST(MultiPowerLaw, IntensityHasTheErrorOfCountsAndBackground) {
    // By differences: the intensity follows from the data, each of which varies on its own.
    std::mt19937 random(9);
    for (const double delta : {1.0, 0.5}) {
        const cal_c1DArrayCal cal(100, delta, 0);
        std::vector<double> y;
        for (int i = 0; i < 300; ++i)
            y.push_back(std::poisson_distribution<>(decay(cal.Position(i)) + 10)(random) + 1);
        Multi multi;
        multi.function.AddPeak(200, 5, 40, 0, 20);
        multi.function.Refit(darr_c1DArray(std::span<const double>(y), cal));
        const pwft_cPowerLawFittingFunction& law = multi.function.PowerLaw(0);
        long double counted = 0;
        long double slope[2] = {};
        for (int i = 0; i < 300; ++i) {
            const double x = cal.Position(i);
            if (x < 200 || x >= 220)
                continue;
            counted += y[static_cast<std::size_t>(i)];
            const long double value =
                std::exp(law.Coefficients()[0] + law.Coefficients()[1] * std::log(x));
            slope[0] += value;
            slope[1] += value * std::log(static_cast<long double>(x));
        }
        for (int i = 0; i < 2; ++i)
            for (int j = 0; j < 2; ++j)
                counted += slope[i] * law.Covariance()(i, j) * slope[j];
        const double expected = delta * std::sqrt(static_cast<double>(counted));
        EXPECT_NEAR(multi.function.PeakIntensityError(200), expected, 1e-8 * expected);
        EXPECT_EQ(multi.function.PeakIntensityError(201), 0);
        // A second background over half of the window is taken away there, too.
        multi.function.AddPeak(210, 15, 40, 0, 30);
        multi.function.Refit(darr_c1DArray(std::span<const double>(y), cal));
        EXPECT_GT(multi.function.PeakIntensityError(200), expected);
    }
}

TEST(MultiPowerLaw, DeviationsWeighTheBackgroundsAndMakeTheErrors) {
    std::mt19937 random(19);
    const cal_c1DArrayCal cal(100, 0.5, 0);
    std::vector<double> y, s;
    for (int i = 0; i < 300; ++i) {
        y.push_back(std::poisson_distribution<>(decay(cal.Position(i)) + 10)(random) + 1);
        s.push_back(2 + i % 7);
    }
    const darr_c1DArray data(std::span<const double>(y), cal);
    const darr_c1DArray deviations(std::span<const double>(s), cal);
    Multi multi;
    multi.function.AddPeak(200, 5, 40, 0, 20);
    multi.function.Refit(data, deviations);
    Single alone(1);
    alone.selection.AddLocalRange({155, 195});
    alone.function.Refit(data, deviations);
    EXPECT_EQ(multi.function.Coefficients(0)[0], alone.function.Coefficients()[0]);
    EXPECT_EQ(multi.function.Coefficients(0)[1], alone.function.Coefficients()[1]);

    double variance = 0;
    double slope[2] = {};
    for (int i = 200; i < 240; ++i) {
        const double x = cal.Position(i);
        variance += s[static_cast<std::size_t>(i)] * s[static_cast<std::size_t>(i)];
        const double value = std::exp(multi.function.Coefficients(0)[0] +
                                      multi.function.Coefficients(0)[1] * std::log(x));
        slope[0] += value;
        slope[1] += value * std::log(x);
    }
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j)
            variance += slope[i] * multi.function.PowerLaw(0).Covariance()(i, j) * slope[j];
    EXPECT_NEAR(multi.function.PeakIntensityError(200), 0.5 * std::sqrt(variance), 1e-6);

    // Refused ones change nothing; without deviations it is counts again.
    const double before = multi.function.PeakIntensityError(200);
    EXPECT_THROW(multi.function.Refit(data, darr_c1DArray(299, pnum_cNumber(1.0), cal)),
                 arr_cSizeException);
    EXPECT_THROW(multi.function.Refit(data, darr_c1DArray(300, pnum_cNumber(1.0), {})),
                 expt_cProgramException);
    EXPECT_THROW(multi.function.Refit(data, darr_c1DArray(300, pnum_cNumber(0.0), cal)),
                 expt_cUserException);
    EXPECT_EQ(multi.function.PeakIntensityError(200), before);
    Multi none;
    EXPECT_THROW(none.function.Refit(data, darr_c1DArray(299, pnum_cNumber(1.0), cal)),
                 arr_cSizeException);
    multi.function.Refit(data);
    Multi counted;
    counted.function.AddPeak(200, 5, 40, 0, 20);
    counted.function.Refit(data);
    EXPECT_EQ(multi.function.PeakIntensityError(200), counted.function.PeakIntensityError(200));
}

TEST(MultiPowerLaw, SpreadOfIntensitiesIsThatOfTheirErrors) {
    std::mt19937 random(10);
    const cal_c1DArrayCal cal(100, 1, 0);
    double squares = 0;
    constexpr int rounds = 600;
    for (int round = 0; round < rounds; ++round) {
        std::vector<double> y;
        for (int i = 0; i < 130; ++i) {
            const double x = cal.Position(i);
            y.push_back(std::poisson_distribution<>(1e8 * std::pow(x, -2) +
                                                    (x >= 200 && x < 220 ? 300 : 0))(random));
        }
        Multi multi;
        multi.function.AddPeak(200, 5, 60, 0, 20);
        multi.function.Refit(darr_c1DArray(std::span<const double>(y), cal));
        squares += std::pow(
            (multi.function.PeakIntensity(200) - 6000) / multi.function.PeakIntensityError(200), 2);
    }
    EXPECT_NEAR(std::sqrt(squares / rounds), 1, 0.12);
}

TEST(MultiPowerLaw, IntensityErrorHasTheLimitsOfTheIntensity) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    Multi multi;
    multi.function.AddPeak(150, 5, 40, 10, 20);
    EXPECT_EQ(multi.function.PeakIntensityError(150), 0) << "before a fit";
    multi.function.AddPeak(200, 5, 50, -inf, inf); // the end is not a number
    multi.function.AddPeak(210, 5, 50, -3e9, 6e9);
    multi.function.AddPeak(220, 5, 50, 0, -inf);
    multi.function.AddPeak(230, 15, 50, 60, 20); // [290, 310), data up to 300
    multi.function.AddPeak(400, 5, 50, 0, 10);   // nothing is fitted there
    multi.function.AddPeak(500, 5, 50, notANumber, 10);
    multi.function.AddPeak(290, 5, 2, 200, 10); // two points for two coefficients
    multi.function.Refit(spectrum(200, cal_c1DArrayCal(100, 1, 0)));
    EXPECT_THROW(multi.function.PeakIntensityError(200), arr_cIndexException);
    EXPECT_THROW(multi.function.PeakIntensityError(500), arr_cIndexException);
    EXPECT_TRUE(std::isnan(multi.function.PeakIntensityError(290)));
    EXPECT_THROW(multi.function.PeakIntensityError(210), arr_cSizeException);
    EXPECT_EQ(multi.function.PeakIntensityError(220), 0);
    EXPECT_NEAR(multi.function.PeakIntensityError(400), 0, 1e-9);
    double counted = 0;
    for (int x = 290; x < 300; ++x)
        counted += decay(x);
    EXPECT_NEAR(multi.function.PeakIntensityError(230), std::sqrt(counted), 1e-6);
}

TEST(MultiPowerLaw, IntensityErrorOfALongWindowTakesLittleMemory) {
    const cal_c1DArrayCal cal(100, 1, 0);
    std::vector<double> y;
    for (int i = 0; i < 200; ++i)
        y.push_back(decay(cal.Position(i)) + 3 * std::sin(37.0 * i * i));
    Multi multi;
    constexpr int length = 300000;
    multi.function.AddPeak(200, 5, 40, 0, length);
    multi.function.Refit(darr_c1DArray(std::span<const double>(y), cal));

    const pwft_cPowerLawFittingFunction& law = multi.function.PowerLaw(0);
    const auto c = [&](int j) { return static_cast<long double>(law.Coefficients()[j]); };
    long double variance = 0;
    long double slope[2] = {};
    for (int x = 200; x < 200 + length; ++x) {
        variance += x < 300 ? y[static_cast<std::size_t>(x - 100)] : 0;
        const long double log = std::log(static_cast<long double>(x));
        const long double value = std::exp(c(0) + c(1) * log);
        slope[0] += value;
        slope[1] += value * log;
    }
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j)
            variance += slope[i] * law.Covariance()(i, j) * slope[j];
    const double expected = static_cast<double>(std::sqrt(variance));

    const PeakOfNew peak;
    const double error = multi.function.PeakIntensityError(200);
    EXPECT_LT(peak.Bytes(), 20000U);
    EXPECT_NEAR(error, expected, 1e-9 * expected);
}

TEST(MultiPowerLaw, ZeroBackgroundHasNoErrorEvenBelowZero) {
    // y = 1 has the logarithm 0, which is the fit that is zero everywhere.
    Multi multi;
    multi.function.AddPeak(40, 5, 20, -60, 70);
    darr_c1DArray data(100, 1.0, cal_c1DArrayCal(-50, 1, 0));
    multi.function.Refit(data);
    EXPECT_EQ(multi.function.PowerLaw(0).Rank(), 2);
    EXPECT_DOUBLE_EQ(multi.function.PeakIntensityError(40), std::sqrt(70.0));
    // What is left of counts after a subtraction varies by its magnitude.
    for (int i = 30; i < 50; ++i)
        data.SetNumber(i, -3);
    multi.function.Refit(data);
    EXPECT_DOUBLE_EQ(multi.function.PeakIntensityError(40), std::sqrt(20 * 3 + 50.0));
}

TEST(MultiPowerLaw, PowerLawOfEachPeakIsThere) {
    Multi multi;
    multi.function.AddPeak(200, 5, 50, 0, 20);
    EXPECT_EQ(multi.function.PowerLaw(0).Rank(), 0);
    multi.function.Refit(spectrum(200, cal_c1DArrayCal(100, 1, 0)));
    EXPECT_EQ(multi.function.PowerLaw(0).Rank(), 2);
    EXPECT_EQ(multi.function.PowerLaw(0).DegreesOfFreedom(), 48);
    EXPECT_THROW(multi.function.PowerLaw(1), arr_cIndexException);
    EXPECT_THROW(multi.function.PowerLaw(-1), arr_cIndexException);
}

TEST(MultiPowerLaw, IsZeroBeforeTheFirstFit) {
    Multi multi;
    multi.function.AddPeak(200, 5, 50, 0, 20);
    EXPECT_EQ(loaded(multi.function, 5, cal_c1DArrayCal(198, 1, 0)), std::vector<double>(5, 0.0));
    EXPECT_EQ(multi.function.PeakIntensity(200), 0);
}

TEST(MultiPowerLaw, BackgroundGoesInsideTheWindowsOnly) {
    const cal_c1DArrayCal cal(100, 1, 0);
    const darr_c1DArray data = spectrum(300, cal, 50);
    Multi multi;
    multi.function.AddPeak(200, 5, 50, 0, 20);
    multi.function.Refit(data);
    EXPECT_NEAR(multi.function.Coefficients(0)[0], std::log(3e6), 1e-9);
    EXPECT_NEAR(multi.function.Coefficients(0)[1], -2, 1e-10);
    const std::vector<double> signal = loaded(multi.function, 300, cal);
    for (int i = 0; i < 300; ++i) {
        const double x = cal.Position(i);
        EXPECT_NEAR(signal[static_cast<std::size_t>(i)], x >= 200 && x < 220 ? 50 : decay(x), 1e-8)
            << x;
    }
}

TEST(MultiPowerLaw, WindowsOfAxesThatRunDownwardAreSeenToo) {
    const cal_c1DArrayCal cal(399, -1, 0);
    Multi multi;
    multi.function.AddPeak(199.5, 5, 50, 0, 20); // ends between elements
    multi.function.Refit(spectrum(300, cal, 50));
    EXPECT_NEAR(multi.function.Coefficients(0)[1], -2, 1e-10);
    const std::vector<double> signal = loaded(multi.function, 300, cal);
    for (int i = 0; i < 300; ++i) {
        const double x = cal.Position(i);
        EXPECT_NEAR(signal[static_cast<std::size_t>(i)], x >= 200 && x < 220 ? 50 : decay(x), 1e-8)
            << x;
    }
    EXPECT_NEAR(multi.function.PeakIntensity(199.5), -50 * 20, 1e-6); // times delta
    arr_cC_Array<double> upward(10, 3.0);
    EXPECT_THROW(multi.function.Load(upward, cal_c1DArrayCal(200, 1, 0)), expt_cProgramException);
    EXPECT_EQ(upward[9], 3.0);
}

TEST(MultiPowerLaw, IntensityIsTheAreaAboveTheBackground) {
    for (const double delta : {1.0, 0.5}) {
        const cal_c1DArrayCal cal(100, delta, 7);
        Multi multi;
        multi.function.AddPeak(210, 15, 50, -10, 20);
        multi.function.Refit(spectrum(600, cal, 50));
        EXPECT_NEAR(multi.function.PeakIntensity(210), 50 * 20, 1e-6);
        EXPECT_EQ(multi.function.PeakIntensity(std::nextafter(210.0, 300.0)), 0);
        EXPECT_EQ(multi.function.PeakIntensity(notANumber), 0);
        multi.function.ClearPeaks();
        EXPECT_EQ(multi.function.PeakIntensity(210), 0);
    }
}

TEST(MultiPowerLaw, WindowsEndWhereTheDataEnd) {
    const cal_c1DArrayCal cal(100, 1, 0);
    struct Row {
        double offset, width, atLeast, below; // positions where the background goes
    };
    const std::vector<Row> rows{{0, 1000, 200, 300}, {-150, 160, 100, 210}, {100, 10, 0, 0},
                                {99, 10, 299, 300},  {-110, 10, 0, 0},      {-109, 10, 100, 101},
                                {0, 0, 0, 0},        {0, -20, 0, 0},        {0.4, 1, 200, 201},
                                {0.6, 1, 201, 202}};
    for (const Row& row : rows) {
        Multi multi;
        multi.function.AddPeak(200, 5, 50, row.offset, row.width);
        multi.function.Refit(spectrum(200, cal));
        const std::vector<double> signal = loaded(multi.function, 200, cal);
        for (int i = 0; i < 200; ++i) {
            const double x = cal.Position(i);
            EXPECT_NEAR(signal[static_cast<std::size_t>(i)],
                        x >= row.atLeast && x < row.below ? 0 : decay(x), 1e-8)
                << row.offset << " " << row.width << " " << x;
        }
    }
}

TEST(MultiPowerLaw, BeyondTheDataTheBackgroundAloneIsTakenAway) {
    const cal_c1DArrayCal cal(100, 1, 0);
    Multi multi;
    multi.function.AddPeak(200, 5, 50, 90, 20); // [290, 310), data up to 300
    multi.function.Refit(spectrum(200, cal));
    double missing = 0;
    for (int x = 300; x < 310; ++x)
        missing += decay(x);
    EXPECT_NEAR(multi.function.PeakIntensity(200), -missing, 1e-7);
    const std::vector<double> signal = loaded(multi.function, 30, cal_c1DArrayCal(285, 1, 0));
    for (int i = 0; i < 30; ++i) {
        const int x = 285 + i;
        EXPECT_NEAR(signal[static_cast<std::size_t>(i)],
                    x < 290   ? decay(x)
                    : x < 300 ? 0
                    : x < 310 ? -decay(x)
                              : 0,
                    1e-8);
    }
    // In front of the data nothing is there either.
    const std::vector<double> front = loaded(multi.function, 4, cal_c1DArrayCal(98, 1, 0));
    EXPECT_EQ(front[1], 0);
    EXPECT_EQ(front[2], decay(100));
    EXPECT_EQ(loaded(multi.function, 3, cal_c1DArrayCal(-1e9, 1, 0)), std::vector<double>(3, 0.0));
    EXPECT_EQ(loaded(multi.function, 3, cal_c1DArrayCal(1e300, 1, 0)), std::vector<double>(3, 0.0));
    EXPECT_EQ(loaded(multi.function, 0, cal), std::vector<double>());
}

TEST(MultiPowerLaw, IntensityNeedsAWindowThatAnArrayCanHold) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    Multi multi;
    multi.function.AddPeak(200, 5, 50, -inf, inf); // the end is not a number
    multi.function.AddPeak(210, 5, 50, -3e9, 6e9);
    multi.function.AddPeak(220, 5, 50, 0, -inf);
    EXPECT_THROW(multi.function.PeakIntensity(200), arr_cIndexException);
    EXPECT_THROW(multi.function.PeakIntensity(210), arr_cSizeException);
    EXPECT_EQ(multi.function.PeakIntensity(220), 0);
}

TEST(MultiPowerLaw, OtherDeltasAreResampled) {
    Multi multi;
    std::vector<double> y;
    for (int i = 0; i < 50; ++i)
        y.push_back(i);
    multi.function.Refit(darr_c1DArray(std::span<const double>(y), cal_c1DArrayCal(100, 1, 0)));
    const std::vector<double> finer = loaded(multi.function, 6, cal_c1DArrayCal(110, 0.5, 0));
    EXPECT_EQ(finer, (std::vector<double>{10, 10.5, 11, 11.5, 12, 12.5}));
    arr_cC_Array<double> values(3, 8.0);
    EXPECT_THROW(multi.function.Load(values, cal_c1DArrayCal(0, -1, 0)), expt_cProgramException);
    EXPECT_EQ(values[0], 8);
    EXPECT_EQ(values.Size(), 3);
}

TEST(MultiPowerLaw, CurveIsWrittenIntoTheStorageOfTheCaller) {
    Multi multi;
    multi.function.Refit(spectrum(50, cal_c1DArrayCal(100, 1, 0)));
    arr_cC_Array<double> values(6, 9.0);
    const double* const storage = values.Data();
    multi.function.Load(values, cal_c1DArrayCal(110, 1, 0));
    EXPECT_EQ(values.Data(), storage);
    EXPECT_EQ(values[0], decay(110));
}

TEST(MultiPowerLaw, PeaksAreSortedAndEqualOnesKeepTheirOrder) {
    // Which peak is where shows in the coefficients: each background is a constant of its own.
    std::vector<double> y;
    for (int i = 0; i < 100; ++i)
        y.push_back(1 + i / 10);
    const darr_c1DArray data{std::span<const double>(y)};
    Multi multi(0);
    multi.function.AddPeak(60, 5, 5, 0, 1);     // [50, 55): 6
    multi.function.AddPeak(30, 5, 5, 0, 1);     // [20, 25): 3
    multi.function.AddPeak(60, 25, 5, 0, 2);    // [30, 35): 4
    multi.function.AddPeak(90, 5, 5, 0, 1);     // [80, 85): 9
    multi.function.AddPeak(60, 45, 5, 0, 1);    // [10, 15): 2
    multi.function.AddPeak(-60, -65, -5, 0, 1); // [10, 5): nothing
    multi.function.Refit(data);
    ASSERT_EQ(multi.function.PeakCount(), 6);
    const std::vector<double> expected{1, 3, 6, 4, 2, 9};
    for (int k = 0; k < 6; ++k)
        EXPECT_NEAR(std::exp(multi.function.Coefficients(k)[0]),
                    expected[static_cast<std::size_t>(k)], 1e-12);
    EXPECT_THROW(multi.function.Coefficients(6), arr_cIndexException);
    EXPECT_THROW(multi.function.Coefficients(-1), arr_cIndexException);
    // Of equal ones the first answers, with all of their backgrounds taken away: 7 - 6 - 4 - 2.
    EXPECT_NEAR(multi.function.PeakIntensity(60), 7 - 12, 1e-11);
}

TEST(MultiPowerLaw, EndsOfRangesTakeTheNearestElements) {
    std::vector<double> y;
    for (int i = 0; i < 40; ++i)
        y.push_back(i + 1);
    const darr_c1DArray data{std::span<const double>(y)};
    Multi multi(0);
    multi.function.AddPeak(20, 8.4, 1, 0.6, 2); // [10.6, 11.6): 12; [20.6, 22.6): 22, 23
    pwft_cMultiPowerLawFitFunc copy(multi.function);
    for (pwft_cMultiPowerLawFitFunc* function : {&multi.function, &copy}) {
        function->Refit(data);
        EXPECT_NEAR(std::exp(function->Coefficients(0)[0]), 12, 1e-12);
        EXPECT_NEAR(function->PeakIntensity(20), 22 + 23 - 2 * 12, 1e-11);
    }
}

TEST(MultiPowerLaw, CopiesHavePeaksOfTheirOwn) {
    const cal_c1DArrayCal cal(100, 1, 0);
    auto original = std::make_unique<Multi>();
    original->function.AddPeak(200, 5, 50, 0, 20);
    original->function.Refit(spectrum(300, cal, 50));
    original->function.SetName("background");
    dasl_c1DDataArraySelection& selection = original->selection;
    pwft_cMultiPowerLawFitFunc copy(original->function);
    EXPECT_EQ(copy.Order(), 1);
    EXPECT_EQ(copy.Name(), "background");
    EXPECT_NE(&copy.Coefficients(0), &original->function.Coefficients(0));
    original->function.ClearPeaks();
    EXPECT_EQ(original->function.PeakCount(), 0);
    EXPECT_NEAR(copy.PeakIntensity(200), 1000, 1e-6);
    copy.Refit(spectrum(300, cal, 20));
    EXPECT_NEAR(copy.PeakIntensity(200), 400, 1e-6);

    Listener ofOriginal(original->function), ofCopy(copy);
    selection.AddLocalRange({0, 1});
    EXPECT_EQ(ofOriginal.take(), std::vector<unsigned long>{ftfn_FunctionChanged});
    EXPECT_TRUE(ofCopy.take().empty());
}

TEST(MultiPowerLaw, FailedFitChangesNoPeak) {
    const cal_c1DArrayCal cal(1, 1, 0);
    Multi multi(0);
    multi.function.AddPeak(20, 5, 10, 0, 5);
    multi.function.AddPeak(30, 28, 1, 0, 5); // fitted at position 1 alone
    std::vector<double> y(100, 6.0);
    y[0] = -1;
    multi.function.Refit(darr_c1DArray(std::span<const double>(y), cal));
    const std::vector<double> before = loaded(multi.function, 100, cal);
    EXPECT_NEAR(before[20], 0, 1e-12);
    const darr_c1DArray refused(100, 2.0, cal);
    expectRefusal(105, [&] { multi.function.Refit(refused); });
    EXPECT_EQ(loaded(multi.function, 100, cal), before);
}

TEST(MultiPowerLaw, RunningOutOfMemoryChangesNothing) {
    const cal_c1DArrayCal cal(100, 1, 0);
    const darr_c1DArray first = spectrum(200, cal, 10), second = spectrum(200, cal, 90);
    Multi multi;
    multi.function.AddPeak(200, 5, 50, 0, 20);
    multi.function.AddPeak(250, 5, 20, 0, 20);
    multi.function.Refit(first);
    const std::vector<double> before = loaded(multi.function, 200, cal);
    const auto withLittleMemory = [&](const auto& act) {
        for (long allowed = 0;; ++allowed) {
            try {
                const FailingNew failing(allowed);
                act();
                return;
            } catch (const std::bad_alloc&) {
            }
            EXPECT_EQ(loaded(multi.function, 200, cal), before);
            EXPECT_EQ(multi.function.PeakCount(), 2);
            ASSERT_LT(allowed, 1000);
        }
    };
    withLittleMemory([&] { multi.function.AddPeak(230, 5, 50, 0, 20); });
    EXPECT_EQ(multi.function.PeakCount(), 3);
    multi.function.ClearPeaks();
    multi.function.AddPeak(200, 5, 50, 0, 20);
    multi.function.AddPeak(250, 5, 20, 0, 20);
    multi.function.Refit(first);
    withLittleMemory([&] { pwft_cMultiPowerLawFitFunc copy(multi.function); });
    arr_cC_Array<double> values(7, 4.0);
    withLittleMemory([&] {
        EXPECT_EQ(values.Size(), 7);
        EXPECT_EQ(values[6], 4);
        multi.function.Load(values, cal_c1DArrayCal(200, 0.5, 0));
    });
    withLittleMemory([&] { multi.function.Refit(second); });
    EXPECT_NEAR(multi.function.PeakIntensity(200), 1800, 1e-6);
}

TEST(MultiPowerLaw, TakesIntegers) {
    std::vector<unsigned short> counts;
    for (int i = 0; i < 200; ++i)
        counts.push_back(static_cast<unsigned short>(decay(100 + i) + 0.5));
    Multi multi;
    multi.function.AddPeak(200, 5, 50, 0, 20);
    multi.function.Refit(
        darr_c1DArray(std::span<const unsigned short>(counts), cal_c1DArrayCal(100, 1, 0)));
    EXPECT_NEAR(multi.function.PeakIntensity(200), 0, 20);
    EXPECT_NEAR(multi.function.Coefficients(0)[1], -2, 0.02);
}
