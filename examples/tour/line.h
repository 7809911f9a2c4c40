#pragma once

namespace tour {

/// A line of a spectrum, fitted. Positions and widths are in units of the axis; errors are standard
/// errors of counting, and where the width follows a law that does not hold for all, of what the
/// law is off.
struct Line {
    double position = 0;
    double seenAt = 0; ///< where it was first
    double positionError = 0;
    double width = 0; ///< full width at half maximum
    double widthError = 0;
    double height = 0; ///< counts per channel
    double heightError = 0;
    double area = 0; ///< counts
    double areaError = 0;
    /// The area over its error, which is larger by the root of `misfit` where that is more than
    /// chance makes it.
    double significance = 0;
    double misfit = 0;         ///< reduced chi-squared around the line
    bool isGiven = false;      ///< known to be exactly there
    bool isOfTails = false;    ///< what cannot be told from the tails of a stronger line
    bool isLikeAnEdge = false; ///< a step of the continuum describes the spectrum as well
    bool hasOwnWidth = false;  ///< fitted by itself; otherwise the width follows the law
};

} // namespace tour
