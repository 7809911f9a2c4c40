#pragma once

// What a function says to arguments that it does not take.

#include <pybind11/pybind11.h>

namespace dataprocessing::python {

/// For all functions and methods of the module that are there already: one sentence in the place of
/// the binding's list of all signatures.
void sayRefusalsShortly(pybind11::module_& module);

} // namespace dataprocessing::python
