#pragma once

/// @file
/// Nonlinear least squares by the Levenberg-Marquardt method.

#include <cstddef>
#include <span>
#include <vector>

namespace dataprocessing::detail {

/// A model y(x; a) with its derivatives.
class mrqm_cModel {
public:
    virtual ~mrqm_cModel() = default;

    /// Returns y at `x` for the parameters `a`, addressed from 1. Lists the parameters on which y
    /// depends here in `touched` (their indices, from 1, each once) and writes their derivatives to
    /// `dyda`, addressed from 1.
    virtual double Evaluate(double x, const double* a, double* dyda, std::vector<int>& touched) = 0;
};

/// One fit: the points, which parameters vary, and the state between steps.
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

    /// One step: solves the normal equations, their diagonal raised by the factor 1 + Lambda(), and
    /// takes the new parameters when they lower chi-squared, dividing lambda by 10; otherwise
    /// multiplies it by 10. The first step begins with lambda 0.001. Throws rcps_cRecipesException
    /// when the equations are singular.
    void Step();
    /// Computes the covariance matrix from the equations as they are. Throws as Step.
    void Finish();

    /// The parameters, from index 0.
    std::span<const double> Parameters() const noexcept {
        return std::span(parameters_).subspan(1);
    }
    /// The sum of the squared, weighted residuals at Parameters().
    double ChiSquared() const noexcept { return chiSquared_; }
    /// The damping; -1 before the first step.
    double Lambda() const noexcept { return lambda_; }
    /// Element (i, j) of the covariance matrix, from index 0; 0 for a parameter that is fixed.
    /// Valid after Finish().
    double Covariance(int i, int j) const;

private:
    /// The normal equations of the fitted parameters at some place, addressed from 0.
    struct sEquations {
        std::vector<double> curvature;
        std::vector<double> gradient;
        double chiSquared = 0;
    };

    void Evaluate(const std::vector<double>& parameters, sEquations& equations);
    void Solve();
    double& At(std::vector<double>& matrix, std::size_t row, std::size_t column) const {
        return matrix[row * fitted_.size() + column];
    }

    std::span<const double> x_;
    std::span<const double> y_;
    std::span<const double> sig_;
    mrqm_cModel& model_;

    std::vector<double> parameters_; // from 1
    std::vector<double> trial_;      // from 1
    std::vector<int> fitted_;        // the parameters that vary, from 1
    std::vector<int> place_;         // of a parameter in fitted_, or -1
    std::vector<double> derivatives_;
    std::vector<int> touched_;

    sEquations current_;
    sEquations tried_;
    std::vector<double> matrix_; // augmented curvature; after Solve its inverse
    std::vector<double> step_;
    std::vector<int> pivotRow_;
    std::vector<int> pivotColumn_;
    std::vector<char> isUsed_;
    double chiSquared_ = 0;
    double lambda_ = -1;
};

} // namespace dataprocessing::detail
