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

} // namespace dataprocessing::detail
