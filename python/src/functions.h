#pragma once

// The library's functions under their own names, with the library's own results.

#include <pybind11/pybind11.h>

namespace dataprocessing::python {

void registerValueFunctions(pybind11::module_& module);
void registerElementwise(pybind11::module_& module);
void registerReductions(pybind11::module_& module);
void registerFourier(pybind11::module_& module);
void registerGeometry(pybind11::module_& module);
void registerFilters(pybind11::module_& module);
void registerMessages(pybind11::module_& module);
void registerStreams(pybind11::module_& module);
void registerRecords(pybind11::module_& module);
void registerCurves(pybind11::module_& module);
void registerModels(pybind11::module_& module);
void registerMaps(pybind11::module_& module);

} // namespace dataprocessing::python
