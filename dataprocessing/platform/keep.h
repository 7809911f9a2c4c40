#pragma once

/// @file
/// What a thread keeps of the storage that it has released, for its next calls.
///
/// One object per thread holds all of it: the large block that was released last, blocks of middle
/// size, and the storage behind loans (room to work in, tables). It goes when the thread ends. What
/// still runs then - destructors of objects that were made before the thread kept anything - finds
/// the keep closed: it allocates what it needs, and its storage goes when it is released.

#include <cstddef>

#include "dataprocessing/platform/memory.h"

namespace dataprocessing::detail {

/// Large storage begins on a multiple of this, middle-sized storage anywhere.
inline constexpr std::size_t keep_hugePage = std::size_t{2} << 20;

/// @name Large storage
/// At most one block, of at most 256 MiB: the one that was put last.
/// @{

/// The block that is kept, if it has exactly so many bytes; else null, and nothing of middle or
/// large size is kept any more, so that what is kept adds nothing to a peak.
void* keep_TakeLarge(std::size_t bytes) noexcept;
/// Keeps a block, or frees it.
void keep_PutLarge(void* allocated, std::size_t bytes) noexcept;
/// @}

/// @name Storage of middle size
/// At most eight blocks and 16 MiB: those that were put last.
/// @{

/// The newest block of exactly so many bytes, or null.
void* keep_TakeMiddle(std::size_t bytes) noexcept;
/// Keeps a block of at most 16 MiB, or frees it.
void keep_PutMiddle(void* allocated, std::size_t bytes) noexcept;
/// @}

/// What loans are for: each has a place of its own in the keep, for as much as a transform of 2^20
/// values needs there.
enum keep_ePlace : std::size_t {
    keep_Room,     ///< room to work in, whose content means nothing; at most 8 MiB
    keep_Roots,    ///< the tables of radix_cRoots, at most 8 MiB
    keep_Twiddles, ///< the tables of radix_cTwiddles, at most 16 MiB
    keep_places
};

/// A block that belongs to the thread between calls, and to one call while that runs: the
/// constructor takes what is kept at a place, the destructor puts it back, where it is kept when it
/// is not too large. Nothing is there at the first time, or when another loan of this place is
/// open.
class keep_cLoan {
public:
    explicit keep_cLoan(keep_ePlace place) noexcept;
    keep_cLoan(const keep_cLoan&) = delete;
    keep_cLoan& operator=(const keep_cLoan&) = delete;
    ~keep_cLoan();

    /// The block, which may be replaced.
    mem_cBlock block;

private:
    keep_ePlace place_;
};

} // namespace dataprocessing::detail
