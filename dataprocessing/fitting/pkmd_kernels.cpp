#include "dataprocessing/fitting/pkmd_kernels.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

#include "dataprocessing/fitting/pkmd_faddeeva.h"
#include "dataprocessing/platform/level.h"

#define LEVEL_KERNELS "dataprocessing/fitting/pkmd_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

const pkmd_sFaddeeva& faddeevaTerms() {
    static const pkmd_sFaddeeva terms;
    return terms;
}

} // namespace

void pkmd_AddPeak(pkmd_eShape shape, const pkmd_sPeakValues& peak) {
    const pkmd_sFaddeeva& terms = faddeevaTerms();
    switch (shape) {
    case pkmd_Gaussian:
        return LEVEL_SELECT(pkmd_AddGaussian)(peak, terms);
    case pkmd_Lorentzian:
        return LEVEL_SELECT(pkmd_AddLorentzian)(peak, terms);
    case pkmd_PseudoVoigt:
        return LEVEL_SELECT(pkmd_AddPseudoVoigt)(peak, terms);
    case pkmd_Voigt:
        return LEVEL_SELECT(pkmd_AddVoigt)(peak, terms);
    case pkmd_TailedGaussian:
        return LEVEL_SELECT(pkmd_AddTailedGaussian)(peak, terms);
    }
}

void pkmd_AddExponential(const double* t, std::size_t count, double amplitude, double rate,
                         double* curve, double* byAmplitude, double* byRate) {
    LEVEL_SELECT(pkmd_Exponential)(t, count, amplitude, rate, curve, byAmplitude, byRate);
}

void pkmd_Combine(const double* const* columns, const double* factors, std::size_t many,
                  std::size_t count, double* curve) {
    LEVEL_SELECT(pkmd_Combination)(columns, factors, many, count, curve);
}

double pkmd_Squares(const double* y, const double* w, const double* curve, std::size_t count,
                    double* residuals) {
    return LEVEL_SELECT(pkmd_SquaresOf)(y, w, curve, count, residuals);
}

double pkmd_Deviance(const double* y, const double* part, const double* curve, std::size_t count,
                     double* residuals, double* w) {
    if (part == nullptr)
        return LEVEL_SELECT(pkmd_DevianceOf<true>)(y, part, curve, count, residuals, w);
    return LEVEL_SELECT(pkmd_DevianceOf<false>)(y, part, curve, count, residuals, w);
}

void pkmd_Dots(const double* a, const double* const* b, std::size_t many, std::size_t count,
               double* sums) {
    LEVEL_SELECT(pkmd_AllDots<false>)(a, nullptr, b, many, count, sums);
}

void pkmd_WeightedDots(const double* a, const double* w, const double* const* b, std::size_t many,
                       std::size_t count, double* sums) {
    LEVEL_SELECT(pkmd_AllDots<true>)(a, w, b, many, count, sums);
}

void pkmd_NormalSums(const double* w, const double* residuals, const double* const* b,
                     std::size_t many, std::size_t count, double* squares, double* slopes) {
    LEVEL_SELECT(pkmd_Normals)(w, residuals, b, many, count, squares, slopes);
}

void pkmd_CountWeights(const double* y, std::size_t count, double* w) {
    LEVEL_SELECT(pkmd_WeightsOfCounts)(y, count, w);
}

pkmd_sPart pkmd_TakePart(double* y, double* w, std::size_t count) {
    return LEVEL_SELECT(pkmd_ChannelsOf)(y, w, count);
}

double pkmd_ScaledErfc(double x) { return LEVEL_SELECT(pkmd_RealFaddeeva)(x, faddeevaTerms()); }

double pkmd_Area(pkmd_eShape shape, double height, double width, double extra,
                 std::array<double, pkmd_mostColumns>& derivatives) {
    // area = height x width x part(extra), except for Voigt peaks, where the part depends on the
    // ratio of the widths.
    constexpr double gaussian = std::numbers::sqrt2 / std::numbers::inv_sqrtpi;
    double part = gaussian;
    double byRatio = 0; // of the part, with respect to extra / width
    double byExtra = 0;
    switch (shape) {
    case pkmd_Gaussian:
    case pkmd_TailedGaussian:
        break;
    case pkmd_Lorentzian:
        part = std::numbers::pi;
        break;
    case pkmd_PseudoVoigt: {
        const double ofGaussian = 1 / (std::sqrt(std::numbers::ln2) * std::numbers::inv_sqrtpi);
        part = ofGaussian + extra * (std::numbers::pi - ofGaussian);
        byExtra = height * width * (std::numbers::pi - ofGaussian);
        break;
    }
    case pkmd_Voigt: {
        const double y = extra / width * pkmd_rootHalf;
        const double middle = pkmd_ScaledErfc(y);
        part = gaussian / middle;
        byRatio = -part / middle * (2 * y * middle - 2 * pkmd_inverseRootPi) * pkmd_rootHalf;
        byExtra = height * byRatio;
        break;
    }
    }
    derivatives = {0, width * part, height * (part - byRatio * extra / width), byExtra};
    return height * width * part;
}

} // namespace dataprocessing::detail
