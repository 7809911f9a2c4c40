// A blank in channels four times as wide is taken away.
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

    // A density, counts per keV, is what is left over the width of its channels.
    const darr_c1DArray density = net / spectrum.Cal().Delta();
    double position = 0;
    const double highest = extr_Max(density, position).As<double>();
    std::printf("highest %.0f counts per keV at %.2f keV, on %d channels\n", highest, position,
                density.Size());
}
