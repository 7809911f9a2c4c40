#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "dataprocessing/dataprocessing.h"

namespace tour {

/// How a curve is drawn.
enum class Style { lines, dots, points };

/// From where to where a value may be, at one place along x.
struct Bar {
    double x;
    double low;
    double high;
};

/// One curve of a diagram.
struct Curve {
    std::string name;
    darr_c1DArray values;
    Style style = Style::lines;
    std::vector<Bar> bars = {}; ///< of its errors
};

/// A position along x that has a name. Where there is no room for all names, those at higher
/// places of the first curve have them.
struct Mark {
    double x;
    std::string text;
};

/// What surrounds the curves of a diagram.
struct Frame {
    std::string title;
    std::string x;
    std::string y;
    bool isLogarithmic = false;
    std::vector<Mark> marks = {};
    std::vector<rnge_c1DRange> bands = {}; ///< shaded over the whole height
    rnge_c1DRange view = {};               ///< what is shown of x; the zero range: everything
};

/// Curves in a frame.
struct Diagram {
    Frame frame;
    std::vector<Curve> curves;
};

/// A line over an image.
using Path = std::vector<pos_c2DPosition>;

/// One image of a figure, with the name of its values. Row 0 is at the top.
struct Panel {
    std::string title;
    std::reference_wrapper<const darr_c2DArray> values; // large: drawn where it stands
    std::string quantity;
    std::string unit; ///< of both axes
    std::vector<Path> paths = {};
    bool isFullRange = false; ///< whether the colours reach from the smallest to the largest value,
                              ///< and not from the first to the 99th percentile
};

using Part = std::variant<Panel, Diagram>;

/// Pictures that belong together, with what they show.
struct Figure {
    std::string caption;
    std::vector<Part> parts;
};

} // namespace tour
