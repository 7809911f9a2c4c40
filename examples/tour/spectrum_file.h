#pragma once

#include <string>

#include "measurement.h"

namespace tour {

/// Reads a spectrum. Whole counts become the smallest unsigned type that holds them all, others
/// doubles. Throws InputError with file, line and column. It is one of
///
/// - columns: one value per line, or "x,y" with x evenly spaced, between commas, semicolons or
///   blanks. A first line of names may tell the axis and its unit, "energy / keV, counts" or
///   "energy (keV)"; everything from a # to the end of a line is a comment.
/// - the EMSA/MAS format for the exchange of spectra, of which a file is that begins with #FORMAT.
Spectrum readSpectrum(const std::string& file);

} // namespace tour
