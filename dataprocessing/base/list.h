#pragma once

/// @file
/// An ordered list of objects that are owned elsewhere.

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <vector>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"

/// A list of pointers to objects that it does not own: they must outlive their membership. Copying
/// copies the pointers. The same object may be listed more than once; null is refused everywhere
/// with a program error (unit "list", line 1). Positions run from 0 to `Size()` - 1; another one
/// raises the index error. On any exception the list is unchanged.
///
///     list_cPtrList<gsft_cGaussian> peaks({&low, &high});
///     for (const gsft_cGaussian* peak : peaks) total += peak->Intensity();
template<class T>
class list_cPtrList {
public:
    using value_type = T*;            ///< the element type
    using const_iterator = T* const*; ///< iteration is for reading only

    /// An empty list.
    list_cPtrList() noexcept = default;
    /// The listed objects, in this order.
    list_cPtrList(std::initializer_list<T*> elements) {
        elements_.reserve(elements.size());
        for (T* element : elements)
            Append(element);
    }

    /// Adds `element` at the end.
    void Append(T* element) { elements_.push_back(NotNull(element)); }

    /// Adds `element` before the one at `position`; at `Size()`, adds it at the end.
    void Insert(int position, T* element) {
        if (position < 0 || position > Size()) [[unlikely]]
            arr_IndexError(position, Size());
        elements_.insert(elements_.begin() + position, NotNull(element));
    }

    /// Takes out the element at `position`; those after it move up.
    void RemoveAt(int position) {
        elements_.erase(elements_.begin() + arr_CheckedIndex(position, Size()));
    }

    /// Takes out the first occurrence of `element`; answers whether there was one.
    bool Remove(const T* element) {
        const int position = IndexOf(element);
        if (position < 0)
            return false;
        RemoveAt(position);
        return true;
    }

    /// Takes out everything; the objects live on.
    void Clear() noexcept { elements_.clear(); }

    /// The position of the first occurrence of that very object, or -1.
    int IndexOf(const T* element) const noexcept {
        const auto found = std::find(elements_.begin(), elements_.end(), element);
        return found == elements_.end() ? -1 : static_cast<int>(found - elements_.begin());
    }

    /// The number of elements.
    int Size() const noexcept { return static_cast<int>(elements_.size()); }

    /// The element at `position`, never null.
    T* operator[](int position) const {
        return elements_[static_cast<std::size_t>(arr_CheckedIndex(position, Size()))];
    }

    /// Iteration over the pointers, in order; any change of the list ends it.
    T* const* begin() const noexcept { return elements_.data(); }
    /// The end of the iteration.
    T* const* end() const noexcept { return elements_.data() + elements_.size(); }

private:
    static T* NotNull(T* element) {
        if (!element) [[unlikely]]
            throw expt_cProgramException("list", 1, "A list holds no null pointers.");
        return element;
    }

    std::vector<T*> elements_;
};
