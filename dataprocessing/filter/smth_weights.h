#pragma once

/// @file
/// What neighbours weigh, and what is refused of that.

#include <vector>

namespace dataprocessing::detail {

/// Refuses the width, the order and the derivative of a polynomial through neighbours.
void smth_CheckPolynomial(int width, int order, int derivative);

/// delta^-derivative: what makes a derivative per element one per calibrated unit. Refuses a
/// derivative for a delta that is 0 or not finite.
long double smth_DerivativeScale(double delta, int derivative);

/// The weights of a Gaussian curve, 4 sigma wide on both sides, and adding up to 1.
std::vector<double> smth_GaussWeights(double sigma, double delta);

} // namespace dataprocessing::detail
