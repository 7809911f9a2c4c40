#pragma once

/// @file
/// Loops that choose between elements of raw storage.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "dataprocessing/base/dtyp.h"

namespace dataprocessing::detail {

/// The bits of the widest element.
struct choose_sWide {
    std::uint64_t low;
    std::uint64_t high;
};

/// What an element of so many bytes is moved as.
template<std::size_t size>
using choose_Bits = std::conditional_t<
    size == 1, std::uint8_t,
    std::conditional_t<
        size == 2, std::uint16_t,
        std::conditional_t<size == 4, std::uint32_t,
                           std::conditional_t<size == 8, std::uint64_t, choose_sWide>>>>;

/// A loop that writes `count` elements to `result`, which overlaps nothing else: bit for bit that
/// of `first` where the byte of the condition is not zero, else that of `second`.
using choose_Loop = void (*)(const unsigned char* condition, const void* first, const void* second,
                             void* result, std::size_t count);

/// The loop for elements of `type`; a value that is no array is one element. Null for an unknown
/// type.
choose_Loop choose_LoopFor(dtyp_cDataType type, bool firstIsArray, bool secondIsArray) noexcept;

} // namespace dataprocessing::detail
