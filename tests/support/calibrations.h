#pragma once

// Calibrations as instruments and users have them, and arithmetic that is exact beside them.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

#include "dataprocessing/valuemodel/cal.h"

#ifdef __SIZEOF_FLOAT128__
__extension__ typedef __float128 Exact; // 113 bits
#else
typedef long double Exact;
#endif

inline Exact magnitude(Exact x) { return x < 0 ? -x : x; }

inline double lastPlaceOf(double x) {
    return std::nextafter(std::fabs(x), std::numeric_limits<double>::infinity()) - std::fabs(x);
}

/// Random calibrations of many kinds.
class RandomCalibrations {
public:
    explicit RandomCalibrations(unsigned seed) : random_(seed) {}

    std::mt19937_64& Random() { return random_; }
    int Below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
    int Between(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random_);
    }
    double Part() { return std::uniform_real_distribution<double>(0, 1)(random_); }

    /// A calibration under which `count` elements, and as many beside them, have positions of their
    /// own.
    cal_c1DArrayCal Next(int count) {
        for (;;) {
            cal_c1DArrayCal cal = Any();
            const double start = cal.Position(-count);
            const double end = cal.Position(2LL * count);
            const double coarsest =
                std::max({lastPlaceOf(start), lastPlaceOf(end), lastPlaceOf(cal.Offset())});
            if (std::isfinite(start) && std::isfinite(end) &&
                std::fabs(cal.Delta()) > 16 * coarsest)
                return cal;
        }
    }

private:
    int Index() {
        switch (Below(5)) {
        case 0:
            return 0;
        case 1:
            return Between(-2000000000, 2000000000);
        default:
            return Between(-50, 50);
        }
    }
    cal_c1DArrayCal Any() {
        const int index = Index();
        const double sign = Below(4) == 0 ? -1 : 1;
        switch (Below(8)) {
        case 0: { // decimals
            const std::array<double, 4> scales = {10, 100, 1000, 1e6};
            const double scale = scales[static_cast<std::size_t>(Below(4))];
            return {Between(-100000, 100000) / scale, sign * Between(1, 50) / scale, index};
        }
        case 1: // quarters
            return {Between(-400, 400) / 4.0, sign * Between(1, 8) / 4.0, index};
        case 2: // thirds
            return {Between(-300, 300) / 3.0, sign * Between(1, 7) / 3.0, index};
        case 3: { // Unix time in milliseconds
            const std::array<double, 5> steps = {1, 0.25, 0.1, 16.7, 1000};
            return {1.6e12 + Below(1000000000) + Below(10) / 10.0,
                    sign * steps[static_cast<std::size_t>(Below(5))], index};
        }
        case 4: // negative offsets
            return {-1000 * Part(), sign * (0.001 + Part()), index};
        case 5: // tiny
            return {Below(2) * Part() * 1e-30,
                    sign * (0.1 + Part()) * std::pow(10, -Between(30, 300)), index};
        case 6: // huge
            return {(Part() - 0.5) * 1e25, sign * (0.1 + Part()) * std::pow(10, Between(20, 290)),
                    index};
        default:
            return {(Part() - 0.5) * 2e4, sign * std::pow(10, 6 * Part() - 4), index};
        }
    }

    std::mt19937_64 random_;
};
