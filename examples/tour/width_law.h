#pragma once

#include <span>

namespace tour {

/// How the square of a line's full width at half maximum grows along the axis:
/// square + slope (x - reference).
struct WidthLaw {
    double square = 1;
    double slope = 0;
    double reference = 0;
    double squareError = 0;
    double slopeError = 0;
    double reducedChiSquared = 0; ///< of the widths that it was fitted to
    int lines = 0;                ///< how many of these hold to it
    int outliers = 0;             ///< how many do not

    /// The full width at half maximum.
    double At(double x) const;
};

/// A width that was found.
struct Width {
    double position;
    double value;
    double error;
};

/// Whether widths lie far enough from each other to tell how they grow along the axis.
bool canTellSlope(std::span<const Width> widths);

/// How many errors a width is off at most that holds to a law.
inline constexpr double farthestFromLaw = 3;

/// The law of some widths: a straight line through their squares where there are three and more
/// over some range of widths, otherwise one of the slope of `law`. Where it does not hold,
/// what is off by more than `farthestFromLaw` errors is left out, one after the other, what is
/// wider first, as long as most are not. Without widths it is `law`.
WidthLaw lawOf(std::span<const Width> widths, const WidthLaw& law);

/// 2 sqrt(2 ln 2): the full width at half maximum of a Gaussian of standard deviation 1.
inline constexpr double fullWidthPerSigma = 2.3548200450309493;

/// The slope of silicon detectors, in eV: 2.355^2 x Fano factor 0.115 x 3.65 eV per pair.
inline constexpr double slopeOfSilicon = fullWidthPerSigma * fullWidthPerSigma * 0.115 * 3.65;

} // namespace tour
