#include "array.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include <pybind11/stl.h>

#include "alignment.h"
#include "axis.h"
#include "dtype.h"
#include "errors.h"
#include "gil.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

constexpr long long intMax = std::numeric_limits<int>::max();

int sizeOf(py::ssize_t n) {
    if (n < 0 || n > intMax)
        arr_SizeError(n);
    return static_cast<int>(n);
}

template<class Object>
std::vector<py::ssize_t> shapeOf(const Object& object) {
    std::vector<py::ssize_t> shape;
    for (int axis = 0; axis < Object::dimensions; ++axis)
        shape.push_back(object.Size(axis));
    return shape;
}

template<class Object>
dtyp_cDataType typeOfElements(const Object& object) {
    return object.values.DataType();
}

py::module_ numpy() { return py::module_::import("numpy"); }

bool fitsDouble(const py::array& integers) {
    const py::object wide = integers.attr("astype")("f8");
    const double limit = integers.dtype().kind() == 'u' ? 0x1p64 : 0x1p63;
    return py::cast<bool>(wide.attr("__lt__")(limit).attr("all")()) &&
           py::cast<bool>(
               wide.attr("astype")(integers.dtype()).attr("__eq__")(integers).attr("all")());
}

dtyp_cDataType typeOfWideIntegers(const py::array& integers) {
    if (integers.size() == 0)
        return dtyp_Int32;
    const py::object low = integers.attr("min")();
    const py::object high = integers.attr("max")();
    const bool fits = py::cast<bool>(low.attr("__ge__")(-2147483648LL)) &&
                      py::cast<bool>(high.attr("__le__")(2147483647));
    if (fits)
        return dtyp_Int32;
    if (!fitsDouble(integers)) {
        PyErr_SetString(
            PyExc_OverflowError,
            "64-bit integers that neither int32 nor float64 holds exactly; say which with dtype=");
        throw py::error_already_set();
    }
    return dtyp_Double;
}

/// Masked elements would become whatever lies below the mask.
void refuseMasked(const py::handle& values) {
    if (Py_TYPE(values.ptr()) == py::detail::npy_api::get().PyArray_Type_ ||
        !py::isinstance<py::array>(values))
        return;
    if (py::cast<bool>(numpy().attr("ma").attr("is_masked")(values)))
        throw py::type_error("arrays hold no masked elements; fill them first: "
                             ".filled(np.nan)");
}

/// Values of any type in one from which the library makes integers; those of 64 bits are brought
/// into the limits of `type`.
py::array forIntegers(const py::array& values, dtyp_cDataType type) {
    const char kind = values.dtype().kind();
    if (values.dtype().itemsize() == 8 && (kind == 'i' || kind == 'u')) {
        const py::object info = numpy().attr("iinfo")(dtypeOf(type));
        const py::object least =
            kind == 'u' ? py::object(py::int_(0)) : py::object(info.attr("min"));
        return numpy().attr("clip")(values, least, info.attr("max")).attr("astype")(dtypeOf(type));
    }
    if (kind == 'b' || kind == 'c' || !codeOf(values.dtype()).IsKnown())
        return values.attr("astype")(kind == 'b' ? dtypeOf(type) : dtypeOf(dtyp_Double));
    return values;
}

/// What the object of a method holds, which may be called with anything.
template<class Object>
Object& own(const py::handle& self) {
    if (Object* object = tryHeld<Object>(self.ptr()))
        return *object;
    throw py::type_error(std::string("a method of ") + typeOf<Object>->tp_name +
                         " for an object of " + Py_TYPE(self.ptr())->tp_name);
}

// ---- Indexing ----------------------------------------------------------------------------------

/// A stretch of one axis that an index takes.
struct sPart {
    py::ssize_t first;
    py::ssize_t count;
    bool isElement;
};

sPart partOf(const py::handle& index, int size, int axis) {
    if (py::isinstance<py::slice>(index)) {
        py::ssize_t first = 0;
        py::ssize_t last = 0;
        py::ssize_t step = 1;
        if (PySlice_Unpack(index.ptr(), &first, &last, &step) < 0)
            throw py::error_already_set();
        const py::ssize_t count = PySlice_AdjustIndices(size, &first, &last, step);
        return {first, count, false};
    }
    py::ssize_t i = PyNumber_AsSsize_t(index.ptr(), PyExc_IndexError);
    if (i == -1 && PyErr_Occurred())
        throw py::error_already_set();
    if (i < -size || i >= size)
        throw py::index_error("index " + std::to_string(i) + " is outside axis " +
                              std::to_string(axis) + " of size " + std::to_string(size));
    return {i < 0 ? i + size : i, 1, true};
}

/// Whether an array is there for the index: of elements in a row. numpy takes all others.
bool isPositional(const py::handle& index) {
    if (PyLong_CheckExact(index.ptr()) || py::isinstance<py::ellipsis>(index))
        return true;
    if (py::isinstance<py::slice>(index)) {
        const py::object step = index.attr("step");
        return step.is_none() || step.equal(py::int_(1));
    }
    if (py::isinstance<py::float_>(index))
        throw py::index_error("indices are integers; .at(x) and .sel(start, stop) take positions");
    // numpy's arrays all have an __index__; that of those which are no integer refuses.
    if (py::isinstance<py::array>(index)) {
        const auto array = py::reinterpret_borrow<py::array>(index);
        const char kind = array.dtype().kind();
        return array.ndim() == 0 && (kind == 'i' || kind == 'u');
    }
    static const PyObject* const numpysBool = py::object(numpy().attr("bool_")).release().ptr();
    return PyIndex_Check(index.ptr()) != 0 && !PyBool_Check(index.ptr()) &&
           reinterpret_cast<const PyObject*>(Py_TYPE(index.ptr())) != numpysBool;
}

bool isPositional(const py::tuple& indices) {
    return std::all_of(indices.begin(), indices.end(),
                       [](const py::handle& index) { return isPositional(index); });
}

py::tuple tupleOf(const py::object& index) {
    return py::isinstance<py::tuple>(index) ? py::reinterpret_borrow<py::tuple>(index)
                                            : py::make_tuple(index);
}

/// The elements of a mask that stands for the axes from `axis` on; ValueError where it lies
/// elsewhere than these.
template<class Mask, class Object>
py::array elementsOfMask(const Object& of, int axis, const py::handle& mask) {
    const Mask& over = held<Mask>(mask.ptr());
    for (int i = 0; i < Mask::dimensions && axis + i < Object::dimensions; ++i)
        if (!isSameGrid(of.Cal(axis + i), of.Size(axis + i), over.Cal(i), over.Size(i)))
            throw py::value_error("a mask takes elements on its own grid only; these differ in "
                                  "size, range or delta");
    return viewOf(mask);
}

/// The index with the elements of masks for the masks.
template<class Object>
py::object withoutMasks(const Object& of, const py::object& index) {
    const py::tuple given = tupleOf(index);
    const auto axesOfEntry = [](const py::handle& entry) {
        if (isInstance<sMask2D>(entry.ptr()))
            return 2;
        if (py::isinstance<py::array>(entry) &&
            py::reinterpret_borrow<py::array>(entry).dtype().kind() == 'b')
            return static_cast<int>(py::reinterpret_borrow<py::array>(entry).ndim());
        return entry.is_none() || py::isinstance<py::ellipsis>(entry) ? 0 : 1;
    };
    int taken = 0;
    for (const py::handle& entry : given)
        taken += axesOfEntry(entry);
    py::tuple plain(given.size());
    int axis = 0;
    for (std::size_t i = 0; i < given.size(); ++i) {
        const py::object entry = given[i];
        if (isInstance<sMask1D>(entry.ptr()))
            plain[i] = elementsOfMask<sMask1D>(of, axis, entry);
        else if (isInstance<sMask2D>(entry.ptr()))
            plain[i] = elementsOfMask<sMask2D>(of, axis, entry);
        else
            plain[i] = entry;
        axis +=
            py::isinstance<py::ellipsis>(entry) ? Object::dimensions - taken : axesOfEntry(entry);
    }
    return py::isinstance<py::tuple>(index) ? py::object(plain) : py::object(plain[0]);
}

/// Elements by a mask or by what else numpy takes: an ndarray, as numpy gives it.
template<class Object>
py::object byNumpy(const py::handle& self, const py::object& index) {
    return viewOf(self)[withoutMasks(own<Object>(self), index)];
}

template<class Object>
Object selection(const Object& from, const sPart* parts) {
    long long count = 1;
    for (int axis = 0; axis < Object::dimensions; ++axis)
        count *= parts[axis].count;
    const cWithoutGil released(count);
    auto values = [&] {
        const int first0 = static_cast<int>(parts[0].first);
        const int last0 = static_cast<int>(parts[0].first + parts[0].count);
        if constexpr (Object::dimensions == 1) {
            return from.values.Selection(first0, last0);
        } else {
            const int first1 = static_cast<int>(parts[1].first);
            const int last1 = static_cast<int>(parts[1].first + parts[1].count);
            return from.values.Selection(first1, first0, last1, last0);
        }
    }();
    return like<Object>(from, std::move(values), from.labels);
}

/// An index of fewer entries than axes, or with `...`, filled up with whole axes.
template<std::size_t axes>
std::array<py::object, axes> entriesOf(const py::tuple& tuple) {
    const auto isEllipsis = [](const py::handle& entry) {
        return py::isinstance<py::ellipsis>(entry);
    };
    const auto ellipses =
        static_cast<std::size_t>(std::count_if(tuple.begin(), tuple.end(), isEllipsis));
    if (ellipses > 1)
        throw py::index_error("an index has one ellipsis at most");
    if (tuple.size() - ellipses > axes)
        throw py::index_error("too many indices for a " + std::to_string(axes) + "D array");
    std::array<py::object, axes> entries;
    entries.fill(py::slice(py::none(), py::none(), py::none()));
    for (std::size_t i = 0, axis = 0; i < tuple.size(); ++i) {
        if (isEllipsis(tuple[i]))
            axis = axes - (tuple.size() - i - 1);
        else
            entries[axis++] = tuple[i];
    }
    return entries;
}

py::object get1D(const py::object& self, const py::object& index) {
    const auto& array = own<sArray1D>(self);
    const py::tuple tuple = tupleOf(index);
    if (!isPositional(tuple))
        return byNumpy<sArray1D>(self, index);
    const sPart part = partOf(entriesOf<1>(tuple)[0], array.Size(0), 0);
    if (part.isElement)
        return scalar(array.values.Number(static_cast<int>(part.first)));
    return py::cast(selection(array, &part));
}

py::object get2D(const py::object& self, const py::object& index) {
    const auto& image = own<sArray2D>(self);
    const py::tuple tuple = tupleOf(index);
    if (!isPositional(tuple))
        return byNumpy<sArray2D>(self, index);
    const std::array<py::object, 2> entries = entriesOf<2>(tuple);
    const sPart parts[2] = {partOf(entries[0], image.Size(0), 0),
                            partOf(entries[1], image.Size(1), 1)};
    if (parts[0].isElement && parts[1].isElement)
        return scalar(image.values.Number(static_cast<int>(parts[1].first),
                                          static_cast<int>(parts[0].first)));
    sArray2D chosen = selection(image, parts);
    if (!parts[0].isElement && !parts[1].isElement)
        return py::cast(std::move(chosen));
    // One row, or one column: the other axis stays, and its elements lie in order.
    const int kept = parts[0].isElement ? 1 : 0;
    const sAxis axis = chosen.Axis(kept);
    sArray1D line{darr_c1DArray(parr_c1DNumberArray(chosen.Count(), chosen.values.DataType(),
                                                    chosen.values.Data()),
                                cal_c1DArrayCal(axis.cal)),
                  chosen.labels,
                  {axis.labels}};
    return py::cast(std::move(line));
}

/// Values as elements of `type` will have them: integers are rounded and brought into their limits,
/// as by astype. TypeError for complex values where elements are real.
py::object asElements(const py::object& value, dtyp_cDataType type) {
    const py::array given = asNumpy(value);
    const char kind = given.dtype().kind();
    if (kind == 'c' && !type.IsComplex())
        throw py::type_error("real elements hold no complex values; take abs(v) or v.real first");
    if (std::string("biufc").find(kind) == std::string::npos)
        throw py::type_error("arrays hold no elements of type " +
                             std::string(py::str(py::handle(given.dtype()))));
    if (type.Code() > dtyp_Int32 || kind == 'b' || codeOf(given.dtype()) == type)
        return given;
    const auto made = fromNumpy<sArray1D>(given.attr("reshape")(-1), type);
    const py::array elements(dtypeOf(type), {made.values.Size()}, {}, made.values.Data());
    return elements.attr("reshape")(given.attr("shape"));
}

template<class Object>
void set(const py::object& self, const py::object& index, const py::object& value) {
    const auto& object = own<Object>(self);
    const py::array view = viewOf(self);
    const py::object to = withoutMasks(object, index);
    const py::object elements = [&] {
        if constexpr (std::is_same_v<Object, sArray1D> || std::is_same_v<Object, sArray2D>)
            return asElements(value, typeOfElements(object));
        refuseMasked(value);
        return value;
    }();
    if (PyObject_SetItem(view.ptr(), to.ptr(), elements.ptr()) != 0)
        throw py::error_already_set();
}

// ---- The buffer protocol, by hand: the general one allocates four times -------------------------

const char* formatOf(dtyp_cDataType type) {
    static constexpr const char* formats[] = {"",  "B", "H", "I",  "b", "h",
                                              "i", "f", "d", "Zf", "Zd"};
    return formats[type.Code()];
}

template<class Object>
int getBuffer(PyObject* self, Py_buffer* buffer, int flags) {
    buffer->obj = nullptr;
    const Object* made = nullptr;
    try {
        made = &held<Object>(self);
    } catch (const py::builtin_exception& error) {
        error.set_error();
        return -1;
    }
    const Object& object = *made;
    constexpr int n = Object::dimensions;
    if ((flags & PyBUF_F_CONTIGUOUS) == PyBUF_F_CONTIGUOUS && object.Size(0) > 1 &&
        object.Size(n - 1) > 1 && n > 1) {
        PyErr_SetString(PyExc_BufferError, "images lie row by row, not column by column");
        return -1;
    }
    auto* numbers = new (std::nothrow) Py_ssize_t[2 * n];
    if (numbers == nullptr) {
        PyErr_NoMemory();
        return -1;
    }
    const dtyp_cDataType type = typeOfElements(object);
    const auto width = static_cast<Py_ssize_t>(type.SizeOf());
    static char nothing[16];
    Py_ssize_t stride = width;
    for (int axis = n - 1; axis >= 0; --axis) {
        numbers[axis] = object.Size(axis);
        numbers[n + axis] = stride;
        stride *= object.Size(axis);
    }
    *buffer = Py_buffer{};
    buffer->buf = object.Count() > 0 ? const_cast<void*>(object.values.Data()) : nothing;
    buffer->obj = self;
    Py_INCREF(self);
    buffer->len = object.Count() * width;
    buffer->itemsize = width;
    buffer->ndim = n;
    buffer->format = (flags & PyBUF_FORMAT) != 0 ? const_cast<char*>(formatOf(type)) : nullptr;
    buffer->shape = (flags & PyBUF_ND) != 0 ? numbers : nullptr;
    buffer->strides = (flags & PyBUF_STRIDES) == PyBUF_STRIDES ? numbers + n : nullptr;
    buffer->internal = numbers;
    return 0;
}

void releaseBuffer(PyObject*, Py_buffer* buffer) {
    delete[] static_cast<Py_ssize_t*>(buffer->internal);
}

// ---- Classes -----------------------------------------------------------------------------------

sAxis axisOf(const py::handle& object) {
    if (const sAxis* axis = tryHeld<sAxis>(object.ptr()))
        return *axis;
    throw py::type_error("an axis is an Axis");
}

/// Sets the axes of a new object from what a caller gave: None, an Axis, or a pair (y, x).
template<class Object>
void setAxes(Object& object, const py::object& axes) {
    if (axes.is_none())
        return;
    if constexpr (Object::dimensions == 1) {
        object.SetAxis(0, axisOf(axes));
    } else {
        const auto pair = py::cast<py::sequence>(axes);
        if (pair.size() != 2)
            throw py::value_error("an image has two axes: (y, x)");
        object.SetAxis(0, axisOf(pair[0]));
        object.SetAxis(1, axisOf(pair[1]));
    }
}

/// The axes of the array or mask that `values` is, if any.
template<class Object>
void takeAxes(Object& object, const py::object& values) {
    const auto takeThoseOf = [&](const auto* other) {
        for (int axis = 0; other != nullptr && axis < Object::dimensions; ++axis)
            object.SetAxis(axis, other->Axis(axis));
    };
    if constexpr (Object::dimensions == 1) {
        takeThoseOf(tryHeld<sArray1D>(values.ptr()));
        takeThoseOf(tryHeld<sMask1D>(values.ptr()));
    } else {
        takeThoseOf(tryHeld<sArray2D>(values.ptr()));
        takeThoseOf(tryHeld<sMask2D>(values.ptr()));
    }
}

template<class Object>
Object make(const py::object& values, const py::object& axes, const py::object& dtype,
            const py::object& name, const py::object& unit) {
    const py::array in = asNumpy(values);
    const dtyp_cDataType type = dtype.is_none() ? storedType(in) : requestedType(dtype);
    Object object = fromNumpy<Object>(in, type);
    takeAxes(object, values);
    if (const Object* other = tryHeld<Object>(values.ptr()))
        object.labels = other->labels;
    setAxes(object, axes);
    if (!name.is_none() || !unit.is_none())
        object.labels = cLabels(name.is_none() ? object.labels.Name() : word(name),
                                unit.is_none() ? object.labels.Unit() : word(unit));
    return object;
}

template<class Object>
py::tuple axesOf(const Object& object) {
    if constexpr (Object::dimensions == 1)
        return py::make_tuple(object.Axis(0));
    else
        return py::make_tuple(object.Axis(0), object.Axis(1));
}

template<class Object>
Object converted(const Object& from, const py::object& dtype, conv_eComplexConversion part) {
    const dtyp_cDataType type = requestedType(dtype);
    const cWithoutGil released(from.Count());
    return like<Object>(from, conv_Convert(from.values, type, part), from.labels);
}

template<class Object>
Object copied(const Object& from) {
    const cWithoutGil released(from.Count());
    return from;
}

template<class Object>
bool identical(const Object& a, const py::object& other) {
    const Object* b = tryHeld<Object>(other.ptr());
    if (b == nullptr || !(a.values.DataType() == b->values.DataType()) ||
        !(a.values.Cal() == b->values.Cal()) || !(a.labels == b->labels))
        return false;
    for (int axis = 0; axis < Object::dimensions; ++axis)
        if (a.Size(axis) != b->Size(axis) || !(a.axes[axis] == b->axes[axis]))
            return false;
    const std::size_t bytes = static_cast<std::size_t>(a.Count()) * a.values.DataType().SizeOf();
    const cWithoutGil released(a.Count());
    return bytes == 0 || std::memcmp(a.values.Data(), b->values.Data(), bytes) == 0;
}

/// What numpy asks for: the elements where they are, or a copy, in a type of its own.
py::object asArray(const py::object& self, const py::object& dtype, const py::object& copy) {
    const py::object view = viewOf(self);
    const bool isOther =
        !dtype.is_none() && !py::dtype::from_args(dtype).equal(py::object(view.attr("dtype")));
    if (copy.is_none() ? !isOther : !static_cast<bool>(py::bool_(copy))) {
        if (isOther)
            throw py::value_error(
                "elements of another type are a copy, and copy=False allows none");
        return view;
    }
    return isOther ? view.attr("astype")(dtype) : view.attr("copy")();
}

template<class Object>
py::class_<Object> defineShared(py::module_& module, const char* name, const char* docstring) {
    py::class_<Object> type(module, name, py::module_local(), docstring);
    typeOf<Object> = reinterpret_cast<PyTypeObject*>(type.ptr());
    type.def_property_readonly(
            "shape", [](const Object& a) { return py::tuple(py::cast(shapeOf(a))); },
            "The counts along the axes, as in numpy: (rows, columns) of an image.")
        .def_property_readonly(
            "ndim", [](const Object&) { return Object::dimensions; }, "1 or 2.")
        .def_property_readonly(
            "size", [](const Object& a) { return a.Count(); }, "The number of elements.")
        .def_property_readonly(
            "values", [](const py::object& self) { return viewOf(self); },
            "The elements as a numpy array, without a copy and writable; it keeps its owner alive.")
        .def_property_readonly("axes", &axesOf<Object>, "All axes, in the order of `shape`.")
        .def("__len__", [](const Object& a) { return a.Size(0); });
    if constexpr (Object::dimensions == 1)
        type.def_property_readonly(
            "axis", [](const Object& a) { return a.Axis(0); }, "The axis.");
    return type;
}

template<class Object>
void defineArray(py::module_& module, const char* name, const char* docstring,
                 const char* axesName) {
    py::class_<Object> type = defineShared<Object>(module, name, docstring);
    auto* slots = reinterpret_cast<PyHeapTypeObject*>(type.ptr());
    slots->as_buffer.bf_getbuffer = &getBuffer<Object>;
    slots->as_buffer.bf_releasebuffer = &releaseBuffer;
    slots->ht_type.tp_as_buffer = &slots->as_buffer;
    type.def(py::init(&make<Object>), py::arg("values"), py::arg(axesName) = py::none(),
             py::arg("dtype") = py::none(), py::arg("name") = py::none(),
             py::arg("unit") = py::none())
        .def_property_readonly(
            "dtype", [](const Object& a) { return dtypeOf(a.values.DataType()); },
            "The element type.")
        .def_property_readonly(
            "name", [](const Object& a) { return a.labels.Name(); }, "What the values are called.")
        .def_property_readonly(
            "unit", [](const Object& a) { return a.labels.Unit(); }, "The unit of the values.")
        .def("_convert", &converted<Object>, py::arg("dtype"), py::arg("part"))
        .def("copy", &copied<Object>,
             R"(An independent copy: of the same shape, type, axes, name and unit.

    >>> import dataprocessing as dp
    >>> a = dp.Array1D([1.0, 2.0])
    >>> a.copy().values is a.values
    False
)")
        .def(
            "identical", &identical<Object>, py::arg("other"),
            R"(Whether `other` is an array of the same type, axes and labels whose elements have the same bits.

What is no array, or of another shape, name or unit, is not.

    >>> import dataprocessing as dp
    >>> dp.Array1D([0.0]).identical(dp.Array1D([-0.0]))
    False
)")
        .def("__setitem__", &set<Object>)
        .def("__array__", &asArray, py::arg("dtype") = py::none(), py::arg("copy") = py::none());
    if constexpr (Object::dimensions == 1)
        type.def("__getitem__", &get1D);
    else
        type.def("__getitem__", &get2D);
    type.def_static("_empty", [](const std::vector<py::ssize_t>& shape, const py::object& axes,
                                 const py::object& dtype, const py::object& unitName,
                                 const py::object& unit) {
        if (shape.size() != Object::dimensions)
            throw py::value_error("a shape of another dimension");
        Object object = uninitialised<Object>(shape.data(), requestedType(dtype));
        setAxes(object, axes);
        object.labels = cLabels(word(unitName), word(unit));
        return object;
    });
}

template<class Object>
Object makeMask(const py::object& values, const py::object& axes) {
    const py::array_t<bool, py::array::c_style | py::array::forcecast> in(asNumpy(values));
    if (in.ndim() != Object::dimensions)
        throw py::value_error("a mask of " + std::to_string(Object::dimensions) +
                              " dimensions from values of " + std::to_string(in.ndim()));
    Object mask;
    if constexpr (Object::dimensions == 1)
        mask.values = barr_c1DBoolArray(sizeOf(in.shape(0)));
    else
        mask.values = barr_c2DBoolArray(sizeOf(in.shape(1)), sizeOf(in.shape(0)));
    if (mask.Count() > 0) {
        unsigned char* first;
        if constexpr (Object::dimensions == 1)
            first = &mask.values.Element(0);
        else
            first = &mask.values.Element(0, 0);
        const void* const from = in.data();
        const cWithoutGil released(mask.Count());
        std::memcpy(first, from, static_cast<std::size_t>(mask.Count()));
    }
    takeAxes(mask, values);
    setAxes(mask, axes);
    return mask;
}

template<class Object>
void defineMask(py::module_& module, const char* name, const char* docstring,
                const char* axesName) {
    py::class_<Object> type = defineShared<Object>(module, name, docstring);
    type.def(py::init(&makeMask<Object>), py::arg("values"), py::arg(axesName) = py::none())
        .def("copy", &copied<Object>,
             R"(An independent copy: a mask of the same shape, on the same axes.

    >>> import dataprocessing as dp
    >>> (dp.Array1D([1, 5]) > 1).copy().values
    array([False,  True])
)")
        .def("__getitem__", [](const py::object& self,
                               const py::object& index) { return byNumpy<Object>(self, index); })
        .def("__setitem__", &set<Object>)
        .def("__array__", &asArray, py::arg("dtype") = py::none(), py::arg("copy") = py::none())
        .def("__bool__", [](const Object&) -> bool {
            throw py::value_error("a mask is no truth value; ask for .any() or .all()");
        });
}

template<class Object>
py::array view(const py::handle& self) {
    Object& object = held<Object>(self.ptr());
    return py::array(dtypeOf(object.values.DataType()), shapeOf(object), {}, object.values.Data(),
                     self);
}

template<class Object>
py::array viewOfMask(const py::handle& self) {
    Object& object = held<Object>(self.ptr());
    void* first = nullptr;
    if (object.Count() > 0) {
        if constexpr (Object::dimensions == 1)
            first = &object.values.Element(0);
        else
            first = &object.values.Element(0, 0);
    }
    return py::array(py::dtype::of<bool>(), shapeOf(object), {}, first, self);
}

} // namespace

py::array asNumpy(const py::handle& values) {
    if (isInstance<sArray1D>(values.ptr()) || isInstance<sArray2D>(values.ptr()) ||
        isInstance<sMask1D>(values.ptr()) || isInstance<sMask2D>(values.ptr()))
        return viewOf(values);
    refuseMasked(values);
    if (py::isinstance<py::array>(values))
        return py::reinterpret_borrow<py::array>(values);
    return py::array(numpy().attr("asarray")(values));
}

dtyp_cDataType storedType(const py::array& values) {
    const py::dtype dtype = values.dtype();
    const dtyp_cDataType own = codeOf(dtype);
    if (own.IsKnown())
        return own;
    const py::ssize_t width = dtype.itemsize();
    switch (dtype.kind()) {
    case 'b':
        return dtyp_UInt8;
    case 'f':
        if (width == 2)
            return dtyp_Float;
        break;
    case 'u':
    case 'i':
        return typeOfWideIntegers(values);
    default:
        break;
    }
    throw py::type_error("arrays hold no elements of type " +
                         std::string(py::str(py::handle(dtype))));
}

template<class Object>
Object uninitialised(const py::ssize_t* shape, dtyp_cDataType type) {
    if constexpr (Object::dimensions == 1)
        return {darr_c1DArray(sizeOf(shape[0]), type, cal_c1DArrayCal()), {}, {}};
    else
        return {darr_c2DArray(sizeOf(shape[1]), sizeOf(shape[0]), type, cal_c2DArrayCal()), {}, {}};
}

template<class Object>
Object fromNumpy(const py::array& values, dtyp_cDataType type) {
    if (values.ndim() != Object::dimensions)
        throw py::value_error("values of " + std::to_string(values.ndim()) + " dimensions where " +
                              std::to_string(Object::dimensions) + " are needed");
    Object object = uninitialised<Object>(values.shape(), type);
    if (object.Count() == 0)
        return object;
    const bool asItIs = codeOf(values.dtype()) == type &&
                        (values.flags() & py::array::c_style) != 0 && isNative(values.dtype());
    if (asItIs) {
        const auto bytes = static_cast<std::size_t>(values.nbytes());
        const cWithoutGil released(object.Count());
        std::memcpy(object.values.Data(), values.data(), bytes);
        return object;
    }
    const bool isInteger = type.Code() <= dtyp_Int32;
    const py::array from = isInteger ? forIntegers(values, type) : values;
    if (isInteger && !(codeOf(from.dtype()) == type)) {
        const Object own = fromNumpy<Object>(from, codeOf(from.dtype()));
        const cWithoutGil released(own.Count());
        object.values = conv_Convert(own.values, type, conv_RealPart);
        return object;
    }
    const py::array target(dtypeOf(type), shapeOf(object), {}, object.values.Data(), py::none());
    numpy().attr("copyto")(target, from, py::arg("casting") = "unsafe");
    return object;
}

template sArray1D uninitialised<sArray1D>(const py::ssize_t*, dtyp_cDataType);
template sArray2D uninitialised<sArray2D>(const py::ssize_t*, dtyp_cDataType);
template sArray1D fromNumpy<sArray1D>(const py::array&, dtyp_cDataType);
template sArray2D fromNumpy<sArray2D>(const py::array&, dtyp_cDataType);

py::array viewOf(const py::handle& self) {
    if (isInstance<sArray1D>(self.ptr()))
        return view<sArray1D>(self);
    if (isInstance<sArray2D>(self.ptr()))
        return view<sArray2D>(self);
    if (isInstance<sMask1D>(self.ptr()))
        return viewOfMask<sMask1D>(self);
    own<sMask2D>(self);
    return viewOfMask<sMask2D>(self);
}

void registerArrays(py::module_& module) {
    py::enum_<conv_eComplexConversion>(module, "ComplexConversion", py::module_local())
        .value("REAL_PART", conv_RealPart)
        .value("IMAGINARY_PART", conv_ImaginaryPart)
        .value("MODULUS", conv_Modulus)
        .value("PHASE", conv_Phase);
    defineArray<sArray1D>(module, "Array1D",
                          R"(Values along one calibrated axis: a spectrum, a line profile.

`values` is anything that numpy takes for a one-dimensional array; it is copied. The elements keep their
type where it is one of the ten, bool becomes uint8, float16 float32, 64-bit integers int32 if they fit,
else float64 if exact, else OverflowError. `dtype` asks for another type, made as by `astype`; TypeError for
masked elements, ValueError for values of other dimensions. An array or a mask brings its axes, name and unit along,
unless others are given; what has positions of its own otherwise, such as a DataArray, only its elements: see
``from_xarray``.

    >>> import dataprocessing as dp
    >>> a = dp.Array1D([12, 15, 90], dp.Axis(6.2, 0.1, unit="keV"), dtype="u2")
    >>> a.shape, a.dtype, a.at(6.3)
    ((3,), dtype('uint16'), 15.0)
)",
                          "axis");
    defineArray<sArray2D>(module, "Array2D", R"(Values over two calibrated axes: an image.

The order is numpy's: ``shape == (rows, columns)`` and ``axes == (y, x)``; points are (x, y). Element
types, names, units and errors are those of `Array1D`; see ``Array1D``.

    >>> import numpy as np, dataprocessing as dp
    >>> image = dp.Array2D(np.zeros((3, 4)), axes=(dp.Axis(0, 0.5), dp.Axis(0, 0.25)))
    >>> image.shape, image.axes[1].delta
    ((3, 4), 0.25)
)",
                          "axes");
}

void registerMasks(py::module_& module) {
    defineMask<sMask1D>(module, "Mask1D",
                        R"(True and false along one calibrated axis, as comparisons give them.

`values` are a 1D array of anything that is true or not. Units are those of its axis. ValueError for other dimensions
and for masks on different grids in one operation.

    >>> import dataprocessing as dp
    >>> strong = dp.Array1D([1, 5, 2]) > 1
    >>> strong.count(), strong.any(), strong.all()
    (2, True, False)
)",
                        "axis");
    defineMask<sMask2D>(
        module, "Mask2D",
        R"(True and false over two calibrated axes, as comparisons of images give them.

Units and errors are those of `Mask1D`; see ``Mask1D``.

    >>> import numpy as np, dataprocessing as dp
    >>> (dp.Array2D(np.eye(2)) > 0).count()
    2
)",
        "axes");
}

} // namespace dataprocessing::python
