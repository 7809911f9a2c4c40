// Unary functions and reductions through the public functions. The peer is reduce.py.
//
// usage: bench_reduce DIRECTORY   (where samples of the results go)

#include <cmath>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "dataprocessing/dataprocessing.h"

namespace {

/// A function of all elements: its result is sampled for the peer, then it is timed.
template<class T, class Operation>
void measureMap(const std::string& directory, const std::string& name, std::size_t count,
                const Operation& operation) {
    {
        const darr_c1DArray result = operation();
        bench::sample(directory, name, result.Elements<T>());
    }
    bench::printTime(name, count, bench::nanoseconds([&] { bench::use(operation()); }));
}

/// A reduction: its figures, as doubles, are left for the peer.
template<class Operation>
void measureReduction(const std::string& directory, const std::string& name, std::size_t count,
                      const Operation& operation) {
    const std::vector<double> figures = operation();
    std::ofstream file(directory + "/" + name + "." + std::to_string(count), std::ios::binary);
    for (const double figure : figures)
        file.write(reinterpret_cast<const char*>(&figure), sizeof figure);
    bench::printTime(name, count, bench::nanoseconds([&] { bench::use(operation()); }));
}

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

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const std::size_t count : {std::size_t{100000}, std::size_t{1} << 24}) {
        {
            const darr_c1DArray a = bench::realArray<float>(count, 1);
            measureMap<float>(directory, "sqrt_float", count, [&] { return sqrt(a); });
            measureReduction(directory, "sum_float", count,
                             [&] { return std::vector{stat_Sum(a).As<double>()}; });
            measureReduction(directory, "min_position_float", count, [&] {
                int index = 0;
                const pnum_cNumber min = extr_Min(a, index, conv_RealPart);
                return std::vector{min.As<double>(), static_cast<double>(index)};
            });
            measureReduction(directory, "mean_variance_float", count, [&] {
                return std::vector{stat_Mean(a).As<double>(), stat_Variance(a).As<double>()};
            });
        }
        {
            const darr_c1DArray u = bench::integerArray<unsigned char>(count, 3);
            measureReduction(directory, "sum_u8", count,
                             [&] { return std::vector{stat_Sum(u).As<double>()}; });
            const darr_c1DArray v = bench::integerArray<unsigned short>(count, 4);
            measureReduction(directory, "sum_u16", count,
                             [&] { return std::vector{stat_Sum(v).As<double>()}; });
        }
        const darr_c1DArray d = bench::realArray<double>(count, 5);
        measureMap<double>(directory, "exp_double", count, [&] { return exp(d); });
        runtimeLoop<expOf>("exp", d);
        measureMap<double>(directory, "log_double", count, [&] { return log(d); });
        runtimeLoop<logOf>("log", d);
        measureMap<double>(directory, "sin_double", count, [&] { return sin(d); });
        runtimeLoop<sinOf>("sin", d);
        measureMap<double>(directory, "pow_double", count, [&] { return pow(d, 2.5); });
        runtimeLoop<powOf>("pow", d);
    }
}
