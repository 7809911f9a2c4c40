#pragma once

// From Python objects to what they hold and back, on the road of every operator: a comparison of
// types and one load where the general casts look types up in tables.

#include <utility>

#include <pybind11/pybind11.h>

#include "objects.h"
#include "safeguards.h"

namespace dataprocessing::python {

/// The Python type of `T`, known once it is registered.
template<class T>
inline PyTypeObject* typeOf = nullptr;

template<class T>
bool isInstance(PyObject* object) noexcept {
    return PyObject_TypeCheck(object, typeOf<T>);
}

/// What an instance of T's type, or of a subclass, holds: one that Python derived from two classes
/// of the library holds a value of each. TypeError where `__new__` made it and no `__init__`
/// followed.
template<class T>
T& held(PyObject* object) {
    auto* instance = reinterpret_cast<pybind11::detail::instance*>(object);
    const auto* const type =
        instance->simple_layout ? nullptr : pybind11::detail::get_type_info(typeOf<T>);
    auto* value = static_cast<T*>(instance->get_value_and_holder(type).value_ptr());
    if (value == nullptr)
        throw pybind11::type_error(withoutValue);
    return *value;
}

template<class T>
T* tryHeld(PyObject* object) {
    return isInstance<T>(object) ? &held<T>(object) : nullptr;
}

/// A new Python object that holds `value`.
template<class T>
PyObject* release(T&& value) {
    return pybind11::cast(std::forward<T>(value)).release().ptr();
}

} // namespace dataprocessing::python
