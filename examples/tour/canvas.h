#pragma once

#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include "dataprocessing/dataprocessing.h"

namespace tour {

/// How a curve is drawn.
enum class Style { lines, dots };

/// One curve of a diagram.
struct Curve {
    std::string name;
    darr_c1DArray values;
    Style style = Style::lines;
};

/// A position along x that has a name.
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

/// One image of a picture, with the name of its values.
struct Panel {
    std::string title;
    darr_c2DArray values;
    std::string quantity;
    std::vector<Path> paths = {};
    bool isFullRange = false; ///< whether the colours reach from the smallest to the largest value,
                              ///< and not from the first to the 99th percentile
};

/// One field of a picture that has several.
using Tile = std::variant<Panel, Diagram>;

/// Draws pictures into the current directory with gnuplot. Where gnuplot is missing nothing is
/// drawn.
class Canvas {
public:
    /// Pictures are announced on `text` under the name of `directory`.
    Canvas(std::ostream& text, std::string directory);

    /// Whether pictures can be drawn.
    bool IsThere() const { return isThere_; }

    /// Draws the curves into one diagram, over the positions of their elements. Curves with more
    /// elements than the picture has columns are drawn as the smallest and the largest in each.
    void DrawCurves(const std::string& file, const Frame& frame, const std::vector<Curve>& curves);

    /// Draws one diagram above the other, the first twice as high as the second.
    void DrawPair(const std::string& file, const Diagram& upper, const Diagram& lower);

    /// Draws images and diagrams in two columns. Images have row 0 at the top and both axes in
    /// `unit`.
    void DrawTiles(const std::string& file, const std::vector<Tile>& tiles,
                   const std::string& unit);

private:
    void Run(const std::string& file, const std::string& script);

    std::ostream& text_;
    std::string directory_;
    bool isThere_;
};

} // namespace tour
