#pragma once

// Synthetic maps, and planes to put results in.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <span>
#include <vector>

#include "dataprocessing/maps/maps_stack.h"

/// The planes of a fit, as vectors.
struct Planes {
    Planes(std::size_t parameters, std::size_t spectra)
        : values(parameters * spectra), errors(parameters * spectra), chiSquared(spectra),
          iterations(spectra), status(spectra) {}
    maps_sPlanes All() { return {values, errors, chiSquared, iterations, status}; }
    std::vector<double> values;
    std::vector<double> errors;
    std::vector<double> chiSquared;
    std::vector<int> iterations;
    std::vector<maps_eStatus> status;
};

/// Poisson counts of `spectra` spectra whose mean in a channel is `mean(spectrum, channel)`.
inline std::vector<unsigned short> countsOf(std::size_t spectra, std::size_t channels,
                                            const std::function<double(std::size_t, double)>& mean,
                                            unsigned seed = 1) {
    std::mt19937 random(seed);
    std::vector<unsigned short> counts;
    for (std::size_t q = 0; q < spectra; ++q)
        for (std::size_t k = 0; k < channels; ++k)
            counts.push_back(static_cast<unsigned short>(
                std::poisson_distribution<>(mean(q, static_cast<double>(k)))(random)));
    return counts;
}

/// A stack of spectra that follow each other in `counts`.
template<class T>
maps_cStack stackOf(std::span<const T> counts, std::size_t channels,
                    const cal_c1DArrayCal& cal = {}) {
    return maps_cStack(counts, maps_sLayout::Dense(1, counts.size() / channels, channels), cal);
}

/// FNV-1a of the bytes of some numbers.
template<class T>
std::uint64_t hashOf(std::span<const T> values, std::uint64_t hash = 14695981039346656037U) {
    for (const std::byte byte : std::as_bytes(values))
        hash = (hash ^ static_cast<std::uint64_t>(byte)) * 1099511628211U;
    return hash;
}
inline std::uint64_t hashOf(const Planes& planes) {
    std::uint64_t hash = hashOf(std::span(planes.values));
    hash = hashOf(std::span(planes.errors), hash);
    hash = hashOf(std::span(planes.chiSquared), hash);
    hash = hashOf(std::span(planes.iterations), hash);
    return hashOf(std::span(planes.status), hash);
}

/// Runs `fit` on parts of so many spectra each, and puts the planes together.
template<class T, class Fit>
Planes inParts(const Fit& fit, std::size_t parameters, std::span<const T> counts,
               std::size_t channels, std::size_t part, const cal_c1DArrayCal& cal = {}) {
    const std::size_t spectra = counts.size() / channels;
    Planes all(parameters, spectra);
    for (std::size_t first = 0; first < spectra; first += part) {
        const std::size_t many = std::min(part, spectra - first);
        Planes own(parameters, many);
        fit(stackOf(counts.subspan(first * channels, many * channels), channels, cal), own.All());
        const auto at = static_cast<std::ptrdiff_t>(first);
        for (std::size_t p = 0; p < parameters; ++p) {
            const auto from = static_cast<std::ptrdiff_t>(p * many);
            const auto to = static_cast<std::ptrdiff_t>(p * spectra) + at;
            std::copy_n(own.values.begin() + from, many, all.values.begin() + to);
            std::copy_n(own.errors.begin() + from, many, all.errors.begin() + to);
        }
        std::copy_n(own.chiSquared.begin(), many, all.chiSquared.begin() + at);
        std::copy_n(own.iterations.begin(), many, all.iterations.begin() + at);
        std::copy_n(own.status.begin(), many, all.status.begin() + at);
    }
    return all;
}
