#pragma once

/// @file
/// Tables of the twiddle factors of products in double.

#include <cstddef>

#include "dataprocessing/kernels/radix_tables.h"

namespace dataprocessing::detail {

/// The factors as the recurrence of a pass finds them; at most 16 MiB of them are kept.
using radix_cTwiddles = radix_cTables<double>;
template<>
void radix_cTwiddles::Fill(std::size_t n);

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
