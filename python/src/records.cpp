// Records of values and fits: bytes that the library saves and loads, alone or among the fields of
// tagged streams.

#include <sstream>

#include "functions.h"
#include "number_argument.h"
#include "objects.h"
#include "streams.h"

namespace dataprocessing::python {

namespace {

// ---- What Python holds -------------------------------------------------------------------------

/// Python's object of a value of the library: the value itself, but for those below.
template<class Value>
struct tHeld {
    using tPython = Value;
    static const Value& Of(const Value& held) { return held; }
    static py::object Made(Value&& value) { return py::cast(std::move(value)); }
};

/// An array or a mask, whose labels are Python's alone.
template<class Value, class Object>
struct tHeldInObject {
    using tPython = Object;
    static const Value& Of(const Object& held) { return held.values; }
    static py::object Made(Value&& value) { return py::cast(Object{std::move(value), {}, {}}); }
};
template<>
struct tHeld<darr_c1DArray> : tHeldInObject<darr_c1DArray, sArray1D> {};
template<>
struct tHeld<darr_c2DArray> : tHeldInObject<darr_c2DArray, sArray2D> {};
template<>
struct tHeld<barr_c1DBoolArray> : tHeldInObject<barr_c1DBoolArray, sMask1D> {};
template<>
struct tHeld<barr_c2DBoolArray> : tHeldInObject<barr_c2DBoolArray, sMask2D> {};
template<>
struct tHeld<cal_c1DArrayCal> {
    using tPython = sAxis;
    static cal_c1DArrayCal Of(const sAxis& held) { return cal_c1DArrayCal(held.cal); }
    static py::object Made(cal_c1DArrayCal&& value) { return py::cast(sAxis{value, {}}); }
};
template<>
struct tHeld<pnum_cNumber> {
    using tPython = sNumber;
    static const pnum_cNumber& Of(const sNumber& held) { return held.value; }
    static py::object Made(pnum_cNumber&& value) { return scalar(value); }
};

template<class... T>
struct tTypes {};

/// What is loaded as a new object. Numbers come last: others may be made to be one.
using tValues =
    tTypes<darr_c1DArray, darr_c2DArray, barr_c1DBoolArray, barr_c2DBoolArray, cal_c1DArrayCal,
           rnge_c1DRange, rnge_c2DRange, nlsq_sResult, pkmd_sResult, pnum_cNumber>;
/// What is loaded into an object that is there.
using tReceivers =
    tTypes<pkmd_cModel, gsft_cGaussian, gsft_cResolution, plft_c1DOffsetPolyFittingFunction,
           pwft_cPowerLawFittingFunction, plft_c1DPolyFittingFunction, pwft_cMultiPowerLawFitFunc>;

/// Whether `into` is the class that Python has for a value.
template<class Value>
bool isClassOf(const py::object& into) {
    if constexpr (std::is_same_v<Value, pnum_cNumber>)
        return into.is(py::module_::import("numpy").attr("number"));
    else
        return into.is(py::type::of<typename tHeld<Value>::tPython>());
}

/// Loads a new object or into one: `read(value)` says whether it could. None where it could not.
template<class Read, class... Value, class... Receiver>
py::object loaded(const py::object& into, const Read& read, tTypes<Value...>, tTypes<Receiver...>) {
    py::object made = py::none();
    const auto ofClass = [&]<class T>(std::type_identity<T>) {
        if (!isClassOf<T>(into))
            return false;
        T value;
        if (read(value))
            made = tHeld<T>::Made(std::move(value));
        return true;
    };
    const auto ofObject = [&]<class T>(std::type_identity<T>) {
        if (!py::isinstance<T>(into))
            return false;
        if (read(py::cast<T&>(into)))
            made = into;
        return true;
    };
    if (!(ofClass(std::type_identity<Value>()) || ...) &&
        !(ofObject(std::type_identity<Receiver>()) || ...))
        throw py::type_error("a record is loaded into a class of values, or an object that takes "
                             "its content");
    return made;
}

/// The bytes of a Python object, from a place on, as they lie.
class cBytes : public std::streambuf {
public:
    cBytes(std::string_view bytes, std::size_t start) {
        char* const first = const_cast<char*>(bytes.data());
        setg(first, first + std::min(start, bytes.size()), first + bytes.size());
    }
    std::size_t Place() const { return static_cast<std::size_t>(gptr() - eback()); }
};

// ---- Functions ---------------------------------------------------------------------------------

template<class Value>
void defineSave(py::module_& module) {
    using tPython = typename tHeld<Value>::tPython;
    module.def(
        "rcrd_save",
        [](const tPython& value, rcrd_eForm form) {
            std::ostringstream stream(std::ios::binary);
            rcrd_Save(stream, tHeld<Value>::Of(value), form);
            return py::bytes(stream.str());
        },
        py::arg("value"), py::arg("form") = rcrd_Binary);
    module.def(
        "rcrd_write",
        [](tIn<tgio_cASCII_ostream>& out, const tPython& value, const py::str& name) {
            return static_cast<bool>(rcrd_Write(out.stream, tHeld<Value>::Of(value), wordOf(name)));
        },
        py::arg("stream"), py::arg("value"), py::arg("name"));
    module.def(
        "rcrd_write",
        [](tIn<tgio_cBinary_ostream>& out, const tPython& value, unsigned short tag) {
            return static_cast<bool>(rcrd_Write(out.stream, tHeld<Value>::Of(value), tag));
        },
        py::arg("stream"), py::arg("value"), py::arg("tag"));
}

template<class... T>
void defineSaves(py::module_& module, tTypes<T...>) {
    (defineSave<T>(module), ...);
}

template<class Stream>
void defineRead(py::module_& module) {
    module.def(
        "rcrd_read",
        [](tIn<Stream>& in, const py::object& into) {
            return loaded(
                into, [&](auto& value) { return static_cast<bool>(rcrd_Read(in.stream, value)); },
                tValues(), tReceivers());
        },
        py::arg("stream"), py::arg("into"));
}

} // namespace

void registerRecords(py::module_& module) {
    py::enum_<rcrd_eForm>(module, "Form", py::module_local())
        .value("BINARY", rcrd_Binary)
        .value("TEXT", rcrd_Text);
    defineSaves(module, tReceivers());
    defineSaves(module, tValues());
    module.def(
        "rcrd_load",
        [](const py::bytes& content, const py::object& into, std::size_t start) {
            cBytes bytes(content, start);
            std::istream stream(&bytes);
            const py::object made = loaded(
                into,
                [&](auto& value) {
                    rcrd_Load(stream, value);
                    return true;
                },
                tValues(), tReceivers());
            return py::make_tuple(made, bytes.Place());
        },
        py::arg("content"), py::arg("into"), py::arg("start") = 0);
    defineRead<tgio_cASCII_istream>(module);
    defineRead<tgio_cBinary_istream>(module);
}

} // namespace dataprocessing::python
