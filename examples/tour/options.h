#pragma once

#include <optional>
#include <string>
#include <vector>

#include "width_law.h"

namespace tour {

/// Two numbers of an option.
struct Pair {
    double first;
    double second;
};

/// What the command line asks for. An empty file name means the sample.
struct Options {
    std::string spectrum;
    std::string image;
    std::string out = "tour-out";
    std::string unit;                ///< "keV", "eV", "channel", or what the file says
    std::optional<Pair> calibration; ///< the position of the first channel, and the step
    std::optional<Width> resolution; ///< the full width of a line at half maximum
    std::optional<Pair> range;       ///< what of the axis is analysed
    std::vector<double> lines;       ///< where lines are known to be
    std::optional<double> pixel;     ///< the size of a pixel
    std::string pixelUnit;
    bool help = false;
};

/// Reads the arguments after the program's name; throws InputError.
Options parseOptions(int count, const char* const* arguments);

/// What --help prints.
extern const char usage[];

} // namespace tour
