#pragma once

#include "measurement.h"

namespace tour {

/// A reference for a spectrum that comes alone: its background, estimated by peak clipping, on
/// channels four times as wide over the middle nine tenths of its range.
///
/// Peak clipping replaces each value by the mean of those at a distance w to its left and right
/// where that mean is smaller, for w from a fiftieth of the spectrum down to 1; done on
/// log(log(y + 1) + 1), so that weak peaks count beside strong ones.
Spectrum estimatedBackground(const Spectrum& spectrum);

} // namespace tour
