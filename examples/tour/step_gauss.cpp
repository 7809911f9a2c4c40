#include <algorithm>
#include <cmath>
#include <deque>
#include <iomanip>

#include "story.h"

namespace tour {

namespace {

// The law of the resolution is that of silicon detectors, with positions in eV: the square of the
// width grows by this much per eV. Electronics alone would give about `electronicWidth`.
constexpr double growth = 2.3;
constexpr double electronicWidth = 80;
// K-alpha and K-beta lines of the elements around iron.
constexpr double lowestBeta = 1.085;
constexpr double highestBeta = 1.12;
constexpr double betaToAlpha = 0.135;

const double widthsPerFwhm = 1 / (2 * std::sqrt(std::log(2.0)));

/// How many eV the axis has per unit: known, or else such that the strongest line is as wide as it
/// would be in a silicon detector.
double electronvoltsPerUnit(const Spectrum& spectrum, const Line& line) {
    if (spectrum.unit == "keV")
        return 1000;
    const double linear = growth * line.position;
    const double square = line.width * line.width;
    return (linear + std::sqrt(linear * linear + 4 * square * electronicWidth * electronicWidth)) /
           (2 * square);
}

/// The line of the group of which this one is the K-beta; null where there is none.
const Line* alphaOf(const std::vector<Line>& group, const Line& line) {
    for (const Line& other : group) {
        const double place = line.position / other.position;
        const double ratio = line.height / other.height;
        if (place > lowestBeta && place < highestBeta && ratio > 0.1 && ratio < 0.2)
            return &other;
    }
    return nullptr;
}

darr_c1DArray loaded(const ftfn_c1DFittingFunction& function, const darr_c1DArray& over) {
    arr_cC_Array<double> values(over.Size());
    function.Load(values, over.Cal());
    return darr_c1DArray(
        std::span<const double>(values.Data(), static_cast<std::size_t>(values.Size())),
        over.Cal());
}

/// All that a fit refers to.
struct Fit {
    cal_c1DArrayCal calibration;
    gsft_cResolution resolution;
    type_cBoolean fitCalibration = true;
    type_cBoolean fitResolution = true;
    std::deque<gsft_cGaussian> gaussians = {}; // whose addresses must stay
    list_cPtrList<gsft_cGaussian> peaks = {};
    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
};

void tellParameters(std::ostream& text, const char* when, const Fit& fit) {
    const cal_c1DArrayCal& cal = fit.calibration;
    text << "   " << std::left << std::setw(10) << when << std::right << std::setw(14)
         << fixed(cal.Position(0), 2) << std::setw(12) << fixed(cal.Delta(), 4) << std::setw(16)
         << fixed(fit.resolution.ReferenceFWHM(), 2) << '\n';
}

void addPeaks(Story& story, Fit& fit, double scale) {
    const std::vector<Line>& group = story.group;
    for (const Line& line : group) {
        const KnownLine* known = knownAt(story, line);
        const double center = scale * (known != nullptr ? known->energy : line.position);
        fit.gaussians.emplace_back(line.height, center, scale * line.width * widthsPerFwhm);
        fit.peaks.Append(&fit.gaussians.back());
    }
    for (std::size_t i = 0; i < group.size(); ++i)
        if (const Line* alpha = alphaOf(group, group[i])) {
            gsft_cGaussian& reference =
                fit.gaussians[static_cast<std::size_t>(alpha - group.data())];
            if (reference.HasReference())
                continue;
            gsft_cGaussian& beta = fit.gaussians[i];
            beta.SetRefGaussian(reference);
            const double widths =
                fit.resolution.FWHM(reference.Center()) / fit.resolution.FWHM(beta.Center());
            beta.SetAmplitudeFromRatio(betaToAlpha * widths);
        }
}

void tellPeaks(const Story& story, const Fit& fit) {
    std::ostream& text = story.text;
    const bool isKnown = !story.known.empty();
    text << "\n   " << std::left << std::setw(10) << "line" << std::right << std::setw(10) << "eV"
         << std::setw(12) << "height" << std::setw(12) << "counts"
         << (isKnown ? "       model" : "") << "   coupled\n";
    for (std::size_t i = 0; i < story.group.size(); ++i) {
        const gsft_cGaussian& peak = fit.gaussians[i];
        const KnownLine* known = knownAt(story, story.group[i]);
        const double area =
            peak.Amplitude() * peak.Width() * std::sqrt(type_Pi) / fit.calibration.Delta();
        text << "   " << std::left << std::setw(10)
             << (known != nullptr ? known->name : std::to_string(i + 1)) << std::right
             << std::setw(10) << fixed(peak.Center(), 1) << std::setw(12)
             << fixed(peak.Amplitude(), 1) << std::setw(12) << fixed(area, 0);
        if (isKnown)
            text << std::setw(12) << (known != nullptr ? fixed(known->area, 0) : "");
        if (peak.HasReference())
            text << "   " << fixed(peak.AmplitudeRatio(), 3) << " of "
                 << fixed(peak.hRefGaussian()->Center(), 1);
        text << '\n';
    }
}

void draw(Story& story, const darr_c1DArray& data, const darr_c1DArray& model,
          const darr_c1DArray& residuals, const std::vector<rnge_c1DRange>& bands) {
    Frame frame{.title = "Gaussians with coupled heights, calibration and resolution fitted",
                .x = "",
                .y = "counts per channel",
                .isLogarithmic = true,
                .view = data.Range()};
    frame.bands = bands;
    const Frame below{
        .title = "", .x = "energy / eV", .y = "residual / noise", .view = data.Range()};
    story.canvas.DrawPair(
        "gauss.png",
        {frame, {{"without the background", data, Style::dots}, {"sum of Gaussians", model}}},
        {below, {{"", residuals, Style::dots}}});
}

/// The windows of the group on another calibration: over the same elements.
std::vector<rnge_c1DRange> windowsOn(const cal_c1DArrayCal& cal, const Story& story) {
    const cal_c1DArrayCal& from = story.peaks.Cal();
    const auto moved = [&](double x) {
        return cal.Position(0) + (x - from.Position(0)) / from.Delta() * cal.Delta();
    };
    std::vector<rnge_c1DRange> result;
    for (const rnge_c1DRange& window : story.windows)
        result.emplace_back(moved(window.Start()), moved(window.End()));
    return result;
}

/// The deviations from the model in units of the noise of counting; NaN outside of the windows.
darr_c1DArray residualsOf(const Story& story, const darr_c1DArray& data, const darr_c1DArray& model,
                          const std::vector<rnge_c1DRange>& windows) {
    const rnge_c1DIndexRange range(story.peaks.Range(), story.spectrum.counts.Cal(),
                                   rnge_IndexNearest);
    darr_c1DArray counts = conv_Convert(story.spectrum.counts.Selection(range), dtyp_Double);
    counts.SetCal(data.Cal());
    const darr_c1DArray all = (data - model) / sqrt(trny_max(counts, 1.0));
    darr_c1DArray result(data.Size(), std::nan(""), data.Cal());
    for (const rnge_c1DRange& window : windows) {
        const rnge_c1DIndexRange part(window & data.Range(), data.Cal(), rnge_IndexNearest);
        for (int i = part.First(); i < part.Last(); ++i)
            result.SetNumber(i, all.Number(i));
    }
    return result;
}

void run(Story& story) {
    std::ostream& text = story.text;
    const Line& main = strongest(story.group);
    const double scale = electronvoltsPerUnit(story.spectrum, main);
    const double width = scale * main.width;
    const cal_c1DArrayCal& given = story.peaks.Cal();
    const cal_c1DArrayCal dial(scale * given.Position(0) + width / 5, 1.001 * scale * given.Delta(),
                               0);
    const KnownLine* known = knownAt(story, main);
    const double center = scale * (known != nullptr ? known->energy : main.position);
    Fit fit{.calibration = dial, .resolution = gsft_cResolution(center, 1.2 * width)};
    addPeaks(story, fit, scale);
    for (const rnge_c1DRange& window : windowsOn(dial, story))
        fit.selection.AddLocalRange(window);
    darr_c1DArray data = story.peaks;
    data.SetCal(dial);

    if (story.spectrum.unit != "keV")
        text << "   The law of the resolution wants positions in eV. The strongest line is as wide "
                "as in a\n   silicon detector at "
             << fixed(scale, 2) << " eV per "
             << (story.spectrum.axis == "channel" ? "channel" : "unit")
             << ", which is an estimate.\n";
    text << "   " << fit.peaks.Size() << " peaks, whose widths follow the resolution "
         << "sqrt(f^2 + 2.3 (E - " << fixed(center, 0) << ")).\n   The fit starts with a wrong "
         << "calibration and a resolution 20 % too wide:\n\n"
         << "                     offset       delta            f / eV\n";
    tellParameters(text, "start", fit);
    gsft_c1DGaussianFittingFunction function(fit.selection, fit.peaks, fit.calibration,
                                             fit.fitCalibration, fit.resolution, fit.fitResolution);
    function.Refit(data);
    tellParameters(text, "fitted", fit);
    text << "   " << std::left << std::setw(10) << (story.known.empty() ? "given" : "model")
         << std::right << std::setw(14) << fixed(scale * given.Position(0), 2) << std::setw(12)
         << fixed(scale * given.Delta(), 4) << '\n';

    // The fit leaves the widths of the peaks to us.
    for (gsft_cGaussian& peak : fit.gaussians)
        peak.SetWidth(fit.resolution.FWHM(peak.Center()) * widthsPerFwhm);
    data.SetCal(fit.calibration);
    tellPeaks(story, fit);

    const std::vector<rnge_c1DRange> windows = windowsOn(fit.calibration, story);
    const darr_c1DArray model = loaded(function, data);
    const darr_c1DArray residuals = residualsOf(story, data, model, windows);
    double points = 0;
    double squares = 0;
    for (const rnge_c1DRange& window : windows) {
        const darr_c1DArray part = residuals.Selection(window & data.Range(), rnge_IndexNearest);
        points += part.Size();
        squares += stat_Sum(part * part).As<double>();
    }
    text << "\n   mean square of residual / noise: " << fixed(squares / points, 2)
         << "; counting alone gives 1\n";
    draw(story, data, model, residuals, windows);
}

} // namespace

void stepGauss(Story& story) {
    if (story.group.empty()) {
        story.text << "   There is no peak to be fitted.\n";
        return;
    }
    try {
        run(story);
    } catch (const gsft_cFitException& failure) {
        story.text << "   The fit has failed: " << failure.Message() << '\n';
    } catch (const rcps_cRecipesException& failure) {
        story.text << "   The data cannot tell the peaks apart: " << failure.what() << '\n';
    }
}

} // namespace tour
