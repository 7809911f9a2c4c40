#pragma once

// What several pictures are made of.

#include <string_view>

#include "dataprocessing/dataprocessing.h"
#include "svg.h"

/// Where values of one axis lie on the picture.
struct Axis {
    double first = 0; ///< a value
    double firstPx = 0;
    double perUnit = 1; ///< pixels per unit, negative for an axis that runs upwards

    double Px(double value) const { return firstPx + (value - first) * perUnit; }
};

/// The elements of an array as a row of cells at their positions, with their values.
void drawRow(Picture& picture, const Axis& x, double top, const darr_c1DArray& array,
             std::string_view label);

/// The elements of an image at their positions; the largest value is the strongest.
void drawImage(Picture& picture, const Axis& x, const Axis& y, const darr_c2DArray& image);

/// The elements of an array as steps.
void drawSteps(Picture& picture, const Axis& x, const Axis& y, const darr_c1DArray& array,
               std::string_view style);

/// A line with ticks and their values below it.
void drawTicks(Picture& picture, const Axis& x, double top, double from, double step, int count);
