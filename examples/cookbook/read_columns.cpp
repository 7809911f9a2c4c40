// A file of two columns, energies in keV and counts, becomes a spectrum that knows where its
// channels lie.
#include <cmath>
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
    if (energies.size() < 2) {
        std::fprintf(stderr, "columns.txt is not there, or has no rows of two numbers\n");
        return 1;
    }
    const double delta =
        (energies.back() - energies.front()) / static_cast<double>(energies.size() - 1);
    const darr_c1DArray spectrum(counts, cal_c1DArrayCal(energies.front(), delta, 0));
    for (int i = 0; i < spectrum.Size(); ++i) {
        const double energy = energies[static_cast<std::size_t>(i)];
        if (!(std::fabs(spectrum.Cal().Position(i) - energy) < 1e-3 * std::fabs(delta))) {
            std::fprintf(stderr, "The energies are not evenly spaced at %g keV\n", energy);
            return 1;
        }
    }
    std::printf("%d channels of %.1f eV from %.2f keV\n", spectrum.Size(), 1000 * delta,
                spectrum.Cal().Offset());
    double position = 0;
    const double highest = extr_Max(spectrum, position).As<double>();
    std::printf("highest at %.2f keV, %.0f counts; at 7.058 keV %.1f\n", position, highest,
                spectrum.Value(7.058).As<double>());
}
