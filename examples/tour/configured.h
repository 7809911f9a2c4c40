#pragma once

#include "measurement.h"
#include "options.h"

namespace tour {

/// The spectrum on the axis that the options ask for, and of it the range that they name. Throws
/// InputError where that cannot be.
Spectrum configured(Spectrum spectrum, const Options& options);

/// The image with the pixels that the options ask for.
Image configured(Image image, const Options& options);

} // namespace tour
