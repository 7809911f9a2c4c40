#include "column_file.h"

#include <algorithm>

#include "progress.h"

namespace tour {

namespace {

constexpr const char* expectedAtFirst = "\"x,y\" or one value";

const char* expectedIn(const Values& values) {
    if (values.y.empty())
        return expectedAtFirst;
    return values.x.empty() ? "one value, as in the lines before"
                            : "\"x,y\", as in the lines before";
}

/// The parts of a line between separators that are not in quotes.
std::vector<std::string_view> partsOf(std::string_view line, std::string_view separators) {
    std::vector<std::string_view> parts;
    std::size_t first = 0;
    bool isQuoted = false;
    for (std::size_t i = 0; i <= line.size(); ++i) {
        if (i < line.size() && line[i] == '"')
            isQuoted = !isQuoted;
        if (i < line.size() && (isQuoted || separators.find(line[i]) == std::string_view::npos))
            continue;
        std::string_view part = trimmed(line.substr(first, i - first));
        if (part.size() > 1 && part.front() == '"' && part.back() == '"')
            part = trimmed(part.substr(1, part.size() - 2));
        if (!part.empty())
            parts.push_back(part);
        first = i + 1;
    }
    return parts;
}

bool isOfEnergy(std::string_view unit) {
    const std::string known = knownUnit(unit);
    return known == "keV" || known == "eV";
}

/// The parts between commas, semicolons or tabs; where there are none, the words, of which a unit
/// belongs to the one before.
std::vector<std::string> namesIn(std::string_view line) {
    std::vector<std::string_view> parts = partsOf(line, ",;\t");
    if (parts.size() > 1)
        return {parts.begin(), parts.end()};
    parts = partsOf(line, " ");
    std::vector<std::string> names(parts.begin(), parts.end());
    if (names.size() == 3 && isOfEnergy(names[1])) {
        names[0] += " / " + names[1];
        names.erase(names.begin() + 1);
    }
    return names;
}

/// "energy" and "keV" of "energy / keV", "energy (keV)", "energy [keV]", "energy, keV", "energy
/// keV" and "energy_keV".
void readAxis(std::string_view name, Values& values) {
    std::string_view unit;
    std::string_view axis = name;
    if (const std::size_t open = name.find_last_of("(["); open != std::string_view::npos) {
        const std::size_t close = std::min(name.find_first_of(")]", open), name.size());
        unit = trimmed(name.substr(open + 1, close - open - 1));
        axis = trimmed(name.substr(0, open));
    } else if (const std::size_t slash = name.rfind('/'); slash != std::string_view::npos) {
        unit = trimmed(name.substr(slash + 1));
        axis = trimmed(name.substr(0, slash));
    } else if (isOfEnergy(name)) {
        unit = name;
        axis = {};
    } else if (knownUnit(name) == "channel") {
        unit = name;
    } else if (const std::size_t last = name.find_last_of(",_ ");
               last != std::string_view::npos && isOfEnergy(name.substr(last + 1))) {
        unit = name.substr(last + 1);
        axis = trimmed(name.substr(0, name.find_last_not_of(",_ ", last) + 1));
    }
    values.axis = lowered(axis);
    values.unit = knownUnit(unit);
}

/// Where the line has a comma between two digits besides semicolons or tabs.
std::size_t decimalCommaIn(std::string_view line) {
    const auto isDigit = [&](std::size_t i) {
        return i < line.size() && line[i] >= '0' && line[i] <= '9';
    };
    if (line.find_first_of(";\t") == std::string_view::npos)
        return std::string_view::npos;
    std::size_t comma = line.find(',');
    while (comma != std::string_view::npos &&
           (comma == 0 || !isDigit(comma - 1) || !isDigit(comma + 1)))
        comma = line.find(',', comma + 1);
    return comma;
}

/// Whether the line can be one of names.
bool isHeader(const std::vector<Field>& fields, std::string_view line) {
    return std::none_of(fields.begin(), fields.end(),
                        [](const Field& field) { return isNumber(field.text); }) &&
           std::none_of(line.begin(), line.end(),
                        [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; });
}

} // namespace

Values readColumns(TextFile& file, bool hasLine, const std::vector<CommentLine>& comments) {
    Values values;
    std::string header;
    if (!comments.empty()) {
        const std::string_view last = comments.back().text;
        header = trimmed(last.substr(last.find('#') + 1));
    }
    bool isAfterHeader = false;
    Progress progress("reading the spectrum");
    for (; hasLine; hasLine = file.Next()) {
        const std::string_view line = file.Line();
        const std::string_view content = trimmed(line.substr(0, line.find('#')));
        if (content.empty()) {
            // Names of columns are often written as a comment.
            if (values.y.empty() && !isAfterHeader && line.find('#') != std::string_view::npos)
                header = trimmed(line.substr(line.find('#') + 1));
            continue;
        }
        const std::vector<Field> fields = fieldsOf(line.substr(0, line.find('#')));
        if (fields.empty())
            continue;
        if (values.y.empty() && !isAfterHeader && isHeader(fields, content)) {
            header = content;
            isAfterHeader = true;
            continue;
        }
        const std::string expected = expectedIn(values);
        if (const std::size_t comma = decimalCommaIn(content); comma != std::string_view::npos)
            file.Fail(line.find(content) + comma + 1,
                      "found a decimal comma, expected " + expected + ", with decimal points");
        if (fields.size() > 2)
            file.Fail(fields[2], expected);
        const bool hasX = fields.size() == 2;
        if (!values.y.empty() && hasX == values.x.empty())
            file.Fail(fields.back().column, hasX ? "found two values, expected " + expected
                                                 : "found one value, expected " + expected);
        const double first = numberIn(fields.front(), file, expected);
        if (hasX)
            values.x.push_back(first);
        values.Add(hasX ? numberIn(fields.back(), file, expected) : first, file,
                   fields.front().column);
        progress.Count(values.y.size(), "values");
    }
    const std::vector<std::string> names = namesIn(header);
    if (!values.x.empty() && names.size() == 2) {
        readAxis(names.front(), values);
        // A comment may be about something else.
        if (!isAfterHeader && values.unit != "keV" && values.unit != "eV")
            values.axis = values.unit = "";
    } else if (!values.x.empty() && isAfterHeader)
        values.remarks.push_back("the names of the columns, " + quoted(header, 60) +
                                 ", are not two, and nothing is taken from them");
    return values;
}

} // namespace tour
