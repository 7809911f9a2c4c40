#pragma once

#include "description.h"

namespace tour {

/// What a line more would have beside all that is fitted.
struct FurtherLine {
    double height = 0;
    double significance = 0; ///< the height over its standard error
};

/// A further line at this position, by a linear fit of what the model leaves: with this line, and
/// with what lines and splines around it would change if all were fitted anew. Lines that hide each
/// other, which the mean over a line's shape cannot show, stand out of that.
FurtherLine furtherLine(const Description& description, double position);

/// Whether a step of the continuum, smeared by a line's width as an absorption edge is, describes
/// the spectrum as well as a line that was fitted.
bool isLikeAnEdge(const Description& description, const Line& line);

} // namespace tour
