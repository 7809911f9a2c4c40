// A slow and a fast wave, parted by their frequencies.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "dataprocessing/dataprocessing.h"

int main() {
    const cal_c1DArrayCal seconds(0, 0.01, 0);
    darr_c1DArray slow(256, dtyp_Double, seconds), mixed(256, dtyp_Double, seconds);
    slow.Fill([](double t) { return std::sin(2 * type_Pi * 12 / 2.56 * t); });
    mixed.Fill([](double t) {
        return std::sin(2 * type_Pi * 12 / 2.56 * t) + 0.5 * std::sin(2 * type_Pi * 64 / 2.56 * t);
    });

    const darr_c1DArray spectrum = four_FFT(mixed); // frequency 0 in the middle
    // Up to 10 per second of the 50 that 100 samples per second hold, on both sides of 0.
    darr_c1DArray band = prut_BandPassFilter(256, -0.2, 0.2);
    band.SetCal(spectrum.Cal());
    darr_c1DArray low = real(four_IFFT(four_Center(spectrum * band)));
    low.SetCal(seconds);

    const auto largest = [](const darr_c1DArray& a) {
        return std::max(extr_Max(a).As<double>(), -extr_Min(a).As<double>());
    };
    std::printf("off the slow wave by %.3f at most\n", largest(low - slow));
    std::printf("what was taken away is %.3f high\n", extr_Max(mixed - low).As<double>());
}
