#include "dataprocessing/algebra/nlsq_steps.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dataprocessing/algebra/nlsq_refusal.h"

namespace dataprocessing::detail {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Below this part of chi-squared its decrease is lost in rounding, and the gradient tells whether
/// a step was good.
constexpr double lostDecrease = 1e-12;

/// This part of the way to where a model is no longer positive.
constexpr double almost = 0.9;

/// A step is not shortened to less than this part of it.
constexpr double leastPart = 1e-3;

/// A barrier is put up where steps are shortened and a value is below this part of the mean, and
/// lowered where a step promises less than a part of what it takes away.
constexpr double belowBarrier = 1e-3;
constexpr double partOfBarrier = 0.01;

constexpr nlsq_cRefusal<expt_cProgramException> refuse("nlsq");

double dot(std::span<const double> a, std::span<const double> b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += a[i] * b[i];
    return sum;
}

/// One fit on its way.
class cFit {
public:
    cFit(nlsq_cEquations& equations, const nlsq_cParameters& parameters,
         const nlsq_sControl& control)
        : equations_(equations), parameters_(parameters), control_(control),
          q_(parameters.Start().begin(), parameters.Start().end()), tried_(q_.size()),
          leap_(q_.size()), step_(q_.size()), last_(q_.size()), whole_(q_.size()),
          scale_(q_.size()), isHeld_(q_.size()), isPinned_(q_.size()), all_(parameters.All()) {}

    void Run() {
        result_.chiSquared = equations_.Try(q_);
        ++result_.evaluations;
        if (!std::isfinite(result_.chiSquared)) {
            result_.end = nlsq_NoValue;
            return;
        }
        equations_.Accept();
        LookAround();
        // A first step that is much longer than the parameters are leads anywhere; of one that is
        // short beside the residuals nothing shows.
        constexpr double leastToShow = 1e-8;
        longest_ = infinity;
        if (const double length = Length(q_); length > 0)
            longest_ = std::max(length, leastToShow * std::sqrt(result_.chiSquared));
        GoOn();
        // Where a barrier holds the fit, a lower one does; what the last one did is undone, unless
        // it is what the fit ended at.
        while (barrier_ > 0) {
            const bool isFollowed = result_.Converged() && barrier_ > nlsq_lastBarrier;
            if (isFollowed && !AreLeft(2))
                result_.end = nlsq_MostEvaluations;
            constexpr double lower = 0.1;
            Rebase(isFollowed && AreLeft(2) ? std::max(lower * barrier_, nlsq_lastBarrier) : 0);
            if (result_.Converged() && (barrier_ > 0 || !IsNearlyZero()))
                GoOn();
        }
        while (result_.Converged() && MovesToBound())
            GoOn();
        if (result_.Converged())
            HoldAtBounds();
    }

    std::span<const double> Variables() const noexcept { return q_; }
    std::span<const char> Held() const noexcept { return isHeld_; }
    nlsq_sResult& Result() noexcept { return result_; }

private:
    void GoOn() {
        while (!IsOver()) {
        }
    }

    /// Stands where it stood, with a barrier or without.
    void Rebase(double barrier) {
        equations_.SetBarrier(barrier);
        barrier_ = barrier;
        result_.chiSquared = equations_.Try(q_);
        ++result_.evaluations;
        equations_.Accept();
        LookAround();
        promised_ = infinity;
        pace_ = infinity;
    }

    /// F at `q`. Where it is left there for less than it is here, it is made anew for both.
    double TryAt(std::span<const double> q) {
        const double chiSquared = equations_.Try(q);
        ++result_.evaluations;
        if (!(chiSquared <= result_.chiSquared + 2 * Lost()) || equations_.Covers(q))
            return chiSquared;
        if (!AreLeft(2))
            return infinity;
        equations_.Cover(q_, q);
        const double here = equations_.Try(q_);
        ++result_.evaluations;
        if (!std::isfinite(here)) {
            equations_.Uncover();
            return infinity;
        }
        equations_.Accept();
        result_.chiSquared = here;
        LookAround();
        ++result_.evaluations;
        return equations_.Try(q);
    }

    /// One attempt at a step. Answers true when the fit has ended.
    bool IsOver() {
        if (result_.gradient <= control_.gradientTolerance && !Relaxes())
            return End(nlsq_GradientSmall);
        if (IsStopped())
            return End(nlsq_Stopped);
        if (!AreLeft(1))
            return End(nlsq_MostEvaluations);

        const auto solve = [&](std::span<const char> isHeld) {
            return equations_.Solve(damping_.Value(), scale_, isHeld, step_);
        };
        if (!SolveInside(solve, step_))
            return Reject(infinity);
        if (Length(step_) > longest_)
            return Reject(infinity);
        const bool isCut = PassesBound();
        const bool isToBound = isCut && GoesStraight();
        if (!isToBound)
            Walk();
        double promised = Promise(step_);
        double length = Length(step_) / std::max(Length(tried_), Length(q_));
        if (!(length > 0))
            return EndOfShortStep();
        // What rounding hides of the decrease, the promises show: they have to become smaller.
        // Those of a strongly damped step tell nothing.
        const double lost = Lost();
        // Of columns that are nearly parallel, rounding makes steps that lead away.
        if (promised < -lost)
            return Reject(length);
        // There is a lower one to come.
        if (barrier_ > nlsq_lastBarrier && !IsDamped() && !isToBound &&
            promised <= partOfBarrier * equations_.BarrierSize())
            return End(nlsq_DecreaseSmall);
        const double pace = isCut ? infinity : promised / promised_;
        if (!IsDamped() && !isToBound &&
            (promised <= control_.decreaseTolerance * result_.chiSquared ||
             Remainder(promised, std::max(pace, pace_)) <=
                 control_.remainderTolerance * result_.chiSquared)) {
            if (Relaxes())
                return false;
            // Not worth an evaluation, but free, unless it may lead to where there is no value, or
            // rounding made it.
            if (!IsNearlyZero() && promised >= 0)
                Take(promised, length);
            return End(nlsq_DecreaseSmall);
        }

        if (!isCut && !IsDamped() && IsSlow(pace) && --untilLeap_ < 0) {
            if (Leaps(promised, length, pace, lost))
                return !IsToGoOn() && End(nlsq_StoppedByObserver);
            // What was of no use is not worth trying as often.
            leapless_ = 2 * leapless_ + 2;
            untilLeap_ = leapless_;
            if (IsStopped())
                return End(nlsq_Stopped);
        }

        double chiSquared = TryAt(tried_);
        bool isShortened = false;
        constexpr int mostTimes = 3;
        for (int times = 0;
             !std::isfinite(chiSquared) && times < mostTimes && AreLeft(1) && !IsStopped();
             ++times) {
            const double part = equations_.PositivePart(q_, tried_);
            // A model that is far below 0 there is not nearly linear on the way: less of a step
            // comes from more damping.
            if (!(part > leastPart))
                break;
            Shorten(almost * part);
            promised = Promise(step_);
            length *= almost * part;
            chiSquared = TryAt(tried_);
            isShortened = true;
        }
        const double decrease = result_.chiSquared - chiSquared;
        const bool isLost = std::fabs(promised) <= lost && (isToBound || !IsDamped());
        // There are only so many bounds to come to without a decrease.
        const bool isNext = isToBound ? toBounds_ <= q_.size() : promised < promised_;
        const bool isBetter = isLost ? std::fabs(decrease) <= 2 * lost && isNext : decrease > 0;
        if (!isBetter && isLost && !isToBound)
            return !Relaxes() && End(nlsq_DecreaseSmall);
        if (!isBetter)
            return Reject(length);

        damping_.Accept(isLost || !(promised > 0) ? 1 : decrease / promised);
        longest_ *= 4;
        if (promised_ < infinity)
            pace_ = pace;
        promised_ = promised;
        if (isToBound)
            promised_ = infinity;
        toBounds_ = isToBound && isLost ? toBounds_ + 1 : 0;
        equations_.Accept();
        Take(promised, length);
        result_.chiSquared = chiSquared;
        isRelaxed_ = isRelaxed_ && decrease <= lost;
        hasBeenShortened_ = hasBeenShortened_ || isShortened;
        LookAround();
        // Where the data push a value to 0, what is left of it shortens all steps.
        if (isShortened && barrier_ == 0 && equations_.IsBelow(belowBarrier) && AreLeft(2) &&
            !IsStopped())
            Rebase(nlsq_firstBarrier);
        if (!IsToGoOn())
            return End(nlsq_StoppedByObserver);
        return !isToBound && length <= control_.stepTolerance && EndOfShortStep();
    }

    /// Solves for a step by what is told to hold variables, among those that are not at a bound
    /// which it would take them through.
    template<class Solves>
    bool SolveInside(Solves solves, std::span<const double> step) {
        isHeldNow_ = isHeld_;
        for (bool isInside = false; !isInside;) {
            if (!solves(isHeldNow_))
                return false;
            isInside = true;
            for (std::size_t j = 0; j < q_.size(); ++j)
                if ((IsAtLower(j) && step[j] < 0) || (IsAtUpper(j) && step[j] > 0)) {
                    isHeldNow_[j] = 1;
                    isInside = false;
                }
        }
        return true;
    }

    void Take(double promised, double length) {
        std::swap(q_, tried_);
        std::swap(step_, last_);
        result_.step = length;
        result_.decrease = result_.chiSquared > 0 ? promised / result_.chiSquared : 0;
        ++result_.iterations;
    }

    /// What is left to gain after a step that promises so much, when promises shrink at this pace.
    static double Remainder(double promised, double pace) {
        const double rest = std::sqrt(pace);
        return rest < 1 ? promised * pace / ((1 - rest) * (1 - rest)) : infinity;
    }

    /// Whether each of the last steps left most of the distance.
    bool IsSlow(double pace) const noexcept {
        constexpr double slow = 0.5;
        return pace > slow && pace_ > slow && pace < 1;
    }

    /// Where the curvature is not that of the equations, all steps are too short by the same part,
    /// or too long and lead to and fro. Goes as far as all of them would have led, or almost to
    /// where the model is no longer positive, if that gains more than one of them.
    bool Leaps(double promised, double length, double pace, double lost) {
        constexpr double farthest = 1000;
        double rest = 0;
        for (std::size_t j = 0; j < q_.size(); ++j)
            rest += step_[j] * scale_[j] * (last_[j] * scale_[j]);
        rest = std::copysign(std::sqrt(pace), rest);
        double factor = std::min(1 / (1 - rest), farthest);
        if (!CanLeap(factor))
            return false;
        double chiSquared = TryAt(leap_);
        if (!std::isfinite(chiSquared)) {
            if (IsStopped())
                return false;
            factor *= almost * equations_.PositivePart(q_, leap_);
            if (!(factor > 1) || !CanLeap(factor))
                return false;
            chiSquared = TryAt(leap_);
        }
        const double decrease = result_.chiSquared - chiSquared;
        const bool isBetter = promised <= lost ? decrease >= -2 * lost && promised < promised_
                                               : decrease > (1 + rest) * promised;
        if (!isBetter)
            return false;
        equations_.Accept();
        std::swap(tried_, leap_);
        for (double& element : step_)
            element *= factor;
        Take(promised, factor * length);
        result_.chiSquared = chiSquared;
        // Paces count from here.
        promised_ = promised;
        pace_ = infinity;
        leapless_ = 0;
        untilLeap_ = 0;
        LookAround();
        return true;
    }

    /// Whether so many steps at once stay within the bounds, and leave an evaluation for one alone.
    bool CanLeap(double factor) {
        for (std::size_t j = 0; j < q_.size(); ++j) {
            leap_[j] = q_[j] + factor * step_[j];
            if (!(leap_[j] >= parameters_.Lower()[j] && leap_[j] <= parameters_.Upper()[j]))
                return false;
        }
        return AreLeft(2);
    }

    bool IsNearlyZero() const noexcept { return equations_.IsBelow(nlsq_nearlyZero); }
    bool IsStopped() const noexcept { return control_.stop.stop_requested(); }

    /// Whether so many evaluations are allowed yet, beside that which takes a barrier away.
    bool AreLeft(int evaluations) const noexcept {
        return evaluations + (barrier_ > 0 ? 1 : 0) <=
               control_.mostEvaluations - result_.evaluations;
    }

    bool IsDamped() const noexcept { return damping_.Value() >= 1; }

    /// What rounding hides of chi-squared.
    double Lost() const {
        return std::max(lostDecrease * result_.chiSquared,
                        32 * equations_.Rounding(result_.chiSquared));
    }

    /// What the way without damping promises, NaN where there is none.
    double WholePromise() {
        const auto solve = [&](std::span<const char> isHeld) {
            return equations_.SolveWhole(isHeld, whole_);
        };
        return SolveInside(solve, whole_) ? Promise(whole_)
                                          : std::numeric_limits<double>::quiet_NaN();
    }

    /// A promise that is not worth a step.
    double Nothing() const {
        return std::max(Lost(), std::max(control_.decreaseTolerance, control_.remainderTolerance) *
                                    result_.chiSquared);
    }

    /// Whether it is only the damping that leaves nothing to gain, as where a direction changes the
    /// model little beside the columns' norms. Takes away so much of it that the step goes almost
    /// all the way; answers no where that has been tried since there was something to gain.
    bool Relaxes() {
        if (isRelaxed_)
            return false;
        const double promised = WholePromise();
        if (!(promised > Nothing()))
            return false;
        const double length = Length(whole_);
        constexpr double part = 0.01;
        const double most = part * promised / (length * length);
        if (!(most > 0) || !(most < damping_.Value()))
            return false;
        damping_.Relax(most);
        isRelaxed_ = true;
        promised_ = infinity;
        pace_ = infinity;
        return true;
    }

    /// The damping alone makes any step short: there was nothing to gain only if there is nothing
    /// left but rounding.
    bool EndOfShortStep() {
        if (Relaxes())
            return false;
        constexpr double muchRounding = 1000;
        const bool isRounding =
            result_.chiSquared <= muchRounding * equations_.Rounding(result_.chiSquared);
        const bool isOver = !IsDamped() || isRounding || WholePromise() <= Nothing();
        return End(isOver ? nlsq_StepSmall : nlsq_NoDecrease);
    }

    /// What a bound holds, the units of the step, and how steep it still is.
    void LookAround() {
        const std::span<const double> gradient = equations_.Gradient();
        const std::span<const double> norms = equations_.Norms();
        // Weights there are those of the edge, in whatever parameters.
        const bool isAtEdge = hasBeenShortened_ && IsNearlyZero();
        for (std::size_t j = 0; j < q_.size(); ++j) {
            isHeld_[j] =
                static_cast<char>(isPinned_[j] != 0 || (IsAtLower(j) && gradient[j] <= 0) ||
                                  (IsAtUpper(j) && gradient[j] >= 0));
            if (!isAtEdge || scale_[j] == 0)
                scale_[j] = std::max(scale_[j], norms[j]);
        }
        result_.gradient = 0;
        const double length = std::sqrt(result_.chiSquared);
        for (std::size_t j = 0; j < q_.size(); ++j)
            if (!isHeld_[j] && norms[j] > 0 && length > 0)
                result_.gradient =
                    std::max(result_.gradient, std::fabs(gradient[j]) / norms[j] / length);
    }

    bool IsAtLower(std::size_t j) const { return q_[j] <= parameters_.Lower()[j]; }
    bool IsAtUpper(std::size_t j) const { return q_[j] >= parameters_.Upper()[j]; }

    /// Puts on its bound what ended so near that nothing is lost by it once the others make up for
    /// the way: there the curvature, and with it the error, tells nothing. Answers whether there
    /// was any.
    bool MovesToBound() {
        if (IsNearlyZero())
            return false;
        const std::size_t count = q_.size();
        std::vector<double> inverse;
        for (std::size_t j = 0; j < count; ++j) {
            const double down = parameters_.Lower()[j] - q_[j];
            const double up = parameters_.Upper()[j] - q_[j];
            const double way = -down < up ? down : up;
            // The others hardly make up for more, and a covariance takes its time.
            constexpr double near = 0.01;
            if (isHeld_[j] || way == 0 ||
                !(std::fabs(way) * equations_.Norms()[j] <= near * std::sqrt(result_.chiSquared)))
                continue;
            if (!AreLeft(2) || IsStopped())
                return false;
            if (inverse.empty())
                inverse = equations_.Covariance(isHeld_).matrix;
            const double variance = inverse[j * count + j];
            if (!(way * way <= Lost() * variance))
                continue;
            for (std::size_t i = 0; i < count; ++i)
                leap_[i] = WithinBounds(i, q_[i] + inverse[i * count + j] / variance * way);
            leap_[j] = -down < up ? parameters_.Lower()[j] : parameters_.Upper()[j];
            const double chiSquared = TryAt(leap_);
            if (!(chiSquared <= result_.chiSquared + Lost()))
                continue;
            equations_.Accept();
            std::swap(q_, leap_);
            result_.chiSquared = chiSquared;
            isPinned_[j] = 1;
            LookAround();
            promised_ = infinity;
            pace_ = infinity;
            return true;
        }
        return false;
    }

    /// Where there is nothing to gain, the sign of a gradient may be one of rounding.
    void HoldAtBounds() {
        for (std::size_t j = 0; j < q_.size(); ++j)
            if ((IsAtLower(j) || IsAtUpper(j)) && equations_.Norms()[j] > 0)
                isHeld_[j] = 1;
    }

    /// By how much a step lowers chi-squared, were the model linear.
    double Promise(std::span<const double> step) const {
        return 2 * dot(equations_.Gradient(), step) - equations_.Curvature(step);
    }

    /// Whether the step leads out of the bounds.
    bool PassesBound() const {
        for (std::size_t j = 0; j < q_.size(); ++j)
            if (q_[j] + step_[j] < parameters_.Lower()[j] ||
                q_[j] + step_[j] > parameters_.Upper()[j])
                return true;
        return false;
    }

    double WithinBounds(std::size_t j, double q) const {
        return std::clamp(q, parameters_.Lower()[j], parameters_.Upper()[j]);
    }

    /// What a bound cuts off a step, others may have counted on. Goes straight to the first bound
    /// where that promises more than to cut off each; answers whether it does.
    bool GoesStraight() {
        double part = 1;
        std::size_t first = 0;
        double bound = 0;
        for (std::size_t j = 0; j < q_.size(); ++j) {
            const double end = step_[j] < 0 ? parameters_.Lower()[j] : parameters_.Upper()[j];
            if (std::fabs(end - q_[j]) < part * std::fabs(step_[j])) {
                part = (end - q_[j]) / step_[j];
                first = j;
                bound = end;
            }
            leap_[j] = WithinBounds(j, q_[j] + step_[j]) - q_[j];
        }
        const double straight =
            part * (2 * dot(equations_.Gradient(), step_) - part * equations_.Curvature(step_));
        if (!(straight > Promise(leap_)))
            return false;
        for (std::size_t j = 0; j < q_.size(); ++j)
            tried_[j] = WithinBounds(j, q_[j] + part * step_[j]);
        tried_[first] = bound;
        for (std::size_t j = 0; j < q_.size(); ++j)
            step_[j] = tried_[j] - q_[j];
        return true;
    }

    /// Where the step leads, between the bounds.
    void Walk() {
        for (std::size_t j = 0; j < q_.size(); ++j) {
            tried_[j] = WithinBounds(j, q_[j] + step_[j]);
            step_[j] = tried_[j] - q_[j];
        }
    }

    void Shorten(double part) {
        for (std::size_t j = 0; j < q_.size(); ++j) {
            step_[j] *= part;
            tried_[j] = q_[j] + step_[j];
        }
    }

    double Length(std::span<const double> q) const {
        double sum = 0;
        for (std::size_t j = 0; j < q.size(); ++j)
            sum += q[j] * scale_[j] * (q[j] * scale_[j]);
        return std::sqrt(sum);
    }

    bool Reject(double length) {
        if (length <= control_.stepTolerance)
            return EndOfShortStep();
        damping_.Reject();
        constexpr double mostDamping = 1e200;
        return !(damping_.Value() < mostDamping) && End(nlsq_NoDecrease);
    }

    bool IsToGoOn() {
        if (!control_.observer)
            return true;
        parameters_.Expand(q_, all_);
        return control_.observer({result_.iterations, result_.evaluations, result_.chiSquared,
                                  damping_.Value(), all_}) == nlsq_Continue;
    }

    bool End(nlsq_eEnd end) {
        result_.end = end;
        return true;
    }

    nlsq_cEquations& equations_;
    const nlsq_cParameters& parameters_;
    const nlsq_sControl& control_;
    nlsq_cDamping damping_;
    std::vector<double> q_;
    std::vector<double> tried_;
    std::vector<double> leap_;
    std::vector<double> step_;
    std::vector<double> last_;  // the step before
    std::vector<double> whole_; // the way without damping
    std::vector<double> scale_;
    std::vector<char> isHeld_;
    std::vector<char> isHeldNow_; // for one step
    std::vector<char> isPinned_;  // put on a bound at the end
    std::vector<double> all_;
    bool hasBeenShortened_ = false;
    std::size_t toBounds_ = 0; // steps to one without a decrease
    bool isRelaxed_ = false;   // since there was something to gain
    int leapless_ = 0;         // slow steps after the last leap that was of no use
    int untilLeap_ = 0;
    double barrier_ = 0; // part of the mean
    double longest_ = 0;
    double promised_ = infinity; // by the last step
    double pace_ = infinity;     // of that, beside the one before
    nlsq_sResult result_;
};

} // namespace

double nlsq_cEquations::PositivePart(std::span<const double>, std::span<const double>) { return 0; }

void nlsq_CheckControl(const nlsq_sControl& control) {
    const bool isUsable = control.gradientTolerance >= 0 && control.stepTolerance >= 0 &&
                          control.decreaseTolerance >= 0 && control.remainderTolerance >= 0 &&
                          control.mostEvaluations > 0;
    refuse.If(!isUsable, 12, "A tolerance is negative, or no evaluation is allowed.");
}

void nlsq_CheckChoices(nlsq_eObjective objective, nlsq_eErrors errors) {
    refuse.If(objective < nlsq_LeastSquares || objective > nlsq_PoissonLikelihood ||
                  errors < nlsq_ErrorsByDefault || errors > nlsq_ErrorsFromScatter,
              15, "There is no such objective, kind of errors or kind of parameter.");
}

void nlsq_CheckSize(double largest) {
    constexpr double large = 0x1p480;
    refuse.If(largest > large || (largest > 0 && largest < 1 / large), 14,
              "The values are too large or too small to be squared: use other units.");
}

void nlsq_Conclude(nlsq_cEquations& equations, const nlsq_cParameters& parameters,
                   std::span<const double> q, std::span<const char> isHeld, std::size_t points,
                   bool isScaled, int mostEvaluations, nlsq_sResult& result) {
    const std::size_t all = parameters.All();
    const std::size_t varying = parameters.Varying();
    result.parameters.resize(all);
    parameters.Expand(q, result.parameters);
    result.standardErrors.assign(all, 0);
    result.covariance.assign(all * all, 0);
    if (result.end == nlsq_NoValue)
        return;

    result.free = static_cast<int>(
        varying - static_cast<std::size_t>(std::count(isHeld.begin(), isHeld.end(), char{1})));
    nlsq_sCovariance inverse = equations.Covariance(isHeld);
    if (inverse.rank < result.free && result.evaluations < mostEvaluations &&
        equations.BringsOutMore()) {
        ++result.evaluations;
        if (std::isfinite(equations.Try(q))) {
            equations.Accept();
            inverse = equations.Covariance(isHeld);
        }
    }
    result.rank = inverse.rank;
    result.degreesOfFreedom = std::max(0, static_cast<int>(points) - result.rank);
    for (std::size_t j = 0; j < varying; ++j)
        if (isHeld[j])
            result.atBound.push_back(static_cast<int>(parameters.ParameterOf(j)));

    const double factor = isScaled ? result.ReducedChiSquared() : 1;
    for (std::size_t i = 0; i < all; ++i) {
        const nlsq_cParameters::sLink& a = parameters.LinkOf(i);
        if (a.variable == nlsq_cParameters::none)
            continue;
        if (inverse.isIncomplete[a.variable])
            result.undetermined.push_back(static_cast<int>(i));
        for (std::size_t j = 0; j < all; ++j) {
            const nlsq_cParameters::sLink& b = parameters.LinkOf(j);
            if (b.variable != nlsq_cParameters::none && !isHeld[a.variable] && !isHeld[b.variable])
                result.covariance[i * all + j] =
                    factor *
                    (a.factor * b.factor * inverse.matrix[a.variable * varying + b.variable]);
        }
        result.standardErrors[i] = std::sqrt(result.covariance[i * all + i]);
    }
}

nlsq_sResult nlsq_Minimise(nlsq_cEquations& equations, const nlsq_cParameters& parameters,
                           const nlsq_sControl& control, std::size_t points, bool isScaled) {
    cFit fit(equations, parameters, control);
    fit.Run();
    nlsq_Conclude(equations, parameters, fit.Variables(), fit.Held(), points, isScaled,
                  control.mostEvaluations, fit.Result());
    return fit.Result();
}

} // namespace dataprocessing::detail
