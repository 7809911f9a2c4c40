#pragma once

/// @file
/// The packed spectrum of a real image (see rfft.h) and the full, centred one.

#include "dataprocessing/base/comp.h"

namespace dataprocessing::detail {

/// Writes the centred spectrum of `width` by `height`: the coefficient of (u, v) at column u +
/// width/2, row v + height/2. Sizes are powers of two from 2 on.
void four_UnpackCcs(const float* packed, int width, int height, comp_cComplex<float>* centred);
/// The inverse. Of a spectrum that is not conjugate symmetric, the elements with u > 0 are read,
/// and those with u = 0 and u = -width/2 for v >= 0 and v = -height/2.
void four_PackCcs(const comp_cComplex<float>* centred, int width, int height, float* packed);

} // namespace dataprocessing::detail
