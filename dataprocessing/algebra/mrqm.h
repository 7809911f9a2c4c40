#pragma once

/// @file
/// Nonlinear least squares by the Levenberg-Marquardt method.

#include <cstddef>
#include <span>
#include <vector>

namespace dataprocessing::detail {

/// A part of the derivative of a model with respect to one of its parameters.
struct mrqm_sPartial {
    std::size_t parameter;
    double value;
};

/// A model y(x; a) with its derivatives.
class mrqm_cModel {
public:
    virtual ~mrqm_cModel() = default;

    /// Prepares for evaluations with the parameters `a`. Answers false when the model has no value
    /// for them.
    virtual bool Begin(std::span<const double> a) = 0;
    /// Returns y at `x` for the parameters `a`, and appends its derivatives to `partials`, which is
    /// empty. Parameters that are not listed have none; what is listed for the same one adds up. No
    /// more entries than parameters.
    virtual double Evaluate(double x, std::span<const double> a,
                            std::vector<mrqm_sPartial>& partials) = 0;
};

/// When a fit ends.
struct mrqm_sOptions {
    /// With the first step that was not rejected and has changed chi-squared by no more than this
    /// part of it.
    double change = 0;
    /// Where it is above 0, also with the first step that was expected to lower chi-squared by no
    /// more than its square: which is to say, this many standard errors from the optimum.
    double distance = 0;
    /// After so many steps, whatever they have brought.
    int maxIterations = 0;
};

/// Why a fit has ended.
enum mrqm_eEnd {
    mrqm_SmallChange,      ///< chi-squared has changed by no more than mrqm_sOptions::change
    mrqm_Optimum,          ///< the optimum is no further than mrqm_sOptions::distance
    mrqm_NoLowerStep,      ///< no step, however short, lowers chi-squared
    mrqm_TooManyIterations ///< mrqm_sOptions::maxIterations were not enough
};

/// What a fit has come to.
struct mrqm_sResult {
    int iterations = 0;
    mrqm_eEnd why = mrqm_TooManyIterations;
    /// The sum of the squared, weighted residuals; 0 before the first step.
    double chiSquared = 0;
    /// How far the optimum is by the equations at the end, in standard errors; 0 after too many
    /// iterations.
    double distance = 0;
};

/// One fit: the points, which parameters vary, and the state between steps. Each point costs the
/// square of the number of parameters that it depends on. Steps allocate nothing.
///
/// Source: D. W. Marquardt, An algorithm for least-squares estimation of nonlinear parameters, SIAM
/// Journal 11 (1963).
class mrqm_cFit {
public:
    /// A fit of the parameters `a`, of which those with a nonzero entry in `isFitted` vary, to the
    /// points (x[i], y[i]) with the standard deviations sig[i]. The points must outlive the fit.
    /// Evaluates nothing yet.
    mrqm_cFit(std::span<const double> x, std::span<const double> y, std::span<const double> sig,
              std::span<const double> a, std::span<const int> isFitted, mrqm_cModel& model);

    /// Steps from Parameters() on, as if none had been done, until one of `options` ends it, and
    /// then computes the covariance matrix from the equations as they are, unless there were too
    /// many.
    ///
    /// A step solves the normal equations, their diagonal raised by the factor 1 + lambda, and
    /// takes the new parameters when they lower chi-squared, dividing lambda by 10; otherwise it
    /// multiplies lambda by 10. The first one has lambda 0.001. Parameters for which the model has
    /// no value are worse than any others. Throws rcps_cRecipesException when the equations are
    /// singular: when of a diagonal element nothing is left but rounding once the equations before
    /// it are taken away.
    mrqm_sResult Solve(const mrqm_sOptions& options);

    /// The parameters.
    std::span<const double> Parameters() const noexcept { return parameters_; }
    /// Element (i, j) of the covariance matrix; 0 for a parameter that is fixed. Valid after
    /// a Solve() that has not ended by too many steps.
    double Covariance(std::size_t i, std::size_t j) const;

private:
    /// The normal equations of the fitted parameters at some place.
    struct sEquations {
        std::vector<double> curvature;
        std::vector<double> gradient;
        double chiSquared = 0;
    };
    static constexpr std::size_t fixed = static_cast<std::size_t>(-1);

    void Step();
    void Evaluate(std::span<const double> parameters, sEquations& equations);
    void SolveEquations(double lambda);
    double& At(std::vector<double>& matrix, std::size_t row, std::size_t column) const {
        return matrix[row * fitted_.size() + column];
    }

    std::span<const double> x_;
    std::span<const double> y_;
    std::vector<double> weights_; // 1 / sig^2
    mrqm_cModel& model_;

    std::vector<double> parameters_;
    std::vector<double> trial_;
    std::vector<std::size_t> fitted_; // the parameters that vary
    std::vector<std::size_t> place_;  // of each parameter in fitted_
    std::vector<mrqm_sPartial> partials_;

    sEquations current_;
    sEquations tried_;
    std::vector<double> matrix_; // augmented curvature; after SolveEquations its inverse
    std::vector<double> diagonal_;
    std::vector<double> step_;
    std::vector<char> isUsed_;
    double lambda_ = -1;  // before the first step
    double expected_ = 0; // by how much step_ should lower chi-squared
};

} // namespace dataprocessing::detail
