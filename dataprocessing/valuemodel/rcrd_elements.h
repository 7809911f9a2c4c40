#pragma once

// The elements of a record: where they are taken from, and where they are put as they arrive.

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/platform/memory.h"

namespace dataprocessing::detail {

/// Room for the elements that a stream claims to have. The storage meant for all of them is made
/// when a quarter of it has arrived; until then they are kept in blocks that grow with them.
class rcrd_cRoom {
public:
    /// Room for `total` bytes; `make` makes the storage for all of them.
    rcrd_cRoom(std::size_t total, std::function<void*()> make)
        : total_(total), make_(std::move(make)) {}

    /// Room for what comes next; empty when all has arrived. Throws std::bad_alloc, and what `make`
    /// throws.
    std::span<std::byte> Next();
    /// Puts `bytes` where they come next. Throws sRefusal when there is no room for them.
    void Put(std::span<const std::byte> bytes);
    /// The first `bytes` of that room have been filled.
    void Took(std::size_t bytes) noexcept { have_ += bytes; }
    /// Whether nothing has arrived.
    bool IsEmpty() const noexcept { return have_ == 0; }
    /// Whether all has arrived. Storage without a byte is made here.
    bool IsFull();

private:
    void Grow();

    std::size_t total_;
    std::function<void*()> make_;
    std::size_t have_ = 0;
    std::size_t capacity_ = 0;
    mem_cBlock early_;
    void* all_ = nullptr;
    bool isMade_ = false;
};

/// What elements are, and where they lie.
struct rcrd_sElements {
    dtyp_cDataType type;
    int columns = 0;
    int rows = 1;
    const void* data = nullptr;

    std::size_t Bytes() const noexcept {
        return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) * type.SizeOf();
    }
};

/// The word for an element type; empty for an unknown one.
std::string_view rcrd_NameOf(dtyp_cDataType type) noexcept;
/// The type of a word, or one of code 0.
dtyp_cDataType rcrd_TypeOf(std::string_view name) noexcept;

/// Calls `put` with each line of the text form of some elements. Throws what that throws.
void rcrd_PrintLines(const rcrd_sElements& elements,
                     const std::function<void(const std::string& line)>& put);
/// Calls `put` with each element of a line of the text form. Throws sRefusal when there are other
/// things in it, and what `put` throws.
void rcrd_ParseLine(std::string_view line, dtyp_cDataType type,
                    const std::function<void(std::span<const std::byte> element)>& put);

/// Turns the bytes of each word round, where `size` bytes are a word: from the order of this
/// machine to little-endian and back, on a machine of the other order.
void rcrd_TurnBytes(std::span<std::byte> bytes, std::size_t size) noexcept;
/// The bytes in the part of an element that is turned round.
std::size_t rcrd_WordSize(dtyp_cDataType type) noexcept;

} // namespace dataprocessing::detail
