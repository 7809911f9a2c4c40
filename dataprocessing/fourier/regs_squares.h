#pragma once

/// @file
/// Shifts between elements by least squares.

#include "dataprocessing/fourier/regs_plane.h"

namespace dataprocessing::detail {

/// How far an approach goes.
enum regs_eApproach {
    regs_Near, ///< to within a small part of an element
    regs_Exact ///< as far as the noise allows
};

/// Moves `place`, a shift from `a` to `b`, to where what overlaps differs least. False, and it has
/// not moved, where that is not near. Throws std::bad_alloc.
///
/// Both are smoothed by the same Gaussian, `b` to where it lies between elements. Their difference
/// there is, to first order, the rest of the shift times the mean of their slopes, plus something
/// that is proportional to them and a constant; slopes are multiplied across, so that noise, which
/// the planes do not share, does not make them seem steeper. Nothing is faded out: what enters and
/// what leaves weighs nothing.
bool regs_Approach(const regs_sPlane& a, const regs_sPlane& b, regs_eApproach end,
                   regs_sPlace& place);

} // namespace dataprocessing::detail
