#pragma once

/// @file
/// Tables of the twiddle factors of products in single precision.

#include <cstddef>

#include "dataprocessing/kernels/radix_pass.h"
#include "dataprocessing/platform/keep.h"

namespace dataprocessing::detail {

/// Finds or makes the tables of a transform of `n` values: the roots of unity w[k] = e^(2 pi i k /
/// m), rounded to single precision. Each thread keeps those of its longest transform, of at most
/// 2^20 values, which takes 8 MiB; after a longer one it keeps none.
class radix_cRoots {
public:
    /// Throws std::bad_alloc, and then the thread keeps none.
    explicit radix_cRoots(std::size_t n);

    /// The tables, while this object lives.
    const radix_sPasses<float>& Passes() const noexcept { return passes_; }

private:
    keep_cLoan tables_{keep_Roots};
    radix_sPasses<float> passes_;
};

} // namespace dataprocessing::detail
