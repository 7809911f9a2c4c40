#include "tests/failing_new.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr long unlimited = std::numeric_limits<long>::max();

std::atomic<long> allocations = 0;
std::atomic<long> live = 0;
std::atomic<long> lastAllowed = unlimited;
std::atomic<std::size_t> largestAllowed = std::numeric_limits<std::size_t>::max();

/// Blocks that were allocated since a PeakOfNew was made, by the thread that made it. What an
/// allocator adds to them does not count.
struct sMeasured {
    struct sBlock {
        void* block;
        std::size_t size;
    };
    sBlock blocks[1024];
    bool isOn;
    std::size_t live;
    std::size_t peak;

    void Add(void* block, std::size_t size) noexcept {
        for (sBlock& place : blocks)
            if (place.block == nullptr) {
                place = {block, size};
                live += size;
                peak = live > peak ? live : peak;
                return;
            }
    }
    void Remove(void* block) noexcept {
        for (sBlock& place : blocks)
            if (place.block == block) {
                live -= place.size;
                place = {};
                return;
            }
    }
};
thread_local sMeasured measured{};

void* allocateOrNull(std::size_t size, std::size_t alignment) noexcept {
    if (++allocations > lastAllowed || size > largestAllowed)
        return nullptr;
    const std::size_t some = size == 0 ? 1 : size;
    void* const block =
        alignment <= alignof(std::max_align_t)
            ? std::malloc(some)
            : std::aligned_alloc(alignment, (some + alignment - 1) / alignment * alignment);
    if (block) {
        ++live;
        if (measured.isOn)
            measured.Add(block, size);
    }
    return block;
}

void* allocate(std::size_t size, std::size_t alignment) {
    void* const block = allocateOrNull(size, alignment);
    if (!block)
        throw std::bad_alloc();
    return block;
}

void release(void* block) noexcept {
    if (block) {
        --live;
        if (measured.isOn)
            measured.Remove(block);
    }
    std::free(block);
}

} // namespace

long allocationCount() noexcept { return allocations; }
long liveAllocations() noexcept { return live; }

FailingNew::FailingNew(long allowed) noexcept { lastAllowed = allocations + allowed; }
FailingNew::~FailingNew() { lastAllowed = unlimited; }

LimitedNew::LimitedNew(std::size_t bytes) noexcept { largestAllowed = bytes; }
LimitedNew::~LimitedNew() { largestAllowed = std::numeric_limits<std::size_t>::max(); }

PeakOfNew::PeakOfNew() noexcept {
    measured = {};
    measured.isOn = true;
}
PeakOfNew::~PeakOfNew() { measured.isOn = false; }
std::size_t PeakOfNew::Bytes() const noexcept { return measured.peak; }

// Every form is replaced: the runtime of a sanitizer has its own of those that are not.
void* operator new(std::size_t size) { return allocate(size, 1); }
void* operator new[](std::size_t size) { return allocate(size, 1); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocateOrNull(size, 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocateOrNull(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocateOrNull(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocateOrNull(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    release(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    release(block);
}
