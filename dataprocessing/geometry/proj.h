#pragma once

/// @file
/// Images averaged to profiles.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/rnge.h"

/// The image averaged across a rotated rectangle: the part inside `range` is turned upright by
/// warp_Rotate (by minus the range's angle), and the profile is the mean of its rows, along the
/// rectangle's length. Its calibration is that of the turned image's X axis with offset 0. A single
/// row is returned as it is. rnge_c2DRange::Null, that very object, means the whole image.
///
/// Rows are added in order by the arithmetic of arrays and divided by their number in single
/// precision. So the profile of integers is single precision, except that a single row of a range
/// at angle 0 keeps the image's type. At that angle integers are added as integers, so the sum of a
/// column wraps where it leaves int32 (of uint32: where it leaves uint32); convert the image to
/// double first where it can. What lies outside the image counts as zero.
///
/// **Equal deltas first**, as for warp_Rotate: an image whose deltas differ is turned as its
/// elements are laid out and not rescaled, so that the profile is right at an angle of exactly 0
/// only. Bring it to equal deltas d over the same positions:
///
///     const grid_s2DGrid even{cal_c2DArrayCal(left, d, bottom, d, 0, 0), columns, rows};
///     const darr_c1DArray profile = proj_Project(warp_MapTo(image, {}, even), range);
///
/// Deltas have to be positive.
///
/// Where the profile begins: at 0 where the range is turned and the image's calibration origin does
/// not lie in it; otherwise the origin is at 0. The distance from the first element is the position
/// less Cal().Position(0).
///
/// Throws what warp_Rotate throws, and the index error when the turned image has no row.
DATAPROCESSING_EXPORT darr_c1DArray proj_Project(const darr_c2DArray& image,
                                                 const rnge_c2DRange& range);

/// The profile from (x1, y1) to (x2, y2), averaged over `width` across that line: proj_Project over
/// the rectangle centred on the segment's middle, as long as the segment and turned along it.
/// Swapping the ends takes the profile the other way; each starts with the element at its own first
/// point. It may be a mean of other rows, by one, because a place halfway between two rows goes to
/// the upper one of the turned image: with width 1 along X to the right that is the row at y, and
/// back the one above it. Its length is that of the segment, rounded to whole elements of the
/// refined delta. An image needs **equal deltas first**, and where the profile begins is told
/// there, too. Equal points give a profile without elements. A negative width does what its
/// magnitude does, except along X to the right, where it has no row. Throws what proj_Project
/// throws.
DATAPROCESSING_EXPORT darr_c1DArray proj_LineScan(const darr_c2DArray& image, double x1, double y1,
                                                  double x2, double y2, double width);
