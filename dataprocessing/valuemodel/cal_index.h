#pragma once

/// @file
/// The rule for positions as plain functions, for loops over many of them. They have no branch, so
/// that such a loop fills vectors.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "dataprocessing/valuemodel/cal.h"

namespace dataprocessing::detail {

/// The unit in the last place of a number that is not negative; NaN of infinity and NaN.
inline double cal_LastPlaceOf(double x) noexcept {
    // The next number is the one of the next bits.
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) + 1) - x;
}

/// cal_cArrayCal::Tolerance of a calibration of this offset and delta.
inline double cal_ToleranceOf(double offset, double delta, double x) noexcept {
    const double larger = std::max(std::fabs(x), std::fabs(offset));
    return std::max(1e-6, 4 * cal_LastPlaceOf(larger) / std::fabs(delta));
}

/// The tolerance for an axis of `count` elements as a whole: that of its farther end.
inline double cal_ToleranceAlong(const cal_cArrayCal& cal, int count) noexcept {
    return std::max(cal.Tolerance(cal.Position(0)), cal.Tolerance(cal.Position(count)));
}

/// The real-valued index of position `x` on a calibration of this offset, delta and index, or the
/// whole index nearest to it when that is within `tolerance`. With one tolerance for all positions
/// a larger one never has a smaller index.
inline double cal_RealIndexWithin(double offset, double delta, double calIndex, double x,
                                  double tolerance) noexcept {
    constexpr double whole = 0x1p52; // from there on an index has no fraction
    const double index = (x - offset) / delta + calIndex;
    const double nearest = std::floor(index + 0.5);
    const double distance = std::fabs(index - nearest);
    const bool isWhole = (std::fabs(index) < whole) & (distance <= tolerance);
    return isWhole ? nearest : index;
}

/// cal_cArrayCal::RealIndex of a calibration of this offset, delta and index.
inline double cal_RealIndexOf(double offset, double delta, double calIndex, double x) noexcept {
    return cal_RealIndexWithin(offset, delta, calIndex, x, cal_ToleranceOf(offset, delta, x));
}

} // namespace dataprocessing::detail
