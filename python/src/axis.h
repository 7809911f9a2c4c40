#pragma once

// Axes as Python objects, and what happens to their labels when operands meet.

#include <pybind11/pybind11.h>

#include "objects.h"

namespace dataprocessing::python {

void registerAxis(pybind11::module_& module);

/// The labels of a result of operands with these: words that both have, or that only one has.
/// UnitError for two different units.
cLabels mergedAxis(const cLabels& a, const cLabels& b);

/// The labels of a sum, a difference, a choice: the quantity stays, words that differ go.
/// UnitError for two different units.
cLabels mergedValues(const cLabels& a, const cLabels& b);

/// Removes and adds blanks round nothing, refuses what is no text. `None` is the empty word.
std::string word(const pybind11::handle& text);

} // namespace dataprocessing::python
