#pragma once

#include <string>

#include "measurement.h"

namespace tour {

/// Reads a spectrum: one count per line, or "x,y" lines with x evenly spaced; `#` starts a comment.
/// Whole counts become the smallest unsigned type that holds them all, others doubles. Throws
/// InputError with file and line.
Spectrum readSpectrum(const std::string& file);

} // namespace tour
