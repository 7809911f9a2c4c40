// Linear systems and singular values through the public functions. The peer is algebra.py.
//
// usage: bench_algebra DIRECTORY   (where samples of the results go)

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

double element(int i, std::uint32_t input) {
    return bench::real(static_cast<std::uint32_t>(i), input) - 1.0;
}

void solve(const std::string& directory, int rows, int columns) {
    arr_c2DNumberArray<double> a(columns, rows);
    arr_c1DNumberArray<double> b(rows);
    for (int row = 0; row < rows; ++row) {
        b[row] = element(row, 2);
        for (int column = 0; column < columns; ++column)
            a(row, column) = element(row * columns + column, 1);
    }
    bench::measureFigures(directory, "solve", static_cast<std::size_t>(rows * columns), [&] {
        const arr_c1DNumberArray<double> x = eqns_SolveEquations(a, b);
        return std::vector<double>(x.begin(), x.end());
    });
}

/// Storage is one-based, and the decomposition overwrites what it is given.
void singularValues(const std::string& directory, int rows, int columns) {
    std::vector<double> elements;
    for (int i = 0; i < rows * columns; ++i)
        elements.push_back(element(i, 1));
    double** const u = rcps::dmatrix(1, rows, 1, columns);
    double** const v = rcps::dmatrix(1, columns, 1, columns);
    double* const w = rcps::dvector(1, columns);
    bench::measureFigures(directory, "svd", elements.size(), [&] {
        std::copy(elements.begin(), elements.end(), &u[1][1]);
        rcps::svdcmp(u, rows, columns, w, v);
        std::vector<double> sorted(w + 1, w + 1 + columns);
        std::sort(sorted.begin(), sorted.end(), std::greater<>());
        return sorted;
    });
    rcps::free_dvector(w, 1, columns);
    rcps::free_dmatrix(v, 1, columns, 1, columns);
    rcps::free_dmatrix(u, 1, rows, 1, columns);
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    solve(directory, 20, 10);
    solve(directory, 200, 50);
    solve(directory, 2000, 20);
    singularValues(directory, 50, 50);
    singularValues(directory, 200, 200);
}
