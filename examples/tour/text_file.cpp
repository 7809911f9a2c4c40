#include "text_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "input_file.h"

namespace tour {

namespace {

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
constexpr std::string_view blanks = " \t\r";
constexpr std::size_t longestLine = 4000;
// Far from where sums and differences of values would leave the range of their type.
constexpr double largestMagnitude = 1e15;

bool isBlank(char c) { return blanks.find(c) != std::string_view::npos; }
bool isSeparator(char c) { return c == ',' || c == ';'; }

std::string foundInstead(const Field& found, const std::string& expected) {
    return "found " + (found.text.empty() ? "nothing" : quoted(found.text)) + ", expected " +
           expected;
}

std::from_chars_result parse(std::string_view text, double& value) {
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    const char* const end = text.data() + text.size();
    std::from_chars_result result = std::from_chars(text.data(), end, value);
    if (result.ec == std::errc() && result.ptr != end)
        result.ec = std::errc::invalid_argument;
    return result;
}

} // namespace

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return result;
}

TextFile::TextFile(const std::string& file) : file_(file), stream_(openInput(file)) {}

bool TextFile::Next() {
    std::streambuf& buffer = *stream_.rdbuf();
    int c = buffer.sbumpc();
    if (c == std::char_traits<char>::eof())
        return false;
    line_.clear();
    ++number_;
    for (; c != '\n' && c != std::char_traits<char>::eof(); c = buffer.sbumpc()) {
        if (line_.size() == longestLine)
            Fail(longestLine + 1,
                 "the line is longer than " + std::to_string(longestLine) + " characters");
        line_ += static_cast<char>(c);
    }
    if (number_ == 1 && line_.starts_with(byteOrderMark))
        line_.erase(0, byteOrderMark.size());
    return true;
}

void TextFile::Fail(std::size_t column, const std::string& problem) const {
    throw InputError(file_, {Number(), column}, problem);
}

void TextFile::FailAtEnd(const std::string& problem) const { Fail(line_.size() + 1, problem); }

void TextFile::Fail(const Field& found, const std::string& expected) const {
    Fail(found.column, foundInstead(found, expected));
}

std::vector<Field> fieldsOf(std::string_view line) {
    while (!line.empty() && (isBlank(line.back()) || isSeparator(line.back())))
        line.remove_suffix(1);
    std::vector<Field> fields;
    std::size_t at = 0;
    const auto skipBlanks = [&] {
        while (at < line.size() && isBlank(line[at]))
            ++at;
    };
    for (skipBlanks(); at < line.size(); skipBlanks()) {
        const std::size_t first = at;
        while (at < line.size() && !isBlank(line[at]) && !isSeparator(line[at]))
            ++at;
        std::string_view text = line.substr(first, at - first);
        if (text.size() > 1 && text.front() == '"' && text.back() == '"')
            text = text.substr(1, text.size() - 2);
        fields.push_back({text, first + 1});
        skipBlanks();
        if (at < line.size() && isSeparator(line[at]))
            ++at;
    }
    return fields;
}

bool isNumber(std::string_view text) {
    double value = 0;
    return parse(text, value).ec == std::errc();
}

double numberIn(const Field& field, const std::string& file, long long line,
                const std::string& expected) {
    double value = 0;
    const std::errc error = parse(field.text, value).ec;
    const Place place{line, field.column};
    if (error == std::errc::result_out_of_range ||
        (error == std::errc() && !(std::abs(value) <= largestMagnitude)))
        throw InputError(file, place,
                         quoted(field.text) + " is out of range, expected " + expected);
    if (error != std::errc())
        throw InputError(file, place, foundInstead(field, expected));
    return value;
}

double numberIn(const Field& field, const TextFile& file, const std::string& expected) {
    return numberIn(field, file.Name(), file.Number(), expected);
}

} // namespace tour
