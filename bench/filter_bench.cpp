// Smoothing, background and peaks through the public functions. The peer is filter.py.
//
// usage: bench_filter DIRECTORY   (where samples of the results go)

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

/// A line every 300 channels, over noise.
darr_c1DArray spectrum(std::size_t count) {
    return bench::array<double>(count, [](std::uint32_t i) {
        const double t = (static_cast<double>(i % 300) - 150) / 12;
        return 400 * std::exp(-t * t) + 50 * static_cast<double>(bench::real(i, 1));
    });
}

void measurePeaks(const std::string& directory, const std::string& name, const darr_c1DArray& array,
                  const peak_sOptions& options) {
    bench::measureFigures(directory, name, static_cast<std::size_t>(array.Size()), [&] {
        double indices = 0;
        double prominences = 0;
        double widths = 0;
        const std::vector<peak_sPeak> peaks = peak_Find(array, options);
        for (const peak_sPeak& peak : peaks) {
            indices += peak.index;
            prominences += peak.prominence;
            widths += peak.width;
        }
        return std::vector{static_cast<double>(peaks.size()), indices, prominences, widths};
    });
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const std::size_t count : {std::size_t{4096}, std::size_t{1} << 20}) {
        const darr_c1DArray lines = spectrum(count);
        measurePeaks(directory, "peaks_prominent", lines, {.prominence = 100});
        measurePeaks(directory, "peaks_apart", lines, {.prominence = 100, .distance = 20});
        measurePeaks(directory, "peaks_of_noise", bench::realArray<double>(count, 2),
                     {.prominence = 0.5});
        const darr_c1DArray a = bench::realArray<float>(count, 1);
        bench::measure<float>(directory, "polynomial_5_2",
                              [&] { return smth_SavitzkyGolay(a, 5, 2); });
        bench::measure<float>(directory, "polynomial_21_3",
                              [&] { return smth_SavitzkyGolay(a, 21, 3); });
        bench::measure<float>(directory, "gauss_line_2", [&] { return smth_Gauss(a, 2); });
        bench::measure<float>(directory, "median_line_5", [&] { return smth_Median(a, 5); });
        bench::measure<double>(directory, "background_24", [&] { return bgnd_Snip(lines, 24); });
    }
    for (const int side : {256, 1024}) {
        const darr_c2DArray image = bench::realImage(side, 3);
        bench::measure<float>(directory, "gauss_image_1", [&] { return smth_Gauss(image, 1, 1); });
        bench::measure<float>(directory, "gauss_image_4", [&] { return smth_Gauss(image, 4, 4); });
        bench::measure<float>(directory, "median_image_3",
                              [&] { return smth_Median(image, 3, 3); });
        bench::measure<float>(directory, "median_image_9",
                              [&] { return smth_Median(image, 9, 9); });
    }
}
