#pragma once

/// @file
/// The twiddle factors of the passes of a radix-2 transform.

namespace dataprocessing::detail {

/// The twiddle factors w[k], k = 0 to m/2 - 1, of one pass over blocks of size m, for sign 1. Those
/// for sign -1 are the conjugates, except that w[0] is 1 + 0i for both.
template<class W>
struct radix_sPass {
    const W* re;
    const W* im;
};

/// The passes of a transform of n <= 2^31 values: number p is that over blocks of 2^(p + 1).
template<class W>
struct radix_sPasses {
    radix_sPass<W> pass[31];
};

} // namespace dataprocessing::detail
