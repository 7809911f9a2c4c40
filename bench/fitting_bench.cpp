// Polynomial fits through the public functions. The peer is fitting.py.
//
// usage: bench_fitting DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

std::vector<double> figures(const arr_cC_Array<double>& coefficients) {
    return {coefficients.begin(), coefficients.end()};
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const std::size_t count : {std::size_t{1024}, std::size_t{100000}}) {
        std::vector<double> elements(count);
        for (std::size_t i = 0; i < count; ++i)
            elements[i] = bench::real(static_cast<std::uint32_t>(i), 1);
        const double delta = 2.0 / static_cast<double>(count);
        const darr_c1DArray data(std::span<const double>(elements), cal_c1DArrayCal(-1, delta, 0));
        dasl_c1DDataArraySelection selection(rnge_IndexNearest);
        selection.AddLocalRange(data.Range());
        for (const int order : {3, 5, 8}) {
            const std::string name = "order_" + std::to_string(order);
            plft_c1DPolyFittingFunction polynomial(order, selection);
            bench::measureFigures(directory, name, count, [&] {
                polynomial.Refit(data);
                return figures(polynomial.Coefficients());
            });
        }
        // A background that falls off, on positions from 1 to 3.
        const darr_c1DArray falling(std::span<const double>(elements),
                                    cal_c1DArrayCal(1, delta, 0));
        dasl_c1DDataArraySelection whole(rnge_IndexNearest);
        whole.AddLocalRange(falling.Range());
        pwft_cPowerLawFittingFunction law(1, whole);
        bench::measureFigures(directory, "power_law", count, [&] {
            law.Refit(falling);
            return figures(law.Coefficients());
        });
    }
}
