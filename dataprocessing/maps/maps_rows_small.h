#pragma once

/// @file
/// Sums of rows of integers of 8 and 16 bits, which are exact.

#include <cstddef>
#include <type_traits>

namespace dataprocessing::detail {

/// What such integers are added up in: at least maps_mostSmall of them fit.
template<class T>
using maps_SmallSum = std::conditional_t<std::is_signed_v<T>, int, unsigned>;
inline constexpr std::size_t maps_mostSmall = 65535;

/// Adds rows of `count` channels, at most maps_mostSmall, to their sum by channel, and sets
/// totals[r] to the sum of row r.
template<class T>
void maps_AddSmallRows(const T* const* rows, std::size_t many, std::size_t count,
                       maps_SmallSum<T>* sum, maps_SmallSum<T>* totals);

} // namespace dataprocessing::detail
