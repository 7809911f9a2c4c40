#include "options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "input_error.h"
#include "table_of_values.h"

namespace tour {

const char usage[] =
    R"(usage: tour [--spectrum FILE] [--image FILE] [--out DIR] [OPTION...]

A walk through DataProcessing on a spectrum and an image: text here, and a report with
pictures in DIR/report.html, one file that needs no other.
Without files it measures a sample of its own making, the same at every run.

  --spectrum FILE  columns of text: one count per line, or "x,y" with evenly spaced x, between
                   commas, semicolons or blanks; a first line may name them ("energy / keV,
                   counts"), and everything from a # to the end of the line is a comment. Or a
                   file in the EMSA/MAS format for the exchange of spectra.
  --unit UNIT      keV, eV or channel: the unit of the axis. What the file says holds without.
  --calibration OFFSET,DELTA
                   the position of the first channel, and the step from channel to channel
  --resolution FWHM@POSITION
                   the full width of a line at half maximum, and where on the axis it is so;
                   without, the widths of the strongest lines tell
  --range FROM,TO  analyse this part of the axis only
  --lines X,...    where lines are known to be: they are fitted at exactly these places, however
                   weak they are, besides those that are found
  --image FILE     a PGM (8 or 16 bit), PNG (8 or 16 bit) or TIFF (8 or 16 bit, float) image
  --pixel SIZE,UNIT
                   the size of a pixel of the image: 0.5,mm
  --out DIR        where the report goes (default: tour-out); it is made if it is missing
  --help           this text

Exit codes: 0 done; 1 something went wrong on the way; 2 an argument or a file is not usable,
and then nothing has been written.
)";

namespace {

// An axis that begins so many channels away from 0 leaves enough digits to positions on it.
constexpr double farthest = 1e9;

double numberOf(std::string_view option, std::string_view text, const char* expected) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        throw InputError(std::string(option) + ": found " + quoted(text) + ", expected " +
                         expected);
    return value;
}

Pair pairOf(std::string_view option, std::string_view text, char separator, const char* expected) {
    const std::size_t middle = text.find(separator);
    if (middle == std::string_view::npos)
        throw InputError(std::string(option) + ": found " + quoted(text) + ", expected " +
                         expected);
    return {numberOf(option, text.substr(0, middle), expected),
            numberOf(option, text.substr(middle + 1), expected)};
}

void require(bool holds, std::string_view option, std::string_view text, const char* expected) {
    if (!holds)
        throw InputError(std::string(option) + ": found " + quoted(text) + ", expected " +
                         expected);
}

/// Whether a length is one that anything is measured in; with others, products overflow.
bool isLength(double value) { return value >= 1e-30 && value <= 1e30; }

void takeUnit(Options& options, std::string_view name, std::string_view text) {
    options.unit = knownUnit(text);
    require(options.unit == "keV" || options.unit == "eV" || options.unit == "channel", name, text,
            "keV, eV or channel");
}

void takeCalibration(Options& options, std::string_view name, std::string_view text) {
    constexpr const char* expected = "OFFSET,DELTA with a DELTA above 0";
    options.calibration = pairOf(name, text, ',', expected);
    const auto [offset, delta] = *options.calibration;
    require(delta > 0, name, text, expected);
    require(isLength(delta), name, text, "OFFSET,DELTA with a DELTA from 1e-30 to 1e30");
    require(std::abs(offset) <= farthest * delta, name, text,
            "OFFSET,DELTA with an OFFSET of 1e9 DELTA at most");
}

void takeResolution(Options& options, std::string_view name, std::string_view text) {
    constexpr const char* expected = "FWHM@POSITION with a FWHM above 0";
    const auto [width, position] = pairOf(name, text, '@', expected);
    options.resolution = Width{position, width, 0};
    require(width > 0, name, text, expected);
    require(isLength(width), name, text, "FWHM@POSITION with a FWHM from 1e-30 to 1e30");
}

void takeRange(Options& options, std::string_view name, std::string_view text) {
    constexpr const char* expected = "FROM,TO with TO above FROM";
    options.range = pairOf(name, text, ',', expected);
    require(options.range->second > options.range->first, name, text, expected);
}

void takeLines(Options& options, std::string_view name, std::string_view text) {
    constexpr const char* expected = "positions between commas: 5.9,6.4";
    for (std::size_t end = 0; end != std::string_view::npos;
         text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1)) {
        end = text.find(',');
        options.lines.push_back(numberOf(name, text.substr(0, end), expected));
    }
}

void takePixel(Options& options, std::string_view name, std::string_view text) {
    constexpr const char* expected = "SIZE,UNIT with a SIZE above 0: 0.5,mm";
    const std::size_t comma = text.find(',');
    require(comma != std::string_view::npos && comma + 1 < text.size(), name, text, expected);
    options.pixel = numberOf(name, text.substr(0, comma), expected);
    options.pixelUnit = printable(text.substr(comma + 1));
    require(*options.pixel > 0, name, text, expected);
    require(isLength(*options.pixel), name, text, "SIZE,UNIT with a SIZE from 1e-30 to 1e30");
}

struct Option {
    std::string_view name;
    void (*take)(Options&, std::string_view name, std::string_view text);
};

constexpr Option known[] = {
    {"--spectrum", [](Options& o, std::string_view, std::string_view text) { o.spectrum = text; }},
    {"--image", [](Options& o, std::string_view, std::string_view text) { o.image = text; }},
    {"--out", [](Options& o, std::string_view, std::string_view text) { o.out = text; }},
    {"--unit", takeUnit},
    {"--calibration", takeCalibration},
    {"--resolution", takeResolution},
    {"--range", takeRange},
    {"--lines", takeLines},
    {"--pixel", takePixel},
};

const Option* optionNamed(std::string_view name) {
    for (const Option& option : known)
        if (option.name == name)
            return &option;
    return nullptr;
}

/// What belongs to a file needs one.
void requireFiles(const Options& options) {
    const bool isOfSpectrum = !options.unit.empty() || options.calibration || options.resolution ||
                              options.range || !options.lines.empty();
    if (isOfSpectrum && options.spectrum.empty())
        throw InputError("--unit, --calibration, --resolution, --range and --lines need a "
                         "--spectrum that they are about");
    if (options.pixel && options.image.empty())
        throw InputError("--pixel needs an --image that it is about");
    if (options.unit == "channel" && options.calibration)
        throw InputError("--unit channel and --calibration exclude each other: channels count "
                         "from 0 in steps of 1");
}

} // namespace

Options parseOptions(int count, const char* const* arguments) {
    Options options;
    std::vector<const Option*> given;
    for (int i = 0; i < count; ++i) {
        const std::string_view argument = arguments[i];
        if (argument == "--help" || argument == "-h") {
            options.help = true;
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string_view name = argument.substr(0, equals);
        const Option* const option = optionNamed(name);
        if (option == nullptr)
            throw InputError("unknown argument " + quoted(argument, 60) +
                             "; --help says what there is");
        if (equals == std::string_view::npos && i + 1 == count)
            throw InputError(std::string(name) + " needs a value");
        const std::string_view value =
            equals != std::string_view::npos ? argument.substr(equals + 1) : arguments[++i];
        if (equals == std::string_view::npos && value.starts_with("--"))
            throw InputError(std::string(name) + " needs a value, and found " + quoted(value) +
                             "; write " + std::string(name) + "=" + printable(value) +
                             " where that is meant");
        if (value.empty())
            throw InputError(std::string(name) + " needs a value that is not empty");
        if (std::find(given.begin(), given.end(), option) != given.end())
            throw InputError(std::string(name) + " is given twice");
        given.push_back(option);
        option->take(options, name, value);
    }
    if (!options.help)
        requireFiles(options);
    return options;
}

} // namespace tour
