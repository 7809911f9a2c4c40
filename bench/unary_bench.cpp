// Functions of every element, and scans, through the public functions. The peer is unary.py.
//
// usage: bench_unary DIRECTORY   (where samples of the results go)

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

/// A function of the library and the C runtime's, of values in [0.5, 1.5) less `shift`.
struct Function {
    const char* name;
    darr_c1DArray (*ofArray)(const darr_c1DArray&);
    double (*ofRuntime)(double);
    float shift = 0;
};
darr_c1DArray powOfArray(const darr_c1DArray& x) { return pow(x, 2.5F); }
double powOfRuntime(double x) { return std::pow(x, 2.5); }
const Function functions[] = {
    {"exp", exp, std::exp},
    {"log", log, std::log},
    {"log10", log10, std::log10},
    {"sin", sin, std::sin},
    {"cos", cos, std::cos},
    {"tan", tan, std::tan},
    {"asin", asin, std::asin, 0.5F},
    {"acos", acos, std::acos, 0.5F},
    {"atan", atan, std::atan},
    {"sinh", sinh, std::sinh},
    {"cosh", cosh, std::cosh},
    {"tanh", tanh, std::tanh},
    {"pow", powOfArray, powOfRuntime},
};

/// The C runtime's double function in a plain loop over elements of type T: what the function's own
/// time is compared with, and its bits.
template<class T>
void runtimeLoop(const Function& f, const std::string& name, const darr_c1DArray& operand) {
    const std::span<const T> x = operand.Elements<T>();
    std::vector<T> result(x.size());
    bench::printTime("runtime_" + name, x.size(), bench::nanoseconds([&] {
                         for (std::size_t i = 0; i < x.size(); ++i)
                             result[i] = static_cast<T>(f.ofRuntime(static_cast<double>(x[i])));
                         bench::use(result);
                     }));
    const darr_c1DArray own = f.ofArray(operand);
    if (!std::ranges::equal(own.Elements<T>(), result))
        std::printf("note %s differs from the runtime's\n", name.c_str());
}

template<class T>
void measureFunctions(const std::string& directory, const char* type, std::size_t count) {
    const darr_c1DArray x = bench::realArray<T>(count, 5);
    const darr_c1DArray shifted = x - 0.5F;
    for (const Function& f : functions) {
        const darr_c1DArray& operand = f.shift == 0 ? x : shifted;
        const std::string name = std::string(f.name) + type;
        bench::measure<T>(directory, name, [&] { return f.ofArray(operand); });
        if (count <= 100000)
            runtimeLoop<T>(f, name, operand);
    }
}

void complexes(const std::string& directory, std::size_t count) {
    const darr_c1DArray c = bench::complexArray(count, 6);
    using Complex = comp_cComplex<float>;
    bench::measure<Complex>(directory, "sqr_complex", [&] { return sqr(c); });
    bench::measure<Complex>(directory, "sqrt_complex", [&] { return sqrt(c); });
    bench::measure<float>(directory, "norm_complex", [&] { return norm(c); });
    bench::measure<float>(directory, "arg_complex", [&] { return arg(c); });
    bench::measure<float>(directory, "modulus_complex",
                          [&] { return conv_Convert(c, dtyp_Float, conv_Modulus); });
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
        measureFunctions<float>(directory, "_float", count);
        measureFunctions<double>(directory, "_double", count);
        complexes(directory, count);
        scans(directory, count);
    }
}
