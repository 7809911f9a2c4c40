#pragma once

// A picture as a page of scalable vector graphics, legible on light and on dark pages.

#include <string>
#include <string_view>
#include <vector>

#include "drawing/elements.h"

using drawing::Point;

/// How a text lies to its point.
enum class Anchor { Start, Middle, End };

/// Coordinates are pixels, y downwards. Colours are names of styles: "ink", "faint", "blue",
/// "orange" for lines and texts; "cell", "zero", "band", "box" for areas.
class Picture {
public:
    Picture(int width, int height, std::string_view title);

    void Text(Point point, std::string_view text, Anchor anchor = Anchor::Start,
              std::string_view style = "ink");
    /// A text in the type of code.
    void Code(Point point, std::string_view text, Anchor anchor = Anchor::Start,
              std::string_view style = "ink");
    void Line(const std::vector<Point>& points, std::string_view style);
    void Arrow(Point from, Point to, std::string_view style);
    void Area(const std::vector<Point>& corners, std::string_view style);
    void Box(Point corner, double width, double height, std::string_view style);
    /// An element of an image: the stronger, the larger its value between 0 and 1.
    void Element(Point corner, double width, double height, double value);
    void Dot(Point center, double radius, std::string_view style);
    void Ring(Point center, double radius, std::string_view style);

    /// Writes NAME.svg.
    void Save(const std::string& folder, const std::string& name) const;

private:
    void Write(Point point, std::string_view text, Anchor anchor, std::string_view style);

    int width_;
    int height_;
    std::string title_;
    std::string body_;
};

/// The number in the shortest form that reads back to it.
std::string plain(double value);
