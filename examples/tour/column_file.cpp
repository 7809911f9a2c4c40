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

/// The parts between commas, semicolons or tabs; where there are none, the words.
std::vector<std::string_view> namesIn(std::string_view line) {
    const bool hasSeparators = line.find_first_of(",;\t") != std::string_view::npos;
    const std::string_view separators = hasSeparators ? ",;\t" : " ";
    std::vector<std::string_view> names;
    while (!line.empty()) {
        const std::size_t end = std::min(line.find_first_of(separators), line.size());
        std::string_view name = trimmed(line.substr(0, end));
        if (name.size() > 1 && name.front() == '"' && name.back() == '"')
            name = trimmed(name.substr(1, name.size() - 2));
        if (!name.empty())
            names.push_back(name);
        line.remove_prefix(std::min(end + 1, line.size()));
    }
    return names;
}

/// "energy" and "keV" of "energy / keV", "energy (keV)" and "energy [keV]".
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
    } else if (const std::string known = knownUnit(name); known == "keV" || known == "eV") {
        unit = name;
        axis = {};
    } else if (known == "channel") {
        unit = name;
    }
    values.axis = lowered(axis);
    values.unit = knownUnit(unit);
}

/// Whether the line can be one of names.
bool isHeader(const std::vector<Field>& fields, std::string_view line) {
    return std::none_of(fields.begin(), fields.end(),
                        [](const Field& field) { return isNumber(field.text); }) &&
           std::none_of(line.begin(), line.end(),
                        [](char c) { return static_cast<unsigned char>(c) < 0x20 && c != '\t'; });
}

} // namespace

Values readColumns(TextFile& file, bool hasLine) {
    Values values;
    std::string header;
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
        if (values.y.empty() && !isAfterHeader && isHeader(fields, content)) {
            header = content;
            isAfterHeader = true;
            continue;
        }
        const std::string expected = expectedIn(values);
        if (fields.size() > 2)
            file.Fail(fields[2], expected);
        const bool hasX = fields.size() == 2;
        if (!values.y.empty() && hasX == values.x.empty())
            file.Fail(fields.back().column, hasX ? "found two values, expected " + expected
                                                 : "found one value, expected " + expected);
        const double first = numberIn(fields.front(), file, expected);
        if (hasX)
            values.x.push_back(first);
        values.Add(hasX ? numberIn(fields.back(), file, expected) : first, file);
        progress.Count(values.y.size(), "values");
    }
    const std::vector<std::string_view> names = namesIn(header);
    if (!values.x.empty() && names.size() == 2) {
        readAxis(names.front(), values);
        // A comment may be about something else.
        if (!isAfterHeader && values.unit != "keV" && values.unit != "eV")
            values.axis = values.unit = "";
    }
    return values;
}

} // namespace tour
