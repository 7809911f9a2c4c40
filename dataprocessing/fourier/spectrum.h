#pragma once

/// @file
/// The transforms behind four_FFT and four_IFFT, for operands whose sizes are powers of two, and
/// the products of spectra that correlations are made of. They hold as little at a time as they
/// can.

#include "dataprocessing/fourier/match.h"

namespace dataprocessing::detail {

enum four_eDirection : int { four_Forward = 1, four_Inverse = -1 };

/// The transform of an operand, with its calibration: offset 0, delta 1 / (N x the operand's),
/// index N/2 forward and 0 inverse. See four_FFT and four_IFFT for what it is.
/// @{
darr_c1DArray four_Transform(const four_sOperand<darr_c1DArray>& operand,
                             four_eDirection direction);
darr_c2DArray four_Transform(const four_sOperand<darr_c2DArray>& operand,
                             four_eDirection direction);
/// @}
/// The same of an array, which is used up: its storage may become that of the result.
/// @{
darr_c1DArray four_TransformTaken(darr_c1DArray array, four_eDirection direction);
darr_c2DArray four_TransformTaken(darr_c2DArray array, four_eDirection direction);
/// @}

/// What becomes of the second spectrum of a product.
enum four_eSecond { four_AsItIs, four_Conjugated };

/// four_FFT(a) * four_FFT(b), or the conjugate of the second, of the matched operands.
template<class Array>
Array four_Product(const four_sMatched<Array>& operands, four_eSecond second);
/// spectrum * filter, which lies where the spectrum does.
template<class Array>
Array four_Filtered(Array spectrum, const Array& filter);

} // namespace dataprocessing::detail
