#pragma once

// Element types and single numbers on their way between numpy and the library.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "dataprocessing/dataprocessing.h"

namespace dataprocessing::python {

namespace py = pybind11;

/// The numpy type of an element type.
py::dtype dtypeOf(dtyp_cDataType type);

/// The element type of a numpy type, 0 when there is none of exactly that kind and width.
dtyp_cDataType codeOf(const py::dtype& dtype);

/// Whether elements are in this machine's byte order.
bool isNative(const py::dtype& dtype);

/// The element type that users ask for by a dtype or what numpy takes for one; TypeError for one
/// that the library has not.
dtyp_cDataType requestedType(const py::handle& dtype);

/// A number as the numpy scalar of its type.
py::object scalar(const pnum_cNumber& number);

/// A Python int, float, bool or complex beside an array of type `beside`, in the type that keeps
/// both; false when `object` is none of exactly those. OverflowError for an int that no type holds.
bool weakNumber(PyObject* object, dtyp_cDataType beside, pnum_cNumber& number);

/// Any number: the Python ones as if beside bytes, numpy's in their own type. False when `object`
/// is no number.
bool strongNumber(PyObject* object, pnum_cNumber& number);

} // namespace dataprocessing::python
