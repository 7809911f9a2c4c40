#pragma once

/// @file
/// Tables of the twiddle factors of products in double.

#include <cstddef>

#include "dataprocessing/kernels/radix_pass.h"
#include "dataprocessing/platform/keep.h"

namespace dataprocessing::detail {

/// Finds or makes the tables of a transform of `n` values. They are kept, by each thread, as far as
/// they belong to transforms of at most 2^20 values, which takes 16 MiB; a `radix_cTwiddles` of a
/// longer transform frees the rest when it dies.
class radix_cTwiddles {
public:
    /// Throws std::bad_alloc, and then has kept nothing.
    explicit radix_cTwiddles(std::size_t n);

    /// The tables, while this object lives.
    const radix_sPasses<double>& Passes() const noexcept { return passes_; }

private:
    keep_cTwiddlesLoan tables_;
    radix_sPasses<double> passes_;
};

/// Where the recurrences of the last four passes of a long line of n values begin: row 2^p - 1 + b
/// is that of pass p of the four, at place b x n/16 of its table. One row is to spare.
struct radix_sWalk {
    static constexpr std::size_t rows = 16;
    alignas(64) double re[rows];
    double im[rows];
    double stepRe[rows];
    double stepIm[rows];
};

/// Finds these beginnings for a line of `n` >= 128 values, and keeps them for the thread.
radix_sWalk radix_FindWalk(std::size_t n) noexcept;

} // namespace dataprocessing::detail
