#pragma once

/// @file
/// Ramps: arrays whose elements are functions of their own calibrated positions.

#include <utility>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/rnge.h"

/// What the element of a 2D ramp at (x, y) is.
enum ramp_eRampType : int {
    ramp_X = 0,      ///< x: constant down each column
    ramp_Y = 1,      ///< y: constant along each row
    ramp_Radius = 2, ///< sqrt(x^2 + y^2)
    ramp_Angle = 3   ///< atan2(y, x) in radians, and exactly 0 where x and y are both 0
};

/// A linear 1D ramp, single precision: element `i` is its own position.
///
/// Positions are accumulated in double precision from the start of the array's range by adding
/// delta, and rounded once each. The array is made anew whenever a parameter changes; when that
/// throws, the ramp is unchanged.
///
///     const darr_c1DArray x = ramp_c1DRamp(8, cal_c1DArrayCal(0, 0.25, 4)); // -1, -0.75 ... 0.75
class DATAPROCESSING_EXPORT ramp_c1DRamp {
public:
    /// The ramp of `count` elements on `cal`. Throws the size error when the count is negative.
    ramp_c1DRamp(int count, const cal_c1DArrayCal& cal);

    /// Replaces the calibration.
    void SetCal(const cal_c1DArrayCal& cal);
    /// Takes the length of `range`: floor(length / delta + 0.5) elements. The calibration stays.
    /// Throws the size error when that is negative, not finite or more than 2^31-1.
    void SetRange(const rnge_c1DRange& range);

    /// A copy of the ramp.
    operator darr_c1DArray() const& { return array_; }
    /// The ramp itself, of one that goes.
    operator darr_c1DArray() && { return std::move(array_); }

private:
    int count_;
    cal_c1DArrayCal cal_;
    darr_c1DArray array_;
};

/// A 2D ramp, single precision; positions as in the 1D ramp, along each axis. Values are computed
/// in double precision and rounded once.
class DATAPROCESSING_EXPORT ramp_c2DRamp {
public:
    /// The ramp of `countX` by `countY` elements on `cal`. Throws the size error when a count is
    /// negative or the product passes 2^31-1, and expt_cProgramException ("ramp", 1) for a type
    /// that is none of ramp_eRampType.
    ramp_c2DRamp(ramp_eRampType type, int countX, int countY, const cal_c2DArrayCal& cal);

    /// Replaces the calibration.
    void SetCal(const cal_c2DArrayCal& cal);
    /// Takes the length and width of `range`: floor(length / delta X + 0.5) by floor(width / delta
    /// Y + 0.5) elements. The calibration stays. Throws the size error as in 1D.
    void SetRange(const rnge_c2DRange& range);

    /// A copy of the ramp.
    operator darr_c2DArray() const& { return array_; }
    /// The ramp itself, of one that goes.
    operator darr_c2DArray() && { return std::move(array_); }

private:
    ramp_eRampType type_;
    int countX_;
    int countY_;
    cal_c2DArrayCal cal_;
    darr_c2DArray array_;
};
