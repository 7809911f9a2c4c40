#include "functions.h"
#include "gil.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

constexpr double perElement = 3; // ns

void defineWarps(py::module_& module) {
    const auto warp = [&](const char* name, auto function) { module.def(name, function); };
    const auto warped = [](const sArray2D& image, auto function) {
        const cWithoutGil released(image.Count(), perElement);
        return like<sArray2D>(image, function(image.values), image.labels);
    };
    warp("warp_rescale", [=](const sArray2D& image, double deltaX, double deltaY) {
        return warped(image, [&](const auto& a) { return warp_Rescale(a, deltaX, deltaY); });
    });
    warp("warp_resize", [=](const sArray2D& image, double factorX, double factorY) {
        return warped(image, [&](const auto& a) { return warp_Resize(a, factorX, factorY); });
    });
    warp("warp_shear", [=](const sArray2D& image, double shearAngle, double axisAngle) {
        return warped(image, [&](const auto& a) { return warp_Shear(a, shearAngle, axisAngle); });
    });
    warp("warp_flip_axis", [=](const sArray2D& image, double angle) {
        return warped(image, [&](const auto& a) { return warp_FlipAxis(a, angle); });
    });
    warp("warp_flip_point", [=](const sArray2D& image) {
        return warped(image, [&](const auto& a) { return warp_FlipPoint(a); });
    });
    warp("warp_rotate", [=](const sArray2D& image, double angle, const rnge_c2DRange* range) {
        return warped(image, [&](const auto& a) {
            return warp_Rotate(a, angle, range ? *range : rnge_c2DRange::Null);
        });
    });
}

sArray1D line(const sArray2D& image, darr_c1DArray values) {
    return {std::move(values), image.labels, {image.axes[1]}};
}

using tPoint = std::pair<double, double>;
tPoint pointOf(const pos_c2DPosition& p) { return {p.X(), p.Y()}; }

void defineTransformations(py::module_& module) {
    using tTransformation = trns_cCoordTransformation;
    py::class_<tTransformation, tgio_cTaggedStreamObject>(module, "trns_cCoordTransformation",
                                                          py::module_local())
        .def(py::init<double, double>(), py::arg("offset") = 0.0, py::arg("scale") = 1.0)
        .def(py::init<const rnge_c1DRange&, const rnge_c1DRange&>(), py::arg("base"),
             py::arg("derived"))
        .def_property_readonly("offset", &tTransformation::Offset)
        .def_property_readonly("scale", &tTransformation::Scale)
        .def("transform_from_base", &tTransformation::TransformFromBase)
        .def("transform_to_base", &tTransformation::TransformToBase);
    // A position is a number, or a pair (x, y) with a transformation for each.
    const auto define = [&](const char* name, auto function) {
        module.def(name, [=](double x, const tTransformation& by) {
            return function(pos_c1DPosition(x), by).X();
        });
        module.def(name, [=](const tPoint& p, const tTransformation& x, const tTransformation& y) {
            return pointOf(function(pos_c2DPosition(p.first, p.second), x, y));
        });
        module.def(name, [=](const rnge_c1DRange& range, const tTransformation& by) {
            return function(range, by);
        });
        module.def(name, [=](const rnge_c2DRange& range, const tTransformation& x,
                             const tTransformation& y) { return function(range, x, y); });
    };
    define("trns_transform_from_base",
           [](const auto&... arguments) { return trns_TransformFromBase(arguments...); });
    define("trns_transform_to_base",
           [](const auto&... arguments) { return trns_TransformToBase(arguments...); });
    const char* const between = "trns_transform";
    module.def(between, [](double x, const tTransformation& from, const tTransformation& to) {
        return trns_Transform(x, from, to);
    });
    module.def(between, [](const tPoint& p, const tTransformation& fromX,
                           const tTransformation& fromY, const tTransformation& toX,
                           const tTransformation& toY) {
        return pointOf(trns_Transform(pos_c2DPosition(p.first, p.second), fromX, fromY, toX, toY));
    });
    module.def(between, [](const rnge_c1DRange& range, const tTransformation& from,
                           const tTransformation& to) { return trns_Transform(range, from, to); });
    module.def(between, [](const rnge_c2DRange& range, const tTransformation& fromX,
                           const tTransformation& fromY, const tTransformation& toX,
                           const tTransformation& toY) {
        return trns_Transform(range, fromX, fromY, toX, toY);
    });
}

} // namespace

void registerGeometry(py::module_& module) {
    py::enum_<ramp_eRampType>(module, "Ramp", py::module_local())
        .value("X", ramp_X)
        .value("Y", ramp_Y)
        .value("RADIUS", ramp_Radius)
        .value("ANGLE", ramp_Angle);
    defineWarps(module);
    defineTransformations(module);
    module.def("proj_project", [](const sArray2D& image, const rnge_c2DRange& range) {
        return line(image, proj_Project(image.values, range));
    });
    module.def("proj_line_scan",
               [](const sArray2D& image, double x1, double y1, double x2, double y2, double width) {
                   return line(image, proj_LineScan(image.values, x1, y1, x2, y2, width));
               });
    module.def("ramp_c1d_ramp", [](int count, const sAxis& axis) {
        return sArray1D{ramp_c1DRamp(count, cal_c1DArrayCal(axis.cal)), {}, {axis.labels}};
    });
    module.def("ramp_c2d_ramp", [](ramp_eRampType type, int countX, int countY, const sAxis& y,
                                   const sAxis& x) {
        return sArray2D{ramp_c2DRamp(type, countX, countY, cal_c2DArrayCal(x.cal, y.cal)),
                        {},
                        {y.labels, x.labels}};
    });
    module.def("line_at_y",
               [](const sArray2D& image, int y) { return line(image, image.values.LineAtY(y)); });
}

} // namespace dataprocessing::python
