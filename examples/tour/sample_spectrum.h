#pragma once

#include <string>
#include <vector>

#include "measurement.h"

namespace tour {

/// A line whose element is known.
struct KnownLine {
    std::string name;
    double energy; ///< keV
    double area;   ///< counts
};

/// The lines of the sample spectrum.
std::vector<KnownLine> sampleLines();

/// A sample X-ray spectrum of a steel with nickel and copper, counted by a model of a silicon
/// detector: 1800 channels of 10 eV from 0.5 keV on.
///
/// Expected counts per keV at energy E (keV):
///
///     B(E) + sum over lines of  area x normal(E - E_line, sigma(E_line))
///     B(E)          = 60000 x E^-1.6                    bremsstrahlung, a power law
///     (2.355 sigma)^2 = noise^2 + 2.355^2 x F x w x E   resolution: 60 eV of electronic noise,
///                                                       Fano factor F = 0.115, w = 3.65 eV per
///                                                       pair
///
/// and every channel has Poisson noise.
Spectrum sampleSpectrum();

/// A blank measured with another detector: the same background B(E), without lines, on wider
/// channels (40 eV) over a smaller range (1.5 to 15.5 keV), for `blankTime` times as long.
Spectrum sampleBlank();

/// How many times longer the blank was measured.
inline constexpr double blankTime = 4;

} // namespace tour
