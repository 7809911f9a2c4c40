#include "image_file.h"

#include <array>
#include <limits>
#include <string_view>

#include "input_error.h"
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

void requireSize(const std::string& file, long long width, long long height) {
    constexpr long long most = std::numeric_limits<int>::max();
    if (width < fewestPerSide || height < fewestPerSide || width > most / height)
        throw InputError(file + ": the image has " + std::to_string(width) + " x " +
                         std::to_string(height) + " pixels, expected " +
                         std::to_string(fewestPerSide) + " or more in each direction and " +
                         std::to_string(most) + " at most");
}

} // namespace tour
