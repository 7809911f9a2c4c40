#pragma once

#include <string>

#include "measurement.h"

namespace tour {

/// Reads an image of grey values: PGM, PNG (8 or 16 bit) or TIFF (8 or 16 bit, or float), which the
/// first bytes of the file tell. Throws InputError with the file, and where it has lines the line.
Image readImage(const std::string& file);

/// An image has at least so many pixels in each direction.
inline constexpr long long fewestPerSide = 4;

/// Throws InputError for a size that no image here has: less than that, or more pixels than an
/// array has elements.
void requireSize(const std::string& file, long long width, long long height);

} // namespace tour
