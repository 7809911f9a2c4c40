#pragma once

// Plain doubles between numpy and the library: points, parameters, matrices.

#include <algorithm>
#include <span>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "dataprocessing/dataprocessing.h"

namespace dataprocessing::python {

/// What numpy takes for an array of doubles.
using tDoubles = pybind11::array_t<double, pybind11::array::c_style | pybind11::array::forcecast>;

inline pybind11::array_t<double> toNumpy(std::span<const double> values) {
    pybind11::array_t<double> made(static_cast<pybind11::ssize_t>(values.size()));
    std::ranges::copy(values, made.mutable_data());
    return made;
}

/// A matrix, row after row.
inline pybind11::array_t<double> toNumpy(std::span<const double> values, std::size_t rows) {
    pybind11::array_t<double> made(
        {static_cast<pybind11::ssize_t>(rows),
         static_cast<pybind11::ssize_t>(rows == 0 ? 0 : values.size() / rows)});
    std::ranges::copy(values, made.mutable_data());
    return made;
}

inline pybind11::array_t<double> toNumpy(const arr_c2DNumberArray<double>& matrix) {
    return toNumpy(std::span<const double>(matrix), static_cast<std::size_t>(matrix.Rows()));
}

inline std::span<const double> spanOf(const tDoubles& values) {
    return {values.data(), static_cast<std::size_t>(values.size())};
}

inline std::vector<double> vectorOf(const tDoubles& values) {
    const auto span = spanOf(values);
    return {span.begin(), span.end()};
}

inline arr_cC_Array<double> arrayOf(const tDoubles& values) {
    return arr_cC_Array<double>(spanOf(values));
}

} // namespace dataprocessing::python
