#pragma once

/// @file
/// What a thread keeps of the storage that it has released, for its next calls.
///
/// One object per thread holds all of it: the large block that was released last, blocks of middle
/// size, and the storage behind loans (room to work in, tables). It goes when the thread ends. What
/// still runs then - destructors of objects that were made before the thread kept anything - finds
/// the keep closed: it allocates what it needs, and its storage goes when it is released.

#include <cstddef>
#include <utility>

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

/// What loans are for: each has a place of its own in the keep.
enum keep_ePlace : std::size_t {
    keep_Room = 0,      ///< room to work in, whose content means nothing
    keep_Roots = 1,     ///< the tables of radix_cRoots
    keep_Twiddles = 2,  ///< the first of the tables of radix_cTwiddles
    keep_twiddles = 31, ///< how many of those there are
    keep_places = keep_Twiddles + keep_twiddles
};

/// A block that belongs to the thread between calls, and to one call while that runs: the
/// constructor takes what is kept at a place, the destructor puts it back. There it is kept when it
/// has at most 8 MiB, which is what a transform of 2^20 values needs at each of its places.
class keep_cLoan {
public:
    keep_cLoan() noexcept = default;
    explicit keep_cLoan(std::size_t place) noexcept { Take(place); }
    keep_cLoan(const keep_cLoan&) = delete;
    keep_cLoan& operator=(const keep_cLoan&) = delete;
    ~keep_cLoan();

    /// Takes what is kept at `place`, for a loan that has taken nothing yet. Nothing is there at
    /// the first time, or when another loan of this place is open.
    void Take(std::size_t place) noexcept;

    /// The block, which may be replaced.
    mem_cBlock block;

private:
    std::size_t place_ = keep_places;
};

/// Loans of the first `count` tables of radix_cTwiddles.
class keep_cTwiddlesLoan {
public:
    explicit keep_cTwiddlesLoan(std::size_t count) noexcept;
    keep_cTwiddlesLoan(const keep_cTwiddlesLoan&) = delete;
    keep_cTwiddlesLoan& operator=(const keep_cTwiddlesLoan&) = delete;
    ~keep_cTwiddlesLoan();

    /// The first byte of table `table`; null where there is none.
    void* Data(std::size_t table) const noexcept;
    /// Sets a table, in the place of what there is.
    void Set(std::size_t table, mem_cBlock block) noexcept {
        const mem_cBlock before(std::exchange(kept_[table], block.Detach()));
    }

private:
    std::size_t count_;
    mem_sStorage kept_[keep_twiddles];
};

} // namespace dataprocessing::detail
