#pragma once

#include <string>

#include "measurement.h"

namespace tour {

/// Reads a PNG image as unsigned 8- or 16-bit grey values. Colours become their luminance, and what
/// shines through becomes black. Throws InputError.
Image readPng(const std::string& file);

} // namespace tour
