#include "story.h"

#include <algorithm>
#include <cmath>

namespace tour {

const KnownLine* knownAt(const Story& story, const Line& line) {
    static const std::vector<KnownLine> known = sampleLines();
    if (story.isSampleSpectrum)
        for (const KnownLine& candidate : known)
            if (std::abs(candidate.energy - line.position) < line.width / 2)
                return &candidate;
    return nullptr;
}

std::string axisLabel(const Spectrum& spectrum) {
    return spectrum.axis + (spectrum.unit.empty() ? "" : " / " + spectrum.unit);
}

std::string ofUnit(const Spectrum& spectrum) {
    return spectrum.unit.empty() ? "" : " " + spectrum.unit;
}

int decimalsOf(const Spectrum& spectrum) {
    const double delta = std::abs(spectrum.counts.Cal().Delta());
    return std::clamp(1 - static_cast<int>(std::floor(std::log10(delta))), 0, 12);
}

std::string lengthOf(const Image& image, double length) {
    const cal_c2DArrayCal& cal = image.values.Cal();
    const double delta = std::min(std::abs(cal.X().Delta()), std::abs(cal.Y().Delta()));
    if (delta < 1e-6 || delta > 1e6)
        return joined(length);
    return fixed(length, std::max(2, 1 - static_cast<int>(std::floor(std::log10(delta)))));
}

std::string oneOf(const std::string& unit) { return unit == "pixels" ? "pixel" : unit; }

std::string valueOf(double value) {
    const double size = std::abs(value);
    return size == 0 || (size >= 0.1 && size < 1e9) ? fixed(value, 2) : joined(value);
}

} // namespace tour
