#pragma once

#include "measurement.h"

namespace tour {

/// A sample scene for the detector: the diffraction rings of a powder, in expected counts per
/// pixel, on 480 x 400 pixels of 0.1 mm.
///
///     diffuse + sum over rings of  height x exp(-(r - radius)^2 / (2 width^2)),  r in mm from the
///     beam, behind a round beam stop on a holder that lets 4 % through
Image sampleImage();

} // namespace tour
