// The pictures of docs/fitting.md.
#include <cmath>
#include <span>
#include <string>

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

} // namespace

void drawFitting(const std::string& folder) {
    background().Save(folder, "background");
    messages().Save(folder, "messages");
}
