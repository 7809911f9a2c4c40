#pragma once

#include <vector>

#include "lines.h"
#include "measurement.h"
#include "sample_spectrum.h"
#include "teller.h"

namespace tour {

/// What the steps of the tour share: what was measured, who tells it, and what earlier
/// steps leave for later ones.
struct Story {
    Spectrum spectrum;
    Spectrum blank;        ///< to be subtracted from the spectrum
    double blankScale = 1; ///< what the blank is multiplied with first
    bool isBlankEstimated = false;
    std::vector<KnownLine> known; ///< what is known of the spectrum's lines; often nothing
    Image scene;

    Teller& teller;

    darr_c2DArray corrected = {}; ///< the image, after its correction
    darr_c1DArray net = {};       ///< the spectrum without its background
    std::vector<Line> lines = {}; ///< those that were found; none when there is no usable peak
    std::vector<rnge_c1DRange> stretches = {}; ///< what lies between the lines

    std::vector<Line> group = {};            ///< the strongest line and those around it
    std::vector<rnge_c1DRange> windows = {}; ///< where each line of the group is summed
    darr_c1DArray peaks = {}; ///< the spectrum around the group; in the windows without
                              ///< its background
};

/// What is known of the line at a position; null where nothing is.
const KnownLine* knownAt(const Story& story, const Line& line);

/// "energy / keV"
std::string axisLabel(const Spectrum& spectrum);

/// @name The steps, each in a file of its own
/// @{
void stepTypes(Story& story);
void stepImage(Story& story);
void stepSpectra(Story& story);
void stepLines(Story& story);
void stepRanges(Story& story);
void stepPeaks(Story& story);
void stepGauss(Story& story);
void stepFrequencies(Story& story);
void stepRegistration(Story& story);
void stepPeriod(Story& story);
void stepWarp(Story& story);
void stepScan(Story& story);
void stepStreams(Story& story);
/// @}

} // namespace tour
