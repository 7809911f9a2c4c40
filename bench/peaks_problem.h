#pragma once

/// @file
/// The problem of bench_peaks and its peers: five Gaussian peaks on a straight background, 2,048
/// channels of Poisson noise, positions, heights and widths unknown; the start is a few percent
/// off.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

namespace bench {

constexpr int count = 2048;
constexpr std::size_t peaks = 5;
constexpr std::size_t parameters = 3 * peaks + 2;
constexpr std::array<double, peaks> positions{174, 590, 640, 706, 804};
constexpr std::array<double, peaks> heights{200, 400, 1000, 170, 300};
constexpr std::array<double, peaks> widths{2.12, 4.67, 4.86, 5.10, 5.46};

/// The variable of the background, from -1 to 1.
inline double slopeAt(int channel) { return (channel - 1023.5) / 1024; }

/// Counts; the background is about 20.
inline std::vector<double> counts() {
    std::mt19937 random(1);
    std::vector<double> y;
    for (int i = 0; i < count; ++i) {
        double mean = 20 - 4 * slopeAt(i);
        for (std::size_t k = 0; k < peaks; ++k)
            mean += heights[k] * std::exp(-0.5 * std::pow((i - positions[k]) / widths[k], 2));
        y.push_back(std::poisson_distribution<>(mean)(random));
    }
    return y;
}

/// Position, height and width of each peak, then the background.
inline std::vector<double> start() {
    std::vector<double> p;
    for (std::size_t k = 0; k < peaks; ++k)
        p.insert(p.end(), {positions[k] + 0.5, heights[k] * 1.1, widths[k] * 1.06});
    p.insert(p.end(), {20, 0});
    return p;
}

} // namespace bench
