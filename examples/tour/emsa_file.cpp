#include "emsa_file.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "input_error.h"
#include "progress.h"

namespace tour {

namespace {

struct Keyword {
    std::string name; ///< in small letters
    std::string_view value;
    std::size_t column; ///< of the value
};

/// "#XPERCHAN -eV : 10" has the name "xperchan" and the value "10".
Keyword keywordIn(std::string_view line) {
    const std::size_t colon = std::min(line.find(':'), line.size());
    std::string_view name = trimmed(line.substr(0, colon));
    name.remove_prefix(std::min(name.find_first_not_of('#'), name.size()));
    name = trimmed(name);
    name = name.substr(0, name.find_first_of(" \t"));
    const std::size_t after = std::min(colon + 1, line.size());
    const std::size_t start = std::min(line.find_first_not_of(" \t\r", after), line.size());
    return {lowered(name), trimmed(line.substr(after)), start + 1};
}

struct Header {
    std::optional<double> points;
    std::optional<double> perChannel;
    std::optional<double> offset;
    std::optional<double> channelOffset;
    std::string unit;
    std::string label;
    std::string type;

    void Take(const Keyword& keyword, const TextFile& file) {
        const auto number = [&] {
            // A unit may follow.
            const std::string_view text =
                keyword.value.substr(0, keyword.value.find_first_of(" \t,"));
            return numberIn({text, keyword.column}, file,
                            "a number for the keyword " + quoted(keyword.name));
        };
        if (keyword.value.empty())
            return;
        if (keyword.name == "npoints")
            points = number();
        else if (keyword.name == "xperchan")
            perChannel = number();
        else if (keyword.name == "offset")
            offset = number();
        else if (keyword.name == "choffset")
            channelOffset = number();
        else if (keyword.name == "xunits")
            unit = knownUnit(keyword.value);
        else if (keyword.name == "xlabel")
            label = lowered(keyword.value);
        else if (keyword.name == "datatype")
            type = lowered(keyword.value);
    }
};

/// All numbers of the data, with where they stand.
struct Numbers {
    std::vector<double> values;
    std::vector<long long> lines;
    std::size_t mostInLine = 0;
    bool isEnded = false;
};

void readLine(TextFile& file, Numbers& numbers) {
    const std::vector<Field> fields = fieldsOf(file.Line());
    for (const Field& field : fields) {
        numbers.values.push_back(numberIn(field, file, "a value or #ENDOFDATA"));
        numbers.lines.push_back(file.Number());
    }
    numbers.mostInLine = std::max(numbers.mostInLine, fields.size());
}

bool isOfPairs(const Header& header, const Numbers& numbers) {
    if (!header.type.empty())
        return header.type == "xy";
    if (header.points && numbers.values.size() == static_cast<std::size_t>(2 * *header.points))
        return true;
    return !header.perChannel && numbers.mostInLine == 2;
}

std::optional<cal_c1DArrayCal> calibrationOf(const Header& header, const TextFile& file) {
    if (!header.perChannel)
        return std::nullopt;
    if (!(*header.perChannel > 0))
        file.Fail(1, "the header has a step of " + std::to_string(*header.perChannel) +
                         " per channel, expected one above 0");
    // The offset belongs to the first value; the channel offset is the channel of the zero.
    const double offset =
        header.offset.value_or(-header.channelOffset.value_or(0) * *header.perChannel);
    return cal_c1DArrayCal(offset, *header.perChannel, 0);
}

} // namespace

bool isEmsaHeader(std::string_view line) {
    line = trimmed(line);
    return line.starts_with('#') && keywordIn(line).name == "format";
}

Values readEmsa(TextFile& file) {
    Header header;
    Numbers numbers;
    const std::string_view format = keywordIn(file.Line()).value;
    if (lowered(format).find("emsa") == std::string::npos)
        file.Fail({format, keywordIn(file.Line()).column}, "'EMSA/MAS Spectral Data File'");
    Progress progress("reading the spectrum");
    bool hasData = false;
    while (!numbers.isEnded && file.Next()) {
        const std::string_view line = trimmed(file.Line());
        if (line.empty())
            continue;
        if (!line.starts_with('#')) {
            if (!hasData && numbers.values.empty() && !isNumber(fieldsOf(line).front().text))
                file.Fail({line, 1}, "a keyword that begins with #, or a value");
            readLine(file, numbers);
            progress.Count(numbers.values.size(), "values");
            continue;
        }
        const Keyword keyword = keywordIn(file.Line());
        hasData = hasData || keyword.name == "spectrum";
        numbers.isEnded = keyword.name == "endofdata";
        header.Take(keyword, file);
    }

    Values values;
    const bool hasPairs = isOfPairs(header, numbers);
    if (hasPairs && numbers.values.size() % 2 != 0)
        throw InputError(file.Name(), numbers.lines.back(), "the last pair of x and y has no y");
    const std::size_t count = numbers.values.size() / (hasPairs ? 2 : 1);
    if (header.points && *header.points != static_cast<double>(count)) {
        const std::string found = "the header announces " +
                                  std::to_string(std::llround(*header.points)) +
                                  " points, and the file has " + std::to_string(count);
        if (!numbers.isEnded)
            throw InputError(file.Name(), file.Number(), found + " and no #ENDOFDATA");
        values.remarks.push_back(found);
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (hasPairs)
            values.x.push_back(numbers.values[2 * i]);
        values.y.push_back(numbers.values[hasPairs ? 2 * i + 1 : i]);
        values.lines.push_back(numbers.lines[hasPairs ? 2 * i + 1 : i]);
    }
    values.calibration = calibrationOf(header, file);
    values.unit = header.unit;
    values.axis = header.label;
    // "energy / keV" as a label
    if (const std::size_t end = values.axis.find_first_of("/(["); end != std::string::npos)
        values.axis = trimmed(values.axis.substr(0, end));
    return values;
}

} // namespace tour
