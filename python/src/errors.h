#pragma once

// Exceptions of the library and of this package as Python sees them.

#include <string>

#include <pybind11/pybind11.h>

namespace dataprocessing::python {

void registerErrors(pybind11::module_& module);

/// Raises UnitError.
[[noreturn]] void throwUnitError(const std::string& text);

/// Warns with AlignmentWarning; throws where warnings are errors.
void warnOfAlignment(const std::string& text);

} // namespace dataprocessing::python
