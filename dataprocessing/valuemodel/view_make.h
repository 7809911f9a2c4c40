#pragma once

/// @file
/// Views of the calibrated arrays, and arrays made of views.

#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/view.h"

namespace dataprocessing::detail {

/// The axes of an array as it is stored. A 1D array is one row.
inline view_cAxis view_X(const darr_c1DArray& array) { return {array.Size(), array.Cal()}; }
inline view_cAxis view_Y(const darr_c1DArray&) { return {1, cal_cArrayCal()}; }
inline view_cAxis view_X(const darr_c2DArray& array) { return {array.SizeX(), array.Cal().X()}; }
inline view_cAxis view_Y(const darr_c2DArray& array) { return {array.SizeY(), array.Cal().Y()}; }

/// The array that lies at the given axes, with elements of `type` that are not set.
darr_c1DArray view_Shaped(const darr_c1DArray& like, dtyp_cDataType type, const view_cAxis& x,
                          const view_cAxis& y);
darr_c2DArray view_Shaped(const darr_c2DArray& like, dtyp_cDataType type, const view_cAxis& x,
                          const view_cAxis& y);

/// The elements of `array` seen along the given axes, as an array of its own.
darr_c1DArray view_Made(const darr_c1DArray& array, const view_cAxis& x, const view_cAxis& y);
darr_c2DArray view_Made(const darr_c2DArray& array, const view_cAxis& x, const view_cAxis& y);

} // namespace dataprocessing::detail
