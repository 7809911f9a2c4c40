#pragma once

/// @file
/// The loops of a fit of peaks over the channels of one spectrum.
///
/// Arrays have a whole number of pkmd_lanes elements. A sum has that many partial sums, element i
/// going to number i modulo pkmd_lanes, at every instruction-set level.

#include <array>
#include <cstddef>

#include "dataprocessing/fitting/pkmd.h"

namespace dataprocessing::detail {

/// The width of the vectors that sums are made in.
inline constexpr std::size_t pkmd_lanes = 8;
/// The most parameters that a peak has.
inline constexpr std::size_t pkmd_mostColumns = 4;

/// A peak over part of the channels.
struct pkmd_sPeakValues {
    double position;
    double height;
    double width;
    double extra; ///< Mixing, Lorentzian width or tail, by the shape.
    const double* x;
    std::size_t count;
    double* curve;                                 ///< The peak is added to it.
    std::array<double*, pkmd_mostColumns> columns; ///< Receive the derivatives.
};

/// Adds a peak to the curve, with its derivatives with respect to position, height, width and the
/// extra one.
void pkmd_AddPeak(pkmd_eShape shape, const pkmd_sPeakValues& peak);

/// amplitude x exp(rate t) of each t, added to the curve, with the derivatives with respect to
/// amplitude and rate.
void pkmd_AddExponential(const double* t, std::size_t count, double amplitude, double rate,
                         double* curve, double* byAmplitude, double* byRate);

/// Sets the curve to the sum of `many` columns, times their factors.
void pkmd_Combine(const double* const* columns, const double* factors, std::size_t many,
                  std::size_t count, double* curve);

/// The sum of w (y - curve)^2; receives w (y - curve).
double pkmd_Squares(const double* y, const double* w, const double* curve, std::size_t count,
                    double* residuals);

/// The deviance of counts over the channels with a `part` of 1, those with one of 0 left out; null
/// for all of them. Receives y / curve - 1 and 1 / curve, or zeros. Infinite where the curve is not
/// positive.
double pkmd_Deviance(const double* y, const double* part, const double* curve, std::size_t count,
                     double* residuals, double* w);

/// Sets sums[k] to the sum of a b[k], for `many` of them.
void pkmd_Dots(const double* a, const double* const* b, std::size_t many, std::size_t count,
               double* sums);
/// Sets sums[k] to the sum of a w b[k].
void pkmd_WeightedDots(const double* a, const double* w, const double* const* b, std::size_t many,
                       std::size_t count, double* sums);

/// Sets squares to the sums of b[k] w b[j], of the pairs (0, 0), (1, 0), (1, 1), (2, 0) and so on,
/// and slopes to those of residuals b[k], for 1 to pkmd_mostColumns of them.
void pkmd_NormalSums(const double* w, const double* residuals, const double* const* b,
                     std::size_t many, std::size_t count, double* squares, double* slopes);

/// Sets w to 1 / max(y, 1), the weights of counts.
void pkmd_CountWeights(const double* y, std::size_t count, double* w);

/// Which channels take part.
struct pkmd_sPart {
    std::size_t channels; ///< How many.
    bool hasNegative;     ///< Whether the value of one is negative.
};
/// Sets y and w to 0 where y is not finite, and y where w is 0; the channels with a weight take
/// part.
pkmd_sPart pkmd_TakePart(double* y, double* w, std::size_t count);

/// erfc(x) exp(x^2) for x >= 0, as the loops compute it.
double pkmd_ScaledErfc(double x);

/// The area of a peak, and its derivatives with respect to position, height, width and the extra
/// parameter.
double pkmd_Area(pkmd_eShape shape, double height, double width, double extra,
                 std::array<double, pkmd_mostColumns>& derivatives);

/// How many parameters a peak has.
constexpr std::size_t pkmd_Columns(pkmd_eShape shape) noexcept {
    return shape == pkmd_Gaussian || shape == pkmd_Lorentzian ? 3 : 4;
}

} // namespace dataprocessing::detail
