#include "safeguards.h"

#include <algorithm>

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

// Older protocols would make an instance of the binding's own base class, which ends the process.
constexpr int oldestProtocol = 2;

[[noreturn]] void* refuse(std::size_t) { throw py::type_error(withoutValue); }

bool isBound(const py::handle& object) {
    auto* const base = reinterpret_cast<PyTypeObject*>(py::detail::get_internals().instance_base);
    return PyType_Check(object.ptr()) != 0 &&
           PyType_IsSubtype(reinterpret_cast<PyTypeObject*>(object.ptr()), base) != 0;
}

PyObject* classOf(PyObject* object, void*) {
    return Py_NewRef(reinterpret_cast<PyObject*>(Py_TYPE(object)));
}

/// What an object holds is that of its class.
int refuseClass(PyObject* object, PyObject*, void*) {
    PyErr_Format(PyExc_TypeError, "an object of %s stays one", Py_TYPE(object)->tp_name);
    return -1;
}

PyGetSetDef itsClass{"__class__", &classOf, &refuseClass, nullptr, nullptr};

} // namespace

void registerSafeguards(py::module_& module) {
    const py::object reduce =
        py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(&PyBaseObject_Type))
            .attr("__reduce_ex__");
    for (const auto& entry : py::reinterpret_borrow<py::dict>(module.attr("__dict__"))) {
        const py::handle type = entry.second;
        if (!isBound(type))
            continue;
        // Functions that take such an object would get storage that nothing was written to.
        py::detail::get_type_info(reinterpret_cast<PyTypeObject*>(type.ptr()))->operator_new =
            &refuse;
        auto* const bound = reinterpret_cast<PyTypeObject*>(type.ptr());
        const auto descriptor =
            py::reinterpret_steal<py::object>(PyDescr_NewGetSet(bound, &itsClass));
        if (!descriptor || PyDict_SetItemString(bound->tp_dict, "__class__", descriptor.ptr()) != 0)
            throw py::error_already_set();
        PyType_Modified(bound);
        py::setattr(type, "__reduce_ex__",
                    py::cpp_function(
                        [reduce](const py::object& self, int protocol) {
                            return reduce(self, std::max(protocol, oldestProtocol));
                        },
                        py::name("__reduce_ex__"), py::is_method(type)));
    }
}

} // namespace dataprocessing::python
