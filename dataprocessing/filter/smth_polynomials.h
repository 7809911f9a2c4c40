#pragma once

/// @file
/// Polynomials fitted to equidistant values.

#include <span>
#include <vector>

#include "dataprocessing/base/comp.h"

namespace dataprocessing::detail {

/// The highest order served.
inline constexpr int smth_highestOrder = 30;

/// What each of `width` equidistant values (an odd number of them, a distance of 1 apart)
/// contributes to a derivative, in the middle, of the polynomial of the given order that fits them
/// best. 0 <= derivative <= order < width, order <= smth_highestOrder.
std::vector<long double> smth_CentralWeights(int width, int order, int derivative);

/// That derivative of the polynomial that fits `values` best, at the place of each of them, times
/// `scale`; part by part.
std::vector<comp_cComplex<double>> smth_FittedValues(std::span<const comp_cComplex<double>> values,
                                                     int order, int derivative, long double scale);

} // namespace dataprocessing::detail
