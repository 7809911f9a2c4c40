#pragma once

#include <vector>

#include "analysis.h"
#include "lines.h"
#include "measurement.h"
#include "sample_spectrum.h"
#include "teller.h"

namespace tour {

/// What the steps of the tour share: what was measured, who tells it, and what earlier
/// steps leave for later ones.
struct Story {
    Spectrum spectrum;
    AnalysisOptions options;      ///< of its analysis
    bool isSampleSpectrum = true; ///< which comes with a blank, and whose lines are known
    Image scene;
    bool isSampleImage = true; ///< which a model of a detector takes

    Teller& teller;

    darr_c2DArray corrected = {}; ///< the image, after its correction
    Analysis analysis = {};       ///< of the spectrum
    std::vector<Line> lines = {}; ///< those that were found, without parts of others' tails
    std::vector<rnge_c1DRange> stretches = {}; ///< what lies between the lines
};

/// The line of the sample that this one is; null where it is none.
const KnownLine* knownAt(const Story& story, const Line& line);

/// "energy / keV"
std::string axisLabel(const Spectrum& spectrum);
/// " keV", or nothing where the unit is not known.
std::string ofUnit(const Spectrum& spectrum);
/// How many decimals a position is told with.
int decimalsOf(const Spectrum& spectrum);

/// A length in the image, to a tenth of a pixel or better.
std::string lengthOf(const Image& image, double length);
/// "pixel" for "pixels", as in "per pixel"; other units are what they are.
std::string oneOf(const std::string& unit);
/// A value with two decimals, or six digits where these do not do for it.
std::string valueOf(double value);

/// @name The steps, each in a file of its own
/// @{
void stepTypes(Story& story);
void stepImage(Story& story);
void stepSpectra(Story& story);
void stepLines(Story& story);
void stepFit(Story& story);
void stepWidths(Story& story);
void stepMasks(Story& story);
void stepRanges(Story& story);
void stepPeaks(Story& story);
void stepFrequencies(Story& story);
void stepRegistration(Story& story);
void stepPeriod(Story& story);
void stepWarp(Story& story);
void stepScan(Story& story);
void stepStreams(Story& story);
/// @}

} // namespace tour
