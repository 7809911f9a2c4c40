#pragma once

/// @file
/// Conversion of stored elements between the ten types.

#include <cstddef>

#include "dataprocessing/base/conv_mode.h"
#include "dataprocessing/base/dtyp.h"

namespace dataprocessing::detail {

/// Writes `count` elements of type `to`, each converted from the element of type `from` at the same
/// index by the rules of conv_Convert. Both types are known ones, or equal (then it is a plain
/// copy, of nothing where they are unknown); the storages do not overlap. What is larger than the
/// caches is written past them.
void conv_Elements(const void* source, dtyp_cDataType from, void* target, dtyp_cDataType to,
                   std::size_t count, conv_eComplexConversion mode) noexcept;

} // namespace dataprocessing::detail
