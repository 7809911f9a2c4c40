#include "dtype.h"

#include <array>
#include <cmath>

namespace dataprocessing::python {

namespace {

constexpr std::array<const char*, 11> names = {"",   "u1", "u2", "u4", "i1", "i2",
                                               "i4", "f4", "f8", "c8", "c16"};

/// The number `value`, which `type` holds exactly.
pnum_cNumber numberOf(double value, dtyp_cDataType type) {
    return conv_Convert(pnum_cNumber(value), type);
}

struct sLimits {
    double lowest;
    double highest;
};

sLimits limitsOf(dtyp_cDataType type) {
    switch (type.Code()) {
    case dtyp_UInt8:
        return {0, 0xFF};
    case dtyp_UInt16:
        return {0, 0xFFFF};
    case dtyp_UInt32:
        return {0, 0xFFFFFFFF};
    case dtyp_Int8:
        return {-0x80, 0x7F};
    case dtyp_Int16:
        return {-0x8000, 0x7FFF};
    default:
        return {-2147483648.0, 2147483647.0};
    }
}

bool holds(dtyp_cDataType type, double value) {
    const sLimits limits = limitsOf(type);
    return value >= limits.lowest && value <= limits.highest;
}

dtyp_cDataType signedOfWidth(dtyp_cDataType type) {
    switch (type.SizeOf()) {
    case 1:
        return dtyp_Int8;
    case 2:
        return dtyp_Int16;
    default:
        return dtyp_Int32;
    }
}

/// The double of the same value; OverflowError where there is none.
double exactDouble(PyObject* integer) {
    const double value = PyLong_AsDouble(integer);
    if (PyErr_Occurred())
        throw py::error_already_set();
    const py::object back = py::reinterpret_steal<py::object>(PyLong_FromDouble(value));
    if (!back || PyObject_RichCompareBool(back.ptr(), integer, Py_EQ) != 1) {
        PyErr_Format(PyExc_OverflowError,
                     "the integer %S is held exactly by none of the element types", integer);
        throw py::error_already_set();
    }
    return value;
}

pnum_cNumber integerBeside(PyObject* integer, dtyp_cDataType beside) {
    if (beside.Code() >= dtyp_Float) {
        const bool single = beside == dtyp_Float || beside == dtyp_ComplexFloat;
        return numberOf(PyLong_AsDouble(integer), single ? dtyp_Float : dtyp_Double);
    }
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(integer, &overflow);
    constexpr long long wide = 1LL << 40;
    if (overflow == 0 && value > -wide && value < wide) {
        const double exact = static_cast<double>(value);
        for (const dtyp_cDataType type :
             {beside, signedOfWidth(beside), dtyp_cDataType(dtyp_Int32)})
            if (holds(type, exact))
                return numberOf(exact, type);
        return exact;
    }
    return exactDouble(integer);
}

} // namespace

py::dtype dtypeOf(dtyp_cDataType type) {
    // Made once and never given back: modules may be gone before the last array is.
    static const std::array<PyObject*, 11> all = [] {
        std::array<PyObject*, 11> made{};
        for (std::size_t code = 1; code < made.size(); ++code)
            made[code] = py::dtype(names[code]).release().ptr();
        return made;
    }();
    if (!type.IsKnown())
        throw py::type_error("an object without a value: its __init__ was not called");
    return py::reinterpret_borrow<py::dtype>(all[static_cast<std::size_t>(type.Code())]);
}

dtyp_cDataType codeOf(const py::dtype& dtype) {
    const py::ssize_t width = dtype.itemsize();
    switch (dtype.kind()) {
    case 'u':
        return dtyp_cDataType(width == 1 ? 1 : width == 2 ? 2 : width == 4 ? 3 : 0);
    case 'i':
        return dtyp_cDataType(width == 1 ? 4 : width == 2 ? 5 : width == 4 ? 6 : 0);
    case 'f':
        return dtyp_cDataType(width == 4 ? 7 : width == 8 ? 8 : 0);
    case 'c':
        return dtyp_cDataType(width == 8 ? 9 : width == 16 ? 10 : 0);
    default:
        return dtyp_cDataType(0);
    }
}

bool isNative(const py::dtype& dtype) {
    const char order = py::detail::array_descriptor_proxy(dtype.ptr())->byteorder;
    return order == '=' || order == '|';
}

dtyp_cDataType requestedType(const py::handle& dtype) {
    const py::dtype asked = py::dtype::from_args(py::reinterpret_borrow<py::object>(dtype));
    const dtyp_cDataType type = codeOf(asked);
    if (!type.IsKnown())
        throw py::type_error(
            "elements are uint8, uint16, uint32, int8, int16, int32, float32, float64, "
            "complex64 or complex128, not " +
            std::string(py::str(py::handle(asked))));
    return type;
}

py::object scalar(const pnum_cNumber& number) {
    const py::array zeroD(dtypeOf(number.DataType()), std::vector<py::ssize_t>{}, number.Data());
    return zeroD[py::tuple()];
}

bool weakNumber(PyObject* object, dtyp_cDataType beside, pnum_cNumber& number) {
    const bool single = beside == dtyp_Float || beside == dtyp_ComplexFloat;
    if (PyFloat_CheckExact(object)) {
        const double value = PyFloat_AS_DOUBLE(object);
        number = single ? pnum_cNumber(static_cast<float>(value)) : pnum_cNumber(value);
        return true;
    }
    if (PyLong_CheckExact(object) || PyBool_Check(object)) {
        number = integerBeside(object, beside);
        if (PyErr_Occurred())
            throw py::error_already_set();
        return true;
    }
    if (PyComplex_CheckExact(object)) {
        const Py_complex z = PyComplex_AsCComplex(object);
        const comp_cComplex<double> value(z.real, z.imag);
        const dtyp_cDataType type = single ? dtyp_ComplexFloat : dtyp_ComplexDouble;
        number = conv_Convert(pnum_cNumber(value), type);
        return true;
    }
    return false;
}

bool strongNumber(PyObject* object, pnum_cNumber& number) {
    if (weakNumber(object, dtyp_UInt8, number))
        return true;
    const py::module_ numpy = py::module_::import("numpy");
    if (!py::isinstance(object, numpy.attr("generic")))
        return false;
    const py::array value = numpy.attr("asarray")(py::handle(object));
    const dtyp_cDataType type = codeOf(value.dtype());
    if (type.IsKnown()) {
        number = pnum_cNumber(type, value.data());
        return true;
    }
    switch (value.dtype().kind()) {
    case 'b':
        number = static_cast<unsigned char>(py::cast<bool>(value.attr("item")()));
        return true;
    case 'u':
    case 'i': {
        const py::object integer = value.attr("item")();
        number = integerBeside(integer.ptr(), dtyp_Int32);
        return true;
    }
    case 'f':
        if (value.dtype().itemsize() != 2)
            return false;
        number = static_cast<float>(py::cast<double>(value.attr("item")()));
        return true;
    default:
        return false;
    }
}

} // namespace dataprocessing::python
