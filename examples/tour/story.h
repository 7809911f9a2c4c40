#pragma once

#include <ostream>
#include <vector>

#include "canvas.h"
#include "lines.h"
#include "measurement.h"

namespace tour {

/// What the steps of the tour share: what was measured, where to tell and draw, and what earlier
/// steps leave for later ones.
struct Story {
    Spectrum spectrum;
    Spectrum blank;        ///< to be subtracted from the spectrum
    double blankScale = 1; ///< what the blank is multiplied with first
    bool isBlankEstimated = false;
    Image scene;

    std::ostream& text;
    Canvas& canvas;

    darr_c2DArray corrected; ///< the image, after its correction
    darr_c1DArray net;       ///< the spectrum without its background
    std::vector<Line> lines; ///< those that were found; none when there is no usable peak
};

/// @name The steps, each in a file of its own
/// @{
void stepTypes(Story& story);
void stepImage(Story& story);
void stepSpectra(Story& story);
void stepLines(Story& story);
/// @}

} // namespace tour
