// Three ways to smooth: a local parabola, a Gaussian, a median; what they do to noise and to a
// line.
#include <cmath>
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

void tell(const char* name, const darr_c1DArray& curve) {
    const darr_c1DArray flat = curve.Selection(rnge_c1DRange(8.5, 9.5), rnge_IndexNearest);
    std::printf("%s: noise %.1f, highest %.0f\n", name, std::sqrt(stat_Variance(flat).As<double>()),
                extr_Max(curve).As<double>());
}

int main() {
    const darr_c1DArray spectrum(numbersOf("spectrum.txt"), cal_c1DArrayCal(0, 0.01, 0));
    tell("as it was", spectrum);
    tell("Savitzky-Golay", smth_SavitzkyGolay(spectrum, 9, 2)); // elements, order
    tell("Gauss", smth_Gauss(spectrum, 0.03));                  // keV
    tell("median", smth_Median(spectrum, 9));                   // elements
}
