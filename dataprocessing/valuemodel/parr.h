#pragma once

/// @file
/// Typed number arrays: contiguous elements of one of the ten types, without a calibration.

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <span>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/base/dtyp_range.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/platform/memory.h"
#include "dataprocessing/valuemodel/pnum.h"

class parr_cValueIterator;

/// What the 1D and the 2D number arrays share: a type, a number of elements and their storage.
///
/// Where the element type is known, `Elements<T>()` is the way to the elements. Where it is not, an
/// array can be read as doubles, value by value:
///
///     for (const double value : array)
///         sum += value;
///
/// Storage begins on a 64-byte boundary. Copies are independent; moving leaves an array with no
/// element. An array of a type outside the ten may be made: it has a count and no storage, and
/// operations that need its elements refuse it.
class DATAPROCESSING_EXPORT parr_cNumberArray {
public:
    /// The element type.
    dtyp_cDataType DataType() const noexcept { return type_; }
    /// The number of elements.
    int Count() const noexcept { return count_; }
    /// The elements in storage order; null where there is no storage.
    void* Data() & noexcept { return block_.Data(); }
    /// The elements in storage order, for reading.
    const void* Data() const& noexcept { return block_.Data(); }
    /// A temporary array takes its elements with it.
    void Data() const&& = delete;

    /// The elements as `T`, which must be the type they are stored in: throws
    /// expt_cProgramException ("parr", 1) otherwise. Valid until the array is assigned to,
    /// converted or destroyed.
    template<dtyp_Element T>
    std::span<T> Elements() & {
        RequireType(dtyp_Of<T>());
        return {static_cast<T*>(Data()), static_cast<std::size_t>(Count())};
    }
    /// The elements as `T`, for reading.
    template<dtyp_Element T>
    std::span<const T> Elements() const& {
        RequireType(dtyp_Of<T>());
        return {static_cast<const T*>(Data()), static_cast<std::size_t>(Count())};
    }
    /// A temporary array takes its elements with it: give `a + b` a name first.
    template<dtyp_Element T>
    void Elements() const&& = delete;

    /// @name Iteration over the elements, which are stored as `T`
    /// Those of `Elements<T>()`, whose error they throw.
    /// @{
    template<dtyp_Element T>
    T* begin() & {
        return Elements<T>().data();
    }
    template<dtyp_Element T>
    T* end() & {
        return begin<T>() + Count();
    }
    template<dtyp_Element T>
    const T* begin() const& {
        return Elements<T>().data();
    }
    template<dtyp_Element T>
    const T* end() const& {
        return begin<T>() + Count();
    }
    template<dtyp_Element T>
    void begin() const&& = delete; // a temporary array takes its elements with it
    template<dtyp_Element T>
    void end() const&& = delete;
    /// @}

    /// @name Iteration over the elements of any type, as doubles
    /// By value and in storage order, each converted as by `Number(i).As<double>()`: of complex
    /// elements the real part.
    /// @{
    parr_cValueIterator begin() const& noexcept;
    parr_cValueIterator end() const& noexcept;
    void begin() const&& = delete; // a temporary array takes its elements with it
    void end() const&& = delete;
    /// @}

    /// Converts the elements in place by the rules of conv_Convert; the sizes are kept. When it
    /// throws, nothing has changed.
    void Convert(dtyp_cDataType type);

protected:
    parr_cNumberArray() noexcept : type_(dtyp_Double) {}
    /// `count` elements with undefined values. Throws the size error when it is negative or more
    /// than 2^31-1.
    parr_cNumberArray(long long count, dtyp_cDataType type);
    parr_cNumberArray(long long count, const pnum_cNumber& fill);
    parr_cNumberArray(long long count, dtyp_cDataType type, const void* elements);
    explicit parr_cNumberArray(std::span<const dtyp_cListed> elements);
    parr_cNumberArray(const parr_cNumberArray&) = default;
    parr_cNumberArray(parr_cNumberArray&&) noexcept = default;
    parr_cNumberArray& operator=(const parr_cNumberArray&) = default;
    parr_cNumberArray& operator=(parr_cNumberArray&&) noexcept = default;
    ~parr_cNumberArray() = default;

    /// The element at `index` as a double. Throws the index error.
    double ValueAt(long long index) const;
    pnum_cNumber NumberAt(int index) const;
    void SetNumberAt(int index, const pnum_cNumber& number);
    /// Writes `count` elements from `first` on, converted from those of `source` from
    /// `sourceFirst` on. The caller has checked the indices.
    void CopyElements(const parr_cNumberArray& source, int sourceFirst, int first, int count);

private:
    friend parr_cValueIterator;

    void RequireType(dtyp_cDataType type) const;

    // The block comes first: assigning it is what can fail, and then nothing else has changed.
    dataprocessing::detail::mem_cBlock block_;
    dtyp_cDataType type_;
    dataprocessing::detail::mem_cCount count_;
};

/// Reads the elements of a number array as doubles. Valid as long as the array's elements are.
class parr_cValueIterator {
public:
    using value_type = double;                          ///< what is read
    using difference_type = std::ptrdiff_t;             ///< the distance of two
    using reference = double;                           ///< by value
    using pointer = void;                               ///< there is nothing to point at
    using iterator_category = std::input_iterator_tag;  ///< as what is read is no reference
    using iterator_concept = std::forward_iterator_tag; ///< as it can be read again

    /// Of no array.
    parr_cValueIterator() noexcept = default;
    /// At an element of `array`, or past its last one.
    parr_cValueIterator(const parr_cNumberArray& array, int index) noexcept
        : array_(&array), index_(index) {}

    /// The element, as a double.
    double operator*() const { return array_->ValueAt(index_); }
    /// On to the next element.
    parr_cValueIterator& operator++() noexcept {
        ++index_;
        return *this;
    }
    /// The same; answers where it was.
    parr_cValueIterator operator++(int) noexcept {
        const parr_cValueIterator before = *this;
        ++index_;
        return before;
    }
    /// True at the same element of the same array.
    friend bool operator==(const parr_cValueIterator&, const parr_cValueIterator&) = default;

private:
    const parr_cNumberArray* array_ = nullptr;
    int index_ = 0;
};

inline parr_cValueIterator parr_cNumberArray::begin() const& noexcept { return {*this, 0}; }
inline parr_cValueIterator parr_cNumberArray::end() const& noexcept { return {*this, Count()}; }

namespace dataprocessing::detail {

/// What becomes an array by itself is one, whatever else it is a range of.
template<class T>
concept becomesArray = std::convertible_to<const T&, const parr_cNumberArray&>;

/// As a pointer, so that a class need not be complete.
template<class T>
concept isArray = std::convertible_to<const T*, const parr_cNumberArray*>;

} // namespace dataprocessing::detail

/// Satisfied by contiguous ranges of values that no element type holds.
template<class Range>
concept parr_RangeNotStored =
    dtyp_RangeNotStored<Range> && !dataprocessing::detail::becomesArray<Range>;

/// Satisfied by ranges that are not contiguous.
template<class Range>
concept parr_RangeNotContiguous =
    dtyp_RangeNotContiguous<Range> && !dataprocessing::detail::becomesArray<Range>;

/// Satisfied by an array and a range that is none.
template<class Array, class Range>
concept parr_ArrayAndRange = dataprocessing::detail::isArray<Array> &&
    dataprocessing::detail::isRange<Range> && !dataprocessing::detail::becomesArray<Range>;

/// The same in any order.
template<class A, class B>
concept parr_OneIsNoArray = parr_ArrayAndRange<A, B> || parr_ArrayAndRange<B, A>;

/// A 1D number array.
class DATAPROCESSING_EXPORT parr_c1DNumberArray : public parr_cNumberArray {
public:
    /// The floating type that real computations on 1D arrays use at least.
    static constexpr dtyp_cDataType t1DValueArray = dtyp_Float;
    /// The complex type that a 1D array is widened to when its result leaves the reals.
    static constexpr dtyp_cDataType t1DComplexArray = dtyp_ComplexDouble;

    /// No element, of type double.
    parr_c1DNumberArray() noexcept = default;
    /// `size` elements with undefined values. Throws the size error when it is negative.
    parr_c1DNumberArray(int size, dtyp_cDataType type) : parr_cNumberArray(size, type) {}
    /// `size` elements of the type and value of `fill`. Throws the size error when it is negative.
    parr_c1DNumberArray(int size, const pnum_cNumber& fill) : parr_cNumberArray(size, fill) {}
    /// A copy of `size` elements at `elements`. Throws the size error when it is negative.
    parr_c1DNumberArray(int size, dtyp_cDataType type, const void* elements)
        : parr_cNumberArray(size, type, elements) {}
    /// A copy of the elements of a contiguous range: a vector, a span, an array. Throws the size
    /// error for more than 2^31-1.
    template<dtyp_Range Range>
    explicit parr_c1DNumberArray(const Range& elements)
        : parr_cNumberArray(dataprocessing::detail::countOf(elements), dtyp_OfRange<Range>(),
                            dataprocessing::detail::firstOf(elements)) {}
    /// Refused: no element type holds such values. Convert them to one.
    template<parr_RangeNotStored OfNoElementType>
    explicit parr_c1DNumberArray(const OfNoElementType&) = delete;
    /// Refused: elements are copied from a range in one piece. Copy them to a vector before.
    template<parr_RangeNotContiguous NotContiguous>
    explicit parr_c1DNumberArray(const NotContiguous&) = delete;
    /// These elements, `{1, 2, 3}`, which are all of one C++ type; of none, doubles.
    template<dtyp_Stored T = double>
    parr_c1DNumberArray(std::initializer_list<T> elements)
        : parr_c1DNumberArray(std::span<const T>(elements.begin(), elements.size())) {}
    /// These numbers of several element types, `{1, 2.5, 3}`, as doubles, or as complex doubles
    /// where one is complex; these hold them all.
    parr_c1DNumberArray(std::initializer_list<dtyp_cListed> elements)
        : parr_cNumberArray(std::span(elements.begin(), elements.size())) {}
    /// Refused: no element type holds such values. Convert them to one.
    template<dtyp_NotStored OfNoElementType>
    parr_c1DNumberArray(std::initializer_list<OfNoElementType>) = delete;

    /// The number of elements.
    int Size() const noexcept { return Count(); }

    /// Element `index` as a number of the array's type. Throws the index error outside [0, Size()).
    pnum_cNumber Number(int index) const { return NumberAt(index); }
    /// Element `index` of an array of any type, as a double: `Number(index).As<double>()`. Throws
    /// the index error outside [0, Size()).
    double operator[](std::integral auto index) const {
        return ValueAt(arr_CheckedWideIndex(index, Size()));
    }
    /// Sets element `index` to `number`, converted to the array's type by the rules of
    /// conv_Convert. Throws the index error outside [0, Size()).
    void SetNumber(int index, const pnum_cNumber& number) { SetNumberAt(index, number); }

    /// Copies all elements of `source`, converted to this array's type, into this array from
    /// element `start` on. Throws the index error, and changes nothing, unless they all fit.
    void SetSelection(const parr_c1DNumberArray& source, int start);
};

/// A 2D number array: row after row, x fastest, no padding.
class DATAPROCESSING_EXPORT parr_c2DNumberArray : public parr_cNumberArray {
public:
    /// The floating type that real computations on 2D arrays use at least.
    static constexpr dtyp_cDataType t2DValueArray = dtyp_Float;
    /// The complex type that a 2D array is widened to when its result leaves the reals.
    static constexpr dtyp_cDataType t2DComplexArray = dtyp_ComplexDouble;

    /// No element, of type double.
    parr_c2DNumberArray() noexcept = default;
    /// `sizeX` by `sizeY` elements with undefined values. Throws the size error when a size is
    /// negative or the count passes 2^31-1.
    parr_c2DNumberArray(int sizeX, int sizeY, dtyp_cDataType type);
    /// `sizeX` by `sizeY` elements of the type and value of `fill`.
    parr_c2DNumberArray(int sizeX, int sizeY, const pnum_cNumber& fill);
    /// A copy of `sizeX` times `sizeY` elements at `elements`.
    parr_c2DNumberArray(int sizeX, int sizeY, dtyp_cDataType type, const void* elements);
    /// A copy of the elements of a contiguous range. Throws the size error unless it has sizeX
    /// times sizeY.
    template<dtyp_Range Range>
    parr_c2DNumberArray(int sizeX, int sizeY, const Range& elements)
        : parr_c2DNumberArray(sizeX, sizeY, dtyp_OfRange<Range>(),
                              CheckedElements(sizeX, sizeY,
                                              dataprocessing::detail::countOf(elements),
                                              dataprocessing::detail::firstOf(elements))) {}
    /// Refused: no element type holds such values. Convert them to one.
    template<parr_RangeNotStored OfNoElementType>
    parr_c2DNumberArray(int, int, const OfNoElementType&) = delete;
    /// Refused: elements are copied from a range in one piece. Copy them to a vector before.
    template<parr_RangeNotContiguous NotContiguous>
    parr_c2DNumberArray(int, int, const NotContiguous&) = delete;
    /// These elements, row after row, which are all of one C++ type. Throws the size error unless
    /// there are sizeX times sizeY.
    template<dtyp_Stored T = double>
    parr_c2DNumberArray(int sizeX, int sizeY, std::initializer_list<T> elements)
        : parr_c2DNumberArray(sizeX, sizeY, std::span<const T>(elements.begin(), elements.size())) {
    }
    /// These numbers of several element types, `{1, 2.5, 3}`, as doubles, or as complex doubles
    /// where one is complex; these hold them all.
    parr_c2DNumberArray(int sizeX, int sizeY, std::initializer_list<dtyp_cListed> elements);
    /// Refused: no element type holds such values. Convert them to one.
    template<dtyp_NotStored OfNoElementType>
    parr_c2DNumberArray(int, int, std::initializer_list<OfNoElementType>) = delete;

    /// The number of columns.
    int SizeX() const noexcept { return sizeX_; }
    /// The number of rows.
    int SizeY() const noexcept { return sizeY_; }

    /// Element (x, y) as a number of the array's type. Throws the index error outside the array.
    pnum_cNumber Number(int x, int y) const { return NumberAt(IndexOf(x, y)); }
    /// Element (x, y) of an array of any type, as a double: `Number(x, y).As<double>()`. Throws the
    /// index error outside the array.
    double operator()(std::integral auto x, std::integral auto y) const {
        return ValueAt(IndexOf(arr_CheckedWideIndex(x, SizeX()), arr_CheckedWideIndex(y, SizeY())));
    }
    /// Sets element (x, y) to `number`, converted to the array's type by the rules of conv_Convert.
    /// Throws the index error outside the array.
    void SetNumber(int x, int y, const pnum_cNumber& number) { SetNumberAt(IndexOf(x, y), number); }

    /// Copies all elements of `source`, converted to this array's type, into this array with its
    /// first one at (startX, startY). Throws the index error, and changes nothing, unless they all
    /// fit.
    void SetSelection(const parr_c2DNumberArray& source, int startX, int startY);

private:
    int IndexOf(int x, int y) const;
    static const void* CheckedElements(int sizeX, int sizeY, long long count, const void* elements);

    dataprocessing::detail::mem_cCount sizeX_;
    dataprocessing::detail::mem_cCount sizeY_;
};

/// Prints "[1, 2, 3]"; of long arrays the first and last elements.
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream,
                                               const parr_c1DNumberArray& array);
/// Prints one line per row; of large arrays the first and last elements of the outer rows.
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream,
                                               const parr_c2DNumberArray& array);
