#include "story.h"

namespace tour {

namespace {

// Smaller lines are lost in the tails of the strongest.
constexpr double leastPart = 1e-3;

/// The part of the spectrum with all of the group, with room on both sides.
darr_c1DArray around(const Story& story) {
    const Line& first = story.group.front();
    const Line& last = story.group.back();
    const darr_c1DArray& counts = story.spectrum.counts;
    const rnge_c1DRange range(first.position - 3 * first.width, last.position + 3 * last.width);
    const darr_c1DArray part = counts.Selection(range & counts.Range(), rnge_IndexCeiling);
    const cal_c1DArrayCal cal(part.Cal().Position(0), part.Cal().Delta(), 0);
    return darr_c1DArray(conv_Convert(part, dtyp_Double), cal);
}

} // namespace

void stepPeaks(Story& story) {
    Teller& teller = story.teller;
    const darr_c1DArray& counts = story.spectrum.counts;
    std::vector<Line> lines;
    const double least = leastPart * strongest(story.lines).height;
    for (const Line& line : groupOfStrongest(story.lines, 10))
        if (line.height > least && stretchBelow(story.stretches, line.position) != nullptr)
            lines.push_back(line);
    if (lines.empty()) {
        teller.Say("No peak has a background below it that a power law could be fitted to.");
        return;
    }
    story.group = lines;

    dasl_c1DDataArraySelection unused(rnge_IndexNearest);
    pwft_cMultiPowerLawFitFunc background(1, unused);
    std::vector<rnge_c1DRange> fitted;
    for (const Line& line : lines) {
        const rnge_c1DRange& below = *stretchBelow(story.stretches, line.position);
        const double half = halfWindow(story.lines, line);
        background.AddPeak(line.position, line.position - below.End(), below.Length(), -half,
                           2 * half);
        story.windows.emplace_back(line.position - half, line.position + half);
        fitted.push_back(below);
    }
    background.Refit(counts);

    const bool isKnown = !story.known.empty();
    const double delta = counts.Cal().Delta();
    const int digits = delta < 0.1 ? 3 : 1;
    const auto shown = [&](const rnge_c1DRange& range) {
        return fixed(range.Start(), digits) + " to " + fixed(range.End(), digits);
    };
    teller.Say("Each peak has a power law of its own, fitted to what lies between lines below it, "
               "and subtracted in the window over which the peak is summed.");
    Table table{
        .caption = "Peaks over power laws a x^b" +
                   std::string(isKnown ? "; model: the counts of the sample" : ""),
        .heading = {isKnown ? "line" : "peak", "fitted over", "summed over", "exponent b",
                    "counts"},
        .columns = {Column::name, Column::name, Column::name, Column::number, Column::number}};
    if (isKnown) {
        table.heading.emplace_back("model");
        table.columns.push_back(Column::number);
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const KnownLine* known = knownAt(story, lines[i]);
        const double exponent = background.Coefficients(static_cast<int>(i))[1];
        std::vector<std::string> cells{
            known != nullptr ? known->name : fixed(lines[i].position, digits), shown(fitted[i]),
            shown(story.windows[i]), fixed(exponent, 2),
            fixed(background.PeakIntensity(lines[i].position) / delta, 0)};
        if (isKnown)
            cells.push_back(known != nullptr ? fixed(known->area, 0) : "");
        table.rows.push_back(std::move(cells));
    }
    teller.Show(table);

    const darr_c1DArray part = around(story);
    arr_cC_Array<double> values(part.Size());
    background.Load(values, part.Cal());
    story.peaks = darr_c1DArray(
        std::span<const double>(values.Data(), static_cast<std::size_t>(values.Size())),
        part.Cal());
    Frame frame{.title = "",
                .x = axisLabel(story.spectrum),
                .y = "counts per channel",
                .isLogarithmic = true,
                .view = part.Range()};
    frame.bands = story.windows;
    teller.Draw(
        {"Peaks without their backgrounds, in the windows over which they are summed (shaded).",
         {Diagram{frame, {{"spectrum", part}, {"without the background", story.peaks}}}}});
}

} // namespace tour
