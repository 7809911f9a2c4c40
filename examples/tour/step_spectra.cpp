#include "story.h"
#include "types.h"

namespace tour {

namespace {

void tell(std::ostream& text, const char* name, const darr_c1DArray& array,
          const std::string& unit) {
    text << "   " << name << "  " << array.Size() << " elements of type "
         << typeName(array.DataType()) << ", delta " << array.Cal().Delta() << ", range "
         << array.Range() << (unit.empty() ? "" : " ") << unit << '\n';
}

} // namespace

void stepSpectra(Story& story) {
    const darr_c1DArray& spectrum = story.spectrum.counts;
    const darr_c1DArray& blank = story.blank.counts;
    const std::string& unit = story.spectrum.unit;
    std::ostream& text = story.text;
    tell(text, "spectrum  ", spectrum, unit);
    tell(text, "background", blank, unit);
    text << (story.isBlankEstimated
                 ? "   The background is estimated from the spectrum itself, on wider channels.\n\n"
                 : "   The background was measured with wider channels, over a smaller range and "
                   "for\n"
                   "   longer; a factor brings it to counts per channel of the spectrum.\n\n");

    const pnum_cNumber factor = story.blankScale;
    const darr_c1DArray background = blank * factor;
    story.net = spectrum - background;
    tellTypes(text, "background = blank * factor", blank, '*', factor, background);
    tellTypes(text, "net        = spectrum - background", spectrum, '-', background, story.net);
    text << "\n   Aligned by the subtraction: the background is resampled to the delta of the\n"
         << "   spectrum and continued with zeros to its range.\n\n";
    tell(text, "net       ", story.net, unit);

    const std::string axis = axisLabel(story.spectrum);
    story.canvas.DrawCurves("spectrum.png",
                            {.title = "The spectrum and its background",
                             .x = axis,
                             .y = "counts per channel",
                             .isLogarithmic = true},
                            {{"spectrum", spectrum}, {"background", background}});
    story.canvas.DrawCurves(
        "spectrum-net.png",
        {.title = "Net spectrum: the background subtracted", .x = axis, .y = "counts per channel"},
        {{"net", story.net}});
}

} // namespace tour
