#pragma once

/// @file
/// What every benchmark needs: inputs that its peer can make too, times, peak memory, and the lines
/// that bench/run reads.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <time.h>

#include "dataprocessing/platform/level.h"

namespace bench {

/// Bits of element `i` of the input number `input`.
constexpr std::uint32_t bits(std::uint32_t i, std::uint32_t input) {
    std::uint32_t h = i * 2654435761u + input * 40503u;
    h = (h ^ (h >> 15)) * 2246822519u;
    return h ^ (h >> 13);
}

/// A value in [0.5, 1.5), exact in single precision.
constexpr float real(std::uint32_t i, std::uint32_t input) {
    return 0.5F + static_cast<float>(bits(i, input) >> 9) * 0x1p-23F;
}

/// Keeps a value from being optimised away.
template<class T>
void use(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

/// Processor time of this process in nanoseconds. It is what the peers report too: on a machine
/// with nothing else to do it equals the elapsed time of such calls, on a busy one it strays less.
inline double processorTime() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

/// Median time of one call in nanoseconds.
template<class Call>
double nanoseconds(const Call& call) {
    const auto timed = [&](int calls) {
        const double start = processorTime();
        for (int i = 0; i < calls; ++i)
            call();
        return processorTime() - start;
    };
    int calls = 1;
    while (timed(calls) < 2e6)
        calls *= 2;
    std::vector<double> samples;
    for (double sum = 0; samples.size() < 5 || (samples.size() < 15 && sum < 0.25e9);) {
        samples.push_back(timed(calls));
        sum += samples.back();
    }
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle / calls;
}

/// A line "Name: 123 kB" of this process's status, in bytes; 0 where there is none.
inline double statusBytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return 1024 * std::stod(line.substr(name.size() + 1));
    return 0;
}

/// How far one call raises the peak of resident memory above what was resident before, in bytes.
/// The call is made on a thread of its own: this one keeps the last large result that it released,
/// and a call that took it would seem to need no memory.
template<class Call>
double peakBytes(const Call& call) {
    double bytes = 0;
    std::thread([&] {
        std::ofstream("/proc/self/clear_refs") << 5; // forgets the peak so far
        const double before = statusBytes("VmRSS");
        call();
        bytes = statusBytes("VmHWM") - before;
    }).join();
    return bytes;
}

/// Leaves what a case on `count` elements gave where the peer looks for it.
inline void leave(const std::filesystem::path& directory, const std::string& name,
                  std::size_t count, std::span<const std::byte> bytes) {
    std::ofstream file(directory / (name + "." + std::to_string(count)), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

/// Leaves every so manieth element of a result, at most a few thousand, for the peer to compare.
template<class T>
void sample(const std::filesystem::path& directory, const std::string& name,
            std::span<const T> result) {
    std::vector<T> some;
    const std::size_t stride = std::max<std::size_t>(1, result.size() / 4096);
    for (std::size_t i = 0; i < result.size(); i += stride)
        some.push_back(result[i]);
    leave(directory, name, result.size(), std::as_bytes(std::span<const T>(some)));
}

inline void printTime(const std::string& name, std::size_t count, double ns) {
    std::printf("time %s %zu %.4g\n", name.c_str(), count, ns);
    std::fflush(stdout);
}

/// Says who is being measured.
inline void printSelf() {
    using namespace dataprocessing::detail;
    std::printf("note level %s\n", level_Name(level_Current()));
#if defined(__clang__)
    std::printf("note compiler clang %s\n", __clang_version__);
#else
    std::printf("note compiler g++ %s\n", __VERSION__);
#endif
}

/// The `size` numbers that the benchmark has left of a case.
inline std::vector<double> solutionOf(const std::filesystem::path& directory, const char* name,
                                      std::size_t size) {
    std::vector<double> values(size);
    std::ifstream file(directory / (name + ("." + std::to_string(size))), std::ios::binary);
    file.read(reinterpret_cast<char*>(values.data()),
              static_cast<std::streamsize>(size * sizeof(double)));
    return values;
}

} // namespace bench
