#include <cmath>
#include <iomanip>
#include <list>
#include <sstream>

#include "story.h"

namespace tour {

namespace {

/// Tells each message that reaches it, with the name of its sender.
class Listener : public mesg_cReceiver {
public:
    Listener(std::ostream& text, const char* name) : text_(text), name_(name) {}

private:
    void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override {
        if (id == rnge_1DRangeChanged)
            text_ << "      " << name_ << " says that it has changed\n";
        else if (id == dasl_SelectionChanged)
            text_ << "      " << name_ << " says that its ranges have changed\n";
        else if (id == ftfn_FunctionChanged)
            text_ << "      " << name_ << " says that its fit no longer holds\n";
    }

    std::ostream& text_;
    const char* name_;
};

void tell(std::ostream& text, const plft_c1DPolyFittingFunction& polynomial) {
    text << "   y =";
    for (int i = 0; i <= polynomial.Order(); ++i)
        text << (i > 0 ? " + " : " ") << std::setprecision(6) << polynomial.Coefficients()[i]
             << (i > 0 ? " x" : "") << (i > 1 ? "^" + std::to_string(i) : "");
    text << '\n';
}

darr_c1DArray curve(const ftfn_c1DFittingFunction& function, const darr_c1DArray& over) {
    arr_cC_Array<double> values(over.Size());
    function.Load(values, over.Cal());
    const cal_c1DArrayCal cal(over.Cal().Position(0), over.Cal().Delta(), 0);
    return darr_c1DArray(
        std::span<const double>(values.Data(), static_cast<std::size_t>(values.Size())), cal);
}

/// What lies between the lines, from somewhat below the strongest line and those around it to
/// somewhat above.
std::list<rnge_c1DRange> around(const Story& story) {
    const std::vector<Line> group = groupOfStrongest(story.lines, 20);
    const Line& first = group.front();
    const Line& last = group.back();
    const double reach = std::max(12 * first.width, (last.position - first.position) / 2);
    const rnge_c1DRange whole(first.position - reach, last.position + reach);
    std::list<rnge_c1DRange> ranges;
    for (const rnge_c1DRange& stretch : story.stretches)
        if (const rnge_c1DRange part = stretch & whole; part.Length() > 0)
            ranges.push_back(part);
    constexpr std::size_t most = 8;
    while (ranges.size() > most)
        ranges.pop_back();
    return ranges;
}

} // namespace

void stepRanges(Story& story) {
    std::ostream& text = story.text;
    const darr_c1DArray& counts = story.spectrum.counts;
    std::list<rnge_c1DRange> ranges = around(story);
    if (ranges.empty()) {
        text << "   There is nothing between the lines that could be selected.\n";
        return;
    }

    Listener byRange(text, "the range");
    Listener bySelection(text, "the selection");
    Listener byFunction(text, "the polynomial");
    rnge_c1DRange& moved = ranges.back();
    moved.AddReceiver(byRange, mesg_Class(rnge_1DRangeChanged));

    dasl_c1DDataArraySelection selection(rnge_IndexCeiling);
    for (rnge_c1DRange& range : ranges)
        selection.AddRange(range);
    selection.AddReceiver(bySelection, mesg_Class(dasl_SelectionChanged));
    plft_c1DPolyFittingFunction polynomial(2, selection);
    polynomial.AddReceiver(byFunction, mesg_Class(ftfn_FunctionChanged));

    text << "   " << ranges.size() << (ranges.size() == 1 ? " range" : " ranges")
         << " between the lines:\n";
    for (const rnge_c1DRange& range : ranges)
        text << "      " << range << '\n';
    text << "   A polynomial of order 2 fitted to them:\n";
    polynomial.Refit(counts);
    tell(text, polynomial);
    const rnge_c1DRange view = selection.TotalRange();
    const darr_c1DArray shown = counts.Selection(view, rnge_IndexCeiling);
    const darr_c1DArray before = curve(polynomial, shown);

    const double third = moved.Length() / 3;
    const rnge_c1DRange place(moved.Start() + third, moved.End());
    text << "\n   The last range moves from " << moved << " to " << place << ":\n";
    moved.Set(place.Start(), place.End());
    text << "   Then it moves to where it is already, and nobody hears of that.\n";
    moved.Set(place.Start(), place.End());
    text << "   Fitted again:\n";
    polynomial.Refit(counts);
    tell(text, polynomial);

    Frame frame{.title = "A polynomial through what lies between the lines",
                .x = axisLabel(story.spectrum),
                .y = "counts per channel",
                .isLogarithmic = true,
                .view = view};
    frame.bands.assign(ranges.begin(), ranges.end());
    story.canvas.DrawCurves("polynomial.png", frame,
                            {{"spectrum", shown},
                             {"polynomial", before},
                             {"after the last range has moved", curve(polynomial, shown)}});
}

} // namespace tour
