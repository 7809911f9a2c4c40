// The period and the direction of a lattice, from the brightest spot of its power spectrum.
#include <cmath>
#include <cstdio>

#include "dataprocessing/dataprocessing.h"

int main() {
    darr_c2DArray image(64, 64, dtyp_Double, cal_c2DArrayCal(0, 0.25, 0, 0.25, 0, 0)); // nm
    image.Fill(
        [](double x, double y) { return 100 + 40 * std::cos(2 * type_Pi * (0.5 * x + 0.25 * y)); });
    const darr_c2DArray power = norm(four_FFT(image - stat_Mean(image)));
    double fx = 0, fy = 0;
    extr_Max(power, fx, fy);
    if (fx < 0) { // (-fx, -fy) is the same wave
        fx = -fx;
        fy = -fy;
    }
    std::printf("%.4f and %.4f per nm\n", fx, fy);
    std::printf("rows %.3f nm apart, %.1f degrees\n", 1 / std::hypot(fx, fy),
                std::atan2(fy, fx) * 180 / type_Pi);
}
