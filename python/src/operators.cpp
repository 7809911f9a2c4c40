#include "operators.h"

#include <optional>
#include <string>
#include <utility>

#include "arithmetic.h"
#include "array.h"
#include "gil.h"
#include "instances.h"
#include "masks.h"
#include "operand.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

PyObject* notImplemented() noexcept { return Py_NewRef(Py_NotImplemented); }

/// Calls `body` as a slot is called: exceptions become Python's.
template<class Body>
PyObject* slot(Body body) noexcept {
    try {
        return body();
    } catch (py::error_already_set& error) {
        error.restore();
    } catch (const py::builtin_exception& error) {
        error.set_error();
    } catch (...) {
        // The translators of this module and of all others are pybind11's to walk through.
        const auto pointer = std::current_exception();
        for (auto* translators :
             {&py::detail::get_local_internals().registered_exception_translators,
              &py::detail::get_internals().registered_exception_translators})
            for (auto& translator : *translators) {
                try {
                    translator(pointer);
                    return nullptr;
                } catch (...) {
                    continue;
                }
            }
        PyErr_SetString(PyExc_SystemError, "an exception that nobody knows");
    }
    return nullptr;
}

/// One that is no array yet becomes one where the result is not that of the operands alone.
template<class A>
PyObject* withElements(bnry_eAritBinaryOperation operation, const A& array, cOperand<A>& other,
                       eOrder order) {
    if (std::optional<A> made = arithmeticInPlace(operation, array, other.Elements(), order))
        return release(*std::move(made));
    other.Copy();
    return release(order == ArrayFirst ? arithmetic(operation, array, other.Array())
                                       : arithmetic(operation, other.Array(), array));
}

template<class A, class Mask, bnry_eAritBinaryOperation operation>
PyObject* arithmeticSlot(PyObject* left, PyObject* right) {
    return slot([&]() -> PyObject* {
        if (const A* a = tryHeld<A>(left)) {
            cOperand<A> b(right, *a);
            if (b.IsInPlace())
                return withElements(operation, *a, b, ArrayFirst);
            if (b.IsArray())
                return release(arithmetic(operation, *a, b.Array()));
            return b.IsNumber() ? release(arithmetic(operation, *a, b.Number())) : notImplemented();
        }
        const A& b = held<A>(right);
        cOperand<A> a(left, b);
        if (a.IsInPlace())
            return withElements(operation, b, a, ArraySecond);
        if (a.IsArray())
            return release(arithmetic(operation, a.Array(), b));
        return a.IsNumber() ? release(arithmetic(operation, a.Number(), b)) : notImplemented();
    });
}

template<class A>
PyObject* powerSlot(PyObject* left, PyObject* right, PyObject* modulo) {
    if (modulo != Py_None) {
        PyErr_SetString(PyExc_TypeError, "pow of arrays takes no modulus");
        return nullptr;
    }
    return arithmeticSlot<A, void, bnry_Power>(left, right);
}

bnry_eCompBinaryOperation comparisonOf(int python) noexcept {
    switch (python) {
    case Py_EQ:
        return bnry_Equal;
    case Py_NE:
        return bnry_NotEqual;
    case Py_GT:
        return bnry_Greater;
    case Py_GE:
        return bnry_GreaterEqual;
    case Py_LT:
        return bnry_Less;
    default:
        return bnry_LessEqual;
    }
}

bool hasOwnFunctions(PyObject* object) {
    return py::hasattr(reinterpret_cast<PyObject*>(Py_TYPE(object)), "__array_ufunc__");
}

/// == and != beside what only its own methods understand. Where those do not either, Python would
/// make a plain False of numbers and arrays that may well be equal.
PyObject* equalityByOther(PyObject* self, PyObject* other, int python) {
    if (isInstance<sMask1D>(other) || isInstance<sMask2D>(other))
        return notImplemented(); // masks know arrays
    static const PyObject* const number =
        py::object(py::module_::import("numbers").attr("Number")).release().ptr();
    const int isNumber = PyObject_IsInstance(other, const_cast<PyObject*>(number));
    if (isNumber < 0)
        throw py::error_already_set();
    if (isNumber == 0 && !hasOwnFunctions(other))
        return notImplemented();
    if (isNumber == 0) {
        const auto result =
            py::reinterpret_steal<py::object>(Py_TYPE(other)->tp_richcompare(other, self, python));
        if (!result)
            throw py::error_already_set();
        if (!result.is(py::reinterpret_borrow<py::object>(Py_NotImplemented)))
            return result.inc_ref().ptr();
    }
    throw py::type_error(std::string("an array is not compared with an object of ") +
                         Py_TYPE(other)->tp_name);
}

template<class A, class Mask>
PyObject* comparisonSlot(PyObject* left, PyObject* right, int python) {
    return slot([&]() -> PyObject* {
        const A& a = held<A>(left);
        cOperand<A> b(right, a);
        if (b.IsInPlace())
            b.Copy();
        const bnry_eCompBinaryOperation operation = comparisonOf(python);
        if (b.IsArray())
            return release(comparison<A, Mask>(operation, a, b.Array()));
        if (b.IsNumber())
            return release(comparison<A, Mask>(operation, a, b.Number()));
        return python == Py_EQ || python == Py_NE ? equalityByOther(left, right, python)
                                                  : notImplemented();
    });
}

template<class A>
PyObject* negativeSlot(PyObject* self) {
    const auto negative = [](const A& array) {
        const cWithoutGil released(array.Count());
        const A a = exactlyFloating(array);
        return like<A>(a, unry_Operate(unry_Negate, a.values), a.labels);
    };
    return slot([&] { return release(negative(held<A>(self))); });
}

template<class A>
PyObject* positiveSlot(PyObject* self) {
    const auto copy = [](const A& a) {
        const cWithoutGil released(a.Count());
        return A(a);
    };
    return slot([&] { return release(copy(held<A>(self))); });
}

/// A method that is taken from its class may be called with anything.
void requireSelf(PyTypeObject* type, const py::object& self) {
    if (!PyObject_TypeCheck(self.ptr(), type))
        throw py::type_error(std::string("a method of ") + type->tp_name + " for an object of " +
                             Py_TYPE(self.ptr())->tp_name);
}

// Slots alone would be lost to Python subclasses, which look methods up by name; methods alone
// would be slow. They go into the dictionary past the type's own setattr, which would take the
// slots away.
template<class Function>
void addMethod(PyTypeObject* type, const char* name, Function function) {
    const py::handle owner(reinterpret_cast<PyObject*>(type));
    const py::cpp_function method(function, py::name(name), py::is_method(owner));
    if (PyDict_SetItemString(type->tp_dict, name, method.ptr()) != 0)
        throw py::error_already_set();
}

void addBinaryMethods(PyTypeObject* type, const char* name, const char* reflected,
                      binaryfunc slotFunction) {
    const auto checked = [](PyObject* result) {
        if (result == nullptr)
            throw py::error_already_set();
        return py::reinterpret_steal<py::object>(result);
    };
    addMethod(type, name, [=](const py::object& a, const py::object& b) {
        requireSelf(type, a);
        return checked(slotFunction(a.ptr(), b.ptr()));
    });
    addMethod(type, reflected, [=](const py::object& a, const py::object& b) {
        requireSelf(type, a);
        return checked(slotFunction(b.ptr(), a.ptr()));
    });
}

void addUnaryMethod(PyTypeObject* type, const char* name, unaryfunc slotFunction) {
    addMethod(type, name, [=](const py::object& a) {
        requireSelf(type, a);
        PyObject* result = slotFunction(a.ptr());
        if (result == nullptr)
            throw py::error_already_set();
        return py::reinterpret_steal<py::object>(result);
    });
}

void addComparison(PyTypeObject* type, const char* name, int python, richcmpfunc slotFunction) {
    addMethod(type, name, [=](const py::object& a, const py::object& b) {
        requireSelf(type, a);
        PyObject* result = slotFunction(a.ptr(), b.ptr(), python);
        if (result == nullptr)
            throw py::error_already_set();
        return py::reinterpret_steal<py::object>(result);
    });
}

template<class A, class Mask>
void fillSlots() {
    PyTypeObject* type = typeOf<A>;
    PyNumberMethods& number = reinterpret_cast<PyHeapTypeObject*>(type)->as_number;
    number.nb_add = &arithmeticSlot<A, Mask, bnry_Add>;
    number.nb_subtract = &arithmeticSlot<A, Mask, bnry_Subtract>;
    number.nb_multiply = &arithmeticSlot<A, Mask, bnry_Multiply>;
    number.nb_true_divide = &arithmeticSlot<A, Mask, bnry_Divide>;
    number.nb_power = &powerSlot<A>;
    number.nb_negative = &negativeSlot<A>;
    number.nb_positive = &positiveSlot<A>;
    type->tp_as_number = &number;
    type->tp_richcompare = &comparisonSlot<A, Mask>;
    type->tp_hash = &PyObject_HashNotImplemented;
    addBinaryMethods(type, "__add__", "__radd__", number.nb_add);
    addBinaryMethods(type, "__sub__", "__rsub__", number.nb_subtract);
    addBinaryMethods(type, "__mul__", "__rmul__", number.nb_multiply);
    addBinaryMethods(type, "__truediv__", "__rtruediv__", number.nb_true_divide);
    addBinaryMethods(type, "__pow__", "__rpow__", &arithmeticSlot<A, Mask, bnry_Power>);
    addUnaryMethod(type, "__neg__", number.nb_negative);
    addUnaryMethod(type, "__pos__", number.nb_positive);
    addComparison(type, "__eq__", Py_EQ, type->tp_richcompare);
    addComparison(type, "__ne__", Py_NE, type->tp_richcompare);
    addComparison(type, "__gt__", Py_GT, type->tp_richcompare);
    addComparison(type, "__ge__", Py_GE, type->tp_richcompare);
    addComparison(type, "__lt__", Py_LT, type->tp_richcompare);
    addComparison(type, "__le__", Py_LE, type->tp_richcompare);
    if (PyDict_SetItemString(type->tp_dict, "__hash__", Py_None) != 0)
        throw py::error_already_set();
}

// ---- Masks -------------------------------------------------------------------------------------

/// A bool, or bools in a list or a tuple.
bool isOfBools(PyObject* object) {
    if (PyBool_Check(object))
        return true;
    return (PyList_Check(object) || PyTuple_Check(object)) && asNumpy(object).dtype().kind() == 'b';
}

template<class Mask, class Operation>
PyObject* logicSlot(PyObject* left, PyObject* right, const char* ofNumpy, Operation operation) {
    return slot([&]() -> PyObject* {
        const Mask* a = tryHeld<Mask>(left);
        const Mask* b = tryHeld<Mask>(right);
        if (a != nullptr && b != nullptr)
            return release(operation(*a, *b));
        if (!isOfBools(a == nullptr ? left : right))
            return notImplemented();
        const py::object function = py::module_::import("numpy").attr(ofNumpy);
        return function(py::handle(left), py::handle(right)).release().ptr();
    });
}

template<class Mask>
PyObject* andSlot(PyObject* left, PyObject* right) {
    return logicSlot<Mask>(left, right, "bitwise_and",
                           [](const Mask& a, const Mask& b) { return both(a, b); });
}
template<class Mask>
PyObject* orSlot(PyObject* left, PyObject* right) {
    return logicSlot<Mask>(left, right, "bitwise_or",
                           [](const Mask& a, const Mask& b) { return any(a, b); });
}
template<class Mask>
PyObject* xorSlot(PyObject* left, PyObject* right) {
    return logicSlot<Mask>(left, right, "bitwise_xor",
                           [](const Mask& a, const Mask& b) { return oneOf(a, b); });
}
template<class Mask>
PyObject* invertSlot(PyObject* self) {
    return slot([&] { return release(inverted(held<Mask>(self))); });
}

template<class Mask>
void fillMaskSlots() {
    PyTypeObject* type = typeOf<Mask>;
    PyNumberMethods& number = reinterpret_cast<PyHeapTypeObject*>(type)->as_number;
    number.nb_and = &andSlot<Mask>;
    number.nb_or = &orSlot<Mask>;
    number.nb_xor = &xorSlot<Mask>;
    number.nb_invert = &invertSlot<Mask>;
    type->tp_as_number = &number;
    addBinaryMethods(type, "__and__", "__rand__", number.nb_and);
    addBinaryMethods(type, "__or__", "__ror__", number.nb_or);
    addBinaryMethods(type, "__xor__", "__rxor__", number.nb_xor);
    addUnaryMethod(type, "__invert__", number.nb_invert);
}

} // namespace

void registerOperators(py::module_&) {
    fillSlots<sArray1D, sMask1D>();
    fillSlots<sArray2D, sMask2D>();
    fillMaskSlots<sMask1D>();
    fillMaskSlots<sMask2D>();
    for (PyTypeObject* type :
         {typeOf<sArray1D>, typeOf<sArray2D>, typeOf<sMask1D>, typeOf<sMask2D>})
        PyType_Modified(type);
}

} // namespace dataprocessing::python
