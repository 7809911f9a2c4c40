#include "dataprocessing/maps/maps_tilt.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "dataprocessing/fitting/pkmd_kernels.h"

#define LEVEL_KERNELS "dataprocessing/maps/maps_tilt_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

void maps_SumTilted(std::span<const double> t, const maps_Lanes& b, maps_sTiltSums& sums) {
    LEVEL_SELECT(maps_TiltSums)
    (t.data(), t.size(), b.data(), sums.zero.data(), sums.first.data(), sums.second.data());
}

maps_sTilt maps_FindTilt(std::span<const double> t, const maps_Lanes& means) {
    constexpr int mostSteps = 60;
    constexpr double longest = 2;      // that a step may tilt one end against the other, as e^2
    constexpr double tolerance = 1e-9; // the same
    const auto [low, high] = std::minmax_element(t.begin(), t.end());
    const double range = *high - *low;
    maps_sTilt tilt{};
    std::array<bool, maps_lanes> isOver{};
    for (std::size_t lane = 0; lane < maps_lanes; ++lane)
        isOver[lane] = !(means[lane] > *low && means[lane] < *high);
    while (!std::all_of(isOver.begin(), isOver.end(), [](bool over) { return over; })) {
        // A lane that is over has its sums made again, of the same rate.
        maps_SumTilted(t, tilt.rate, tilt.sums);
        for (std::size_t lane = 0; lane < maps_lanes; ++lane) {
            if (isOver[lane])
                continue;
            const double mean = tilt.sums.first[lane] / tilt.sums.zero[lane];
            const double variance = tilt.sums.second[lane] / tilt.sums.zero[lane] - mean * mean;
            const double step = (means[lane] - mean) / variance;
            tilt.isFound[lane] = std::fabs(step) * range < tolerance;
            isOver[lane] = tilt.isFound[lane] || ++tilt.steps[lane] == mostSteps || !(variance > 0);
            if (!isOver[lane])
                tilt.rate[lane] += std::clamp(step, -longest / range, longest / range);
        }
    }
    return tilt;
}

} // namespace dataprocessing::detail
