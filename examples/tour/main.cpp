// A walk through DataProcessing on real data: reads what the user gives, or makes a sample, then
// tells and draws what the library does with it, step by step, on the terminal and in one report.

#include <fcntl.h>

#include <csignal>
#include <exception>
#include <filesystem>
#include <ios>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "configured.h"
#include "image_file.h"
#include "input_error.h"
#include "options.h"
#include "report.h"
#include "sample_image.h"
#include "sample_spectrum.h"
#include "spectrum_file.h"
#include "story.h"

namespace {

using namespace tour;

struct Step {
    enum When { always, ofSample, ofLines };
    const char* title;
    void (*run)(Story&);
    When when = always; ///< with the sample's spectrum only, or where there are lines
};

constexpr Step steps[] = {
    {"Numbers and their types", stepTypes},
    {"The image", stepImage},
    {"Two spectra: counts on another grid", stepSpectra, Step::ofSample},
    {"The lines of the spectrum and what lies under them", stepLines},
    {"The lines, fitted together", stepFit, Step::ofLines},
    {"The widths of the lines", stepWidths, Step::ofLines},
    {"Masks, extrema, sums", stepMasks},
    {"Ranges, a polynomial, and messages", stepRanges, Step::ofLines},
    {"Peak intensities over power laws", stepPeaks, Step::ofSample},
    {"Frequencies of a profile", stepFrequencies},
    {"Registration of two shifted images", stepRegistration},
    {"The periods of a lattice", stepPeriod},
    {"Rotated, sheared, resized", stepWarp},
    {"A line scan and a projection", stepScan},
    {"An axis, written and read back", stepStreams},
};

bool isTaken(const Step& step, const Story& story) {
    return step.when == Step::always || (step.when == Step::ofSample && story.isSampleSpectrum) ||
           (step.when == Step::ofLines && !story.lines.empty());
}

/// The report's place, in a directory that is made if it is missing.
std::string reportIn(const std::string& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error)
        throw InputError("cannot use " + quoted(directory, 200) +
                         " for the report: " + error.message());
    return (std::filesystem::path(directory) / "report.html").string();
}

std::string nameOf(const std::string& file) {
    return file.empty() ? "the tour's own sample" : printable(file);
}

void introduce(Teller& teller, const Options& options) {
    teller.Say("What DataProcessing makes of a spectrum and an image, step by step. Every number "
               "and picture comes from this run.");
    teller.Show(
        {.caption = "What is looked at",
         .heading = {"data", "from"},
         .columns = {Column::name, Column::name},
         .rows = {{"spectrum", nameOf(options.spectrum)}, {"image", nameOf(options.image)}}});
}

/// What `read` makes of the file.
template<class Read>
auto fromFile(const std::string& file, Read read) {
    try {
        return read(file);
    } catch (const std::ios_base::failure&) {
        throw InputError(file + ": cannot be read");
    }
}

AnalysisOptions analysisOf(const Spectrum& spectrum, const Options& options) {
    AnalysisOptions result;
    result.resolution = options.resolution;
    result.lines = options.lines;
    if (spectrum.IsOfEnergy())
        result.slope = slopeOfSilicon * (spectrum.unit == "keV" ? 0.001 : 1);
    return result;
}

/// Throws where the text has not got out.
void flushOutput() {
    std::cout << std::flush;
    if (!std::cout)
        throw std::runtime_error("the text could not be written to standard output");
}

void run(const Options& options) {
    // All that a user can get wrong is read and checked before anything is written.
    const bool hasSpectrum = !options.spectrum.empty();
    const bool hasImage = !options.image.empty();
    Spectrum spectrum = hasSpectrum ? configured(fromFile(options.spectrum, readSpectrum), options)
                                    : sampleSpectrum();
    Image image =
        hasImage ? configured(fromFile(options.image, readImage), options) : sampleImage();
    const AnalysisOptions analysis = analysisOf(spectrum, options);
    const std::string file = reportIn(options.out);
    Report report(file);

    std::cout << "A tour of DataProcessing\n\n";
    Teller teller(std::cout, report);
    introduce(teller, options);

    Story story{.spectrum = std::move(spectrum),
                .options = analysis,
                .isSampleSpectrum = !hasSpectrum,
                .scene = std::move(image),
                .isSampleImage = !hasImage,
                .teller = teller};
    for (const Step& step : steps) {
        if (!isTaken(step, story))
            continue;
        teller.Begin(step.title);
        step.run(story);
    }
    flushOutput();
    report.Finish();
    std::cout << "\nThe report, with all pictures: " << printable(file) << '\n';
    flushOutput();
}

/// What the library says, without the place within it, which means nothing to a user.
std::string messageOf(const expt_cProgramException& error) {
    const std::string_view text = error.what();
    const std::size_t place = text.find(": ");
    return place == std::string_view::npos ? "the library refuses a step without a word"
                                           : std::string(text.substr(place + 2));
}

/// Standard streams that are closed get something that takes nothing: no file that is opened later
/// may come in their place.
void holdStandardStreams() {
    for (int stream = 0; stream <= 2; ++stream)
        if (fcntl(stream, F_GETFD) == -1)
            open("/dev/null", O_RDONLY | O_CLOEXEC);
}

/// One line, whatever the names that stand in the message.
int fail(int code, std::string_view message) {
    std::cout << std::flush;
    std::cerr << "tour: " << printable(message) << '\n';
    return code;
}

} // namespace

int main(int count, char** arguments) {
    // Output that nobody reads and files that grow too large are errors like others.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    holdStandardStreams();
    try {
        const Options options = parseOptions(count - 1, arguments + 1);
        if (options.help) {
            std::cout << usage;
            flushOutput();
        } else
            run(options);
        return 0;
    } catch (const InputError& error) {
        return fail(2, error.what());
    } catch (const std::bad_alloc&) {
        return fail(1, "there is not enough memory");
    } catch (const expt_cProgramException& error) {
        return fail(1, messageOf(error));
    } catch (const std::exception& error) {
        return fail(1, error.what());
    }
}
