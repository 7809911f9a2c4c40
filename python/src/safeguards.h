#pragma once

// What the binding leaves open: objects that `__new__` made and no `__init__` followed, and pickles
// of old protocols.

#include <pybind11/pybind11.h>

namespace dataprocessing::python {

inline constexpr const char* withoutValue =
    "an object without a value: its __init__ was not called";

/// For all classes of the module that are there already.
void registerSafeguards(pybind11::module_& module);

} // namespace dataprocessing::python
