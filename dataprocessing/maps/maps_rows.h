#pragma once

/// @file
/// The spectra of a stack, one at a time, as rows of doubles.

#include <cstddef>
#include <span>

#include "dataprocessing/maps/maps_stack.h"

namespace dataprocessing::detail {

/// Rows end on a whole vector of this many lanes. A sum over a row has that many partial sums,
/// channel k going to number k modulo maps_lanes, at every instruction-set level.
inline constexpr std::size_t maps_lanes = 8;

/// `count` rounded up to whole vectors.
constexpr std::size_t maps_WholeVectors(std::size_t count) noexcept {
    return (count + maps_lanes - 1) / maps_lanes * maps_lanes;
}

/// Copies `count` channels of a spectrum, from channel `first` on, followed by zeros to the end of
/// the vector. The next spectrum is asked for from memory meanwhile.
void maps_Fetch(const maps_cStack& stack, std::size_t spectrum, std::size_t first,
                std::size_t count, double* row);

/// Whether a value of the stack may be negative.
bool maps_MayBeNegative(const maps_cStack& stack);

/// Whether a row is 0 everywhere.
bool maps_IsZero(const double* row, std::size_t count);

/// Sets a row to 0 in the channels that do not take part, whose `part` is 0.
void maps_LeaveOut(const double* part, std::size_t count, double* row);

/// Adds rows to their sum by channel, in their order, and sets totals[r] to the sum of row r. The
/// channels are `count`, whole vectors.
void maps_AddRows(const double* const* rows, std::size_t many, std::size_t count, double* sum,
                  double* totals);

/// Where the weights of maps_CrossRow come from.
enum maps_eWeighing {
    maps_WeighCounts, ///< They are set to 1 / max(y, 1), those of counts.
    maps_WeighCurve,  ///< A model's curve is there: 1 / f; where f is not positive as of counts.
    maps_WeightsGiven ///< They are there.
};
/// The most shapes that maps_CrossRow takes, and the number of its sums then.
inline constexpr std::size_t maps_mostCore = 4;
inline constexpr std::size_t maps_coreSums = maps_mostCore * (maps_mostCore + 3) / 2 + 1;
/// One pass over a row y with weights w and shapes f: the sums of w f[i] f[j] for j <= i, row by
/// row; those of w y f[i]; that of w y^2. `count` is of whole vectors.
void maps_CrossRow(const double* y, std::span<const double* const> shapes, maps_eWeighing weighing,
                   std::size_t count, double* weights, std::span<double> sums);

/// The channels of a calibration whose positions lie in [low, high]: [first, last).
struct maps_sChannelRange {
    std::size_t first = 0;
    std::size_t last = 0;
    std::size_t Count() const noexcept { return last - first; }
};
maps_sChannelRange maps_ChannelsIn(const cal_c1DArrayCal& cal, std::size_t channels, double low,
                                   double high);

} // namespace dataprocessing::detail
