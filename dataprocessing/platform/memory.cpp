#include "dataprocessing/platform/memory.h"

#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "dataprocessing/platform/keep.h"

#if defined(__linux__)
    #include <sys/mman.h>
#endif

namespace dataprocessing::detail {

namespace {

constexpr std::size_t cacheLine = 64;
constexpr std::size_t page = 4096;
constexpr std::size_t middleFrom = std::size_t{128} << 10;
constexpr std::size_t largeFrom = std::size_t{4} << 20;

// An allocator finds unaligned storage several times faster than aligned storage, so small blocks
// ask for room to begin on a cache line within.
constexpr std::size_t withRoom(std::size_t bytes) noexcept {
    return bytes + cacheLine - __STDCPP_DEFAULT_NEW_ALIGNMENT__;
}

constexpr std::size_t wholePages(std::size_t bytes) noexcept {
    return (withRoom(bytes) + page - 1) / page * page;
}

constexpr std::size_t wholeHugePages(std::size_t bytes) noexcept {
    return (bytes + keep_hugePage - 1) / keep_hugePage * keep_hugePage;
}

// A request for speed alone: nobody looks at the answer.
void askForHugePages([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    madvise(data, bytes, MADV_HUGEPAGE);
#endif
}

void* allocateLarge(std::size_t bytes) {
    if (void* const kept = keep_TakeLarge(bytes))
        return kept;
    void* const allocated = ::operator new (bytes, std::align_val_t{keep_hugePage});
    askForHugePages(allocated, bytes);
    return allocated;
}

void* allocateMiddle(std::size_t bytes) {
    void* const kept = keep_TakeMiddle(bytes);
    return kept != nullptr ? kept : ::operator new(bytes);
}

void* allocate(std::size_t bytes) {
    if (bytes == 0)
        return nullptr;
    if (bytes < middleFrom)
        return ::operator new(withRoom(bytes));
    if (bytes < largeFrom)
        return allocateMiddle(wholePages(bytes));
    if (bytes > std::numeric_limits<std::size_t>::max() - keep_hugePage)
        throw std::bad_alloc();
    return allocateLarge(wholeHugePages(bytes));
}

void release(void* allocated, std::size_t bytes) noexcept {
    if (bytes < middleFrom)
        ::operator delete(allocated);
    else if (bytes < largeFrom)
        keep_PutMiddle(allocated, wholePages(bytes));
    else
        keep_PutLarge(allocated, wholeHugePages(bytes));
}

} // namespace

mem_cBlock::mem_cBlock(std::size_t bytes) : storage_{allocate(bytes), bytes} {}

mem_cBlock::mem_cBlock(const mem_cBlock& other) : mem_cBlock(other.Size()) {
    if (Size() != 0)
        std::memcpy(Data(), other.Data(), Size());
}

mem_cBlock::mem_cBlock(mem_cBlock&& other) noexcept : storage_(other.Detach()) {}

mem_cBlock& mem_cBlock::operator=(const mem_cBlock& other) {
    if (Size() != other.Size())
        return *this = mem_cBlock(other);
    if (this != &other && Size() != 0)
        std::memcpy(Data(), other.Data(), Size());
    return *this;
}

mem_cBlock& mem_cBlock::operator=(mem_cBlock&& other) noexcept {
    mem_cBlock taken(std::move(other));
    std::swap(storage_, taken.storage_);
    return *this;
}

mem_cBlock::~mem_cBlock() {
    if (storage_.allocated != nullptr)
        release(storage_.allocated, storage_.bytes);
}

} // namespace dataprocessing::detail
