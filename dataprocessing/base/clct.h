#pragma once

/// @file
/// Small unordered collections that grow in steps: bags, and sets without duplicates.

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/platform/memory.h"

/// A collection of small values (handles, pointers, numbers) in a block of slots.
///
/// The block always has the next multiple of `Step` above the count: a new bag has `Step` slots, an
/// addition that brings the count to a multiple of `Step` adds `Step` slots, and a removal from a
/// count that is a multiple of `Step` gives them back. Removal fills the gap with the last element,
/// so the order is that of insertion until something is removed. Copying copies the values, not
/// what they refer to, into a block of the same size. Moving takes the block: the bag that was
/// moved from is empty, and has no slots until something is added. A change of the bag ends every
/// iteration over it.
template<class T>
class clct_cBag {
    static_assert(std::is_nothrow_move_assignable_v<T> &&
                      std::is_nothrow_default_constructible_v<T>,
                  "elements are values that move without failing");

public:
    using value_type = T;            ///< the element type
    using const_iterator = const T*; ///< iteration is for reading only

    /// The number of slots by which the block grows and shrinks.
    static constexpr int Step = 5;

    /// An empty bag of `Step` slots.
    clct_cBag() : slots_(Step) {}

    /// A copy of the values, in the same order.
    clct_cBag(const clct_cBag&) = default;
    /// Takes the block; see above.
    clct_cBag(clct_cBag&&) noexcept = default;
    /// Becomes a copy of the values, in the same order.
    clct_cBag& operator=(const clct_cBag&) = default;
    /// Takes the block; see above.
    clct_cBag& operator=(clct_cBag&& other) noexcept {
        clct_cBag taken(std::move(other));
        slots_.swap(taken.slots_);
        std::swap(count_, taken.count_);
        return *this;
    }
    ~clct_cBag() = default;

    /// Adds `element` at the end. On `std::bad_alloc` the bag is unchanged.
    void Add(T element) {
        const std::size_t wanted = SlotsFor(count_ + 1);
        if (slots_.size() < wanted) {
            slots_.reserve(wanted);
            slots_.resize(wanted);
        }
        slots_[static_cast<std::size_t>(count_)] = std::move(element);
        count_ = count_ + 1;
    }

    /// Removes the element at `position`, where the last element takes its place. Raises the index
    /// error unless 0 <= `position` < `Count()`.
    void RemoveAt(int position) {
        arr_CheckedIndex(position, count_);
        if (count_ % Step == 0) {
            slots_.resize(slots_.size() - Step);
            slots_.shrink_to_fit();
        }
        count_ = count_ - 1;
        T& last = slots_[static_cast<std::size_t>(count_)];
        if (position != count_)
            slots_[static_cast<std::size_t>(position)] = std::move(last);
        last = T();
    }

    /// Removes the first element equal to `element`, as `RemoveAt` does; answers whether there was
    /// one.
    bool Remove(const T& element) {
        const int position = Find(element);
        if (position < 0)
            return false;
        RemoveAt(position);
        return true;
    }

    /// Removes every element; a block of more than `Step` slots is replaced by one of `Step`.
    void Clear() noexcept {
        if (!slots_.empty()) {
            slots_.clear();
            slots_.resize(Step);
            slots_.shrink_to_fit();
        }
        count_ = 0;
    }

    /// The position of the first element equal to `element`, or -1.
    int Find(const T& element) const {
        const T* const found = std::find(begin(), end(), element);
        return found == end() ? -1 : static_cast<int>(found - begin());
    }
    /// Whether an element equals `element`.
    bool Contains(const T& element) const { return Find(element) >= 0; }

    /// The number of elements.
    int Count() const noexcept { return count_; }
    /// Whether there are no elements.
    bool IsEmpty() const noexcept { return count_ == 0; }
    /// The number of slots in the block: (count / `Step` + 1) x `Step`, or 0 after a move.
    int Slots() const noexcept { return static_cast<int>(slots_.size()); }

    /// The element at `position`; raises the index error unless 0 <= `position` < `Count()`.
    const T& operator[](int position) const {
        return slots_[static_cast<std::size_t>(arr_CheckedIndex(position, count_))];
    }

    /// Iteration from position 0 to `Count()` - 1.
    const T* begin() const noexcept { return slots_.data(); }
    /// The end of the iteration.
    const T* end() const noexcept { return slots_.data() + count_; }

private:
    static std::size_t SlotsFor(int count) noexcept {
        return static_cast<std::size_t>(count / Step + 1) * Step;
    }

    std::vector<T> slots_;
    dataprocessing::detail::mem_cCount count_;
};

/// A bag without duplicates: of elements that compare equal it holds one, the first added. Handles
/// and pointers compare by what they refer to. Otherwise as `clct_cBag`.
///
///     clct_cSet<hndl_cHandle<rnge_c1DRange>> ranges;
///     if (ranges.Add(range)) range.AddReceiver(view, mesg_AllClasses);
template<class T>
class clct_cSet : private clct_cBag<T> {
    using cBag = clct_cBag<T>;

public:
    using cBag::Step;
    using typename cBag::const_iterator;
    using typename cBag::value_type;

    /// Adds `element` at the end unless an equal one is there; answers whether it was added. On
    /// `std::bad_alloc` the set is unchanged.
    bool Add(T element) {
        if (Contains(element))
            return false;
        cBag::Add(std::move(element));
        return true;
    }

    using cBag::begin;
    using cBag::Clear;
    using cBag::Contains;
    using cBag::Count;
    using cBag::end;
    using cBag::Find;
    using cBag::IsEmpty;
    using cBag::Remove;
    using cBag::RemoveAt;
    using cBag::Slots;
    using cBag::operator[];
};

/// A bag of pointers to objects that it does not own: whoever uses it says who deletes them.
template<class T>
using clct_cPtrBag = clct_cBag<T*>;

/// A set of pointers to distinct objects that it does not own: whoever uses it says who deletes
/// them.
template<class T>
using clct_cPtrSet = clct_cSet<T*>;
