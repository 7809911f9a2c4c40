#pragma once

// Blocks of bytes in binary streams: what is too large to be copied on its way.

#include <cstddef>
#include <cstdint>
#include <span>

#include "dataprocessing/exchange/tgio.h"

namespace dataprocessing::detail {

/// Called from an object's Read and Write. Nothing here throws; an answer false is the stream's
/// failure.
struct tgio_cBlocks {
    /// Writes the last field of an object. That of an outermost object is not copied: it has to
    /// live until the object has been written.
    static bool WriteLast(tgio_cBinary_ostream& stream, std::span<const std::byte> bytes,
                          unsigned short tag) noexcept;
    /// The length of the field that NextField found.
    static std::uint32_t Length(const tgio_cBinary_istream& stream) noexcept;
    /// Begins to read the field that NextField found, in parts that together have its length.
    static bool Begin(tgio_cBinary_istream& stream) noexcept;
    /// Reads the next part.
    static bool ReadPart(tgio_cBinary_istream& stream, std::span<std::byte> bytes) noexcept;
    /// Whether the stream has failed because memory has run out.
    static bool IsOutOfMemory(const tgio_cStream& stream) noexcept;
};

} // namespace dataprocessing::detail
