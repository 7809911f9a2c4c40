#pragma once

/// @file
/// Asking for memory before it is read.

#include <cstddef>
#include <cstdint>

namespace dataprocessing::detail {

/// How many elements a loop handles between two calls of prefetch_Ahead.
inline constexpr std::size_t prefetch_step = 64;

/// Asks for the next prefetch_step elements as a loop over `elements` will meet them 4 KiB later.
/// Processors look ahead by themselves, but stop at the end of a page and start slowly on the next;
/// a loop that does little per element may be faster by a tenth for it, in the caches and beyond.
/// What is asked for may lie outside any storage: nothing is read.
template<std::size_t elementSize>
inline void prefetch_Ahead([[maybe_unused]] const void* elements) noexcept {
#if defined(__GNUC__)
    constexpr std::size_t line = 64;
    constexpr std::size_t distance = 4096;
    const std::uintptr_t from = reinterpret_cast<std::uintptr_t>(elements) + distance;
    for (std::size_t offset = 0; offset < prefetch_step * elementSize; offset += line)
        __builtin_prefetch(reinterpret_cast<const void*>(from + offset));
#endif
}

/// Asks for `bytes` bytes from `first` on, which will be needed soon.
inline void prefetch_Range([[maybe_unused]] const void* first,
                           [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(__GNUC__)
    constexpr std::size_t line = 64;
    for (std::size_t offset = 0; offset < bytes; offset += line)
        __builtin_prefetch(static_cast<const char*>(first) + offset);
#endif
}

} // namespace dataprocessing::detail
