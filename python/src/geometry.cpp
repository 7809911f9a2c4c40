#include <array>
#include <cmath>
#include <optional>

#include <pybind11/stl.h>

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

using tPoint = std::pair<double, double>;
tPoint pointOf(const pos_c2DPosition& p) { return {p.X(), p.Y()}; }

std::optional<pos_c2DPosition> centreOf(const std::optional<tPoint>& point) {
    if (!point)
        return {};
    return pos_c2DPosition(point->first, point->second);
}

/// Images mapped onto the grid of another one, or onto one that holds them.
void defineMaps(py::module_& module) {
    py::enum_<warp_eInterpolation>(module, "Interpolation", py::module_local())
        .value("NEAREST", warp_NearestElement)
        .value("LINEAR", warp_LinearInterpolation)
        .value("CUBIC", warp_CubicInterpolation);
    const auto mapped = [](const sArray2D& image, const sArray2D* like, auto function) {
        const cWithoutGil released(image.Count(), 10 * perElement);
        const auto grid = like ? std::optional(grid_Of(like->values)) : std::nullopt;
        return python::like<sArray2D>(image, function(image.values, grid), image.labels);
    };
    module.def(
        "warp_map_to",
        [=](const sArray2D& image, const std::array<std::array<double, 3>, 2>& map,
            const sArray2D* grid, warp_eInterpolation interpolation) {
            const warp_s2x3Map m{map[0][0], map[0][1], map[0][2], map[1][0], map[1][1], map[1][2]};
            return mapped(image, grid, [&](const auto& a, const auto& onto) {
                return warp_MapTo(a, m, onto, interpolation);
            });
        },
        py::arg("image"), py::arg("map"), py::arg("grid") = py::none(),
        py::arg("interpolation") = warp_LinearInterpolation);
    const auto aboutCentre = [&](const char* name, const char* first, const char* second,
                                 auto function) {
        module.def(
            name,
            [=](const sArray2D& image, double a, double b, const std::optional<tPoint>& centre,
                const sArray2D* grid, warp_eInterpolation interpolation) {
                return mapped(image, grid, [&](const auto& values, const auto& onto) {
                    return function(values, a, b, centreOf(centre), onto, interpolation);
                });
            },
            py::arg("image"), py::arg(first), py::arg(second), py::arg("centre") = py::none(),
            py::arg("grid") = py::none(), py::arg("interpolation") = warp_LinearInterpolation);
    };
    aboutCentre("warp_resize_to", "factor_x", "factor_y",
                [](const auto&... x) { return warp_ResizeTo(x...); });
    aboutCentre("warp_shear_to", "shear_angle", "axis_angle",
                [](const auto&... x) { return warp_ShearTo(x...); });
    module.def(
        "warp_rotate_to",
        [=](const sArray2D& image, double angle, const std::optional<tPoint>& centre,
            const sArray2D* grid, warp_eInterpolation interpolation) {
            return mapped(image, grid, [&](const auto& values, const auto& onto) {
                return warp_RotateTo(values, angle, centreOf(centre), onto, interpolation);
            });
        },
        py::arg("image"), py::arg("angle"), py::arg("centre") = py::none(),
        py::arg("grid") = py::none(), py::arg("interpolation") = warp_LinearInterpolation);
}

sArray1D line(const sArray2D& image, darr_c1DArray values) {
    return {std::move(values), image.labels, {image.axes[1]}};
}

/// About how many elements of the image a rectangle covers.
long long elementsIn(const sArray2D& image, double length, double width) {
    constexpr double most = 1e12;
    const double deltas = image.Cal(0).Delta() * image.Cal(1).Delta();
    const double count = std::fabs(length * width / deltas);
    return static_cast<long long>(count < most ? count : most);
}

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
    defineMaps(module);
    defineTransformations(module);
    module.def("proj_project", [](const sArray2D& image, const rnge_c2DRange& range) {
        const cWithoutGil released(elementsIn(image, range.Length(), range.Width()), perElement);
        return line(image, proj_Project(image.values, range));
    });
    module.def("proj_line_scan",
               [](const sArray2D& image, double x1, double y1, double x2, double y2, double width) {
                   const double length = std::hypot(x2 - x1, y2 - y1);
                   const cWithoutGil released(elementsIn(image, length, width), perElement);
                   return line(image, proj_LineScan(image.values, x1, y1, x2, y2, width));
               });
    module.def("ramp_c1d_ramp", [](int count, const sAxis& axis) {
        const cWithoutGil released(count);
        return sArray1D{ramp_c1DRamp(count, cal_c1DArrayCal(axis.cal)), {}, {axis.labels}};
    });
    module.def("ramp_c2d_ramp", [](ramp_eRampType type, int countX, int countY, const sAxis& y,
                                   const sAxis& x) {
        const cWithoutGil released(static_cast<long long>(countX) * countY, perElement);
        return sArray2D{ramp_c2DRamp(type, countX, countY, cal_c2DArrayCal(x.cal, y.cal)),
                        {},
                        {y.labels, x.labels}};
    });
    module.def("line_at_x", [](const sArray2D& image, int x) {
        return sArray1D{image.values.LineAtX(x), image.labels, {image.axes[0]}};
    });
    module.def("line_at_y",
               [](const sArray2D& image, int y) { return line(image, image.values.LineAtY(y)); });
}

} // namespace dataprocessing::python
