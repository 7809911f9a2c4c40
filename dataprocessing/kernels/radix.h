#pragma once

/// @file
/// The radix-2 transform of lines of complex values.
///
/// The transform of a line of n values is X[f] = sum over k of x[k] e^(+2 pi i sign f k / n),
/// unscaled; n is a power of two, `sign` is 1 or -1.
///
/// **With products in double the result is defined bit by bit**, at every level. After a
/// bit-reversed permutation come passes over blocks of 2, 4, ..., n values. In a block of size m
/// the values k and k + m/2 become a + t and a - t, where t = w b is computed in double and rounded
/// to single precision. The twiddle factors w of a pass are found in double by recurrence: w starts
/// at 1, and then w += w
/// (-2 sin^2(theta / 2) + i sin theta) with theta = 6.28318530717959 / (sign m).
///
/// With products in single precision the passes are the same, but each w is the root of unity,
/// rounded to single precision, and t is computed in single precision from it. That is faster, with
/// errors of a few more roundings. The bits are the same at every level here too.
///
/// All functions throw std::bad_alloc, and then have written nothing or only part of the lines.

#include <cstddef>

#include "dataprocessing/base/comp.h"

namespace dataprocessing::detail {

/// Where the values of a transformed line go.
enum radix_eOrder {
    radix_Natural, ///< X[f] to element f, as it is
    radix_Centred  ///< X[f] to element (f + n/2) mod n, multiplied by the complex number 1/n
};

/// How values are multiplied with twiddle factors.
enum radix_eProducts {
    radix_DoubleProducts, ///< what defines the bits of a transform of lines
    radix_SingleProducts  ///< for transforms that are defined up to rounding errors
};

/// Transforms a line of `n` >= 2 values, with products in double; `source` and `target` are the
/// same storage or do not overlap.
void radix_Line(const comp_cComplex<float>* source, comp_cComplex<float>* target, std::size_t n,
                int sign, radix_eOrder order);

/// Transforms `count` lines of `n` values in place: value k of line c is element c x step + k.
void radix_Rows(comp_cComplex<float>* data, std::size_t step, std::size_t n, std::size_t count,
                int sign, radix_eProducts products);

/// Transforms `count` lines of `n` values in place, side by side: value k of line c is element
/// k x step + c.
void radix_Columns(comp_cComplex<float>* data, std::size_t step, std::size_t n, std::size_t count,
                   int sign, radix_eProducts products);

} // namespace dataprocessing::detail
