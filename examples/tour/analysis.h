#pragma once

#include <optional>
#include <vector>

#include "dataprocessing/dataprocessing.h"
#include "line.h"
#include "width_law.h"

namespace tour {

/// What an analysis starts from.
struct AnalysisOptions {
    std::optional<Width> resolution = {}; ///< the width of a line somewhere
    std::vector<double> lines = {};       ///< where lines are known to be, exactly
    /// Of the squares of the widths, until lines tell it. That of a detector, of which lines have
    /// at least the width that it makes by itself: where they are narrower by far it is not used.
    double slope = 0;
    double significance = 5; ///< what a line has at least
};

/// What a spectrum is made of.
struct Analysis {
    std::vector<Line> lines;               ///< by position
    std::vector<rnge_c1DRange> structures; ///< wider than lines: a part of the background
    darr_c1DArray background;              ///< in counts per channel, as is the next
    darr_c1DArray model;                   ///< lines and background
    darr_c1DArray residuals;               ///< in units of the noise
    WidthLaw law;                          ///< of the widths
    std::vector<Width> widths; ///< of the lines that are strong enough to have one by themselves
    bool hasLaw = false;       ///< whether all widths follow the law
    bool hasMaxima = false;    ///< whether clear maxima told the first width
    bool isOfCounts = true;    ///< whether the noise is that of counting
    double excessOfNoise = 1;  ///< how many times as much as counts what is taken for them scatters
    double noise = 0;          ///< otherwise the standard deviation of a value
    double reducedChiSquared = 0; ///< of the fit
    int degreesOfFreedom = 0;
    double chiSquaredBetween = 0; ///< reduced, of what lies between the lines
    int channelsBetween = 0;
    rnge_c1DRange widestGap; ///< where there are none of these
    /// How much more these channels scatter than counts do, in standard deviations.
    double excessScatter = 0;
    int rounds = 0;           ///< of looking for lines
    bool isFull = false;      ///< whether there may be more lines than are looked for
    bool isSettled = false;   ///< whether the last round changed nothing
    bool isConverged = false; ///< whether the last fit did
    int splines = 0;          ///< how many curves the background is made of

    /// Whether the background is one: whether what lies between the lines scatters about it as its
    /// noise does.
    bool HasBackground() const { return channelsBetween > 0 && chiSquaredBetween <= 2; }
    /// Whether what lies between the lines scatters less than any counts do.
    bool IsTooSmooth() const { return isOfCounts && excessScatter < -5; }
};

/// Finds the lines of a spectrum and fits them together with the background under them.
///
/// Lines are looked for in what the spectrum has above all that is known of it - at first above a
/// clipped background - where it stands out of the noise over the width of a line. They are fitted
/// together with a background, a sum of splines (see Continuum), by the likelihood of the counts;
/// those that are not significant then go. Widths of strong lines, fitted by themselves, tell the
/// law that all others follow. That is repeated until nothing changes.
///
/// Values that are no counts are fitted by least squares; their noise is told by neighbours.
Analysis analysed(const darr_c1DArray& spectrum, const AnalysisOptions& options);

} // namespace tour
