#include "dataprocessing/base/str.h"

#include <cstddef>
#include <ostream>
#include <string_view>
#include <utility>

const str_cString str_cString::Null;

str_cString::str_cString(const char* text) : text_(text != nullptr ? text : "") {}
str_cString::str_cString(std::string text) noexcept : text_(std::move(text)) {}
str_cString::str_cString(std::string_view text) : text_(text) {}

std::ostream& operator<<(std::ostream& stream, const str_cString& text) {
    return stream << std::string_view(text.Text(), static_cast<std::size_t>(text.Length()));
}
