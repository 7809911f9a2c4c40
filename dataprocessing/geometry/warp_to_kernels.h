#pragma once

/// @file
/// Interpolated sampling of an image along an affine map of element indices.

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/geometry/warp_kernels.h"
#include "dataprocessing/geometry/warp_span.h"

namespace dataprocessing::detail {

/// The index along one row of the result: x * step + start.
struct warp_sLine {
    double step;
    double start;
    double tolerance; ///< within which an index is the whole one
    double half;      ///< the nearest element is the floor of the index plus this
};

/// From the element (x, y) of the result to a real-valued index of the image along one of its axes:
/// (x * alongX) + (y * alongY + start), in this order.
struct warp_sAxisMap {
    double alongX;
    double alongY;
    double start;
    double tolerance; ///< within which an index is the whole one
};

/// What elements of a known type are interpolated as.
dtyp_cDataType warp_InterpolatedType(dtyp_cDataType stored) noexcept;

/// Fills `sizeX` by `sizeY` elements at `target`: with the nearest elements, in the image's type
/// (interpolation 0), or linear (1) and cubic (2) ones, in warp_InterpolatedType; zero where the
/// nearest element is none. Every number of the maps is finite. Nothing is allocated.
void warp_SampleTo(const warp_sImage& image, const warp_sAxisMap& mapX, const warp_sAxisMap& mapY,
                   int interpolation, int sizeX, int sizeY, void* target);

} // namespace dataprocessing::detail
