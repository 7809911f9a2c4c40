#pragma once

/// @file
/// What a fit of peaks to many spectra knows before it meets one.

#include <cstddef>
#include <vector>

#include "dataprocessing/fitting/pkmd_equations.h"
#include "dataprocessing/maps/maps_peaks.h"
#include "dataprocessing/maps/maps_peaks_lanes.h"
#include "dataprocessing/maps/maps_room.h"
#include "dataprocessing/maps/maps_rows.h"

namespace dataprocessing::detail {

struct maps_sPeaks {
    maps_sPeaks(const pkmd_cModel& of, std::size_t channelCount, const cal_c1DArrayCal& calibration,
                const maps_sPeakOptions& how);

    bool IsLikelihood() const { return options.objective == nlsq_PoissonLikelihood; }

    pkmd_cModel model;
    std::size_t channels;
    cal_c1DArrayCal cal;
    maps_sPeakOptions options;
    maps_sChannelRange range; ///< The channels that take part.
    std::size_t length = 0;   ///< Whole vectors of them.

    bool isFast = false; ///< Whether what follows is there.
    maps_sPeakPlan plan;
    std::vector<std::size_t> parameterOf; ///< The model's number of each parameter of the plan.
    std::vector<std::size_t> startOf;     ///< That of each variable of the plan.
    std::vector<nlsq_sParameter> kinds;   ///< Of the model's parameters.
    pkmd_sChannels line;                  ///< The positions, and the background at the starts.
    std::vector<double> weights;          ///< As given, or none.
    std::vector<double> ones;             ///< 1 for each channel, 0 to the end of the vector.
    std::vector<double> slopes;           ///< The line's variable, likewise.

private:
    bool HasLanes() const;
    void Prepare();
    void PlaceWindows();
    void Link();
};

/// Fits every spectrum of a stack in lanes, and those that this leads nowhere by pkmd_Fit.
void maps_FitLanes(const maps_sPeaks& peaks, const maps_cStack& stack,
                   const maps_sPeakPlanes& planes, std::span<const double> starts,
                   maps_sRoom& room);

/// Fits one spectrum by pkmd_Fit, from `start`, the model's parameters.
void maps_FitAlone(const maps_sPeaks& peaks, const maps_cStack& stack, std::size_t spectrum,
                   const maps_sPeakPlanes& planes, std::span<const double> start);

/// Puts a spectrum without a result into the planes.
void maps_PutNothing(const maps_sPeaks& peaks, std::size_t spectra, std::size_t spectrum,
                     const maps_sPeakPlanes& planes, maps_eStatus status, int iterations);

/// What the values of a spectrum, `sum` being that of their weighted squares, stop at once.
maps_eStatus maps_StatusOf(const maps_sPeaks& peaks, const maps_cStack& stack, const double* row,
                           double sum);

} // namespace dataprocessing::detail
