#include "spectrum_file.h"

#include "column_file.h"
#include "emsa_file.h"

namespace tour {

Spectrum readSpectrum(const std::string& file) {
    TextFile lines(file);
    std::vector<CommentLine> comments;
    bool hasLine = lines.Next();
    for (; hasLine && !isEmsaHeader(lines.Line()); hasLine = lines.Next()) {
        const std::string_view line = trimmed(lines.Line());
        if (line.starts_with('#'))
            comments.push_back({std::string(lines.Line()), lines.Number()});
        else if (!line.empty())
            break;
    }
    const bool isEmsa = hasLine && isEmsaHeader(lines.Line());
    return spectrumOf(isEmsa ? readEmsa(lines, comments) : readColumns(lines, hasLine, comments),
                      lines);
}

} // namespace tour
