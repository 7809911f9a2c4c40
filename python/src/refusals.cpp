#include "refusals.h"

#include <algorithm>
#include <string>
#include <vector>

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

// The binding calls every function through this one.
PyCFunctionWithKeywords dispatch = nullptr;

std::string typeName(PyTypeObject* type) {
    const std::string name = type->tp_name;
    return name.substr(name.rfind('.') + 1);
}

/// Whether an object is of a class or of one derived from it, by the name of that.
bool isOf(const std::string& name, PyObject* object) {
    const auto bases = py::reinterpret_borrow<py::tuple>(Py_TYPE(object)->tp_mro);
    return std::any_of(bases.begin(), bases.end(), [&](const py::handle& base) {
        return typeName(reinterpret_cast<PyTypeObject*>(base.ptr())) == name;
    });
}

/// A number, None or a short text as it is written; else the type.
std::string told(const py::handle& argument) {
    PyObject* const object = argument.ptr();
    constexpr std::size_t readable = 40;
    if (PyLong_CheckExact(object) || PyFloat_CheckExact(object) || PyBool_Check(object) ||
        PyUnicode_CheckExact(object) || argument.is_none()) {
        std::string text(py::str(py::module_::import("builtins").attr("ascii")(argument)));
        if (text.size() <= readable)
            return text;
    }
    return typeName(Py_TYPE(object));
}

std::string told(const py::handle& arguments, const py::handle& keywords, std::size_t first) {
    std::string text;
    const auto add = [&](const std::string& one) { text += (text.empty() ? "" : ", ") + one; };
    const auto tuple = py::reinterpret_borrow<py::tuple>(arguments);
    for (std::size_t i = first; i < tuple.size(); ++i)
        add(told(tuple[i]));
    if (keywords)
        for (const auto& [name, value] : py::reinterpret_borrow<py::dict>(keywords))
            add(std::string(py::str(name)) + "=" + told(value));
    return "(" + text + ")";
}

void remove(std::string& text, const std::string& part) {
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part))
        text.erase(at, part.size());
}

/// What the lines "    1. (self: Axis, x: float) -> int" of the binding's message say in brackets.
std::vector<std::string> signatures(const std::string& message) {
    std::vector<std::string> found;
    const std::size_t end = message.find("\nInvoked with");
    for (std::size_t at = message.find("\n    "); at < end; at = message.find("\n    ", at + 1)) {
        const std::size_t open = message.find('(', at);
        const std::size_t close = message.rfind(')', message.find('\n', at + 1));
        if (open < close && close < end)
            found.push_back(message.substr(open + 1, close - open - 1));
    }
    return found;
}

/// The class in "self: dataprocessing._core.Axis, x: float"; nothing of a function that is no
/// method.
std::string ownerIn(const std::string& signature) {
    const std::string mark = "self: ";
    if (signature.rfind(mark, 0) != 0)
        return "";
    const std::string type = signature.substr(mark.size(), signature.find(',') - mark.size());
    return type.substr(type.rfind('.') + 1);
}

/// The binding's message in a sentence; the message itself where it is another one.
std::string shortly(const std::string& message, const py::handle& arguments,
                    const py::handle& keywords) {
    const std::size_t name = message.find("(): incompatible ");
    const std::vector<std::string> taken = signatures(message);
    if (name == std::string::npos || taken.empty())
        return message;
    const bool isConstructor = message.compare(0, name, "__init__") == 0;
    const std::string owner = ownerIn(taken[0]);
    const bool isMethod = !owner.empty();
    const Py_ssize_t count = PyTuple_GET_SIZE(arguments.ptr());
    PyObject* const first = count > 0 ? PyTuple_GET_ITEM(arguments.ptr(), 0) : Py_None;
    std::string called = message.substr(0, name);
    if (called.empty())
        called = count < 2 ? "the getter" : "the setter";
    if (isConstructor)
        called = typeName(Py_TYPE(first));
    else if (isMethod && !isOf(owner, first))
        return called + "() is a method of " + owner + ", not of " + typeName(Py_TYPE(first));
    const std::string given = told(arguments, keywords, isConstructor || isMethod ? 1 : 0);
    if (taken.size() > 1)
        return called + "() takes no " + given + "; its docstring lists what it takes";
    std::string one = taken[0];
    if (isMethod)
        one.erase(0, one.find(", ") == std::string::npos ? one.size() : one.find(", ") + 2);
    remove(one, "dataprocessing._core.");
    for (int i = 0; i < 20; ++i)
        remove(one, "arg" + std::to_string(i) + ": ");
    return called + "() takes (" + one + "), not " + given;
}

/// The binding reads keywords as UTF-8, and ends the program where they are none.
bool areReadable(PyObject* keywords) {
    PyObject* name = nullptr;
    PyObject* value = nullptr;
    for (Py_ssize_t at = 0;
         keywords != nullptr && PyDict_Next(keywords, &at, &name, &value) != 0;) {
        if (PyUnicode_AsUTF8(name) != nullptr)
            continue;
        PyErr_Clear();
        PyErr_Format(PyExc_TypeError, "no argument is called %A", name);
        return false;
    }
    return true;
}

PyObject* call(PyObject* self, PyObject* arguments, PyObject* keywords) {
    if (!areReadable(keywords))
        return nullptr;
    PyObject* const result = dispatch(self, arguments, keywords);
    if (result != nullptr || PyErr_ExceptionMatches(PyExc_TypeError) == 0)
        return result;
    py::error_already_set error;
    if (error.trace()) { // of a function of the user's
        error.restore();
        return nullptr;
    }
    try {
        const std::string message(py::str(error.value()));
        const std::string text = shortly(message, arguments, keywords);
        if (text != message) {
            PyErr_SetString(PyExc_TypeError, text.c_str());
            return nullptr;
        }
    } catch (const py::error_already_set&) { // what has no text is told as it is
    }
    error.restore();
    return nullptr;
}

/// To the binding, None is a null pointer, which methods of the library would be called with.
PyObject* callOfObject(PyObject* self, PyObject* arguments, PyObject* keywords) {
    if (PyTuple_GET_SIZE(arguments) > 0 && PyTuple_GET_ITEM(arguments, 0) == Py_None) {
        PyErr_SetString(PyExc_TypeError, "a method is called with None for its object");
        return nullptr;
    }
    return call(self, arguments, keywords);
}

void replace(py::handle function, PyCFunctionWithKeywords by) {
    if (!function || function.is_none())
        return;
    if (PyInstanceMethod_Check(function.ptr()))
        function = PyInstanceMethod_GET_FUNCTION(function.ptr());
    else if (Py_TYPE(function.ptr()) == &PyStaticMethod_Type) {
        replace(function.attr("__func__"), &call);
        return;
    } else if (Py_TYPE(function.ptr()) == &PyProperty_Type) {
        replace(function.attr("fget"), by);
        replace(function.attr("fset"), by);
        return;
    }
    if (!PyCFunction_CheckExact(function.ptr()))
        return;
    PyMethodDef* const definition = reinterpret_cast<PyCFunctionObject*>(function.ptr())->m_ml;
    if (definition->ml_flags != (METH_VARARGS | METH_KEYWORDS))
        return;
    const auto to = reinterpret_cast<PyCFunctionWithKeywords>(
        reinterpret_cast<void (*)()>(definition->ml_meth));
    if (dispatch == nullptr)
        dispatch = to;
    if (to == dispatch)
        definition->ml_meth = reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(by));
}

} // namespace

void sayRefusalsShortly(py::module_& module) {
    for (const auto& entry : py::reinterpret_borrow<py::dict>(module.attr("__dict__"))) {
        replace(entry.second, &call);
        if (PyType_Check(entry.second.ptr()) != 0)
            for (const auto& member : py::reinterpret_steal<py::dict>(
                     PyDict_Copy(reinterpret_cast<PyTypeObject*>(entry.second.ptr())->tp_dict)))
                replace(member.second, &callOfObject);
    }
}

} // namespace dataprocessing::python
