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

/// What each count tells about a curve that is not negative: its weight in the curvature of the
/// likelihood, 1 / f as is expected, or, where f is below 1, y / f^2 as was observed; 0 for
/// channels with a `part` of 0. Answers whether there were such below 1.
bool maps_Inform(const double* y, const double* part, const double* curve, std::size_t count,
                 double* weights);

} // namespace dataprocessing::detail
