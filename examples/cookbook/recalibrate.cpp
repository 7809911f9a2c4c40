// Two lines whose energies are known make energies of channel numbers.
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
    darr_c1DArray spectrum(numbersOf("spectrum.txt")); // at 0, 1, 2 ...: channels
    std::vector<double> found;
    for (const double channel : {541, 640}) {
        pkmd_cModel model;
        model.AddPeak(pkmd_Gaussian, channel, 300, 6);
        model.AddPolynomial({20, 0}, channel);
        found.push_back(pkmd_Fit(model, spectrum, {.from = channel - 20, .to = channel + 20})
                            .peaks[0]
                            .position);
    }
    const double known[] = {5.415, 6.404}; // keV
    const double delta = (known[1] - known[0]) / (found[1] - found[0]);
    spectrum.SetCal(cal_c1DArrayCal(known[0] - delta * found[0], delta, 0));
    std::printf("lines in channels %.2f and %.2f\n", found[0], found[1]);
    std::printf("%.2f eV per channel, channel 0 at %.0f eV\n", 1000 * delta,
                1000 * spectrum.Cal().Offset());
}
