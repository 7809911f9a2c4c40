// Mn Ka lies on Cr Kb. What is known, one width and the ratio of the chromium lines, tells them
// apart.
#include <cmath>
#include <cstdio>
#include <vector>

#include "dataprocessing/dataprocessing.h"

pkmd_cModel modelOf(double chromiumAlpha, double chromiumBeta, double manganese) {
    pkmd_cModel model;
    model.AddPeak(pkmd_Gaussian, 5.415, chromiumAlpha, 0.06);
    model.AddPeak(pkmd_Gaussian, 5.947, chromiumBeta, 0.06);
    model.AddPeak(pkmd_Gaussian, 5.895, manganese, 0.06);
    model.AddPolynomial({20});
    return model;
}

int main() {
    darr_c1DArray spectrum(150, dtyp_Double, cal_c1DArrayCal(5, 0.01, 0));
    std::vector<double> energies, counts(150);
    for (int i = 0; i < spectrum.Size(); ++i)
        energies.push_back(spectrum.Cal().Position(i));
    const pkmd_cModel truth = modelOf(2000, 260, 150);
    truth.Values(truth.Starts(), energies, counts);
    for (int i = 0; i < spectrum.Size(); ++i)
        spectrum.SetNumber(i, std::floor(counts[static_cast<std::size_t>(i)] + 0.5));

    for (const bool isTied : {false, true}) {
        pkmd_cModel model = modelOf(1800, 200, 200);
        if (isTied) {
            model.Tie(model.Height(1), model.Height(0), 0.13);
            model.Tie(model.Position(1), model.Position(0), 1, 0.532);
            model.Tie(model.Width(1), model.Width(0), 1);
            model.Tie(model.Width(2), model.Width(0), 1);
        }
        const pkmd_sPeak manganese = pkmd_Fit(model, spectrum).peaks[2];
        std::printf("%s: Mn Ka %.0f +- %.2g counts\n", isTied ? "tied" : "free",
                    manganese.area / 0.01, manganese.areaError / 0.01);
    }
}
