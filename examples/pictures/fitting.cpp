// The pictures of docs/fitting.md, and that of the first page.
#include <cmath>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "chart.h"
#include "pictures.h"

namespace {

Picture background() {
    Picture picture(640, 288, "A line fitted over two ranges beside a peak");
    const cal_c1DArrayCal keV(4.8, 0.05, 0);
    darr_c1DArray spectrum(61, dtyp_Double, keV);
    for (int i = 0; i < spectrum.Size(); ++i) {
        const double x = keV.Position(i);
        spectrum.SetNumber(i, 400 - 30 * x + 120 * std::exp(-40 * (x - 6.2) * (x - 6.2)));
    }
    rnge_c1DRange left(5.0, 5.6);
    rnge_c1DRange right(6.8, 7.4);
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    selection.AddRange(left);
    selection.AddRange(right);
    plft_c1DPolyFittingFunction line(1, selection);
    line.Refit(spectrum);
    arr_cC_Array<double> values(spectrum.Size());
    line.Load(values, keV);
    const darr_c1DArray fitted{std::span(values), keV};

    const Axis x{4.8, 40, 180};
    const Axis y{0, 250, -0.65};
    for (const rnge_c1DRange* range : {&left, &right})
        picture.Box({x.Px(range->Start()), 30}, x.Px(range->End()) - x.Px(range->Start()), 220,
                    "band");
    picture.Code({x.Px(5.3), 24}, "left", Anchor::Middle, "orange");
    picture.Code({x.Px(7.1), 24}, "right", Anchor::Middle, "orange");
    drawSteps(picture, x, y, spectrum, "ink");
    drawSteps(picture, x, y, fitted, "orange");
    drawSteps(picture, x, y, spectrum - fitted, "blue");
    picture.Text({x.Px(6.2), 24}, "the spectrum", Anchor::Middle);
    picture.Text({x.Px(5.9), 142}, "the fit", Anchor::Middle, "orange");
    picture.Text({x.Px(6.2), 162}, "what is left", Anchor::Middle, "blue");
    drawTicks(picture, x, 256, 4.8, 0.4, 8);
    return picture;
}

Picture messages() {
    Picture picture(700, 250, "How a change of a range reaches whoever listens to a fit");
    const auto box = [&](double left, double top, double width, const char* type,
                         const char* name) {
        picture.Box({left, top}, width, 50, "box");
        picture.Text({left + width / 2, top + 21}, name, Anchor::Middle);
        picture.Code({left + width / 2, top + 39}, type, Anchor::Middle, "faint");
    };
    box(14, 30, 120, "rnge_c1DRange", "range");
    box(14, 130, 120, "rnge_c1DRange", "range");
    box(206, 80, 120, "dasl_c1D...", "selection");
    box(398, 30, 120, "plft_c1D...", "fitting function");
    box(398, 130, 120, "gsft_c1D...", "fitting function");
    box(590, 80, 96, "your class", "receiver");

    picture.Line({{134, 55}, {170, 55}, {170, 155}, {134, 155}}, "ink");
    picture.Arrow({170, 105}, {206, 105}, "ink");
    picture.Line({{326, 105}, {362, 105}}, "ink");
    picture.Line({{362, 55}, {362, 155}}, "ink");
    picture.Arrow({362, 55}, {398, 55}, "ink");
    picture.Arrow({362, 155}, {398, 155}, "ink");
    picture.Line({{518, 55}, {554, 55}, {554, 155}, {518, 155}}, "ink");
    picture.Arrow({554, 105}, {590, 105}, "ink");
    picture.Code({170, 208}, "rnge_1DRangeChanged", Anchor::Middle, "orange");
    picture.Code({170, 226}, "mesg_SenderDestroyed", Anchor::Middle, "orange");
    picture.Code({362, 208}, "dasl_SelectionChanged", Anchor::Middle, "orange");
    picture.Code({554, 208}, "ftfn_FunctionChanged", Anchor::Middle, "orange");
    for (const double x : {170, 362, 554})
        picture.Line({{x, 160}, {x, 192}}, "faint");
    return picture;
}

pkmd_cModel threeLines(double chromium, double iron) {
    pkmd_cModel model;
    for (const auto& [position, height] :
         {std::pair{5.41, chromium}, {5.95, chromium / 4}, {6.4, iron}})
        model.AddPeak(pkmd_Gaussian, position, height, 0.06);
    model.AddPowerLaw(60, -2, 6);
    return model;
}

/// Counts about these values, the same ones at every run.
darr_c1DArray counted(const std::vector<double>& expected, const cal_c1DArrayCal& cal) {
    std::mt19937 random(20261);
    std::vector<double> counts;
    for (const double mean : expected) {
        double normal = -6;
        for (int i = 0; i < 12; ++i)
            normal += static_cast<double>(random()) / 4294967296.0;
        counts.push_back(std::round(mean + std::sqrt(mean) * normal));
    }
    return darr_c1DArray{std::span(counts), cal};
}

Picture spectrum() {
    Picture picture(700, 330,
                    "Counts, three lines fitted to them over a power law, and their areas");
    const cal_c1DArrayCal keV(4.9, 0.02, 0);
    std::vector<double> at, expected(100);
    for (int i = 0; i < 100; ++i)
        at.push_back(keV.Position(i));
    const pkmd_cModel truth = threeLines(300, 640);
    truth.Values(truth.Starts(), at, expected);
    const darr_c1DArray counts = counted(expected, keV);
    const pkmd_cModel model = threeLines(200, 500);
    const pkmd_sResult found = pkmd_Fit(model, counts);
    const std::span<const double> parameters(found.fit.parameters);

    const Axis x{4.9, 40, 310};
    const Axis y{0, 290, -0.31};
    const auto curve = [&](pkmd_eParts parts) {
        std::vector<Point> line;
        std::vector<double> fine, values(601);
        for (int i = 0; i <= 600; ++i)
            fine.push_back(4.9 + 2 * i / 600.0);
        model.Values(parameters, fine, values, parts);
        for (std::size_t i = 0; i < fine.size(); ++i)
            line.push_back({x.Px(fine[i]), y.Px(values[i])});
        return line;
    };
    for (int i = 0; i < counts.Size(); ++i)
        picture.Dot({x.Px(keV.Position(i)), y.Px(counts[i])}, 2.2, "ink");
    picture.Line(curve(pkmd_BackgroundOnly), "faint");
    picture.Line(curve(pkmd_Everything), "orange");
    const char* const lines[] = {"Cr Ka", "Cr Kb", "Fe Ka"};
    for (std::size_t i = 0; i < found.peaks.size(); ++i) {
        const pkmd_sPeak& peak = found.peaks[i];
        const double top =
            y.Px(parameters[static_cast<std::size_t>(model.Height(static_cast<int>(i)))]);
        const Anchor anchor = i == 1 ? Anchor::Start : Anchor::Middle;
        const double left = x.Px(peak.position) + (i == 1 ? -24 : 0);
        picture.Text({left, top - 50}, lines[i], anchor, "blue");
        picture.Text({left, top - 32},
                     plain(std::round(peak.area / keV.Delta())) + " ± " +
                         plain(std::round(peak.areaError / keV.Delta())),
                     anchor, "blue");
    }
    picture.Text({x.Px(6.9), y.Px(80)}, "power law", Anchor::End, "faint");
    drawTicks(picture, x, 296, 5, 0.2, 10);
    return picture;
}

} // namespace

void drawFitting(const std::string& folder) {
    background().Save(folder, "background");
    messages().Save(folder, "messages");
    spectrum().Save(folder, "spectrum");
}
