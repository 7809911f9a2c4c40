#include "configured.h"

#include <cmath>
#include <cstdio>
#include <string>

#include "input_error.h"

namespace tour {

namespace {

constexpr int fewestChannels = 16;
constexpr int mostChannels = 1 << 14; // the time grows with their third power

std::string withUnit(double value, const std::string& unit) {
    char text[64];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text + (unit.empty() ? "" : " " + unit);
}

/// eV where there are keV, or the other way round.
void convert(Spectrum& spectrum, const std::string& unit) {
    const double factor = unit == "eV" ? 1000 : 0.001;
    const cal_c1DArrayCal& cal = spectrum.counts.Cal();
    spectrum.counts.SetCal(cal_c1DArrayCal(factor * cal.Position(0), factor * cal.Delta(), 0));
}

void setUnit(Spectrum& spectrum, const Options& options) {
    const bool hasAxis = options.calibration || spectrum.axis != "channel";
    if (options.unit == "channel") {
        if (!options.calibration)
            spectrum.counts.SetCal({});
        spectrum.axis = "channel";
        spectrum.unit.clear();
        return;
    }
    if (!hasAxis)
        throw InputError("--unit " + options.unit +
                         " needs a calibration, and the file has none: --calibration "
                         "OFFSET,DELTA");
    if (!options.calibration && spectrum.IsOfEnergy() && spectrum.unit != options.unit)
        convert(spectrum, options.unit);
    spectrum.unit = options.unit;
    spectrum.axis = "energy";
}

void select(Spectrum& spectrum, const Pair& range) {
    const rnge_c1DRange whole = spectrum.counts.Range();
    const rnge_c1DRange part = rnge_c1DRange(range.first, range.second) & whole;
    const darr_c1DArray counts =
        part.Length() > 0 ? spectrum.counts.Selection(part, rnge_IndexCeiling) : darr_c1DArray();
    if (counts.Size() < fewestChannels)
        throw InputError("--range has " + std::to_string(counts.Size()) +
                         " channels of the spectrum, which reaches from " +
                         withUnit(whole.Start(), "") + " to " +
                         withUnit(whole.End(), spectrum.unit) + "; expected " +
                         std::to_string(fewestChannels) + " or more");
    const cal_c1DArrayCal cal(counts.Cal().Position(0), counts.Cal().Delta(), 0);
    spectrum.counts = counts;
    spectrum.counts.SetCal(cal);
}

/// The width is one on this spectrum, and where it is so is not far away from it.
void requireResolution(const Spectrum& spectrum, const Width& resolution) {
    const rnge_c1DRange whole = spectrum.counts.Range();
    const std::string extent = "the spectrum reaches from " + withUnit(whole.Start(), "") + " to " +
                               withUnit(whole.End(), spectrum.unit);
    const double channel = spectrum.counts.Cal().Delta();
    if (resolution.value >= whole.Length() || resolution.value < channel / 4)
        throw InputError("--resolution: a width of " + withUnit(resolution.value, spectrum.unit) +
                         " is none of a line here: " + extent + " in channels of " +
                         withUnit(channel, spectrum.unit));
    if (resolution.position < whole.Start() - whole.Length() ||
        resolution.position > whole.End() + whole.Length())
        throw InputError("--resolution: " + withUnit(resolution.position, spectrum.unit) +
                         " is far away: " + extent);
}

} // namespace

Spectrum configured(Spectrum spectrum, const Options& options) {
    if (options.calibration) {
        spectrum.counts.SetCal(
            cal_c1DArrayCal(options.calibration->first, options.calibration->second, 0));
        if (spectrum.axis == "channel")
            spectrum.axis = "x";
    }
    if (!options.unit.empty())
        setUnit(spectrum, options);
    if (options.resolution)
        requireResolution(spectrum, *options.resolution);
    if (options.range)
        select(spectrum, *options.range);
    if (spectrum.counts.Size() > mostChannels)
        throw InputError("the spectrum has " + std::to_string(spectrum.counts.Size()) +
                         " channels, expected " + std::to_string(mostChannels) +
                         " or fewer; --range FROM,TO takes a part of it");
    const rnge_c1DRange whole = spectrum.counts.Range();
    for (const double line : options.lines)
        if (line < whole.Start() || line >= whole.End())
            throw InputError("--lines: " + withUnit(line, spectrum.unit) +
                             " is outside of the spectrum, from " + withUnit(whole.Start(), "") +
                             " to " + withUnit(whole.End(), spectrum.unit));
    for (std::size_t i = 0; i < options.lines.size(); ++i)
        for (std::size_t k = i + 1; k < options.lines.size(); ++k)
            if (std::abs(options.lines[i] - options.lines[k]) < spectrum.counts.Cal().Delta())
                throw InputError("--lines: " + withUnit(options.lines[i], "") + " and " +
                                 withUnit(options.lines[k], spectrum.unit) +
                                 " are less than a channel apart");
    return spectrum;
}

Image configured(Image image, const Options& options) {
    if (options.pixel) {
        image.values.SetCal(cal_c2DArrayCal(0, *options.pixel, 0, *options.pixel, 0, 0));
        image.unit = options.pixelUnit;
    }
    return image;
}

} // namespace tour
