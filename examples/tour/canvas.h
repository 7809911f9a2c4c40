#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "dataprocessing/dataprocessing.h"

namespace tour {

/// One curve of a diagram.
struct Curve {
    std::string name;
    darr_c1DArray values;
};

/// What surrounds the curves of a diagram.
struct Frame {
    std::string title;
    std::string x;
    std::string y;
    bool isLogarithmic = false;
};

/// One image of a picture, with the name of its values.
struct Panel {
    std::string title;
    darr_c2DArray values;
    std::string quantity;
};

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

    /// Draws the images in two columns, row 0 at the top, both axes in `unit`. The colours reach
    /// from the first to the 99th percentile of the values.
    void DrawImages(const std::string& file, const std::vector<Panel>& panels,
                    const std::string& unit);

private:
    void Run(const std::string& file, const std::string& script);

    std::ostream& text_;
    std::string directory_;
    bool isThere_;
};

} // namespace tour
