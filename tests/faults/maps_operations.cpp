#include <array>
#include <vector>

#include "tests/faults/operation.h"

namespace {

constexpr std::size_t spectra = 11;
constexpr std::size_t channels = 40;
const cal_c1DArrayCal scale(100, 1, 0);

/// Counts that fall off, of so many spectra.
const std::vector<unsigned short>& counts() {
    static const std::vector<unsigned short> values = [] {
        std::vector<unsigned short> made;
        for (std::size_t i = 0; i < spectra * channels; ++i)
            made.push_back(static_cast<unsigned short>(90 - i % channels + i * i % 7));
        return made;
    }();
    return values;
}

maps_cStack stack() {
    return maps_cStack(std::span<const unsigned short>(counts()),
                       maps_sLayout::Dense(1, spectra, channels), scale);
}

/// The bits of all planes of a fit.
template<class Fit>
std::string bytesOfRun(const Fit& fit, std::size_t parameters, bool hasChiSquared = true) {
    std::vector<double> values(parameters * spectra);
    std::vector<double> errors(values.size());
    std::vector<double> chiSquared(hasChiSquared ? spectra : 0);
    std::vector<int> iterations(spectra);
    std::vector<maps_eStatus> status(spectra);
    maps_cWorkspace workspace;
    fit.Run(stack(), {values, errors, chiSquared, iterations, status}, workspace);
    std::string bytes;
    for (const double value : values)
        putBytes(bytes, value);
    for (const double error : errors)
        putBytes(bytes, error);
    return bytes;
}

std::string bytesOfFilter(const maps_cFilter& filter) {
    std::vector<double> values(filter.Channels() * spectra);
    std::vector<double> errors(values.size());
    maps_cWorkspace workspace;
    filter.Run(stack(), {values, errors, {}}, workspace);
    std::string bytes;
    for (const std::vector<double>& plane : {values, errors})
        for (const double value : plane)
            putBytes(bytes, value);
    return bytes;
}

std::string bytesOfPeaks(const maps_cPeaks& fit) {
    std::vector<double> values(fit.ParameterCount() * spectra);
    std::vector<double> errors(values.size());
    std::vector<double> areas(fit.PeakCount() * spectra);
    std::vector<double> areaErrors(areas.size());
    maps_cWorkspace workspace;
    fit.Run(stack(), {{values, errors, {}, {}, {}}, areas, areaErrors}, workspace);
    std::string bytes;
    for (const std::vector<double>& plane : {values, errors, areas, areaErrors})
        for (const double value : plane)
            putBytes(bytes, value);
    return bytes;
}

} // namespace

Table mapsOperations() {
    Table table;
    table.Add("sums of a map", [](Operands&) {
        std::vector<double> spectrum(channels);
        std::vector<double> image(spectra);
        maps_cWorkspace workspace;
        maps_Sum(stack(), spectrum, image, workspace);
        const std::vector<float> floats(counts().begin(), counts().end());
        maps_Sum(
            maps_cStack(std::span<const float>(floats), maps_sLayout::Dense(1, spectra, channels)),
            spectrum, {}, workspace);
        return bytesOf(spectrum[0], spectrum[39], image[10]);
    });
    table.Add("polynomials of a map", [](Operands&) {
        maps_cLinear fit(std::vector(channels, 1.0), channels);
        fit = maps_Polynomial(channels, scale, 2, 120, 20, {.weights = maps_WeightsOfModel});
        const maps_cLinear same(std::move(fit));
        return bytesOfRun(same, same.ParameterCount());
    });
    table.Add("power laws of a map", [](Operands&) {
        maps_cPowerLaw law(channels, scale, {{100, 120}}, 100);
        law = maps_cPowerLaw(channels, scale, {{100, 135}}, 110);
        const maps_cPowerLaw same(std::move(law));
        return bytesOfRun(same, 2);
    });
    table.Add("windows of a map", [](Operands&) {
        maps_cIntegral windows(channels, scale, {{100, 120}});
        windows = maps_cIntegral(channels, scale, {{125, 130}, {131, 131}},
                                 {maps_sBackground::PowerLaw, {{100, 120}}});
        const maps_cIntegral same(std::move(windows));
        return bytesOfRun(same, same.WindowCount(), false);
    });
    table.Add("other channels for a map", [](Operands&) {
        maps_cFilter filter = maps_Rebin(channels, scale, 1.7);
        std::string bytes = bytesOfFilter(filter);
        filter = maps_Rebin(channels, scale, 30, cal_c1DArrayCal(101, 0.5, 0));
        const maps_cFilter same(std::move(filter));
        bytes += bytesOfFilter(same) + bytesOf(same.Channels(), same.Cal().Delta());
        return bytes + bytesOfFilter(maps_Smooth(channels, scale, 5, 2, 1)) +
               bytesOfFilter(maps_SmoothGauss(channels, scale, 2.5));
    });
    table.Add("shifts of a map", [](Operands&) {
        std::vector<double> reference;
        for (std::size_t k = 0; k < channels; ++k)
            reference.push_back(30 + static_cast<double>(k % 7));
        maps_cAlign align(reference, scale, 2);
        align = maps_cAlign(reference, scale, 3, {.from = 104});
        const maps_cAlign same(std::move(align));
        const std::vector<double> shifts(spectra, 1.25);
        std::vector<double> values(spectra * channels);
        maps_cWorkspace workspace;
        maps_Shift(stack(), shifts, {values, {}, {}}, workspace);
        return bytesOfRun(same, 2) + bytesOf(same.Channels(), values[5], values[channels]);
    });
    table.Add("peaks of a map", [](Operands&) {
        pkmd_cModel model;
        model.AddPeak(pkmd_Gaussian, 120, 20, 4);
        model.AddPolynomial({60, -30}, 120, 20);
        maps_cPeaks fit(model, channels, scale);
        model.Bound(model.Height(0), 0, 1e6); // one spectrum after the other
        const maps_cPeaks alone(model, channels, scale);
        std::string bytes = bytesOfPeaks(alone);
        model.Free(model.Height(0));
        model.Tie(model.Width(0), model.Height(0), 0.2);
        fit = maps_cPeaks(model, channels, scale);
        const maps_cPeaks same(std::move(fit));
        return bytes + bytesOfPeaks(same);
    });
    table.AddRefused("a stack that leaves its block", [](Operands&) {
        maps_cStack(std::span<const unsigned short>(counts()),
                    maps_sLayout::Dense(2, spectra, channels), scale);
    });
    return table;
}
