#include "spectrum_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "input_error.h"
#include "input_file.h"
#include "progress.h"

namespace tour {

namespace {

constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
constexpr std::size_t longestLine = 1000;
constexpr std::size_t fewestValues = 16;
constexpr std::size_t mostValues = std::size_t{1} << 26;
// Far from where sums and differences of values would leave the range of their type.
constexpr double largestMagnitude = 1e15;
// x is often written with few decimals, so its steps are even only to some part of a step.
constexpr double unevenness = 0.1;
// Far from where lengths would be zero in single precision, over which nothing is fitted.
constexpr double smallestStep = 1e-30;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Reads the lines of a file one by one, never more of a line than a line may have.
class Lines {
public:
    explicit Lines(const std::string& file) : file_(file), stream_(openInput(file)) {}

    /// The next line with something in it besides comment and blanks; false at the end.
    bool Next(std::string_view& content) {
        while (Read()) {
            content = std::string_view(line_).substr(0, line_.find('#'));
            if (number_ == 1 && content.starts_with(byteOrderMark))
                content.remove_prefix(byteOrderMark.size());
            content = trimmed(content);
            if (!content.empty())
                return true;
        }
        return false;
    }

    /// The number of the line, from 1.
    long long Number() const { return std::max(number_, 1LL); }

    [[noreturn]] void Fail(const std::string& problem) const {
        throw InputError(file_, Number(), problem);
    }

private:
    bool Read() {
        line_.clear();
        ++number_;
        std::streambuf& buffer = *stream_.rdbuf();
        for (int c = buffer.sbumpc(); c != '\n'; c = buffer.sbumpc()) {
            if (c == std::char_traits<char>::eof()) {
                number_ -= line_.empty() ? 1 : 0;
                return !line_.empty();
            }
            if (line_.size() == longestLine)
                Fail("the line is longer than " + std::to_string(longestLine) + " characters");
            line_ += static_cast<char>(c);
        }
        return true;
    }

    std::string file_;
    std::ifstream stream_;
    std::string line_;
    long long number_ = 0;
};

double number(std::string_view text, const Lines& lines) {
    text = trimmed(text);
    const std::string shown = quoted(text);
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range)
        lines.Fail(shown + " is out of range");
    if (error != std::errc() || end != text.data() + text.size())
        lines.Fail(shown + " is not a number");
    if (!(std::abs(value) <= largestMagnitude))
        lines.Fail(shown + " is out of range");
    return value;
}

struct Columns {
    std::vector<double> x;
    std::vector<double> y;
    std::vector<long long> lines; ///< where each x stands
};

Columns readColumns(Lines& lines) {
    Columns columns;
    Progress progress("reading the spectrum");
    std::string_view content;
    while (lines.Next(content)) {
        const std::size_t comma = content.find(',');
        const bool hasX = comma != std::string_view::npos;
        if (!columns.y.empty() && hasX == columns.x.empty())
            lines.Fail(hasX ? "two values where the lines before have one"
                            : "one value where the lines before have two");
        if (columns.y.size() == mostValues)
            lines.Fail("more than " + std::to_string(mostValues) + " values");
        if (hasX) {
            const double x = number(content.substr(0, comma), lines);
            if (!columns.x.empty() && !(x > columns.x.back()))
                lines.Fail("x does not increase");
            columns.x.push_back(x);
            columns.lines.push_back(lines.Number());
            content.remove_prefix(comma + 1);
        }
        columns.y.push_back(number(content, lines));
        progress.Count(columns.y.size(), "values");
    }
    if (columns.y.size() < fewestValues)
        lines.Fail("the file ends after " + std::to_string(columns.y.size()) +
                   " values; at least " + std::to_string(fewestValues) + " are needed");
    return columns;
}

cal_c1DArrayCal calibration(const Columns& columns, const std::string& file) {
    const std::vector<double>& x = columns.x;
    if (x.empty())
        return {};
    const double delta = (x.back() - x.front()) / static_cast<double>(x.size() - 1);
    if (delta < smallestStep)
        throw InputError(file, columns.lines.back(), "x increases by less than 1e-30 at a step");
    const cal_c1DArrayCal cal(x.front(), delta, 0);
    bool isEven = true;
    std::size_t worst = 1;
    const auto off = [&](std::size_t i) { return std::abs(x[i] - x[i - 1] - delta); };
    for (std::size_t i = 1; i < x.size(); ++i) {
        isEven = isEven &&
                 std::abs(x[i] - cal.Position(static_cast<long long>(i))) <= unevenness * delta;
        worst = off(i) > off(worst) ? i : worst;
    }
    if (!isEven)
        throw InputError(file, columns.lines[worst],
                         "x is not evenly spaced: here is the step that differs most");
    return cal;
}

template<class T>
bool holdsAll(const std::vector<double>& values) {
    return std::all_of(values.begin(), values.end(), [](double value) {
        return value >= 0 && value <= std::numeric_limits<T>::max() && value == std::floor(value);
    });
}

} // namespace

Spectrum readSpectrum(const std::string& file) {
    Lines lines(file);
    const Columns columns = readColumns(lines);
    const std::span<const double> values(columns.y);
    darr_c1DArray counts(values, calibration(columns, file));
    if (holdsAll<std::uint16_t>(columns.y))
        counts.Convert(dtyp_UInt16);
    else if (holdsAll<std::uint32_t>(columns.y))
        counts.Convert(dtyp_UInt32);
    if (columns.x.empty())
        return {std::move(counts), "channel", ""};
    return {std::move(counts), "x", ""};
}

} // namespace tour
