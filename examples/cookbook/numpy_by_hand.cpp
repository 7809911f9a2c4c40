// One subtraction by hand and by the library: a coarse array under a fine one, aligned by
// positions.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "dataprocessing/dataprocessing.h"

int main() {
    darr_c1DArray fine(17, dtyp_Double, cal_c1DArrayCal(2, 0.25, 0)); // mm
    darr_c1DArray coarse(9, dtyp_Double, cal_c1DArrayCal(2, 0.5, 0));
    fine.Fill([](double x) { return std::sin(x) + 2; });
    coarse.Fill([](double x) { return 0.1 * x; });

    // By the library: the arrays know where they lie.
    const darr_c1DArray difference = fine - coarse;

    // By hand: which is finer, what is between the coarse ones?
    double largest = 0;
    for (int i = 0; i < fine.Size(); ++i) {
        const double between = i % 2 == 0 ? coarse[i / 2] : (coarse[i / 2] + coarse[i / 2 + 1]) / 2;
        largest = std::max(largest, std::abs(difference[i] - (fine[i] - between)));
    }
    std::printf("largest difference below 1e-12: %s\n", largest < 1e-12 ? "yes" : "no");
    double position = 0;
    const darr_c1DArray common = difference.Selection(rnge_c1DRange(2.0, 6.25), rnge_IndexNearest);
    const double highest = extr_Max(common, position).As<double>();
    std::printf("highest %.4f at %.2f mm\n", highest, position);
}
