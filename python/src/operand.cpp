#include "operand.h"

#include <pybind11/numpy.h>

#include "array.h"
#include "dtype.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

/// numpy's own arrays: subclasses (masked arrays, quantities) know better than we what they mean.
bool isPlainArray(PyObject* object) {
    if (!py::isinstance<py::array>(object))
        return false;
    static const PyObject* const memmap =
        py::object(py::module_::import("numpy").attr("memmap")).release().ptr();
    const PyTypeObject* type = Py_TYPE(object);
    return type == py::detail::npy_api::get().PyArray_Type_ ||
           reinterpret_cast<const PyObject*>(type) == memmap;
}

/// The elements of `values` repeated along the axes that they lack. numpy's ValueError says which
/// shapes do not fit.
template<class A>
py::array broadcast(const py::array& values, const A& array) {
    py::tuple shape(A::dimensions);
    for (int axis = 0; axis < A::dimensions; ++axis)
        shape[static_cast<std::size_t>(axis)] = array.Size(axis);
    return py::array(py::module_::import("numpy").attr("broadcast_to")(values, shape));
}

/// Whether elements of `type` can be read where they are.
bool canStay(const py::array& values, dtyp_cDataType type) {
    constexpr int inOrder = py::array::c_style;
    constexpr int asInMemory = inOrder | int(py::detail::npy_api::NPY_ARRAY_ALIGNED_);
    return (type == dtyp_Float || type == dtyp_Double) && codeOf(values.dtype()) == type &&
           (values.flags() & asInMemory) == asInMemory && isNative(values.dtype()) &&
           values.size() > 0;
}

} // namespace

template<class A>
cOperand<A>::cOperand(PyObject* object, const A& array) : beside_(array) {
    array_ = tryHeld<A>(object);
    if (array_ != nullptr)
        return;
    isNumber_ = weakNumber(object, array.values.DataType(), number_);
    if (isNumber_)
        return;
    if (isInstance<sArray1D>(object) || isInstance<sArray2D>(object))
        throw py::type_error("a 1D array and a 2D array do not combine");
    if (isPlainArray(object) || PyList_Check(object) || PyTuple_Check(object)) {
        Broadcast(object);
        return;
    }
    isNumber_ = strongNumber(object, number_);
}

template<class A>
void cOperand<A>::Broadcast(const py::handle& values) {
    const py::array in = asNumpy(values);
    if (in.ndim() == 0) {
        isNumber_ = strongNumber(in[py::tuple()].ptr(), number_);
        return;
    }
    bool same = in.ndim() == A::dimensions;
    for (int axis = 0; same && axis < A::dimensions; ++axis)
        same = in.shape(axis) == beside_.Size(axis);
    inPlace_ = same ? in : broadcast(in, beside_);
    if (!same || !canStay(in, beside_.values.DataType()))
        Copy();
}

template<class A>
void cOperand<A>::Copy() {
    const auto in = inPlace_.cast<py::array>();
    made_ = fromNumpy<A>(in, storedType(in));
    for (int axis = 0; axis < A::dimensions; ++axis)
        made_.SetAxis(axis, beside_.Axis(axis));
    array_ = &made_;
    inPlace_ = py::none();
}

template class cOperand<sArray1D>;
template class cOperand<sArray2D>;

} // namespace dataprocessing::python
