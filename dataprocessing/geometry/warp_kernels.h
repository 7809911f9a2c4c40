#pragma once

/// @file
/// Nearest-neighbour sampling of an image along an affine map of element indices.

#include "dataprocessing/platform/linalg.h"
#include "dataprocessing/valuemodel/dtyp.h"

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

/// Fills `sizeX` by `sizeY` elements of `type` at `target`: each is the element of the image, which
/// has elements, at the floor of the mapped position plus one half, converted, or zero outside of
/// it. Throws std::bad_alloc.
void warp_Sample(const warp_sImage& image, const warp_sMap& map, dtyp_cDataType type, int sizeX,
                 int sizeY, void* target);

} // namespace dataprocessing::detail
