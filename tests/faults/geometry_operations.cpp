#include <limits>
#include <utility>

#include "tests/faults/operation.h"

namespace {

void addTransformations(Table& table) {
    table.Add("transformation", [](Operands&) { return trns_cCoordTransformation(2, 3); });
    table.Add("transformation of ranges",
              [](Operands& of) { return trns_cCoordTransformation(of.range, of.window); });
    table.AddRefused("transformation without a scale",
                     [](Operands&) { return trns_cCoordTransformation(2, 0); });
    const auto addAll = [&](const std::string& name, auto along1D, auto along2D) {
        table.Add(name + " position", [=](Operands& of) { return along1D(of, of.position); });
        table.Add(name + " point", [=](Operands& of) { return along2D(of, of.point); });
        table.Add(name + " range", [=](Operands& of) { return along1D(of, of.range); });
        table.Add(name + " rectangle", [=](Operands& of) { return along2D(of, of.rectangle); });
    };
    const auto across1D = [](const Operands& of, const auto& value) {
        return trns_Transform(value, of.transformation, of.otherTransformation);
    };
    table.Add("across number", [=](Operands& of) { return across1D(of, 2.5); });
    addAll("across", across1D, [](const Operands& of, const auto& value) {
        return trns_Transform(value, of.transformation, of.otherTransformation,
                              of.otherTransformation, of.transformation);
    });
    addAll(
        "from base",
        [](const Operands& of, const auto& value) {
            return trns_TransformFromBase(value, of.transformation);
        },
        [](const Operands& of, const auto& value) {
            return trns_TransformFromBase(value, of.transformation, of.otherTransformation);
        });
    addAll(
        "to base",
        [](const Operands& of, const auto& value) {
            return trns_TransformToBase(value, of.transformation);
        },
        [](const Operands& of, const auto& value) {
            return trns_TransformToBase(value, of.transformation, of.otherTransformation);
        });
}

void addRamps(Table& table) {
    table.Add("ramp", [](Operands& of) -> darr_c1DArray { return ramp_c1DRamp(9, of.line.Cal()); });
    table.Add("ramp changed", [](Operands& of) -> darr_c1DArray {
        ramp_c1DRamp ramp(9, of.line.Cal());
        ramp.SetCal(of.coarseLine.Cal());
        ramp.SetRange(of.range);
        return ramp;
    });
    for (const ramp_eRampType type : {ramp_X, ramp_Y, ramp_Radius, ramp_Angle})
        table.Add("ramp over an image " + std::to_string(type),
                  [type](Operands& of) -> darr_c2DArray {
                      return ramp_c2DRamp(type, 5, 4, of.image.Cal());
                  });
    table.Add("ramp over an image, changed", [](Operands& of) -> darr_c2DArray {
        ramp_c2DRamp ramp(ramp_Radius, 5, 4, of.image.Cal());
        ramp.SetCal(of.coarseImage.Cal());
        ramp.SetRange(of.rectangle);
        return ramp;
    });
    table.AddRefused("ramp of an unknown type", [](Operands& of) {
        return ramp_c2DRamp(static_cast<ramp_eRampType>(9), 5, 4, of.image.Cal());
    });
}

} // namespace

Table geometryOperations() {
    Table table;
    const auto addImages = [&](const std::string& name, auto call) {
        table.Add(name, [=](Operands& of) { return call(of.image); });
        table.Add(name + " integers", [=](Operands& of) { return call(of.coarseImage); });
        table.Add(name + " complex", [=](Operands& of) { return call(of.complexImage); });
    };
    addImages("rescale", [](const auto& image) { return warp_Rescale(image, 0.3, 0.9); });
    addImages("resize", [](const auto& image) { return warp_Resize(image, 2.5, 1.5); });
    addImages("shear", [](const auto& image) { return warp_Shear(image, 0.4, 0.2); });
    addImages("flip", [](const auto& image) { return warp_FlipAxis(image, 0.3); });
    addImages("flip at a point", [](const auto& image) { return warp_FlipPoint(image); });
    addImages("turn",
              [](const auto& image) { return warp_Rotate(image, 0.5, rnge_c2DRange::Null); });
    addImages("turn a part",
              [](const auto& image) { return warp_Rotate(image, 0.5, rnge_c2DRange(1, 2, 3, 4)); });
    addImages("project", [](const auto& image) {
        return proj_Project(image, rnge_c2DRange(2, 3, 3, 2, 0.3));
    });
    addImages("scan", [](const auto& image) { return proj_LineScan(image, 1, 2, 4, 3, 1.5); });
    addImages("map to a grid", [](const auto& image) {
        return warp_MapTo(image, {.m01 = 0.25, .shiftX = 1}, {}, warp_CubicInterpolation);
    });
    addImages("rotate to a grid", [](const auto& image) {
        return warp_RotateTo(image, 0.5, pos_c2DPosition(1, 2), grid_Of(image),
                             warp_LinearInterpolation);
    });
    addImages("resize to a grid", [](const auto& image) { return warp_ResizeTo(image, 2.5, 1.5); });
    addImages("shear to a grid", [](const auto& image) { return warp_ShearTo(image, 0.4, 0.2); });
    table.AddRefused("rotate by no angle", [](Operands& of) {
        return warp_RotateTo(of.image, std::numeric_limits<double>::infinity());
    });
    table.AddRefused("resize to nothing", [](Operands& of) { return warp_Resize(of.image, 0, 1); });
    addRamps(table);
    addTransformations(table);
    return table;
}
