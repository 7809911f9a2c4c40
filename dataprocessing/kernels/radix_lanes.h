#pragma once

/// @file
/// What the kernels of the radix-2 transform work on.

#include <cstddef>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/kernels/radix_pass.h"
#include "dataprocessing/kernels/radix_twiddles.h"

namespace dataprocessing::detail {

inline constexpr std::size_t radix_lanes = 16;

/// A value of each of sixteen lines.
struct radix_sLanes {
    alignas(64) float re[radix_lanes];
    float im[radix_lanes];
};

/// A line to transform.
template<class W>
struct radix_sLine {
    const comp_cComplex<float>* source;
    comp_cComplex<float>* target;
    std::size_t n;
    const radix_sPasses<W>* passes;   ///< all of them, or with a `walk` all but the last four
    const radix_sWalk* walk;          ///< or null; there is one only for products in double
    const comp_cComplex<float>* next; ///< a line of that length which is to come soon, or null
};

} // namespace dataprocessing::detail
