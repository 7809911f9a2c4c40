// Transforms through the public functions: with the result's allocation, and for images of reals
// with the centring, scaling and mirroring of the whole spectrum. The peer is fourier_fftw.cpp.
//
// usage: bench_fourier DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <string>
#include <thread>

#include "bench/arrays.h"
#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

using Complex = comp_cComplex<float>;

/// A thread that has transformed nothing has no tables yet.
void measureFirst(std::size_t count) {
    const darr_c1DArray x = bench::complexArray(count, 1);
    double time = 0;
    std::thread([&] {
        const double start = bench::processorTime();
        bench::use(four_IFFT(x));
        time = bench::processorTime() - start;
    }).join();
    bench::printTime("line_first_call", count, time);
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    for (const int bits : {10, 16, 20}) {
        const darr_c1DArray x = bench::complexArray(std::size_t{1} << bits, 1);
        bench::measure<Complex>(directory, "line_inverse", [&] { return four_IFFT(x); });
        bench::measure<Complex>(directory, "line_forward", [&] { return four_FFT(x); });
    }
    measureFirst(std::size_t{1} << 20);
    for (const int size : {512, 2048}) {
        const darr_c2DArray z = bench::image<Complex>(
            size, [](std::uint32_t i) { return Complex(bench::real(i, 1), bench::real(i, 2)); });
        bench::measure<Complex>(directory, "image_complex", [&] { return four_FFT(z); });
        const darr_c2DArray x = real(z);
        bench::measure<Complex>(directory, "image_real", [&] { return four_FFT(x); });
    }
}
