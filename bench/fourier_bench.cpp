// Transforms through the public functions: with the result's allocation, and for images of reals
// with the centring, scaling and mirroring of the whole spectrum. The peer is fourier_fftw.cpp.
//
// usage: bench_fourier DIRECTORY   (where samples of the results go)

#include <complex>
#include <cstddef>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "bench/bench.h"
#include "dataprocessing/dataprocessing.h"

namespace {

using Complex = comp_cComplex<float>;

std::vector<Complex> complexValues(std::size_t count) {
    std::vector<Complex> values(count);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = Complex(bench::real(static_cast<std::uint32_t>(i), 1),
                            bench::real(static_cast<std::uint32_t>(i), 2));
    return values;
}

darr_c1DArray line(std::size_t count) {
    return darr_c1DArray(std::span<const Complex>(complexValues(count)));
}

darr_c2DArray image(int size) {
    const std::vector<Complex> values =
        complexValues(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
    return darr_c2DArray(size, size, std::span<const Complex>(values));
}

template<class Operation>
void measure(const std::string& directory, const std::string& name, const Operation& operation) {
    std::size_t count = 0;
    {
        const auto result = operation();
        count = static_cast<std::size_t>(result.Count());
        bench::sample(directory, name, result.template Elements<Complex>());
    }
    bench::printTime(name, count, bench::nanoseconds([&] { bench::use(operation()); }));
}

/// A thread that has transformed nothing has no tables yet.
void measureFirst(std::size_t count) {
    const darr_c1DArray x = line(count);
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
        const darr_c1DArray x = line(std::size_t{1} << bits);
        measure(directory, "line_inverse", [&] { return four_IFFT(x); });
        measure(directory, "line_forward", [&] { return four_FFT(x); });
    }
    measureFirst(std::size_t{1} << 20);
    for (const int size : {512, 2048}) {
        const darr_c2DArray z = image(size);
        measure(directory, "image_complex", [&] { return four_FFT(z); });
        const darr_c2DArray x = real(z);
        measure(directory, "image_real", [&] { return four_FFT(x); });
    }
}
