#pragma once

/// @file
/// Tables of the twiddle factors of a transform, which a thread keeps.

#include <cstddef>
#include <type_traits>

#include "dataprocessing/kernels/radix_pass.h"
#include "dataprocessing/platform/keep.h"

namespace dataprocessing::detail {

/// The tables of all passes of a transform of `n` values, in one block. That of the pass with m = 2
/// `half` begins 2 `half` numbers from the beginning, so that all but the shortest begin on a cache
/// line, and a shorter transform finds its own in those of a longer one. Each thread keeps those of
/// its longest transform, of at most 2^20 values; after a longer one it keeps none.
template<class W>
class radix_cTables {
public:
    /// Finds or makes the tables, of two values at least. Throws std::bad_alloc, and then the
    /// thread keeps none.
    explicit radix_cTables(std::size_t n) {
        if (loan_.block.Size() < BytesOf(n)) [[unlikely]]
            Make(n);
        radix_sPass<W>* pass = passes_.pass;
        for (std::size_t half = 1; half < n; half *= 2)
            *pass++ = {Re(half), Re(half) + half};
    }

    /// The tables, while this object lives.
    const radix_sPasses<W>& Passes() const noexcept { return passes_; }

private:
    static constexpr std::size_t BytesOf(std::size_t n) noexcept { return 2 * n * sizeof(W); }
    W* Re(std::size_t half) noexcept { return static_cast<W*>(loan_.block.Data()) + 2 * half; }

    /// Takes other storage and fills it.
    void Make(std::size_t n) {
        loan_.block = mem_cBlock();
        loan_.block = mem_cBlock(BytesOf(n));
        Fill(n);
    }
    void Fill(std::size_t n);

    keep_cLoan loan_{std::is_same_v<W, double> ? keep_Twiddles : keep_Roots};
    radix_sPasses<W> passes_;
};

} // namespace dataprocessing::detail
