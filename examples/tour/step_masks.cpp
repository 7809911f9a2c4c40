#include "story.h"

namespace tour {

namespace {

double number(const pnum_cNumber& value) { return value.As<double>(); }

} // namespace

void stepMasks(Story& story) {
    Teller& teller = story.teller;
    const darr_c1DArray& counts = story.spectrum.counts;
    const std::string unit = ofUnit(story.spectrum);
    const int digits = decimalsOf(story.spectrum);
    const darr_c1DArray net = counts - story.analysis.background;

    const bool isOfCounts = story.analysis.isOfCounts;
    barr_c1DBoolArray isLine = isOfCounts ? net > 5.0 * sqrt(abs(story.analysis.background) + 1.0)
                                          : net > pnum_cNumber(5 * story.analysis.noise);
    isLine.SetCal(net.Cal()); // a mask starts on the default calibration
    const darr_c1DArray marked = tnry_Ternary(isLine, 1.0, 0.0);
    teller.Say("A comparison gives a mask: net > ",
               isOfCounts ? "5 sqrt(background + 1)" : "5 x the noise of a value", " holds in ",
               stat_Sum(marked), " of ", net.Size(),
               " channels, where net is the spectrum without what is fitted under the lines.");
    const darr_c1DArray clipped = trny_max(net, 0.0);
    teller.Say("The smallest net value is ", fixed(number(extr_Min(net, conv_RealPart)), 1),
               ", and clipped with trny_max ", fixed(number(extr_Min(clipped, conv_RealPart)), 1),
               ".");
    double position = 0;
    const pnum_cNumber largest = extr_Max(net, position, conv_RealPart);
    teller.Say("The largest is ", fixed(number(largest), 1), " at ", fixed(position, digits), unit,
               "; the sum of all is ", fixed(number(stat_Sum(net)), 0),
               ", and of those within the mask ",
               fixed(number(stat_Sum(tnry_Ternary(isLine, net, 0.0))), 0), ".");
    teller.Draw({"The net spectrum, clipped at 0, and the part of it where the mask is set.",
                 {Diagram{{.title = "",
                           .x = axisLabel(story.spectrum),
                           .y = isOfCounts ? "net counts per channel" : "net value",
                           .isLogarithmic = isOfCounts},
                          {{"net, clipped at 0", clipped},
                           {"where the mask is set", tnry_Ternary(isLine, net, 0.0)}}}}});
}

} // namespace tour
