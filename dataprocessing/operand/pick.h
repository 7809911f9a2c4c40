#pragma once

/// @file
/// The elements of an array that a mask takes.

#include <span>

#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"

namespace dataprocessing::detail {

/// The elements where `mask` is true, in storage order, in the array's type. The mask lies where
/// the array does, or on the default calibration. Throws the size error when the two differ in
/// size, expt_cProgramException ("pick", 1) for a mask that lies elsewhere.
parr_c1DNumberArray pick_Where(const darr_c1DArray& array, const barr_c1DBoolArray& mask);
parr_c1DNumberArray pick_Where(const darr_c2DArray& array, const barr_c2DBoolArray& mask);

/// The index in storage order of the element that was taken after `before` others.
int pick_IndexOf(std::span<const unsigned char> mask, int before) noexcept;

} // namespace dataprocessing::detail
