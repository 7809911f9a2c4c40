#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "dataprocessing/algebra/mrqm.h"
#include "dataprocessing/fitting/gsft.h"
#include "dataprocessing/fitting/gsft_deviations.h"

using namespace dataprocessing::detail;

namespace {

constexpr double smallestNormal = std::numeric_limits<double>::min();

void requirePairs(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y, int line) {
    if (x.Size() != y.Size())
        throw expt_cProgramException("gaussfit", line, "x and y differ in size: points are pairs.");
}

void requireReference(const hndl_cHandle<gsft_cGaussian>& reference, int line) {
    if (reference.IsEmpty())
        throw expt_cProgramException("gaussfit", line,
                                     "The peak has no reference: SetRefGaussian gives it one.");
}

/// A number as short as it can be read back.
std::string shortest(double number) {
    std::array<char, 32> text;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

/// Whether a law with the factor of eV is used for positions in keV: no detector has a width below
/// 1 eV, nor silicon a line above 1000 keV.
bool looksLikeKiloelectronvolts(const gsft_cResolution& law, double x) {
    return law.Factor() == gsft_cResolution::DefaultFactor && std::fabs(law.ReferenceFWHM()) < 1 &&
           std::fabs(x) < 1000;
}

std::string withoutWidth(double x) {
    return "The resolution law has no width at " + shortest(x) + ".";
}

std::string inWrongUnits(double x) {
    return "Positions of " + shortest(x) + " look like keV; the law of widths wants eV.";
}

/// Names the cause when a fit has failed and its positions are not in the unit of the law.
void refuseWrongUnits(const list_cPtrList<gsft_cGaussian>& peaks, const gsft_cResolution& law) {
    for (const gsft_cGaussian* peak : peaks)
        if (looksLikeKiloelectronvolts(law, peak->Center()))
            throw gsft_cFitException(inWrongUnits(peak->Center()));
}

/// The full width at half maximum of a peak of width 1.
const double fullWidth = 2.0 * std::sqrt(std::log(2.0));
/// The derivative by the width of the resolution, as the steps take it, over the true one.
const double derivativeFactor = fullWidth * fullWidth;

constexpr std::size_t amplitudeOf(int peak) {
    return gsft_FirstPeak + 2 * static_cast<std::size_t>(peak);
}

/// The sum of peaks over channels.
class cPeakSum : public mrqm_cModel {
public:
    /// `references` holds the index of each peak's reference, or -1. Throws gsft_cFitException when
    /// the resolution has no value for one of the peaks.
    cPeakSum(const list_cPtrList<gsft_cGaussian>& peaks, std::span<const int> references,
             const gsft_cResolution& resolution)
        : resolution_(resolution) {
        peaks_.reserve(references.size());
        for (int k = 0; k < peaks.Size(); ++k) {
            const int reference = references[static_cast<std::size_t>(k)];
            const double center = peaks[k]->Center();
            peaks_.push_back({center, resolution.FWHM(center) / fullWidth, amplitudeOf(k),
                              reference >= 0, reference >= 0 ? amplitudeOf(reference) : 0});
        }
        std::stable_sort(peaks_.begin(), peaks_.end(),
                         [](const sPeak& a, const sPeak& b) { return a.center < b.center; });
    }

    /// The widths follow the resolution.
    bool Begin(std::span<const double> a) override {
        resolution_.SetReferenceFWHM(a[gsft_FWHM]);
        reach_ = 0;
        for (sPeak& peak : peaks_) {
            if (!resolution_.HasValue(peak.center))
                return false;
            peak.width = resolution_.FWHM(peak.center) / fullWidth;
            // A little more than where t is rounded up to 3.
            reach_ = std::max(reach_, 3.001 * peak.width);
        }
        return true;
    }

    /// What derivatives by the resolution are divided by from now on; 1 at first.
    void SetResolutionDivisor(double divisor) { resolutionDivisor_ = divisor; }

    double Evaluate(double x, std::span<const double> a,
                    std::vector<mrqm_sPartial>& partials) override {
        const double u = a[gsft_Offset] + a[gsft_Delta] * x;
        // Points mostly come in order, so the peaks near this one begin where the last ones did.
        while (first_ < peaks_.size() && u - peaks_[first_].center >= reach_)
            ++first_;
        while (first_ > 0 && u - peaks_[first_ - 1].center < reach_)
            --first_;

        double y = 0;
        double byPosition = 0;
        double byResolution = 0;
        for (std::size_t k = first_; k < peaks_.size() && peaks_[k].center - u < reach_; ++k) {
            const sPeak& peak = peaks_[k];
            const double t = (u - peak.center) / peak.width;
            if (!(std::fabs(t) < 3.0))
                continue;
            const double e = std::exp(-t * t);
            const double own = a[peak.amplitude];
            const double amplitude = peak.isCoupled ? a[peak.reference] * own : own;
            if (peak.isCoupled)
                partials.push_back({peak.reference, e * own});
            else
                partials.push_back({peak.amplitude, e});
            y += amplitude * e;
            const double g = 2 * e * t * amplitude / peak.width;
            byPosition -= g;
            byResolution += g * t * a[gsft_FWHM] / peak.width;
        }
        if (!partials.empty()) {
            partials.push_back({gsft_Offset, byPosition});
            partials.push_back({gsft_Delta, byPosition * x});
            partials.push_back({gsft_FWHM, byResolution / resolutionDivisor_});
        }
        return y;
    }

private:
    struct sPeak {
        double center;
        double width;
        std::size_t amplitude; // the parameter
        bool isCoupled;
        std::size_t reference; // the amplitude of the reference
    };

    gsft_cResolution resolution_;
    double resolutionDivisor_ = 1;
    std::vector<sPeak> peaks_; // by rising center
    double reach_ = 0;         // beyond it no peak has a value
    std::size_t first_ = 0;    // the first peak that may be near the last point
};

/// The index of each peak's reference, or -1.
std::vector<int> couplingOf(const list_cPtrList<gsft_cGaussian>& peaks) {
    std::vector<int> references;
    for (const gsft_cGaussian* peak : peaks) {
        references.push_back(-1);
        if (!peak->HasReference())
            continue;
        references.back() = peaks.IndexOf(peak->hRefGaussian().Get());
        if (references.back() < 0)
            throw expt_cProgramException("gaussfit", 1, "The reference peak is not in the list.");
        if (peak->hRefGaussian()->HasReference())
            throw expt_cProgramException("gaussfit", 2, "The reference peak is coupled itself.");
    }
    return references;
}

/// What an area, amplitude x width x sqrt(pi), and the counts, area / delta, of a peak depend on:
/// the parameters, and the derivatives of both with respect to them.
struct sAreaSlopes {
    static constexpr std::size_t count = 3;
    std::array<std::size_t, count> parameters;
    std::array<double, count> ofArea;
    std::array<double, count> ofCounts;

    /// The peak's height is `ratio` times the parameter `own`.
    sAreaSlopes(const gsft_cResolution& law, double center, double ratio, std::size_t own,
                std::span<const double> a)
        : parameters{own, gsft_FWHM, gsft_Delta} {
        const double fwhm = law.FWHM(center);
        const double factor = ratio * std::sqrt(type_Pi) / fullWidth;
        ofArea = {factor * fwhm, factor * a[own] * law.ReferenceFWHM() / fwhm, 0};
        ofCounts = ofArea;
        ofCounts[2] = -factor * a[own] * fwhm / a[gsft_Delta];
        for (double& slope : ofCounts)
            slope /= a[gsft_Delta];
    }

    /// The standard error that follows from covariances.
    template<class Covariance>
    double Error(const std::array<double, count>& slopes, Covariance covariance) const {
        double variance = 0;
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t j = 0; j < count; ++j)
                variance += slopes[i] * slopes[j] * covariance(parameters[i], parameters[j]);
        return std::sqrt(std::max(variance, 0.0));
    }
};

double errorOf(const std::vector<double>& errors, int peak) {
    return errors[static_cast<std::size_t>(
        arr_CheckedIndex(peak, static_cast<int>(errors.size())))];
}

constexpr double smallChange = 0.0001;
constexpr double smallDistance = 1e-6; // in standard errors
constexpr int maxIterations = 999;

} // namespace

gsft_cFitException::gsft_cFitException(const str_cString& message)
    : expt_cUserException("gaussfit", 0, message) {}

gsft_cFitException::~gsft_cFitException() = default;

gsft_cGaussian::gsft_cGaussian(double amplitude, double center, double width)
    : amplitude_(amplitude), center_(center), width_(width) {
    if (width < smallestNormal)
        throw expt_cProgramException("gaussfit", 132, "The width of a peak has to be positive.");
}

gsft_cGaussian::~gsft_cGaussian() = default;

double gsft_cGaussian::Value(double x) const {
    const double t = (x - center_) / width_;
    return std::fabs(t) >= 4.0 ? 0.0 : amplitude_ * std::exp(-t * t);
}

double gsft_cGaussian::Intensity() const { return amplitude_ * std::sqrt(type_Pi * width_ / 2); }

double gsft_cGaussian::Area() const { return amplitude_ * width_ * std::sqrt(type_Pi); }

double gsft_cGaussian::AmplitudeRatio() const {
    requireReference(reference_, 199);
    if (std::fabs(reference_->amplitude_) < smallestNormal)
        throw gsft_cFitException("The reference peak has no amplitude.");
    return amplitude_ / reference_->amplitude_;
}

void gsft_cGaussian::SetAmplitudeFromRatio(double ratio) {
    requireReference(reference_, 214);
    amplitude_ = ratio * reference_->amplitude_;
}

type_cBoolean gsft_cResolution::HasValue(double x) const noexcept { return Square(x) > 0; }

double gsft_cResolution::FWHM(double x) const {
    if (!HasValue(x))
        throw gsft_cFitException(looksLikeKiloelectronvolts(*this, x) ? inWrongUnits(x)
                                                                      : withoutWidth(x));
    return std::sqrt(Square(x));
}

gsft_c1DGaussianFittingFunction::gsft_c1DGaussianFittingFunction(
    dasl_c1DDataArraySelection& selection, list_cPtrList<gsft_cGaussian>& peaks,
    cal_c1DArrayCal& calibration, type_cBoolean& fitCalibration, gsft_cResolution& resolution,
    type_cBoolean& fitResolution)
    : ftfn_c1DFittingFunction(selection), peaks_(peaks), calibration_(calibration),
      fitCalibration_(fitCalibration), resolution_(resolution), fitResolution_(fitResolution) {}

gsft_c1DGaussianFittingFunction::gsft_c1DGaussianFittingFunction(
    dasl_c1DDataArraySelection& selection, list_cPtrList<gsft_cGaussian>& peaks,
    cal_c1DArrayCal& calibration, bool fitCalibration, gsft_cResolution& resolution,
    bool fitResolution)
    : gsft_c1DGaussianFittingFunction(
          selection, peaks, calibration, resolution,
          std::make_shared<sTold>(sTold{fitCalibration, fitResolution})) {}

gsft_c1DGaussianFittingFunction::gsft_c1DGaussianFittingFunction(
    dasl_c1DDataArraySelection& selection, list_cPtrList<gsft_cGaussian>& peaks,
    cal_c1DArrayCal& calibration, gsft_cResolution& resolution, std::shared_ptr<sTold> told)
    : gsft_c1DGaussianFittingFunction(selection, peaks, calibration, told->fitCalibration,
                                      resolution, told->fitResolution) {
    told_ = std::move(told);
}

gsft_c1DGaussianFittingFunction::~gsft_c1DGaussianFittingFunction() = default;

void gsft_c1DGaussianFittingFunction::LoadValues(arr_cC_Array<double>& x,
                                                 arr_cC_Array<double>& y) const {
    requirePairs(x, y, 302);
    if (x.Size() == 0)
        throw expt_cProgramException("gaussfit", 304, "There are no positions for the curve.");
    y.Fill(0.0);
    for (const gsft_cGaussian* peak : peaks_)
        for (int i = 0; i < x.Size(); ++i)
            y[i] += peak->Value(x[i]);
}

std::vector<double> gsft_c1DGaussianFittingFunction::Parameters() const {
    std::vector<double> parameters{calibration_.Position(0), calibration_.Delta(),
                                   resolution_.ReferenceFWHM()};
    for (const gsft_cGaussian* peak : peaks_) {
        parameters.push_back(peak->HasReference() ? peak->AmplitudeRatio() : peak->Amplitude());
        parameters.push_back(peak->Center());
    }
    return parameters;
}

std::vector<int> gsft_c1DGaussianFittingFunction::FitSettings() const {
    std::vector<int> isFitted{fitCalibration_, fitCalibration_, fitResolution_};
    for (const gsft_cGaussian* peak : peaks_) {
        isFitted.push_back(!peak->HasReference());
        isFitted.push_back(0);
    }
    return isFitted;
}

void gsft_c1DGaussianFittingFunction::CopyParameters(std::span<const double> parameters) {
    if (fitCalibration_) {
        calibration_.SetDelta(parameters[gsft_Delta]);
        calibration_.SetOffset(parameters[gsft_Offset] +
                               calibration_.CalIndex() * parameters[gsft_Delta]);
    }
    if (fitResolution_)
        resolution_.SetReferenceFWHM(std::fabs(parameters[gsft_FWHM]));
    // Coupled peaks come last: they take their amplitudes from the fitted ones.
    for (int k = 0; k < peaks_.Size(); ++k)
        if (!peaks_[k]->HasReference())
            peaks_[k]->SetAmplitude(parameters[amplitudeOf(k)]);
    for (int k = 0; k < peaks_.Size(); ++k)
        if (peaks_[k]->HasReference())
            peaks_[k]->SetAmplitudeFromRatio(parameters[amplitudeOf(k)]);
}

void gsft_c1DGaussianFittingFunction::RefitValues(const arr_cC_Array<double>& x,
                                                  const arr_cC_Array<double>& y) {
    Fit(x, y, gsft_StopAtSmallChange);
}

void gsft_c1DGaussianFittingFunction::Refit(const darr_c1DArray& data, gsft_eStop stop) {
    arr_cC_Array<double> x;
    arr_cC_Array<double> y;
    Selection().FillXY(data, x, y);
    Fit(x, y, stop);
}

void gsft_c1DGaussianFittingFunction::Fit(const arr_cC_Array<double>& x,
                                          const arr_cC_Array<double>& y, gsft_eStop stop) {
    requirePairs(x, y, 334);
    if (x.Size() == 0)
        throw expt_cProgramException("gaussfit", 336,
                                     "The selection takes no element of the data.");
    const auto isFinite = [](double value) { return std::isfinite(value); };
    if (!std::all_of(x.begin(), x.end(), isFinite) || !std::all_of(y.begin(), y.end(), isFinite))
        throw gsft_cFitException("A point is not a number, or infinite.");

    std::vector<double> channels;
    channels.reserve(static_cast<std::size_t>(x.Size()));
    for (const double position : x)
        channels.push_back(calibration_.Index(position));
    double sum = 0;
    for (const double value : y)
        sum += std::fabs(value);
    const double mean = sum / y.Size();
    const std::vector<double> deviations = gsft_Deviations(y);
    const std::vector<int> references = couplingOf(peaks_);
    const std::vector<int> isFitted = FitSettings();

    cPeakSum model(peaks_, references, resolution_);
    mrqm_cFit fit(channels, y, deviations, Parameters(), isFitted, model);
    double divisor = derivativeFactor;
    mrqm_sResult result = fit.Solve({.change = smallChange, .maxIterations = maxIterations});
    if (stop == gsft_StopAtOptimum && result.why != mrqm_TooManyIterations) {
        model.SetResolutionDivisor(derivativeFactor);
        divisor = 1;
        const int before = result.iterations;
        result = fit.Solve({.distance = smallDistance, .maxIterations = maxIterations - before});
        result.iterations += before;
    }
    const std::span<const double> parameters = fit.Parameters();
    if (result.why == mrqm_TooManyIterations) {
        refuseWrongUnits(peaks_, resolution_);
        throw gsft_cFitException("The fit has not converged.");
    }
    if (fitCalibration_ && (parameters[gsft_Delta] < 0) != (calibration_.Delta() < 0)) {
        refuseWrongUnits(peaks_, resolution_);
        throw gsft_cFitException("The fit has turned the calibration round.");
    }

    sQuality quality;
    quality.points = x.Size();
    quality.parameters = static_cast<int>(parameters.size());
    quality.residualSum = result.chiSquared;
    quality.distance = result.distance;
    quality.steps = result.iterations;
    quality.end = result.why == mrqm_SmallChange ? gsft_SmallChange
                  : result.why == mrqm_Optimum   ? gsft_Optimum
                                                 : gsft_NoLowerStep;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (isFitted[i] != 0)
            quality.fitted.push_back(i);
    // The width of the resolution comes out positive.
    const double byResolution = std::copysign(divisor, parameters[gsft_FWHM]);
    const auto covariance = [&](std::size_t i, std::size_t j) {
        return fit.Covariance(i, j) * (i == gsft_FWHM ? byResolution : 1) *
               (j == gsft_FWHM ? byResolution : 1);
    };
    for (const std::size_t i : quality.fitted)
        for (const std::size_t j : quality.fitted)
            quality.covariance.push_back(covariance(i, j));
    gsft_cResolution law = resolution_;
    law.SetReferenceFWHM(std::fabs(parameters[gsft_FWHM]));
    for (int k = 0; k < peaks_.Size(); ++k) {
        const int reference = references[static_cast<std::size_t>(k)];
        const std::size_t own = amplitudeOf(reference < 0 ? k : reference);
        const double ratio = reference < 0 ? 1 : parameters[amplitudeOf(k)];
        const double variance = covariance(own, own);
        quality.amplitudeErrors.push_back(std::fabs(ratio) * std::sqrt(variance));
        const sAreaSlopes slopes(law, peaks_[k]->Center(), ratio, own, parameters);
        quality.areaErrors.push_back(slopes.Error(slopes.ofArea, covariance));
        quality.countsErrors.push_back(slopes.Error(slopes.ofCounts, covariance));
    }

    CopyParameters(parameters);
    chiSquared_ = result.chiSquared / x.Size() / mean;
    quality_ = std::move(quality);
}

arr_c2DNumberArray<double> gsft_c1DGaussianFittingFunction::Covariance() const {
    arr_c2DNumberArray<double> all(quality_.parameters, quality_.parameters);
    std::fill(all.begin(), all.end(), 0.0);
    const double* element = quality_.covariance.data();
    for (const std::size_t i : quality_.fitted)
        for (const std::size_t j : quality_.fitted)
            all(static_cast<int>(i), static_cast<int>(j)) = *element++;
    return all;
}

arr_cC_Array<double> gsft_c1DGaussianFittingFunction::StandardErrors() const {
    arr_cC_Array<double> errors(quality_.parameters, 0.0);
    for (std::size_t k = 0; k < quality_.fitted.size(); ++k)
        errors[static_cast<int>(quality_.fitted[k])] =
            std::sqrt(quality_.covariance[k * (quality_.fitted.size() + 1)]);
    return errors;
}

double gsft_c1DGaussianFittingFunction::AmplitudeError(int peak) const {
    return errorOf(quality_.amplitudeErrors, peak);
}

double gsft_c1DGaussianFittingFunction::AreaError(int peak) const {
    return errorOf(quality_.areaErrors, peak);
}

double gsft_c1DGaussianFittingFunction::CountsError(int peak) const {
    return errorOf(quality_.countsErrors, peak);
}

void gsft_c1DGaussianFittingFunction::SetWidthsFromResolution() {
    std::vector<double> widths;
    for (const gsft_cGaussian* peak : peaks_)
        widths.push_back(resolution_.FWHM(peak->Center()) / fullWidth);
    for (int k = 0; k < peaks_.Size(); ++k)
        peaks_[k]->SetWidth(widths[static_cast<std::size_t>(k)]);
}
