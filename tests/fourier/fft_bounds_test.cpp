// How far transforms may be from the defining sums, as the guide states it.

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/fourier/four.h"
#include "tests/fourier/fft_oracle.h"
#include "tests/support/bounds.h"

using oracle::Exact;

namespace {

constexpr double singleEpsilon = 0x1p-23;

struct sContent {
    std::string name;
    std::function<float(int, int)> At; ///< element and count
};

/// What the errors of transforms are small for, and what they are large for.
std::vector<sContent> contents() {
    const auto random = std::make_shared<std::mt19937>(5);
    return {{"noise",
             [random](int, int) { return std::uniform_real_distribution<float>(-1, 1)(*random); }},
            {"tone",
             [](int i, int count) { return static_cast<float>(std::cos(2.1 * i + 7.0 / count)); }},
            {"constant", [](int, int) { return 0.1F; }},
            {"ramp",
             [](int i, int count) { return static_cast<float>(i) / static_cast<float>(count); }},
            {"noise beside an offset", [random](int, int) {
                 return 1000 + std::uniform_real_distribution<float>(-1, 1)(*random);
             }}};
}

std::vector<float> valuesOf(const sContent& content, int count) {
    std::vector<float> values;
    values.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        values.push_back(content.At(i, count));
    return values;
}

/// The error in root mean square over that of what is expected, and the largest one over the sum of
/// the magnitudes of what was transformed, times the transform's factor.
struct sErrors {
    sErrors(const std::vector<Exact>& found, const std::vector<Exact>& wanted,
            const std::vector<Exact>& transformed, long double factor) {
        EXPECT_EQ(found.size(), wanted.size());
        long double squares = 0, all = 0, largest = 0, magnitudes = 0;
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            squares += std::norm(found[i] - wanted[i]);
            all += std::norm(wanted[i]);
            largest = std::max(largest, std::abs(found[i] - wanted[i]));
            magnitudes += std::abs(transformed[i]);
        }
        rootMeanSquare = static_cast<double>(std::sqrt(squares / all));
        ofEach = static_cast<double>(largest / (magnitudes * factor));
    }
    double rootMeanSquare = 0;
    double ofEach = 0;
};

} // namespace

TEST(FftBounds, OfLinesAreThoseOfTheGuide) {
    const double whole = statedBound("transforms of lines");
    const double each = statedBound("each element of transforms of lines");
    for (int count = 2; count <= 2048; count *= 4)
        for (const sContent& content : contents()) {
            SCOPED_TRACE(content.name + ", " + std::to_string(count));
            const std::vector<float> values = valuesOf(content, count);
            const std::vector<Exact> x = oracle::exact(values);
            const long double factor = 1.0L / count;
            std::vector<Exact> forward = oracle::scaled(oracle::sum(x, 1), factor);
            std::rotate(forward.begin(), forward.begin() + count / 2, forward.end());
            const double logarithm = std::log2(count) * singleEpsilon;
            for (const sErrors& errors :
                 {sErrors(exactOf(four_FFT(lineOf(values))), forward, x, factor),
                  sErrors(exactOf(four_IFFT(lineOf(values))), oracle::sum(x, -1), x, 1)}) {
                EXPECT_LE(errors.rootMeanSquare, whole * logarithm);
                EXPECT_LE(errors.ofEach, each * logarithm);
            }
        }
}

TEST(FftBounds, OfRealImagesAreThoseOfTheGuide) {
    const double whole = statedBound("transforms of real images");
    const double each = statedBound("each element of transforms of real images");
    const int sizes[][2] = {{4, 2}, {4, 4}, {8, 32}, {64, 64}, {128, 16}};
    for (const auto& [w, h] : sizes)
        for (const sContent& content : contents()) {
            SCOPED_TRACE(content.name + ", " + std::to_string(w) + " by " + std::to_string(h));
            const darr_c2DArray image(w, h, std::span<const float>(valuesOf(content, w * h)));
            const std::vector<Exact> x = oracle::exact(elementsOf<float>(image));
            const long double factor = 2.0L / (static_cast<long double>(w * h) * w * h);
            const double logarithm = std::log2(w * h) * singleEpsilon;
            for (const sErrors& errors :
                 {sErrors(exactOf(four_FFT(image)),
                          oracle::scaled(oracle::centred(oracle::sum(x, w, h, -1), w, h), factor),
                          x, factor),
                  sErrors(exactOf(four_IFFT(image)), oracle::centred(oracle::sum(x, w, h, 1), w, h),
                          x, 1)}) {
                EXPECT_LE(errors.rootMeanSquare, whole * logarithm);
                EXPECT_LE(errors.ofEach, each * logarithm);
            }
        }
}
