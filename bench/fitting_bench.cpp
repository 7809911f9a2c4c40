// Polynomial fits through the public functions. The peer is fitting.py.
//
// usage: bench_fitting DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "dataprocessing/dataprocessing.h"

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
            polynomial.Refit(data);
            std::ofstream file(directory + "/" + name + "." + std::to_string(count),
                               std::ios::binary);
            for (const double coefficient : polynomial.Coefficients())
                file.write(reinterpret_cast<const char*>(&coefficient), sizeof coefficient);
            bench::printTime(name, count, bench::nanoseconds([&] {
                                 polynomial.Refit(data);
                                 bench::use(polynomial);
                             }));
        }
    }
}
