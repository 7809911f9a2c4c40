#pragma once

/// @file
/// Writing past the caches: for results so large that their beginning would have left the caches
/// before anybody reads it. What they would push out stays, and their lines are not read first.

#include <cstddef>

namespace dataprocessing::detail {

/// Results of so many bytes would push themselves, and what else is there, out of any last-level
/// cache.
inline constexpr std::size_t stream_From = std::size_t{48} << 20;

/// Copies `bytes` from a block in the cache to `target`, past the caches where that lies on a
/// vector's boundary. Other threads may read the target after stream_End.
void stream_Out(void* target, const void* source, std::size_t bytes) noexcept;
/// Makes what was streamed so far visible before anything that is written from now on.
void stream_End() noexcept;

} // namespace dataprocessing::detail
