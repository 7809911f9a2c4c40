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

} // namespace tour
