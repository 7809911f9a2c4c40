#include <algorithm>
#include <cmath>
#include <list>

#include "story.h"

namespace tour {

namespace {

/// Notes each message that reaches it, with the name of its sender.
class Listener : public mesg_cReceiver {
public:
    Listener(std::vector<std::string>& notes, const char* name) : notes_(notes), name_(name) {}

private:
    void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override {
        if (id == rnge_1DRangeChanged)
            notes_.push_back(joined(name_, " says that it has changed"));
        else if (id == dasl_SelectionChanged)
            notes_.push_back(joined(name_, " says that its ranges have changed"));
        else if (id == ftfn_FunctionChanged)
            notes_.push_back(joined(name_, " says that its fit no longer holds"));
    }

    std::vector<std::string>& notes_;
    const char* name_;
};

std::vector<std::string> rowOf(const char* when, const plft_c1DPolyFittingFunction& polynomial) {
    std::vector<std::string> cells{when};
    const arr_cC_Array<double> errors = polynomial.StandardErrors();
    for (int i = 0; i <= polynomial.Order(); ++i)
        cells.push_back(joined(polynomial.Coefficients()[i], " +- ", errors[i]));
    return cells;
}

darr_c1DArray curve(const ftfn_c1DFittingFunction& function, const darr_c1DArray& over) {
    arr_cC_Array<double> values(over.Size());
    function.Load(values, over.Cal());
    const cal_c1DArrayCal cal(over.Cal().Position(0), over.Cal().Delta(), 0);
    return darr_c1DArray(
        std::span<const double>(values.Data(), static_cast<std::size_t>(values.Size())), cal);
}

/// Whether a logarithmic axis shows all of the curve.
bool isPositive(const darr_c1DArray& values) {
    return extr_Min(values, conv_RealPart).As<double>() > 0;
}

/// Whether the polynomial describes what it was fitted to.
void tellHow(Teller& teller, const plft_c1DPolyFittingFunction& polynomial) {
    if (polynomial.DegreesOfFreedom() <= 0)
        return;
    const double chi = polynomial.ResidualSum() / polynomial.DegreesOfFreedom();
    teller.Say("Each value weighs by its noise; chi-squared per degree of freedom is ",
               fixed(chi, 2),
               chi > 2 ? ": a polynomial of this order does not describe what lies there."
                       : ": the polynomial describes what lies there.");
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
    Teller& teller = story.teller;
    const darr_c1DArray& counts = story.spectrum.counts;
    std::list<rnge_c1DRange> ranges = around(story);
    int channels = 0;
    for (const rnge_c1DRange& range : ranges)
        channels += static_cast<int>(range.Length() / counts.Cal().Delta());
    constexpr int fewest = 12;
    if (channels < fewest) {
        teller.Say("There is too little between the lines that could be selected.");
        return;
    }

    std::vector<std::string> notes;
    Listener byRange(notes, "the range");
    Listener bySelection(notes, "the selection");
    Listener byFunction(notes, "the polynomial");
    rnge_c1DRange& moved = ranges.back();
    moved.AddReceiver(byRange, mesg_Class(rnge_1DRangeChanged));

    dasl_c1DDataArraySelection selection(rnge_IndexCeiling);
    for (rnge_c1DRange& range : ranges)
        selection.AddRange(range);
    selection.AddReceiver(bySelection, mesg_Class(dasl_SelectionChanged));
    plft_c1DPolyFittingFunction polynomial(2, selection);
    polynomial.AddReceiver(byFunction, mesg_Class(ftfn_FunctionChanged));

    // Counts weigh by their noise, other values all the same.
    const auto refit = [&] {
        if (story.analysis.isOfCounts)
            polynomial.Refit(counts, sqrt(trny_max(conv_Convert(counts, dtyp_Double), 1.0)));
        else
            polynomial.Refit(counts);
    };
    teller.Say("A selection holds ranges of the axis, and a function is fitted to what lies in "
               "them. Here: ",
               ranges.size(), ranges.size() == 1 ? " range" : " ranges", " between the lines,");
    std::vector<std::string> items;
    for (const rnge_c1DRange& range : ranges)
        items.push_back(joined(range));
    teller.List(items);
    refit();
    teller.Say("and a polynomial of order 2 fitted to them.");
    Table table{.caption = "The coefficients of the polynomial",
                .heading = {"fitted", "1", "x", "x^2"},
                .columns = {Column::name, Column::number, Column::number, Column::number},
                .rows = {rowOf("at first", polynomial)}};
    const rnge_c1DRange view = selection.TotalRange();
    const darr_c1DArray shown = counts.Selection(view, rnge_IndexCeiling);
    const darr_c1DArray before = curve(polynomial, shown);

    const double third = moved.Length() / 3;
    const rnge_c1DRange place(moved.Start() + third, moved.End());
    teller.Say("The last range moves from ", moved, " to ", place, ", and the news goes up:");
    moved.Set(place.Start(), place.End());
    teller.List(notes);
    notes.clear();
    moved.Set(place.Start(), place.End());
    teller.Say("Then it moves to where it is already, and ",
               notes.empty() ? "nobody hears of that." : "that is told again.");
    teller.Say("Nothing is fitted again until someone asks for it.");
    refit();
    table.rows.push_back(rowOf("after the move", polynomial));
    teller.Show(table);

    if (story.analysis.isOfCounts)
        tellHow(teller, polynomial);

    const darr_c1DArray after = curve(polynomial, shown);
    Frame frame{.title = "",
                .x = axisLabel(story.spectrum),
                .y = story.analysis.isOfCounts ? "counts per channel" : "value",
                .isLogarithmic =
                    story.analysis.isOfCounts && isPositive(before) && isPositive(after),
                .view = view};
    frame.bands.assign(ranges.begin(), ranges.end());
    teller.Draw({"A polynomial through what lies between the lines (shaded).",
                 {Diagram{frame,
                          {{"spectrum", shown},
                           {"polynomial", before},
                           {"after the last range has moved", after}}}}});
}

} // namespace tour
