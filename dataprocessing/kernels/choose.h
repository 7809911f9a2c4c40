#pragma once

/// @file
/// Loops that choose between elements of raw storage.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"

namespace dataprocessing::detail {

/// A loop that writes `count` elements to `result`, which overlaps nothing else: bit for bit that
/// of `first` where the byte of the condition is not zero, else that of `second`.
using choose_Loop = void (*)(const unsigned char* condition, const void* first, const void* second,
                             void* result, std::size_t count);

/// The loop for elements of `type`; a value that is no array is one element. Null for an unknown
/// type.
choose_Loop choose_LoopFor(dtyp_cDataType type, bool firstIsArray, bool secondIsArray) noexcept;

} // namespace dataprocessing::detail
