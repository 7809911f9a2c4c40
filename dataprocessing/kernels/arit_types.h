#pragma once

/// @file
/// What the loops of arithmetic ask of element types.

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/kernels/arit.h"

namespace dataprocessing::detail {

template<class T>
inline constexpr bool arit_complex = false;
template<class T>
inline constexpr bool arit_complex<comp_cComplex<T>> = true;

template<class T>
struct arit_sPart;
template<class T>
struct arit_sPart<comp_cComplex<T>> {
    using type = T;
};
template<class T>
using arit_Part = typename arit_sPart<T>::type;

template<class T>
struct arit_sMask {
    using type = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
};
template<class T>
struct arit_sMask<comp_cComplex<T>> : arit_sMask<T> {};
template<class T>
using arit_Mask = typename arit_sMask<T>::type;

template<class T>
inline constexpr bool arit_hasLoops =
    !std::is_same_v<T, unsigned char> && !std::is_same_v<T, signed char>;

// Which widenings are worth a loop of their own: small integers, whose widening is one exact
// instruction, into the types that arithmetic on them gives. Everything else is widened a block at
// a time by whoever runs the loop.
template<class T, class Stored>
inline constexpr bool arit_widens = std::is_integral_v<Stored> &&
                                    (std::is_same_v<T, float> || std::is_same_v<T, int> ||
                                     std::is_same_v<T, short>)&&sizeof(Stored) <= 2 &&
                                    sizeof(Stored) < sizeof(T);

/// Whether there is a loop for a result of type T over what is stored as A and B. Everything else
/// is converted in blocks first.
///
///     T       A and B                                           operations
///     any     both T                                            all, of the types with loops
///     float   one float, one an integer of 8 or 16 bits         all
///     float   both the same integer of 8 or 16 bits             multiply, divide
///     int     int or an integer of 8 or 16 bits, but for two    add, subtract, multiply
///             that differ and are both small
///     short   the same with short and integers of 8 bits        add, subtract
template<class T, class A, class B, arit_eOperation operation>
inline constexpr bool arit_exists = [] {
    constexpr bool wideningA = arit_widens<T, A>, wideningB = arit_widens<T, B>;
    if constexpr (std::is_same_v<T, A> && std::is_same_v<T, B>)
        return arit_hasLoops<T>;
    else if constexpr (!(wideningA && wideningB && std::is_same_v<A, B>)&&!(
                           wideningA && std::is_same_v<T, B>)&&!(std::is_same_v<T, A> && wideningB))
        return false;
    else if constexpr (std::is_same_v<T, float>)
        // Sums of small integers are integers.
        return operation >= arit_Multiply || !(wideningA && wideningB);
    else
        return operation <= arit_Subtract || (operation == arit_Multiply && sizeof(T) == 4);
}();

} // namespace dataprocessing::detail
