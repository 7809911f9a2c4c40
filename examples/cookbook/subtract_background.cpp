// A blank in channels four times as wide is taken away: as counts, and as densities.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "dataprocessing/dataprocessing.h"

std::vector<double> numbersOf(const char* name) {
    std::ifstream file(name);
    file.ignore(1000, '\n'); // the heading
    return {std::istream_iterator<double>(file), {}};
}

int main() {
    const darr_c1DArray spectrum(numbersOf("spectrum.txt"), cal_c1DArrayCal(0, 0.01, 0));
    const darr_c1DArray blank(numbersOf("blank.txt"), cal_c1DArrayCal(0, 0.04, 0));

    // Counts are contents of channels: shared out to the narrow ones, so that their sum stays.
    const darr_c1DArray net = spectrum - resc_Rebin(blank, spectrum);
    std::printf("counts: %.0f - %.0f = %.0f\n", stat_Sum(spectrum).As<double>(),
                stat_Sum(blank).As<double>(), stat_Sum(net).As<double>());

    // Densities, counts per keV, are values at positions: brought to one grid by the subtraction
    // itself.
    const darr_c1DArray density = spectrum / 0.01 - blank / 0.04;
    std::printf("densities: %.0f on %d channels\n", stat_Sum(density).As<double>() * 0.01,
                density.Size());
}
