#pragma once

/// @file
/// Contiguous ranges of elements: what arrays are made of.

#include <complex>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

#include "dataprocessing/base/dtyp.h"

namespace dataprocessing::detail {

/// The code of the element type with the layout of a `T`.
template<class T>
inline constexpr int storedCode = elementCode<T>;
template<class T>
inline constexpr int storedCode<std::complex<T>> = elementCode<comp_cComplex<T>>;

template<class Range>
concept isContiguous = requires(const Range& range) {
    requires std::contiguous_iterator<decltype(std::begin(range))>;
    requires std::sized_sentinel_for<decltype(std::end(range)), decltype(std::begin(range))>;
};

template<class Range>
using tContent = std::iter_value_t<decltype(std::begin(std::declval<const Range&>()))>;

/// The first of the values of a contiguous range.
template<class Range>
const void* firstOf(const Range& range) {
    return std::to_address(std::begin(range));
}

/// How many values a contiguous range has.
template<class Range>
long long countOf(const Range& range) {
    return static_cast<long long>(std::end(range) - std::begin(range));
}

} // namespace dataprocessing::detail

/// Satisfied by the ten element types and by `std::complex<float>` and `std::complex<double>`,
/// whose values lie in memory as those of `comp_cComplex` do.
template<class T>
concept dtyp_Stored = (dataprocessing::detail::storedCode<T> != 0);

/// Satisfied by the C++ types of numbers that no element type holds, such as `long` and `bool`.
template<class T>
concept dtyp_NotStored = std::is_arithmetic_v<T> && !dtyp_Stored<T>;

/// Satisfied by contiguous ranges of dtyp_Stored values: vectors, spans, `std::array`, C arrays,
/// the arrays of arr.h.
template<class Range>
concept dtyp_Range = dataprocessing::detail::isContiguous<Range> &&
    dtyp_Stored<dataprocessing::detail::tContent<Range>>;

/// Satisfied by contiguous ranges of dtyp_NotStored values.
template<class Range>
concept dtyp_RangeNotStored = dataprocessing::detail::isContiguous<Range> &&
    dtyp_NotStored<dataprocessing::detail::tContent<Range>>;

/// The element type that stores what a range of this type has.
template<dtyp_Range Range>
constexpr dtyp_cDataType dtyp_OfRange() noexcept {
    return dtyp_cDataType(
        dataprocessing::detail::storedCode<dataprocessing::detail::tContent<Range>>);
}
