#include <cmath>
#include <span>

#include "story.h"

namespace tour {

namespace {

constexpr double badLaw = 2; // reduced chi-squared, from which on a law is said not to hold

std::string aboutSlope(const Story& story) {
    const WidthLaw& law = story.analysis.law;
    if (law.slopeError > 0 && story.analysis.hasLaw)
        return "The law is that of the fit of all lines together: over position, the square of the "
               "full width at half maximum is a straight line. To each error half a percent of the "
               "width is added for what lines are other than Gaussians.";
    if (law.slopeError > 0)
        return "The square of the full width at half maximum, over position, is fitted by a "
               "straight line, to each error half a percent of the width being added for what "
               "lines are other than Gaussians.";
    return std::string("That does not tell how widths grow along the axis; ") +
           (law.slope == 0                     ? "they are taken to be the same everywhere."
            : law.slope == story.options.slope ? "they are taken to grow as those of a silicon "
                                                 "detector."
                                               : "they are taken to grow as they seemed to at "
                                                 "first.");
}

/// Whether the widths follow the law.
void tellLaw(Story& story) {
    const Analysis& analysis = story.analysis;
    const WidthLaw& law = analysis.law;
    const std::string found =
        "Chi-squared per degree of freedom of the law is " + fixed(law.reducedChiSquared, 2);
    const std::string without = law.outliers > 0
                                    ? joined(" without ", counted(law.outliers, "line"), " that ",
                                             law.outliers == 1 ? "is" : "are", " more than ",
                                             farthestFromLaw, " errors off")
                                    : "";
    const std::string others = "Lines that are wider may be several, or have a natural width.";
    if (analysis.hasLaw)
        story.teller.Say(found, ": one law holds for all lines.");
    else if (law.reducedChiSquared <= badLaw)
        story.teller.Say(found, without, ": the law holds for the others. ", others);
    else
        story.teller.Say(found, without,
                         ": the widths do not follow one law to within their errors. ", others);
}

/// What the law means for a silicon detector, where positions are energies.
void tellDetector(Story& story) {
    const WidthLaw& law = story.analysis.law;
    Teller& teller = story.teller;
    const double perUnit = story.spectrum.unit == "keV" ? 1000 : 1;
    const double slope = law.slope * perUnit; // eV^2 per eV
    const double error = law.slopeError * perUnit;
    teller.Say("In a detector the square of the width is that of its electronics and ",
               "8 ln 2 F w E, with the energy w that a charge takes and the Fano factor F. "
               "The fitted slope is ",
               withError(slope, error), " eV; silicon (w = 3.65 eV, F = 0.115) has ",
               fixed(slopeOfSilicon, 2), " eV.");
    const double noise = law.square - law.slope * law.reference;
    if (law.reducedChiSquared > badLaw)
        teller.Say("As the widths do not follow it, nothing more is concluded from it.");
    else if (std::abs(slope - slopeOfSilicon) > 0.3 * slopeOfSilicon + 3 * error)
        teller.Say("That is not the slope of such a detector, and nothing is concluded from it.");
    else if (noise > 0)
        teller.Say("Continued to energy 0 the width is ", fixed(perUnit * std::sqrt(noise), 1),
                   " eV, which would be the electronics.");
    else
        teller.Say("Continued to energy 0 nothing is left for the electronics: the calibration or "
                   "the widths are off.");
}

darr_c1DArray curveOf(const WidthLaw& law, const cal_c1DArrayCal& cal, int size) {
    std::vector<double> widths;
    widths.reserve(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i)
        widths.push_back(law.At(cal.Position(i)));
    return darr_c1DArray(std::span<const double>(widths), cal);
}

/// The widths at their places, NaN elsewhere.
darr_c1DArray dotsOf(const std::vector<Width>& widths, const cal_c1DArrayCal& cal, int size) {
    std::vector<double> values(static_cast<std::size_t>(size), std::nan(""));
    for (const Width& width : widths) {
        const double index = std::round((width.position - cal.Position(0)) / cal.Delta());
        if (index >= 0 && index < size)
            values[static_cast<std::size_t>(index)] = width.value;
    }
    return darr_c1DArray(std::span<const double>(values), cal);
}

/// A standard error to either side of each width, where its dot is.
std::vector<Bar> barsOf(const std::vector<Width>& widths, const cal_c1DArrayCal& cal) {
    std::vector<Bar> bars;
    for (const Width& width : widths) {
        const double index = std::round((width.position - cal.Position(0)) / cal.Delta());
        bars.push_back({cal.Position(0) + index * cal.Delta(), width.value - width.error,
                        width.value + width.error});
    }
    return bars;
}

} // namespace

void stepWidths(Story& story) {
    const Analysis& analysis = story.analysis;
    const WidthLaw& law = analysis.law;
    Teller& teller = story.teller;
    const auto count = static_cast<long long>(analysis.widths.size());
    if (count == 0) {
        teller.Say(
            "No line is strong and single enough to have a width of its own. All are taken to "
            "be ",
            fixed(law.At(law.reference), decimalsOf(story.spectrum)), ofUnit(story.spectrum),
            " wide at ", fixed(law.reference, decimalsOf(story.spectrum)), ofUnit(story.spectrum),
            story.options.resolution   ? ", as was given."
            : story.analysis.hasMaxima ? ", about as the clearest maxima are."
                                       : "; no maximum tells.");
        return;
    }
    teller.Say(counted(count, "line"), count == 1 ? " is" : " are",
               " strong and single enough to be fitted with ", count == 1 ? "its" : "their",
               " own width. ", aboutSlope(story));
    Table table{.caption = "Widths of single lines, and what the law has there",
                .heading = {axisLabel(story.spectrum), "width", "law", "(width - law) / error"},
                .columns = std::vector<Column>(4, Column::number)};
    const int decimals = decimalsOf(story.spectrum);
    for (const Width& width : analysis.widths)
        table.rows.push_back({fixed(width.position, decimals), withError(width.value, width.error),
                              fixed(law.At(width.position), decimals + 1),
                              fixed((width.value - law.At(width.position)) / width.error, 1)});
    teller.Show(table);
    if (count > 1)
        tellLaw(story);
    if (law.slopeError > 0 && story.spectrum.IsOfEnergy())
        tellDetector(story);
    const darr_c1DArray& counts = story.spectrum.counts;
    teller.Draw({"The widths of single lines with their standard errors, and their law.",
                 {Diagram{{.title = "",
                           .x = axisLabel(story.spectrum),
                           .y = "full width" +
                                (story.spectrum.unit.empty() ? "" : " / " + story.spectrum.unit)},
                          {{"law", curveOf(law, counts.Cal(), counts.Size())},
                           {"single lines", dotsOf(analysis.widths, counts.Cal(), counts.Size()),
                            Style::points, barsOf(analysis.widths, counts.Cal())}}}}});
}

} // namespace tour
