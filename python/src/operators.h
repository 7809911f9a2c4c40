#pragma once

// Operators of arrays and masks, in the slots of their types.

#include <pybind11/pybind11.h>

namespace dataprocessing::python {

void registerOperators(pybind11::module_& module);

} // namespace dataprocessing::python
