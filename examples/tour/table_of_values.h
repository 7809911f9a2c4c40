#pragma once

#include <optional>
#include <string>
#include <vector>

#include "measurement.h"
#include "text_file.h"

namespace tour {

/// What a file holds: values, and where it says so, where they lie.
struct Values {
    std::vector<double> x; ///< empty, or as many as there are y
    std::vector<double> y;
    std::vector<Place> places; ///< where the first number of each point stands
    std::string axis;          ///< empty where nothing is said
    std::string unit;          ///< likewise
    std::optional<cal_c1DArrayCal> calibration = {};
    std::vector<std::string> remarks = {};

    /// Adds a value; its point stands in that column of the line that the file is at.
    void Add(double value, const TextFile& file, std::size_t column);
};

/// The spectrum that the values are: on a calibrated axis where there are positions or a
/// calibration, on channels otherwise. Fails where positions are not evenly spaced, or where there
/// are too few values.
Spectrum spectrumOf(Values values, const TextFile& file);

/// The unit as the tour knows it: "keV" for "KEV"; others as they are.
std::string knownUnit(std::string_view unit);

} // namespace tour
