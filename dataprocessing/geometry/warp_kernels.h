#pragma once

/// @file
/// Nearest-neighbour sampling of an image along an affine map of element indices.

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/base/linalg.h"

namespace dataprocessing::detail {

/// The map from elements of the result to elements of the image.
struct warp_sMap {
    linalg_c2x2Matrix<double> matrix;
    double shiftX;
    double shiftY;
};

/// Stored elements of a known type, row after row.
struct warp_sImage {
    const void* data;
    dtyp_cDataType type;
    int sizeX;
    int sizeY;
};

/// The map along one row of the result: what each column contributes, and what all of them have.
struct warp_sRow {
    const double* productX;
    const double* productY;
    double addendX;
    double addendY;
    double shiftX;
    double shiftY;
};

/// Fills `sizeX` by `sizeY` elements at `target`, which hold single precision for an image of
/// integers and its own type for another: each is the element of the image at the floor of the
/// mapped position plus one half, and zero outside of the image. Nothing is allocated.
void warp_Sample(const warp_sImage& image, const warp_sMap& map, int sizeX, int sizeY,
                 void* target);

} // namespace dataprocessing::detail
