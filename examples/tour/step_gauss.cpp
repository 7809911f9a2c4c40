#include <algorithm>
#include <cmath>
#include <deque>

#include "story.h"

namespace tour {

namespace {

// The law of the resolution is that of silicon detectors, with positions in eV: the square of the
// width grows by this much per eV. Electronics alone would give a width of about 100 eV.
constexpr double growth = 2.3;
constexpr double electronicWidth = 100;
constexpr double leastElectronicWidth = 80;
constexpr double mostElectronicWidth = 120;
// K-alpha and K-beta lines of the elements around iron.
constexpr double lowestBeta = 1.085;
constexpr double highestBeta = 1.12;
constexpr double betaToAlpha = 0.135;

const double widthsPerFwhm = 1 / (2 * std::sqrt(std::log(2.0)));

/// The eV per unit of the axis at which the line is as wide as it would be in a silicon detector
/// with electronics of this width.
double electronvolts(const Line& line, double electronic) {
    const double linear = growth * line.position;
    const double square = line.width * line.width;
    return (linear + std::sqrt(linear * linear + 4 * square * electronic * electronic)) /
           (2 * square);
}

/// How many eV the axis has per unit: known, or else estimated from the strongest line.
double electronvoltsPerUnit(const Spectrum& spectrum, const Line& line) {
    return spectrum.unit == "keV" ? 1000 : electronvolts(line, electronicWidth);
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

std::vector<std::string> rowOf(const char* when, const Fit& fit) {
    const cal_c1DArrayCal& cal = fit.calibration;
    return {when, fixed(cal.Position(0), 2), fixed(cal.Delta(), 4),
            fixed(fit.resolution.ReferenceFWHM(), 2)};
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

Table tableOfPeaks(const Story& story, const Fit& fit,
                   const gsft_c1DGaussianFittingFunction& function) {
    const bool isKnown = !story.known.empty();
    Table table{
        .caption = "The fitted peaks",
        .heading = {"line", "E / eV", "height", "counts", "error"},
        .columns = {Column::name, Column::number, Column::number, Column::number, Column::number}};
    if (isKnown) {
        table.heading.emplace_back("model");
        table.columns.push_back(Column::number);
    }
    table.heading.emplace_back("coupled");
    table.columns.push_back(Column::name);
    for (std::size_t i = 0; i < story.group.size(); ++i) {
        const gsft_cGaussian& peak = fit.gaussians[i];
        const KnownLine* known = knownAt(story, story.group[i]);
        const double delta = fit.calibration.Delta();
        std::vector<std::string> cells{known != nullptr ? known->name : std::to_string(i + 1),
                                       fixed(peak.Center(), 1), fixed(peak.Amplitude(), 1),
                                       fixed(peak.Area() / delta, 0),
                                       fixed(function.AreaError(static_cast<int>(i)) / delta, 0)};
        if (isKnown)
            cells.push_back(known != nullptr ? fixed(known->area, 0) : "");
        cells.push_back(peak.HasReference() ? fixed(peak.AmplitudeRatio(), 3) + " of " +
                                                  fixed(peak.hRefGaussian()->Center(), 1)
                                            : "");
        table.rows.push_back(std::move(cells));
    }
    return table;
}

void draw(Story& story, const darr_c1DArray& data, const darr_c1DArray& model,
          const darr_c1DArray& residuals, const std::vector<rnge_c1DRange>& bands) {
    Frame frame{.title = "",
                .x = "energy / eV",
                .y = "counts per channel",
                .isLogarithmic = true,
                .view = data.Range()};
    frame.bands = bands;
    const Frame below{
        .title = "", .x = "energy / eV", .y = "residual / noise", .view = data.Range()};
    story.teller.Draw(
        {"Gaussians with coupled heights, fitted together with the calibration and the resolution "
         "in the shaded windows. Below: what they leave, in units of the noise.",
         {Diagram{frame,
                  {{"without the background", data, Style::dots}, {"sum of Gaussians", model}}},
          Diagram{below, {{"", residuals, Style::dots}}}}});
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
    Teller& teller = story.teller;
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
        teller.Say(
            "The law of the resolution wants positions in eV. The strongest line is as wide "
            "as in a silicon detector at ",
            fixed(scale, 2), " eV per ", story.spectrum.axis == "channel" ? "channel" : "unit",
            " if electronics add ", electronicWidth, " eV, which is an estimate: it is ",
            fixed(electronvolts(main, leastElectronicWidth), 2), " with ", leastElectronicWidth,
            " eV, and ", fixed(electronvolts(main, mostElectronicWidth), 2), " with ",
            mostElectronicWidth, " eV.");
    teller.Say(fit.peaks.Size(), " peaks, whose widths follow the resolution sqrt(f^2 + 2.3 (E - ",
               fixed(center, 0),
               ")), are fitted at once. The fit starts with a wrong calibration "
               "and a resolution 20 % too wide.");
    Table table{.caption = "The calibration and the resolution, in eV",
                .heading = {"values", "offset", "delta", "f"},
                .columns = {Column::name, Column::number, Column::number, Column::number}};
    table.rows.push_back(rowOf("start", fit));
    gsft_c1DGaussianFittingFunction function(fit.selection, fit.peaks, fit.calibration,
                                             fit.fitCalibration, fit.resolution, fit.fitResolution);
    function.Refit(data, gsft_StopAtOptimum);
    table.rows.push_back(rowOf("fitted", fit));
    table.rows.push_back({story.known.empty() ? "given" : "model",
                          fixed(scale * given.Position(0), 2), fixed(scale * given.Delta(), 4),
                          ""});
    teller.Show(table);

    function.SetWidthsFromResolution();
    data.SetCal(fit.calibration);
    teller.Show(tableOfPeaks(story, fit, function));

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
    teller.Say("The mean square of residual / noise is ", fixed(squares / points, 2),
               "; counting alone gives 1.");
    draw(story, data, model, residuals, windows);
}

} // namespace

void stepGauss(Story& story) {
    if (story.group.empty()) {
        story.teller.Say("There is no peak to be fitted.");
        return;
    }
    try {
        run(story);
    } catch (const gsft_cFitException& failure) {
        story.teller.Say("The fit has failed: ", failure.Message());
    } catch (const rcps_cRecipesException& failure) {
        story.teller.Say("The data cannot tell the peaks apart: ", failure.what());
    }
}

} // namespace tour
