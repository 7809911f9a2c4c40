#pragma once

/// @file
/// The loop over elements that every operation runs: operands that are not stored as they are
/// wanted are fetched and converted in blocks that stay in the cache, results beyond the caches are
/// written past them, and a step may end it early.

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/platform/stream.h"
#include "dataprocessing/valuemodel/pnum.h"
#include "dataprocessing/valuemodel/view.h"

namespace dataprocessing::detail {

/// An operand as a loop reads it: in place where its elements are stored as they are wanted, else
/// fetched a block at a time. It refers to what it was made from.
class blocks_cSource {
public:
    /// Nothing, which is not read.
    blocks_cSource() noexcept = default;
    /// A number: one element, of its type.
    explicit blocks_cSource(const pnum_cNumber& number) noexcept
        : data_(number.Data()), stored_(number.DataType()), wanted_(stored_) {}
    /// An array: elements of `type` where they are.
    blocks_cSource(const void* elements, dtyp_cDataType type) noexcept
        : blocks_cSource(elements, type, type) {}
    /// An array: elements that are `stored` as one type and wanted in another.
    blocks_cSource(const void* elements, dtyp_cDataType stored, dtyp_cDataType wanted,
                   conv_eComplexConversion mode = conv_RealPart) noexcept
        : data_(elements), stored_(stored), wanted_(wanted), mode_(mode), isArray_(true) {}
    /// An array: the elements that `view` sees, in its type. They are fetched, also those that are
    /// seen in their order.
    explicit blocks_cSource(const view_cView& view) noexcept
        : wanted_(view.Type()), isArray_(true), view_(&view) {}

    /// Whether there are many elements rather than one.
    bool IsArray() const noexcept { return isArray_; }
    /// The type that the elements are stored as in their order; of code 0 where a view sees them.
    dtyp_cDataType StoredType() const noexcept { return stored_; }
    /// The elements as they are stored, in their StoredType(), which is known.
    blocks_cSource Stored() const noexcept {
        blocks_cSource source = *this;
        source.wanted_ = stored_;
        source.view_ = nullptr;
        return source;
    }
    /// The bytes of an element that has to be fetched; 0 where none has.
    std::size_t FetchedSize() const noexcept { return stored_ != wanted_ ? wanted_.SizeOf() : 0; }
    /// The elements from `first` up to `first + count`: where they are, or in `block`, which has
    /// room for them. For a number, its element.
    const void* Read(std::size_t first, std::size_t count, void* block) const {
        const std::byte* const elements =
            static_cast<const std::byte*>(data_) + (isArray_ ? first * stored_.SizeOf() : 0);
        if (stored_ == wanted_)
            return elements;
        if (view_ != nullptr)
            view_->Fetch(first, count, block);
        else
            conv_Elements(elements, stored_, block, wanted_, count, mode_);
        return block;
    }

private:
    const void* data_ = nullptr;
    dtyp_cDataType stored_{0};
    dtyp_cDataType wanted_{0};
    conv_eComplexConversion mode_ = conv_RealPart;
    bool isArray_ = false;
    const view_cView* view_ = nullptr;
};

/// What a loop goes over: the elements [first, last) of a result. A loop that only looks has none,
/// of size 0.
struct blocks_sRange {
    void* result;
    std::size_t size; ///< of an element of the result, in bytes
    std::size_t first;
    std::size_t last;
    /// The most elements for one step, also where nothing has to be fetched.
    std::size_t most = std::numeric_limits<std::size_t>::max();
};

template<class Step, class... Sources, std::size_t... I>
[[gnu::noinline]] bool blocks_RunIndexed(const blocks_sRange& range, const Step& step,
                                         std::index_sequence<I...>, const Sources&... sources) {
    // A block of each, and what they come from, stay in the first-level cache.
    constexpr std::size_t blockBytes = 4096;
    alignas(64) std::byte blocks[sizeof...(I)][blockBytes];
    alignas(64) std::byte blockResult[blockBytes];

    const bool streams = (range.last - range.first) * range.size >= stream_From;
    const std::size_t widest = std::max({streams ? range.size : 0, sources.FetchedSize()...});
    const std::size_t most = widest == 0 ? range.most : std::min(range.most, blockBytes / widest);
    for (std::size_t first = range.first, count = 0; first < range.last; first += count) {
        count = std::min(most, range.last - first);
        std::byte* target = static_cast<std::byte*>(range.result) + first * range.size;
        std::byte* written = streams ? blockResult : target;
        if (!step(written, count, sources.Read(first, count, blocks[I])...))
            return false;
        if (streams)
            stream_Out(target, written, count * range.size);
    }
    if (streams)
        stream_End();
    return true;
}

/// Calls step(target, count, elements of each source...) block by block, in order; the step writes
/// `count` elements to `target` and answers whether to go on. Where nothing has to be fetched and
/// the result is not streamed, one block is all there is, up to range.most. Answers whether every
/// step wanted to go on. Nothing is allocated.
template<class Step, class... Sources>
bool blocks_Run(const blocks_sRange& range, const Step& step, const Sources&... sources) {
    const std::size_t count = range.last - range.first;
    const bool isInPlace = ((sources.FetchedSize() == 0) && ...);
    if (isInPlace && count <= range.most && count * range.size < stream_From) [[likely]]
        return count == 0 || step(static_cast<std::byte*>(range.result) + range.first * range.size,
                                  count, sources.Read(range.first, count, nullptr)...);
    return blocks_RunIndexed(range, step, std::index_sequence_for<Sources...>(), sources...);
}

} // namespace dataprocessing::detail
