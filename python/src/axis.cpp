#include "axis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include <pybind11/numpy.h>
#include <pybind11/operators.h>

#include "array.h"
#include "errors.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

using tDoubles = py::array_t<double, py::array::c_style | py::array::forcecast>;

std::string told(double number) { return py::repr(py::float_(number)); }

bool isDelta(double delta) { return std::isfinite(delta) && delta != 0; }

/// What a user asks for. Calibrations that come from elsewhere are what they are.
cal_cArrayCal checkedCal(double offset, double delta, int index) {
    if (!std::isfinite(offset))
        throw py::value_error("an axis has a finite offset, not " + told(offset));
    if (!isDelta(delta))
        throw py::value_error("an axis has a delta that is finite and not 0, not " + told(delta));
    return {offset, delta, index};
}

tDoubles asPositions(const py::object& positions) {
    const py::array given = asNumpy(positions);
    const char kind = given.dtype().kind();
    if (kind != 'f' && kind != 'i' && kind != 'u')
        throw py::type_error(
            "positions are real numbers, not " + std::string(py::str(py::handle(given.dtype()))) +
            (kind == 'M' || kind == 'm' ? "; the distances from one of them in a unit are, as "
                                          "(t - t[0]) / np.timedelta64(1, 's')"
                                        : ""));
    return tDoubles(given);
}

py::array_t<double> positions(const sAxis& axis, long long count, const char* what) {
    if (count < 0)
        throw py::value_error(std::string(what) + " takes a count of at least 0");
    py::array_t<double> made(static_cast<py::ssize_t>(count));
    double* out = made.mutable_data();
    for (long long i = 0; i < count; ++i)
        out[i] = axis.cal.Position(i);
    return made;
}

/// The decimal of fewest digits within `slack` of `value`.
double shortest(double value, double slack) {
    char text[40];
    for (int digits = 1; digits <= std::numeric_limits<double>::max_digits10; ++digits) {
        std::snprintf(text, sizeof text, "%.*g", digits, value);
        const double rounded = std::strtod(text, nullptr);
        if (std::fabs(rounded - value) <= slack)
            return rounded;
    }
    return value;
}

/// How far points spread across lines of one slope, and where the line in their middle begins.
struct sBand {
    double width;
    double offset;
};

sBand bandOf(const double* at, py::ssize_t n, double slope) {
    double least = at[0], most = at[0];
    for (py::ssize_t i = 1; i < n; ++i) {
        const double start = at[i] - static_cast<double>(i) * slope;
        least = std::min(least, start);
        most = std::max(most, start);
    }
    return {most - least, least + (most - least) / 2};
}

/// The slope of the line whose largest distance from the points is the smallest; `ends` is that
/// from the first to the last one.
double nearestSlope(const double* at, py::ssize_t n, double ends) {
    // Of another slope the band is as wide as first and last point lie apart across it, at least.
    const double reach = bandOf(at, n, ends).width / static_cast<double>(n - 1);
    double low = ends - reach, high = ends + reach;
    for (int step = 0; step < 100; ++step) { // the width is convex in the slope
        const double third = (high - low) / 3;
        if (bandOf(at, n, low + third).width < bandOf(at, n, high - third).width)
            high -= third;
        else
            low += third;
    }
    return low + (high - low) / 2;
}

/// The calibration of fewest digits within `slack` of a line, at n elements.
cal_cArrayCal shortest(double offset, double delta, double slack, py::ssize_t n) {
    // Half of what is allowed goes to the delta, which counts once per element, half to the offset.
    return {shortest(offset, slack / 2), shortest(delta, slack / 2 / static_cast<double>(n - 1)),
            0};
}

/// The first position further than `slack` from where an axis has it; n where there is none.
py::ssize_t firstOff(const cal_cArrayCal& cal, const double* at, py::ssize_t n, double slack) {
    py::ssize_t i = 0;
    while (i < n && std::fabs(cal.Position(i) - at[i]) <= slack)
        ++i;
    return i;
}

sAxis fromPositions(const py::object& positions, double tolerance, const py::object& name,
                    const py::object& unit) {
    if (!(tolerance >= 0))
        throw py::value_error("a tolerance is 0 elements or more, not " + told(tolerance));
    const cLabels labels(word(name), word(unit));
    const tDoubles x = asPositions(positions);
    if (x.ndim() != 1)
        throw py::value_error("positions are one-dimensional");
    const py::ssize_t n = x.size();
    if (n == 0)
        throw py::value_error("an axis cannot be found from no positions");
    const double* at = x.data();
    for (py::ssize_t i = 0; i < n; ++i)
        if (!std::isfinite(at[i]))
            throw py::value_error("position " + std::to_string(i) + " is not finite");
    if (n == 1)
        return {cal_cArrayCal(at[0], 1, 0), labels};
    const double measured = (at[n - 1] - at[0]) / static_cast<double>(n - 1);
    if (measured == 0)
        throw py::value_error("positions that do not change have no delta");
    if (!std::isfinite(measured))
        throw py::value_error("positions that far apart have no finite delta");
    const double slack = tolerance * std::fabs(measured);
    cal_cArrayCal cal = shortest(at[0], measured, slack, n);
    // The nearest line has a band of half the width at least.
    if (firstOff(cal, at, n, slack) < n && bandOf(at, n, measured).width <= 4 * slack) {
        const double slope = nearestSlope(at, n, measured);
        const sBand band = bandOf(at, n, slope);
        cal = shortest(band.offset, slope, std::max(slack - band.width / 2, 0.0), n);
    }
    const py::ssize_t off = firstOff(cal, at, n, slack);
    if (off < n)
        throw py::value_error("position " + std::to_string(off) +
                              " is off the straight line by more than " + told(tolerance) +
                              " elements");
    return {cal, labels};
}

std::string repr(const sAxis& axis) {
    std::string text = "Axis(" + told(axis.cal.Offset()) + ", " + told(axis.cal.Delta());
    if (axis.cal.CalIndex() != 0)
        text += ", index=" + std::to_string(axis.cal.CalIndex());
    if (!axis.labels.Name().empty())
        text += ", name=" + std::string(py::repr(py::str(axis.labels.Name())));
    if (!axis.labels.Unit().empty())
        text += ", unit=" + std::string(py::repr(py::str(axis.labels.Unit())));
    return text + ")";
}

/// The word that both agree on, or that only one has.
const std::string& either(const std::string& a, const std::string& b) {
    static const std::string none;
    if (a.empty() || a == b)
        return b;
    return b.empty() ? a : none;
}

void requireSameUnit(const std::string& a, const std::string& b) {
    if (!a.empty() && !b.empty() && a != b)
        throwUnitError("the units " + a + " and " + b + " meet in one operation");
}

} // namespace

cLabels mergedAxis(const cLabels& a, const cLabels& b) {
    if (a == b)
        return a;
    requireSameUnit(a.Unit(), b.Unit());
    return {either(a.Name(), b.Name()), either(a.Unit(), b.Unit())};
}

cLabels mergedValues(const cLabels& a, const cLabels& b) {
    if (a == b)
        return a;
    requireSameUnit(a.Unit(), b.Unit());
    return {a.Name() == b.Name() ? a.Name() : std::string(), either(a.Unit(), b.Unit())};
}

std::string word(const py::handle& text) {
    if (text.is_none())
        return {};
    if (!py::isinstance<py::str>(text))
        throw py::type_error("names and units are texts");
    Py_ssize_t size = 0;
    const char* const utf8 = PyUnicode_AsUTF8AndSize(text.ptr(), &size);
    if (utf8 == nullptr) {
        PyErr_Clear();
        throw py::value_error(
            "names and units have no lone surrogates, unlike " +
            std::string(py::str(py::module_::import("builtins").attr("ascii")(text))));
    }
    return {utf8, static_cast<std::size_t>(size)};
}

void registerAxis(py::module_& module) {
    py::class_<sAxis> axis(module, "Axis", py::module_local(),
                           R"(Where the elements of an array lie.

Element `i` lies at ``offset + (i - index) * delta``. An axis never changes; names and units are labels,
of the positions. ValueError for an offset or a delta that is not finite and for a delta of 0, TypeError for words that
are no text.

    >>> import dataprocessing as dp
    >>> energy = dp.Axis(6.2, 0.1, name="energy", unit="keV")
    >>> energy.position(1), energy.nearest(6.31)
    (6.3, 1)
)");
    typeOf<sAxis> = reinterpret_cast<PyTypeObject*>(axis.ptr());
    axis.def(py::init([](double offset, double delta, int index, const py::object& name,
                         const py::object& unit) {
                 return sAxis{checkedCal(offset, delta, index), cLabels(word(name), word(unit))};
             }),
             py::arg("offset") = 0.0, py::arg("delta") = 1.0, py::arg("index") = 0,
             py::arg("name") = "", py::arg("unit") = "")
        .def_static("from_positions", &fromPositions, py::arg("positions"),
                    py::arg("tolerance") = 1e-3, py::arg("name") = "", py::arg("unit") = "",
                    R"(The axis of elements at these positions.

The delta and the offset are the shortest decimals that leave every position within `tolerance` elements
of where it was: on the line from the first to the last one, or where that leaves some out, on the one that is nearest
to all. Positions that were rounded when they were written want a tolerance of half of what they were rounded to, in
elements. ValueError for positions that are not finite or not evenly spaced, for none, and for a negative
tolerance; TypeError for masked ones and for what is no real number, such as dates.

    >>> import numpy as np, dataprocessing as dp
    >>> dp.Axis.from_positions(np.arange(1024) * np.float32(0.01))
    Axis(0.0, 0.01)
)")
        .def_property_readonly(
            "offset", [](const sAxis& a) { return a.cal.Offset(); },
            "The position of element `index`.")
        .def_property_readonly(
            "delta", [](const sAxis& a) { return a.cal.Delta(); },
            "The step from one element to the next.")
        .def_property_readonly(
            "index", [](const sAxis& a) { return a.cal.CalIndex(); },
            "The element that lies at `offset`.")
        .def_property_readonly(
            "name", [](const sAxis& a) { return a.labels.Name(); }, "What the axis is called.")
        .def_property_readonly(
            "unit", [](const sAxis& a) { return a.labels.Unit(); }, "The unit of its positions.")
        .def(
            "position", [](const sAxis& a, long long index) { return a.cal.Position(index); },
            py::arg("index"),
            R"(The position of element `index`, which may lie outside any array; in the axis' unit.

A number gives a number. TypeError for what is no integer.

    >>> import dataprocessing as dp
    >>> dp.Axis(6.2, 0.1).position(-1)
    6.1000000000000005
)")
        .def(
            "real_index", [](const sAxis& a, double x) { return a.cal.RealIndex(x); }, py::arg("x"),
            R"(The real-valued index of position `x`, which is in the axis' unit.

A number gives a number; NaN gives NaN. TypeError for what is no number.

    >>> import dataprocessing as dp
    >>> dp.Axis(0.0, 0.5).real_index(0.75)
    1.5
)")
        .def(
            "nearest",
            [](const sAxis& a, double x) {
                if (std::isnan(a.cal.RealIndex(x)))
                    throw py::value_error("no element is nearest to position " + told(x));
                return a.cal.Index(x);
            },
            py::arg("x"),
            R"(The element nearest to position `x`, which is in the axis' unit; a half goes up.

A number gives an integer of 32 bits, at most the largest. ValueError for NaN, TypeError for what is no number.

    >>> import dataprocessing as dp
    >>> dp.Axis(0.0, 0.5).nearest(0.75)
    2
)")
        .def(
            "tolerance", [](const sAxis& a, double x) { return a.cal.Tolerance(x); }, py::arg("x"),
            R"(How far from a whole index, in elements, position `x` counts as that index.

A number gives a number; the position is in the axis' unit. TypeError for what is no number.

    >>> import dataprocessing as dp
    >>> dp.Axis(6.2, 0.1).tolerance(6.4) < 1e-3
    True
)")
        .def(
            "count", [](const sAxis& a, double length) { return a.cal.Count(length); },
            py::arg("length"), R"(How many elements a length in the axis' unit has, to the nearest.

A number gives a number. SizeError for a count that is negative, above 2^31 - 1 or NaN, TypeError for what is no number.

    >>> import dataprocessing as dp
    >>> dp.Axis(6.2, 0.1).count(1.0)
    10
)")
        .def(
            "positions", [](const sAxis& a, long long n) { return positions(a, n, "positions"); },
            py::arg("count"),
            R"(The positions of the first `count` elements, as an ndarray of float64, in the axis' unit.

ValueError for a negative count.

    >>> import dataprocessing as dp
    >>> dp.Axis(1.0, 0.5).positions(3)
    array([1. , 1.5, 2. ])
)")
        .def(
            "edges",
            [](const sAxis& a, long long n) {
                if (n < 0)
                    throw py::value_error("edges takes a count of at least 0");
                constexpr long long most = std::numeric_limits<long long>::max();
                return positions(a, std::min(n, most - 1) + 1, "edges");
            },
            py::arg("count"),
            R"(Where the first `count` elements begin, and where the last one ends: count + 1 positions, as float64.

They are an ndarray, in the axis' unit. ValueError for a negative count.

    >>> import dataprocessing as dp
    >>> dp.Axis(1.0, 0.5).edges(2)
    array([1. , 1.5, 2. ])
)")
        .def("__repr__", &repr)
        .def("__eq__",
             [](const sAxis& a, const py::object& other) -> py::object {
                 const sAxis* b = tryHeld<sAxis>(other.ptr());
                 return b == nullptr ? py::reinterpret_borrow<py::object>(Py_NotImplemented)
                                     : py::bool_(a == *b);
             })
        .def("__hash__",
             [](const sAxis& a) {
                 return py::hash(py::make_tuple(a.cal.Offset(), a.cal.Delta(), a.cal.CalIndex(),
                                                a.labels.Name(), a.labels.Unit()));
             })
        .def_static(
            "_of",
            [](double offset, double delta, int index, const py::object& name,
               const py::object& unit) {
                return sAxis{cal_cArrayCal(offset, delta, index), cLabels(word(name), word(unit))};
            })
        .def("__reduce__", [](const py::object& self) {
            if (!isInstance<sAxis>(self.ptr()))
                throw py::type_error("an axis is an Axis");
            const sAxis& a = held<sAxis>(self.ptr());
            const bool isRefused = !std::isfinite(a.cal.Offset()) || !isDelta(a.cal.Delta());
            return py::make_tuple(
                isRefused ? py::module_::import("dataprocessing._arrays").attr("axis_of")
                          : self.attr("__class__"),
                py::make_tuple(a.cal.Offset(), a.cal.Delta(), a.cal.CalIndex(), a.labels.Name(),
                               a.labels.Unit()));
        });
}

} // namespace dataprocessing::python
