#include "story.h"

namespace tour {

namespace {

// Smaller lines are lost in the tails of the strongest.
constexpr double leastPart = 1e-3;

/// The part of the spectrum with all of the group, with room on both sides.
darr_c1DArray around(const Story& story, const std::vector<Line>& group) {
    const Line& first = group.front();
    const Line& last = group.back();
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
    dasl_c1DDataArraySelection unused(rnge_IndexNearest);
    pwft_cMultiPowerLawFitFunc background(1, unused);
    std::vector<rnge_c1DRange> fitted;
    std::vector<rnge_c1DRange> windows;
    for (const Line& line : lines) {
        const rnge_c1DRange& below = *stretchBelow(story.stretches, line.position);
        const double half = halfWindow(story.lines, line);
        background.AddPeak(line.position, line.position - below.End(), below.Length(), -half,
                           2 * half);
        windows.emplace_back(line.position - half, line.position + half);
        fitted.push_back(below);
    }
    background.Refit(counts);

    const double delta = counts.Cal().Delta();
    const int digits = delta < 0.1 ? 3 : 1;
    const auto shown = [&](const rnge_c1DRange& range) {
        return fixed(range.Start(), digits) + " to " + fixed(range.End(), digits);
    };
    teller.Say("Another way to areas: each peak has a power law of its own, fitted to what lies "
               "between lines below it, and subtracted in the window over which the peak is "
               "summed. The background of the sample is a power law, with exponent -1.6; windows "
               "of lines that overlap hold parts of both.");
    Table table{.caption = "Peaks over power laws a x^b, the exponent and the counts with their "
                           "standard errors; model: the counts of the sample",
                .heading = {"line", "fitted over", "summed over", "exponent b", "counts", "model"},
                .columns = {Column::name, Column::name, Column::name, Column::number,
                            Column::number, Column::number}};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const KnownLine* known = knownAt(story, lines[i]);
        const int peak = static_cast<int>(i);
        const double exponent = background.Coefficients(peak)[1];
        const double position = lines[i].position;
        table.rows.push_back({known != nullptr ? known->name : fixed(position, digits),
                              shown(fitted[i]), shown(windows[i]),
                              withError(exponent, background.PowerLaw(peak).StandardErrors()[1]),
                              withError(background.PeakIntensity(position) / delta,
                                        background.PeakIntensityError(position) / delta),
                              known != nullptr ? fixed(known->area, 0) : ""});
    }
    teller.Show(table);

    const darr_c1DArray part = around(story, lines);
    arr_cC_Array<double> values(part.Size());
    background.Load(values, part.Cal());
    const darr_c1DArray peaks(
        std::span<const double>(values.Data(), static_cast<std::size_t>(values.Size())),
        part.Cal());
    Frame frame{.title = "",
                .x = axisLabel(story.spectrum),
                .y = "counts per channel",
                .isLogarithmic = true,
                .view = part.Range()};
    frame.bands = windows;
    teller.Draw(
        {"Peaks without their backgrounds, in the windows over which they are summed (shaded).",
         {Diagram{frame, {{"spectrum", part}, {"without the background", peaks}}}}});
}

} // namespace tour
