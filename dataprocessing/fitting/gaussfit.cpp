#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "dataprocessing/algebra/mrqm.h"
#include "dataprocessing/fitting/gsft.h"
#include "dataprocessing/fitting/gsft_deviations.h"

using namespace dataprocessing::detail;

namespace {

constexpr double smallestNormal = std::numeric_limits<double>::min();

void refuseIf(bool isRefused, int line) {
    if (isRefused)
        throw expt_cProgramException("gaussfit", line);
}

/// The full width at half maximum of a peak of width 1.
const double fullWidth = 2.0 * std::sqrt(std::log(2.0));

/// The parameters of a fit: the position of channel 0, the units per channel, the width of the
/// resolution law, then of each peak the amplitude (or the ratio to its reference) and the center.
enum eParameter : std::size_t { Offset = 0, Scale = 1, Resolution = 2, FirstPeak = 3 };

constexpr std::size_t amplitudeOf(int peak) {
    return FirstPeak + 2 * static_cast<std::size_t>(peak);
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
        resolution_.SetReferenceFWHM(a[Resolution]);
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

    double Evaluate(double x, std::span<const double> a,
                    std::vector<mrqm_sPartial>& partials) override {
        const double u = a[Offset] + a[Scale] * x;
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
            byResolution += g * t * a[Resolution] / peak.width;
        }
        if (!partials.empty()) {
            partials.push_back({Offset, byPosition});
            partials.push_back({Scale, byPosition * x});
            partials.push_back({Resolution, byResolution});
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

constexpr double tolerance = 0.0001;
constexpr int maxIterations = 999;

} // namespace

gsft_cFitException::gsft_cFitException(const str_cString& message)
    : expt_cUserException("gaussfit", 0, message) {}

gsft_cFitException::~gsft_cFitException() = default;

gsft_cGaussian::gsft_cGaussian(double amplitude, double center, double width)
    : amplitude_(amplitude), center_(center), width_(width) {
    refuseIf(width < smallestNormal, 132);
}

gsft_cGaussian::~gsft_cGaussian() = default;

double gsft_cGaussian::Value(double x) const {
    const double t = (x - center_) / width_;
    return std::fabs(t) >= 4.0 ? 0.0 : amplitude_ * std::exp(-t * t);
}

double gsft_cGaussian::Intensity() const { return amplitude_ * std::sqrt(type_Pi * width_ / 2); }

double gsft_cGaussian::AmplitudeRatio() const {
    refuseIf(reference_.IsEmpty(), 199);
    if (std::fabs(reference_->amplitude_) < smallestNormal)
        throw gsft_cFitException("The reference peak has no amplitude.");
    return amplitude_ / reference_->amplitude_;
}

void gsft_cGaussian::SetAmplitudeFromRatio(double ratio) {
    refuseIf(reference_.IsEmpty(), 214);
    amplitude_ = ratio * reference_->amplitude_;
}

type_cBoolean gsft_cResolution::HasValue(double x) const noexcept { return Square(x) > 0; }

double gsft_cResolution::FWHM(double x) const {
    if (!HasValue(x))
        throw gsft_cFitException("The resolution has no value at the position of a peak.");
    return std::sqrt(Square(x));
}

gsft_c1DGaussianFittingFunction::gsft_c1DGaussianFittingFunction(
    dasl_c1DDataArraySelection& selection, list_cPtrList<gsft_cGaussian>& peaks,
    cal_c1DArrayCal& calibration, type_cBoolean& fitCalibration, gsft_cResolution& resolution,
    type_cBoolean& fitResolution)
    : ftfn_c1DFittingFunction(selection), peaks_(peaks), calibration_(calibration),
      fitCalibration_(fitCalibration), resolution_(resolution), fitResolution_(fitResolution) {}

gsft_c1DGaussianFittingFunction::~gsft_c1DGaussianFittingFunction() = default;

void gsft_c1DGaussianFittingFunction::LoadValues(arr_cC_Array<double>& x,
                                                 arr_cC_Array<double>& y) const {
    refuseIf(x.Size() != y.Size(), 302);
    refuseIf(x.Size() == 0, 304);
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
        calibration_.SetDelta(parameters[Scale]);
        calibration_.SetOffset(parameters[Offset] + calibration_.CalIndex() * parameters[Scale]);
    }
    if (fitResolution_)
        resolution_.SetReferenceFWHM(parameters[Resolution]);
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
    refuseIf(x.Size() != y.Size(), 334);
    refuseIf(x.Size() == 0, 336);

    std::vector<double> channels;
    channels.reserve(static_cast<std::size_t>(x.Size()));
    for (const double position : x)
        channels.push_back(calibration_.Index(position));
    double sum = 0;
    for (const double value : y)
        sum += std::fabs(value);
    const double mean = sum / y.Size();
    const std::vector<double> deviations = gsft_Deviations(y);

    cPeakSum model(peaks_, couplingOf(peaks_), resolution_);
    mrqm_cFit fit(channels, y, deviations, Parameters(), FitSettings(), model);
    int iterations = 0;
    double change = 0;
    bool isRejected = false;
    do {
        const double chiSquared = fit.ChiSquared();
        const double lambda = fit.Lambda();
        fit.Step();
        change = std::fabs(chiSquared - fit.ChiSquared()) / fit.ChiSquared();
        isRejected = fit.Lambda() > lambda;
        if (++iterations > maxIterations)
            throw gsft_cFitException("The fit has not converged.");
    } while (change > tolerance || isRejected);
    fit.Finish();

    CopyParameters(fit.Parameters());
    chiSquared_ = fit.ChiSquared() / x.Size() / mean;
}
