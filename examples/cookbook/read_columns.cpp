// A file of two columns, energies in keV and counts, becomes a spectrum that knows where its
// channels lie.
#include <cstdio>
#include <fstream>
#include <vector>

#include "dataprocessing/dataprocessing.h"

int main() {
    std::ifstream file("columns.txt");
    std::vector<double> energies, counts;
    for (double energy = 0, count = 0; file >> energy >> count;) {
        energies.push_back(energy);
        counts.push_back(count);
    }
    const double delta =
        (energies.back() - energies.front()) / static_cast<double>(energies.size() - 1);
    const darr_c1DArray spectrum(counts, cal_c1DArrayCal(energies.front(), delta, 0));
    std::printf("%d channels of %.1f eV from %.2f keV\n", spectrum.Size(), 1000 * delta,
                spectrum.Cal().Offset());
    double position = 0;
    const double highest = extr_Max(spectrum, position).As<double>();
    std::printf("highest at %.2f keV, %.0f counts; at 7.058 keV %.1f\n", position, highest,
                spectrum.Value(7.058).As<double>());
}
