#pragma once

/// @file
/// What a loop over elements reads: a number, or the elements that a view sees.

#include <cstddef>

#include "dataprocessing/valuemodel/view.h"

namespace dataprocessing::detail {

/// An operand as a loop reads it: in place where its elements are stored as they are wanted, else
/// fetched a block at a time. It refers to what it was made from.
class view_cSource {
public:
    /// A number: one element of the type wanted.
    explicit view_cSource(const void* element) noexcept : data_(element) {}
    /// An array: the elements that `view` sees.
    explicit view_cSource(const view_cView& view) noexcept
        : data_(view.Direct()), step_(view.Type().SizeOf()), isArray_(true),
          view_(data_ == nullptr ? &view : nullptr) {}
    /// An array: `elements`, of `size` bytes each.
    view_cSource(const void* elements, std::size_t size) noexcept
        : data_(elements), step_(size), isArray_(true) {}

    /// Whether there are many elements rather than one.
    bool IsArray() const noexcept { return isArray_; }
    /// Whether all elements can be read where they are.
    bool InPlace() const noexcept { return view_ == nullptr; }
    /// The elements from `first` up to `first + count`: where they are, or in `block`, which has
    /// room for them. For a number, its element.
    const void* Read(std::size_t first, std::size_t count, void* block) const {
        if (view_ == nullptr)
            return static_cast<const std::byte*>(data_) + first * step_;
        view_->Fetch(first, count, block);
        return block;
    }

private:
    const void* data_;
    std::size_t step_ = 0; // a number stays where it is
    bool isArray_ = false;
    const view_cView* view_ = nullptr;
};

} // namespace dataprocessing::detail
