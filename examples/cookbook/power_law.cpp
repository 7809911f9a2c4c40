// What is in windows over two lines, above a power law that is fitted just below each.
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
    dasl_c1DDataArraySelection none(rnge_IndexNearest);
    pwft_cMultiPowerLawFitFunc below(1, none);
    // The background 0.35 keV long, up to 0.2 keV below the line; the window from 0.2 below to 0.2
    // above it.
    for (const double at : {5.415, 6.404})
        below.AddPeak(at, 0.2, 0.35, -0.2, 0.4);
    below.Refit(spectrum);
    std::printf("Cr Ka %.0f +- %.0f counts\n", below.PeakIntensity(5.415) / 0.01,
                below.PeakIntensityError(5.415) / 0.01);
    std::printf("Fe Ka %.0f +- %.0f counts\n", below.PeakIntensity(6.404) / 0.01,
                below.PeakIntensityError(6.404) / 0.01);
}
