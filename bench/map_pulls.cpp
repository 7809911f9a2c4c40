/// @file
/// Whether the standard errors of a map are what they say: five peaks on a line, of which heights,
/// positions and widths change over the map, with Poisson noise; the mean and the width of (found -
/// true) / error over the planes of every parameter and area. Not run by bench/run.
///
/// usage: bench_map_pulls [SPECTRA]

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "bench/peaks_problem.h"
#include "dataprocessing/maps/maps_peaks.h"

namespace {

constexpr auto channels = static_cast<std::size_t>(bench::count);
constexpr std::size_t part = 1000; // spectra at a time

struct Pulls {
    double sum = 0;
    double squares = 0;
    void Add(double pull) {
        sum += pull;
        squares += pull * pull;
    }
    void Print(const char* what, std::size_t number, std::size_t spectra) const {
        const double mean = sum / static_cast<double>(spectra);
        std::printf("%s %zu: mean %+.3f, width %.3f\n", what, number, mean,
                    std::sqrt(squares / static_cast<double>(spectra) - mean * mean));
    }
};

/// The parameters of a spectrum.
std::vector<double> truthOf(std::size_t q) {
    const double phase = static_cast<double>(q) / 50;
    std::vector<double> p;
    for (std::size_t k = 0; k < bench::peaks; ++k) {
        p.push_back(bench::positions[k] + 0.3 * std::sin(phase));
        p.push_back(bench::heights[k] * (1 + 0.3 * std::sin(3 * phase + static_cast<double>(k))));
        p.push_back(bench::widths[k] * (1 + 0.02 * std::cos(phase)));
    }
    p.insert(p.end(), {20, -4});
    return p;
}

void run(nlsq_eObjective objective, std::size_t spectra) {
    pkmd_cModel model;
    const std::vector<double> start = bench::start();
    for (std::size_t k = 0; k < bench::peaks; ++k)
        model.AddPeak(pkmd_Gaussian, start[3 * k], start[3 * k + 1], start[3 * k + 2]);
    model.AddPolynomial({start[15], start[16]}, 1023.5, 1024);
    const maps_cPeaks fit(model, channels, {}, {.objective = objective});
    std::vector<double> x;
    for (std::size_t k = 0; k < channels; ++k)
        x.push_back(static_cast<double>(k));
    std::vector<double> mean(channels);
    std::vector<unsigned short> counts(part * channels);
    std::vector<double> values(bench::parameters * part);
    std::vector<double> errors(values.size());
    std::vector<double> areas(bench::peaks * part);
    std::vector<double> areaErrors(areas.size());
    std::vector<maps_eStatus> status(part);
    std::vector<Pulls> ofParameters(bench::parameters);
    std::vector<Pulls> ofAreas(bench::peaks);
    std::mt19937_64 random(1);
    maps_cWorkspace workspace;
    std::size_t bad = 0;
    for (std::size_t first = 0; first < spectra; first += part) {
        for (std::size_t q = 0; q < part; ++q) {
            model.Values(truthOf(first + q), x, mean);
            for (std::size_t k = 0; k < channels; ++k)
                counts[q * channels + k] =
                    static_cast<unsigned short>(std::poisson_distribution<>(mean[k])(random));
        }
        fit.Run(maps_cStack(std::span<const unsigned short>(counts),
                            maps_sLayout::Dense(1, part, channels)),
                {{values, errors, {}, {}, status}, areas, areaErrors}, workspace);
        for (std::size_t q = 0; q < part; ++q) {
            bad += status[q] == maps_Good ? 0 : 1;
            const std::vector<double> truth = truthOf(first + q);
            for (std::size_t i = 0; i < truth.size(); ++i)
                ofParameters[i].Add((values[i * part + q] - truth[i]) / errors[i * part + q]);
            for (std::size_t k = 0; k < bench::peaks; ++k) {
                const double area = 2.5066282746310002 * truth[3 * k + 1] * truth[3 * k + 2];
                ofAreas[k].Add((areas[k * part + q] - area) / areaErrors[k * part + q]);
            }
        }
    }
    std::printf("%s, %zu spectra, %zu without a result\n",
                objective == nlsq_LeastSquares ? "least squares" : "likelihood", spectra, bad);
    for (std::size_t i = 0; i < ofParameters.size(); ++i)
        ofParameters[i].Print("parameter", i, spectra);
    for (std::size_t k = 0; k < ofAreas.size(); ++k)
        ofAreas[k].Print("area", k, spectra);
}

} // namespace

int main(int argc, char** argv) {
    const auto wanted = static_cast<std::size_t>(argc > 1 ? std::atoi(argv[1]) : 100000);
    const std::size_t spectra = (wanted + part - 1) / part * part;
    run(nlsq_PoissonLikelihood, spectra);
    run(nlsq_LeastSquares, spectra);
}
