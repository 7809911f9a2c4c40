#pragma once

/// @file
/// Rotations that are exact at quarter turns.

#include <cmath>

#include "dataprocessing/base/type.h"

namespace dataprocessing::detail {

/// Cosine and sine of an angle, exact at multiples of a quarter turn.
struct turn_sRotation {
    double cosine;
    double sine;

    explicit turn_sRotation(double angle) : cosine(std::cos(angle)), sine(std::sin(angle)) {
        constexpr double huge = 1e7; // beyond it a quotient is whole by rounding alone
        const double quarters = angle / (type_Pi / 2);
        if (quarters == std::floor(quarters) && std::fabs(quarters) < huge) {
            cosine = std::round(cosine);
            sine = std::round(sine);
        }
    }
};

} // namespace dataprocessing::detail
