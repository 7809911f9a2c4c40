#pragma once

// A number as an argument of the library's functions: a Python or a numpy number, converted at the
// door.

#include <pybind11/pybind11.h>

#include "dtype.h"

namespace dataprocessing::python {

/// Distinct from pnum_cNumber, so that the caster below is this module's alone.
struct sNumber {
    pnum_cNumber value;
};

} // namespace dataprocessing::python

namespace pybind11::detail {

template<>
struct type_caster<dataprocessing::python::sNumber> {
    PYBIND11_TYPE_CASTER(dataprocessing::python::sNumber, const_name("complex"));

    bool load(handle source, bool) {
        return dataprocessing::python::weakNumber(source.ptr(), dtyp_Int32, value.value) ||
               dataprocessing::python::strongNumber(source.ptr(), value.value);
    }

    static handle cast(const dataprocessing::python::sNumber& number, return_value_policy, handle) {
        return dataprocessing::python::scalar(number.value).release();
    }
};

} // namespace pybind11::detail
