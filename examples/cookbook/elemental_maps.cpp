// A map of 12 by 16 spectra: counts of two elements in each, above a straight background, with
// errors.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "dataprocessing/dataprocessing.h"

int main() {
    constexpr std::size_t rows = 12, columns = 16, channels = 200;
    const cal_c1DArrayCal energies(5, 0.01, 0);
    const auto line = [&](std::size_t channel, double position) {
        const double z = (energies.Position(static_cast<int>(channel)) - position) / 0.06;
        return std::exp(-0.5 * z * z);
    };
    std::vector<unsigned short> counts;
    for (std::size_t y = 0; y < rows; ++y)
        for (std::size_t x = 0; x < columns; ++x)
            for (std::size_t k = 0; k < channels; ++k)
                counts.push_back(static_cast<unsigned short>(
                    std::lround(20 + 10 * static_cast<double>(x) * line(k, 5.415) +
                                15 * static_cast<double>(y) * line(k, 6.404))));

    const maps_cStack stack(std::span<const unsigned short>(counts),
                            maps_sLayout::Dense(rows, columns, channels), energies);
    const maps_cIntegral windows(
        channels, energies, {{5.215, 5.615}, {6.204, 6.604}},
        {maps_sBackground::Polynomial, {{5.0, 5.2}, {5.8, 6.1}, {6.7, 6.98}}});
    std::vector<double> sums(2 * stack.Spectra()), errors(2 * stack.Spectra()); // plane after plane
    std::vector<maps_eStatus> status(stack.Spectra());
    maps_cWorkspace workspace;
    windows.Run(stack, {.values = sums, .standardErrors = errors, .status = status}, workspace);
    for (const std::size_t place : {std::size_t{0}, columns - 1, rows * columns - 1}) {
        const std::size_t iron = rows * columns + place;
        std::printf("row %zu, column %zu: Cr %.0f +- %.0f, Fe %.0f +- %.0f\n", place / columns,
                    place % columns, sums[place] + 0.0, errors[place], sums[iron] + 0.0,
                    errors[iron]);
    }
    std::printf("%d of %zu spectra have a result\n",
                static_cast<int>(std::count(status.begin(), status.end(), maps_Good)),
                status.size());
}
