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
    std::string unit;
    std::string_view value;
    Place place; ///< of the value
};

/// "eV" of "eV", "-eV" and "Energy (eV)".
std::string unitIn(std::string_view text) {
    if (const std::size_t open = text.find_last_of("(["); open != std::string_view::npos)
        text = text.substr(open + 1, text.find_first_of(")]", open) - open - 1);
    text = trimmed(text);
    text.remove_prefix(std::min(text.find_first_not_of("- "), text.size()));
    return knownUnit(text);
}

/// "#XPERCHAN -eV : 10" has the name "xperchan", the unit "eV" and the value "10".
Keyword keywordIn(std::string_view line, long long number) {
    const std::size_t colon = std::min(line.find(':'), line.size());
    std::string_view name = trimmed(line.substr(0, colon));
    name.remove_prefix(std::min(name.find_first_not_of('#'), name.size()));
    name = trimmed(name);
    const std::size_t end = std::min(name.find_first_of(" \t"), name.size());
    const std::string unit = unitIn(name.substr(end));
    name = name.substr(0, end);
    const std::size_t after = std::min(colon + 1, line.size());
    const std::size_t start = std::min(line.find_first_not_of(" \t\r", after), line.size());
    return {lowered(name), unit, trimmed(line.substr(after)), {number, start + 1}};
}

struct Header {
    std::optional<double> points;
    std::optional<double> perChannel;
    std::string unitPerChannel;
    std::optional<double> offset;
    std::optional<double> channelOffset;
    std::string unit;
    std::string label;
    std::string type;
    std::vector<std::string> seen; ///< the names so far
    std::vector<std::string> remarks;

    void Take(const Keyword& keyword, const std::string& file) {
        const auto fail = [&](const std::string& expected) {
            throw InputError(file, keyword.place,
                             "found " + quoted(keyword.value) + ", expected " + expected);
        };
        const auto number = [&] {
            // A unit may follow.
            std::string_view text = keyword.value.substr(0, keyword.value.find_first_of(" \t"));
            text.remove_suffix(text.ends_with(',') ? 1 : 0);
            return numberIn({text, keyword.place.column}, file, keyword.place.line,
                            "a number for the keyword " + quoted(keyword.name));
        };
        if (keyword.value.empty())
            return;
        if (std::find(seen.begin(), seen.end(), keyword.name) != seen.end() &&
            (keyword.name == "xperchan" || keyword.name == "offset"))
            remarks.push_back("the header has the keyword " + keyword.name +
                              " more than once, of which the last holds");
        seen.push_back(keyword.name);
        if (keyword.name == "npoints") {
            points = number();
            if (*points < 0)
                fail("a number of points");
        } else if (keyword.name == "xperchan") {
            perChannel = number();
            unitPerChannel = keyword.unit;
            if (!(*perChannel > 0))
                fail("a step per channel above 0");
        } else if (keyword.name == "offset")
            offset = number();
        else if (keyword.name == "choffset")
            channelOffset = number();
        else if (keyword.name == "xunits")
            unit = unitIn(keyword.value);
        else if (keyword.name == "xlabel")
            label = lowered(keyword.value);
        else if (keyword.name == "datatype")
            type = lowered(keyword.value);
    }
};

bool isEmsa(std::string_view format) { return lowered(format).find("emsa") != std::string::npos; }

/// All numbers of the data, with where they stand.
struct Numbers {
    std::vector<double> values;
    std::vector<Place> places;
    std::size_t mostInLine = 0;
    bool isEnded = false;
};

void readLine(const TextFile& file, const std::vector<Field>& fields, Numbers& numbers) {
    for (const Field& field : fields) {
        numbers.values.push_back(numberIn(field, file, "a value or #ENDOFDATA"));
        numbers.places.push_back({file.Number(), field.column});
    }
    numbers.mostInLine = std::max(numbers.mostInLine, fields.size());
}

bool isOfPairs(const Header& header, const Numbers& numbers) {
    if (!header.type.empty())
        return header.type == "xy";
    if (header.points && static_cast<double>(numbers.values.size()) == 2 * *header.points)
        return true;
    return !header.perChannel && numbers.mostInLine == 2;
}

std::optional<cal_c1DArrayCal> calibrationOf(Header& header) {
    if (!header.perChannel)
        return std::nullopt;
    // The offset belongs to the first value; the channel offset is the channel of the zero.
    const double byChannel = -header.channelOffset.value_or(0) * *header.perChannel;
    const double offset = header.offset.value_or(byChannel);
    if (header.channelOffset && *header.channelOffset != 0 &&
        std::abs(offset - byChannel) > 0.01 * *header.perChannel)
        header.remarks.emplace_back(
            "OFFSET and CHOFFSET of the header do not agree, and OFFSET holds");
    return cal_c1DArrayCal(offset, *header.perChannel, 0);
}

/// The unit that the header gives, here or there.
std::string unitOf(Header& header) {
    if (header.unit.empty())
        return header.unitPerChannel;
    if (!header.unitPerChannel.empty() && header.unitPerChannel != header.unit)
        header.remarks.push_back("XUNITS of the header says " + quoted(header.unit) +
                                 " and XPERCHAN " + quoted(header.unitPerChannel) +
                                 ", and XUNITS holds");
    return header.unit;
}

} // namespace

bool isEmsaHeader(std::string_view line) {
    line = trimmed(line);
    const Keyword keyword = keywordIn(line, 1);
    // A comment on the format of columns is none of it.
    return line.starts_with('#') && keyword.name == "format" &&
           (line.substr(1, 1) != " " || isEmsa(keyword.value));
}

Values readEmsa(TextFile& file, const std::vector<CommentLine>& comments) {
    Header header;
    Numbers numbers;
    const Keyword format = keywordIn(file.Line(), file.Number());
    if (!isEmsa(format.value))
        file.Fail({format.value, format.place.column}, "'EMSA/MAS Spectral Data File'");
    for (const CommentLine& comment : comments)
        header.Take(keywordIn(comment.text, comment.number), file.Name());
    Progress progress("reading the spectrum");
    bool hasData = false;
    while (!numbers.isEnded && file.Next()) {
        const std::string_view line = trimmed(file.Line());
        if (line.empty())
            continue;
        if (!line.starts_with('#')) {
            const std::vector<Field> fields = fieldsOf(file.Line());
            if (!hasData && numbers.values.empty() && !fields.empty() &&
                !isNumber(fields.front().text))
                file.Fail({line, 1}, "a keyword that begins with #, or a value");
            readLine(file, fields, numbers);
            progress.Count(numbers.values.size(), "values");
            continue;
        }
        const Keyword keyword = keywordIn(file.Line(), file.Number());
        hasData = hasData || keyword.name == "spectrum";
        numbers.isEnded = keyword.name == "endofdata";
        header.Take(keyword, file.Name());
    }

    Values values;
    const bool hasPairs = isOfPairs(header, numbers);
    if (hasPairs && numbers.values.size() % 2 != 0)
        throw InputError(file.Name(), numbers.places.back(), "the last pair of x and y has no y");
    const std::size_t count = numbers.values.size() / (hasPairs ? 2 : 1);
    if (header.points && *header.points != static_cast<double>(count)) {
        const std::string found = "the header announces " +
                                  std::to_string(std::llround(*header.points)) +
                                  " points, and the file has " + std::to_string(count);
        if (!numbers.isEnded)
            file.FailAtEnd(found + " and no #ENDOFDATA");
        header.remarks.push_back(found);
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (hasPairs)
            values.x.push_back(numbers.values[2 * i]);
        values.y.push_back(numbers.values[hasPairs ? 2 * i + 1 : i]);
        values.places.push_back(numbers.places[hasPairs ? 2 * i : i]);
    }
    values.calibration = calibrationOf(header);
    values.unit = unitOf(header);
    values.axis = header.label;
    // "energy / keV" as a label
    if (const std::size_t end = values.axis.find_first_of("/(["); end != std::string::npos)
        values.axis = trimmed(values.axis.substr(0, end));
    if (hasPairs && header.perChannel && count > 1) {
        const double step =
            std::abs(values.x.back() - values.x.front()) / static_cast<double>(count - 1);
        if (std::abs(step - *header.perChannel) > 0.01 * step)
            header.remarks.emplace_back(
                "XPERCHAN of the header is not the step of the pairs, which hold");
    }
    values.remarks = std::move(header.remarks);
    return values;
}

} // namespace tour
