// Rotation, projection and line scans of images. The peer is geometry.py.
//
// usage: bench_geometry DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "dataprocessing/dataprocessing.h"

namespace {

constexpr int side = 2048;
constexpr double tenDegrees = 10 * type_Pi / 180;

template<class T, class Make>
darr_c2DArray image(const Make& make) {
    std::vector<T> elements(std::size_t{side} * side);
    for (std::size_t i = 0; i < elements.size(); ++i)
        elements[i] = make(static_cast<std::uint32_t>(i));
    return {side, side, std::span<const T>(elements)};
}

template<class T, class Operation>
void measure(const std::string& directory, const std::string& name, const Operation& operation) {
    std::size_t count = 0;
    {
        const auto result = operation();
        count = static_cast<std::size_t>(result.Count());
        bench::sample(directory, name, result.template Elements<T>());
    }
    bench::printTime(name, count, bench::nanoseconds([&] { bench::use(operation()); }));
    if (count < (std::size_t{1} << 22))
        return;
    const double peak = bench::peakBytes([&] { bench::use(operation()); });
    std::printf("memory %s %zu %.3f\n", name.c_str(), count,
                peak / static_cast<double>(count * sizeof(T)));
}

template<class T>
void rotate(const std::string& directory, const std::string& name, const darr_c2DArray& source) {
    measure<T>(directory, name,
               [&] { return warp_Rotate(source, tenDegrees, rnge_c2DRange::Null); });
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    const darr_c2DArray real = image<float>([](std::uint32_t i) { return bench::real(i, 1); });
    rotate<float>(directory, "rotate_float", real);
    rotate<float>(directory, "rotate_u8", image<unsigned char>([](std::uint32_t i) {
                      return static_cast<unsigned char>(bench::bits(i, 2) >> 24);
                  }));
    rotate<float>(directory, "rotate_u16", image<unsigned short>([](std::uint32_t i) {
                      return static_cast<unsigned short>(bench::bits(i, 3) >> 16);
                  }));
    rotate<double>(directory, "rotate_double",
                   image<double>([](std::uint32_t i) { return double{bench::real(i, 1)}; }));
    for (const int width : {8, 32, 128})
        measure<float>(directory, "linescan_" + std::to_string(width),
                       [&] { return proj_LineScan(real, 0, 0, side, side, width); });
}
