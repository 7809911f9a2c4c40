#pragma once

// Elements of scalable vector graphics. Coordinates are pixels, y downwards; a style is a class of
// the style sheet that the picture or its page has.

#include <string>
#include <string_view>
#include <vector>

namespace drawing {

struct Point {
    double x = 0;
    double y = 0;
};

/// The number to a tenth, so that a picture does not depend on a last bit.
std::string coordinate(double value);
/// ` name="value"`, with the value as it is.
std::string attribute(std::string_view name, std::string_view value);

/// A text at a point; `more` holds further attributes.
std::string text(Point at, std::string_view content, std::string_view style,
                 std::string_view more = "");
/// What a path's d is for a line through the points.
std::string line(const std::vector<Point>& points);
std::string path(std::string_view d, std::string_view style);
std::string box(Point corner, double width, double height, std::string_view style,
                std::string_view more = "");
std::string circle(Point center, double radius, std::string_view style);

} // namespace drawing
