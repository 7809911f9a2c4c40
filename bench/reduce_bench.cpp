// Reductions through the public functions. The peer is reduce.py.
//
// usage: bench_reduce DIRECTORY   (where samples of the results go)

#include <cstddef>
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
        {
            const darr_c1DArray a = bench::realArray<float>(count, 1);
            bench::measureFigures(directory, "sum_float", count,
                                  [&] { return std::vector{stat_Sum(a).As<double>()}; });
            bench::measureFigures(directory, "min_position_float", count, [&] {
                int index = 0;
                const pnum_cNumber min = extr_Min(a, index, conv_RealPart);
                return std::vector{min.As<double>(), static_cast<double>(index)};
            });
            bench::measureFigures(directory, "mean_variance_float", count, [&] {
                return std::vector{stat_Mean(a).As<double>(), stat_Variance(a).As<double>()};
            });
        }
        {
            const darr_c1DArray u = bench::integerArray<unsigned char>(count, 3);
            bench::measureFigures(directory, "sum_u8", count,
                                  [&] { return std::vector{stat_Sum(u).As<double>()}; });
            const darr_c1DArray v = bench::integerArray<unsigned short>(count, 4);
            bench::measureFigures(directory, "sum_u16", count,
                                  [&] { return std::vector{stat_Sum(v).As<double>()}; });
            bench::measureFigures(directory, "minmax_u16", count, [&] {
                pnum_cNumber min, max;
                extr_MinMax(v, min, max, conv_RealPart);
                return std::vector{min.As<double>(), max.As<double>()};
            });
        }
    }
    constexpr int side = 2048;
    const darr_c2DArray image = bench::realImage(side, 1);
    bench::measureFigures(directory, "max_position_image", std::size_t{side} * side, [&] {
        int x = 0, y = 0;
        const pnum_cNumber max = extr_Max(image, x, y, conv_RealPart);
        return std::vector{max.As<double>(), static_cast<double>(x), static_cast<double>(y)};
    });
}
