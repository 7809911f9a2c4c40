#pragma once

/// @file
/// Calibrations: where an array's elements lie in calibrated space.

#include <iosfwd>

#include "dataprocessing/dataprocessing_export.h"

/// The calibration of one axis. Element `i` lies at
/// `Position(i) = Offset() + (i - CalIndex()) * Delta()`.
///
/// **One rule for positions.** Deltas such as 0.1 are not exact, so the position of an element is
/// found again only within rounding. Therefore a real-valued index counts as a whole one when it is
/// within Tolerance() of it, and everything that asks which element a position means goes through
/// RealIndex(): `Index(Position(i))` is `i`.
class DATAPROCESSING_EXPORT cal_cArrayCal {
public:
    /// Offset 0, delta 1, index 0: positions are element indices.
    constexpr cal_cArrayCal() noexcept = default;
    /// A calibration whose element `calIndex` lies at `offset`, with `delta` from one to the next.
    constexpr cal_cArrayCal(double offset, double delta, int calIndex) noexcept
        : offset_(offset), delta_(delta), calIndex_(calIndex) {}

    /// The position of element CalIndex().
    constexpr double Offset() const noexcept { return offset_; }
    /// The step from one element to the next, in calibrated units.
    constexpr double Delta() const noexcept { return delta_; }
    /// The element that lies at Offset().
    constexpr int CalIndex() const noexcept { return calIndex_; }
    /// Sets the offset.
    constexpr void SetOffset(double offset) noexcept { offset_ = offset; }
    /// Sets the delta. It is not checked here: the operations that need a positive one refuse.
    constexpr void SetDelta(double delta) noexcept { delta_ = delta; }
    /// Sets the calibration index.
    constexpr void SetCalIndex(int calIndex) noexcept { calIndex_ = calIndex; }

    /// The position of element `index`, which may lie outside any array: offset + (index -
    /// calIndex) x delta in double precision, the difference of the indices taken exactly.
    constexpr double Position(long long index) const noexcept {
        return offset_ + static_cast<double>(index - calIndex_) * delta_;
    }
    /// The real-valued index of position `x`, the inverse of Position(): (x - offset) / delta +
    /// calIndex, or the whole index nearest to it when that is within Tolerance(x).
    double RealIndex(double x) const noexcept;
    /// How far, in elements, a real-valued index may be from a whole one, or from a half, and still
    /// count as that: 1e-6, or 4 units in the last place of the larger of |x| and |offset| where
    /// that is more.
    double Tolerance(double x) const noexcept;
    /// The whole index nearest to RealIndex(x): floor of it plus 0.5, a half within the tolerance
    /// counting as the half. It is NaN or infinite where RealIndex(x) is.
    double NearestIndex(double x) const noexcept;
    /// The element nearest to position `x`: NearestIndex(x), clamped to the range of int; 0 when
    /// that is NaN.
    int Index(double x) const noexcept;
    /// The number of elements that `length` takes, floor(length / delta + 0.5). Throws the size
    /// error when that is NaN, negative or more than 2^31-1.
    int Count(double length) const;

    /// True when offset, delta and index are all equal.
    friend constexpr bool operator==(const cal_cArrayCal&, const cal_cArrayCal&) = default;

private:
    double offset_ = 0;
    double delta_ = 1;
    int calIndex_ = 0;
};

/// The calibration of a 1D array.
class DATAPROCESSING_EXPORT cal_c1DArrayCal : public cal_cArrayCal {
public:
    /// The default calibration: 0, 1, 0.
    constexpr cal_c1DArrayCal() noexcept = default;
    /// See cal_cArrayCal.
    constexpr cal_c1DArrayCal(double offset, double delta, int calIndex) noexcept
        : cal_cArrayCal(offset, delta, calIndex) {}
    /// The calibration of one axis, as that of a 1D array.
    explicit constexpr cal_c1DArrayCal(const cal_cArrayCal& axis) noexcept : cal_cArrayCal(axis) {}

    friend constexpr bool operator==(const cal_c1DArrayCal&, const cal_c1DArrayCal&) = default;

    /// Offset 0, delta 1, index 0.
    static const cal_c1DArrayCal Default;
};

/// The calibration of a 2D array: one for each axis.
class DATAPROCESSING_EXPORT cal_c2DArrayCal {
public:
    /// The default calibration on both axes.
    constexpr cal_c2DArrayCal() noexcept = default;
    /// From the offset and delta of X, those of Y, then the two calibration indices.
    constexpr cal_c2DArrayCal(double offsetX, double deltaX, double offsetY, double deltaY,
                              int calIndexX, int calIndexY) noexcept
        : x_(offsetX, deltaX, calIndexX), y_(offsetY, deltaY, calIndexY) {}
    /// From the calibrations of the two axes.
    constexpr cal_c2DArrayCal(const cal_cArrayCal& x, const cal_cArrayCal& y) noexcept
        : x_(x), y_(y) {}

    /// The X axis.
    constexpr const cal_cArrayCal& X() const& noexcept { return x_; }
    /// The X axis, to be changed.
    constexpr cal_cArrayCal& X() & noexcept { return x_; }
    /// The X axis of a temporary, by value.
    constexpr cal_cArrayCal X() const&& noexcept { return x_; }
    /// The Y axis.
    constexpr const cal_cArrayCal& Y() const& noexcept { return y_; }
    /// The Y axis, to be changed.
    constexpr cal_cArrayCal& Y() & noexcept { return y_; }
    /// The Y axis of a temporary, by value.
    constexpr cal_cArrayCal Y() const&& noexcept { return y_; }

    friend constexpr bool operator==(const cal_c2DArrayCal&, const cal_c2DArrayCal&) = default;

    /// Offset 0, delta 1, index 0 on both axes.
    static const cal_c2DArrayCal Default;

private:
    cal_cArrayCal x_;
    cal_cArrayCal y_;
};

/// Prints "offset 0, delta 1, index 0".
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const cal_cArrayCal& cal);
/// Prints both axes.
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const cal_c2DArrayCal& cal);
