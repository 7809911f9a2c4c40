#include <algorithm>
#include <cmath>

#include "lines.h"
#include "story.h"

namespace tour {

namespace {

double number(const pnum_cNumber& value) { return value.As<double>(); }

int significantDigits(double delta) {
    return std::max(0, 1 - static_cast<int>(std::floor(std::log10(delta))));
}

/// The mean of the counts over a window, and the variance of what is left without the background.
struct Quiet {
    rnge_c1DRange window;
    int channels = 0;
    double mean = 0;
    double variance = 0;
    double Excess() const { return variance / mean; }
};

/// The widest window where the variance is hardly more than the mean, or else the one where it is
/// the least part of it; without channels if there is none.
Quiet quietest(const Story& story, const std::vector<rnge_c1DRange>& windows) {
    constexpr int fewest = 16;
    constexpr double quietEnough = 1.5;
    Quiet best;
    for (const rnge_c1DRange& window : windows) {
        const darr_c1DArray counts = story.spectrum.counts.Selection(window, rnge_IndexCeiling);
        const darr_c1DArray rest = story.net.Selection(window, rnge_IndexCeiling);
        if (counts.Size() < fewest)
            continue;
        const Quiet quiet{window, counts.Size(), number(stat_Mean(counts)),
                          number(stat_Variance(rest))};
        if (quiet.mean <= 0)
            continue;
        const bool isQuiet = quiet.Excess() < quietEnough;
        const bool isBetter = isQuiet
                                  ? best.Excess() >= quietEnough || quiet.channels > best.channels
                                  : quiet.Excess() < best.Excess();
        if (best.channels == 0 || isBetter)
            best = quiet;
    }
    return best;
}

} // namespace

void stepLines(Story& story) {
    Teller& teller = story.teller;
    const std::string& unit = story.spectrum.unit;
    const std::string ofUnit = unit.empty() ? "" : " " + unit;
    // Lines are looked for where there is a background, so not in the noise at the very beginning.
    const rnge_c1DRange known = story.blank.counts.Range() & story.spectrum.counts.Range();
    const darr_c1DArray net = story.net.Selection(known, rnge_IndexCeiling);
    const darr_c1DArray counts = story.spectrum.counts.Selection(known, rnge_IndexCeiling);

    barr_c1DBoolArray isLine = net > 5.0 * sqrt(abs(counts));
    isLine.SetCal(net.Cal()); // a mask starts on the default calibration
    const darr_c1DArray inLines = tnry_Ternary(isLine, net, 0.0);
    const darr_c1DArray marked = tnry_Ternary(isLine, 1.0, 0.0);
    teller.Say("A comparison gives a mask of what stands out of the noise of counting: net > 5 "
               "sqrt(counts) holds in ",
               stat_Sum(marked), " of ", net.Size(), " channels.");

    const darr_c1DArray clipped = trny_max(net, 0.0);
    teller.Say("The smallest value is ", fixed(number(extr_Min(net, conv_RealPart)), 1),
               ", and clipped with trny_max ", fixed(number(extr_Min(clipped, conv_RealPart)), 1),
               ".");

    story.lines = findLines(net, counts);
    if (story.lines.empty()) {
        teller.Say("There is no usable peak in this spectrum, so the steps that need one are left "
                   "out.");
        return;
    }
    const int digits = significantDigits(net.Cal().Delta());
    double position = 0;
    const pnum_cNumber largest = extr_Max(net, position, conv_RealPart);
    const Line& main = strongest(story.lines);
    const rnge_c1DRange right(main.position + 1.2 * main.width, main.position + 6 * main.width);
    teller.Say("The largest value is ", fixed(number(largest), 1), " at ", fixed(position, digits),
               ofUnit, "; over ", right, ofUnit, " it is ",
               fixed(number(extr_Max(net, right, darr_LinearInterpolation, conv_RealPart)), 1),
               ".");

    Table table{.caption = joined(story.lines.size(), story.lines.size() == 1 ? " line" : " lines",
                                  ", with their full widths at half maximum"),
                .heading = {axisLabel(story.spectrum), "width", "net counts per channel"},
                .columns = {Column::number, Column::number, Column::number}};
    Frame frame{.title = "",
                .x = axisLabel(story.spectrum),
                .y = "net counts per channel",
                .isLogarithmic = true};
    for (const Line& line : story.lines) {
        const std::string place = fixed(line.position, digits);
        table.rows.push_back({place, fixed(line.width, digits), fixed(line.height, 0)});
        frame.marks.push_back({line.position, place});
    }
    teller.Show(table);

    story.stretches =
        stretchesWithoutLines(story.lines, story.blank.counts * story.blankScale, known);
    std::string caption = "Lines: what stands out of the noise of counting.";
    const Quiet quiet = quietest(story, story.stretches);
    if (quiet.channels > 0) {
        teller.Say("Between the lines there is background alone. Over ", quiet.window, ofUnit, ", ",
                   quiet.channels, " channels, its mean is ", fixed(quiet.mean, 1),
                   " counts; once it is subtracted, the variance is ", fixed(quiet.variance, 1),
                   ", which is ", fixed(quiet.Excess(), 2),
                   " of that mean, where counting alone gives 1.");
        frame.bands.push_back(quiet.window);
        caption += " Shaded: the background whose mean and variance are compared.";
    }
    teller.Draw(
        {caption,
         {Diagram{frame, {{"net, clipped at 0", clipped}, {"where the mask is set", inLines}}}}});
}

} // namespace tour
