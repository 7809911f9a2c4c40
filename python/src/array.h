#pragma once

// Arrays and masks as Python objects: what goes in, the views that come out, indexing.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "objects.h"

namespace dataprocessing::python {

void registerArrays(pybind11::module_& module);
void registerMasks(pybind11::module_& module);

/// A numpy array, by reference where it is one already, of anything that numpy takes for one.
pybind11::array asNumpy(const pybind11::handle& values);

/// The element type in which an array of that numpy type is kept: its own, the next that holds all
/// of it, or for 64-bit integers one that holds these values. TypeError where there is none.
dtyp_cDataType storedType(const pybind11::array& values);

/// A new array of `values` on the axes and with the labels of `object`, or on default ones.
template<class Object>
Object fromNumpy(const pybind11::array& values, dtyp_cDataType type);

/// Array1D or Array2D of uninitialised elements.
template<class Object>
Object uninitialised(const pybind11::ssize_t* shape, dtyp_cDataType type);

/// The elements of the array or mask that `self` holds, without a copy; keeps `self` alive.
pybind11::array viewOf(const pybind11::handle& self);

} // namespace dataprocessing::python
