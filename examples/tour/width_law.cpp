#include "width_law.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "dataprocessing/dataprocessing.h"

namespace tour {

namespace {

constexpr double narrowestPart = 0.2; // of the law's width, where it would end at nothing

/// The squares of the widths as a straight line. The slope stays at 0 where `hasSlope` is false.
nlsq_sResult straight(std::span<const Width> widths, double reference, double slope,
                      bool hasSlope) {
    std::vector<double> x;
    std::vector<double> squares;
    nlsq_sOptions options;
    for (const Width& width : widths) {
        x.push_back(width.position - reference);
        squares.push_back(width.value * width.value - (hasSlope ? 0 : slope * x.back()));
        options.standardDeviations.push_back(2 * width.value * width.error);
    }
    options.parameters = {nlsq_sParameter::Free(),
                          hasSlope ? nlsq_sParameter::Free() : nlsq_sParameter::Fixed()};
    const nlsq_cFunctionModel line(
        [](double at, std::span<const double> p) { return p[0] + p[1] * at; });
    return nlsq_FitLinear(line, x, squares, 2, options);
}

double pullOf(const Width& width, const WidthLaw& law) {
    const double square = law.square + law.slope * (width.position - law.reference);
    return (width.value * width.value - square) / (2 * width.value * width.error);
}

WidthLaw fittedTo(std::span<const Width> widths, const WidthLaw& law) {
    double weights = 0;
    double moment = 0;
    for (const Width& width : widths) {
        const double weight = 1 / (width.error * width.error);
        weights += weight;
        moment += weight * width.position;
    }
    const double reference = moment / weights;
    const bool hasSlope = canTellSlope(widths);
    const nlsq_sResult fit = straight(widths, reference, law.slope, hasSlope);
    return {.square = fit.parameters[0],
            .slope = hasSlope ? fit.parameters[1] : law.slope,
            .reference = reference,
            .squareError = fit.standardErrors[0],
            .slopeError = hasSlope ? fit.standardErrors[1] : 0,
            .reducedChiSquared = fit.degreesOfFreedom > 0 ? fit.ReducedChiSquared() : 0,
            .lines = static_cast<int>(widths.size())};
}

} // namespace

double WidthLaw::At(double x) const {
    return std::sqrt(std::max(square + slope * (x - reference), narrowestPart * square));
}

bool canTellSlope(std::span<const Width> widths) {
    const auto [first, last] =
        std::minmax_element(widths.begin(), widths.end(),
                            [](const Width& a, const Width& b) { return a.position < b.position; });
    return widths.size() >= 3 && last->position - first->position > 5 * first->value;
}

WidthLaw lawOf(std::span<const Width> widths, const WidthLaw& law) {
    if (widths.empty())
        return law;
    std::vector<Width> kept(widths.begin(), widths.end());
    WidthLaw result = fittedTo(kept, law);
    // What is wider may be more than one line; what is narrower is not, and goes last.
    const auto wider = [&](const Width& a, const Width& b) {
        return pullOf(a, result) < pullOf(b, result);
    };
    while (kept.size() > 2 && 2 * kept.size() > widths.size() + 1) {
        const auto [narrowest, widest] = std::minmax_element(kept.begin(), kept.end(), wider);
        const bool isWide = pullOf(*widest, result) > farthestFromLaw;
        if (result.reducedChiSquared < 2 ||
            (!isWide && pullOf(*narrowest, result) > -farthestFromLaw))
            break;
        kept.erase(isWide ? widest : narrowest);
        result = fittedTo(kept, law);
    }
    result.outliers = static_cast<int>(widths.size() - kept.size());
    return result;
}

} // namespace tour
