#include "dataprocessing/geometry/warp_to.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/base/linalg.h"
#include "dataprocessing/base/turn.h"
#include "dataprocessing/geometry/warp_to_kernels.h"

using namespace dataprocessing::detail;

namespace {

using Matrix = linalg_c2x2Matrix<double>;

Matrix rotation(double angle) {
    const turn_sRotation turn(angle);
    return {turn.cosine, -turn.sine, turn.sine, turn.cosine};
}

/// The map by `matrix` about `centre`, or the middle of the image's elements.
warp_s2x3Map about(const Matrix& matrix, const darr_c2DArray& image,
                   const std::optional<pos_c2DPosition>& centre) {
    const auto middle = [](const cal_cArrayCal& cal, int size) {
        return (cal.Position(0) + cal.Position(std::max(size - 1, 0))) / 2;
    };
    const double x = centre ? centre->X() : middle(image.Cal().X(), image.SizeX());
    const double y = centre ? centre->Y() : middle(image.Cal().Y(), image.SizeY());
    return {matrix.m00, matrix.m01, x - matrix.First(x, y),
            matrix.m10, matrix.m11, y - matrix.Second(x, y)};
}

bool isFinite(const cal_cArrayCal& cal) {
    return std::isfinite(cal.Offset()) && std::isfinite(cal.Delta());
}

bool isFinite(const warp_sAxisMap& map) {
    return std::isfinite(map.alongX) && std::isfinite(map.alongY) && std::isfinite(map.start);
}

/// From elements of the result to real-valued indices along one axis of the image, where the
/// position is that of the result times `factorX` and `factorY`, plus `shift`.
warp_sAxisMap axisMap(const cal_cArrayCal& cal, int size, const cal_c2DArrayCal& result,
                      double factorX, double factorY, double shift) {
    const double first =
        factorX * result.X().Position(0) + factorY * result.Y().Position(0) + shift;
    const double delta = cal.Delta();
    const warp_sAxisMap map{
        factorX * result.X().Delta() / delta, factorY * result.Y().Delta() / delta,
        (first - cal.Offset()) / delta + cal.CalIndex(),
        std::max(cal.Tolerance(cal.Position(0)), cal.Tolerance(cal.Position(size)))};
    if (!isFinite(map) || delta == 0)
        arr_IndexError();
    return map;
}

} // namespace

darr_c2DArray warp_MapTo(const darr_c2DArray& image, const warp_s2x3Map& map,
                         const std::optional<grid_s2DGrid>& grid,
                         warp_eInterpolation interpolation) {
    for (const double number : {map.m00, map.m01, map.shiftX, map.m10, map.m11, map.shiftY})
        if (!std::isfinite(number))
            throw expt_cProgramException("warp_to", 1, "The map of an image is not finite.");
    if (interpolation < warp_NearestElement || interpolation > warp_CubicInterpolation)
        throw expt_cProgramException("warp_to", 2, "Unknown interpolation of an image.");
    if (!image.DataType().IsKnown())
        throw expt_cProgramException("warp_to", 3,
                                     "An image of an unknown element type has no map.");
    if (grid && !(isFinite(grid->cal.X()) && isFinite(grid->cal.Y())))
        throw expt_cProgramException("warp_to", 5, "The grid of a mapped image is not finite.");
    const Matrix inverse = Matrix{map.m00, map.m01, map.m10, map.m11}.Inverse();
    const auto& [cal, sizeX, sizeY] = grid ? *grid : grid_Of(image);
    const dtyp_cDataType type = interpolation == warp_NearestElement
                                    ? image.DataType()
                                    : warp_InterpolatedType(image.DataType());
    if (image.Count() == 0) {
        darr_c2DArray zeros(sizeX, sizeY, type, cal);
        if (zeros.Count() != 0)
            std::memset(zeros.Data(), 0, static_cast<std::size_t>(zeros.Count()) * type.SizeOf());
        return zeros;
    }
    const warp_sAxisMap mapX = axisMap(image.Cal().X(), image.SizeX(), cal, inverse.m00,
                                       inverse.m01, -inverse.First(map.shiftX, map.shiftY));
    const warp_sAxisMap mapY = axisMap(image.Cal().Y(), image.SizeY(), cal, inverse.m10,
                                       inverse.m11, -inverse.Second(map.shiftX, map.shiftY));
    darr_c2DArray result(sizeX, sizeY, type, cal);
    if (result.Count() != 0)
        warp_SampleTo({image.Data(), image.DataType(), image.SizeX(), image.SizeY()}, mapX, mapY,
                      interpolation, sizeX, sizeY, result.Data());
    return result;
}

darr_c2DArray warp_RotateTo(const darr_c2DArray& image, double angle,
                            const std::optional<pos_c2DPosition>& centre,
                            const std::optional<grid_s2DGrid>& grid,
                            warp_eInterpolation interpolation) {
    return warp_MapTo(image, about(rotation(angle), image, centre), grid, interpolation);
}

darr_c2DArray warp_ResizeTo(const darr_c2DArray& image, double factorX, double factorY,
                            const std::optional<pos_c2DPosition>& centre,
                            const std::optional<grid_s2DGrid>& grid,
                            warp_eInterpolation interpolation) {
    return warp_MapTo(image, about({factorX, 0, 0, factorY}, image, centre), grid, interpolation);
}

darr_c2DArray warp_ShearTo(const darr_c2DArray& image, double shearAngle, double axisAngle,
                           const std::optional<pos_c2DPosition>& centre,
                           const std::optional<grid_s2DGrid>& grid,
                           warp_eInterpolation interpolation) {
    if (std::fabs(std::cos(shearAngle)) < 1e-15)
        throw expt_cProgramException("warp_to", 4, "An image cannot be sheared by a right angle.");
    const Matrix shear{1, std::tan(shearAngle), 0, 1};
    return warp_MapTo(image,
                      about(rotation(-axisAngle) * shear * rotation(axisAngle), image, centre),
                      grid, interpolation);
}
