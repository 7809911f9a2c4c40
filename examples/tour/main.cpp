// A walk through DataProcessing on real data: reads what the user gives, or makes a sample, then
// tells and draws what the library does with it, step by step.

#include <csignal>
#include <exception>
#include <filesystem>
#include <ios>
#include <iostream>
#include <new>
#include <system_error>

#include "background.h"
#include "canvas.h"
#include "input_error.h"
#include "options.h"
#include "pgm_file.h"
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

/// Makes the directory and goes there, so that no path ever reaches gnuplot.
void enter(const std::string& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (!error)
        std::filesystem::current_path(directory, error);
    if (error)
        throw InputError("cannot use " + quoted(directory, 200) +
                         " for pictures: " + error.message());
}

void tellSource(const char* what, const std::string& file) {
    std::cout << "   " << what << (file.empty() ? "the tour's own sample" : quoted(file, 200))
              << '\n';
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
    enter(options.out);

    std::cout << "A tour of DataProcessing\n\n";
    tellSource("spectrum: ", options.spectrum);
    tellSource("image:    ", options.image);
    Canvas canvas(std::cout, options.out);
    if (!canvas.IsThere())
        std::cout << "   pictures: none, because gnuplot (with pngcairo) is not installed\n";

    Story story{.spectrum = std::move(spectrum),
                .blank = std::move(blank),
                .blankScale = blankScale,
                .isBlankEstimated = hasSpectrum,
                .known = hasSpectrum ? std::vector<KnownLine>() : sampleLines(),
                .scene = std::move(image),
                .text = std::cout,
                .canvas = canvas};
    int number = 0;
    for (const Step& step : steps) {
        if (step.isOfLines && story.lines.empty())
            continue;
        std::cout << '\n' << ++number << ". " << step.title << "\n\n";
        step.run(story);
    }
    std::cout << std::flush;
}

/// One line, whatever the names that stand in the message.
int fail(int code, const char* message) {
    std::cout << std::flush;
    std::cerr << "tour: " << printable(message) << '\n';
    return code;
}

} // namespace

int main(int count, char** arguments) {
    // A gnuplot that dies is noticed by its exit code.
    std::signal(SIGPIPE, SIG_IGN);
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
