#include "drawing/elements.h"

#include <array>
#include <charconv>

#include "drawing/markup.h"

namespace drawing {

namespace {

std::string place(std::string_view x, std::string_view y, Point point) {
    return attribute(x, coordinate(point.x)) + attribute(y, coordinate(point.y));
}

/// The tag with its attributes, without an end.
std::string tag(std::string_view name, const std::string& attributes) {
    return '<' + std::string(name) + attributes;
}

} // namespace

std::string coordinate(double value) {
    std::array<char, 400> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::fixed, 1)
                         .ptr;
    std::string result(digits.data(), end);
    if (result.ends_with(".0"))
        result.resize(result.size() - 2);
    return result == "-0" ? "0" : result;
}

std::string attribute(std::string_view name, std::string_view value) {
    return ' ' + std::string(name) + "=\"" + std::string(value) + '"';
}

std::string text(Point at, std::string_view content, std::string_view style,
                 std::string_view more) {
    return tag("text", place("x", "y", at) + attribute("class", style) + std::string(more)) + '>' +
           escaped(content) + "</text>\n";
}

std::string line(const std::vector<Point>& points) {
    std::string d;
    for (const Point& point : points)
        d += (d.empty() ? "M" : " L") + coordinate(point.x) + ' ' + coordinate(point.y);
    return d;
}

std::string path(std::string_view d, std::string_view style) {
    return tag("path", attribute("d", d) + attribute("class", style)) + "/>\n";
}

std::string box(Point corner, double width, double height, std::string_view style,
                std::string_view more) {
    return tag("rect", place("x", "y", corner) + place("width", "height", {width, height}) +
                           attribute("class", style) + std::string(more)) +
           "/>\n";
}

std::string circle(Point center, double radius, std::string_view style) {
    return tag("circle", place("cx", "cy", center) + attribute("r", coordinate(radius)) +
                             attribute("class", style)) +
           "/>\n";
}

} // namespace drawing
