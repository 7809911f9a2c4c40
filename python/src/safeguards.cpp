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
        py::setattr(type, "__reduce_ex__",
                    py::cpp_function(
                        [reduce](const py::object& self, int protocol) {
                            return reduce(self, std::max(protocol, oldestProtocol));
                        },
                        py::name("__reduce_ex__"), py::is_method(type)));
    }
}

} // namespace dataprocessing::python
