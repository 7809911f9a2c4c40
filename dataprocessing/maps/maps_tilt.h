#pragma once

/// @file
/// Exponentials of unknown rate through spectra, a vector of them at once.

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "dataprocessing/maps/maps_rows.h"

namespace dataprocessing::detail {

/// A number for each of as many spectra as a vector has lanes.
using maps_Lanes = std::array<double, maps_lanes>;

/// The sums of e^(b t), t e^(b t) and t^2 e^(b t) over some t.
struct maps_sTiltSums {
    maps_Lanes zero;
    maps_Lanes first;
    maps_Lanes second;
};
void maps_SumTilted(std::span<const double> t, const maps_Lanes& b, maps_sTiltSums& sums);

/// What a search for rates came to.
struct maps_sTilt {
    maps_Lanes rate;
    maps_sTiltSums sums;
    std::array<bool, maps_lanes> isFound;
    std::array<int, maps_lanes> steps;
};
/// Finds the rates b for which t has these means under the weights e^(b t). Each lane stands alone.
maps_sTilt maps_FindTilt(std::span<const double> t, const maps_Lanes& means);

} // namespace dataprocessing::detail
