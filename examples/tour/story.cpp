#include "story.h"

#include <cmath>

namespace tour {

const KnownLine* knownAt(const Story& story, const Line& line) {
    for (const KnownLine& known : story.known)
        if (std::abs(known.energy - line.position) < line.width / 2)
            return &known;
    return nullptr;
}

std::string axisLabel(const Spectrum& spectrum) {
    return spectrum.axis + (spectrum.unit.empty() ? "" : " / " + spectrum.unit);
}

} // namespace tour
