// The extension module: everything that is written in C++ meets Python here.

#include <pybind11/pybind11.h>

#include "alignment.h"
#include "array.h"
#include "axis.h"
#include "errors.h"
#include "functions.h"
#include "masks.h"
#include "operators.h"
#include "refusals.h"
#include "safeguards.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

/// The binding knows one interpreter alone: in another one it would wait for ever, or mix up both.
bool isMainInterpreter() {
    if (PyInterpreterState_Get() == PyInterpreterState_Main())
        return true;
    PyErr_SetString(PyExc_ImportError, "dataprocessing works in the main interpreter alone");
    return false;
}

/// A second interpreter gets the module that the first one has made, without its initialisation.
/// This is Python's own kind of function, because the binding's would wait, too.
PyMethodDef functions[] = {{"_require_main_interpreter",
                            [](PyObject*, PyObject*) -> PyObject* {
                                return isMainInterpreter() ? Py_NewRef(Py_None) : nullptr;
                            },
                            METH_NOARGS, nullptr},
                           {nullptr, nullptr, 0, nullptr}};

void define(py::module_& module) {
    module.doc() = "The C++ library under its own names, with its own results; `dataprocessing` is "
                   "the module for users.";
    registerErrors(module);
    registerAxis(module);
    registerArrays(module);
    registerMasks(module);
    registerMaskFunctions(module);
    registerAlignment(module);
    registerOperators(module);
    registerMessages(module);
    registerStreams(module);
    registerValueFunctions(module);
    registerElementwise(module);
    registerReductions(module);
    registerFourier(module);
    registerGeometry(module);
    registerFilters(module);
    registerCurves(module);
    registerModels(module);
    registerRecords(module);
    registerMaps(module);
    registerSafeguards(module);
    sayRefusalsShortly(module);
    if (PyModule_AddFunctions(module.ptr(), functions) != 0)
        throw py::error_already_set();
}

} // namespace

} // namespace dataprocessing::python

PyMODINIT_FUNC PyInit__core() {
    namespace py = pybind11;
    if (!dataprocessing::python::isMainInterpreter())
        return nullptr;
    PYBIND11_CHECK_PYTHON_VERSION
    PYBIND11_ENSURE_INTERNALS_READY
    static PyModuleDef definition;
    auto module = py::module_::create_extension_module("_core", nullptr, &definition);
    try {
        dataprocessing::python::define(module);
        return module.ptr();
    }
    PYBIND11_CATCH_INIT_EXCEPTIONS
}
