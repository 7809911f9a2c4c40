#pragma once

/// @file
/// The function w(z) = e^(-z^2) erfc(-iz), and the constants of the profiles made of it.

#include <cmath>
#include <cstddef>
#include <numbers>

namespace dataprocessing::detail {

inline constexpr double pkmd_ln2 = std::numbers::ln2;
inline constexpr double pkmd_inverseRootPi = std::numbers::inv_sqrtpi;
inline constexpr double pkmd_rootHalf = 0.5 * std::numbers::sqrt2;
inline constexpr double pkmd_rootHalfPi = 1.2533141373155003;

/// The rational expansion of w(z): the polynomial is a cosine series of what is left of e^(-t^2) on
/// the circle that the line is mapped to. Within 3e-14 of |w| (J. A. C. Weideman, Computation of
/// the complex error function, SIAM Journal on Numerical Analysis 31 (1994)).
struct pkmd_sFaddeeva {
    static constexpr std::size_t count = 40;

    pkmd_sFaddeeva() : length(std::sqrt(static_cast<double>(count)) / std::sqrt(std::sqrt(2.0))) {
        constexpr int half = 2 * static_cast<int>(count);
        for (int k = 1 - half; k < half; ++k) {
            const double angle = k * std::numbers::pi / half;
            const double t = length * std::tan(angle / 2);
            const double value = std::exp(-t * t) * (length * length + t * t) / (2 * half);
            for (std::size_t n = 0; n < count; ++n)
                coefficients[n] += value * std::cos(static_cast<double>(n + 1) * angle);
        }
    }

    double length;
    double coefficients[count] = {};
};

} // namespace dataprocessing::detail
