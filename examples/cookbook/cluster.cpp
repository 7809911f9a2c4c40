// A stack of spectra in parts, as jobs of a cluster would do it: the same bits as at once.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <future>
#include <vector>

#include "dataprocessing/dataprocessing.h"

constexpr std::size_t columns = 20, channels = 100;
const cal_c1DArrayCal energies(5, 0.02, 0);

/// The areas of the line in some rows; a workspace for each thread.
std::vector<double> job(const maps_cPeaks& peaks, std::span<const unsigned short> counts) {
    const std::size_t rows = counts.size() / columns / channels;
    std::vector<double> values(peaks.ParameterCount() * rows * columns), areas(rows * columns);
    maps_cWorkspace workspace;
    peaks.Run(maps_cStack(counts, maps_sLayout::Dense(rows, columns, channels), energies),
              {{values, {}, {}, {}, {}}, areas, {}}, workspace);
    return areas;
}

int main() {
    std::vector<unsigned short> counts;
    for (int height = 1; height <= 240; ++height)
        for (std::size_t k = 0; k < channels; ++k) {
            const double z = (energies.Position(static_cast<int>(k)) - 6.0) / 0.08;
            counts.push_back(
                static_cast<unsigned short>(std::lround(10 + 5 * height * std::exp(-0.5 * z * z))));
        }
    pkmd_cModel model;
    model.AddPeak(pkmd_Gaussian, 6.0, 500, 0.08);
    model.AddPolynomial({10, 0}, 6.0);
    const maps_cPeaks peaks(model, channels, energies);

    const std::span<const unsigned short> all(counts);
    std::vector<std::future<std::vector<double>>> jobs;
    for (std::size_t part = 0; part < 3; ++part)
        jobs.push_back(std::async(std::launch::async, [&, part] {
            return job(peaks, all.subspan(part * all.size() / 3, all.size() / 3));
        }));
    std::vector<double> parts;
    for (auto& one : jobs)
        for (const double area : one.get())
            parts.push_back(area);
    const std::vector<double> whole = job(peaks, all);
    std::printf(parts == whole ? "the same bits\n" : "other bits\n");
    const auto [least, most] = std::minmax_element(whole.begin(), whole.end());
    std::printf("areas from %.1f to %.1f counts\n", *least / 0.02, *most / 0.02);
}
