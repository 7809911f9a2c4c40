#pragma once

// Tagged streams, over text and bytes in memory.

#include <sstream>
#include <string>

#include <pybind11/pybind11.h>

#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

/// Bytes that are no UTF-8 survive in both directions.
inline py::str toText(const str_cString& text) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(text.Text(), text.Length(), "surrogateescape"));
}

inline std::string bytesOf(const py::handle& text) {
    if (py::isinstance<py::bytes>(text))
        return py::cast<std::string>(text);
    const auto bytes = py::reinterpret_steal<py::bytes>(
        PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    if (!bytes)
        throw py::error_already_set();
    return bytes;
}

inline str_cString wordOf(const py::handle& text) { return str_cString(bytesOf(text)); }

/// A tagged stream with the storage that it goes to or comes from.
template<class Stream, class Storage>
struct sStream {
    explicit sStream(const std::string& content = {})
        : storage(content, std::ios::in | std::ios::out | std::ios::binary), stream(storage) {}
    Storage storage;
    Stream stream;
};

template<class Stream>
using tIn = sStream<Stream, std::stringstream>;

} // namespace dataprocessing::python
