#pragma once

// What is looked at before two arrays are brought to one grid.

#include <pybind11/pybind11.h>

#include "objects.h"

namespace dataprocessing::python {

void registerAlignment(pybind11::module_& module);

/// ValueError where the axes differ and `alignment("exact")` asks for equal ones; an
/// AlignmentWarning where deltas differ by less than a millionth, or the ranges do not meet.
void checkAxis(const cal_cArrayCal& a, int sizeA, const cal_cArrayCal& b, int sizeB);

/// Whether elements of equal index lie at equal positions, and there are equally many.
bool isSameGrid(const cal_cArrayCal& a, int sizeA, const cal_cArrayCal& b, int sizeB) noexcept;

template<class A, class B>
bool haveSameGrid(const A& a, const B& b) noexcept {
    for (int axis = 0; axis < A::dimensions; ++axis)
        if (!isSameGrid(a.Cal(axis), a.Size(axis), b.Cal(axis), b.Size(axis)))
            return false;
    return true;
}

/// Checks all axes of two arrays of one dimension.
template<class A, class B>
void checkAxes(const A& a, const B& b) {
    for (int axis = 0; axis < A::dimensions; ++axis)
        checkAxis(a.Cal(axis), a.Size(axis), b.Cal(axis), b.Size(axis));
}

} // namespace dataprocessing::python
