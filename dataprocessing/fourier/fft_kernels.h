#pragma once

/// @file
/// The complex transforms that four_FFT and four_IFFT are made of.

#include <span>

#include "dataprocessing/base/comp.h"

namespace dataprocessing::detail {

/// Transforms `n` values in place; see radix_Line.
void four_RadixTwoFFT(comp_cComplex<float>* data, int n, int sign);

/// Transforms an array in place along all its dimensions, of which the last varies fastest: every
/// line along the last dimension as radix_Line does, then every line along the one before, and so
/// on. Each size is a power of two.
void four_RadixTwoFFTnD(comp_cComplex<float>* data, std::span<const int> sizes, int sign);

} // namespace dataprocessing::detail
