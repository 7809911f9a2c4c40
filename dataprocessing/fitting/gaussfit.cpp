#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "dataprocessing/fitting/gsft.h"
#include "dataprocessing/fitting/mrqm.h"

namespace {

constexpr double smallestNormal = std::numeric_limits<double>::min();

void refuseIf(bool isRefused, int line) {
    if (isRefused)
        throw expt_cProgramException("gaussfit", line);
}

/// The full width at half maximum of a peak of width 1.
const double fullWidth = 2.0 * std::sqrt(std::log(2.0));

/// The parameters of a fit, from index 1 on: the position of channel 0, the units per channel, the
/// width of the resolution law, then of each peak the amplitude (or the ratio to its reference) and
/// the center.
enum eParameter : std::size_t { Offset = 1, Scale = 2, Resolution = 3, FirstPeak = 4 };

constexpr std::size_t amplitudeOf(std::size_t peak) { return FirstPeak + 2 * peak; }
constexpr std::size_t centerOf(std::size_t peak) { return FirstPeak + 2 * peak + 1; }

/// The sum of peaks over channels. Widths stay as they are while a step is taken.
class cPeakSum : public dataprocessing::detail::mrqm_cModel {
public:
    /// `references` holds the index of each peak's reference, or -1.
    explicit cPeakSum(std::vector<int> references)
        : references_(std::move(references)), widths_(references_.size()) {}

    /// Sets the widths of all peaks to what the law gives at their centers.
    void SetWidths(const gsft_cResolution& resolution, std::span<const double> parameters) {
        for (std::size_t k = 0; k < widths_.size(); ++k)
            widths_[k] = resolution.FWHM(parameters[centerOf(k) - 1]) / fullWidth;
    }

    double Evaluate(double x, const double* a, double* dyda, std::vector<int>& touched) override {
        const double u = a[Offset] + a[Scale] * x;
        double y = 0;
        for (std::size_t k = 0; k < widths_.size(); ++k) {
            const double t = (u - a[centerOf(k)]) / widths_[k];
            if (!(std::fabs(t) < 3.0))
                continue;
            if (touched.empty())
                for (const int p : {Offset, Scale, Resolution})
                    Touch(p, dyda, touched);
            const double e = std::exp(-t * t);
            const double own = a[amplitudeOf(k)];
            double amplitude = own;
            if (references_[k] >= 0) {
                const std::size_t reference = amplitudeOf(static_cast<std::size_t>(references_[k]));
                amplitude = a[reference] * own;
                Add(static_cast<int>(reference), e * own, dyda, touched);
            } else {
                Add(static_cast<int>(amplitudeOf(k)), e, dyda, touched);
            }
            y += amplitude * e;
            const double g = 2 * e * t * amplitude / widths_[k];
            dyda[Offset] -= g;
            dyda[Scale] -= g * x;
            dyda[Resolution] += g * t * a[Resolution] / widths_[k];
        }
        return y;
    }

private:
    static void Touch(int parameter, double* dyda, std::vector<int>& touched) {
        touched.push_back(parameter);
        dyda[parameter] = 0;
    }
    static void Add(int parameter, double part, double* dyda, std::vector<int>& touched) {
        if (std::find(touched.begin(), touched.end(), parameter) == touched.end())
            Touch(parameter, dyda, touched);
        dyda[parameter] += part;
    }

    std::vector<int> references_;
    std::vector<double> widths_;
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

/// The standard deviations of counts. A channel without counts takes the mean of its neighbours at
/// the smallest distance where that is not zero; outside of the channels the last one stands.
std::vector<double> deviationsOf(std::span<const double> y) {
    const std::ptrdiff_t last = std::ssize(y) - 1;
    constexpr std::ptrdiff_t never = std::numeric_limits<std::ptrdiff_t>::max();
    const auto magnitude = [&](std::ptrdiff_t i) {
        return std::fabs(y[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(i, 0, last))]);
    };
    // Whole stretches of empty channels are jumped over: next[i] and previous[i] are the nearest
    // channels from i on that have something.
    std::vector<std::ptrdiff_t> next(y.size());
    std::vector<std::ptrdiff_t> previous(y.size());
    std::ptrdiff_t found = -1;
    for (std::ptrdiff_t i = 0; i <= last; ++i)
        previous[static_cast<std::size_t>(i)] = found = magnitude(i) < type_MinValue ? found : i;
    found = last + 1;
    for (std::ptrdiff_t i = last; i >= 0; --i)
        next[static_cast<std::size_t>(i)] = found = magnitude(i) < type_MinValue ? found : i;

    std::vector<double> deviations;
    deviations.reserve(y.size());
    for (std::ptrdiff_t i = 0; i <= last; ++i) {
        double s = magnitude(i);
        const std::ptrdiff_t farthest = std::max(i, last - i);
        for (std::ptrdiff_t d = 1; d <= farthest && s < type_MinValue; ++d) {
            const std::ptrdiff_t left = std::max<std::ptrdiff_t>(i - d, 0);
            const std::ptrdiff_t right = std::min(i + d, last);
            const std::ptrdiff_t before = previous[static_cast<std::size_t>(left)];
            const std::ptrdiff_t after = next[static_cast<std::size_t>(right)];
            const std::ptrdiff_t nearest =
                std::min(before < 0 ? never : i - before, after > last ? never : after - i);
            if (nearest == never)
                break;
            d = std::max(d, nearest);
            s = (magnitude(i - d) + magnitude(i + d)) / 2;
        }
        deviations.push_back(std::sqrt(s < type_MinValue ? 1.0 : s));
    }
    return deviations;
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

double gsft_cResolution::FWHM(double x) const {
    const double square = (x - position_) * 2.3 + fwhm_ * fwhm_;
    if (!(square > 0))
        throw gsft_cFitException("The resolution has no value at the position of a peak.");
    return std::sqrt(square);
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
        calibration_.SetDelta(parameters[Scale - 1]);
        calibration_.SetOffset(parameters[Offset - 1] +
                               calibration_.CalIndex() * parameters[Scale - 1]);
    }
    if (fitResolution_)
        resolution_.SetReferenceFWHM(parameters[Resolution - 1]);
    // Coupled peaks come last: they take their amplitudes from the fitted ones.
    for (int k = 0; k < peaks_.Size(); ++k)
        if (!peaks_[k]->HasReference())
            peaks_[k]->SetAmplitude(parameters[amplitudeOf(static_cast<std::size_t>(k)) - 1]);
    for (int k = 0; k < peaks_.Size(); ++k)
        if (peaks_[k]->HasReference())
            peaks_[k]->SetAmplitudeFromRatio(
                parameters[amplitudeOf(static_cast<std::size_t>(k)) - 1]);
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
    const std::vector<double> deviations = deviationsOf(y);

    cPeakSum model(couplingOf(peaks_));
    dataprocessing::detail::mrqm_cFit fit(channels, y, deviations, Parameters(), FitSettings(),
                                          model);
    int iterations = 0;
    double change = 0;
    bool isRejected = false;
    do {
        const double chiSquared = fit.ChiSquared();
        const double lambda = fit.Lambda();
        const std::span<const double> parameters = fit.Parameters();
        model.SetWidths(
            gsft_cResolution(resolution_.ReferencePosition(), parameters[Resolution - 1]),
            parameters);
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
