#include "png_address.h"

#include <png.h>

#include <cstring>
#include <new>
#include <string_view>
#include <vector>

namespace tour {

namespace {

std::string base64(std::span<const png_byte> bytes) {
    constexpr std::string_view digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(bytes.size() / 3 * 4 + 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? digits[group >> (18 - 6 * k) & 0x3f] : '=';
    }
    return text;
}

} // namespace

std::string pngAddress(int width, int height, std::span<const std::uint8_t> pixels,
                       const std::array<Colour, 256>& colours) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGB_COLORMAP;
    image.colormap_entries = static_cast<png_uint_32>(colours.size());
    std::vector<png_byte> file(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = file.size();
    if (png_image_write_to_memory(&image, file.data(), &size, 0, pixels.data(), 0,
                                  colours.data()) == 0)
        throw std::bad_alloc();
    return "data:image/png;base64," + base64(std::span(file).first(size));
}

} // namespace tour
