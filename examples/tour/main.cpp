// A walk through DataProcessing on real data: reads what the user gives, or makes a sample, then
// tells and draws what the library does with it, step by step, on the terminal and in one report.

#include <exception>
#include <filesystem>
#include <ios>
#include <iostream>
#include <new>
#include <system_error>

#include "background.h"
#include "input_error.h"
#include "options.h"
#include "pgm_file.h"
#include "report.h"
#include "sample_image.h"
#include "sample_spectrum.h"
#include "spectrum_file.h"
#include "story.h"

namespace {

using namespace tour;

struct Step {
    const char* title;
    void (*run)(Story&);
    bool isOfLines = false; ///< left out where no line has been found
};

constexpr Step steps[] = {
    {"Numbers and their types", stepTypes},
    {"An image: dark and gain correction", stepImage},
    {"Two spectra: subtraction with alignment", stepSpectra},
    {"Lines: masks, extrema, statistics", stepLines},
    {"Ranges, a polynomial, and messages", stepRanges, true},
    {"Peak intensities over power laws", stepPeaks, true},
    {"A fit of many Gaussians", stepGauss, true},
    {"Frequencies of a profile", stepFrequencies},
    {"Registration of two shifted images", stepRegistration},
    {"The periods of a lattice", stepPeriod},
    {"Rotated, sheared, resized", stepWarp},
    {"A line scan and a projection", stepScan},
    {"An axis, written and read back", stepStreams},
};

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

void run(const Options& options) {
    // All that a user can get wrong is read and checked before anything is written.
    const bool hasSpectrum = !options.spectrum.empty();
    const bool hasImage = !options.image.empty();
    Spectrum spectrum = hasSpectrum ? fromFile(options.spectrum, readSpectrum) : sampleSpectrum();
    Image image = hasImage ? fromFile(options.image, readPgm) : sampleImage();
    Spectrum blank = hasSpectrum ? estimatedBackground(spectrum) : sampleBlank();
    const double blankScale =
        hasSpectrum ? 1 : spectrum.counts.Cal().Delta() / (blank.counts.Cal().Delta() * blankTime);
    const std::string file = reportIn(options.out);
    Report report(file);

    std::cout << "A tour of DataProcessing\n\n";
    Teller teller(std::cout, report);
    introduce(teller, options);

    Story story{.spectrum = std::move(spectrum),
                .blank = std::move(blank),
                .blankScale = blankScale,
                .isBlankEstimated = hasSpectrum,
                .known = hasSpectrum ? std::vector<KnownLine>() : sampleLines(),
                .scene = std::move(image),
                .teller = teller};
    for (const Step& step : steps) {
        if (step.isOfLines && story.lines.empty())
            continue;
        teller.Begin(step.title);
        step.run(story);
    }
    report.Finish();
    std::cout << "\nThe report, with all pictures: " << printable(file) << '\n' << std::flush;
}

/// One line, whatever the names that stand in the message.
int fail(int code, const char* message) {
    std::cout << std::flush;
    std::cerr << "tour: " << printable(message) << '\n';
    return code;
}

} // namespace

int main(int count, char** arguments) {
    try {
        const Options options = parseOptions(count - 1, arguments + 1);
        if (options.help)
            std::cout << usage;
        else
            run(options);
        return 0;
    } catch (const InputError& error) {
        return fail(2, error.what());
    } catch (const std::bad_alloc&) {
        return fail(1, "there is not enough memory");
    } catch (const std::exception& error) {
        return fail(1, error.what());
    }
}
