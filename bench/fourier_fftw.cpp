// The transforms of bench_fourier by FFTW in single precision, planned with FFTW_MEASURE, in place,
// without the time of planning.
//
// usage: bench_fourier_fftw DIRECTORY   (where bench_fourier left samples of its results)

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fftw3.h>

#include "bench/bench.h"

namespace {

using Complex = std::complex<float>;

/// Storage as FFTW wants it.
class cValues {
public:
    explicit cValues(std::size_t count)
        : data_(static_cast<Complex*>(fftwf_malloc(count * sizeof(Complex)))) {}
    cValues(const cValues&) = delete;
    cValues& operator=(const cValues&) = delete;
    ~cValues() { fftwf_free(data_); }
    Complex& operator[](std::size_t i) { return data_[i]; }
    fftwf_complex* Fftw() { return reinterpret_cast<fftwf_complex*>(data_); }
    float* Reals() { return reinterpret_cast<float*>(data_); }

private:
    Complex* data_;
};

float part(std::size_t i, std::uint32_t input) {
    return bench::real(static_cast<std::uint32_t>(i), input);
}

/// Compares the samples of `count` results with `expected(i)`; the largest value sets the scale.
template<class Expected>
void check(const std::filesystem::path& directory, const std::string& name, std::size_t count,
           const Expected& expected) {
    std::ifstream file(directory / (name + "." + std::to_string(count)), std::ios::binary);
    const std::size_t stride = std::max<std::size_t>(1, count / 4096);
    double apart = 0;
    double scale = 0;
    std::size_t compared = 0;
    for (std::size_t i = 0; i < count; i += stride) {
        Complex ours;
        if (!file.read(reinterpret_cast<char*>(&ours), sizeof ours))
            break;
        ++compared;
        const std::complex<double> theirs = expected(i);
        scale = std::max(scale, std::abs(theirs));
        apart = std::max(apart, std::abs(std::complex<double>(ours) - theirs));
    }
    const bool agrees = compared == (count + stride - 1) / stride && apart <= 1e-5 * scale;
    std::printf("check %s %zu %s\n", name.c_str(), count, agrees ? "agree" : "DIFFER");
}

/// Times repeated transforms of zeros, which stay what they are.
void time(const std::string& name, std::size_t count, cValues& values, std::size_t held,
          fftwf_plan plan) {
    std::fill_n(&values[0], held, Complex());
    bench::printTime(name, count, bench::nanoseconds([&] { fftwf_execute(plan); }));
    fftwf_destroy_plan(plan);
}

void line(const std::string& directory, std::size_t n) {
    for (const bool forward : {false, true}) {
        const std::string name = forward ? "line_forward" : "line_inverse";
        cValues z(n);
        fftwf_plan plan = fftwf_plan_dft_1d(static_cast<int>(n), z.Fftw(), z.Fftw(),
                                            forward ? FFTW_BACKWARD : FFTW_FORWARD, FFTW_MEASURE);
        for (std::size_t i = 0; i < n; ++i)
            z[i] = Complex(part(i, 1), part(i, 2));
        fftwf_execute(plan);
        check(directory, name, n, [&](std::size_t i) {
            const std::complex<double> value = z[forward ? (i + n / 2) % n : i];
            return forward ? value / static_cast<double>(n) : value;
        });
        time(name, n, z, n, plan);
    }
}

void complexImage(const std::string& directory, std::size_t n) {
    cValues z(n * n);
    const int size = static_cast<int>(n);
    fftwf_plan plan =
        fftwf_plan_dft_2d(size, size, z.Fftw(), z.Fftw(), FFTW_BACKWARD, FFTW_MEASURE);
    for (std::size_t i = 0; i < n * n; ++i)
        z[i] = Complex(part(i, 1), part(i, 2));
    fftwf_execute(plan);
    check(directory, "image_complex", n * n,
          [&](std::size_t i) { return std::complex<double>(z[i]); });
    time("image_complex", n * n, z, n * n, plan);
}

void realImage(const std::string& directory, std::size_t n) {
    const std::size_t half = n / 2 + 1;
    cValues z(n * half);
    const int size = static_cast<int>(n);
    fftwf_plan plan = fftwf_plan_dft_r2c_2d(size, size, z.Reals(), z.Fftw(), FFTW_MEASURE);
    for (std::size_t y = 0; y < n; ++y)
        for (std::size_t x = 0; x < n; ++x)
            z.Reals()[y * 2 * half + x] = part(y * n + x, 1);
    fftwf_execute(plan);
    const double count = static_cast<double>(n * n);
    check(directory, "image_real", n * n, [&](std::size_t i) {
        const std::size_t u = (i % n + n / 2) % n;
        const std::size_t v = (i / n + n / 2) % n;
        const std::complex<double> value =
            u < half ? z[v * half + u] : std::conj(z[(n - v) % n * half + n - u]);
        return value * 2.0 / (count * count);
    });
    time("image_real", n * n, z, n * half, plan);
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    std::printf("note peer %s\n", fftwf_version);
    for (const int bits : {10, 16, 20})
        line(directory, std::size_t{1} << bits);
    for (const std::size_t size : {512, 2048}) {
        complexImage(directory, size);
        realImage(directory, size);
    }
}
