// The extension module: everything that is written in C++ meets Python here.

#include <pybind11/pybind11.h>

#include "alignment.h"
#include "array.h"
#include "axis.h"
#include "errors.h"
#include "functions.h"
#include "masks.h"
#include "operators.h"

PYBIND11_MODULE(_core, module) {
    using namespace dataprocessing::python;
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
}
