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

constexpr std::align_val_t alignmentOf(std::size_t bytes) noexcept {
    return std::align_val_t{bytes < hugeFrom ? cacheLine : hugePage};
}

// A refused request changes nothing but the speed, so nobody looks at the answer.
void askForHugePages([[maybe_unused]] void* data, [[maybe_unused]] std::size_t bytes) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    madvise(data, bytes - bytes % hugePage, MADV_HUGEPAGE);
#endif
}

void* allocate(std::size_t bytes) {
    if (bytes == 0)
        return nullptr;
    void* data = ::operator new(bytes, alignmentOf(bytes));
    if (bytes >= hugeFrom)
        askForHugePages(data, bytes);
    return data;
}

} // namespace

mem_cBlock::mem_cBlock(std::size_t bytes) : data_(allocate(bytes)), size_(bytes) {}

mem_cBlock::mem_cBlock(const mem_cBlock& other) : mem_cBlock(other.size_) {
    if (size_ != 0)
        std::memcpy(data_, other.data_, size_);
}

mem_cBlock::mem_cBlock(mem_cBlock&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}

mem_cBlock& mem_cBlock::operator=(const mem_cBlock& other) {
    if (size_ != other.size_)
        return *this = mem_cBlock(other);
    if (this != &other && size_ != 0)
        std::memcpy(data_, other.data_, size_);
    return *this;
}

mem_cBlock& mem_cBlock::operator=(mem_cBlock&& other) noexcept {
    mem_cBlock taken(std::move(other));
    std::swap(data_, taken.data_);
    std::swap(size_, taken.size_);
    return *this;
}

mem_cBlock::~mem_cBlock() {
    if (data_ != nullptr)
        ::operator delete(data_, size_, alignmentOf(size_));
}

} // namespace dataprocessing::detail
