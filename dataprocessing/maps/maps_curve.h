#pragma once

/// @file
/// The curve of a model over a row of channels. Counts are of whole vectors.

#include <cstddef>

namespace dataprocessing::detail {

/// curve += factor x shape
void maps_AddScaled(const double* shape, double factor, std::size_t count, double* curve);

/// curve = constant + slope x t
void maps_DrawLine(const double* t, double constant, double slope, std::size_t count,
                   double* curve);

/// Whether the curve is negative anywhere.
bool maps_IsNegative(const double* curve, std::size_t count);

/// Whether the curve is below a bound in a channel whose `part` is not 0.
bool maps_IsBelow(double bound, const double* part, const double* curve, std::size_t count);

/// How a curve is informed about.
struct maps_sInformation {
    double observed; ///< Curvature is that observed where the curve is below this.
    double edge;     ///< Where it is below this, the likelihood goes on as the parabola there.
};
/// What each value tells about a curve: its weight in the curvature of the likelihood, 1 / f as is
/// expected, or y / f^2 as was observed, 0 where y is negative; and its residual, y / f - 1. Both
/// are 0 in channels with a `part` of 0. Answers whether f is above the edge wherever y is not 0.
bool maps_Inform(const maps_sInformation& how, const double* y, const double* part,
                 const double* curve, std::size_t count, double* weights, double* residuals);

} // namespace dataprocessing::detail
