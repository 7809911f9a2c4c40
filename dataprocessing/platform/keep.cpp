#include "dataprocessing/platform/keep.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#if defined(__linux__)
    #include <sys/mman.h>
#endif

namespace dataprocessing::detail {

namespace {

// A sanitizer must see every release of a block that belonged to somebody.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
constexpr bool isSanitized = __has_feature(address_sanitizer);
#else
constexpr bool isSanitized = false;
#endif

constexpr std::size_t largeLimit = isSanitized ? 0 : std::size_t{256} << 20;
constexpr std::size_t shelfLimit = std::size_t{16} << 20;
constexpr std::size_t loanLimits[keep_places] = {std::size_t{8} << 20, std::size_t{8} << 20,
                                                 std::size_t{16} << 20};
// Blocks below this may lie among an allocator's pages of ordinary size, and to offer thousands of
// those takes longer than to fill them.
constexpr std::size_t offeredFrom = std::size_t{32} << 20;

void freeLarge(void* allocated) noexcept {
    ::operator delete (allocated, std::align_val_t{keep_hugePage});
}

// A request alone: nobody looks at the answer.
void offerBack([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(__linux__) && defined(MADV_FREE)
    if (bytes >= offeredFrom)
        madvise(data, bytes, MADV_FREE);
#endif
}

struct sBlock {
    void* allocated;
    std::size_t bytes;
};

/// Blocks of middle size, the newest at the end. Allocators give memory of that size back to the
/// system and take it anew, page by page, which costs more than most operations. Chains of them
/// need several sizes at a time, so several blocks are kept.
struct sShelf {
    sBlock blocks[8];
    std::size_t count;
    std::size_t total;

    void* Remove(std::size_t place) noexcept {
        void* const allocated = blocks[place].allocated;
        total -= blocks[place].bytes;
        std::copy(blocks + place + 1, blocks + count, blocks + place);
        --count;
        return allocated;
    }
    /// Leaves the newest, of this many bytes at most.
    void Clear(std::size_t most) noexcept {
        while (total > most)
            ::operator delete(Remove(0));
    }
};

enum eState {
    isUnused, // nothing has been kept yet
    isOpen,
    isClosed // the thread ends: from now on nothing is kept
};

/// All that a thread keeps. It has no destructor, so that it may be asked as long as the thread
/// runs anything at all.
struct sKeep {
    /// Having the system clear fresh pages costs about as much as the arithmetic that fills them,
    /// and in a chain of operations each temporary can take the pages of the one before. The system
    /// may have those of a very large block back whenever it needs them.
    sBlock spare;
    sShelf shelf;
    mem_sStorage loans[keep_places];
    eState state;

    void DropSpare() noexcept {
        if (spare.allocated != nullptr)
            freeLarge(std::exchange(spare.allocated, nullptr));
    }
    void Clear() noexcept {
        // A block that was lent may be put on the shelf, or become the spare, as it is freed.
        for (mem_sStorage& loan : loans)
            const mem_cBlock freed(std::exchange(loan, {}));
        DropSpare();
        shelf.Clear(0);
    }
};

thread_local constinit sKeep keep{};

struct sAtThreadEnd {
    bool registered = false;
    ~sAtThreadEnd() {
        keep.state = isClosed;
        keep.Clear();
    }
};
thread_local sAtThreadEnd atThreadEnd;

/// Whether something may be put into the keep, which from now on is cleared at the thread's end.
bool opened() noexcept {
    if (keep.state == isUnused) {
        atThreadEnd.registered = true;
        keep.state = isOpen;
    }
    return keep.state == isOpen;
}

} // namespace

void* keep_TakeLarge(std::size_t bytes) noexcept {
    if (keep.spare.allocated != nullptr && keep.spare.bytes == bytes)
        return std::exchange(keep.spare.allocated, nullptr);
    keep.DropSpare();
    keep.shelf.Clear(0);
    return nullptr;
}

void keep_PutLarge(void* allocated, std::size_t bytes) noexcept {
    if (bytes > largeLimit || !opened())
        return freeLarge(allocated);
    keep.DropSpare();
    offerBack(allocated, bytes);
    keep.spare = {allocated, bytes};
}

void* keep_TakeMiddle(std::size_t bytes) noexcept {
    sShelf& shelf = keep.shelf;
    for (std::size_t place = shelf.count; place-- > 0;)
        if (shelf.blocks[place].bytes == bytes)
            return shelf.Remove(place);
    return nullptr;
}

void keep_PutMiddle(void* allocated, std::size_t bytes) noexcept {
    if (isSanitized || !opened())
        return ::operator delete(allocated);
    sShelf& shelf = keep.shelf;
    shelf.Clear(shelfLimit - bytes);
    if (shelf.count == std::size(shelf.blocks))
        ::operator delete(shelf.Remove(0));
    shelf.blocks[shelf.count++] = {allocated, bytes};
    shelf.total += bytes;
}

keep_cLoan::keep_cLoan(keep_ePlace place) noexcept
    : block(std::exchange(keep.loans[place], {})), place_(place) {}

keep_cLoan::~keep_cLoan() {
    if (block.Size() == 0 || block.Size() > loanLimits[place_] || !opened())
        return;
    // Of two loans of one place that were open at the same time the one that ends last stays.
    const mem_cBlock before(std::exchange(keep.loans[place_], block.Detach()));
}

} // namespace dataprocessing::detail

void mem_ReleaseKept() noexcept { dataprocessing::detail::keep.Clear(); }
