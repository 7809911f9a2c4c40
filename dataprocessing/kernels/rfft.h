#pragma once

/// @file
/// Transforms between real images and their packed spectra, on plain rows.
///
/// **What is computed.** X[u, v] = scale x sum over x, y of image[x, y] e^(+2 pi i sign (u x / W +
/// v y / H)), and back: the real image whose elements are that sum over a whole spectrum. W and H
/// are powers of two from 2 on; `sign` is 1 or -1. Rows begin on multiples of 8 bytes and are an
/// even number of floats apart.
///
/// **Method.** Each row of W reals is transformed as W/2 complex values, the even elements as real
/// and the odd ones as imaginary parts, and then separated; the columns of the half spectrum
/// follow. The coefficients of u = W/2 travel as the imaginary parts of those of u = 0: both
/// columns are transforms of real values. Single precision throughout, with the roots of radix.h.
///
/// **The packed layout** of the spectrum X[u, v] of a real image of W by H holds each coefficient
/// that is not the conjugate of another. Row r, elements 1 to W - 2: the complex X[u, r], u = 1 to
/// W/2 - 1, real part first. Down element 0 of the rows, for u = 0, and down element W - 1, for u =
/// W/2: row 0 X[u, 0], which is real; rows 2j - 1 and 2j the real and the imaginary part of X[u,
/// j], j = 1 to H/2 - 1; row H - 1 X[u, H/2], which is real.

#include <cstddef>

namespace dataprocessing::detail {

/// Rows of `width` elements, `step` elements from one to the next.
template<class T>
struct rfft_sRows {
    T* first;
    std::size_t width;
    std::size_t height;
    std::size_t step;

    T* Row(std::size_t y) const noexcept { return first + y * step; }
};

/// Transforms an image to its packed spectrum. Both are the same rows, or do not overlap. Throws
/// std::bad_alloc, and the result is undefined then.
void rfft_Pack(const rfft_sRows<const float>& image, const rfft_sRows<float>& packed, int sign,
               float scale);
/// Transforms a packed spectrum to the image. Both are the same rows, or do not overlap. Throws
/// std::bad_alloc, and the result is undefined then.
void rfft_Unpack(const rfft_sRows<const float>& packed, const rfft_sRows<float>& image, int sign,
                 float scale);

} // namespace dataprocessing::detail
