#pragma once

/// @file
/// Spectra made of spectra, channel by channel: brought to other channels, or smoothed.

#include <cstddef>
#include <memory>
#include <span>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/maps/maps_stack.h"
#include "dataprocessing/maps/maps_workspace.h"

namespace dataprocessing::detail {
struct maps_sFilter;
}

/// Where spectra go: one after the other, the channels of each side by side. A span that is empty
/// is not wanted. Spectra whose status is not maps_Good have NaN in all channels.
struct maps_sSpectra {
    std::span<double> values;         ///< The channels.
    std::span<double> standardErrors; ///< Their standard errors.
    std::span<maps_eStatus> status;   ///< What became of each spectrum.
};

/// Spectra whose channels are sums of channels of others, each times a number that the positions
/// alone determine: v[j] = sum over k of c[j][k] y[k]. The numbers are computed once; the object
/// can be used by many threads, each with a workspace of its own.
///
/// Sums are made in double precision in the order of the channels. Standard errors are those of
/// counts, whose variance is the value itself, or 0 where it is negative: the root of the sum of
/// c[j][k]^2 max(y[k], 0). Neighbours that share a channel are correlated, which they leave out. A
/// spectrum with a result that is not finite is maps_NotFinite; one of zeros gives zeros. An error
/// that would not be finite is NaN.
class DATAPROCESSING_EXPORT maps_cFilter {
public:
    /// @cond
    DATAPROCESSING_NO_EXPORT explicit maps_cFilter(
        std::unique_ptr<const dataprocessing::detail::maps_sFilter> filter);
    /// @endcond
    ~maps_cFilter();
    maps_cFilter(maps_cFilter&&) noexcept;            ///< Takes over.
    maps_cFilter& operator=(maps_cFilter&&) noexcept; ///< Takes over.

    /// How many channels the results have.
    std::size_t Channels() const noexcept;
    /// Where those lie.
    const cal_c1DArrayCal& Cal() const noexcept;
    /// Makes a spectrum of each one of the stack. Throws expt_cProgramException: ("maps", 3) for
    /// spans of another size than Channels() for each spectrum, ("maps", 4) for other channels or
    /// another calibration than the filter was made for; std::bad_alloc.
    void Run(const maps_cStack& stack, const maps_sSpectra& spectra,
             maps_cWorkspace& workspace) const;

private:
    std::unique_ptr<const dataprocessing::detail::maps_sFilter> filter_;
};

/// @name Counts on other channels
/// What resc_Rebin does with an array of doubles, with its bits: on as many channels of `delta` as
/// cover the spectra, or on channels of another calibration. Throws what resc_Rebin throws;
/// std::bad_alloc.
///
///     const maps_cFilter coarse = maps_Rebin(stack.Channels(), stack.Cal(), 0.02);
///     std::vector<double> counts(stack.Spectra() * coarse.Channels());
///     coarse.Run(stack, {counts, {}, {}}, workspace);
/// @{
DATAPROCESSING_EXPORT maps_cFilter maps_Rebin(std::size_t channels, const cal_c1DArrayCal& cal,
                                              double delta);
DATAPROCESSING_EXPORT maps_cFilter maps_Rebin(std::size_t channels, const cal_c1DArrayCal& cal,
                                              std::size_t gridChannels,
                                              const cal_c1DArrayCal& grid);
/// @}

/// The spectra smoothed by polynomials, as smth_SavitzkyGolay does it: the same values but for the
/// rounding of sums, at the ends, too. Throws what that throws; std::bad_alloc.
///
/// A. Savitzky and M. J. E. Golay, Anal. Chem. 36 (1964) 1627.
///
///     const maps_cFilter smooth = maps_Smooth(stack.Channels(), stack.Cal(), 9, 2);
DATAPROCESSING_EXPORT maps_cFilter maps_Smooth(std::size_t channels, const cal_c1DArrayCal& cal,
                                               int width, int order, int derivative = 0);

/// The spectra averaged with the weights of a Gaussian curve, as smth_Gauss does it: the same
/// values but for the rounding of sums. What is mirrored at the ends takes 16 bytes times the
/// square of the 8 sigma, in channels, that a neighbourhood is wide. Throws what that throws;
/// std::bad_alloc.
DATAPROCESSING_EXPORT maps_cFilter maps_SmoothGauss(std::size_t channels,
                                                    const cal_c1DArrayCal& cal, double sigma);
