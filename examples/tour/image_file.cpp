#include "image_file.h"

#include <array>
#include <string_view>

#include "input_file.h"
#include "pgm_file.h"
#include "png_file.h"
#include "tiff_file.h"

namespace tour {

Image readImage(const std::string& file) {
    using namespace std::string_view_literals;
    std::array<char, 4> bytes{};
    const auto count = openInput(file).rdbuf()->sgetn(bytes.data(), bytes.size());
    const std::string_view begin(bytes.data(), static_cast<std::size_t>(count));
    if (begin == "\x89PNG"sv)
        return readPng(file);
    if (begin == "II*\0"sv || begin == "MM\0*"sv || begin == "II+\0"sv || begin == "MM\0+"sv)
        return readTiff(file);
    return readPgm(file);
}

} // namespace tour
