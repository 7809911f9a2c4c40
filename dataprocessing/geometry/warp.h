#pragma once

/// @file
/// Images mapped through 2 x 2 linear maps: resized, sheared, flipped and rotated.
///
/// What follows holds for all functions here.
///
/// **Equal deltas first.** Maps act on elements as they are laid out. Where the image's two deltas
/// differ, what is turned, sheared or mirrored at a slanted line is not the picture that the
/// calibration describes. Rescale it first:
///
///     const double d = std::min(image.Cal().X().Delta(), image.Cal().Y().Delta());
///     const darr_c2DArray even = warp_Rescale(image, d, d);
///
/// **Map.** A matrix M acts on column vectors (x, y) of calibrated positions; the calibration's
/// origin (offset X, offset Y) stays where it is. Angles are in radians, Rot(t) = (cos t, -sin t /
/// sin t, cos t).
///
/// **Result.** It covers the upright box around the mapped range, in floor(extent / delta + 0.5)
/// elements along each axis, with the image's deltas (unless a function sets others). Its
/// calibration is that of the image with new calibration indices when the box contains the origin,
/// and else offsets at the box's left and bottom with indices 0. Where a function then sets other
/// deltas, positions keep their place in the first case and only distances do in the second.
///
/// **Sampling** is nearest neighbour, by the inverse map N of M on element indices: element (x, y)
/// of the result is element (floor(N00 x + N01 y + t0 + 0.5), floor(N10 x + N11 y + t1 + 0.5)) of
/// the image, evaluated in double in that order, and zero where that lies outside the image. Values
/// are copied, never interpolated. The deltas play no part in N.
///
/// **Types.** Integer images become single precision; floating and complex ones keep their type. A
/// map that is exactly the identity copies the image, or selects the range by rnge_IndexNearest, in
/// the image's own type.
///
/// **Empty images** give an image without elements.
///
/// **Errors.** A size of the result that is negative, not finite, or makes more than 2^31-1
/// elements: the size error, before anything is allocated (a delta that is not positive comes to
/// one of these, and so does a range with a bound that is NaN; where nothing is rotated, that is
/// the index error). A matrix that cannot be inverted:
/// expt_cUserException ("linalg", 157, expt_InvertSingularMatrix). An unknown element type:
/// expt_cProgramException ("Warp", 93).

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/rnge.h"

/// The image on other deltas: M = diag(delta X of the image / deltaX, delta Y / deltaY), and the
/// result has the deltas given. A copy when the image has them already. Throws
/// expt_cProgramException ("Warp", 202) when the magnitude of a delta is below the smallest normal
/// double.
DATAPROCESSING_EXPORT darr_c2DArray warp_Rescale(const darr_c2DArray& image, double deltaX,
                                                 double deltaY);

/// The image larger by two factors: M = diag(factorX, factorY). A copy when both are exactly 1.
/// Throws expt_cProgramException ("Warp", 229) when the magnitude of a factor is below the smallest
/// normal double.
DATAPROCESSING_EXPORT darr_c2DArray warp_Resize(const darr_c2DArray& image, double factorX,
                                                double factorY);

/// The image sheared along an axis: M = Rot(-axisAngle) (1, tan shearAngle / 0, 1) Rot(axisAngle).
/// A copy when the magnitude of the shear angle is below the smallest normal double. Throws
/// expt_cProgramException ("Warp", 251) when the shear angle is exactly type_Pi / 2 or 3 type_Pi /
/// 2; no other angle is refused.
DATAPROCESSING_EXPORT darr_c2DArray warp_Shear(const darr_c2DArray& image, double shearAngle,
                                               double axisAngle);

/// The image reflected across an axis through the calibration's origin: M = Rot(-angle) diag(-1, 1)
/// Rot(angle). The axis is Y, turned clockwise by `angle`: 0 mirrors X, pi / 2 mirrors Y, and pi /
/// 4 swaps the two.
DATAPROCESSING_EXPORT darr_c2DArray warp_FlipAxis(const darr_c2DArray& image, double angle);

/// The image reflected at the calibration's origin: M = diag(-1, -1).
DATAPROCESSING_EXPORT darr_c2DArray warp_FlipPoint(const darr_c2DArray& image);

/// The image rotated counter-clockwise about the calibration's origin, as far as the upright box
/// around the rotated `range` shows it: what lies in that box is there also where it comes from
/// outside of the range. An angle of exactly 0 selects the range alone. rnge_c2DRange::Null, that
/// very object, means the whole image.
///
/// The deltas of the result are those at which rotated rows or columns meet the grid: with a =
/// |angle|, or | |angle| - pi | when that is above pi / 2, and c = atan(delta Y / delta X), they
/// are (cos a x delta X, cos a x delta Y) when a < c, and (sin a x delta Y, sin a x delta X)
/// otherwise. M = Rot(angle) diag(delta X / new delta X, delta Y / new delta Y). That is meant for
/// angles from -pi to pi: towards a whole turn sin a, and with it the deltas, vanish, which ends in
/// the size error, and beyond it they are negative. Give std::remainder(angle, 2 * type_Pi).
///
///     const darr_c2DArray turned = warp_Rotate(image, type_Pi / 6, rnge_c2DRange::Null);
DATAPROCESSING_EXPORT darr_c2DArray warp_Rotate(const darr_c2DArray& image, double angle,
                                                const rnge_c2DRange& range);
