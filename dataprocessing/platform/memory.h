#pragma once

/// @file
/// Storage of array elements, and what a thread keeps of it.

#include <cstddef>
#include <cstdint>
#include <utility>

#include "dataprocessing/dataprocessing_export.h"

/// Gives back what this thread keeps of the storage that it has released: the last large block, of
/// at most 256 MiB, up to 16 MiB of smaller ones, and the tables and the room of transforms, at
/// most 32 MiB. The next calls allocate anew. For threads that live on after heavy work; a thread
/// that ends gives all of it back by itself. Nothing is thrown.
///
///     const darr_c2DArray sum = stack(images);
///     mem_ReleaseKept(); // the thread waits for the next job
DATAPROCESSING_EXPORT void mem_ReleaseKept() noexcept;

namespace dataprocessing::detail {

/// Storage as it was allocated, and how many bytes were asked for.
struct mem_sStorage {
    void* allocated = nullptr;
    std::size_t bytes = 0;
};

/// Uninitialised storage that begins on a cache line. Storage of 4 MiB and more begins on a huge
/// page and asks the system for huge pages, so that touching it for the first time takes hundreds
/// of page faults fewer; where the system has no such request it is ordinary storage. Some of the
/// storage of 128 KiB and more that a thread releases is kept for its next blocks of the same size.
class DATAPROCESSING_EXPORT mem_cBlock {
public:
    /// No storage.
    mem_cBlock() noexcept = default;
    /// Storage of this many bytes, with undefined content. Throws std::bad_alloc.
    explicit mem_cBlock(std::size_t bytes);
    /// Storage of its own with the same content.
    mem_cBlock(const mem_cBlock& other);
    /// Takes the storage; `other` is left with none.
    mem_cBlock(mem_cBlock&& other) noexcept;
    /// As the copy; when it throws, nothing has changed. A block of the same size is overwritten
    /// in place.
    mem_cBlock& operator=(const mem_cBlock& other);
    /// As the move.
    mem_cBlock& operator=(mem_cBlock&& other) noexcept;
    ~mem_cBlock();

    /// The first byte; null where there is none.
    void* Data() noexcept { return FirstLine(); }
    /// The first byte; null where there is none.
    const void* Data() const noexcept { return FirstLine(); }
    /// The number of bytes.
    std::size_t Size() const noexcept { return storage_.bytes; }

    /// Takes over what Detach gave.
    explicit mem_cBlock(mem_sStorage detached) noexcept : storage_(detached) {}
    /// Lets go of the storage, which then nobody owns; this block is left with none.
    mem_sStorage Detach() noexcept { return std::exchange(storage_, {}); }

private:
    // What was allocated begins anywhere, the block on the first cache line in it.
    void* FirstLine() const noexcept {
        constexpr std::uintptr_t line = 64;
        const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(storage_.allocated);
        return reinterpret_cast<void*>((begin + (line - 1)) & ~(line - 1));
    }

    mem_sStorage storage_;
};

/// The number of elements of something that owns them: 0 once it has been moved from.
class mem_cCount {
public:
    constexpr mem_cCount(int count = 0) noexcept : count_(count) {}
    constexpr mem_cCount(const mem_cCount&) noexcept = default;
    constexpr mem_cCount(mem_cCount&& other) noexcept : count_(std::exchange(other.count_, 0)) {}
    constexpr mem_cCount& operator=(const mem_cCount&) noexcept = default;
    constexpr mem_cCount& operator=(mem_cCount&& other) noexcept {
        const int count = std::exchange(other.count_, 0);
        count_ = count;
        return *this;
    }

    constexpr operator int() const noexcept { return count_; }

private:
    int count_;
};

} // namespace dataprocessing::detail
