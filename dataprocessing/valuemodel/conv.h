#pragma once

/// @file
/// Conversion of values between the ten element types.

#include "dataprocessing/base/conv_mode.h"
#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/dataprocessing_export.h"

class pnum_cNumber;
class parr_c1DNumberArray;
class parr_c2DNumberArray;
class darr_c1DArray;
class darr_c2DArray;

/// @name Conversion
/// Returns `value` with its elements converted to `type`; size and calibration are kept, and the
/// argument is unchanged.
///
/// - Between real types a value that the target holds is kept exactly. Otherwise it is rounded to
///   nearest, ties to even, and clipped to the target's limits, which for the floating types are
///   the infinities; NaN becomes 0 in an integer.
/// - Real to complex sets the imaginary part to zero. Complex to complex converts part by part.
/// - Complex to real takes what `mode` says, evaluated in double, and converts that; `mode` plays
///   no part otherwise.
///
/// Throws expt_cProgramException ("conv", 1) when `type`, or the type of `value`, is not one of
/// the ten, and ("conv", 2) when `mode` is none of conv_eComplexConversion and is needed. A value
/// that has the type already is copied, whatever that type is.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber conv_Convert(const pnum_cNumber& value, dtyp_cDataType type,
                                                conv_eComplexConversion mode = conv_RealPart);
DATAPROCESSING_EXPORT parr_c1DNumberArray
conv_Convert(const parr_c1DNumberArray& value, dtyp_cDataType type,
             conv_eComplexConversion mode = conv_RealPart);
DATAPROCESSING_EXPORT parr_c2DNumberArray
conv_Convert(const parr_c2DNumberArray& value, dtyp_cDataType type,
             conv_eComplexConversion mode = conv_RealPart);
DATAPROCESSING_EXPORT darr_c1DArray conv_Convert(const darr_c1DArray& value, dtyp_cDataType type,
                                                 conv_eComplexConversion mode = conv_RealPart);
DATAPROCESSING_EXPORT darr_c2DArray conv_Convert(const darr_c2DArray& value, dtyp_cDataType type,
                                                 conv_eComplexConversion mode = conv_RealPart);
/// @}
