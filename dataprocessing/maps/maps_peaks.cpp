#include "dataprocessing/maps/maps_peaks.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "dataprocessing/algebra/nlsq_parameters.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/fitting/pkmd_equations.h"
#include "dataprocessing/maps/maps_peaks_fit.h"
#include "dataprocessing/maps/maps_refuse.h"

namespace dataprocessing::detail {

namespace {

std::size_t at(int parameter) { return static_cast<std::size_t>(parameter); }

} // namespace

maps_sPeaks::maps_sPeaks(const pkmd_cModel& of, std::size_t channelCount,
                         const cal_c1DArrayCal& calibration, const maps_sPeakOptions& how)
    : model(of), channels(channelCount), cal(calibration), options(how),
      range(maps_ChannelsIn(cal, channels, how.from, how.to)),
      length(maps_WholeVectors(range.Count())) {
    const bool isLikelihood = IsLikelihood();
    maps_RefuseRange(range.Count() == 0);
    maps_RefuseOptions(!(options.windows > 0) || !(options.tolerance > 0) ||
                       options.mostEvaluations <= 0 || model.ParameterCount() == 0 ||
                       (!options.weights.empty() &&
                        (options.weights.size() != channels || isLikelihood ||
                         !std::all_of(options.weights.begin(), options.weights.end(),
                                      [](double w) { return std::isfinite(w) && w >= 0; }))));
    // What pkmd_Fit refuses in a model, it refuses for any spectrum.
    pkmd_sOptions once;
    once.control.mostEvaluations = 1;
    once.from = options.from;
    once.to = options.to;
    const std::vector<double> flat(channels, 1.0);
    pkmd_Fit(model, darr_c1DArray(std::span(flat), cal), once);

    for (std::size_t k = range.first; k < range.first + length; ++k)
        line.x.push_back(cal.Position(static_cast<long long>(k)));
    ones.assign(length, 0.0);
    std::fill_n(ones.begin(), range.Count(), 1.0);
    if (!options.weights.empty()) {
        weights.assign(length, 0.0);
        std::copy_n(options.weights.begin() + static_cast<std::ptrdiff_t>(range.first),
                    range.Count(), weights.begin());
    }
    isFast = HasLanes();
    if (isFast)
        Prepare();
}

/// Whether lanes can do this model.
bool maps_sPeaks::HasLanes() const {
    const bool isGaussian =
        std::all_of(model.Peaks().begin(), model.Peaks().end(), [](const pkmd_cModel::sPeak& peak) {
            return peak.shape == pkmd_Gaussian && !peak.hasLaw;
        });
    const bool isLine =
        model.Backgrounds().empty() || (model.Backgrounds().size() == 1 &&
                                        model.Backgrounds()[0].kind == pkmd_cModel::Polynomial &&
                                        model.Backgrounds()[0].count <= 2);
    const bool isVarying = nlsq_cParameters(model.Starts(), model.Kinds()).Varying() > 0;
    return isGaussian && isLine && isVarying && cal.Delta() != 0 && std::isfinite(cal.Delta());
}

void maps_sPeaks::Prepare() {
    for (const pkmd_cModel::sPeak& peak : model.Peaks())
        for (int k = 0; k < 3; ++k)
            parameterOf.push_back(at(peak.first + k));
    plan.delta = line.delta = cal.Delta();
    for (const pkmd_cModel::sBackground& background : model.Backgrounds()) {
        plan.lineTerms = at(background.count);
        plan.reference = background.reference;
        plan.inverseScale = 1 / background.scale;
        for (int k = 0; k < background.count; ++k)
            parameterOf.push_back(at(background.first + k));
    }
    plan.parameters = parameterOf.size();
    kinds = pkmd_KindsOf(model, cal.Delta());
    slopes.assign(length, 0.0);
    for (std::size_t k = 0; k < range.Count(); ++k)
        slopes[k] = (line.x[k] - plan.reference) * plan.inverseScale;
    // The noise that windows depend on is that of the background that the model starts from.
    line.areCounts = IsLikelihood();
    line.y.assign(length, 0.0);
    model.Values(model.Starts(), std::span(line.x).first(range.Count()),
                 std::span(line.y).first(range.Count()), pkmd_BackgroundOnly);
    line.weights = weights.empty() ? ones : weights;
    if (!line.areCounts && weights.empty())
        for (std::size_t k = 0; k < range.Count(); ++k)
            line.weights[k] = 1 / std::max(line.y[k], 1.0);
    PlaceWindows();
    Link();
}

void maps_sPeaks::PlaceWindows() {
    std::vector<char> isWanted(range.Count());
    constexpr double slack = 1.1;
    for (const pkmd_sWindow& reach :
         pkmd_WindowsOf(model, model.Starts(), options.windows, slack, line)) {
        maps_sPeakWindow window{};
        window.from = std::min(reach.first, range.Count());
        window.to = std::min(reach.last, range.Count());
        const std::size_t center = window.from + window.Count() / 2;
        window.middle = line.x[std::min(center, range.Count() - 1)];
        std::fill(isWanted.begin() + static_cast<std::ptrdiff_t>(window.from),
                  isWanted.begin() + static_cast<std::ptrdiff_t>(window.to), char{1});
        plan.windows.push_back(window);
    }
    std::vector<std::size_t> places(range.Count() + 1);
    for (std::size_t k = 0; k < range.Count(); ++k) {
        places[k] = plan.channels.size();
        if (isWanted[k] != 0)
            plan.channels.push_back(k);
    }
    places.back() = plan.channels.size();
    for (std::size_t a = 0; a < plan.windows.size(); ++a) {
        maps_sPeakWindow& second = plan.windows[a];
        second.place = places[second.from];
        for (std::size_t b = 0; b < a; ++b) {
            maps_sPeakWindow& first = plan.windows[b];
            const std::size_t from = std::max(first.from, second.from);
            const std::size_t to = std::min(first.to, second.to);
            if (from >= to)
                continue;
            plan.pairs.push_back({b, a, from, to - from, line.x[from]});
            first.isKept = second.isKept = true;
        }
    }
    for (maps_sPeakWindow& window : plan.windows)
        if (window.isKept) {
            window.keptPlace = plan.kept;
            plan.kept += window.Count();
        }
}

/// What the parameters are made of, and which variables meet.
void maps_sPeaks::Link() {
    const nlsq_cParameters parameters(model.Starts(), model.Kinds());
    plan.variables = parameters.Varying();
    // Variables in the order of the plan's parameters.
    std::vector<std::size_t> numberOf(plan.variables);
    for (const std::size_t parameter : parameterOf)
        for (std::size_t j = 0; j < plan.variables; ++j)
            if (parameters.ParameterOf(j) == parameter) {
                numberOf[j] = startOf.size();
                startOf.push_back(parameter);
            }
    plan.isEachVariable = plan.variables == plan.parameters;
    for (const std::size_t parameter : parameterOf) {
        const nlsq_cParameters::sLink& link = parameters.LinkOf(parameter);
        const bool isVarying = link.variable != nlsq_cParameters::none;
        plan.links.push_back(
            {isVarying, isVarying ? numberOf[link.variable] : 0, link.factor, link.offset});
    }
    plan.firsts.resize(plan.variables);
    for (std::size_t j = 0; j < plan.variables; ++j)
        plan.firsts[j] = j;
    const auto meet = [&](std::size_t i, std::size_t j) {
        const maps_sPeakLink& a = plan.links[i];
        const maps_sPeakLink& b = plan.links[j];
        if (a.isVarying && b.isVarying) {
            std::size_t& first = plan.firsts[std::max(a.variable, b.variable)];
            first = std::min({first, a.variable, b.variable});
        }
    };
    const auto meetPeaks = [&](std::size_t a, std::size_t b) {
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j)
                meet(3 * a + i, 3 * b + j);
    };
    for (std::size_t k = 0; k < plan.windows.size(); ++k)
        meetPeaks(k, k);
    for (const maps_sPeakPair& pair : plan.pairs)
        meetPeaks(pair.first, pair.second);
    for (std::size_t i = 3 * plan.windows.size(); i < plan.parameters; ++i)
        for (std::size_t j = 0; j < plan.parameters; ++j)
            meet(i, j);
}

maps_eStatus maps_StatusOf(const maps_sPeaks& peaks, const maps_cStack& stack, const double* row,
                           double sum) {
    if (!std::isfinite(sum))
        return maps_NotFinite;
    if (sum == 0)
        return maps_IsZero(row, peaks.range.Count()) ? maps_Empty : maps_NotFinite;
    if (peaks.IsLikelihood() && maps_MayBeNegative(stack) &&
        *std::min_element(row, row + peaks.range.Count()) < 0)
        return maps_Negative;
    return maps_Good;
}

void maps_PutNothing(const maps_sPeaks& peaks, std::size_t spectra, std::size_t spectrum,
                     const maps_sPeakPlanes& planes, maps_eStatus status, int iterations) {
    constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
    const auto fill = [&](std::span<double> plane, std::size_t count) {
        if (!plane.empty())
            for (std::size_t i = 0; i < count; ++i)
                plane[i * spectra + spectrum] = nothing;
    };
    fill(planes.values, at(peaks.model.ParameterCount()));
    fill(planes.standardErrors, at(peaks.model.ParameterCount()));
    fill(planes.areas, at(peaks.model.PeakCount()));
    fill(planes.areaErrors, at(peaks.model.PeakCount()));
    fill(planes.chiSquared, 1);
    if (!planes.iterations.empty())
        planes.iterations[spectrum] = iterations;
    if (!planes.status.empty())
        planes.status[spectrum] = status;
}

namespace {

/// Nothing for values that are too large or too small to be squared, which is no reason to stop.
std::optional<pkmd_sResult> fitOf(const pkmd_cModel& model, const darr_c1DArray& spectrum,
                                  const pkmd_sOptions& options) {
    try {
        return pkmd_Fit(model, spectrum, options);
    } catch (const expt_cProgramException& refusal) {
        constexpr int ofSize = 14;
        if (refusal.SourceFile() == "nlsq" && refusal.Line() == ofSize)
            return std::nullopt;
        throw;
    }
}

} // namespace

void maps_FitAlone(const maps_sPeaks& peaks, const maps_cStack& stack, std::size_t spectrum,
                   const maps_sPeakPlanes& planes, std::span<const double> start) {
    const std::size_t spectra = stack.Spectra();
    std::vector<double> values(peaks.channels);
    std::vector<double> padded(maps_WholeVectors(peaks.channels));
    maps_Fetch(stack, spectrum, 0, peaks.channels, padded.data());
    std::copy_n(padded.begin(), values.size(), values.begin());
    pkmd_sOptions options;
    options.objective = peaks.options.objective;
    options.weights = peaks.options.weights;
    options.errors = peaks.options.errors;
    options.windows = peaks.options.windows;
    options.from = peaks.options.from;
    options.to = peaks.options.to;
    options.control.mostEvaluations = peaks.options.mostEvaluations;
    pkmd_cModel model = peaks.model;
    model.SetStarts(start);
    const std::optional<pkmd_sResult> found =
        fitOf(model, darr_c1DArray(std::span(std::as_const(values)), peaks.cal), options);
    if (!found) {
        maps_PutNothing(peaks, spectra, spectrum, planes, maps_NotFinite, 0);
        return;
    }
    const pkmd_sResult& result = *found;
    const nlsq_sResult& fit = result.fit;
    if (!fit.Converged()) {
        maps_PutNothing(peaks, spectra, spectrum, planes, maps_NotConverged, fit.iterations);
        return;
    }
    const auto isOpen = [&](std::size_t i) {
        return std::find(fit.undetermined.begin(), fit.undetermined.end(), static_cast<int>(i)) !=
               fit.undetermined.end();
    };
    constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
    for (std::size_t i = 0; i < fit.parameters.size(); ++i) {
        if (!planes.values.empty())
            planes.values[i * spectra + spectrum] = fit.parameters[i];
        if (!planes.standardErrors.empty())
            planes.standardErrors[i * spectra + spectrum] =
                isOpen(i) ? nothing : fit.standardErrors[i];
    }
    for (std::size_t k = 0; k < result.peaks.size(); ++k) {
        const std::size_t height = at(model.Height(static_cast<int>(k)));
        if (!planes.areas.empty())
            planes.areas[k * spectra + spectrum] = result.peaks[k].area;
        if (!planes.areaErrors.empty())
            planes.areaErrors[k * spectra + spectrum] =
                isOpen(height) || isOpen(height + 1) ? nothing : result.peaks[k].areaError;
    }
    if (!planes.chiSquared.empty())
        planes.chiSquared[spectrum] = fit.chiSquared;
    if (!planes.iterations.empty())
        planes.iterations[spectrum] = fit.iterations;
    if (!planes.status.empty())
        planes.status[spectrum] = fit.undetermined.empty() ? maps_Good : maps_Undetermined;
}

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

maps_cPeaks::maps_cPeaks(const pkmd_cModel& model, std::size_t channels, const cal_c1DArrayCal& cal,
                         const maps_sPeakOptions& options)
    : peaks_(std::make_unique<maps_sPeaks>(model, channels, cal, options)) {}
maps_cPeaks::~maps_cPeaks() = default;
maps_cPeaks::maps_cPeaks(maps_cPeaks&&) noexcept = default;
maps_cPeaks& maps_cPeaks::operator=(maps_cPeaks&&) noexcept = default;

std::size_t maps_cPeaks::ParameterCount() const noexcept {
    return static_cast<std::size_t>(peaks_->model.ParameterCount());
}

std::size_t maps_cPeaks::PeakCount() const noexcept {
    return static_cast<std::size_t>(peaks_->model.PeakCount());
}

void maps_cPeaks::Run(const maps_cStack& stack, const maps_sPeakPlanes& planes,
                      maps_cWorkspace& workspace, std::span<const double> starts) const {
    const maps_sPeaks& peaks = *peaks_;
    const std::size_t spectra = stack.Spectra();
    maps_CheckPlanes(planes, ParameterCount(), spectra);
    maps_RefuseSize(planes.areas.size(), PeakCount(), spectra);
    maps_RefuseSize(planes.areaErrors.size(), PeakCount(), spectra);
    maps_RefuseSize(starts.size(), ParameterCount(), spectra);
    maps_RefuseChannels(stack.Channels() != peaks.channels || !(stack.Cal() == peaks.cal));
    maps_FitLanes(peaks, stack, planes, starts, workspace.Room());
}
