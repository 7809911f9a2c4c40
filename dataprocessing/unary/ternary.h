#pragma once

/// @file
/// Selection between two values under a condition, and the element-wise minimum and maximum.
///
/// Every function takes its operands unchanged and returns a new value, of the larger of the two
/// values' types (dtyp_Max), to which both are converted by the rules of conv_Convert. The chosen
/// elements are taken over bit for bit: NaNs, signed zeros and all.

#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/pnum.h"

// clang-format off

/// @name Selection
/// Each element of the result is that of `first` where the condition is true (its byte is not
/// zero), else that of `second`. A number stands for an array of it.
///
/// An array is matched to the condition before: resampled to its delta when that differs
/// (resc_Rescale), then as many elements as the condition has are taken from the one nearest to its
/// start on, with zeros outside the array's own: each lies within half a step of its place. The
/// condition never changes. **So a condition from a comparison, which lies on the default calibration, is
/// given that of the data first** (`condition.SetCal(data.Cal())`); otherwise calibrated data are
/// resampled onto elements of width 1.
///
/// The result has as many elements as the condition. It has the condition's calibration, except
/// that a single array that had to be converted, resampled or selected keeps its own description of
/// the same range: that of conv_Convert, resc_Rescale or Selection.
///
///     barr_c1DBoolArray bright = spectrum > 100;
///     bright.SetCal(spectrum.Cal());
///     darr_c1DArray clipped = tnry_Ternary(bright, 100, spectrum);
///
/// Throws the index error for a condition without elements, expt_cProgramException ("ternary", 114)
/// when both values have the same type outside the ten, and what conv_Convert, resc_Rescale and
/// Selection refuse.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  tnry_Ternary(const type_cBoolean&     condition, const pnum_cNumber&  first, const pnum_cNumber&  second);
DATAPROCESSING_EXPORT darr_c1DArray tnry_Ternary(const barr_c1DBoolArray& condition, const pnum_cNumber&  first, const darr_c1DArray& second);
DATAPROCESSING_EXPORT darr_c1DArray tnry_Ternary(const barr_c1DBoolArray& condition, const darr_c1DArray& first, const pnum_cNumber&  second);
DATAPROCESSING_EXPORT darr_c1DArray tnry_Ternary(const barr_c1DBoolArray& condition, const darr_c1DArray& first, const darr_c1DArray& second);
DATAPROCESSING_EXPORT darr_c1DArray tnry_Ternary(const barr_c1DBoolArray& condition, const pnum_cNumber&  first, const pnum_cNumber&  second);
DATAPROCESSING_EXPORT darr_c2DArray tnry_Ternary(const barr_c2DBoolArray& condition, const pnum_cNumber&  first, const darr_c2DArray& second);
DATAPROCESSING_EXPORT darr_c2DArray tnry_Ternary(const barr_c2DBoolArray& condition, const darr_c2DArray& first, const pnum_cNumber&  second);
DATAPROCESSING_EXPORT darr_c2DArray tnry_Ternary(const barr_c2DBoolArray& condition, const darr_c2DArray& first, const darr_c2DArray& second);
DATAPROCESSING_EXPORT darr_c2DArray tnry_Ternary(const barr_c2DBoolArray& condition, const pnum_cNumber&  first, const pnum_cNumber&  second);
/// @}

/// @name Minimum
/// Each element of the result is that of `a` where `a < b` holds, else that of `b`: so that of `b`
/// where both are equal or either is a NaN. Complex elements are ordered by their magnitudes.
///
/// The result lies where the array operand does. Two arrays are aligned first, as for a comparison,
/// and the result lies where the aligned first one does.
///
/// A number with an array without elements, and two arrays without elements, give 2 (1D) or 2 by 2
/// (2D) elements at the calibration of the (first) array: the number where that is `b`, else zeros.
///
/// Throws the errors of operator<, and expt_cProgramException ("ternary", 114) for arrays without
/// elements of an unknown type.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  trny_min(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray trny_min(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c1DArray trny_min(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray trny_min(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray trny_min(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray trny_min(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray trny_min(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

/// @name Maximum
/// The same where `a > b` holds.
/// @{
DATAPROCESSING_EXPORT pnum_cNumber  trny_max(const pnum_cNumber&  a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray trny_max(const pnum_cNumber&  a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c1DArray trny_max(const darr_c1DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c1DArray trny_max(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray trny_max(const pnum_cNumber&  a, const darr_c2DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray trny_max(const darr_c2DArray& a, const pnum_cNumber&  b);
DATAPROCESSING_EXPORT darr_c2DArray trny_max(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}

// clang-format on
