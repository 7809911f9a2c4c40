#pragma once

#include "dataprocessing/dataprocessing.h"

namespace tour {

/// What a detector delivers for one scene, and what it takes to correct it. All are unsigned
/// 16-bit counts on the calibration of the scene.
struct Frames {
    darr_c2DArray raw;  ///< one exposure of the scene
    darr_c2DArray dark; ///< mean of 16 exposures without light
    darr_c2DArray flat; ///< mean of 16 exposures under even light
};

/// The counts that the brightest point of a scene should have, and those of the even light.
inline constexpr double fullScale = 20000;

/// Exposes `scene`, in expected counts, to a model of a detector:
///
///     raw = Poisson(scene x gain) + dark + normal noise of 6 counts, rounded
///
/// The gain differs by 2 % from pixel to pixel and by up to 10 % between the four amplifiers side
/// by side, falls by 30 % towards the corners and is low under specks of dust. The dark level is
/// 800, differs from column to column and from pixel to pixel, glows in one corner, and 1 pixel in
/// 2000 is hot.
Frames expose(const darr_c2DArray& scene);

} // namespace tour
