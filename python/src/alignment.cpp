#include "alignment.h"

#include <algorithm>
#include <cmath>

#include "errors.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

PyObject* mode = nullptr; // a context variable; it lives as long as the process

bool isExact() {
    PyObject* value = nullptr;
    if (PyContextVar_Get(mode, nullptr, &value) != 0)
        throw py::error_already_set();
    const py::object text = py::reinterpret_steal<py::object>(value);
    return PyUnicode_CompareWithASCIIString(text.ptr(), "exact") == 0;
}

std::string told(const cal_cArrayCal& cal, int size) {
    return "[" + std::string(py::repr(py::float_(cal.Position(0)))) + ", " +
           std::string(py::repr(py::float_(cal.Position(size)))) + ") in steps of " +
           std::string(py::repr(py::float_(cal.Delta())));
}

} // namespace

bool isSameGrid(const cal_cArrayCal& a, int sizeA, const cal_cArrayCal& b, int sizeB) noexcept {
    // The library's rule for what lies at one position, also to operators.
    return sizeA == sizeB &&
           (a == b || (a.Delta() == b.Delta() && a.RealIndex(b.Position(0)) == 0));
}

void checkAxis(const cal_cArrayCal& a, int sizeA, const cal_cArrayCal& b, int sizeB) {
    if (isSameGrid(a, sizeA, b, sizeB))
        return;
    if (isExact())
        throw py::value_error("the axes " + told(a, sizeA) + " and " + told(b, sizeB) +
                              " differ, and alignment(\"exact\") asks for equal ones");
    constexpr double closely = 1e-6;
    if (a.Delta() != b.Delta() && std::fabs(a.Delta() - b.Delta()) < closely * std::fabs(a.Delta()))
        warnOfAlignment(
            "the deltas " + std::string(py::repr(py::float_(a.Delta()))) + " and " +
            std::string(py::repr(py::float_(b.Delta()))) +
            " differ by less than a millionth: one array is resampled, which may not be meant");
    if (sizeA == 0 || sizeB == 0)
        return;
    const auto [lowA, highA] = std::minmax({a.Position(0), a.Position(sizeA)});
    const auto [lowB, highB] = std::minmax({b.Position(0), b.Position(sizeB)});
    if (highA <= lowB || highB <= lowA)
        warnOfAlignment(
            "the ranges " + told(a, sizeA) + " and " + told(b, sizeB) +
            " do not meet: each array is filled up with zeros where the other one lies");
}

void registerAlignment(py::module_& module) {
    const py::str automatic("auto");
    mode = PyContextVar_New("dataprocessing.alignment", automatic.ptr());
    if (mode == nullptr)
        throw py::error_already_set();
    module.attr("_alignment_mode") = py::reinterpret_borrow<py::object>(mode);
}

} // namespace dataprocessing::python
