#include "dataprocessing/platform/memory.h"

#include <cstring>
#include <new>
#include <utility>

#if defined(__linux__)
    #include <sys/mman.h>
#endif

namespace dataprocessing::detail {

namespace {

constexpr std::size_t cacheLine = 64;
constexpr std::size_t hugePage = std::size_t{2} << 20;
constexpr std::size_t hugeFrom = std::size_t{4} << 20;

// A refused request changes nothing but the speed, so nobody looks at the answer.
void askForHugePages([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    madvise(data, bytes - bytes % hugePage, MADV_HUGEPAGE);
#endif
}

// An allocator finds unaligned storage several times faster than aligned storage, so small blocks
// ask for room to begin on a cache line within.
constexpr std::size_t withRoom(std::size_t bytes) noexcept {
    return bytes + cacheLine - __STDCPP_DEFAULT_NEW_ALIGNMENT__;
}

void* allocate(std::size_t bytes) {
    if (bytes == 0)
        return nullptr;
    if (bytes < hugeFrom)
        return ::operator new(withRoom(bytes));
    void* allocated = ::operator new (bytes, std::align_val_t{hugePage});
    askForHugePages(allocated, bytes);
    return allocated;
}

void release(void* allocated, std::size_t bytes) noexcept {
    if (bytes < hugeFrom)
        ::operator delete(allocated, withRoom(bytes));
    else
        ::operator delete (allocated, bytes, std::align_val_t{hugePage});
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
