#include <algorithm>
#include <cmath>

#include "progress.h"
#include "story.h"

namespace tour {

namespace {

void tellNoise(Story& story) {
    const Analysis& analysis = story.analysis;
    if (analysis.excessOfNoise > 1)
        story.teller.Say(
            "The spectrum holds whole numbers, and they scatter ", fixed(analysis.excessOfNoise, 1),
            " times as much as counts do. They are fitted as what was counted in "
            "units of ",
            fixed(analysis.excessOfNoise * analysis.excessOfNoise, 1), ", which has that noise.");
    else if (analysis.isOfCounts)
        story.teller.Say("The spectrum holds counts, so its noise is that of counting, and what is "
                         "fitted is fitted by their likelihood.");
    else
        story.teller.Say("The values are no counts: there are fractions or negative ones. Their "
                         "noise is told by neighbours - a standard deviation of ",
                         analysis.noise, " - and they are fitted by least squares.");
}

void tellSearch(Story& story) {
    const Analysis& analysis = story.analysis;
    Teller& teller = story.teller;
    const std::string unit = ofUnit(story.spectrum);
    teller.Say("Lines are looked for where the spectrum stands out of all that is known of it, at "
               "first of a clipped background (bgnd_Snip), over the width of a line "
               "(smth_Gauss, peak_Find). They and a background of ",
               counted(analysis.splines, "spline"),
               " are fitted together (pkmd_Fit), what is less than ", story.options.significance,
               " standard errors goes, and what is left is looked through again. After ",
               counted(analysis.rounds, "round"),
               analysis.isSettled ? " there is nothing more to be found: "
                                  : " this still changes, which is a warning: ",
               counted(static_cast<long long>(story.lines.size()), "line"), ".");
    if (analysis.isFull)
        teller.Say("More lines than these are not looked for: this is no spectrum of lines.");
    const auto tails = std::count_if(analysis.lines.begin(), analysis.lines.end(),
                                     [](const Line& line) { return line.isOfTails; });
    if (tails > 0)
        teller.Say(counted(tails, "component"), tails == 1 ? " is" : " are",
                   " so near to a line that is so much stronger that nothing tells it from that "
                   "line's tails. The model has it, the list of lines has not.");
    if (!analysis.structures.empty()) {
        teller.Say("What is wider than a line is background, which follows it more closely there:");
        std::vector<std::string> items;
        for (const rnge_c1DRange& structure : analysis.structures)
            items.push_back(fixed(structure.Start(), decimalsOf(story.spectrum)) + " to " +
                            fixed(structure.End(), decimalsOf(story.spectrum)) + unit);
        teller.List(items);
    }
}

void tellBackground(Story& story) {
    const Analysis& analysis = story.analysis;
    Teller& teller = story.teller;
    if (analysis.channelsBetween == 0) {
        teller.Say("The lines leave no channel between them, so nothing tells whether what is "
                   "fitted under them is a background.");
        return;
    }
    const std::string found = "In the " + counted(analysis.channelsBetween, "channel") +
                              " between the lines the mean square of residual / noise is " +
                              fixed(analysis.chiSquaredBetween, 2) + ", where noise alone gives 1";
    if (analysis.IsTooSmooth())
        teller.Say(found, ". Counts scatter more than that: these whole numbers are not what was "
                          "counted, and all errors here are too large.");
    else if (analysis.HasBackground())
        teller.Say(found, ": there the background follows the continuum.");
    else
        teller.Say(found, ". What is fitted there does not follow the spectrum and is not called a "
                          "background here; areas may be off by more than their errors.");
}

/// Where lines leave no channel by which a background could be told.
void tellGap(Story& story) {
    constexpr double wide = 5; // widths
    const rnge_c1DRange& gap = story.analysis.widestGap;
    if (gap.Length() < wide * story.analysis.law.At((gap.Start() + gap.End()) / 2))
        return;
    const int decimals = decimalsOf(story.spectrum);
    story.teller.Say("From ", fixed(gap.Start(), decimals), " to ", fixed(gap.End(), decimals),
                     ofUnit(story.spectrum),
                     " the lines leave no such channel. What is drawn under them is continued from "
                     "both sides and takes what lines are other than Gaussians; it need not be the "
                     "continuum there.");
}

/// Where the lines stand, on the diagram.
std::vector<Mark> marksOf(const Story& story) {
    std::vector<Mark> marks;
    for (const Line& line : story.lines)
        marks.push_back({line.position, fixed(line.position, decimalsOf(story.spectrum))});
    return marks;
}

} // namespace

void stepLines(Story& story) {
    Teller& teller = story.teller;
    {
        Progress progress("looking for lines");
        story.analysis = analysed(story.spectrum.counts, story.options);
    }
    const Analysis& analysis = story.analysis;
    for (const Line& line : analysis.lines)
        if (!line.isOfTails)
            story.lines.push_back(line);
    for (const std::string& remark : story.spectrum.remarks)
        teller.Say("About the file: ", remark, ".");
    tellNoise(story);
    tellSearch(story);
    tellBackground(story);
    if (analysis.channelsBetween > 0)
        tellGap(story);
    story.stretches =
        stretchesWithoutLines(story.lines, analysis.background, story.spectrum.counts.Range());

    const std::string axis = axisLabel(story.spectrum);
    Frame frame{.title = "",
                .x = axis,
                .y = analysis.isOfCounts ? "counts per channel" : "value",
                .isLogarithmic = analysis.isOfCounts};
    frame.marks = marksOf(story);
    frame.bands = analysis.structures;
    teller.Draw({analysis.structures.empty()
                     ? "The spectrum, its lines, and what is fitted under them."
                     : "The spectrum, its lines, and what is fitted under them; shaded where that "
                       "follows structures that are wider than a line.",
                 {Diagram{frame,
                          {{"spectrum", story.spectrum.counts},
                           {analysis.HasBackground() ? "background" : "fitted under the lines",
                            analysis.background}}}}});
    if (story.lines.empty())
        teller.Say(analysis.HasBackground() ? "There is no line of " : "No line was found of ",
                   story.options.significance, " standard errors and more",
                   analysis.HasBackground() ? " in this spectrum"
                                            : ", and what is there is not described by this model",
                   ", so the steps that need one are left out.");
}

} // namespace tour
