// The lines of a spectrum: what is below them taken away, what is noise smoothed, what stands out
// found.
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
    const darr_c1DArray background = bgnd_Snip(spectrum, 24);
    const darr_c1DArray net = smth_SavitzkyGolay(spectrum - background, 9, 2);
    for (const peak_sPeak& line : peak_Find(net, {.prominence = 25, .distance = 0.1}))
        std::printf("%.2f keV, %.0f high, %.0f eV wide\n", line.position, line.height,
                    1000 * line.width);
}
