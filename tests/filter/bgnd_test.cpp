#include "dataprocessing/filter/bgnd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/bounds.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

/// The clipping as it is told, in extended precision.
std::vector<long double> clipped(std::vector<long double> y, int iterations,
                                 const bgnd_sOptions& options) {
    const bool counts = options.scale == bgnd_Counts;
    const auto f = [](long double v) { return std::log(std::log(std::sqrt(v + 1) + 1) + 1); };
    std::vector<long double> v;
    for (const long double value : y)
        v.push_back(!counts ? value : (value < 0 ? -1 : 1) * (f(std::fabs(value)) - f(0)));
    const int count = static_cast<int>(y.size());
    for (int step = 1; step <= iterations; ++step) {
        const int p = options.order == bgnd_Increasing ? step : iterations + 1 - step;
        std::vector<long double> next = v;
        for (int i = p; i < count - p; ++i) {
            const auto at = [&](int k) { return v[static_cast<std::size_t>(k)]; };
            next[static_cast<std::size_t>(i)] = std::min(at(i), (at(i - p) + at(i + p)) / 2);
        }
        v = next;
    }
    for (long double& value : v) {
        if (!counts)
            continue;
        const long double root = std::exp(std::exp(std::fabs(value) + f(0)) - 1) - 1;
        value = (value < 0 ? -1 : 1) * (root * root - 1);
    }
    return v;
}

darr_c1DArray spectrumOf(int count, std::mt19937& random) {
    std::vector<int> counts;
    for (int i = 0; i < count; ++i) {
        const double line = 4000 * std::exp(-std::pow((i - 150) / 4.0, 2));
        counts.push_back(std::poisson_distribution<int>(200 - 0.3 * i + line)(random));
    }
    return lineOf(counts, cal_c1DArrayCal(6.2, 0.01, 0));
}

} // namespace

TEST(Background, IsClippedAsToldForEveryType) {
    const double bound = statedBound("`bgnd_Snip`");
    std::mt19937 random(1);
    std::uniform_real_distribution<double> real(0, 120);
    forEachElementType([&]<class T>(int code) {
        if constexpr (std::is_arithmetic_v<T>)
            for (const int count : {1, 2, 3, 8, 9, 60})
                for (const int iterations : {0, 1, 2, 5, 29, 30, 100})
                    for (const auto order : {bgnd_Decreasing, bgnd_Increasing})
                        for (const auto scale : {bgnd_Counts, bgnd_Values}) {
                            SCOPED_TRACE(std::to_string(code) + ": " + std::to_string(count) +
                                         ", " + std::to_string(iterations) + ", " +
                                         std::to_string(order) + std::to_string(scale));
                            std::vector<T> elements;
                            for (int i = 0; i < count; ++i)
                                elements.push_back(
                                    static_cast<T>(real(random) - (std::is_signed_v<T> ? 30 : 0)));
                            const cal_c1DArrayCal cal(1, 0.5, 3);
                            const darr_c1DArray result =
                                bgnd_Snip(lineOf(elements, cal), iterations, {order, scale});
                            using Result = std::conditional_t<std::is_same_v<T, float>, T, double>;
                            ASSERT_EQ(result.DataType(), dtyp_Of<Result>());
                            ASSERT_EQ(result.Cal(), cal);
                            const auto found = elementsOf<Result>(result);
                            const auto wanted = clipped({elements.begin(), elements.end()},
                                                        iterations, {order, scale});
                            ASSERT_EQ(found.size(), wanted.size());
                            for (std::size_t i = 0; i < found.size(); ++i) {
                                ASSERT_NEAR(found[i], static_cast<double>(wanted[i]),
                                            120 * bound * 0x1p-52 +
                                                120 * std::numeric_limits<Result>::epsilon())
                                    << i;
                                ASSERT_LE(found[i], static_cast<Result>(elements[i])) << i;
                            }
                        }
    });
}

TEST(Background, IsWhatLiesUnderALine) {
    std::mt19937 random(2);
    const darr_c1DArray spectrum = spectrumOf(300, random);
    const auto background = elementsOf<double>(bgnd_Snip(spectrum, 16));
    for (int i = 20; i < 280; ++i)
        EXPECT_NEAR(background[static_cast<std::size_t>(i)], 200 - 0.3 * i, 40) << i;
}

TEST(Background, IsTheSpectrumWhereNothingIsClipped) {
    const std::vector<double> hollow = {100.25, 40.5, 10.125, 1e-9, 7, 50, 300};
    EXPECT_EQ(elementsOf<double>(bgnd_Snip(lineOf(hollow), 3, {bgnd_Decreasing, bgnd_Values})),
              hollow);
    const std::vector<double> steep = {1e12, 3, 0.1, 5, 1e14};
    EXPECT_EQ(elementsOf<double>(bgnd_Snip(lineOf(steep), 3)), steep);
    const std::vector<double> lines = {3, 50, 4};
    EXPECT_EQ(elementsOf<double>(bgnd_Snip(lineOf(lines), 0)), lines);
    const auto clippedOnce = elementsOf<double>(bgnd_Snip(lineOf(lines), 1));
    EXPECT_EQ(clippedOnce[0], 3);
    EXPECT_EQ(clippedOnce[2], 4);
    EXPECT_NEAR(clippedOnce[1], 3.48, 0.01);
}

TEST(Background, OfNegativeElementsIsClippedToo) {
    const auto found = elementsOf<double>(bgnd_Snip(lineOf<double>({-3, 50, -4, -9, -2, 6, 1}), 2));
    const auto wanted = clipped({-3, 50, -4, -9, -2, 6, 1}, 2, {});
    for (std::size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i], static_cast<double>(wanted[i]), 1e-12);
}

TEST(Background, LeavesNaNsWhereTheyAre) {
    const auto found =
        elementsOf<double>(bgnd_Snip(lineOf<double>({1, 9, notANumber, 9, 1, 9, 1}), 1));
    EXPECT_TRUE(std::isnan(found[2]));
    EXPECT_EQ(found[1], 9);
    EXPECT_EQ(found[3], 9);
    EXPECT_DOUBLE_EQ(found[5], 1);
}

TEST(Background, OfNothingIsNothing) {
    const darr_c1DArray result = bgnd_Snip(darr_c1DArray(0, dtyp_Int16, {1, 2, 3}), 9);
    EXPECT_EQ(result.Size(), 0);
    EXPECT_EQ(result.Cal(), cal_c1DArrayCal(1, 2, 3));
    EXPECT_EQ(elementsOf<double>(bgnd_Snip(lineOf<int>({5}), 2147483647)), std::vector<double>{5});
}

TEST(Background, RefusesWhatItCannotServe) {
    const darr_c1DArray line = lineOf<int>({1, 2, 3});
    EXPECT_EQ(refusalOf([&] { bgnd_Snip(line, -1); }), "bgnd:1");
    EXPECT_EQ(refusalOf([&] { bgnd_Snip(line, 1, {static_cast<bgnd_eOrder>(2)}); }), "bgnd:2");
    EXPECT_EQ(refusalOf([&] {
                  bgnd_Snip(line, 1, {bgnd_Increasing, static_cast<bgnd_eScale>(-1)});
              }),
              "bgnd:2");
    for (const auto type : {dtyp_ComplexFloat, dtyp_ComplexDouble})
        EXPECT_EQ(refusalOf([&] { bgnd_Snip(darr_c1DArray(3, type, {}), 1); }), "bgnd:3");
    EXPECT_EQ(refusalOf([&] { bgnd_Snip(darr_c1DArray(3, dtyp_cDataType(11), {}), 1); }), "conv:1");
}
