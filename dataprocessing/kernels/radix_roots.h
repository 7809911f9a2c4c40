#pragma once

/// @file
/// Tables of the twiddle factors of products in single precision.

#include "dataprocessing/kernels/radix_tables.h"

namespace dataprocessing::detail {

/// The roots of unity w[k] = e^(2 pi i k / m), rounded to single precision; at most 8 MiB of them
/// are kept.
using radix_cRoots = radix_cTables<float>;
template<>
void radix_cRoots::Fill(std::size_t n);

} // namespace dataprocessing::detail
