#include "dataprocessing/algebra/mrqm.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "dataprocessing/algebra/rcps_exception.h"

namespace dataprocessing::detail {

namespace {

constexpr double roundingOfPivot = 32 * std::numeric_limits<double>::epsilon();

} // namespace

mrqm_cFit::mrqm_cFit(std::span<const double> x, std::span<const double> y,
                     std::span<const double> sig, std::span<const double> a,
                     std::span<const int> isFitted, mrqm_cModel& model)
    : x_(x), y_(y), model_(model), parameters_(a.begin(), a.end()), trial_(parameters_),
      place_(a.size(), fixed) {
    weights_.reserve(sig.size());
    for (const double deviation : sig)
        weights_.push_back(1.0 / (deviation * deviation));
    for (std::size_t i = 0; i < a.size(); ++i)
        if (isFitted[i] != 0) {
            place_[i] = fitted_.size();
            fitted_.push_back(i);
        }
    partials_.reserve(a.size());
    const std::size_t count = fitted_.size();
    for (sEquations* equations : {&current_, &tried_}) {
        equations->curvature.resize(count * count);
        equations->gradient.resize(count);
    }
    matrix_.resize(count * count);
    diagonal_.resize(count);
    step_.resize(count);
    isUsed_.resize(count);
}

mrqm_sResult mrqm_cFit::Solve(const mrqm_sOptions& options) {
    lambda_ = -1;
    mrqm_sResult result;
    double change = 0;
    bool isRejected = false;
    bool isNear = false;
    do {
        if (result.iterations++ == options.maxIterations)
            return {options.maxIterations, mrqm_TooManyIterations, current_.chiSquared, 0};
        const double chiSquared = current_.chiSquared;
        const double lambda = lambda_;
        Step();
        change = std::fabs(chiSquared - current_.chiSquared) / current_.chiSquared;
        isRejected = lambda_ > lambda;
        isNear = options.distance > 0 && expected_ <= options.distance * options.distance;
        // A change that is not a number, of a chi-squared of zero, counts as none.
    } while ((change > options.change || isRejected) && !isNear);
    const bool isEndless = std::isinf(lambda_);
    SolveEquations(0);
    result.chiSquared = current_.chiSquared;
    result.distance = std::sqrt(std::max(expected_, 0.0));
    if (isNear)
        result.why = result.distance <= 2 * options.distance ? mrqm_Optimum : mrqm_NoLowerStep;
    else
        result.why = isEndless ? mrqm_NoLowerStep : mrqm_SmallChange;
    return result;
}

void mrqm_cFit::Step() {
    if (lambda_ < 0) {
        lambda_ = 0.001;
        Evaluate(parameters_, current_);
    }
    SolveEquations(lambda_);
    for (std::size_t j = 0; j < fitted_.size(); ++j)
        trial_[fitted_[j]] = parameters_[fitted_[j]] + step_[j];
    // A step that is lost in rounding is not worth a pass: chi-squared stays the same.
    const bool isMoved = trial_ != parameters_;
    if (isMoved)
        Evaluate(trial_, tried_);
    if (isMoved && tried_.chiSquared < current_.chiSquared) {
        lambda_ *= 0.1;
        parameters_ = trial_;
        std::swap(current_, tried_);
    } else {
        lambda_ *= 10.0;
    }
}

double mrqm_cFit::Covariance(std::size_t i, std::size_t j) const {
    if (place_[i] == fixed || place_[j] == fixed)
        return 0;
    return matrix_[place_[i] * fitted_.size() + place_[j]];
}

void mrqm_cFit::Evaluate(std::span<const double> parameters, sEquations& equations) {
    std::fill(equations.curvature.begin(), equations.curvature.end(), 0.0);
    std::fill(equations.gradient.begin(), equations.gradient.end(), 0.0);
    equations.chiSquared = 0;
    if (!model_.Begin(parameters)) {
        equations.chiSquared = std::numeric_limits<double>::infinity();
        return;
    }
    for (std::size_t i = 0; i < x_.size(); ++i) {
        partials_.clear();
        const double residual = y_[i] - model_.Evaluate(x_[i], parameters, partials_);
        equations.chiSquared += residual * residual * weights_[i];

        // Only those of fitted parameters stay, under their places.
        auto end = partials_.begin();
        for (const mrqm_sPartial& partial : partials_)
            if (place_[partial.parameter] != fixed)
                *end++ = {place_[partial.parameter], partial.value};
        partials_.erase(end, partials_.end());

        for (const mrqm_sPartial& p : partials_) {
            const double weighted = p.value * weights_[i];
            equations.gradient[p.parameter] += residual * weighted;
            // The lower triangle. Two parts of one derivative meet twice, as they should.
            for (const mrqm_sPartial& q : partials_)
                if (q.parameter <= p.parameter)
                    At(equations.curvature, p.parameter, q.parameter) += weighted * q.value;
        }
    }
    for (std::size_t row = 0; row < fitted_.size(); ++row)
        for (std::size_t column = 0; column < row; ++column)
            At(equations.curvature, column, row) = At(equations.curvature, row, column);
}

/// Gauss-Jordan elimination with full pivoting: step = matrix^-1 gradient, and the inverse stays in
/// the place of the matrix. In equations of least squares no element passes the largest one of the
/// diagonal, and so it remains while they are eliminated: that is where the pivot is looked for.
void mrqm_cFit::SolveEquations(double lambda) {
    const std::size_t count = fitted_.size();
    matrix_ = current_.curvature;
    step_ = current_.gradient;
    for (std::size_t j = 0; j < count; ++j)
        diagonal_[j] = At(matrix_, j, j) *= 1.0 + lambda;

    std::fill(isUsed_.begin(), isUsed_.end(), char{0});
    for (std::size_t round = 0; round < count; ++round) {
        double largest = 0;
        std::size_t pivot = count;
        for (std::size_t j = 0; j < count; ++j)
            if (!isUsed_[j] && std::fabs(At(matrix_, j, j)) > largest) {
                largest = std::fabs(At(matrix_, j, j));
                pivot = j;
            }
        // Nothing but zeros, or NaN, or the rounding of what was taken away.
        if (pivot == count || largest < roundingOfPivot * diagonal_[pivot])
            throw rcps_cRecipesException();

        isUsed_[pivot] = 1;
        const double inverse = 1.0 / At(matrix_, pivot, pivot);
        At(matrix_, pivot, pivot) = 1.0;
        for (std::size_t c = 0; c < count; ++c)
            At(matrix_, pivot, c) *= inverse;
        step_[pivot] *= inverse;
        for (std::size_t r = 0; r < count; ++r) {
            if (r == pivot)
                continue;
            const double factor = At(matrix_, r, pivot);
            At(matrix_, r, pivot) = 0.0;
            for (std::size_t c = 0; c < count; ++c)
                At(matrix_, r, c) -= At(matrix_, pivot, c) * factor;
            step_[r] -= step_[pivot] * factor;
        }
    }
    expected_ = std::inner_product(step_.begin(), step_.end(), current_.gradient.begin(), 0.0);
}

} // namespace dataprocessing::detail
