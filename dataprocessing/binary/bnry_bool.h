#pragma once

/// @file
/// Boolean logic on masks, element by element.
///
/// The operands are unchanged. The result has the size and the calibration of the (first) operand,
/// and its elements are 1 or 0; of the operands' elements any nonzero byte counts as true.
///
/// Masks are never aligned: both must have the same range and delta (IsRangeAndDelta).
///
/// `&&` is `&` and `||` is `|` by another name: unlike those of the operators on `bool`, both
/// operands are always evaluated.
///
/// The compound operators leave the result in their first operand, which keeps its calibration;
/// when they throw, it is as it was.
///
///     barr_c1DBoolArray used = spectrum > 100;
///     used &= !saturated;
///
/// **Errors.** Masks of different range or delta: expt_cProgramException ("binary3", 58) in 1D,
/// ("binary3", 83) in 2D, also where one of them has no element. Two masks without elements, or
/// `!` of one: the index error, of element 0. Masks whose calibrations hide that they differ in
/// size (a delta of zero, or one lost beside a huge offset): the size error.

#include <concepts>
#include <type_traits>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/barr.h"

namespace dataprocessing::detail {

template<class T>
inline constexpr bool isMask =
    std::same_as<T, barr_c1DBoolArray> || std::same_as<T, barr_c2DBoolArray>;

} // namespace dataprocessing::detail

/// Satisfied by two masks, and by a mask and a number in any order.
template<class A, class B>
concept barr_OneIsMask = (dataprocessing::detail::isMask<A> &&
                          (dataprocessing::detail::isMask<B> || std::is_arithmetic_v<B>)) ||
                         (std::is_arithmetic_v<A> && dataprocessing::detail::isMask<B>);

// clang-format off

/// @name Where both masks are true
/// @{
DATAPROCESSING_EXPORT barr_c1DBoolArray operator&(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator&(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator&&(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator&&(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray& operator&=(barr_c1DBoolArray& a, const barr_c1DBoolArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray& operator&=(barr_c2DBoolArray& a, const barr_c2DBoolArray& b);
/// @}

/// @name Where at least one of two masks is true
/// @{
DATAPROCESSING_EXPORT barr_c1DBoolArray operator|(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator|(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray operator||(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator||(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray& operator|=(barr_c1DBoolArray& a, const barr_c1DBoolArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray& operator|=(barr_c2DBoolArray& a, const barr_c2DBoolArray& b);
/// @}

/// @name Where exactly one of two masks is true
/// @{
DATAPROCESSING_EXPORT barr_c1DBoolArray operator^(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator^(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b);
DATAPROCESSING_EXPORT barr_c1DBoolArray& operator^=(barr_c1DBoolArray& a, const barr_c1DBoolArray& b);
DATAPROCESSING_EXPORT barr_c2DBoolArray& operator^=(barr_c2DBoolArray& a, const barr_c2DBoolArray& b);
/// @}

/// @name Where a mask is false
/// @{
DATAPROCESSING_EXPORT barr_c1DBoolArray operator!(const barr_c1DBoolArray& mask);
DATAPROCESSING_EXPORT barr_c2DBoolArray operator!(const barr_c2DBoolArray& mask);
/// @}

/// @cond
// Told in one line by the compiler instead of a list of candidates.
template<class A, class B> requires barr_OneIsMask<A, B> void operator+(const A&, const B&) = delete; ///< masks have &, |, ^ and !; tnry_Ternary makes numbers of them
template<class A, class B> requires barr_OneIsMask<A, B> void operator-(const A&, const B&) = delete; ///< masks have &, |, ^ and !; tnry_Ternary makes numbers of them
template<class A, class B> requires barr_OneIsMask<A, B> void operator*(const A&, const B&) = delete; ///< masks have &, |, ^ and !; tnry_Ternary makes numbers of them
template<class A, class B> requires barr_OneIsMask<A, B> void operator/(const A&, const B&) = delete; ///< masks have &, |, ^ and !; tnry_Ternary makes numbers of them
template<class A, class B> requires barr_OneIsMask<A, B> void operator+=(A&, const B&) = delete; ///< masks have &, |, ^ and !; tnry_Ternary makes numbers of them
template<class A, class B> requires barr_OneIsMask<A, B> void operator-=(A&, const B&) = delete; ///< masks have &, |, ^ and !; tnry_Ternary makes numbers of them
template<class A, class B> requires barr_OneIsMask<A, B> void operator*=(A&, const B&) = delete; ///< masks have &, |, ^ and !; tnry_Ternary makes numbers of them
template<class A, class B> requires barr_OneIsMask<A, B> void operator/=(A&, const B&) = delete; ///< masks have &, |, ^ and !; tnry_Ternary makes numbers of them
template<class A, class B> requires barr_OneIsMask<A, B> void operator==(const A&, const B&) = delete; ///< masks are the same where !(a ^ b) is true and differ where a ^ b is
template<class A, class B> requires barr_OneIsMask<A, B> void operator!=(const A&, const B&) = delete; ///< masks are the same where !(a ^ b) is true and differ where a ^ b is
template<class A, class B> requires barr_OneIsMask<A, B> void operator<(const A&, const B&) = delete; ///< masks are the same where !(a ^ b) is true and differ where a ^ b is
template<class A, class B> requires barr_OneIsMask<A, B> void operator<=(const A&, const B&) = delete; ///< masks are the same where !(a ^ b) is true and differ where a ^ b is
template<class A, class B> requires barr_OneIsMask<A, B> void operator>(const A&, const B&) = delete; ///< masks are the same where !(a ^ b) is true and differ where a ^ b is
template<class A, class B> requires barr_OneIsMask<A, B> void operator>=(const A&, const B&) = delete; ///< masks are the same where !(a ^ b) is true and differ where a ^ b is
/// @endcond

// clang-format on
