// Rotation, projection and line scans of images. The peer is geometry.py.
//
// usage: bench_geometry DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

constexpr int side = 2048;
constexpr double tenDegrees = 10 * type_Pi / 180;

template<class T>
void rotate(const std::string& directory, const std::string& name, const darr_c2DArray& source) {
    bench::measure<T>(directory, name,
                      [&] { return warp_Rotate(source, tenDegrees, rnge_c2DRange::Null); });
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    const darr_c2DArray real = bench::realImage(side, 1);
    rotate<float>(directory, "rotate_float", real);
    rotate<float>(directory, "rotate_u8", bench::image<unsigned char>(side, [](std::uint32_t i) {
                      return static_cast<unsigned char>(bench::bits(i, 2) >> 24);
                  }));
    rotate<float>(directory, "rotate_u16", bench::image<unsigned short>(side, [](std::uint32_t i) {
                      return static_cast<unsigned short>(bench::bits(i, 3) >> 16);
                  }));
    rotate<double>(directory, "rotate_double", bench::realImage<double>(side, 1));
    for (const int width : {8, 32, 128})
        bench::measure<float>(directory, "linescan_" + std::to_string(width),
                              [&] { return proj_LineScan(real, 0, 0, side, side, width); });
    bench::measure<float>(directory, "project_rows",
                          [&] { return proj_Project(real, rnge_c2DRange::Null); });
    bench::measure<float>(directory, "resize", [&] { return warp_Resize(real, 1.5, 1.5); });
    for (const auto& [name, interpolation] : {std::pair("to_nearest", warp_NearestElement),
                                              std::pair("to_linear", warp_LinearInterpolation),
                                              std::pair("to_cubic", warp_CubicInterpolation)})
        bench::measure<float>(directory, name, [&, interpolation = interpolation] {
            return warp_RotateTo(real, type_Pi / 6, {}, {}, interpolation);
        });
    bench::measure<float>(directory, "flip_point", [&] { return warp_FlipPoint(real); });
    bench::measure<float>(directory, "ramp_radius", [&] {
        return darr_c2DArray(
            ramp_c2DRamp(ramp_Radius, side, side, cal_c2DArrayCal(-1, 0.001, -1, 0.001, 0, 0)));
    });
}
