#pragma once

/// @file
/// The radix-2 transform of lines of complex values.

#include <cstddef>

#include "dataprocessing/valuemodel/comp.h"

namespace dataprocessing::detail {

/// Replaces the `n` values by X[f] = sum over k of x[k] e^(+2 pi i sign f k / n), unscaled; `n` is
/// a power of two, `sign` is 1 or -1.
///
/// The result is defined bit by bit. After a bit-reversed permutation come passes over blocks of 2,
/// 4, ..., n values. In a block of size m the values k and k + m/2 become a + t and a - t, where
/// t = w b is computed in double and rounded to single precision. The twiddle factors w of a pass
/// are found in double by recurrence: w starts at 1, and then w += w (-2 sin^2(theta / 2) + i sin
/// theta) with theta = 6.28318530717959 / (sign m).
void radix_Transform(comp_cComplex<float>* data, std::size_t n, int sign);

} // namespace dataprocessing::detail
