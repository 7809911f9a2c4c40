#pragma once

// What stands beside an array in an operation.

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "objects.h"

namespace dataprocessing::python {

/// The other operand of an array of type A: an array, a number, or something whose own methods
/// decide.
template<class A>
class cOperand {
public:
    /// Reads `object`, which stands beside `array`. TypeError for an array of the other dimension,
    /// ValueError for an ndarray or a list of a shape that does not fit.
    cOperand(PyObject* object, const A& array);

    bool IsArray() const noexcept { return array_ != nullptr; }
    bool IsNumber() const noexcept { return isNumber_; }
    /// True when it is neither: the operator answers NotImplemented.
    bool IsForeign() const noexcept { return !IsArray() && !IsNumber(); }

    const A& Array() const noexcept { return *array_; }
    const pnum_cNumber& Number() const noexcept { return number_; }

    /// True of an ndarray of the array's shape and floating type, whose elements an operation may
    /// read where they are; it is no array until Copy() made it one.
    bool IsInPlace() const noexcept { return !inPlace_.is_none(); }
    const void* Elements() const { return inPlace_.cast<pybind11::array>().data(); }
    void Copy();

private:
    cOperand(const cOperand&) = delete;
    cOperand& operator=(const cOperand&) = delete;

    void Broadcast(const pybind11::handle& values);

    const A& beside_;
    const A* array_ = nullptr;
    bool isNumber_ = false;
    pnum_cNumber number_;
    A made_;
    pybind11::object inPlace_ = pybind11::none();
};

} // namespace dataprocessing::python
