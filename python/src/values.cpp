#include <cstring>
#include <span>
#include <vector>

#include <pybind11/numpy.h>

#include "functions.h"
#include "gil.h"
#include "instances.h"
#include "number_argument.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

py::tuple point(double x, double y) { return py::make_tuple(x, y); }

void defineRanges(py::module_& module) {
    py::class_<rnge_c1DRange, mesg_cSender>(module, "rnge_c1DRange", py::module_local())
        .def(py::init<double, double>(), py::arg("start") = 0.0, py::arg("end") = 0.0)
        .def_property("start", &rnge_c1DRange::Start, &rnge_c1DRange::SetStart)
        .def_property("end", &rnge_c1DRange::End, &rnge_c1DRange::SetEnd)
        .def("set", &rnge_c1DRange::Set, py::arg("start"), py::arg("end"))
        .def("length", &rnge_c1DRange::Length)
        .def("contains",
             [](const rnge_c1DRange& r, double x) { return static_cast<bool>(r.Contains(x)); })
        .def("intersects",
             [](const rnge_c1DRange& r, const rnge_c1DRange& o) {
                 return static_cast<bool>(r.Intersects(o));
             })
        .def("intersection", [](const rnge_c1DRange& r, const rnge_c1DRange& o) { return r & o; })
        .def("union", [](const rnge_c1DRange& r, const rnge_c1DRange& o) { return r | o; });
    py::class_<rnge_c2DRange>(module, "rnge_c2DRange", py::module_local())
        .def(py::init<>())
        .def(py::init<double, double, double, double>(), py::arg("left"), py::arg("bottom"),
             py::arg("right"), py::arg("top"))
        .def(py::init<double, double, double, double, double>(), py::arg("center_x"),
             py::arg("center_y"), py::arg("length"), py::arg("width"), py::arg("angle"))
        .def_property_readonly("corners",
                               [](const rnge_c2DRange& r) {
                                   return py::make_tuple(
                                       point(r.Left(), r.LeftY()), point(r.BottomX(), r.Bottom()),
                                       point(r.Right(), r.RightY()), point(r.TopX(), r.Top()));
                               })
        .def_property_readonly(
            "center", [](const rnge_c2DRange& r) { return point(r.CenterX(), r.CenterY()); })
        .def_property_readonly("length", &rnge_c2DRange::Length)
        .def_property_readonly("width", &rnge_c2DRange::Width)
        .def_property_readonly("angle", &rnge_c2DRange::Angle)
        .def("contains", [](const rnge_c2DRange& r, double x,
                            double y) { return static_cast<bool>(r.Contains(x, y)); })
        .def("intersects",
             [](const rnge_c2DRange& r, const rnge_c2DRange& o) {
                 return static_cast<bool>(r.Intersects(o));
             })
        .def("intersection", [](const rnge_c2DRange& r, const rnge_c2DRange& o) { return r & o; })
        .def("union", [](const rnge_c2DRange& r, const rnge_c2DRange& o) { return r | o; });
}

using tDoubles = py::array_t<double, py::array::c_style | py::array::forcecast>;

std::vector<py::ssize_t> shapeOf(const py::array& array) {
    return {array.shape(), array.shape() + array.ndim()};
}

/// Of what lies between integers: a double, so that nothing is rounded away.
dtyp_cDataType typeOfValues(dtyp_cDataType type, bool interpolate) {
    return interpolate && type.Code() <= dtyp_Int32 ? dtyp_cDataType(dtyp_Double) : type;
}

template<class A>
void defineConversion(py::module_& module) {
    module.def(
        "conv_convert",
        [](const A& a, const py::object& dtype, conv_eComplexConversion part) {
            const dtyp_cDataType type = requestedType(dtype);
            const cWithoutGil released(a.Count());
            return like<A>(a, conv_Convert(a.values, type, part), a.labels);
        },
        py::arg("array"), py::arg("dtype"), py::arg("part") = conv_RealPart);
}

} // namespace

void registerValueFunctions(py::module_& module) {
    py::enum_<rnge_eIndexSelect>(module, "IndexSelect", py::module_local())
        .value("FLOOR", rnge_IndexFloor)
        .value("NEAREST", rnge_IndexNearest)
        .value("OUTER", rnge_IndexOuter)
        .value("CEILING", rnge_IndexCeiling);
    defineRanges(module);
    defineConversion<sArray1D>(module);
    defineConversion<sArray2D>(module);
    module.def(
        "conv_convert",
        [](const sNumber& a, const py::object& dtype, conv_eComplexConversion part) {
            return sNumber{conv_Convert(a.value, requestedType(dtype), part)};
        },
        py::arg("number"), py::arg("dtype"), py::arg("part") = conv_RealPart);
    module.def("resc_rescale", [](const sArray1D& a, double delta) {
        const cWithoutGil released(a.Count(), 4);
        return like<sArray1D>(a, resc_Rescale(a.values, delta), a.labels);
    });
    module.def("resc_rescale", [](const sArray2D& a, double deltaX, double deltaY) {
        const cWithoutGil released(a.Count(), 4);
        return like<sArray2D>(a, resc_Rescale(a.values, deltaX, deltaY), a.labels);
    });
    module.def("selection",
               [](const sArray1D& a, double start, double end, rnge_eIndexSelect rule) {
                   const rnge_c1DIndexRange range(rnge_c1DRange(start, end), a.values.Cal(), rule);
                   return py::make_tuple(range.First(), range.Last());
               });
    module.def("selection",
               [](const sArray2D& a, const rnge_c2DRange& over, rnge_eIndexSelect rule) {
                   const rnge_c2DIndexRange range(over, a.values.Cal(), rule);
                   return py::make_tuple(range.X().First(), range.Y().First(), range.X().Last(),
                                         range.Y().Last());
               });
    module.def("select", [](const sArray1D& a, int first, int last) {
        const cWithoutGil released(static_cast<long long>(last) - first);
        return like<sArray1D>(a, a.values.Selection(first, last), a.labels);
    });
    module.def("select", [](const sArray2D& a, int firstX, int firstY, int lastX, int lastY) {
        const cWithoutGil released((static_cast<long long>(lastX) - firstX) *
                                   (static_cast<long long>(lastY) - firstY));
        return like<sArray2D>(a, a.values.Selection(firstX, firstY, lastX, lastY), a.labels);
    });
    module.def("value", [](const sArray1D& a, double x, bool interpolate) {
        return sNumber{
            a.values.Value(x, interpolate ? darr_LinearInterpolation : darr_NoInterpolation)};
    });
    module.def("value", [](const sArray2D& a, double x, double y, bool interpolate) {
        return sNumber{
            a.values.Value(x, y, interpolate ? darr_LinearInterpolation : darr_NoInterpolation)};
    });
    module.def("values_at", [](const sArray1D& a, const tDoubles& x, bool interpolate) {
        py::array found(dtypeOf(typeOfValues(a.values.DataType(), interpolate)), shapeOf(x));
        const auto how = interpolate ? darr_LinearInterpolation : darr_NoInterpolation;
        char* to = static_cast<char*>(found.mutable_data());
        const auto width = static_cast<std::size_t>(found.itemsize());
        const std::span positions(x.data(), static_cast<std::size_t>(x.size()));
        const cWithoutGil released(x.size(), 30);
        for (const double position : positions) {
            const pnum_cNumber number = a.values.Value(position, how);
            std::memcpy(to, number.Data(), width);
            to += width;
        }
        return found;
    });
    const auto gridOf = [](const auto& grid, int axis) {
        if constexpr (requires { grid.size; })
            return py::make_tuple(sAxis{grid.cal, {}}, grid.size);
        else
            return axis == 0 ? py::make_tuple(sAxis{grid.cal.Y(), {}}, grid.sizeY)
                             : py::make_tuple(sAxis{grid.cal.X(), {}}, grid.sizeX);
    };
    module.def("algn_calibration", [=](const sArray1D& a, const sArray1D& b) {
        return py::make_tuple(gridOf(algn_Calibration(a.values, b.values), 0));
    });
    module.def("algn_calibration", [=](const sArray2D& a, const sArray2D& b) {
        const auto grid = algn_Calibration(a.values, b.values);
        return py::make_tuple(gridOf(grid, 0), gridOf(grid, 1));
    });
    module.def("mem_release_kept", &mem_ReleaseKept,
               "Gives back memory that is kept for the next arrays.");
    module.def("pos_angle", [](double x1, double y1, double x2, double y2) {
        return pos_Angle(pos_c2DPosition(x1, y1), pos_c2DPosition(x2, y2));
    });
}

} // namespace dataprocessing::python
