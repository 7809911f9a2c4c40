#include "input_error.h"

namespace tour {

InputError::InputError(const std::string& file, Place place, const std::string& problem)
    : std::runtime_error(file + ":" + std::to_string(place.line) + ":" +
                         std::to_string(place.column) + ": " + problem) {}

std::string printable(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = '?';
    return result;
}

std::string quoted(std::string_view text, std::size_t length) {
    return '\'' + printable(text.substr(0, length)) + (text.size() > length ? "...'" : "'");
}

} // namespace tour
