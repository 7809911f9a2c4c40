#pragma once

/// @file
/// Library arrays of the inputs that a peer can make too.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "bench/bench.h"
#include "dataprocessing/dataprocessing.h"

namespace bench {

/// The array whose element `i` is `make(i)`.
template<class T, class Make>
darr_c1DArray array(std::size_t count, const Make& make) {
    std::vector<T> elements(count);
    for (std::size_t i = 0; i < count; ++i)
        elements[i] = make(static_cast<std::uint32_t>(i));
    return darr_c1DArray(std::span<const T>(elements));
}

/// Values in [0.5, 1.5).
template<class T = float>
darr_c1DArray realArray(std::size_t count, std::uint32_t input) {
    return array<T>(count, [=](std::uint32_t i) { return static_cast<T>(real(i, input)); });
}

/// Values over the whole range of an unsigned type.
template<class T>
darr_c1DArray integerArray(std::size_t count, std::uint32_t input) {
    return array<T>(count, [=](std::uint32_t i) {
        return static_cast<T>(bits(i, input) >> (32 - 8 * sizeof(T)));
    });
}

/// Complex values of two such inputs.
inline darr_c1DArray complexArray(std::size_t count, std::uint32_t input) {
    return array<comp_cComplex<float>>(count, [=](std::uint32_t i) {
        return comp_cComplex<float>(real(i, input), real(i, input + 1));
    });
}

/// The square image whose element `i`, row after row, is `make(i)`.
template<class T, class Make>
darr_c2DArray image(int side, const Make& make) {
    std::vector<T> elements(static_cast<std::size_t>(side) * static_cast<std::size_t>(side));
    for (std::size_t i = 0; i < elements.size(); ++i)
        elements[i] = make(static_cast<std::uint32_t>(i));
    return {side, side, std::span<const T>(elements)};
}

/// A square image of values in [0.5, 1.5).
template<class T = float>
darr_c2DArray realImage(int side, std::uint32_t input) {
    return image<T>(side, [=](std::uint32_t i) { return static_cast<T>(real(i, input)); });
}

} // namespace bench
