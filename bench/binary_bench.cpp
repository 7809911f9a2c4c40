// Element-wise arithmetic through the public operators. The peer is binary.py.
//
// usage: bench_binary DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "dataprocessing/dataprocessing.h"

#define LEVEL_KERNELS "bench/bare_loop.inc"
#include "dataprocessing/platform/level_each.h"

namespace {

darr_c1DArray complexArray(std::size_t count, std::uint32_t input) {
    return bench::array<comp_cComplex<float>>(count, [=](std::uint32_t i) {
        return comp_cComplex<float>(bench::real(i, input), bench::real(i, input + 1));
    });
}

template<class T, class Operation>
void measure(const std::string& directory, const std::string& name, std::size_t count,
             const Operation& operation) {
    {
        const darr_c1DArray result = operation();
        bench::sample(directory, name, result.Elements<T>());
    }
    bench::printTime(name, count, bench::nanoseconds([&] { bench::use(operation()); }));
    if (count < (std::size_t{1} << 22))
        return;
    // Pages that an earlier result left behind would hide what this one needs: a block of another
    // size makes the library give them back.
    bench::use(darr_c1DArray(1 << 20, dtyp_Float, cal_c1DArrayCal()));
    const double peak = bench::peakBytes([&] { bench::use(operation()); });
    std::printf("memory %s %zu %.3f\n", name.c_str(), count,
                peak / static_cast<double>(count * sizeof(T)));
}

void bareLoop(std::size_t count) {
    const std::vector<float> a(count, 1.0F), b(count, 2.0F);
    std::vector<float> result(count);
    using namespace dataprocessing::detail;
    const auto loop = LEVEL_SELECT(bare_Sum);
    bench::printTime("bare_float", count, bench::nanoseconds([&] {
                         loop(a.data(), b.data(), result.data(), count);
                         bench::use(result);
                     }));
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    bareLoop(1000);
    for (const std::size_t count : {std::size_t{1000}, std::size_t{100000}, std::size_t{1} << 24}) {
        {
            const darr_c1DArray a = bench::realArray(count, 1), b = bench::realArray(count, 2);
            measure<float>(directory, "add_float", count, [&] { return a + b; });
            if (count == 1000)
                continue;
            measure<float>(directory, "divide_float", count, [&] { return a / b; });
            const darr_c1DArray u = bench::integerArray<unsigned short>(count, 3),
                                v = bench::integerArray<unsigned short>(count, 4);
            measure<int>(directory, "add_u16", count, [&] { return u + v; });
            measure<float>(directory, "multiply_u16_float", count, [&] { return u * b; });
        }
        const darr_c1DArray c = complexArray(count, 5), d = complexArray(count, 7);
        measure<comp_cComplex<float>>(directory, "multiply_complex", count, [&] { return c * d; });
    }
}
