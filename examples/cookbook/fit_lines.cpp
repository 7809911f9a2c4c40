// Two lines over a sloping background, fitted together by the likelihood of counts, with their
// errors.
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
    pkmd_cModel model;
    model.AddPeak(pkmd_Gaussian, 6.40, 800, 0.06); // position, height, deviation
    model.AddPeak(pkmd_Gaussian, 7.06, 100, 0.06);
    model.AddPolynomial({20, 0}, 6.7);
    const pkmd_sResult found = pkmd_Fit(model, spectrum, {.from = 6.05, .to = 7.25});
    const char* const names[] = {"Fe Ka", "Fe Kb"};
    for (std::size_t i = 0; i < found.peaks.size(); ++i) {
        const pkmd_sPeak& line = found.peaks[i];
        std::printf("%s %.3f +- %.3f keV, %.0f +- %.0f counts\n", names[i], line.position,
                    line.positionError, line.area / 0.01, line.areaError / 0.01);
    }
    std::printf("chi-squared per degree of freedom %.2f\n", found.fit.ReducedChiSquared());
}
