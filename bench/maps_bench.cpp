// Sums, windows and fits of every spectrum of a map of 16-bit counts. Cases count spectra.
//
// usage: bench_maps DIRECTORY   (where the map and the results are left)

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench/measure.h"
#include "bench/peaks_problem.h"

namespace {

constexpr std::size_t spectra = 1024;
constexpr auto channels = static_cast<std::size_t>(bench::count);
const cal_c1DArrayCal scale(1, 1, 0);

/// Heights, positions and widths change over the map.
std::vector<unsigned short> map() {
    std::mt19937 random(1);
    std::vector<unsigned short> counts;
    for (std::size_t q = 0; q < spectra; ++q) {
        const double phase = static_cast<double>(q) / 50;
        for (int i = 0; i < bench::count; ++i) {
            double mean = 20 - 4 * bench::slopeAt(i);
            for (std::size_t k = 0; k < bench::peaks; ++k) {
                const double at = bench::positions[k] + 0.3 * std::sin(phase);
                const double width = bench::widths[k] * (1 + 0.02 * std::cos(phase));
                mean += bench::heights[k] *
                        (1 + 0.3 * std::sin(3 * phase + static_cast<double>(k))) *
                        std::exp(-0.5 * std::pow((i - at) / width, 2));
            }
            counts.push_back(
                static_cast<unsigned short>(std::poisson_distribution<>(mean)(random)));
        }
    }
    return counts;
}

/// Peaks that end four widths from their positions, and a line.
std::vector<double> shapes() {
    std::vector<double> all((bench::peaks + 2) * channels);
    for (int i = 0; i < bench::count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        for (std::size_t k = 0; k < bench::peaks; ++k) {
            const double z = (i - bench::positions[k]) / bench::widths[k];
            all[k * channels + at] = std::fabs(z) < 4 ? std::exp(-0.5 * z * z) : 0;
        }
        all[bench::peaks * channels + at] = 1;
        all[(bench::peaks + 1) * channels + at] = bench::slopeAt(i);
    }
    return all;
}

/// Planes of so many parameters; values and errors follow each other.
struct Planes {
    explicit Planes(std::size_t parameters)
        : both(2 * parameters * spectra), chiSquared(spectra), status(spectra) {}
    maps_sPlanes All() {
        const std::span<double> all(both);
        const std::size_t half = both.size() / 2;
        return {all.first(half), all.last(half), chiSquared, {}, status};
    }
    std::vector<double> both;
    std::vector<double> chiSquared;
    std::vector<maps_eStatus> status;
};

} // namespace

int main(int argc, char** argv) {
    bench::printSelf();
    const std::string directory = argc > 1 ? argv[1] : ".";
    const std::vector<unsigned short> counts = map();
    const maps_cStack stack(std::span<const unsigned short>(counts),
                            maps_sLayout::Dense(32, 32, channels), scale);
    bench::leave(directory, "map", spectra, std::as_bytes(std::span(counts)));
    const std::vector<double> all = shapes();
    bench::leave(directory, "shapes", spectra, std::as_bytes(std::span(all)));
    maps_cWorkspace workspace;

    const auto measure = [&](const char* name, std::span<const double> result, const auto& call) {
        call();
        bench::leave(directory, name, spectra, std::as_bytes(result));
        bench::printTime(name, spectra, bench::nanoseconds(call));
    };

    std::vector<double> spectrum(channels);
    std::vector<double> image(spectra);
    measure("sum_image", image, [&] { maps_Sum(stack, {}, image, workspace); });
    measure("sum_spectrum", spectrum, [&] {
        std::fill(spectrum.begin(), spectrum.end(), 0.0);
        maps_Sum(stack, spectrum, {}, workspace);
    });

    Planes windows(2);
    maps_sPlanes windowPlanes = windows.All();
    windowPlanes.chiSquared = {};
    const maps_cIntegral power(channels, scale, {{621, 661}, {791, 821}},
                               {maps_sBackground::PowerLaw, {{251, 550}}});
    measure("windows_power_law", windows.both, [&] { power.Run(stack, windowPlanes, workspace); });

    struct Linear {
        const char* name;
        maps_sLinearOptions options;
    };
    for (const Linear& linear : {Linear{"linear_weighted", {}},
                                 {"linear_equal", {.weights = maps_EqualWeights}},
                                 {"linear_nonnegative", {.nonNegative = {0, 1, 2, 3, 4}}}}) {
        Planes planes(bench::peaks + 2);
        const maps_cLinear fit(all, channels, linear.options);
        const maps_sPlanes to = planes.All();
        measure(linear.name, planes.both, [&] { fit.Run(stack, to, workspace); });
    }

    const maps_cFilter rebin = maps_Rebin(channels, scale, 2);
    const maps_cFilter smooth = maps_Smooth(channels, scale, 9, 2);
    for (const auto& [name, filter] : {std::pair{"rebin", &rebin}, {"smooth", &smooth}}) {
        std::vector<double> made(filter->Channels() * spectra);
        measure(name, made, [&] { filter->Run(stack, {made, {}, {}}, workspace); });
    }

    std::vector<double> reference(channels);
    maps_Sum(stack, reference, {}, workspace);
    Planes shifts(2);
    const maps_sPlanes toShifts = shifts.All();
    const maps_cAlign align(reference, scale, 10);
    measure("align", shifts.both, [&] { align.Run(stack, toShifts, workspace); });

    pkmd_cModel model;
    const std::vector<double> start = bench::start();
    for (std::size_t k = 0; k < bench::peaks; ++k)
        model.AddPeak(pkmd_Gaussian, start[3 * k] + 1, start[3 * k + 1], start[3 * k + 2]);
    model.AddPolynomial({start[15], start[16]}, 1024.5, 1024);
    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        Planes planes(bench::parameters);
        const maps_cPeaks fit(model, channels, scale, {.objective = objective});
        const maps_sPeakPlanes to{planes.All(), {}, {}};
        measure(objective == nlsq_LeastSquares ? "five_free_peaks" : "five_free_peaks_likelihood",
                planes.both, [&] { fit.Run(stack, to, workspace); });
    }
}
