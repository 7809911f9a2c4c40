#include "story.h"

namespace tour {

namespace {

/// The power of a profile at frequencies from 0 on.
darr_c1DArray powerOf(const darr_c1DArray& profile) {
    const darr_c1DArray power = norm(four_FFT(profile));
    return power.Selection(power.Size() / 2, power.Size());
}

} // namespace

void stepFrequencies(Story& story) {
    const int row = story.scene.values.SizeY() / 2;
    const std::string& unit = story.scene.unit;
    const darr_c1DArray profile = story.corrected.LineAtY(row);
    const darr_c1DArray spectrum = four_FFT(profile);
    story.teller.Say(
        "Row ", row, " of the image has ", profile.Size(), " elements, so its spectrum has ",
        spectrum.Size(), ", from frequency ", spectrum.Cal().Position(0), " in steps of ",
        spectrum.Cal().Delta(), " per ", unit, ".",
        story.isSampleImage ? " Noise has all frequencies, and the scene mostly low ones." : "");
    story.teller.Say("At frequency 0 stands the mean: ",
                     fixed(spectrum.Number(spectrum.Size() / 2).As<double>(), 2),
                     "; summed up it is ", fixed(stat_Mean(profile).As<double>(), 2), ".");
    std::vector<Curve> curves{{story.isSampleImage ? "corrected" : "", powerOf(profile)}};
    if (story.isSampleImage)
        curves.push_back({"scene", powerOf(story.scene.values.LineAtY(row))});
    story.teller.Draw({joined("Power spectrum of row ", row, "."),
                       {Diagram{{.title = "",
                                 .x = "frequency / (1 / " + unit + ")",
                                 .y = "power",
                                 .isLogarithmic = true},
                                curves}}});
}

} // namespace tour
