#include <algorithm>
#include <cmath>
#include <utility>

#include "dataprocessing/base/type.h"
#include "dataprocessing/fitting/pwft.h"
#include "dataprocessing/valuemodel/resc.h"

pwft_cPowerLawFittingFunction::pwft_cPowerLawFittingFunction(int order,
                                                             dasl_c1DDataArraySelection& selection)
    : plft_c1DPolyFittingFunction(order, selection) {}

pwft_cPowerLawFittingFunction::pwft_cPowerLawFittingFunction(
    const pwft_cPowerLawFittingFunction& other, dasl_c1DDataArraySelection& selection)
    : plft_c1DPolyFittingFunction(other, selection) {}

pwft_cPowerLawFittingFunction::~pwft_cPowerLawFittingFunction() = default;

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
    if (x.Size() != y.Size())
        return plft_c1DPolyFittingFunction::RefitValues(x, y);
    arr_cC_Array<double> logX(x.Size());
    arr_cC_Array<double> logY(y.Size());
    int kept = 0;
    for (int i = 0; i < x.Size(); ++i)
        if (x[i] > type_MinValue && y[i] > type_MinValue) {
            logX[kept] = std::log(x[i]);
            logY[kept] = std::log(y[i]);
            ++kept;
        }
    logX.SetSize(kept);
    logY.SetSize(kept);
    plft_c1DPolyFittingFunction::RefitValues(logX, logY);
}

pwft_cMultiPowerLawFitFunc::pwft_cMultiPowerLawFitFunc(int order,
                                                       dasl_c1DDataArraySelection& selection)
    : ftfn_c1DFittingFunction(selection), order_(order) {}

pwft_cMultiPowerLawFitFunc::pwft_cMultiPowerLawFitFunc(const pwft_cMultiPowerLawFitFunc& other)
    : ftfn_c1DFittingFunction(other), order_(other.order_), data_(other.data_) {
    peaks_.reserve(other.peaks_.size());
    for (const std::unique_ptr<sPeak>& peak : other.peaks_) {
        auto selection = std::make_unique<dasl_c1DDataArraySelection>(rnge_IndexNearest);
        selection->AddLocalRange(peak->background);
        auto powerLaw =
            std::make_unique<pwft_cPowerLawFittingFunction>(*peak->powerLaw, *selection);
        peaks_.push_back(
            std::make_unique<sPeak>(sPeak{peak->position, peak->background, peak->window,
                                          std::move(selection), std::move(powerLaw)}));
    }
}

pwft_cMultiPowerLawFitFunc::~pwft_cMultiPowerLawFitFunc() = default;

const arr_cC_Array<double>& pwft_cMultiPowerLawFitFunc::Coefficients(int peak) const {
    return peaks_[static_cast<std::size_t>(arr_CheckedIndex(peak, PeakCount()))]
        ->powerLaw->Coefficients();
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

        const rnge_c1DRange span(cal.Position(0), cal.Position(count));
        for (const std::unique_ptr<sPeak>& peak : peaks_) {
            if (!peak->window.Intersects(span))
                continue;
            const rnge_c1DIndexRange part(peak->window & span, cal, rnge_IndexNearest);
            const int begin = std::clamp(part.First(), 0, count);
            const int end = std::clamp(part.Last(), begin, count);
            arr_cC_Array<double> model(end - begin);
            peak->powerLaw->Load(model, cal_c1DArrayCal(cal.Position(begin), cal.Delta(), 0));
            for (int i = begin; i < end; ++i)
                signal[i] -= model[i - begin];
        }
    }
    values.CopyIn(signal.Data(), count, 0, 0);
}

void pwft_cMultiPowerLawFitFunc::Refit(const darr_c1DArray& data) {
    darr_c1DArray kept = conv_Convert(data, dtyp_Double);
    std::vector<std::unique_ptr<pwft_cPowerLawFittingFunction>> refitted;
    refitted.reserve(peaks_.size());
    for (const std::unique_ptr<sPeak>& peak : peaks_) {
        refitted.push_back(
            std::make_unique<pwft_cPowerLawFittingFunction>(*peak->powerLaw, *peak->selection));
        refitted.back()->Refit(data);
    }
    for (std::size_t i = 0; i < peaks_.size(); ++i)
        peaks_[i]->powerLaw = std::move(refitted[i]);
    data_ = std::move(kept);
}

void pwft_cMultiPowerLawFitFunc::AddPeak(double position, double gap, double width,
                                         double windowOffset, double windowWidth) {
    const rnge_c1DRange background(position - gap - width, position - gap);
    const rnge_c1DRange window(position + windowOffset, position + windowOffset + windowWidth);
    auto selection = std::make_unique<dasl_c1DDataArraySelection>(rnge_IndexNearest);
    selection->AddLocalRange(background);
    auto powerLaw = std::make_unique<pwft_cPowerLawFittingFunction>(order_, *selection);
    auto peak = std::make_unique<sPeak>(
        sPeak{position, background, window, std::move(selection), std::move(powerLaw)});
    const auto next =
        std::find_if(peaks_.begin(), peaks_.end(), [&](const std::unique_ptr<sPeak>& other) {
            return other->position > position;
        });
    peaks_.insert(next, std::move(peak));
}

void pwft_cMultiPowerLawFitFunc::ClearPeaks() { peaks_.clear(); }

double pwft_cMultiPowerLawFitFunc::PeakIntensity(double position) const {
    const auto peak =
        std::find_if(peaks_.begin(), peaks_.end(), [&](const std::unique_ptr<sPeak>& candidate) {
            return std::fabs(candidate->position - position) < type_MinValue;
        });
    if (peak == peaks_.end())
        return 0.0;
    const cal_c1DArrayCal& cal = data_.Cal();
    const rnge_c1DIndexRange window((*peak)->window, cal, rnge_IndexNearest);
    const long long count = static_cast<long long>(window.Last()) - window.First();
    arr_cC_Array<double> values(arr_CheckedSize(std::max(count, 0LL)));
    Load(values, cal_c1DArrayCal(cal.Position(window.First()), cal.Delta(), 0));
    double sum = 0;
    for (const double value : values)
        sum += value;
    return sum * cal.Delta();
}
