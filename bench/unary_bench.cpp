// Functions of every element, and scans, through the public functions. The peer is unary.py.
//
// usage: bench_unary DIRECTORY   (where samples of the results go)

#include <cmath>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

/// The C runtime's function in a plain loop: what the function's own time is compared with.
template<double Function(double)>
void runtimeLoop(const std::string& name, const darr_c1DArray& operand) {
    const std::span<const double> x = operand.Elements<double>();
    std::vector<double> result(x.size());
    bench::printTime("runtime_" + name, x.size(), bench::nanoseconds([&] {
                         for (std::size_t i = 0; i < x.size(); ++i)
                             result[i] = Function(x[i]);
                         bench::use(result);
                     }));
}

double expOf(double x) { return std::exp(x); }
double logOf(double x) { return std::log(x); }
double sinOf(double x) { return std::sin(x); }
double powOf(double x) { return std::pow(x, 2.5); }

void reals(const std::string& directory, std::size_t count) {
    const darr_c1DArray d = bench::realArray<double>(count, 5);
    bench::measure<double>(directory, "exp_double", [&] { return exp(d); });
    bench::measure<double>(directory, "log_double", [&] { return log(d); });
    bench::measure<double>(directory, "sin_double", [&] { return sin(d); });
    bench::measure<double>(directory, "atan_double", [&] { return atan(d); });
    bench::measure<double>(directory, "tanh_double", [&] { return tanh(d); });
    bench::measure<double>(directory, "pow_double", [&] { return pow(d, 2.5); });
    if (count > 100000)
        return;
    runtimeLoop<expOf>("exp", d);
    runtimeLoop<logOf>("log", d);
    runtimeLoop<sinOf>("sin", d);
    runtimeLoop<powOf>("pow", d);
}

void complexes(const std::string& directory, std::size_t count) {
    const darr_c1DArray c = bench::complexArray(count, 6);
    using Complex = comp_cComplex<float>;
    bench::measure<Complex>(directory, "sqr_complex", [&] { return sqr(c); });
    bench::measure<Complex>(directory, "sqrt_complex", [&] { return sqrt(c); });
    bench::measure<float>(directory, "norm_complex", [&] { return norm(c); });
    bench::measure<float>(directory, "arg_complex", [&] { return arg(c); });
}

/// Scans that find nothing, so that they look at every element.
void scans(const std::string& directory, std::size_t count) {
    const darr_c1DArray a =
        bench::array<float>(count, [](std::uint32_t i) { return bench::real(i, 1) / 2; });
    const auto answer = [](bool found) { return std::vector{found ? 1.0 : 0.0}; };
    bench::measureFigures(directory, "is_zero", count, [&] { return answer(scan_IsZero(a)); });
    bench::measureFigures(directory, "is_negative", count,
                          [&] { return answer(scan_IsNegative(a)); });
    bench::measureFigures(directory, "is_beyond_unity", count,
                          [&] { return answer(scan_IsAbsLargerThanUnity(a)); });
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const std::size_t count : {std::size_t{100000}, std::size_t{1} << 24}) {
        {
            const darr_c1DArray a = bench::realArray(count, 1);
            bench::measure<float>(directory, "sqrt_float", [&] { return sqrt(a); });
            bench::measure<float>(directory, "abs_float", [&] { return abs(a); });
        }
        reals(directory, count);
        complexes(directory, count);
        scans(directory, count);
    }
}
