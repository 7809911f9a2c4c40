#include <algorithm>
#include <cmath>

#include "story.h"

namespace tour {

namespace {

/// A power of two of the size of the values: transforms compute in single precision, in which sums
/// and squares of very large or very small values are lost.
double unitOf(const darr_c1DArray& profile) {
    const double largest = std::max(std::abs(extr_Max(profile, conv_RealPart).As<double>()),
                                    std::abs(extr_Min(profile, conv_RealPart).As<double>()));
    return largest > 0 ? std::exp2(std::ilogb(largest)) : 1;
}

/// The spectrum of a profile in double precision.
darr_c1DArray spectrumOf(const darr_c1DArray& profile) {
    const pnum_cNumber unit = unitOf(profile);
    const darr_c1DArray scaled = conv_Convert(profile, dtyp_Double) / unit;
    return conv_Convert(four_FFT(scaled), dtyp_ComplexDouble) * unit;
}

/// The power in a spectrum at frequencies from 0 on.
darr_c1DArray powerOf(const darr_c1DArray& spectrum) {
    return norm(spectrum.Selection(spectrum.Size() / 2, spectrum.Size()));
}

} // namespace

void stepFrequencies(Story& story) {
    const int row = story.scene.values.SizeY() / 2;
    const std::string unit = oneOf(story.scene.unit);
    const darr_c1DArray profile = conv_Convert(story.corrected.LineAtY(row), dtyp_Double);
    const darr_c1DArray spectrum = spectrumOf(profile);
    story.teller.Say(
        "Row ", row, " of the image has ", profile.Size(), " elements, so its spectrum has ",
        spectrum.Size(), ", from frequency ", spectrum.Cal().Position(0), " in steps of ",
        spectrum.Cal().Delta(), " per ", unit, ".",
        story.isSampleImage ? " Noise has all frequencies, and the scene mostly low ones." : "");
    story.teller.Say("At frequency 0 stands the mean: ",
                     valueOf(spectrum.Number(spectrum.Size() / 2).As<double>()),
                     "; summed up it is ", valueOf(stat_Mean(profile).As<double>()), ".");
    std::vector<Curve> curves{{story.isSampleImage ? "corrected" : "", powerOf(spectrum)}};
    if (story.isSampleImage)
        curves.push_back({"scene", powerOf(spectrumOf(story.scene.values.LineAtY(row)))});
    story.teller.Draw({joined("Power spectrum of row ", row, "."),
                       {Diagram{{.title = "",
                                 .x = "frequency / (1 / " + unit + ")",
                                 .y = "power",
                                 .isLogarithmic = true},
                                curves}}});
}

} // namespace tour
