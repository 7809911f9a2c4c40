// Comparisons, mask logic and selection through the public functions. The peer is compare.py.
//
// usage: bench_compare DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const std::size_t count : {std::size_t{100000}, std::size_t{1} << 24}) {
        const darr_c1DArray a = bench::realArray(count, 1), b = bench::realArray(count, 2);
        bench::measure<unsigned char>(directory, "greater_number", [&] { return a > 1.0F; });
        bench::measure<unsigned char>(directory, "less_arrays", [&] { return a < b; });
        const darr_c1DArray u = bench::integerArray<unsigned short>(count, 3);
        bench::measure<unsigned char>(directory, "equal_u16_number",
                                      [&] { return u == static_cast<unsigned short>(7); });
        const barr_c1DBoolArray bright = a > 1.0F, other = b > 1.0F;
        bench::measure<unsigned char>(directory, "and", [&] { return bright & other; });
        bench::measure<float>(directory, "select_arrays",
                              [&] { return tnry_Ternary(bright, a, b); });
        bench::measure<float>(directory, "select_number",
                              [&] { return tnry_Ternary(bright, a, 0.0F); });
        bench::measure<float>(directory, "minimum_arrays", [&] { return trny_min(a, b); });
        bench::measure<float>(directory, "clip_number", [&] { return trny_max(a, 1.0F); });
    }
}
