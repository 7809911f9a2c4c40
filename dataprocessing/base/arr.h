#pragma once

/// @file
/// The resizable arrays, and the two errors that every array of the library raises.

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/dataprocessing_export.h"

/// An index, or a run of indices, that lies outside its array. Unit "arr", line 1.
class DATAPROCESSING_EXPORT arr_cIndexException : public expt_cProgramException {
public:
    /// A refusal that does not say which index.
    arr_cIndexException();
    /// The refusal of `index` in an array of `size` elements; a negative `size` is one that is not
    /// known.
    arr_cIndexException(long long index, long long size);
    /// The same, with a message of its own.
    arr_cIndexException(long long index, long long size, const str_cString& message);
    ~arr_cIndexException() override;

    arr_cIndexException(const arr_cIndexException&) noexcept = default;
    arr_cIndexException& operator=(const arr_cIndexException&) noexcept = default;

    /// The refused index, 2^63-1 for a larger one; -1 where it is not known.
    long long Index() const noexcept { return index_; }
    /// The element count that the index was checked against; -1 where it is not known.
    long long Size() const noexcept { return size_; }

private:
    long long index_ = -1;
    long long size_ = -1;
};

/// An element count that no array can have, or that does not fit its partner. Unit "arr", line 2.
class DATAPROCESSING_EXPORT arr_cSizeException : public expt_cProgramException {
public:
    /// A refusal that does not say which size.
    arr_cSizeException();
    /// The refusal of `size`: it is negative, or more than 2147483647.
    explicit arr_cSizeException(long long size);
    /// The refusal of `size` where `expected` elements were needed.
    arr_cSizeException(long long size, long long expected);
    /// The same, with a message that says why.
    arr_cSizeException(long long size, long long expected, const str_cString& message);
    ~arr_cSizeException() override;

    arr_cSizeException(const arr_cSizeException&) noexcept = default;
    arr_cSizeException& operator=(const arr_cSizeException&) noexcept = default;

    /// The refused size; -1 where it is not known.
    long long Size() const noexcept { return size_; }
    /// The size that was needed; -1 where no particular one was.
    long long Expected() const noexcept { return expected_; }

private:
    long long size_ = -1;
    long long expected_ = -1;
};

/// Raises `arr_cIndexException` without details.
[[noreturn]] DATAPROCESSING_EXPORT void arr_IndexError();
/// Raises `arr_cIndexException` for `index` in an array of `size` elements (negative: not known).
[[noreturn]] DATAPROCESSING_EXPORT void arr_IndexError(long long index, long long size);
/// The same for an `index` that may be more than 2^63-1.
[[noreturn]] DATAPROCESSING_EXPORT void arr_WideIndexError(unsigned long long index,
                                                           long long size);

/// Raises `arr_cSizeException` without details.
[[noreturn]] DATAPROCESSING_EXPORT void arr_SizeError();
/// Raises `arr_cSizeException` for a `size` that no array can have.
[[noreturn]] DATAPROCESSING_EXPORT void arr_SizeError(long long size);
/// Raises `arr_cSizeException` for a `size` where `expected` elements were needed.
[[noreturn]] DATAPROCESSING_EXPORT void arr_SizeError(long long size, long long expected);

/// Returns `index`; raises the index error unless 0 <= `index` < `size`.
inline int arr_CheckedIndex(int index, int size) {
    if (index < 0 || index >= size) [[unlikely]]
        arr_IndexError(index, size);
    return index;
}

/// The same for an index of any type of integer.
template<std::integral T>
int arr_CheckedWideIndex(T index, int size) {
    static_assert(sizeof(T) <= sizeof(long long), "An index has at most 64 bits.");
    if constexpr (std::unsigned_integral<T>) {
        const unsigned long long wide = index;
        if (wide >= static_cast<unsigned long long>(size)) [[unlikely]]
            arr_WideIndexError(wide, size);
    } else {
        const long long wide = index;
        if (wide < 0 || wide >= size) [[unlikely]]
            arr_IndexError(wide, size);
    }
    return static_cast<int>(index);
}

/// Returns `size` as an int; raises the size error unless 0 <= `size` <= 2147483647.
inline int arr_CheckedSize(long long size) {
    if (size < 0 || size > std::numeric_limits<int>::max()) [[unlikely]]
        arr_SizeError(size);
    return static_cast<int>(size);
}

/// Returns the element count `columns` x `rows`; raises the size error when either is negative or
/// the count exceeds 2147483647.
inline int arr_CheckedSize(int columns, int rows) {
    return arr_CheckedSize(static_cast<long long>(arr_CheckedSize(columns)) *
                           arr_CheckedSize(rows));
}

/// Returns the place of (x, y) in row after row of `columns`; raises the index error unless both
/// lie within the `columns` x `rows` there are.
inline int arr_CheckedIndex(int x, int y, int columns, int rows) {
    return arr_CheckedIndex(y, rows) * columns + arr_CheckedIndex(x, columns);
}

/// What the new elements of an array hold.
enum arr_eFill : int {
    arr_ValueInitialised, ///< zero, or what the default constructor makes
    arr_Unset             ///< nothing: they are written before they are read
};

/// A heap block of exactly `Size()` elements, owned: copies are independent, a moved-from array is
/// empty. Elements are copied one by one; `T` needs a default constructor and a copy assignment.
///
///     arr_cArray<short> a({1, 2, 3});
///     a.SetSize(4);                       // 1, 2, 3, 0
template<class T>
class DATAPROCESSING_EXPORT arr_cArray {
public:
    using value_type = T; ///< the element type

    /// Frees the block.
    virtual ~arr_cArray() = default;

    /// Makes the array exactly `size` elements long, without spare capacity (no block at all for
    /// 0). The first min(old size, `size`) elements are kept, further ones value-initialised.
    /// A negative size raises the size error. On any exception the array is unchanged.
    virtual void SetSize(int size) { Resize(size, arr_ValueInitialised); }

    /// Copies `count` elements from `source[sourceStart]` on to this array from `start` on; the
    /// source may lie within this array. Raises the index error, before anything is copied, unless
    /// `start` >= 0, `sourceStart` >= 0 and `start` + `count` <= `Size()`. A `count` that is not
    /// positive copies nothing.
    virtual void CopyIn(const T* source, int count, int sourceStart, int start) {
        CheckRun(count, start);
        CheckOutside(sourceStart);
        if (count > 0)
            CopyRun(source + sourceStart, count, Data() + start);
    }

    /// Copies `count` elements of this array from `start` on to `target[targetStart]` on. Raises
    /// the index error, before anything is copied, unless `start` >= 0, `targetStart` >= 0 and
    /// `start` + `count` <= `Size()`. A `count` that is not positive copies nothing.
    virtual void CopyOut(T* target, int count, int start, int targetStart) const {
        CheckRun(count, start);
        CheckOutside(targetStart);
        if (count > 0)
            CopyRun(Data() + start, count, target + targetStart);
    }

    /// Sets `count` elements from `start` on to `value`. Raises the index error, before anything
    /// is set, unless `start` >= 0 and `start` + `count` <= `Size()`. A `count` that is not
    /// positive sets nothing.
    virtual void Fill(const T& value, int count, int start) {
        CheckRun(count, start);
        if (count > 0)
            std::fill_n(Data() + start, count, value);
    }

    /// Sets every element to `value`.
    void Fill(const T& value) { Fill(value, size_, 0); }

    /// No elements, no block.
    arr_cArray() noexcept = default;

    /// `size` value-initialised elements; a negative size raises the size error.
    explicit arr_cArray(int size) : arr_cArray(size, arr_ValueInitialised) {}

    /// `size` copies of `value`; a negative size raises the size error.
    arr_cArray(int size, const T& value) : arr_cArray(size, arr_Unset) {
        std::fill_n(block_.get(), size_, value);
    }

    /// Copies of the elements of `elements`; more than 2147483647 raise the size error.
    explicit arr_cArray(std::span<const T> elements)
        : arr_cArray(arr_CheckedSize(static_cast<long long>(elements.size())), arr_Unset) {
        std::copy(elements.begin(), elements.end(), block_.get());
    }

    /// The listed elements.
    arr_cArray(std::initializer_list<T> elements)
        : arr_cArray(std::span<const T>(elements.begin(), elements.size())) {}

    /// An independent copy of size and elements.
    arr_cArray(const arr_cArray& other) : arr_cArray(std::span<const T>(other)) {}

    /// Takes over the block of `other`, which becomes empty.
    arr_cArray(arr_cArray&& other) noexcept
        : block_(std::move(other.block_)), size_(std::exchange(other.size_, 0)) {}

    /// Becomes an independent copy of `other`. On any exception the array is unchanged.
    arr_cArray& operator=(const arr_cArray& other) {
        if (this != &other)
            *this = arr_cArray(other);
        return *this;
    }

    /// Takes over the block of `other`, which becomes empty.
    arr_cArray& operator=(arr_cArray&& other) noexcept {
        if (this != &other) {
            block_ = std::move(other.block_);
            size_ = std::exchange(other.size_, 0);
        }
        return *this;
    }

    /// The number of elements.
    int Size() const noexcept { return size_; }

    /// The first element; null for an empty array. Valid until the array is resized, assigned to,
    /// moved from or destroyed.
    T* Data() noexcept { return block_.get(); }
    /// The first element, for reading.
    const T* Data() const noexcept { return block_.get(); }

    /// Element `index`; raises the index error unless 0 <= `index` < `Size()`.
    T& operator[](int index) { return block_[Offset(index)]; }
    /// Element `index` for reading; raises the index error unless 0 <= `index` < `Size()`.
    const T& operator[](int index) const { return block_[Offset(index)]; }

    /// Iteration over the elements; with it an array converts to a `std::span`.
    T* begin() noexcept { return Data(); }
    /// The end of the iteration.
    T* end() noexcept { return Data() + size_; }
    /// Iteration over the elements, for reading.
    const T* begin() const noexcept { return Data(); }
    /// The end of the iteration.
    const T* end() const noexcept { return Data() + size_; }

protected:
    /// `size` new elements; a negative size raises the size error.
    arr_cArray(int size, arr_eFill fill)
        : block_(NewBlock(arr_CheckedSize(size), fill)), size_(size) {}

    /// SetSize, with this in the elements past the old size.
    void Resize(int size, arr_eFill fill) {
        arr_CheckedSize(size);
        if (size == size_)
            return;
        std::unique_ptr<T[]> block = NewBlock(size, fill);
        std::copy_n(block_.get(), std::min(size_, size), block.get());
        block_ = std::move(block);
        size_ = size;
    }

private:
    /// Raises the index error unless `start` >= 0 and `start` + `count` <= `Size()`.
    void CheckRun(int count, int start) const {
        const long long end = static_cast<long long>(start) + count;
        if (start < 0 || (end > size_ && count <= 0)) [[unlikely]]
            arr_IndexError(start, size_);
        if (end > size_) [[unlikely]]
            arr_IndexError(end - 1, size_);
    }

    /// Raises the index error for a negative start in storage whose size is not known.
    static void CheckOutside(int start) {
        if (start < 0) [[unlikely]]
            arr_IndexError(start, -1);
    }

    /// The two runs may overlap.
    static void CopyRun(const T* from, int count, T* to) {
        if (std::less<>()(from, static_cast<const T*>(to)))
            std::copy_backward(from, from + count, to + count);
        else
            std::copy_n(from, count, to);
    }

    static std::unique_ptr<T[]> NewBlock(int size, arr_eFill fill) {
        const std::size_t count = static_cast<std::size_t>(size);
        return size == 0                      ? nullptr
               : fill == arr_ValueInitialised ? std::make_unique<T[]>(count)
                                              : std::make_unique_for_overwrite<T[]>(count);
    }
    std::size_t Offset(int index) const {
        return static_cast<std::size_t>(arr_CheckedIndex(index, size_));
    }

    std::unique_ptr<T[]> block_;
    int size_ = 0;
};

/// An `arr_cArray` of plain data, copied as memory. New elements are **not initialised**: write
/// them before they are read.
///
///     arr_cC_Array<double> x;
///     x.SetSize(3);
///     x.Fill(0.0);
template<class T>
class DATAPROCESSING_EXPORT arr_cC_Array : public arr_cArray<T> {
    static_assert(std::is_trivially_copyable_v<T>, "elements are copied as memory");

public:
    using arr_cArray<T>::arr_cArray;

    /// No elements, no block.
    arr_cC_Array() noexcept = default;
    /// `size` elements, not initialised; a negative size raises the size error.
    explicit arr_cC_Array(int size) : arr_cArray<T>(size, arr_Unset) {}

    /// As the base, but elements past the old size are not initialised.
    void SetSize(int size) override { this->Resize(size, arr_Unset); }
};

/// A one-dimensional `arr_cArray`.
template<class T>
class DATAPROCESSING_EXPORT arr_c1DArray : public arr_cArray<T> {
public:
    using arr_cArray<T>::arr_cArray;
};

/// A one-dimensional `arr_cC_Array`.
template<class T>
class DATAPROCESSING_EXPORT arr_c1D_C_Array : public arr_cC_Array<T> {
public:
    using arr_cC_Array<T>::arr_cC_Array;
};

/// A vector of numbers. One made with a size alone is all zero; one grown by `SetSize` has, like
/// its base, new elements that are not initialised.
///
///     arr_c1DNumberArray<double> b({1.0, 2.0, 3.0});
template<class T>
class DATAPROCESSING_EXPORT arr_c1DNumberArray : public arr_c1D_C_Array<T> {
public:
    using arr_c1D_C_Array<T>::arr_c1D_C_Array;

    /// No elements.
    arr_c1DNumberArray() noexcept = default;
    /// `size` zeros; a negative size raises the size error.
    explicit arr_c1DNumberArray(int size) : arr_c1D_C_Array<T>(size, T()) {}
};

/// A matrix of numbers, row after row: element (r, c) is number r x `Columns()` + c.
///
///     arr_c2DNumberArray<double> a(2, 3);  // 2 columns, 3 rows, all zero
///     a(2, 1) = 5.0;                       // last row, last column
template<class T>
class arr_c2DNumberArray {
public:
    using value_type = T; ///< the element type

    /// No columns, no rows.
    arr_c2DNumberArray() noexcept = default;

    /// `columns` x `rows` zeros. A negative count, or more than 2147483647 elements, raises the
    /// size error before anything is allocated.
    arr_c2DNumberArray(int columns, int rows)
        : elements_(arr_CheckedSize(columns, rows)), columns_(columns), rows_(rows) {}

    /// The matrix with these elements, row after row. Raises the size error for a count that no
    /// array can have and for another number of elements than `columns` x `rows`.
    arr_c2DNumberArray(int columns, int rows, std::span<const T> elements)
        : elements_(CheckedElements(columns, rows, elements)), columns_(columns), rows_(rows) {}

    /// An independent copy.
    arr_c2DNumberArray(const arr_c2DNumberArray&) = default;
    /// Becomes an independent copy. On any exception the matrix is unchanged.
    arr_c2DNumberArray& operator=(const arr_c2DNumberArray&) = default;
    /// Takes over the elements of `other`, which becomes empty.
    arr_c2DNumberArray(arr_c2DNumberArray&& other) noexcept
        : elements_(std::move(other.elements_)), columns_(std::exchange(other.columns_, 0)),
          rows_(std::exchange(other.rows_, 0)) {}
    /// Takes over the elements of `other`, which becomes empty.
    arr_c2DNumberArray& operator=(arr_c2DNumberArray&& other) noexcept {
        if (this != &other) {
            elements_ = std::move(other.elements_);
            columns_ = std::exchange(other.columns_, 0);
            rows_ = std::exchange(other.rows_, 0);
        }
        return *this;
    }
    ~arr_c2DNumberArray() = default;

    /// The number of columns.
    int Columns() const noexcept { return columns_; }
    /// The number of rows.
    int Rows() const noexcept { return rows_; }
    /// The number of elements, `Columns()` x `Rows()`.
    int Size() const noexcept { return elements_.Size(); }

    /// Element `column` of `row`; raises the index error unless both lie within the matrix.
    T& operator()(int row, int column) { return elements_[Number(row, column)]; }
    /// Element `column` of `row`, for reading; raises the index error unless both lie within the
    /// matrix.
    const T& operator()(int row, int column) const { return elements_[Number(row, column)]; }

    /// Element number `index`, row after row; raises the index error unless 0 <= `index` <
    /// `Size()`.
    T& operator[](int index) { return elements_[index]; }
    /// Element number `index`, for reading; raises the index error unless 0 <= `index` < `Size()`.
    const T& operator[](int index) const { return elements_[index]; }

    /// The first element; null for an empty matrix.
    T* Data() noexcept { return elements_.Data(); }
    /// The first element, for reading.
    const T* Data() const noexcept { return elements_.Data(); }

    /// Iteration over the elements, row after row; with it a matrix converts to a `std::span`.
    T* begin() noexcept { return elements_.begin(); }
    /// The end of the iteration.
    T* end() noexcept { return elements_.end(); }
    /// Iteration over the elements, for reading.
    const T* begin() const noexcept { return elements_.begin(); }
    /// The end of the iteration.
    const T* end() const noexcept { return elements_.end(); }

private:
    static std::span<const T> CheckedElements(int columns, int rows, std::span<const T> elements) {
        const int expected = arr_CheckedSize(columns, rows);
        if (elements.size() != static_cast<std::size_t>(expected))
            arr_SizeError(static_cast<long long>(elements.size()), expected);
        return elements;
    }
    int Number(int row, int column) const { return arr_CheckedIndex(column, row, columns_, rows_); }

    arr_c1DNumberArray<T> elements_;
    int columns_ = 0;
    int rows_ = 0;
};
