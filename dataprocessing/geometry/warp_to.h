#pragma once

/// @file
/// Images mapped in calibrated coordinates onto a grid, and interpolated: rotated, resized,
/// sheared, or by any 2 x 3 map.
///
/// Unlike the functions of warp.h, which act on elements as they are laid out, these go by
/// positions: unequal deltas are right, nothing has to be rescaled first, and the result lies on a
/// grid that is known before. What follows holds for all functions here.
///
/// **Map.** Position (x, y) of the image comes to lie at M (x, y) of the result. The element of the
/// result at a position is the value of the image where that came from, found by the inverse of M
/// in double precision; a real-valued index within cal_cArrayCal::Tolerance of a whole one, at the
/// farther end of the axis, is that one. Angles are in radians, counter-clockwise with x to the
/// right and y upwards; whole quarter turns are exact.
///
/// **Centre.** What turns, grows or shears does so about `centre`: where none is given, about the
/// middle between the positions of the image's first and last elements. So a quarter turn of a
/// square image on equal deltas exchanges its elements and loses none.
///
/// **Grid.** The result has the calibration and the sizes of `grid`, or of the image where none is
/// given. grid_Of(other) is the grid of another image.
///
/// **Outside.** An element whose origin is nearest to no element of the image, so is half a step or
/// more beyond the last one or more than half a step before the first one, is zero. Up to there the
/// elements at the edge hold.
///
/// **Types.** The nearest element is copied in the image's own type. Interpolated integers of 8 and
/// 16 bits become single precision, those of 32 bits double, so that none is rounded; the other
/// types stay, and are computed in their own precision, complex ones part by part. Elements of
/// weight zero do not matter, even when they are infinite or NaN. Between elements that are far
/// apart the result is finite where the type holds it. All processors give the same bits.
///
/// **Errors.** A map, an angle, a factor or a centre that is not finite: expt_cProgramException
/// ("warp_to", 1). An unknown interpolation: ("warp_to", 2). An image of an unknown element type:
/// ("warp_to", 3). A grid whose offsets or deltas are not finite: ("warp_to", 5). A map that cannot
/// be inverted: expt_cUserException ("linalg", 157). Sizes of the grid that no image can have: the
/// size error. An image on a calibration that gives its positions no index (a delta of zero): the
/// index error. An image without elements gives zeros.

#include <optional>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/operand/grid.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/pos.h"

/// How a value between elements of an image is found.
enum warp_eInterpolation : int {
    /// The nearest element, of two the upper one.
    warp_NearestElement = 0,
    /// Between the four elements around: along X in the row below and above, then along Y.
    warp_LinearInterpolation = 1,
    /// From the sixteen elements around, by the cubic convolution that follows a parabola exactly
    /// (parameter -1/2), along Y, then along X; beyond the edge the elements at the edge count once
    /// more. Source: R. G. Keys, IEEE Trans. Acoust. Speech Signal Process. 29 (1981) 1153.
    warp_CubicInterpolation = 2
};

/// A map of positions: (x, y) to (m00 x + m01 y + shiftX, m10 x + m11 y + shiftY).
struct warp_s2x3Map {
    double m00 = 1;    ///< What x adds to x.
    double m01 = 0;    ///< What y adds to x.
    double shiftX = 0; ///< Added to x, in its unit.
    double m10 = 0;    ///< What x adds to y.
    double m11 = 1;    ///< What y adds to y.
    double shiftY = 0; ///< Added to y, in its unit.
};

/// The image mapped by `map`.
///
///     const warp_s2x3Map shifted{.shiftX = 0.25, .shiftY = -1.5};
///     const darr_c2DArray moved = warp_MapTo(image, shifted, {}, warp_CubicInterpolation);
DATAPROCESSING_EXPORT darr_c2DArray
warp_MapTo(const darr_c2DArray& image, const warp_s2x3Map& map,
           const std::optional<grid_s2DGrid>& grid = {},
           warp_eInterpolation interpolation = warp_LinearInterpolation);

/// The image turned by `angle` about `centre`.
///
///     const darr_c2DArray turned = warp_RotateTo(image, type_Pi / 6);
DATAPROCESSING_EXPORT darr_c2DArray warp_RotateTo(
    const darr_c2DArray& image, double angle, const std::optional<pos_c2DPosition>& centre = {},
    const std::optional<grid_s2DGrid>& grid = {},
    warp_eInterpolation interpolation = warp_LinearInterpolation);

/// The image larger by two factors about `centre`. A grid says how much of it there is.
///
///     const grid_s2DGrid finer{cal_c2DArrayCal(0, 0.5, 0, 0.5, 0, 0), 1024, 1024};
///     const darr_c2DArray zoomed = warp_ResizeTo(image, 2, 2, pos_c2DPosition(0, 0), finer);
DATAPROCESSING_EXPORT darr_c2DArray warp_ResizeTo(
    const darr_c2DArray& image, double factorX, double factorY,
    const std::optional<pos_c2DPosition>& centre = {}, const std::optional<grid_s2DGrid>& grid = {},
    warp_eInterpolation interpolation = warp_LinearInterpolation);

/// The image sheared about `centre` along X, turned clockwise by `axisAngle`: Rot(-axisAngle) (1,
/// tan shearAngle / 0, 1) Rot(axisAngle). Throws expt_cProgramException ("warp_to", 4) for a right
/// angle, any whose cosine is below 1e-15.
///
///     const darr_c2DArray leaning = warp_ShearTo(image, 0.2, 0);
DATAPROCESSING_EXPORT darr_c2DArray warp_ShearTo(
    const darr_c2DArray& image, double shearAngle, double axisAngle,
    const std::optional<pos_c2DPosition>& centre = {}, const std::optional<grid_s2DGrid>& grid = {},
    warp_eInterpolation interpolation = warp_LinearInterpolation);
