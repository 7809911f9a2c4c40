#include "spectrum_file.h"

#include "column_file.h"
#include "emsa_file.h"

namespace tour {

Spectrum readSpectrum(const std::string& file) {
    TextFile lines(file);
    bool hasLine = lines.Next();
    while (hasLine && trimmed(lines.Line()).empty())
        hasLine = lines.Next();
    Values values =
        hasLine && isEmsaHeader(lines.Line()) ? readEmsa(lines) : readColumns(lines, hasLine);
    return spectrumOf(std::move(values), lines);
}

} // namespace tour
