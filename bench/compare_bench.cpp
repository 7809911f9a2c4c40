// Comparisons, mask logic and selection through the public functions. The peer is compare.py.
//
// usage: bench_compare DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "dataprocessing/dataprocessing.h"

namespace {

template<class T>
std::span<const T> elementsOf(const darr_c1DArray& result) {
    return result.Elements<T>();
}
template<class T>
std::span<const T> elementsOf(const barr_c1DBoolArray& result) {
    return {&result.Element(0), static_cast<std::size_t>(result.Size())};
}

template<class T, class Operation>
void measure(const std::string& directory, const std::string& name, std::size_t count,
             const Operation& operation) {
    {
        const auto result = operation();
        bench::sample(directory, name, elementsOf<T>(result));
    }
    bench::printTime(name, count, bench::nanoseconds([&] { bench::use(operation()); }));
    if (count < (std::size_t{1} << 22))
        return;
    const double peak = bench::peakBytes([&] { bench::use(operation()); });
    std::printf("memory %s %zu %.3f\n", name.c_str(), count,
                peak / static_cast<double>(count * sizeof(T)));
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const std::size_t count : {std::size_t{100000}, std::size_t{1} << 24}) {
        const darr_c1DArray a = bench::realArray(count, 1), b = bench::realArray(count, 2);
        measure<unsigned char>(directory, "greater_number", count, [&] { return a > 1.0F; });
        measure<unsigned char>(directory, "less_arrays", count, [&] { return a < b; });
        const darr_c1DArray u = bench::array<unsigned short>(count, [](std::uint32_t i) {
            return static_cast<unsigned short>(bench::bits(i, 3) >> 16);
        });
        measure<unsigned char>(directory, "equal_u16_number", count,
                               [&] { return u == static_cast<unsigned short>(7); });
        const barr_c1DBoolArray bright = a > 1.0F, other = b > 1.0F;
        measure<unsigned char>(directory, "and", count, [&] { return bright & other; });
        measure<float>(directory, "select_arrays", count,
                       [&] { return tnry_Ternary(bright, a, b); });
        measure<float>(directory, "select_number", count,
                       [&] { return tnry_Ternary(bright, a, 0.0F); });
        measure<float>(directory, "minimum_arrays", count, [&] { return trny_min(a, b); });
        measure<float>(directory, "clip_number", count, [&] { return trny_max(a, 1.0F); });
    }
}
