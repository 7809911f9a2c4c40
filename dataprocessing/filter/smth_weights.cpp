#include "dataprocessing/filter/smth_weights.h"

#include <cmath>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/filter/smth_polynomials.h"

namespace dataprocessing::detail {

void smth_CheckPolynomial(int width, int order, int derivative) {
    if (width < 1 || width % 2 == 0)
        throw expt_cProgramException("smth", 1, "The width is not odd and positive.");
    if (order < 0 || order >= width || order > smth_highestOrder)
        throw expt_cProgramException("smth", 2, "The order does not fit the width.");
    if (derivative < 0)
        throw expt_cProgramException("smth", 3, "The derivative is negative.");
}

long double smth_DerivativeScale(double delta, int derivative) {
    if (derivative > 0 && (delta == 0 || !std::isfinite(delta)))
        throw expt_cProgramException("smth", 6,
                                     "A derivative needs a delta that is finite and not zero.");
    return std::pow(static_cast<long double>(delta), -derivative);
}

std::vector<double> smth_GaussWeights(double sigma, double delta) {
    constexpr double widestSigma = 1 << 20;
    const double elements = sigma == 0 ? 0 : sigma / std::fabs(delta);
    if (!(sigma >= 0) || !(elements <= widestSigma))
        throw expt_cProgramException("smth", 4,
                                     "The sigma is negative or spans too many elements.");
    const long reach = std::lround(4 * elements);
    const auto weight = [elements](long d) {
        const long double t = d == 0 ? 0 : d / static_cast<long double>(elements);
        return std::exp(-t * t / 2);
    };
    long double sum = 0;
    for (long d = -reach; d <= reach; ++d)
        sum += weight(d);
    std::vector<double> weights;
    for (long d = -reach; d <= reach; ++d)
        weights.push_back(static_cast<double>(weight(d) / sum));
    return weights;
}

} // namespace dataprocessing::detail
