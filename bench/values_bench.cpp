// Conversions, resampling and selections through the public functions. The peer is values.py.
//
// usage: bench_values DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <string>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

void conversions(const std::string& directory, std::size_t count) {
    const darr_c1DArray u = bench::integerArray<unsigned short>(count, 1);
    bench::measure<float>(directory, "u16_to_float", [&] { return conv_Convert(u, dtyp_Float); });
    const darr_c1DArray d = bench::realArray<double>(count, 2);
    bench::measure<float>(directory, "double_to_float",
                          [&] { return conv_Convert(d, dtyp_Float); });
    // From 100 to 300: a fifth is clipped.
    const darr_c1DArray a =
        bench::array<float>(count, [](std::uint32_t i) { return 200 * bench::real(i, 3); });
    bench::measure<unsigned char>(directory, "float_to_u8",
                                  [&] { return conv_Convert(a, dtyp_UInt8); });
    const darr_c1DArray c = bench::complexArray(count, 4);
    bench::measure<float>(directory, "complex_modulus",
                          [&] { return conv_Convert(c, dtyp_Float, conv_Modulus); });
}

void lines(const std::string& directory, std::size_t count) {
    const int size = static_cast<int>(count);
    const darr_c1DArray a = bench::realArray(count, 1);
    bench::measure<float>(directory, "select_half",
                          [&] { return a.Selection(size / 4, size / 4 + size / 2); });
    bench::measure<float>(directory, "rescale_line", [&] { return resc_Rescale(a, 0.75); });
    bench::measure<float>(directory, "rebin_line", [&] { return resc_Rebin(a, 1.75); });
    darr_c1DArray coarse = bench::realArray(count / 2, 2);
    coarse.SetCal(cal_c1DArrayCal(0, 2, 0));
    bench::measure<float>(directory, "subtract_coarse", [&] { return a - coarse; });
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const std::size_t count : {std::size_t{100000}, std::size_t{1} << 24}) {
        conversions(directory, count);
        lines(directory, count);
    }
    constexpr int side = 2048;
    const darr_c2DArray image = bench::realImage(side, 1);
    bench::measure<float>(directory, "select_window",
                          [&] { return image.Selection(512, 512, 1536, 1536); });
    bench::measure<float>(directory, "rescale_image",
                          [&] { return resc_Rescale(image, 0.75, 0.75); });
}
