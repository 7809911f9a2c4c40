#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace tour {

using Colour = std::array<std::uint8_t, 3>;

/// A PNG image, as an address that holds all of it: "data:image/png;base64,...". Each pixel is the
/// number of its colour.
std::string pngAddress(int width, int height, std::span<const std::uint8_t> pixels,
                       const std::array<Colour, 256>& colours);

} // namespace tour
