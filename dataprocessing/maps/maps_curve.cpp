#include "dataprocessing/maps/maps_curve.h"

#include <cstring>

#include "dataprocessing/fitting/pkmd_kernels.h"

#define LEVEL_KERNELS "dataprocessing/maps/maps_curve_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

void maps_AddScaled(const double* shape, double factor, std::size_t count, double* curve) {
    LEVEL_SELECT(maps_AddShape)(shape, factor, count, curve);
}

void maps_DrawLine(const double* t, double constant, double slope, std::size_t count,
                   double* curve) {
    LEVEL_SELECT(maps_SetLine)(t, constant, slope, count, curve);
}

bool maps_IsNegative(const double* curve, std::size_t count) {
    return LEVEL_SELECT(maps_IsAnyNegative)(curve, count);
}

bool maps_IsBelow(double bound, const double* part, const double* curve, std::size_t count) {
    return LEVEL_SELECT(maps_IsAnyBelow)(bound, part, curve, count);
}

bool maps_Inform(const maps_sInformation& how, const double* y, const double* part,
                 const double* curve, std::size_t count, double* weights, double* residuals) {
    return LEVEL_SELECT(maps_SetInformation)(how, y, part, curve, count, weights, residuals);
}

} // namespace dataprocessing::detail
