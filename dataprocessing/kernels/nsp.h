#pragma once

/// @file
/// The signal library of our own: copies of complex vectors, and conversion to single precision.

#include "dataprocessing/base/comp.h"

namespace dataprocessing::detail {

/// A complex value of two 16-bit integers, real part first.
struct nsp_sShortComplex {
    short re = 0;
    short im = 0;

    friend constexpr bool operator==(const nsp_sShortComplex&, const nsp_sShortComplex&) = default;
};

/// @name Copies
/// Copies `count` values; nothing when it is not positive. The storages do not overlap.
/// @{
void nspcbCopy(const comp_cComplex<float>* source, comp_cComplex<float>* target,
               int count) noexcept;
void nspvbCopy(const nsp_sShortComplex* source, nsp_sShortComplex* target, int count) noexcept;
/// @}

/// @name Conjugate-reversed copies
/// Writes the conjugates of `count` values in reverse order. The imaginary part -32768 stays what
/// it is: integers wrap. The storages do not overlap.
/// @{
void nspcbConjFlip2(const comp_cComplex<float>* source, comp_cComplex<float>* target,
                    int count) noexcept;
void nspvbConjFlip2(const nsp_sShortComplex* source, nsp_sShortComplex* target, int count) noexcept;
/// @}

/// Converts `count` 16-bit integers, exactly.
void nspsbIntToFloat(const short* source, float* target, int count) noexcept;

} // namespace dataprocessing::detail
