#pragma once

#include <string>

#include "axis.h"
#include "figure.h"

namespace tour {

/// How much room a diagram takes: the width of the page, the same and less high, or half of it.
enum class Room { wide, low, half };

/// The diagram as an SVG element with a description. Its colours are the report's, which change
/// with the colour scheme. Curves with more elements than the picture has columns are drawn as the
/// smallest and the largest in each.
std::string drawn(const Diagram& diagram, Room room);

/// The image and a bar of its colours, as an SVG element of half the width of the page.
std::string drawn(const Panel& panel);

/// The line of a curve as it looks in a diagram, to be put beside its name; `index` is its number.
std::string swatch(const Curve& curve, std::size_t index);

/// What labels below an axis have for themselves: from where to where they may reach, and how large
/// their letters are at most.
struct LabelRoom {
    double from;
    double to;
    double em;
};

/// Ticks below a horizontal axis at `y` with labels that reach nowhere beyond their room: those at
/// its ends have their ends there (classes first and last) where letters are large, and those for
/// which there is no room then are `spare`.
std::string ticksBelow(const Axis& axis, double y, int wanted, const LabelRoom& room);

/// The beginning of the SVG element of either.
std::string opening(const char* kind, double width, double height, const std::string& description);

} // namespace tour
