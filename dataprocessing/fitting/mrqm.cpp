#include "dataprocessing/fitting/mrqm.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "dataprocessing/fitting/rcps_exception.h"

rcps_cRecipesException::rcps_cRecipesException()
    : expt_cUserException("recipes", 0, "Singular matrix.") {}

rcps_cRecipesException::~rcps_cRecipesException() = default;

namespace dataprocessing::detail {

mrqm_cFit::mrqm_cFit(std::span<const double> x, std::span<const double> y,
                     std::span<const double> sig, std::span<const double> a,
                     std::span<const int> isFitted, mrqm_cModel& model)
    : x_(x), y_(y), sig_(sig), model_(model), parameters_(a.size() + 1), place_(a.size() + 1, -1),
      derivatives_(a.size() + 1) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        parameters_[i + 1] = a[i];
        if (isFitted[i] != 0) {
            place_[i + 1] = static_cast<int>(fitted_.size());
            fitted_.push_back(static_cast<int>(i + 1));
        }
    }
    trial_ = parameters_;
    touched_.reserve(parameters_.size());
    const std::size_t count = fitted_.size();
    for (sEquations* equations : {&current_, &tried_}) {
        equations->curvature.resize(count * count);
        equations->gradient.resize(count);
    }
    matrix_.resize(count * count);
    step_.resize(count);
    pivotRow_.resize(count);
    pivotColumn_.resize(count);
    isUsed_.resize(count);
}

void mrqm_cFit::Step() {
    if (lambda_ < 0) {
        lambda_ = 0.001;
        Evaluate(parameters_, current_);
        chiSquared_ = current_.chiSquared;
    }
    Solve();
    for (std::size_t j = 0; j < fitted_.size(); ++j) {
        const std::size_t parameter = static_cast<std::size_t>(fitted_[j]);
        trial_[parameter] = parameters_[parameter] + step_[j];
    }
    Evaluate(trial_, tried_);
    if (tried_.chiSquared < chiSquared_) {
        lambda_ *= 0.1;
        parameters_ = trial_;
        std::swap(current_, tried_);
        chiSquared_ = current_.chiSquared;
    } else {
        lambda_ *= 10.0;
    }
}

void mrqm_cFit::Finish() {
    lambda_ = 0;
    Solve();
}

double mrqm_cFit::Covariance(int i, int j) const {
    const int row = place_[static_cast<std::size_t>(i) + 1];
    const int column = place_[static_cast<std::size_t>(j) + 1];
    if (row < 0 || column < 0)
        return 0;
    return matrix_[static_cast<std::size_t>(row) * fitted_.size() +
                   static_cast<std::size_t>(column)];
}

void mrqm_cFit::Evaluate(const std::vector<double>& parameters, sEquations& equations) {
    std::fill(equations.curvature.begin(), equations.curvature.end(), 0.0);
    std::fill(equations.gradient.begin(), equations.gradient.end(), 0.0);
    equations.chiSquared = 0;
    const auto derivative = [&](int parameter) {
        return derivatives_[static_cast<std::size_t>(parameter)];
    };
    const auto placeOf = [&](int parameter) { return place_[static_cast<std::size_t>(parameter)]; };

    for (std::size_t i = 0; i < x_.size(); ++i) {
        touched_.clear();
        const double residual =
            y_[i] - model_.Evaluate(x_[i], parameters.data(), derivatives_.data(), touched_);
        const double weight = 1.0 / (sig_[i] * sig_[i]);
        for (const int p : touched_) {
            if (placeOf(p) < 0)
                continue;
            const std::size_t row = static_cast<std::size_t>(placeOf(p));
            const double weighted = derivative(p) * weight;
            equations.gradient[row] += residual * weighted;
            for (const int q : touched_)
                if (placeOf(q) >= 0)
                    At(equations.curvature, row, static_cast<std::size_t>(placeOf(q))) +=
                        weighted * derivative(q);
        }
        equations.chiSquared += residual * residual * weight;
    }
}

/// Gauss-Jordan elimination with full pivoting: step = matrix^-1 gradient, and the inverse stays in
/// the place of the matrix.
void mrqm_cFit::Solve() {
    const std::size_t count = fitted_.size();
    matrix_ = current_.curvature;
    step_ = current_.gradient;
    for (std::size_t j = 0; j < count; ++j)
        At(matrix_, j, j) *= 1.0 + lambda_;

    std::fill(isUsed_.begin(), isUsed_.end(), char{0});
    for (std::size_t round = 0; round < count; ++round) {
        double largest = 0;
        std::size_t row = count;
        std::size_t column = count;
        for (std::size_t r = 0; r < count; ++r)
            for (std::size_t c = 0; c < count; ++c)
                if (!isUsed_[r] && !isUsed_[c] && std::fabs(At(matrix_, r, c)) > largest) {
                    largest = std::fabs(At(matrix_, r, c));
                    row = r;
                    column = c;
                }
        // Nothing but zeros, or NaN.
        if (row == count)
            throw rcps_cRecipesException();

        isUsed_[column] = 1;
        if (row != column) {
            for (std::size_t c = 0; c < count; ++c)
                std::swap(At(matrix_, row, c), At(matrix_, column, c));
            std::swap(step_[row], step_[column]);
        }
        pivotRow_[round] = static_cast<int>(row);
        pivotColumn_[round] = static_cast<int>(column);

        const double inverse = 1.0 / At(matrix_, column, column);
        At(matrix_, column, column) = 1.0;
        for (std::size_t c = 0; c < count; ++c)
            At(matrix_, column, c) *= inverse;
        step_[column] *= inverse;
        for (std::size_t r = 0; r < count; ++r) {
            if (r == column)
                continue;
            const double factor = At(matrix_, r, column);
            At(matrix_, r, column) = 0.0;
            for (std::size_t c = 0; c < count; ++c)
                At(matrix_, r, c) -= At(matrix_, column, c) * factor;
            step_[r] -= step_[column] * factor;
        }
    }
    for (std::size_t round = count; round-- > 0;) {
        const std::size_t row = static_cast<std::size_t>(pivotRow_[round]);
        const std::size_t column = static_cast<std::size_t>(pivotColumn_[round]);
        if (row != column)
            for (std::size_t r = 0; r < count; ++r)
                std::swap(At(matrix_, r, row), At(matrix_, r, column));
    }
}

} // namespace dataprocessing::detail
