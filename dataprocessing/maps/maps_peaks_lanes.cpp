#include "dataprocessing/maps/maps_peaks_lanes.h"

#include <cstring>
#include <limits>

#include "dataprocessing/fitting/pkmd_kernels.h"

#define LEVEL_KERNELS "dataprocessing/maps/maps_peaks_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

std::size_t maps_PeakLanes() { return LEVEL_SELECT(maps_LaneWidth)(); }

void maps_EvaluateLanes(const maps_sPeakPlan& plan, const maps_sPeakLanes& lanes, const double* p,
                        const maps_sPeakEquations& to) {
    LEVEL_SELECT(maps_EvaluatePeaks)(plan, lanes, p, to);
}

void maps_CollectLanes(const maps_sPeakPlan& plan, const maps_sPeakEquations& from,
                       const maps_sPeakEquations& to) {
    LEVEL_SELECT(maps_CollectVariables)(plan, from, to);
}

void maps_FactorLanes(const maps_sPeakPlan& plan, const maps_sPeakEquations& equations,
                      const double* damping, double* l, double* inverse, double* isWeak) {
    LEVEL_SELECT(maps_FactorPeaks)(plan, equations, damping, l, inverse, isWeak);
}

void maps_SolveLanes(const maps_sPeakPlan& plan, const maps_sPeakEquations& equations,
                     const double* l, const double* inverse, double* step, double* promise) {
    LEVEL_SELECT(maps_SolvePeaks)(plan, equations, l, inverse, step, promise);
}

void maps_VarianceLanes(const maps_sPeakPlan& plan, const double* l, const double* inverse,
                        std::size_t first, const double* a0, std::size_t second, const double* a1,
                        double* work, double* variance) {
    LEVEL_SELECT(maps_VarianceOfPeaks)
    (plan, l, inverse, first, a0, second, a1, work, variance);
}

void maps_CopyLanes(const double* isTaken, const double* from, std::size_t vectors, double* to) {
    LEVEL_SELECT(maps_TakeLanes)(isTaken, from, vectors, to);
}

} // namespace dataprocessing::detail
