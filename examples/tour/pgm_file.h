#pragma once

#include <string>

#include "measurement.h"

namespace tour {

/// Reads a PGM image, plain (P2) or binary (P5), as unsigned 8- or 16-bit values. Memory grows with
/// the pixels that are really there, whatever the header claims. Throws InputError with file and
/// line; for binary pixels that is the line at which they start.
Image readPgm(const std::string& file);

} // namespace tour
