// Tagged streams, over text and bytes in memory.

#include "streams.h"
#include "functions.h"

namespace dataprocessing::python {

namespace {

/// What was read, or None where the stream has failed.
template<class T, class Stream>
py::object read(Stream& in) {
    T value{};
    return in.stream.Read(value) ? py::cast(value) : py::none();
}

template<class Stream>
py::class_<tIn<Stream>> defineIn(py::module_& module, const char* name) {
    py::class_<tIn<Stream>> type(module, name, py::module_local());
    type.def(py::init([](const py::object& content) {
                 return std::make_unique<tIn<Stream>>(bytesOf(content));
             }),
             py::arg("content"))
        .def("next_field", [](tIn<Stream>& in) { return static_cast<bool>(in.stream.NextField()); })
        .def("read_double", &read<double, tIn<Stream>>)
        .def("read_int", &read<int, tIn<Stream>>)
        .def("read_bool", &read<bool, tIn<Stream>>)
        .def("read_text",
             [](tIn<Stream>& in) -> py::object {
                 str_cString text;
                 return in.stream.Read(text) ? py::object(toText(text)) : py::none();
             })
        .def("read_object",
             [](tIn<Stream>& in, tgio_cTaggedStreamObject& object) {
                 return static_cast<bool>(in.stream.Read(object));
             })
        .def("skip_object",
             [](tIn<Stream>& in) { return static_cast<bool>(in.stream.SkipObject()); });
    return type;
}

template<class Stream, class Key, class ToKey>
py::class_<tIn<Stream>> defineOut(py::module_& module, const char* name, ToKey key) {
    using tOut = tIn<Stream>;
    py::class_<tOut> type(module, name, py::module_local());
    type.def(py::init([] { return std::make_unique<tOut>(); }))
        .def("write",
             [=](tOut& out, bool value, const Key& at) {
                 return static_cast<bool>(out.stream.Write(type_cBoolean(value), key(at)));
             })
        .def("write",
             [=](tOut& out, const py::int_& value, const Key& at) {
                 return static_cast<bool>(out.stream.Write(py::cast<int>(value), key(at)));
             })
        .def("write",
             [=](tOut& out, double value, const Key& at) {
                 return static_cast<bool>(out.stream.Write(value, key(at)));
             })
        .def("write",
             [=](tOut& out, const tgio_cTaggedStreamObject& object, const Key& at) {
                 return static_cast<bool>(out.stream.Write(object, key(at)));
             })
        .def("write",
             [=](tOut& out, const py::str& text, const Key& at) {
                 return static_cast<bool>(out.stream.Write(wordOf(text), key(at)));
             })
        .def("content", [](const tOut& out) { return py::bytes(out.storage.str()); });
    return type;
}

} // namespace

void registerStreams(py::module_& module) {
    using tObject = tgio_cTaggedStreamObject;
    using tNamed = tgio_cNamedTaggedStreamObject;
    py::class_<tObject>(module, "tgio_cTaggedStreamObject", py::module_local())
        .def_property_readonly("object_type", [](const tObject& object) {
            return py::make_tuple(toText(object.ObjectType().Name()), object.ObjectType().Number());
        });
    py::class_<tNamed, tObject>(module, "tgio_cNamedTaggedStreamObject", py::module_local())
        .def_property(
            "name", [](const tNamed& object) { return toText(object.Name()); },
            [](tNamed& object, const py::str& name) { object.SetName(wordOf(name)); });
    defineIn<tgio_cASCII_istream>(module, "tgio_cASCII_istream")
        .def("current_name",
             [](const tIn<tgio_cASCII_istream>& in) { return toText(in.stream.CurrentName()); });
    defineIn<tgio_cBinary_istream>(module, "tgio_cBinary_istream")
        .def("current_tag",
             [](const tIn<tgio_cBinary_istream>& in) { return in.stream.CurrentTag(); });
    defineOut<tgio_cASCII_ostream, py::str>(module, "tgio_cASCII_ostream",
                                            [](const py::str& name) { return wordOf(name); });
    defineOut<tgio_cBinary_ostream, unsigned short>(module, "tgio_cBinary_ostream",
                                                    [](unsigned short tag) { return tag; });
}

} // namespace dataprocessing::python
