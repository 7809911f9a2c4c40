#pragma once

/// @file
/// The law of maps_cPowerLaw, as fits and integrals use it.

#include <cstddef>
#include <vector>

#include "dataprocessing/maps/maps_power.h"
#include "dataprocessing/maps/maps_tilt.h"

namespace dataprocessing::detail {

/// The channels that lie in any of some ranges.
std::vector<std::size_t> maps_ChannelsInAny(const std::vector<maps_sRange>& ranges,
                                            std::size_t channels, const cal_c1DArrayCal& cal);

/// What the positions alone tell. Logarithms are those of x / reference, about their middle.
struct maps_sPowerLaw {
    maps_sPowerLaw(std::size_t channelCount, const cal_c1DArrayCal& calibration,
                   const std::vector<maps_sRange>& ranges, double at);

    /// The logarithm of a channel's position.
    double Logarithm(std::size_t channel) const;

    std::size_t channels;
    cal_c1DArrayCal cal;
    double reference;
    double middle = 0;
    maps_sChannelRange hull;        ///< All channels that a spectrum is asked for.
    std::vector<double> part;       ///< 1 for those that take part, 0 for others; whole vectors.
    std::vector<double> partTimes;  ///< The same times the logarithm.
    std::vector<double> logarithms; ///< Of those that take part.
};

/// The law A e^(b t) of up to maps_lanes spectra.
struct maps_sLaws {
    maps_sTilt tilt;
    maps_Lanes amplitude; ///< A
    std::array<maps_eStatus, maps_lanes> status;
};
/// From the sums of the values and of the values times t.
maps_sLaws maps_FindLaws(const maps_sPowerLaw& law, const maps_Lanes& sums,
                         const maps_Lanes& moments);

/// The covariance of ln A and b.
struct maps_sLawCovariance {
    double amplitude;
    double both;
    double rate;
};
maps_sLawCovariance maps_CovarianceOf(const maps_sLaws& laws, std::size_t lane);

} // namespace dataprocessing::detail
