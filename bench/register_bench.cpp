// Registration of images through the public function. The peer is register.py.
//
// usage: bench_register DIRECTORY   (where samples of the results go)

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

/// Waves of many directions that come again only far outside, seen from (x, y) on, with noise.
darr_c2DArray scene(int sizeX, int sizeY, double x, double y, std::uint32_t input) {
    std::vector<float> elements;
    for (int row = 0; row < sizeY; ++row)
        for (int column = 0; column < sizeX; ++column) {
            double value = 0;
            for (std::uint32_t k = 0; k < 40; ++k) {
                const double u = 0.6 * (bench::real(2 * k, 9) - 1);
                const double v = 0.6 * (bench::real(2 * k + 1, 9) - 1);
                value += std::cos(u * (x + column) + v * (y + row) + k);
            }
            const auto i = static_cast<std::uint32_t>(elements.size());
            elements.push_back(static_cast<float>(value) + 4 * (bench::real(i, input) - 1));
        }
    return {sizeX, sizeY, std::span<const float>(elements)};
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const auto& [sizeX, sizeY] :
         {std::pair(150, 110), std::pair(300, 200), std::pair(700, 613)}) {
        const darr_c2DArray fixed = scene(sizeX, sizeY, 0, 0, 1);
        const darr_c2DArray moved = scene(sizeX, sizeY, -12.3, 7.6, 2);
        bench::measureFigures(directory, "register",
                              static_cast<std::size_t>(sizeX) * static_cast<std::size_t>(sizeY),
                              [&] {
                                  const regs_s2DShift shift = regs_Register(fixed, moved);
                                  return std::vector{shift.elementsX, shift.elementsY};
                              });
    }
}
