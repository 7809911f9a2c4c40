#pragma once

/// @file
/// Tables of the twiddle factors of products in single precision.

#include <cstddef>

#include "dataprocessing/kernels/radix_pass.h"

namespace dataprocessing::detail {

/// Finds or makes the tables of a transform of `n` values: the roots of unity w[k] = e^(2 pi i k /
/// m), rounded to single precision. Each thread keeps those of its longest transform, of at most
/// 2^20 values, which takes 8 MB; after a longer one it keeps none. One at a time in a thread.
class radix_cRoots {
public:
    /// Throws std::bad_alloc, and then the thread keeps none.
    explicit radix_cRoots(std::size_t n);
    radix_cRoots(const radix_cRoots&) = delete;
    radix_cRoots& operator=(const radix_cRoots&) = delete;
    ~radix_cRoots();

    /// The tables, while this object lives.
    const radix_sPasses<float>& Passes() const noexcept { return passes_; }

private:
    radix_sPasses<float> passes_;
};

} // namespace dataprocessing::detail
