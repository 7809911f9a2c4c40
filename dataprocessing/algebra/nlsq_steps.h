#pragma once

/// @file
/// The steps of a nonlinear fit, whatever its equations are made of.

#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "dataprocessing/algebra/nlsq.h"
#include "dataprocessing/algebra/nlsq_covariance.h"
#include "dataprocessing/algebra/nlsq_parameters.h"

namespace dataprocessing::detail {

/// A value below this part of the mean of the counts is next to nothing.
inline constexpr double nlsq_nearlyZero = 1e-6;
/// Barriers: parts of the mean of the counts that are added to channels without any, one after the
/// other, from the first to the last.
inline constexpr double nlsq_firstBarrier = 1e-2;
inline constexpr double nlsq_lastBarrier = 1e-7;

/// The part of the way from a positive value to another on which it stays positive; infinite where
/// that is all of it, 0 for no number.
constexpr double nlsq_PositivePart(double from, double to) noexcept {
    if (to > 0)
        return std::numeric_limits<double>::infinity();
    return to <= 0 ? from / (from - to) : 0;
}

/// The damping of the steps of one fit: it follows how well the promise of each was kept.
class nlsq_cDamping {
public:
    /// The factor of D^2.
    double Value() const noexcept { return value_; }
    /// A step was taken that lowered chi-squared by `ratio` of what it promised.
    void Accept(double ratio) noexcept {
        const double t = 2 * ratio - 1;
        const double factor = 1 - t * t * t;
        value_ *= factor > 1.0 / 3 ? factor : 1.0 / 3;
        growth_ = 2;
    }
    /// A step was of no use.
    void Reject() noexcept {
        value_ *= growth_;
        growth_ *= 2;
    }
    /// Steps are to be those of no more than this damping.
    void Relax(double most) noexcept {
        value_ = value_ < most ? value_ : most;
        growth_ = 2;
    }

private:
    double value_ = 1e-3;
    double growth_ = 2;
};

/// The equations of a fit: chi-squared F(q) and its quadratic model at two places, where the fit
/// stands and where it tries to go.
class nlsq_cEquations {
public:
    virtual ~nlsq_cEquations() = default;

    /// Goes to `q` to try it; returns F there, or infinity where it has no value.
    virtual double Try(std::span<const double> q) = 0;
    /// Stands where it tried.
    virtual void Accept() noexcept = 0;

    /// Whether F leaves nothing out at `q`, where it has been tried.
    virtual bool Covers(std::span<const double>) const { return true; }
    /// Makes F anew, so that it leaves nothing out from one place to another. What it is where it
    /// stands has to be tried again.
    virtual void Cover(std::span<const double>, std::span<const double>) {}
    /// Makes F what it was before the last Cover().
    virtual void Uncover() {}

    /// After a Try without a value: the part of the way to `to` from `from`, where there is one, on
    /// which the values of the model stay positive, were it linear. 0 where that is not what is
    /// missing.
    virtual double PositivePart(std::span<const double> from, std::span<const double> to);
    /// Whether a value of the model, which has to be positive, is below this part of the mean of
    /// the data where it stands.
    virtual bool IsBelow(double) const noexcept { return false; }
    /// Puts a barrier before values of 0, by adding this part of the mean to channels without
    /// counts, or takes it away by adding nothing. Counts from the next Try on.
    virtual void SetBarrier(double) {}
    /// About how far the barrier keeps F from where it is smallest without one.
    virtual double BarrierSize() const noexcept { return 0; }

    /// About how far off rounding may put an F of this size.
    virtual double Rounding(double chiSquared) const noexcept = 0;

    /// J'W(y - f), minus half of the gradient of F, where it stands.
    virtual std::span<const double> Gradient() const noexcept = 0;
    /// The norms of the columns of W^1/2 J where it stands.
    virtual std::span<const double> Norms() const noexcept = 0;
    /// Sets `step` to the solution h of (J'WJ + damping diag(scale)^2) h = J'W(y - f) where it
    /// stands, for the variables that are not held; 0 for those. Answers false when that has no
    /// solution.
    virtual bool Solve(double damping, std::span<const double> scale, std::span<const char> isHeld,
                       std::span<double> step) = 0;
    /// Sets `step` to the solution without damping, in the directions that the columns tell apart.
    /// Answers false where rounding hides it.
    virtual bool SolveWhole(std::span<const char> isHeld, std::span<double> step) = 0;
    /// h'J'WJh where it stands.
    virtual double Curvature(std::span<const double> step) const noexcept = 0;
    /// Whether a Try may bring out directions that the covariance, where it stands, lost in
    /// rounding.
    virtual bool BringsOutMore() { return false; }
    /// The inverse of J'WJ where it stands, among those that are not held.
    virtual nlsq_sCovariance Covariance(std::span<const char> isHeld) = 0;
};

/// Takes the equations to where chi-squared is smallest, and makes the result of it. `points` take
/// part; the covariance is multiplied by the reduced chi-squared when `isScaled`.
nlsq_sResult nlsq_Minimise(nlsq_cEquations& equations, const nlsq_cParameters& parameters,
                           const nlsq_sControl& control, std::size_t points, bool isScaled);

/// Fills in what a result tells of a fit that ended at `q`, by another evaluation where that is
/// needed and allowed.
void nlsq_Conclude(nlsq_cEquations& equations, const nlsq_cParameters& parameters,
                   std::span<const double> q, std::span<const char> isHeld, std::size_t points,
                   bool isScaled, int mostEvaluations, nlsq_sResult& result);

/// Refuses tolerances that mean nothing.
void nlsq_CheckControl(const nlsq_sControl& control);

/// Refuses numbers that are none of the enumerators.
void nlsq_CheckChoices(nlsq_eObjective objective, nlsq_eErrors errors);

/// Refuses values of which the largest, over its deviation, is `largest`, where squares would leave
/// the numbers that there are.
void nlsq_CheckSize(double largest);

} // namespace dataprocessing::detail
