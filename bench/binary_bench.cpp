// Element-wise arithmetic through the public operators. The peer is binary.py.
//
// usage: bench_binary DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

#define LEVEL_KERNELS "bench/bare_loop.inc"
#include "dataprocessing/platform/level_each.h"

namespace {

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
            bench::measure<float>(directory, "add_float", [&] { return a + b; });
            if (count == 1000)
                continue;
            bench::measure<float>(directory, "divide_float", [&] { return a / b; });
            const darr_c1DArray u = bench::integerArray<unsigned short>(count, 3),
                                v = bench::integerArray<unsigned short>(count, 4);
            bench::measure<int>(directory, "add_u16", [&] { return u + v; });
            bench::measure<float>(directory, "multiply_u16_float", [&] { return u * b; });
        }
        const darr_c1DArray c = bench::complexArray(count, 5), d = bench::complexArray(count, 7);
        bench::measure<comp_cComplex<float>>(directory, "multiply_complex", [&] { return c * d; });
    }
}
