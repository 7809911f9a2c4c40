#pragma once

/// @file
/// Contiguous ranges of elements: what arrays are made of.

#include <complex>
#include <concepts>
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

namespace dataprocessing::detail {

/// What no list has, by its type: a type code stands beside a size and is no element.
template<class T>
concept isNotListed = dtyp_NotStored<T> && !std::same_as<T, dtyp_eDataType>;

/// A number that knows its type at run time.
template<class T>
concept isTypedNumber = isTyped<T> && !isRange<T>;

} // namespace dataprocessing::detail

/// A number of any element type in a list of several of them, `{1, 2.5, 3}`, as the complex double
/// that each of them is exactly.
class dtyp_cListed {
public:
    /// The same number.
    template<dtyp_Element T>
    requires(!dataprocessing::detail::isComplex<T>) constexpr dtyp_cListed(T value) noexcept
        : value_(static_cast<double>(value)), isComplex_(false) {}
    /// The same complex number.
    template<class T>
    requires(dtyp_Element<comp_cComplex<T>>) constexpr dtyp_cListed(
        const comp_cComplex<T>& value) noexcept
        : value_(static_cast<double>(value.re), static_cast<double>(value.im)), isComplex_(true) {}
    /// The same complex number.
    template<class T>
    requires(dtyp_Stored<std::complex<T>>) constexpr dtyp_cListed(
        const std::complex<T>& value) noexcept
        : dtyp_cListed(comp_cComplex<T>(value)) {}
    template<dataprocessing::detail::isNotListed OfNoElementType>
    dtyp_cListed(OfNoElementType) = delete; ///< Convert it to one; size and fill stand in ().
    template<dataprocessing::detail::isTypedNumber OfTypeAtRunTime>
    dtyp_cListed(OfTypeAtRunTime) = delete; ///< Lists have C++ numbers; size and fill stand in ().

    /// The number.
    constexpr const comp_cComplex<double>& Value() const noexcept { return value_; }
    /// Whether its type is a complex one.
    constexpr bool IsComplex() const noexcept { return isComplex_; }

private:
    comp_cComplex<double> value_;
    bool isComplex_;
};

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
