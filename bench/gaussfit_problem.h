#pragma once

/// @file
/// The problem of bench_gaussfit and its peer: five peaks on 2,048 points of Poisson noise, their
/// amplitudes and the calibration unknown.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "dataprocessing/fitting/gsft.h"

namespace bench {

constexpr int count = 2048;
inline const std::vector<double> centers{200, 520, 600, 1100, 1700};
inline const std::vector<double> heights{4000, 9000, 2500, 6000, 1500};
inline const gsft_cResolution law(100, 40);
constexpr double startOffset = 4;
constexpr double startScale = 1;
constexpr double startHeight = 3000;

inline double widthAt(double center) { return law.FWHM(center) / (2 * std::sqrt(std::log(2.0))); }

/// Counts, at least one per channel: zeros are weighted by rules that the peer does not have.
inline std::vector<double> counts() {
    std::mt19937 random(1);
    std::vector<double> y;
    for (int i = 0; i < count; ++i) {
        double mean = 20;
        for (std::size_t k = 0; k < centers.size(); ++k)
            mean += heights[k] * std::exp(-std::pow((i - centers[k]) / widthAt(centers[k]), 2));
        y.push_back(std::max(1, std::poisson_distribution<>(mean)(random)));
    }
    return y;
}

/// Chi-squared by the plain sum. The solution is offset, scale, then the amplitudes.
inline double costOf(const std::vector<double>& y, const std::vector<double>& solution) {
    double cost = 0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        const double u = solution[0] + solution[1] * static_cast<double>(i);
        double model = 0;
        for (std::size_t k = 0; k < centers.size(); ++k) {
            const double t = (u - centers[k]) / widthAt(centers[k]);
            if (std::fabs(t) < 3)
                model += solution[2 + k] * std::exp(-t * t);
        }
        cost += (y[i] - model) * (y[i] - model) / y[i];
    }
    return cost;
}

} // namespace bench
