#include <cmath>
#include <limits>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/base/linalg.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/geometry/warp.h"
#include "dataprocessing/geometry/warp_kernels.h"
#include "dataprocessing/geometry/warp_turn.h"

using namespace dataprocessing::detail;

namespace {

static_assert(parr_c2DNumberArray::t2DValueArray == dtyp_Float, "integers are sampled as float");

using Matrix = linalg_c2x2Matrix<double>;

Matrix rotation(double angle) {
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    return {cosine, -sine, sine, cosine};
}

Matrix diagonal(double x, double y) { return {x, 0, 0, y}; }

bool isTiny(double x) { return std::fabs(x) < std::numeric_limits<double>::min(); }

/// The smallest and the largest of the values of a function of the corners of `range`. A NaN among
/// them is the smallest, so that it is not lost.
template<class Value>
rnge_sBounds boundsOver(const rnge_c2DRange& range, Value value) {
    rnge_sBounds bounds{value(range.Left(), range.LeftY()), value(range.Left(), range.LeftY())};
    for (const double x :
         {value(range.BottomX(), range.Bottom()), value(range.Right(), range.RightY()),
          value(range.TopX(), range.Top())}) {
        if (x < bounds.start || std::isnan(x))
            bounds.start = x;
        if (x > bounds.end)
            bounds.end = x;
    }
    return bounds;
}

/// The upright box around a range mapped by `matrix` and then shifted.
rnge_c2DRange mappedBox(const rnge_c2DRange& range, const Matrix& matrix, double shiftX,
                        double shiftY) {
    const auto [left, right] =
        boundsOver(range, [&](double x, double y) { return matrix.First(x, y) + shiftX; });
    const auto [bottom, top] =
        boundsOver(range, [&](double x, double y) { return matrix.Second(x, y) + shiftY; });
    return {left, bottom, right, top};
}

darr_c2DArray mapImage(const darr_c2DArray& image, const Matrix& matrix,
                       const rnge_c2DRange& range) {
    const bool isWhole = &range == &rnge_c2DRange::Null;
    if (matrix == Matrix())
        return isWhole ? image : image.Selection(range, rnge_IndexNearest);

    const dtyp_cDataType type = dtyp_Max(image.DataType(), parr_c2DNumberArray::t2DValueArray);
    if (!image.DataType().IsKnown())
        throw expt_cProgramException("Warp", 93, "An image of an unknown element type has no map.");
    if (image.Count() == 0)
        return {0, 0, type, image.Cal()};

    const cal_cArrayCal& calX = image.Cal().X();
    const cal_cArrayCal& calY = image.Cal().Y();
    const double originX = calX.Offset();
    const double originY = calY.Offset();
    const double shiftX = originX - matrix.First(originX, originY);
    const double shiftY = originY - matrix.Second(originX, originY);
    const rnge_c2DRange box = mappedBox(isWhole ? image.Range() : range, matrix, shiftX, shiftY);
    const int sizeX = calX.Count(box.Right() - box.Left());
    const int sizeY = calY.Count(box.Top() - box.Bottom());

    cal_c2DArrayCal cal(box.Left(), calX.Delta(), box.Bottom(), calY.Delta(), 0, 0);
    if (box.Contains(originX, originY)) {
        cal = image.Cal();
        cal.X().SetCalIndex(
            static_cast<int>(std::floor((originX - box.Left()) / calX.Delta() + 0.5)));
        cal.Y().SetCalIndex(
            static_cast<int>(std::floor((originY - box.Bottom()) / calY.Delta() + 0.5)));
    }

    const Matrix inverse = matrix.Inverse();
    const double x = box.Left() - shiftX;
    const double y = box.Bottom() - shiftY;
    const warp_sMap map{inverse, (inverse.First(x, y) - originX) / calX.Delta() + calX.CalIndex(),
                        (inverse.Second(x, y) - originY) / calY.Delta() + calY.CalIndex()};
    darr_c2DArray result(sizeX, sizeY, type, cal);
    warp_Sample({image.Data(), image.DataType(), image.SizeX(), image.SizeY()}, map, sizeX, sizeY,
                result.Data());
    return result;
}

/// A rotation: the deltas at which rotated rows or columns meet the grid, and the map.
struct sTurn {
    double deltaX;
    double deltaY;
    Matrix matrix;

    sTurn(const cal_c2DArrayCal& cal, double angle) {
        const double oldX = cal.X().Delta();
        const double oldY = cal.Y().Delta();
        double a = std::fabs(angle);
        if (a > type_Pi / 2)
            a = std::fabs(a - type_Pi);
        const bool isFlat = a < std::atan(oldY / oldX);
        deltaX = isFlat ? std::cos(a) * oldX : std::sin(a) * oldY;
        deltaY = isFlat ? std::cos(a) * oldY : std::sin(a) * oldX;
        matrix = rotation(angle) * diagonal(oldX / deltaX, oldY / deltaY);
    }
};

} // namespace

bool dataprocessing::detail::warp_LeavesInPlace(const cal_c2DArrayCal& cal, double angle) {
    return sTurn(cal, angle).matrix == Matrix();
}

darr_c2DArray warp_Rescale(const darr_c2DArray& image, double deltaX, double deltaY) {
    if (isTiny(deltaX) || isTiny(deltaY))
        throw expt_cProgramException("Warp", 202,
                                     "An image cannot be rescaled to a delta of zero.");
    const double oldX = image.Cal().X().Delta();
    const double oldY = image.Cal().Y().Delta();
    if (deltaX == oldX && deltaY == oldY)
        return image;
    darr_c2DArray result =
        mapImage(image, diagonal(oldX / deltaX, oldY / deltaY), rnge_c2DRange::Null);
    result.SetDeltaX(deltaX);
    result.SetDeltaY(deltaY);
    return result;
}

darr_c2DArray warp_Resize(const darr_c2DArray& image, double factorX, double factorY) {
    if (isTiny(factorX) || isTiny(factorY))
        throw expt_cProgramException("Warp", 229,
                                     "An image cannot be resized by a factor of zero.");
    return mapImage(image, diagonal(factorX, factorY), rnge_c2DRange::Null);
}

darr_c2DArray warp_Shear(const darr_c2DArray& image, double shearAngle, double axisAngle) {
    if (shearAngle == type_Pi / 2 || shearAngle == 3 * type_Pi / 2)
        throw expt_cProgramException("Warp", 251, "An image cannot be sheared by a right angle.");
    if (isTiny(shearAngle))
        return image;
    const Matrix shear{1, std::tan(shearAngle), 0, 1};
    return mapImage(image, rotation(-axisAngle) * shear * rotation(axisAngle), rnge_c2DRange::Null);
}

darr_c2DArray warp_FlipAxis(const darr_c2DArray& image, double angle) {
    return mapImage(image, rotation(-angle) * diagonal(-1, 1) * rotation(angle),
                    rnge_c2DRange::Null);
}

darr_c2DArray warp_FlipPoint(const darr_c2DArray& image) {
    return mapImage(image, diagonal(-1, -1), rnge_c2DRange::Null);
}

darr_c2DArray warp_Rotate(const darr_c2DArray& image, double angle, const rnge_c2DRange& range) {
    const sTurn turn(image.Cal(), angle);
    darr_c2DArray result = mapImage(image, turn.matrix, range);
    result.SetDeltaX(turn.deltaX);
    result.SetDeltaY(turn.deltaY);
    return result;
}
