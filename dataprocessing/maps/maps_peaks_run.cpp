#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "dataprocessing/algebra/nlsq_parameters.h"
#include "dataprocessing/fitting/pkmd_kernels.h"
#include "dataprocessing/maps/maps_curve.h"
#include "dataprocessing/maps/maps_peaks_fit.h"

namespace dataprocessing::detail {

namespace {

constexpr double rootTwoPi = 2.5066282746310002;

/// The fits of one call. A lane has a spectrum of its own, at its own step; when its fit ends, the
/// next spectrum takes its place.
class cLanes {
public:
    cLanes(const maps_sPeaks& peaks, const maps_cStack& stack, const maps_sPeakPlanes& planes,
           std::span<const double> starts, maps_sRoom& room)
        : peaks_(peaks), plan_(peaks.plan), stack_(stack), planes_(planes), starts_(starts),
          width_(maps_PeakLanes()), start_(static_cast<std::size_t>(peaks.model.ParameterCount())) {
        const std::size_t n = plan_.variables;
        const std::size_t all = plan_.parameters;
        rows_ = room.Get(maps_sRoom::Row, width_ * peaks.length);
        weights_ = room.Get(maps_sRoom::Weights, peaks.length);
        curve_ = room.Get(maps_sRoom::Curve, peaks.length);
        scratch_ = room.Get(maps_sRoom::Weighted, (1 + pkmd_mostColumns) * peaks.length);
        double* free = room.Get(maps_sRoom::Lanes, width_ * (2 * plan_.channels.size() +
                                                             plan_.kept + maps_sPeakLanes::Sums));
        const auto take = [&](std::size_t vectors) {
            double* const taken = free;
            free += vectors * width_;
            return taken;
        };
        lanes_.w = take(plan_.channels.size());
        lanes_.wy = take(plan_.channels.size());
        lanes_.kept = take(plan_.kept);
        lanes_.sums = take(maps_sPeakLanes::Sums);

        const auto sizeOf = [](std::size_t unknowns) { return unknowns * (unknowns + 1) + 1; };
        const std::size_t equations = sizeOf(all) + 2 * sizeOf(n);
        free = room.Get(maps_sRoom::Equations, width_ * equations);
        std::fill_n(free, width_ * equations, 0.0);
        const auto takeEquations = [&](std::size_t unknowns) {
            double* const h = take(unknowns * unknowns);
            double* const g = take(unknowns);
            return maps_sPeakEquations{h, g, take(1)};
        };
        raw_ = takeEquations(all);
        tried_ = takeEquations(n);
        now_ = takeEquations(n);

        const std::size_t vectors = n * n + 6 * n + 3 * all + 8;
        free = room.Get(maps_sRoom::State, width_ * vectors);
        std::fill_n(free, width_ * vectors, 0.0);
        l_ = take(n * n);
        inverse_ = take(n);
        step_ = take(n);
        q_ = take(n);
        work_ = take(n);
        last_ = take(n);
        variances_ = take(n);
        p_ = take(all);
        areas_ = take(all);
        offsets_ = take(all);
        a0_ = take(1);
        a1_ = take(1);
        none_ = take(1);
        weak_ = take(1);
        promise_ = take(1);
        damping_ = take(1);
        taken_ = take(1);
        variance_ = take(1);
    }

    void Run() {
        while (Refill()) {
            for (std::size_t i = 0; i < plan_.parameters; ++i)
                for (std::size_t lane = 0; lane < width_; ++lane)
                    p_[i * width_ + lane] = Parameter(i, lane);
            maps_EvaluateLanes(plan_, lanes_, p_, plan_.isEachVariable ? tried_ : raw_);
            if (!plan_.isEachVariable)
                maps_CollectLanes(plan_, raw_, tried_);
            Judge();
            Step();
        }
    }

private:
    enum ePhase {
        Idle,
        Descending, ///< By least squares, steps being tried.
        Scoring     ///< Every step has new weights, and is taken.
    };
    struct sLane {
        ePhase phase = Idle;
        bool isFresh = false; ///< Stands where it tries.
        std::size_t spectrum = 0;
        double squares = 0; ///< The sum of the weighted squares of the values.
        int evaluations = 0;
        int steps = 0;
    };

    double Parameter(std::size_t i, std::size_t lane) const {
        const maps_sPeakLink& link = plan_.links[i];
        const double moving =
            link.isVarying ? link.factor * q_[link.variable * width_ + lane] : 0.0;
        return moving + offsets_[i * width_ + lane];
    }
    double* RowOf(std::size_t lane) { return rows_ + lane * peaks_.length; }

    /// Gives spectra to lanes that have none. Answers whether there is one with.
    bool Refill() {
        bool isAny = false;
        for (std::size_t lane = 0; lane < width_; ++lane) {
            while (state_[lane].phase == Idle && next_ < stack_.Spectra())
                Load(lane, next_++);
            isAny = isAny || state_[lane].phase != Idle;
        }
        return isAny;
    }

    void TakeStart(std::size_t spectrum) {
        if (starts_.empty())
            std::copy(peaks_.model.Starts().begin(), peaks_.model.Starts().end(), start_.begin());
        else
            for (std::size_t i = 0; i < start_.size(); ++i)
                start_[i] = starts_[i * stack_.Spectra() + spectrum];
    }

    void Load(std::size_t lane, std::size_t spectrum) {
        double* const row = RowOf(lane);
        maps_Fetch(stack_, spectrum, peaks_.range.first, peaks_.range.Count(), row);
        TakeStart(spectrum);
        const bool hasWeights = !peaks_.weights.empty();
        if (hasWeights)
            std::copy(peaks_.weights.begin(), peaks_.weights.end(), weights_);
        Weigh(lane, hasWeights ? maps_WeightsGiven : maps_WeighCounts);
        double squares = lanes_.sums[maps_sPeakLanes::YY * width_ + lane];
        if (hasWeights && !std::isfinite(squares)) {
            maps_LeaveOut(weights_, peaks_.length, row);
            Weigh(lane, maps_WeightsGiven);
            squares = lanes_.sums[maps_sPeakLanes::YY * width_ + lane];
        }
        const maps_eStatus status = maps_StatusOf(peaks_, stack_, row, squares);
        if (status != maps_Good) {
            maps_PutNothing(peaks_, stack_.Spectra(), spectrum, planes_, status, 0);
            return;
        }
        if (!std::all_of(start_.begin(), start_.end(), [](double p) { return std::isfinite(p); })) {
            maps_PutNothing(peaks_, stack_.Spectra(), spectrum, planes_, maps_NotConverged, 0);
            return;
        }
        state_[lane] = {Descending, true, spectrum, squares, 0, 0};
        for (std::size_t j = 0; j < plan_.variables; ++j)
            q_[j * width_ + lane] = start_[peaks_.startOf[j]];
        // What stays, stays where the spectrum's own start puts it.
        const bool hasOwn = !starts_.empty() && !plan_.isEachVariable;
        const nlsq_cParameters own(
            hasOwn ? std::span<const double>(start_) : std::span<const double>(),
            hasOwn ? peaks_.model.Kinds() : std::span<const nlsq_sParameter>());
        for (std::size_t i = 0; i < plan_.parameters; ++i)
            offsets_[i * width_ + lane] =
                hasOwn ? own.LinkOf(peaks_.parameterOf[i]).offset : plan_.links[i].offset;
        damping_[lane] = 1e-3;
    }

    /// The sums of a lane with some weights, and what its windows hold.
    void Weigh(std::size_t lane, maps_eWeighing weighing) {
        const double* const row = RowOf(lane);
        const std::array<const double*, 2> shapes{peaks_.ones.data(), peaks_.slopes.data()};
        std::array<double, maps_coreSums> sums;
        const std::size_t terms = plan_.lineTerms;
        maps_CrossRow(row, std::span(shapes).first(terms), weighing, peaks_.length, weights_, sums);
        const auto put = [&](maps_sPeakLanes::eSum which, double sum) {
            lanes_.sums[which * width_ + lane] = sum;
        };
        if (terms == 2) {
            put(maps_sPeakLanes::One, sums[0]);
            put(maps_sPeakLanes::T, sums[1]);
            put(maps_sPeakLanes::TT, sums[2]);
            put(maps_sPeakLanes::Y, sums[3]);
            put(maps_sPeakLanes::TY, sums[4]);
            put(maps_sPeakLanes::YY, sums[5]);
        } else if (terms == 1) {
            put(maps_sPeakLanes::One, sums[0]);
            put(maps_sPeakLanes::Y, sums[1]);
            put(maps_sPeakLanes::YY, sums[2]);
        } else {
            put(maps_sPeakLanes::YY, sums[0]);
        }
        for (std::size_t j = 0; j < plan_.channels.size(); ++j) {
            const std::size_t k = plan_.channels[j];
            lanes_.w[j * width_ + lane] = weights_[k];
            lanes_.wy[j * width_ + lane] = weights_[k] * row[k];
        }
    }

    /// The model of a lane, over all channels.
    void Draw(std::size_t lane, double* curve) {
        const std::size_t line = 3 * plan_.windows.size();
        maps_DrawLine(peaks_.slopes.data(), plan_.lineTerms > 0 ? Parameter(line, lane) : 0,
                      plan_.lineTerms > 1 ? Parameter(line + 1, lane) : 0, peaks_.length, curve);
        for (std::size_t k = 0; k < plan_.windows.size(); ++k) {
            const maps_sPeakWindow& window = plan_.windows[k];
            const std::size_t from = window.from / maps_lanes * maps_lanes;
            const std::size_t count = maps_WholeVectors(window.to) - from;
            pkmd_sPeakValues peak{Parameter(3 * k, lane),
                                  Parameter(3 * k + 1, lane),
                                  Parameter(3 * k + 2, lane),
                                  0,
                                  peaks_.line.x.data() + from,
                                  count,
                                  curve + from,
                                  {}};
            for (std::size_t column = 0; column < pkmd_mostColumns; ++column)
                peak.columns[column] = scratch_ + (column + 1) * peaks_.length;
            pkmd_AddPeak(pkmd_Gaussian, peak);
        }
        std::fill(curve + peaks_.range.Count(), curve + peaks_.length, 1.0);
    }

    /// Gives a lane the weights of its model.
    void Reweigh(std::size_t lane) {
        Draw(lane, weights_);
        Weigh(lane, maps_WeighCurve);
        state_[lane].isFresh = true;
        damping_[lane] = 0;
    }

    /// Which steps are good: those lanes stand where they tried.
    void Judge() {
        bool areAll = true;
        for (std::size_t lane = 0; lane < width_; ++lane) {
            sLane& state = state_[lane];
            taken_[lane] = 0;
            if (state.phase == Idle)
                continue;
            ++state.evaluations;
            const double chiSquared = tried_.chiSquared[lane];
            // Chi-squared is a difference of sums as large as that of the squares.
            constexpr double rounding = 1e-14;
            const bool isGood =
                state.isFresh ? std::isfinite(chiSquared)
                              : chiSquared <= now_.chiSquared[lane] + rounding * state.squares;
            if (isGood) {
                taken_[lane] = 1;
                if (!state.isFresh) {
                    ++state.steps;
                    damping_[lane] *= 0.1;
                }
                state.isFresh = false;
            } else if (state.isFresh || damping_[lane] > 1e10) {
                // Nowhere to stand, or nowhere to go.
                areAll = false;
                Leave(lane);
            } else {
                areAll = false;
                damping_[lane] *= 10;
                for (std::size_t j = 0; j < plan_.variables; ++j)
                    q_[j * width_ + lane] = last_[j * width_ + lane];
            }
        }
        if (areAll && std::all_of(taken_, taken_ + width_, [](double one) { return one != 0; })) {
            std::swap(now_, tried_);
            return;
        }
        const std::size_t n = plan_.variables;
        maps_CopyLanes(taken_, tried_.h, n * n, now_.h);
        maps_CopyLanes(taken_, tried_.g, n, now_.g);
        maps_CopyLanes(taken_, tried_.chiSquared, 1, now_.chiSquared);
    }

    void Step() {
        Solve(damping_);
        const double least = peaks_.options.tolerance * peaks_.options.tolerance;
        bool isAnyOver = false;
        std::array<bool, maps_lanes> isOver{};
        for (std::size_t lane = 0; lane < width_; ++lane) {
            const sLane& state = state_[lane];
            isOver[lane] = state.phase != Idle && promise_[lane] < least &&
                           (state.phase == Scoring || !peaks_.IsLikelihood());
            isAnyOver = isAnyOver || isOver[lane];
        }
        for (std::size_t lane = 0; lane < width_; ++lane)
            if (state_[lane].phase != Idle && !isOver[lane])
                Advance(lane);
        if (isAnyOver)
            Conclude(isOver);
    }

    void Solve(const double* damping) {
        maps_FactorLanes(plan_, now_, damping, l_, inverse_, weak_);
        maps_SolveLanes(plan_, now_, l_, inverse_, step_, promise_);
    }

    void Walk(std::size_t lane) {
        for (std::size_t j = 0; j < plan_.variables; ++j) {
            last_[j * width_ + lane] = q_[j * width_ + lane];
            q_[j * width_ + lane] += step_[j * width_ + lane];
        }
    }

    /// The step of a lane that goes on.
    void Advance(std::size_t lane) {
        sLane& state = state_[lane];
        if (!std::isfinite(promise_[lane]) || state.evaluations >= peaks_.options.mostEvaluations) {
            Leave(lane);
            return;
        }
        // Closer to the end of least squares than this there is no use in going.
        constexpr double nearEnough = 30;
        Walk(lane);
        if (peaks_.IsLikelihood() && (state.phase == Scoring || promise_[lane] < nearEnough)) {
            state.phase = Scoring;
            ++state.steps;
            if (AreWidthsPositive(lane))
                Reweigh(lane);
            else
                Leave(lane);
        }
    }

    bool AreWidthsPositive(std::size_t lane) const {
        for (std::size_t k = 0; k < plan_.windows.size(); ++k)
            if (!(Parameter(3 * k + 2, lane) > 0))
                return false;
        return true;
    }

    /// The last step of some lanes, without damping, and what their curvature tells.
    void Conclude(std::array<bool, maps_lanes> isOver) {
        Solve(none_);
        const double enough = 4 * peaks_.options.tolerance * peaks_.options.tolerance;
        bool isAny = false;
        for (std::size_t lane = 0; lane < width_; ++lane) {
            if (!isOver[lane])
                continue;
            Walk(lane);
            if (weak_[lane] != 0 || !AreWidthsPositive(lane)) {
                isOver[lane] = false;
                Leave(lane);
            } else if (!(promise_[lane] < enough)) {
                // It was the damping that made the step short.
                isOver[lane] = false;
                if (state_[lane].evaluations >= peaks_.options.mostEvaluations)
                    Leave(lane);
                else if (state_[lane].phase == Scoring)
                    Reweigh(lane);
            }
            isAny = isAny || isOver[lane];
        }
        if (!isAny)
            return;
        TakeVariances();
        for (std::size_t lane = 0; lane < width_; ++lane)
            if (isOver[lane])
                Put(lane);
    }

    void TakeVariances() {
        if (!planes_.standardErrors.empty())
            for (std::size_t j = 0; j < plan_.variables; ++j) {
                std::fill_n(a0_, width_, 1.0);
                maps_VarianceLanes(plan_, l_, inverse_, j, a0_, j, none_, work_,
                                   variances_ + j * width_);
            }
        if (planes_.areaErrors.empty())
            return;
        for (std::size_t k = 0; k < plan_.windows.size(); ++k) {
            const maps_sPeakLink& height = plan_.links[3 * k + 1];
            const maps_sPeakLink& breadth = plan_.links[3 * k + 2];
            double* const to = areas_ + k * width_;
            if (!height.isVarying && !breadth.isVarying) {
                std::fill_n(to, width_, 0.0);
                continue;
            }
            for (std::size_t lane = 0; lane < width_; ++lane) {
                a0_[lane] =
                    height.isVarying ? rootTwoPi * height.factor * Parameter(3 * k + 2, lane) : 0;
                a1_[lane] =
                    breadth.isVarying ? rootTwoPi * breadth.factor * Parameter(3 * k + 1, lane) : 0;
            }
            const std::size_t first = height.isVarying ? height.variable : breadth.variable;
            const std::size_t second = breadth.isVarying ? breadth.variable : height.variable;
            if (first <= second)
                maps_VarianceLanes(plan_, l_, inverse_, first, a0_, second, a1_, work_, to);
            else
                maps_VarianceLanes(plan_, l_, inverse_, second, a1_, first, a0_, work_, to);
        }
    }

    /// Whether the windows still reach around the peaks.
    bool AreWindowsWide(std::size_t lane) const {
        for (std::size_t k = 0; k < plan_.windows.size(); ++k) {
            const maps_sPeakWindow& window = plan_.windows[k];
            const std::array found{Parameter(3 * k, lane), Parameter(3 * k + 1, lane),
                                   Parameter(3 * k + 2, lane)};
            const double reach =
                pkmd_ReachOf(pkmd_Gaussian, found, peaks_.options.windows, peaks_.line);
            const pkmd_sWindow needed = pkmd_WindowOf(pkmd_Gaussian, found, reach, peaks_.line);
            const std::size_t all = peaks_.range.Count();
            if (std::min(needed.first, all) < window.from || std::min(needed.last, all) > window.to)
                return false;
        }
        return true;
    }

    /// Whether no bound, of the model or of a width, would have held a parameter.
    bool AreBoundsWide(std::size_t lane) const {
        for (std::size_t i = 0; i < plan_.parameters; ++i) {
            const nlsq_sParameter& kind = peaks_.kinds[peaks_.parameterOf[i]];
            const double p = Parameter(i, lane);
            if (kind.kind == nlsq_sParameter::Moving && !(p > kind.lower && p < kind.upper))
                return false;
        }
        return true;
    }

    /// Puts the result of a lane into the planes, and frees it.
    void Put(std::size_t lane) {
        sLane& state = state_[lane];
        double chiSquared = now_.chiSquared[lane] - promise_[lane];
        bool isGood = AreWindowsWide(lane) && AreBoundsWide(lane);
        if (isGood && peaks_.IsLikelihood()) {
            Draw(lane, curve_);
            chiSquared = pkmd_Deviance(RowOf(lane), peaks_.ones.data(), curve_, peaks_.length,
                                       scratch_, weights_);
            isGood = std::isfinite(chiSquared);
        }
        if (!isGood) {
            Leave(lane);
            return;
        }
        const std::size_t spectra = stack_.Spectra();
        const std::size_t q = state.spectrum;
        double scale = 1;
        if (peaks_.options.errors == nlsq_ErrorsFromScatter)
            scale = chiSquared / Freedom();
        for (std::size_t i = 0; i < plan_.parameters; ++i) {
            const std::size_t at = peaks_.parameterOf[i] * spectra + q;
            const maps_sPeakLink& link = plan_.links[i];
            if (!planes_.values.empty())
                planes_.values[at] = Parameter(i, lane);
            if (!planes_.standardErrors.empty())
                planes_.standardErrors[at] =
                    link.isVarying
                        ? std::fabs(link.factor) *
                              std::sqrt(scale * variances_[link.variable * width_ + lane])
                        : 0;
        }
        for (std::size_t k = 0; k < plan_.windows.size(); ++k) {
            if (!planes_.areas.empty())
                planes_.areas[k * spectra + q] =
                    rootTwoPi * Parameter(3 * k + 1, lane) * Parameter(3 * k + 2, lane);
            if (!planes_.areaErrors.empty())
                planes_.areaErrors[k * spectra + q] = std::sqrt(scale * areas_[k * width_ + lane]);
        }
        if (!planes_.chiSquared.empty())
            planes_.chiSquared[q] = std::max(chiSquared, 0.0);
        if (!planes_.iterations.empty())
            planes_.iterations[q] = state.steps + 1;
        if (!planes_.status.empty())
            planes_.status[q] = maps_Good;
        state.phase = Idle;
    }

    /// Channels that take part, less the variables.
    double Freedom() const {
        const auto taking = peaks_.weights.empty()
                                ? static_cast<std::ptrdiff_t>(peaks_.range.Count())
                                : std::count_if(peaks_.weights.begin(), peaks_.weights.end(),
                                                [](double w) { return w > 0; });
        return std::max(0.0, static_cast<double>(taking) - static_cast<double>(plan_.variables));
    }

    /// Lets pkmd_Fit do what this lane could not, from the start, and frees the lane.
    void Leave(std::size_t lane) {
        TakeStart(state_[lane].spectrum);
        maps_FitAlone(peaks_, stack_, state_[lane].spectrum, planes_, start_);
        state_[lane].phase = Idle;
    }

    const maps_sPeaks& peaks_;
    const maps_sPeakPlan& plan_;
    const maps_cStack& stack_;
    const maps_sPeakPlanes& planes_;
    std::span<const double> starts_;
    std::size_t width_;
    std::size_t next_ = 0;
    std::vector<double> start_;
    std::array<sLane, maps_lanes> state_{};
    maps_sPeakLanes lanes_{};
    maps_sPeakEquations raw_{};
    maps_sPeakEquations tried_{};
    maps_sPeakEquations now_{};
    double* rows_;
    double* weights_;
    double* curve_;
    double* scratch_;
    double* l_;
    double* inverse_;
    double* step_;
    double* q_;    ///< Where lanes try.
    double* last_; ///< Where they stand.
    double* work_;
    double* variances_;
    double* p_;
    double* areas_;
    double* offsets_;
    double* a0_;
    double* a1_;
    double* none_; ///< Zeros.
    double* weak_;
    double* promise_;
    double* damping_;
    double* taken_;
    double* variance_;
};

} // namespace

void maps_FitLanes(const maps_sPeaks& peaks, const maps_cStack& stack,
                   const maps_sPeakPlanes& planes, std::span<const double> starts,
                   maps_sRoom& room) {
    if (peaks.isFast) {
        cLanes(peaks, stack, planes, starts, room).Run();
        return;
    }
    double* const row = room.Get(maps_sRoom::Row, peaks.length);
    std::vector<double> start(peaks.model.Starts().begin(), peaks.model.Starts().end());
    for (std::size_t q = 0; q < stack.Spectra(); ++q) {
        maps_Fetch(stack, q, peaks.range.first, peaks.range.Count(), row);
        for (std::size_t i = 0; i < start.size() && !starts.empty(); ++i)
            start[i] = starts[i * stack.Spectra() + q];
        if (!peaks.weights.empty())
            maps_LeaveOut(peaks.weights.data(), peaks.length, row);
        double squares = 0;
        pkmd_Dots(row, &row, 1, peaks.length, &squares);
        maps_eStatus status = maps_StatusOf(peaks, stack, row, squares);
        if (status == maps_Good &&
            !std::all_of(start.begin(), start.end(), [](double p) { return std::isfinite(p); }))
            status = maps_NotConverged;
        if (status == maps_Good)
            maps_FitAlone(peaks, stack, q, planes, start);
        else
            maps_PutNothing(peaks, stack.Spectra(), q, planes, status, 0);
    }
}

} // namespace dataprocessing::detail
