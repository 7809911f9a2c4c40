#pragma once

/// @file
/// Boolean arrays: masks with a calibrated extent.

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <ranges>
#include <span>
#include <type_traits>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/platform/memory.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/rnge.h"

namespace dataprocessing::detail {

template<class Mask>
DATAPROCESSING_NO_EXPORT Mask barr_Unset(int sizeX, int sizeY);

/// The number of truths as the size of a mask. Throws the size error where it cannot be one.
template<class Range>
int barr_SizeOf(const Range& truths) {
    return arr_CheckedSize(static_cast<long long>(std::ranges::size(truths)));
}

/// Throws the size error unless there are `count` truths.
template<class Range>
void barr_RequireSize(const Range& truths, int count) {
    const auto size = static_cast<long long>(std::ranges::size(truths));
    if (size != count)
        arr_SizeError(size, count);
}

/// Sets each element to 1 where the truth is, else to 0.
template<class Range>
void barr_Assign(const Range& truths, std::span<unsigned char> elements) {
    unsigned char* element = elements.data();
    for (const auto& truth : truths)
        *element++ = static_cast<unsigned char>(static_cast<bool>(truth));
}

} // namespace dataprocessing::detail

/// Satisfied by what a mask can be made of: a range of known size of `bool` or of bytes (`unsigned
/// char`), as std::vector<bool>, std::array<bool, 9> and std::span<const unsigned char> are.
template<class Range>
concept barr_Truths = std::ranges::sized_range<const Range> &&
    (std::same_as<std::ranges::range_value_t<const Range>, bool> ||
     std::same_as<std::ranges::range_value_t<const Range>, unsigned char>);

namespace dataprocessing::detail {

/// Satisfied by a range of numbers, which no mask is made of.
template<class Range>
concept barr_Numbers = std::ranges::range<const Range> && !barr_Truths<Range> &&
                       std::is_arithmetic_v<std::ranges::range_value_t<const Range>>;

/// Satisfied by a number that is no truth.
template<class Number>
concept barr_NoTruth = std::is_arithmetic_v<Number> && !std::same_as<Number, bool>;

} // namespace dataprocessing::detail

/// Reads the elements of a mask as truths, for `for (const bool truth : mask)`. Valid until the
/// mask is assigned to or destroyed.
class barr_cTruthIterator {
public:
    using value_type = bool;                            ///< what is read
    using difference_type = std::ptrdiff_t;             ///< the distance of two
    using reference = bool;                             ///< by value
    using pointer = void;                               ///< there is nothing to point at
    using iterator_category = std::input_iterator_tag;  ///< as what is read is no reference
    using iterator_concept = std::forward_iterator_tag; ///< as it can be read again

    /// Of no mask.
    barr_cTruthIterator() noexcept = default;
    /// At a byte of a mask, or past its last one.
    explicit barr_cTruthIterator(const unsigned char* element) noexcept : element_(element) {}

    /// Whether the element is true.
    bool operator*() const noexcept { return *element_ != 0; }
    /// On to the next element.
    barr_cTruthIterator& operator++() noexcept {
        ++element_;
        return *this;
    }
    /// The same; answers where it was.
    barr_cTruthIterator operator++(int) noexcept { return barr_cTruthIterator(element_++); }
    /// True at the same element of the same mask.
    friend bool operator==(const barr_cTruthIterator&, const barr_cTruthIterator&) = default;

private:
    const unsigned char* element_ = nullptr;
};

/// A 1D boolean array, one byte per element: zero is false, anything else true.
///
/// It starts as all false on the default calibration. Comparisons give masks on that calibration
/// too, unless they are asked for the data's (bnry_DataCal): a mask meant for calibrated data is
/// given those, `mask.SetCal(data.Cal())`. The logic of masks is in bnry_bool.h.
///
///     const barr_c1DBoolArray valid({true, true, false, true});
///     const int used = valid.CountTrue(); // 3
class DATAPROCESSING_EXPORT barr_c1DBoolArray {
public:
    /// No element.
    barr_c1DBoolArray() noexcept = default;
    /// `size` elements, all false. Throws the size error when it is negative.
    explicit barr_c1DBoolArray(int size);
    /// As many elements as `truths` has: 1 where its are true (of bytes: not 0), else 0. Throws the
    /// size error for more than 2^31-1.
    template<barr_Truths Range>
    explicit barr_c1DBoolArray(const Range& truths, const cal_c1DArrayCal& cal = cal_c1DArrayCal())
        : barr_c1DBoolArray(dataprocessing::detail::barr_SizeOf(truths)) {
        dataprocessing::detail::barr_Assign(truths, Elements());
        cal_ = cal;
    }
    /// The listed elements, which are of type `bool`.
    template<std::same_as<bool> Truth>
    explicit barr_c1DBoolArray(std::initializer_list<Truth> truths,
                               const cal_c1DArrayCal& cal = cal_c1DArrayCal())
        : barr_c1DBoolArray(std::span<const bool>(truths.begin(), truths.size()), cal) {}
    // clang-format off
    template<dataprocessing::detail::barr_NoTruth Number, class... More> requires(sizeof...(More) > 0 && (std::is_arithmetic_v<More> && ...))
    explicit barr_c1DBoolArray(Number, More...) = delete; ///< truths are listed as true and false; of numbers a comparison tells
    template<dataprocessing::detail::barr_NoTruth Number>
    explicit barr_c1DBoolArray(std::initializer_list<Number>, const cal_c1DArrayCal&) = delete; ///< truths are listed as true and false; of numbers a comparison tells
    template<dataprocessing::detail::barr_Numbers Range>
    explicit barr_c1DBoolArray(const Range&, const cal_c1DArrayCal& = cal_c1DArrayCal()) = delete; ///< truths are of type bool; of numbers a comparison tells
    // clang-format on

    /// The number of elements.
    int Size() const noexcept { return static_cast<int>(block_.Size()); }
    /// The calibration.
    const cal_c1DArrayCal& Cal() const& noexcept { return cal_; }
    /// The calibration of a temporary, by value.
    cal_c1DArrayCal Cal() const&& noexcept { return cal_; }
    /// Sets the calibration.
    void SetCal(const cal_c1DArrayCal& cal) noexcept { cal_ = cal; }
    /// The calibrated extent: from the position of element 0 to that of element Size().
    rnge_c1DRange Range() const;
    /// True when both have exactly the same range and the same delta.
    type_cBoolean IsRangeAndDelta(const barr_c1DBoolArray& other) const noexcept;

    /// Element `index`. Throws the index error outside [0, Size()).
    unsigned char& Element(int index) &;
    /// Element `index`, for reading.
    const unsigned char& Element(int index) const&;
    /// Element `index` of a temporary, by value.
    unsigned char Element(int index) const&& { return Element(index); }
    /// Whether element `index` is true. Throws the index error outside [0, Size()).
    bool operator[](std::integral auto index) const {
        return Element(arr_CheckedWideIndex(index, Size())) != 0;
    }

    /// The elements in storage order, one byte each. Valid until the mask is assigned to or
    /// destroyed.
    std::span<unsigned char> Elements() & noexcept {
        return {static_cast<unsigned char*>(block_.Data()), block_.Size()};
    }
    /// The elements, for reading.
    std::span<const unsigned char> Elements() const& noexcept {
        return {static_cast<const unsigned char*>(block_.Data()), block_.Size()};
    }
    /// A temporary mask takes its elements with it: give `a & b` a name first.
    void Elements() const&& = delete;

    /// @name Iteration over the elements, as truths
    /// By value and in storage order.
    /// @{
    barr_cTruthIterator begin() const& noexcept { return barr_cTruthIterator(Elements().data()); }
    barr_cTruthIterator end() const& noexcept {
        return barr_cTruthIterator(Elements().data() + Elements().size());
    }
    void begin() const&& = delete; // a temporary mask takes its elements with it
    void end() const&& = delete;
    /// @}

    /// True when at least one element is; of no element, false.
    bool Any() const noexcept { return CountTrue() > 0; }
    /// True when every element is; of no element, true.
    bool All() const noexcept { return CountTrue() == Size(); }
    /// The number of true elements.
    int CountTrue() const noexcept;

private:
    template<class Mask>
    friend Mask dataprocessing::detail::barr_Unset(int sizeX, int sizeY);

    dataprocessing::detail::mem_cBlock block_;
    cal_c1DArrayCal cal_;
};

/// A 2D boolean array: row after row, x fastest; see barr_c1DBoolArray.
class DATAPROCESSING_EXPORT barr_c2DBoolArray {
public:
    /// No element.
    barr_c2DBoolArray() noexcept = default;
    /// `sizeX` by `sizeY` elements, all false. Throws the size error when a size is negative or the
    /// count passes 2^31-1.
    barr_c2DBoolArray(int sizeX, int sizeY);
    /// `sizeX` by `sizeY` elements, row after row: 1 where those of `truths` are true (of bytes:
    /// not 0), else 0. Throws the size error unless it has sizeX times sizeY.
    template<barr_Truths Range>
    barr_c2DBoolArray(int sizeX, int sizeY, const Range& truths,
                      const cal_c2DArrayCal& cal = cal_c2DArrayCal())
        : barr_c2DBoolArray(sizeX, sizeY) {
        dataprocessing::detail::barr_RequireSize(truths, Count());
        dataprocessing::detail::barr_Assign(truths, Elements());
        cal_ = cal;
    }
    /// The listed elements, which are of type `bool`.
    template<std::same_as<bool> Truth>
    barr_c2DBoolArray(int sizeX, int sizeY, std::initializer_list<Truth> truths,
                      const cal_c2DArrayCal& cal = cal_c2DArrayCal())
        : barr_c2DBoolArray(sizeX, sizeY, std::span<const bool>(truths.begin(), truths.size()),
                            cal) {}
    // clang-format off
    template<dataprocessing::detail::barr_NoTruth Number>
    barr_c2DBoolArray(int, int, std::initializer_list<Number>, const cal_c2DArrayCal& = cal_c2DArrayCal()) = delete; ///< truths are listed as true and false; of numbers a comparison tells
    template<dataprocessing::detail::barr_Numbers Range>
    barr_c2DBoolArray(int, int, const Range&, const cal_c2DArrayCal& = cal_c2DArrayCal()) = delete; ///< truths are of type bool; of numbers a comparison tells
    // clang-format on

    /// The number of columns.
    int SizeX() const noexcept { return sizeX_; }
    /// The number of rows.
    int SizeY() const noexcept { return sizeY_; }
    /// The number of elements.
    int Count() const noexcept { return static_cast<int>(block_.Size()); }
    /// The calibration.
    const cal_c2DArrayCal& Cal() const& noexcept { return cal_; }
    /// The calibration of a temporary, by value.
    cal_c2DArrayCal Cal() const&& noexcept { return cal_; }
    /// Sets the calibration.
    void SetCal(const cal_c2DArrayCal& cal) noexcept { cal_ = cal; }
    /// The calibrated extent, upright.
    rnge_c2DRange Range() const;
    /// True when both have exactly the same range and the same deltas.
    type_cBoolean IsRangeAndDelta(const barr_c2DBoolArray& other) const noexcept;

    /// Element (x, y). Throws the index error outside the array.
    unsigned char& Element(int x, int y) &;
    /// Element (x, y), for reading.
    const unsigned char& Element(int x, int y) const&;
    /// Element (x, y) of a temporary, by value.
    unsigned char Element(int x, int y) const&& { return Element(x, y); }
    /// Whether element (x, y) is true. Throws the index error outside the array.
    bool operator()(std::integral auto x, std::integral auto y) const {
        return Element(arr_CheckedWideIndex(x, SizeX()), arr_CheckedWideIndex(y, SizeY())) != 0;
    }

    /// The elements in storage order, one byte each. Valid until the mask is assigned to or
    /// destroyed.
    std::span<unsigned char> Elements() & noexcept {
        return {static_cast<unsigned char*>(block_.Data()), block_.Size()};
    }
    /// The elements, for reading.
    std::span<const unsigned char> Elements() const& noexcept {
        return {static_cast<const unsigned char*>(block_.Data()), block_.Size()};
    }
    /// A temporary mask takes its elements with it: give `a & b` a name first.
    void Elements() const&& = delete;

    /// @name Iteration over the elements, as truths
    /// By value and in storage order.
    /// @{
    barr_cTruthIterator begin() const& noexcept { return barr_cTruthIterator(Elements().data()); }
    barr_cTruthIterator end() const& noexcept {
        return barr_cTruthIterator(Elements().data() + Elements().size());
    }
    void begin() const&& = delete; // a temporary mask takes its elements with it
    void end() const&& = delete;
    /// @}

    /// True when at least one element is; of no element, false.
    bool Any() const noexcept { return CountTrue() > 0; }
    /// True when every element is; of no element, true.
    bool All() const noexcept { return CountTrue() == Count(); }
    /// The number of true elements.
    int CountTrue() const noexcept;

private:
    template<class Mask>
    friend Mask dataprocessing::detail::barr_Unset(int sizeX, int sizeY);

    dataprocessing::detail::mem_cBlock block_;
    dataprocessing::detail::mem_cCount sizeX_;
    dataprocessing::detail::mem_cCount sizeY_;
    cal_c2DArrayCal cal_;
};

/// Prints "[1, 0, 1]"; of long masks the first and last elements.
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const barr_c1DBoolArray& mask);
/// Prints one line per row; of large masks the first and last elements of the outer rows.
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const barr_c2DBoolArray& mask);
