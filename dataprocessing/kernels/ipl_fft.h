#pragma once

/// @file
/// The image library's transforms between real images and their packed spectra.
///
/// Both images have one channel of single precision and the same sizes, which are powers of two
/// from 2 on, and the rows of the result begin on multiples of 8 bytes; a call with other images
/// leaves the result alone. Source and result do not overlap. When memory runs out, the result is
/// undefined.
///
/// **The packed layout** (CCS) of the spectrum X[u, v] of a real image of W by H holds each
/// coefficient that is not the conjugate of another. Row r, elements 1 to W - 2: the complex X[u,
/// r], u = 1 to W/2 - 1, real part first. Down element 0 of the rows, for u = 0, and down element
/// W - 1, for u = W/2: row 0 X[u, 0], which is real; rows 2j - 1 and 2j the real and the imaginary
/// part of X[u, j], j = 1 to H/2 - 1; row H - 1 X[u, H/2], which is real.

#include "dataprocessing/kernels/ipl.h"

namespace dataprocessing::detail {

constexpr int IPL_FFT_Forw = 0x01;     ///< the sum with e^(-2 pi i (u x / W + v y / H))
constexpr int IPL_FFT_Inv = 0x02;      ///< that with e^(+2 pi i ...), divided by W H
constexpr int IPL_FFT_UseFloat = 0x20; ///< in single precision, the only one there is
constexpr int IPL_FFT_Free = 0x80;     ///< frees the tables; they live no longer than a call anyway

/// Transforms a real image to its packed spectrum, by the direction in `flags`, times `scale`.
/// Throws std::bad_alloc.
void ipl_RealFft2D(const ipl_sImage& source, ipl_sImage& result, int flags, float scale);
/// Transforms a packed spectrum to the real image that the sum over the whole spectrum is, by the
/// direction in `flags`, times `scale`. Throws std::bad_alloc.
void ipl_CcsFft2D(const ipl_sImage& source, ipl_sImage& result, int flags, float scale);

/// @name The same as callers of the image library know them
/// Without images nothing is done.
/// @{
void iplRealFft2D(const ipl_sImage* source, ipl_sImage* result, int flags);
void iplCcsFft2D(const ipl_sImage* source, ipl_sImage* result, int flags);
/// @}

} // namespace dataprocessing::detail
