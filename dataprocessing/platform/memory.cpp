#include "dataprocessing/platform/memory.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <utility>

#if defined(__linux__)
    #include <sys/mman.h>
#endif

namespace dataprocessing::detail {

namespace {

constexpr std::size_t cacheLine = 64;
constexpr std::size_t page = 4096;
constexpr std::size_t hugePage = std::size_t{2} << 20;
constexpr std::size_t middleFrom = std::size_t{128} << 10;
constexpr std::size_t hugeFrom = std::size_t{4} << 20;

// An allocator finds unaligned storage several times faster than aligned storage, so small blocks
// ask for room to begin on a cache line within.
constexpr std::size_t withRoom(std::size_t bytes) noexcept {
    return bytes + cacheLine - __STDCPP_DEFAULT_NEW_ALIGNMENT__;
}

constexpr std::size_t wholePages(std::size_t bytes) noexcept {
    return (withRoom(bytes) + page - 1) / page * page;
}

constexpr std::size_t wholeHugePages(std::size_t bytes) noexcept {
    return (bytes + hugePage - 1) / hugePage * hugePage;
}

// Requests to the system are for speed alone: nobody looks at the answer.
void askForHugePages([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    madvise(data, bytes, MADV_HUGEPAGE);
#endif
}
void offerBack([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(__linux__) && defined(MADV_FREE)
    madvise(data, bytes, MADV_FREE);
#endif
}

void freeHuge(void* allocated) noexcept {
    ::operator delete (allocated, std::align_val_t{hugePage});
}

// The large block that this thread released last. Having the system clear fresh pages costs about
// as much as the arithmetic that fills them, and in a chain of operations each temporary can take
// the pages of the one before. The system may have them back whenever it needs them, and a block
// of another size is only allocated once this one is gone, so it adds nothing to a peak.
struct sSpare {
    void* allocated;
    std::size_t bytes;
    bool closed; // the thread ends: from now on nothing is kept
};

// Beyond this a block returns to the system at once. A sanitizer must see every release.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool isSanitized = true;
#elif defined(__has_feature)
constexpr bool isSanitized = __has_feature(address_sanitizer);
#else
constexpr bool isSanitized = false;
#endif
constexpr std::size_t spareLimit = isSanitized ? 0 : std::size_t{256} << 20;

thread_local constinit sSpare spare{nullptr, 0, false};

void dropSpare() noexcept {
    if (spare.allocated != nullptr)
        freeHuge(spare.allocated);
    spare.allocated = nullptr;
}

// Blocks of middle size that this thread released last, the newest at the end. Allocators give
// memory of that size back to the system and take it anew, page by page, which costs more than most
// operations. Chains of them need several sizes at a time, so several blocks are kept, until a
// large one is allocated.
struct sShelf {
    struct sBlock {
        void* allocated;
        std::size_t bytes;
    };
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
};
constexpr std::size_t shelfLimit = std::size_t{16} << 20;

thread_local constinit sShelf shelf{};

/// Leaves the newest, of this many bytes at most.
void clearShelf(std::size_t most) noexcept {
    while (shelf.total > most)
        ::operator delete(shelf.Remove(0));
}

struct sAtThreadEnd {
    bool registered = false;
    ~sAtThreadEnd() {
        dropSpare();
        clearShelf(0);
        spare.closed = true;
    }
};
thread_local sAtThreadEnd atThreadEnd;

void* allocateHuge(std::size_t bytes) {
    if (spare.allocated != nullptr && spare.bytes == bytes)
        return std::exchange(spare.allocated, nullptr);
    dropSpare();
    clearShelf(0);
    void* allocated = ::operator new (bytes, std::align_val_t{hugePage});
    askForHugePages(allocated, bytes);
    return allocated;
}

void releaseHuge(void* allocated, std::size_t bytes) noexcept {
    if (bytes > spareLimit || spare.closed)
        return freeHuge(allocated);
    atThreadEnd.registered = true;
    dropSpare();
    offerBack(allocated, bytes);
    spare.allocated = allocated;
    spare.bytes = bytes;
}

void* allocateMiddle(std::size_t bytes) {
    for (std::size_t place = shelf.count; place-- > 0;)
        if (shelf.blocks[place].bytes == bytes)
            return shelf.Remove(place);
    return ::operator new(bytes);
}

void releaseMiddle(void* allocated, std::size_t bytes) noexcept {
    if (isSanitized || spare.closed)
        return ::operator delete(allocated);
    atThreadEnd.registered = true;
    clearShelf(shelfLimit - bytes);
    if (shelf.count == std::size(shelf.blocks))
        ::operator delete(shelf.Remove(0));
    shelf.blocks[shelf.count++] = {allocated, bytes};
    shelf.total += bytes;
}

void* allocate(std::size_t bytes) {
    if (bytes == 0)
        return nullptr;
    if (bytes < middleFrom)
        return ::operator new(withRoom(bytes));
    if (bytes < hugeFrom)
        return allocateMiddle(wholePages(bytes));
    if (bytes > std::numeric_limits<std::size_t>::max() - hugePage)
        throw std::bad_alloc();
    return allocateHuge(wholeHugePages(bytes));
}

void release(void* allocated, std::size_t bytes) noexcept {
    if (bytes < middleFrom)
        ::operator delete(allocated);
    else if (bytes < hugeFrom)
        releaseMiddle(allocated, wholePages(bytes));
    else
        releaseHuge(allocated, wholeHugePages(bytes));
}

} // namespace

mem_cBlock::mem_cBlock(std::size_t bytes) : allocated_(allocate(bytes)), size_(bytes) {}

mem_cBlock::mem_cBlock(const mem_cBlock& other) : mem_cBlock(other.size_) {
    if (size_ != 0)
        std::memcpy(Data(), other.Data(), size_);
}

mem_cBlock::mem_cBlock(mem_cBlock&& other) noexcept
    : allocated_(std::exchange(other.allocated_, nullptr)), size_(std::exchange(other.size_, 0)) {}

mem_cBlock& mem_cBlock::operator=(const mem_cBlock& other) {
    if (size_ != other.size_)
        return *this = mem_cBlock(other);
    if (this != &other && size_ != 0)
        std::memcpy(Data(), other.Data(), size_);
    return *this;
}

mem_cBlock& mem_cBlock::operator=(mem_cBlock&& other) noexcept {
    mem_cBlock taken(std::move(other));
    std::swap(allocated_, taken.allocated_);
    std::swap(size_, taken.size_);
    return *this;
}

mem_cBlock::~mem_cBlock() {
    if (allocated_ != nullptr)
        release(allocated_, size_);
}

} // namespace dataprocessing::detail
