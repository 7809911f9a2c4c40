#pragma once

// Logic of masks. Both stand on one grid: masks are never aligned.

#include <pybind11/pybind11.h>

#include "objects.h"

namespace dataprocessing::python {

template<class Mask>
Mask both(const Mask& a, const Mask& b);
template<class Mask>
Mask any(const Mask& a, const Mask& b);
template<class Mask>
Mask oneOf(const Mask& a, const Mask& b);
template<class Mask>
Mask inverted(const Mask& mask);

/// The number of true elements.
template<class Mask>
int countOf(const Mask& mask);

void registerMaskFunctions(pybind11::module_& module);

} // namespace dataprocessing::python
