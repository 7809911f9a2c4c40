// The example of the README.
#include <iostream>
#include <span>
#include <vector>

#include "dataprocessing/dataprocessing.h"

int main() {
    const std::vector<unsigned short> counts = {12, 15, 90, 15, 11};
    const std::vector<float> blank = {10, 14};
    const darr_c1DArray spectrum{std::span(counts), cal_c1DArrayCal(6.2, 0.1, 0)}; // from 6.2 keV
    const darr_c1DArray background{std::span(blank), cal_c1DArrayCal(6.2, 0.2, 0)};
    const darr_c1DArray net = spectrum - background; // aligned: deltas and ranges differ
    std::cout << net << " over " << net.Range() << " keV, " << net.Cal() << '\n';
}
