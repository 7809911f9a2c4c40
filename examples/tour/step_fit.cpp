#include <algorithm>
#include <cmath>

#include "story.h"

namespace tour {

namespace {

constexpr double badFit = 2; // reduced chi-squared, from which on a fit is said not to hold
constexpr double goodFit = 1.2;
constexpr double veryNear = 0.5; // widths between two lines

/// How many lines lie very near another.
long long countOfPaired(const std::vector<Line>& lines) {
    return std::count_if(lines.begin(), lines.end(), [&](const Line& line) {
        return std::any_of(lines.begin(), lines.end(), [&](const Line& other) {
            const double distance = std::abs(other.position - line.position);
            return distance > 0 && distance < veryNear * std::max(line.width, other.width);
        });
    });
}

std::string nameOf(const Story& story, const Line& line) {
    const KnownLine* const known = knownAt(story, line);
    return known != nullptr ? known->name : line.isGiven ? "given" : "";
}

std::string widthOf(const Story& story, const Line& line) {
    if (line.widthError > 0)
        return withError(line.width, line.widthError);
    return fixed(line.width, decimalsOf(story.spectrum) + 1) + " law";
}

/// A given line is where it is said to be.
std::string positionOf(const Story& story, const Line& line) {
    if (line.positionError > 0)
        return withError(line.position, line.positionError);
    return fixed(line.position, decimalsOf(story.spectrum) + 1);
}

Table tableOfLines(const Story& story) {
    const bool isNamed = std::any_of(story.lines.begin(), story.lines.end(), [&](const Line& line) {
        return !nameOf(story, line).empty();
    });
    const bool isOfCounts = story.analysis.isOfCounts;
    Table table{.caption =
                    "The lines, with their standard errors in units of the last digits; width "
                    "is the full width at half maximum",
                .heading = {axisLabel(story.spectrum), "width",
                            isOfCounts ? "counts per channel" : "height",
                            isOfCounts ? "area in counts" : "area", "chi-squared"},
                .columns = std::vector<Column>(5, Column::number)};
    if (isNamed) {
        table.heading.insert(table.heading.begin(), "line");
        table.columns.insert(table.columns.begin(), Column::name);
    }
    for (const Line& line : story.lines) {
        std::vector<std::string> cells{positionOf(story, line), widthOf(story, line),
                                       withError(line.height, line.heightError),
                                       withError(line.area, line.areaError), fixed(line.misfit, 2)};
        if (isNamed)
            cells.insert(cells.begin(), nameOf(story, line));
        table.rows.push_back(std::move(cells));
    }
    return table;
}

/// What is known beside what is found, in units of the errors.
void tellTruth(Story& story) {
    Table table{
        .caption = "What the sample was made with, and how far what is found is off, in "
                   "standard errors",
        .heading = {"line", "E / keV", "(found - true) / error", "area", "(found - true) / error"},
        .columns = {Column::name, Column::number, Column::number, Column::number, Column::number}};
    double squares = 0;
    for (const Line& line : story.lines) {
        const KnownLine* const known = knownAt(story, line);
        if (known == nullptr)
            continue;
        const double ofPosition = (line.position - known->energy) / line.positionError;
        const double ofArea = (line.area - known->area) / line.areaError;
        squares += ofPosition * ofPosition + ofArea * ofArea;
        table.rows.push_back({known->name, fixed(known->energy, 3), fixed(ofPosition, 2),
                              fixed(known->area, 0), fixed(ofArea, 2)});
    }
    story.teller.Show(table);
    story.teller.Say("The mean square of the ", 2 * table.rows.size(), " is ",
                     fixed(squares / (2.0 * static_cast<double>(table.rows.size())), 2),
                     "; right errors give about 1.");
}

void tellMisfit(Story& story) {
    const Analysis& analysis = story.analysis;
    Teller& teller = story.teller;
    const double chi = analysis.reducedChiSquared;
    const double ofNoise = 1 + 3 * std::sqrt(2 / static_cast<double>(analysis.degreesOfFreedom));
    const std::string found =
        joined("Chi-squared per degree of freedom is ", fixed(chi, 2), ", with ",
               counted(analysis.degreesOfFreedom, "degree"), " of freedom",
               analysis.isConverged ? "" : "; the fit has not come to its end");
    const auto bad = std::count_if(story.lines.begin(), story.lines.end(),
                                   [](const Line& line) { return line.misfit > badFit; });
    if (chi > badFit)
        teller.Say(found, ": the model does not describe the spectrum to within its noise, and "
                          "errors, which rest on noise alone, are too small.");
    else
        teller.Say(found, ", so the model describes the spectrum to within ",
                   chi <= ofNoise   ? "its noise."
                   : chi <= goodFit ? "little more than its noise."
                                    : joined(fixed(std::sqrt(chi), 1),
                                             " times its noise; errors are too small by as much."));
    if (bad > 0)
        teller.Say("Around ", counted(bad, "line"), " of ", story.lines.size(),
                   " chi-squared is above ", badFit,
                   ": there the shape is not that of a Gaussian on this background, and errors are "
                   "too small. The last column tells which.");
    if (const long long paired = countOfPaired(story.lines); paired > 0)
        teller.Say(counted(paired, "line"), paired == 1 ? " lies" : " lie",
                   " within half a width of another. How such share their counts leans on the "
                   "shape of a line, and that no line is quite a Gaussian is not in their errors.");
}

/// Lines that may be none.
void tellEdges(Story& story) {
    std::vector<std::string> items;
    for (const Line& line : story.lines)
        if (line.isLikeAnEdge)
            items.push_back(positionOf(story, line) + ofUnit(story.spectrum));
    if (items.empty())
        return;
    story.teller.Say("What is at ", items.size() == 1 ? "this position" : "these positions",
                     " may be no line: a step of the continuum, as an absorption edge makes it, "
                     "describes the spectrum about as well there:");
    story.teller.List(items);
}

/// What is farther from 0 than noise takes residuals.
std::vector<rnge_c1DRange> badPlaces(const Story& story) {
    std::vector<rnge_c1DRange> places;
    for (const Line& line : story.lines)
        if (line.misfit > badFit)
            places.emplace_back(line.position - line.width, line.position + line.width);
    return places;
}

} // namespace

void stepFit(Story& story) {
    const Analysis& analysis = story.analysis;
    Teller& teller = story.teller;
    teller.Say("All lines are Gaussians. They are fitted together with what lies under them to all "
               "channels of the spectrum as it was measured, from which nothing has been "
               "subtracted",
               analysis.hasLaw
                   ? "; their widths follow one law, which is fitted with them."
                   : "; strong lines have widths of their own, and the others follow the "
                     "law of those; their errors include what the law is off.");
    teller.Show(tableOfLines(story));
    tellMisfit(story);
    tellEdges(story);
    if (story.isSampleSpectrum)
        tellTruth(story);

    Frame frame{.title = "",
                .x = axisLabel(story.spectrum),
                .y = analysis.isOfCounts ? "counts per channel" : "value",
                .isLogarithmic = analysis.isOfCounts};
    frame.bands = badPlaces(story);
    const Frame below{
        .title = "", .x = axisLabel(story.spectrum), .y = "residual / noise", .bands = frame.bands};
    teller.Draw(
        {frame.bands.empty()
             ? "The spectrum and the model. Below: what it leaves, in units of the noise."
             : "The spectrum and the model. Below: what it leaves, in units of the noise; "
               "shaded where that is more than noise.",
         {Diagram{frame,
                  {{"spectrum", story.spectrum.counts, Style::dots}, {"model", analysis.model}}},
          Diagram{below, {{"", analysis.residuals, Style::dots}}}}});
}

} // namespace tour
