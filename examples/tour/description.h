#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "continuum.h"
#include "dataprocessing/dataprocessing.h"
#include "line.h"
#include "significance.h"
#include "width_law.h"

namespace tour {

/// Which widths a fit may change: none, those of lines that are strong and single, or all by the
/// law that they follow.
enum class Widths { fixed, strongFree, ofLaw };

/// Counts per channel; the likelihood wants more than none.
inline constexpr double leastBackground = 1e-3;

/// Of chi-squared, to which a fit goes while lines come and go.
inline constexpr double roundTolerance = 1e-6;

/// Whether a line tells of widths, if not alone.
bool isClear(const Line& line);

/// Whether a line stands where a fit has kept it, and not where it is.
bool isAtItsBound(const Line& line);

/// What a spectrum is taken to be made of, and the fit of that.
class Description {
public:
    Description(const darr_c1DArray& spectrum, const Noise& ofSpectrum);

    /// A clipped background, in which nothing is as narrow as a line: where a first look finds
    /// lines, and where the factors of the continuum start.
    void StartBackground();
    /// The continuum for the law, with factors that make it the background so far.
    void LayContinuum();
    /// Fits all lines and the background together, and judges the lines. A line moves by part
    /// of its width at most.
    void Fit(Widths widths, double tolerance);
    /// So, and what has moved as far as that goes on from there.
    void FitFreely(Widths widths, double tolerance);

    /// Whether a line tells its width by itself.
    bool IsStrong(const Line& line) const;
    /// Whether the lines tell the slope of a law that all follow.
    bool TellSlope() const;
    /// What the background is a sum of.
    const std::vector<darr_c1DArray>& Curves() const { return continuum_.curves; }
    /// Where a position lies among the channels.
    double IndexOf(double position) const { return (position - cal.Position(0)) / delta; }
    double ChiSquared() const { return fit.fit.chiSquared; }
    /// What the description costs: chi-squared, and what its parameters would lower it by chance.
    double Cost() const { return ChiSquared() + 2 * static_cast<double>(fit.fit.free); }
    /// Whether this and all copies of it have been fitted for so long, or for so long to so little
    /// avail, that looking on is no use: what is not made of lines always has place for one more.
    bool IsExhausted() const;
    /// The background there, a little at least.
    double LevelAt(double position) const;

    darr_c1DArray values;
    cal_c1DArrayCal cal;
    double delta; ///< of a channel
    Noise noise;
    WidthLaw law;
    std::vector<Line> lines;
    std::vector<rnge_c1DRange> structures; ///< wider than lines, and a part of the background
    darr_c1DArray model;
    darr_c1DArray background;
    pkmd_sResult fit;
    std::size_t ofLaw = 0; ///< where the parameters of the law are, of a fit that has one
    int splines = 0;

private:
    pkmd_cModel ModelFor(Widths widths);
    void TakeLines(Widths widths);
    void Judge();
    std::vector<rnge_c1DRange> UnderLines() const;

    Continuum continuum_;
    std::vector<double> factors_;                                      // of the continuum's curves
    std::shared_ptr<double> operations_ = std::make_shared<double>(0); // of all fits, about
};

} // namespace tour
