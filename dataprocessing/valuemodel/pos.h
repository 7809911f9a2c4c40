#pragma once

/// @file
/// Positions in calibrated space.

#include <cmath>

#include "dataprocessing/dataprocessing_export.h"

/// A position on one calibrated axis.
class DATAPROCESSING_EXPORT pos_c1DPosition {
public:
    /// The origin.
    constexpr pos_c1DPosition() noexcept = default;
    /// The position `x`, in calibrated units.
    explicit constexpr pos_c1DPosition(double x) noexcept : x_(x) {}

    /// The coordinate.
    constexpr double Value() const noexcept { return x_; }
    /// The coordinate, by the name it has in two dimensions.
    constexpr double X() const noexcept { return x_; }
    /// Sets the coordinate.
    constexpr void SetX(double x) noexcept { x_ = x; }

    /// True when the coordinates are equal, exactly; NaN equals nothing.
    friend constexpr bool operator==(const pos_c1DPosition&, const pos_c1DPosition&) = default;

private:
    double x_ = 0;
};

/// A position in a calibrated plane.
class DATAPROCESSING_EXPORT pos_c2DPosition {
public:
    /// The origin.
    constexpr pos_c2DPosition() noexcept = default;
    /// The position (`x`, `y`), each in the units of its axis.
    constexpr pos_c2DPosition(double x, double y) noexcept : x_(x), y_(y) {}

    /// The X coordinate.
    constexpr double X() const noexcept { return x_; }
    /// The Y coordinate.
    constexpr double Y() const noexcept { return y_; }
    /// Sets the X coordinate.
    constexpr void SetX(double x) noexcept { x_ = x; }
    /// Sets the Y coordinate.
    constexpr void SetY(double y) noexcept { y_ = y; }

    /// True when both coordinates are equal, exactly; NaN equals nothing.
    friend constexpr bool operator==(const pos_c2DPosition&, const pos_c2DPosition&) = default;

private:
    double x_ = 0;
    double y_ = 0;
};

/// The direction from `p` to `q`: atan2(q.Y() - p.Y(), q.X() - p.X()), in radians in [-pi, pi],
/// counter-clockwise from the X axis. It is 0 for equal positions and NaN when a coordinate is.
///
///     pos_Angle(pos_c2DPosition(1, 1), pos_c2DPosition(1, 3)); // pi / 2
inline double pos_Angle(const pos_c2DPosition& p, const pos_c2DPosition& q) noexcept {
    return std::atan2(q.Y() - p.Y(), q.X() - p.X());
}
