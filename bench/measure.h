#pragma once

/// @file
/// One case of a benchmark: its result is left for the peer, then its time and memory are printed.

#include <cstddef>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "dataprocessing/dataprocessing.h"

namespace bench {

template<class T>
std::span<const T> elementsOf(const parr_cNumberArray& result) {
    return result.Elements<T>();
}
template<class T>
std::span<const T> elementsOf(const barr_c1DBoolArray& result) {
    return {&result.Element(0), static_cast<std::size_t>(result.Size())};
}

/// From here on a result has many more pages than anything else that a call touches.
constexpr std::size_t largeResult = std::size_t{16} << 20;

/// An operation whose result is an array of T.
template<class T, class Operation>
void measure(const std::string& directory, const std::string& name, const Operation& operation) {
    std::size_t count = 0;
    {
        const auto result = operation();
        const std::span<const T> elements = elementsOf<T>(result);
        count = elements.size();
        sample(directory, name, elements);
    }
    printTime(name, count, nanoseconds([&] { use(operation()); }));
    if (count * sizeof(T) < largeResult)
        return;
    const double peak = peakBytes([&] { use(operation()); });
    std::printf("memory %s %zu %.3f\n", name.c_str(), count,
                peak / static_cast<double>(count * sizeof(T)));
}

/// An operation on `count` elements whose result is a few numbers.
template<class Operation>
void measureFigures(const std::string& directory, const std::string& name, std::size_t count,
                    const Operation& operation) {
    const std::vector<double> figures = operation();
    leave(directory, name, count, std::as_bytes(std::span(figures)));
    printTime(name, count, nanoseconds([&] { use(operation()); }));
}

} // namespace bench
