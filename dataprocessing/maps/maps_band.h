#pragma once

/// @file
/// What a maps_cFilter is made of.

#include <cstddef>
#include <span>
#include <vector>

#include "dataprocessing/maps/maps_filter.h"

namespace dataprocessing::detail {

/// The numbers that channels are multiplied with, by runs of results.
struct maps_sFilter {
    /// Results that all have the same numbers, each of one channel further than the result before.
    struct sRun {
        std::size_t count;   ///< Results.
        std::size_t channel; ///< The first channel of the first result.
        std::size_t first;   ///< The first number.
        std::size_t terms;   ///< Numbers; without any the results are 0.
    };

    /// Adds `count` results, the first of them of the channels from `channel` on.
    void Add(std::size_t count, std::size_t channel, std::span<const double> terms);
    /// The filter, once all results have been added.
    maps_cFilter Made() &&;

    std::size_t channels; ///< Of the spectra.
    cal_c1DArrayCal cal;
    std::size_t results; ///< Channels of the results.
    cal_c1DArrayCal resultCal;
    std::vector<sRun> runs = {};
    std::vector<double> numbers = {};
    std::vector<double> squares = {}; ///< Of the numbers over `scale`.
    double scale = 1;                 ///< A power of two near the largest number.
    std::size_t mostTerms = 0;
};

/// Writes what is good or NaN: values, whose standard errors are the roots of `errors`, times
/// `scale`; NaN where that is not finite. Values alone decide. Empty spans are not wanted.
maps_eStatus maps_Judge(std::span<double> values, std::span<double> errors, double scale);

/// Counts without those below 0, whose variance is nothing.
void maps_Variances(const double* row, std::size_t count, double* variances);

} // namespace dataprocessing::detail
