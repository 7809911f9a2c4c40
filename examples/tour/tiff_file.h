#pragma once

#include <string>

#include "measurement.h"

namespace tour {

/// Reads the first image of a TIFF file: grey values of unsigned 8 or 16 bits, or single precision.
/// Throws InputError.
Image readTiff(const std::string& file);

} // namespace tour
