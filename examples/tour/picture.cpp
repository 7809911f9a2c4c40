#include "picture.h"

#include <cmath>
#include <cstdio>

#include "markup.h"

namespace tour {

std::string coordinate(double value) {
    char text[32];
    const int length = std::snprintf(text, sizeof text, "%.1f", value);
    const std::string result(text, static_cast<std::size_t>(length));
    return result.ends_with(".0") ? result.substr(0, result.size() - 2) : result;
}

std::string label(const char* kind, double x, double y, const std::string& text) {
    return std::string("<text class=\"") + kind + "\" x=\"" + coordinate(x) + "\" y=\"" +
           coordinate(y) + "\">" + escaped(text) + "</text>\n";
}

std::string opening(const char* kind, double width, double height, const std::string& description) {
    return std::string("<svg class=\"") + kind + "\" viewBox=\"0 0 " + coordinate(width) + ' ' +
           coordinate(height) + "\" role=\"img\" aria-label=\"" + escaped(description) + "\">\n";
}

} // namespace tour
