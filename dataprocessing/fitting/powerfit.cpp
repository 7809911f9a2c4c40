#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <span>
#include <utility>
#include <vector>

#include "dataprocessing/base/type.h"
#include "dataprocessing/fitting/plft_deviations.h"
#include "dataprocessing/fitting/pwft.h"
#include "dataprocessing/kernels/elementary/elem.h"
#include "dataprocessing/valuemodel/resc.h"

using namespace dataprocessing::detail;

namespace {

bool hasElementAtZero(const cal_cArrayCal& cal) {
    const double index = cal.RealIndex(0);
    return index == std::floor(index);
}

/// Of positions on `cal`, puts that of an element at 0 exactly there.
void putAtZero(arr_cC_Array<double>& x, const cal_cArrayCal& cal) {
    if (!hasElementAtZero(cal))
        return;
    const double half = std::fabs(cal.Delta()) / 2;
    for (double& position : x)
        position = std::fabs(position) < half ? 0 : position;
}

/// The variance of the sum of a power law over elements `first` to `last` of a calibration, by the
/// covariance of its coefficients. A window may be much longer than the data.
double varianceOfSum(const pwft_cPowerLawFittingFunction& law, const cal_c1DArrayCal& cal,
                     int first, int last) {
    if (law.Rank() == 0)
        return 0;
    const long long end = first + static_cast<long long>(arr_CheckedSize(last - 1LL * first));
    // The derivative of each y by coefficient j is y (ln x)^j.
    const int count = law.Order() + 1;
    std::vector<double> slope(static_cast<std::size_t>(count));
    constexpr long long most = 512;
    arr_cC_Array<double> x;
    arr_cC_Array<double> y;
    for (long long begin = first; begin < end; begin += most) {
        const int size = static_cast<int>(std::min(most, end - begin));
        x.SetSize(size);
        y.SetSize(size);
        for (int i = 0; i < size; ++i)
            x[i] = cal.Position(begin + i);
        putAtZero(x, cal);
        law.LoadValues(x, y);
        for (int i = 0; i < x.Size(); ++i) {
            double term = y[i];
            for (std::size_t j = 0; j < slope.size() && term != 0; ++j) {
                slope[j] += term;
                term *= std::log(x[i]);
            }
        }
    }
    double variance = 0;
    for (int i = 0; i < count; ++i)
        for (int j = 0; j < count; ++j)
            variance += slope[static_cast<std::size_t>(i)] * law.Covariance()(i, j) *
                        slope[static_cast<std::size_t>(j)];
    return std::max(variance, 0.0);
}

} // namespace

pwft_cPowerLawFittingFunction::pwft_cPowerLawFittingFunction(int order,
                                                             dasl_c1DDataArraySelection& selection)
    : plft_c1DPolyFittingFunction(order, selection) {}

pwft_cPowerLawFittingFunction::pwft_cPowerLawFittingFunction(
    const pwft_cPowerLawFittingFunction& other, dasl_c1DDataArraySelection& selection)
    : plft_c1DPolyFittingFunction(static_cast<const plft_c1DPolyFittingFunction&>(other),
                                  selection) {}

pwft_cPowerLawFittingFunction::~pwft_cPowerLawFittingFunction() = default;

void pwft_cPowerLawFittingFunction::Load(arr_cC_Array<double>& values,
                                         const cal_c1DArrayCal& cal) const {
    plft_c1DPolyFittingFunction::Load(values, cal);
    const int zero = cal.Index(0);
    if (hasElementAtZero(cal) && zero >= 0 && zero < values.Size())
        values[zero] = 0;
}

void pwft_cPowerLawFittingFunction::Gather(const darr_c1DArray& data, arr_cC_Array<double>& x,
                                           arr_cC_Array<double>& y) const {
    plft_c1DPolyFittingFunction::Gather(data, x, y);
    putAtZero(x, data.Cal());
}

void pwft_cPowerLawFittingFunction::LoadValues(arr_cC_Array<double>& x,
                                               arr_cC_Array<double>& y) const {
    const auto isZero = [](double c) { return !(std::fabs(c) >= type_MinValue); };
    if (std::all_of(Coefficients().begin(), Coefficients().end(), isZero)) {
        y.Fill(0.0);
        return;
    }
    if (x.Size() == y.Size()) {
        int kept = 0;
        for (const double position : x)
            if (position > type_MinValue)
                x[kept++] = std::log(position);
        x.SetSize(kept);
        y.SetSize(kept);
    }
    plft_c1DPolyFittingFunction::LoadValues(x, y);
    for (int k = 0; k < x.Size(); ++k) {
        x[k] = std::exp(x[k]);
        y[k] = std::exp(y[k]);
    }
}

void pwft_cPowerLawFittingFunction::RefitValues(const arr_cC_Array<double>& x,
                                                const arr_cC_Array<double>& y) {
    FitLogarithms(x, y, nullptr);
}

void pwft_cPowerLawFittingFunction::RefitValues(const arr_cC_Array<double>& x,
                                                const arr_cC_Array<double>& y,
                                                const arr_cC_Array<double>& deviations) {
    FitLogarithms(x, y, &deviations);
}

void pwft_cPowerLawFittingFunction::FitLogarithms(const arr_cC_Array<double>& x,
                                                  const arr_cC_Array<double>& y,
                                                  const arr_cC_Array<double>* deviations) {
    CheckPoints(x, y, deviations);
    arr_cC_Array<double> logX(x.Size());
    arr_cC_Array<double> logY(y.Size());
    arr_cC_Array<double> logDeviations(deviations == nullptr ? 0 : y.Size());
    constexpr int most = 512;
    double keptX[most];
    double keptY[most];
    int kept = 0;
    for (int first = 0; first < x.Size(); first += most) {
        const int size = std::min(most, x.Size() - first);
        const double* const someX = x.Data() + first;
        const double* const someY = y.Data() + first;
        int count = 0;
        for (int i = 0; i < size; ++i) {
            keptX[count] = someX[i];
            keptY[count] = someY[i];
            const bool isKept = someX[i] > type_MinValue && someY[i] > type_MinValue;
            if (isKept && deviations != nullptr)
                logDeviations[kept + count] = (*deviations)[first + i] / someY[i];
            count += isKept ? 1 : 0;
        }
        const std::size_t taken = static_cast<std::size_t>(count);
        elem_Evaluate<double>(elem_Log, keptX, logX.Data() + kept, taken);
        elem_Evaluate<double>(elem_Log, keptY, logY.Data() + kept, taken);
        kept += count;
    }
    logX.SetSize(kept);
    logY.SetSize(kept);
    if (deviations == nullptr)
        return plft_c1DPolyFittingFunction::RefitValues(logX, logY);
    logDeviations.SetSize(kept);
    plft_c1DPolyFittingFunction::RefitValues(logX, logY, logDeviations);
}

pwft_cMultiPowerLawFitFunc::pwft_cMultiPowerLawFitFunc(int order,
                                                       dasl_c1DDataArraySelection& selection)
    : ftfn_c1DFittingFunction(selection), order_(order) {}

pwft_cMultiPowerLawFitFunc::sPeak::sPeak(double center, const rnge_c1DRange& below,
                                         const rnge_c1DRange& over, int order)
    : position(center), background(below), window(over), powerLaw(order, selection) {
    selection.AddLocalRange(background);
}

pwft_cMultiPowerLawFitFunc::sPeak::sPeak(const sPeak& other)
    : position(other.position), background(other.background), window(other.window),
      powerLaw(other.powerLaw, selection) {
    selection.AddLocalRange(background);
}

pwft_cMultiPowerLawFitFunc::pwft_cMultiPowerLawFitFunc(const pwft_cMultiPowerLawFitFunc& other) =
    default;

pwft_cMultiPowerLawFitFunc::~pwft_cMultiPowerLawFitFunc() = default;

const pwft_cPowerLawFittingFunction& pwft_cMultiPowerLawFitFunc::PowerLaw(int peak) const {
    return std::next(peaks_.begin(), arr_CheckedIndex(peak, PeakCount()))->powerLaw;
}

const arr_cC_Array<double>& pwft_cMultiPowerLawFitFunc::Coefficients(int peak) const {
    return PowerLaw(peak).Coefficients();
}

void pwft_cMultiPowerLawFitFunc::Load(arr_cC_Array<double>& values,
                                      const cal_c1DArrayCal& cal) const {
    const int count = values.Size();
    arr_cC_Array<double> signal(count, 0.0);
    if (data_.Size() > 0 && count > 0) {
        darr_c1DArray rescaled;
        if (data_.Cal().Delta() != cal.Delta())
            rescaled = resc_Rescale(data_, cal.Delta());
        const darr_c1DArray& data = data_.Cal().Delta() == cal.Delta() ? data_ : rescaled;
        const int first = data.Cal().Index(cal.Position(0));
        const int from = std::max(first, 0);
        const int to = static_cast<int>(
            std::min<long long>(first + static_cast<long long>(count), data.Size()));
        if (from < to)
            signal.CopyIn(data.Elements<double>().data(), to - from, from, from - first);

        const auto [low, high] = std::minmax({cal.Position(0), cal.Position(count)});
        const rnge_c1DRange span(low, high);
        for (const sPeak& peak : peaks_) {
            if (!peak.window.Intersects(span))
                continue;
            const rnge_c1DIndexRange part(peak.window & span, cal, rnge_IndexNearest);
            const int begin = std::clamp(part.First(), 0, count);
            const int end = std::clamp(part.Last(), begin, count);
            arr_cC_Array<double> model(end - begin);
            peak.powerLaw.Load(model, cal_c1DArrayCal(cal.Position(begin), cal.Delta(), 0));
            for (int i = begin; i < end; ++i)
                signal[i] -= model[i - begin];
        }
    }
    values.CopyIn(signal.Data(), count, 0, 0);
}

void pwft_cMultiPowerLawFitFunc::Refit(const darr_c1DArray& data) { Refit(data, nullptr); }

void pwft_cMultiPowerLawFitFunc::Refit(const darr_c1DArray& data, const darr_c1DArray& deviations) {
    plft_CheckDeviations(data, deviations);
    Refit(data, &deviations);
}

void pwft_cMultiPowerLawFitFunc::Refit(const darr_c1DArray& data, const darr_c1DArray* deviations) {
    darr_c1DArray kept = conv_Convert(data, dtyp_Double);
    darr_c1DArray keptDeviations;
    if (deviations != nullptr)
        keptDeviations = conv_Convert(*deviations, dtyp_Double);
    std::list<sPeak> refitted = peaks_;
    for (sPeak& peak : refitted)
        if (deviations != nullptr)
            peak.powerLaw.Refit(data, *deviations);
        else
            peak.powerLaw.Refit(data);
    peaks_.swap(refitted);
    data_ = std::move(kept);
    deviations_ = std::move(keptDeviations);
}

void pwft_cMultiPowerLawFitFunc::AddPeak(double position, double gap, double width,
                                         double windowOffset, double windowWidth) {
    const rnge_c1DRange background(position - gap - width, position - gap);
    const rnge_c1DRange window(position + windowOffset, position + windowOffset + windowWidth);
    const auto next = std::find_if(peaks_.begin(), peaks_.end(),
                                   [&](const sPeak& other) { return other.position > position; });
    peaks_.emplace(next, position, background, window, order_);
}

void pwft_cMultiPowerLawFitFunc::ClearPeaks() { peaks_.clear(); }

const pwft_cMultiPowerLawFitFunc::sPeak*
pwft_cMultiPowerLawFitFunc::PeakAt(double position) const noexcept {
    const auto peak = std::find_if(peaks_.begin(), peaks_.end(), [&](const sPeak& candidate) {
        return std::fabs(candidate.position - position) < type_MinValue;
    });
    return peak == peaks_.end() ? nullptr : &*peak;
}

double pwft_cMultiPowerLawFitFunc::PeakIntensity(double position) const {
    const sPeak* const peak = PeakAt(position);
    if (peak == nullptr)
        return 0.0;
    const cal_c1DArrayCal& cal = data_.Cal();
    const rnge_c1DIndexRange window(peak->window, cal, rnge_IndexNearest);
    const long long count = static_cast<long long>(window.Last()) - window.First();
    arr_cC_Array<double> values(arr_CheckedSize(std::max(count, 0LL)));
    Load(values, cal_c1DArrayCal(cal.Position(window.First()), cal.Delta(), 0));
    double sum = 0;
    for (const double value : values)
        sum += value;
    return sum * cal.Delta();
}

double pwft_cMultiPowerLawFitFunc::PeakIntensityError(double position) const {
    const sPeak* const peak = PeakAt(position);
    if (peak == nullptr || data_.Size() == 0)
        return 0.0;
    const cal_c1DArrayCal& cal = data_.Cal();
    const rnge_c1DIndexRange window(peak->window, cal, rnge_IndexNearest);
    double variance = 0;
    const bool isCounted = deviations_.Size() == 0;
    const std::span<const double> elements = (isCounted ? data_ : deviations_).Elements<double>();
    for (int i = std::max(window.First(), 0); i < std::min(window.Last(), data_.Size()); ++i) {
        const double element = elements[static_cast<std::size_t>(i)];
        variance += isCounted ? std::fabs(element) : element * element;
    }
    for (const sPeak& other : peaks_) {
        if (!other.window.Intersects(peak->window))
            continue;
        const rnge_c1DIndexRange taken(other.window & peak->window, cal, rnge_IndexNearest);
        if (taken.First() < taken.Last())
            variance += varianceOfSum(other.powerLaw, cal, taken.First(), taken.Last());
    }
    return std::sqrt(variance) * std::fabs(cal.Delta());
}
