#include "story.h"
#include "types.h"

namespace tour {

namespace {

std::vector<std::string> row(const char* name, const darr_c1DArray& array,
                             const std::string& unit) {
    return {name, joined(array.Size()), typeName(array.DataType()), joined(array.Cal().Delta()),
            joined(array.Range(), unit.empty() ? "" : " ", unit)};
}

} // namespace

void stepSpectra(Story& story) {
    const darr_c1DArray& spectrum = story.spectrum.counts;
    const darr_c1DArray blank = sampleBlank().counts;
    const std::string& unit = story.spectrum.unit;
    Teller& teller = story.teller;
    teller.Say("A background is taken from the spectrum. It was measured with wider channels, over "
               "a smaller range and for longer. Counts belong to the width of their channel: "
               "resc_Rebin shares those of each wide one out to the channels of the spectrum, and "
               "their sum stays.");

    const darr_c1DArray shared = resc_Rebin(blank, spectrum);
    const pnum_cNumber time = blankTime;
    const darr_c1DArray background = shared / time;
    const darr_c1DArray net = spectrum - background;
    Table types = tableOfTypes("The subtraction, and the types of its results");
    types.rows = {rowOfTypes("background = shared / time", shared, '/', time, background),
                  rowOfTypes("net = spectrum - background", spectrum, '-', background, net)};
    teller.Show(types);
    teller.Show(
        {.caption = "What is subtracted from what",
         .heading = {"data", "elements", "type", "delta", "range"},
         .columns = {Column::name, Column::number, Column::name, Column::number, Column::name},
         .rows = {row("spectrum", spectrum, unit), row("blank", blank, unit),
                  row("net", net, unit)}});
    teller.Say("Beyond the blank, where nothing was measured, the net spectrum is the spectrum. "
               "Arrays of values at positions, which are no counts, need no such step: a "
               "subtraction aligns them by itself.");

    const std::string axis = axisLabel(story.spectrum);
    teller.Draw(
        {"The spectrum and its background.",
         {Diagram{{.title = "", .x = axis, .y = "counts per channel", .isLogarithmic = true},
                  {{"spectrum", spectrum}, {"background", background}}}}});
    teller.Draw(
        {"The net spectrum: the background is subtracted.",
         {Diagram{{.title = "", .x = axis, .y = "net counts per channel"}, {{"net", net}}}}});
}

} // namespace tour
