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

template<class T>
inline constexpr bool isInteger128 = false;
#ifdef __SIZEOF_INT128__
__extension__ using tInt128 = __int128;
__extension__ using tUInt128 = unsigned __int128;
template<>
inline constexpr bool isInteger128<tInt128> = true;
template<>
inline constexpr bool isInteger128<tUInt128> = true;
#endif

template<class Range>
concept isRange = requires(const Range& range) {
    std::begin(range);
    std::end(range);
};

/// What knows the type of its elements at run time.
template<class Range>
concept isTyped = requires(const Range& range) {
    range.DataType();
};

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

/// Satisfied by the C++ types of numbers that no element type holds, such as `long` and `bool`, and
/// by enumerations and `std::byte`.
template<class T>
concept dtyp_NotStored = (std::is_arithmetic_v<T> || std::is_enum_v<T> ||
                          dataprocessing::detail::isInteger128<T>)&&!dtyp_Stored<T>;

/// A real number of any element type in a list of several of them, `{1, 2.5, 3}`, as the double
/// that each of them is exactly.
class dtyp_cListed {
public:
    /// The same number.
    template<dtyp_Element T>
    requires(!dataprocessing::detail::isComplex<T>) constexpr dtyp_cListed(T value) noexcept
        : value_(value) {}
    /// Refused: no element type holds such values. Convert them to one.
    template<dtyp_NotStored OfNoElementType>
    requires(!std::same_as<OfNoElementType, dtyp_eDataType>) dtyp_cListed(OfNoElementType)
    = delete;

private:
    [[maybe_unused]] double value_; // read as an element
};

namespace dataprocessing::detail {

template<>
inline constexpr int storedCode<dtyp_cListed> = dtyp_Double;

} // namespace dataprocessing::detail

/// Satisfied by contiguous ranges of dtyp_Stored values: vectors, spans, `std::array`, C arrays,
/// the arrays of arr.h.
template<class Range>
concept dtyp_Range = dataprocessing::detail::isContiguous<Range> &&
    dtyp_Stored<dataprocessing::detail::tContent<Range>>;

/// Satisfied by contiguous ranges of other values.
template<class Range>
concept dtyp_RangeNotStored = dataprocessing::detail::isContiguous<Range> &&
    !dtyp_Stored<dataprocessing::detail::tContent<Range>>;

/// Satisfied by ranges that are not contiguous, as std::list and std::vector<bool> are, except the
/// library's own arrays.
template<class Range>
concept dtyp_RangeNotContiguous =
    dataprocessing::detail::isRange<Range> && !dataprocessing::detail::isContiguous<Range> &&
    !dataprocessing::detail::isTyped<Range>;

/// The element type that stores what a range of this type has.
template<dtyp_Range Range>
constexpr dtyp_cDataType dtyp_OfRange() noexcept {
    return dtyp_cDataType(
        dataprocessing::detail::storedCode<dataprocessing::detail::tContent<Range>>);
}
