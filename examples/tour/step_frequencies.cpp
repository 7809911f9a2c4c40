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
    const darr_c1DArray profile = story.corrected.LineAtY(row);
    const darr_c1DArray spectrum = four_FFT(profile);
    std::ostream& text = story.text;
    text << "   Row " << row << " of the corrected image: " << profile.Size()
         << " elements, so its spectrum has " << spectrum.Size() << ",\n   from frequency "
         << spectrum.Cal().Position(0) << " in steps of " << spectrum.Cal().Delta() << " per "
         << story.scene.unit << ".\n"
         << "   At frequency 0 there is the mean: "
         << fixed(spectrum.Number(spectrum.Size() / 2).As<double>(), 2) << " and "
         << fixed(stat_Mean(profile).As<double>(), 2) << '\n';

    story.canvas.DrawCurves(
        "frequencies.png",
        {.title = "Power spectrum of row " + std::to_string(row),
         .x = "frequency / (1 / " + story.scene.unit + ")",
         .y = "power",
         .isLogarithmic = true},
        {{"corrected", powerOf(profile)}, {"scene", powerOf(story.scene.values.LineAtY(row))}});
}

} // namespace tour
