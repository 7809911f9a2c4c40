// What every consumer builds: it uses compiled functions, templates and inline functions of the
// library, and catches an exception that the library throws, which fails where types are not shared
// across the library's boundary.

#include <array>
#include <cstdio>
#include <cstring>
#include <span>
#include <vector>

#include "dataprocessing/dataprocessing.h"

int main() {
    const std::array<float, 4> counts = {3.0F, 1.0F, 4.0F, 1.0F};
    const std::span<const float> view(counts);
    const darr_c1DArray spectrum(view, cal_c1DArrayCal(10.0, 0.5, 0));
    const darr_c1DArray part = spectrum.Selection(2, 4);
    if (part.Size() != 2 || part.Number(0).As<double>() != 4.0 || part.Cal().Position(0) != 11.0)
        return 1;
    const std::vector<double> values = {1.0, 2.0, 3.0};
    const darr_c1DArray line(values, cal_c1DArrayCal());
    double sum = 0.0;
    for (const double value : line* values.size() - 2L)
        sum += value;
    if (sum != 12.0 || line[values.size() - 1] != 3.0)
        return 1;
    try {
        part.Number(2);
    } catch (const expt_cProgramException& refusal) {
        std::printf("consumer: ok (refused: %s)\n", refusal.what());
        return std::strlen(refusal.what()) > 0 ? 0 : 1;
    }
    return 1;
}
