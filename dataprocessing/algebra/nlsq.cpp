#include "dataprocessing/algebra/nlsq.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "dataprocessing/algebra/nlsq_parameters.h"
#include "dataprocessing/algebra/nlsq_refusal.h"
#include "dataprocessing/algebra/nlsq_steps.h"
#include "dataprocessing/algebra/rcps_triangle.h"

using namespace dataprocessing::detail;

namespace {

static_assert(nlsq_blockSize == rcps::cTriangle::blockRows);

constexpr double infinity = std::numeric_limits<double>::infinity();

constexpr nlsq_cRefusal<expt_cProgramException> refuse("nlsq");

bool areFinite(std::span<const double> values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

void check(std::span<const double> x, std::span<const double> y, const nlsq_sOptions& options) {
    refuse.IfOthers(y.size(), x.size(), 2, " values for ", " positions.");
    refuse.If(x.empty(), 3, "There are no points.");
    refuse.UnlessFinite(x, 4, "Position ");
    refuse.UnlessFinite(y, 4, "Value ");
    nlsq_CheckChoices(options.objective, options.errors);
    const std::vector<double>& weights = options.weights;
    const std::vector<double>& deviations = options.standardDeviations;
    if (!weights.empty())
        refuse.IfOthers(weights.size(), x.size(), 5, " weights for ", " points.");
    if (!deviations.empty())
        refuse.IfOthers(deviations.size(), x.size(), 5, " standard deviations for ", " points.");
    const bool isLikelihood = options.objective == nlsq_PoissonLikelihood;
    refuse.If(!weights.empty() + !deviations.empty() + isLikelihood > 1, 6,
              "Points are weighted in more than one way.");
    refuse.Unless(
        weights, [](double w) { return w >= 0 && w < infinity; }, 7, "Weight ",
        " is negative or not finite.");
    refuse.Unless(
        deviations, [](double s) { return 1 / s > 0 && 1 / s < infinity; }, 7,
        "Standard deviation ", " is not positive and finite.");
    refuse.If(!weights.empty() &&
                  std::all_of(weights.begin(), weights.end(), [](double w) { return w == 0; }),
              3, "There are no points.");
    if (isLikelihood)
        refuse.Unless(
            y, [](double v) { return v >= 0; }, 8, "Count ", " is negative.");
    nlsq_CheckControl(options.control);
    double largest = 0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        const double weight = !weights.empty()      ? std::sqrt(weights[i])
                              : !deviations.empty() ? 1 / deviations[i]
                                                    : 1;
        largest = std::max(largest, std::fabs(y[i]) * weight);
    }
    nlsq_CheckSize(largest);
}

/// The square roots of the weights; empty for 1.
std::vector<double> rootsOfWeights(const nlsq_sOptions& options) {
    std::vector<double> roots;
    roots.reserve(options.weights.size() + options.standardDeviations.size());
    for (const double weight : options.weights)
        roots.push_back(std::sqrt(weight));
    for (const double deviation : options.standardDeviations)
        roots.push_back(1 / deviation);
    return roots;
}

bool isScaledByScatter(const nlsq_sOptions& options) {
    if (options.errors != nlsq_ErrorsByDefault)
        return options.errors == nlsq_ErrorsFromScatter;
    return options.objective == nlsq_LeastSquares && options.standardDeviations.empty();
}

/// A point on its way into the equations: what it adds to chi-squared, its residual, times the
/// factor of its row, and that factor.
struct sPoint {
    double chiSquared;
    double residual;
    double root;
};

/// A sum of products with twice the digits (T. Ogita, S. M. Rump and S. Oishi, Accurate sum and dot
/// product, SIAM Journal on Scientific Computing 26 (2005) 1955).
class cExactSum {
public:
    void Add(double a, double b) noexcept {
        const double product = a * b;
        const double sum = sum_ + product;
        const double part = sum - sum_;
        rest_ += std::fma(a, b, -product) + ((sum_ - (sum - part)) + (product - part));
        sum_ = sum;
    }
    double Value() const noexcept { return sum_ + rest_; }

private:
    double sum_ = 0;
    double rest_ = 0;
};

/// The triangle that the rows W^1/2 (J | y - f) of all points are turned into.
class cBlockEquations : public nlsq_cEquations {
public:
    cBlockEquations(const nlsq_cModel& model, std::span<const double> x, std::span<const double> y,
                    const nlsq_sOptions& options, const nlsq_cParameters& parameters)
        : model_(model), x_(x), y_(y), roots_(rootsOfWeights(options)),
          isLikelihood_(options.objective == nlsq_PoissonLikelihood), parameters_(parameters),
          count_(parameters.Varying()), p_(parameters.All()),
          derivatives_(parameters.All() * nlsq_blockSize) {
        for (std::size_t i = 0; i < y.size(); ++i) {
            const double value = roots_.empty() ? y[i] : y[i] * roots_[i];
            size_ += value * value;
            mean_ += y[i] / static_cast<double>(y.size());
        }
        if (mean_ == 0)
            mean_ = 1;
        size_ = std::sqrt(size_);
        for (sPlace* place : {&here_, &there_}) {
            place->triangle.resize(count_ * count_);
            place->right.resize(count_);
            place->gradient.resize(count_);
            place->norms.resize(count_);
        }
    }

    /// The points that take part.
    std::size_t Points() const {
        return x_.size() - static_cast<std::size_t>(std::count(roots_.begin(), roots_.end(), 0.0));
    }

    double Try(std::span<const double> q) override {
        parameters_.Expand(q, p_);
        if (!areFinite(p_))
            return infinity;
        rcps::cTriangle triangle(static_cast<int>(count_));
        there_.least = infinity;
        double chiSquared = 0;
        for (std::size_t first = 0; first < x_.size(); first += nlsq_blockSize) {
            const std::size_t rows = std::min(nlsq_blockSize, x_.size() - first);
            chiSquared += FillBlock(first, rows, triangle);
            if (!std::isfinite(chiSquared))
                return infinity;
            triangle.Absorb(static_cast<int>(rows));
        }
        Take(triangle);
        for (std::size_t j = 0; j < products_.size(); ++j)
            there_.gradient[j] = products_[j].Value();
        if (!areFinite(there_.norms) || !areFinite(there_.gradient))
            return infinity;
        // Of counts, rounding may leave less than nothing.
        return std::max(chiSquared, 0.0);
    }

    void Accept() noexcept override { std::swap(here_, there_); }

    double PositivePart(std::span<const double> from, std::span<const double> to) override {
        if (!isLikelihood_)
            return 0;
        double part = infinity;
        std::array<double, nlsq_blockSize> before;
        for (std::size_t first = 0; first < x_.size(); first += nlsq_blockSize) {
            const std::size_t rows = std::min(nlsq_blockSize, x_.size() - first);
            const std::span<double> values = std::span(values_).first(rows);
            parameters_.Expand(from, p_);
            model_.Evaluate(x_.subspan(first, rows), p_, values, {});
            before = values_;
            parameters_.Expand(to, p_);
            model_.Evaluate(x_.subspan(first, rows), p_, values, {});
            for (std::size_t i = 0; i < rows; ++i)
                part = std::min(part, nlsq_PositivePart(before[i], values[i]));
        }
        return part < infinity ? part : 0;
    }

    bool IsBelow(double part) const noexcept override {
        return isLikelihood_ && here_.least < part * mean_;
    }
    void SetBarrier(double part) override { barrier_ = part * mean_; }
    double BarrierSize() const noexcept override {
        return 2 * barrier_ * static_cast<double>(std::count(y_.begin(), y_.end(), 0.0));
    }

    double Rounding(double chiSquared) const noexcept override {
        // Residuals are as uncertain as the values, logarithms of counts as the counts.
        const double size = isLikelihood_ ? size_ : size_ * std::sqrt(chiSquared);
        return 2 * std::numeric_limits<double>::epsilon() * size;
    }
    std::span<const double> Gradient() const noexcept override { return here_.gradient; }
    std::span<const double> Norms() const noexcept override { return here_.norms; }

    bool Solve(double damping, std::span<const double> scale, std::span<const char> isHeld,
               std::span<double> step) override {
        const std::vector<std::size_t> places = Moving(isHeld);
        const std::size_t count = places.size();
        rcps::cTriangle triangle = Among(places);
        const double root = std::sqrt(damping);
        AddRows(triangle, count, count, [&](std::size_t row, std::size_t column) {
            return row == column ? root * scale[places[row]] : 0.0;
        });
        std::fill(step.begin(), step.end(), 0.0);
        for (std::size_t i = count; i-- > 0;) {
            const double* const row = triangle.Row(static_cast<int>(i));
            double sum = row[count];
            for (std::size_t j = i + 1; j < count; ++j)
                sum -= row[j] * step[places[j]];
            // A column of zeros: the model does not depend on the parameter here.
            step[places[i]] = row[i] == 0 ? 0 : sum / row[i];
        }
        return areFinite(step);
    }

    bool SolveWhole(std::span<const char> isHeld, std::span<double> step) override {
        const std::vector<std::size_t> places = Moving(isHeld);
        rcps::cTriangle triangle = Among(places);
        std::vector<double> right;
        for (std::size_t i = 0; i < places.size(); ++i)
            right.push_back(triangle.Row(static_cast<int>(i))[places.size()]);
        const std::vector<double> among = nlsq_Shortest(Square(std::move(triangle), places.size()),
                                                        places.size(), right, Tolerance());
        std::fill(step.begin(), step.end(), 0.0);
        for (std::size_t i = 0; i < places.size(); ++i)
            step[places[i]] = among[i];
        return areFinite(step);
    }

    double Curvature(std::span<const double> step) const noexcept override {
        double sum = 0;
        for (std::size_t i = 0; i < count_; ++i) {
            double element = 0;
            for (std::size_t j = i; j < count_; ++j)
                element += here_.triangle[i * count_ + j] * step[j];
            sum += element * element;
        }
        return sum;
    }

    nlsq_sCovariance Covariance(std::span<const char> isHeld) override {
        const std::vector<std::size_t> places = Moving(isHeld);
        return nlsq_Inverse(Square(Among(places), places.size()), places.size(), places, count_,
                            Tolerance());
    }

    /// The step to the solution of a linear problem.
    std::vector<double> SolveLinear() {
        const std::vector<char> none(count_);
        std::vector<double> step(count_);
        if (Covariance(none).rank == static_cast<int>(count_) && Solve(0, here_.norms, none, step))
            return step;
        return nlsq_Shortest(here_.triangle, count_, here_.right, Tolerance());
    }

    /// Whether the next Try is to give a gradient with twice the digits.
    void SetExactGradient(bool isExact) { products_.assign(isExact ? count_ : 0, {}); }

    /// The step to the solution from nearby, by an exact gradient. Empty where some directions are
    /// not determined.
    std::vector<double> Refine() {
        const nlsq_sCovariance inverse = Covariance(std::vector<char>(count_));
        if (inverse.rank != static_cast<int>(count_))
            return {};
        std::vector<double> step(count_);
        for (std::size_t i = 0; i < count_; ++i)
            for (std::size_t j = 0; j < count_; ++j)
                step[i] += inverse.matrix[i * count_ + j] * here_.gradient[j];
        return areFinite(step) ? step : std::vector<double>{};
    }

private:
    struct sPlace {
        std::vector<double> triangle; // by rows
        std::vector<double> right;
        std::vector<double> gradient;
        std::vector<double> norms;
        double least = 0; // of the values
    };

    /// What rounding leaves of a singular value that is zero, with columns of norm 1.
    double Tolerance() const { return 4 * static_cast<double>(count_) * model_.DerivativeError(); }

    /// Evaluates the model and fills the block's columns. Returns its part of chi-squared, or
    /// infinity or NaN where the model has no value.
    double FillBlock(std::size_t first, std::size_t rows, rcps::cTriangle& triangle) {
        const std::span<double> values = std::span(values_).first(rows);
        const std::span<double> derivatives = std::span(derivatives_).first(p_.size() * rows);
        model_.Evaluate(x_.subspan(first, rows), p_, values, derivatives);

        double* const residuals = triangle.BlockColumn(static_cast<int>(count_));
        std::array<double, nlsq_blockSize> roots;
        double chiSquared = 0;
        for (std::size_t i = 0; i < rows; ++i) {
            const double y = y_[first + i];
            const sPoint point = isLikelihood_ ? Count(y > 0 ? y : barrier_, values[i])
                                               : Weighted(y, values[i], first + i);
            chiSquared += point.chiSquared;
            roots[i] = point.root;
            residuals[i] = point.residual;
            there_.least = std::min(there_.least, values[i]);
        }

        for (std::size_t j = 0; j < count_; ++j)
            std::fill_n(triangle.BlockColumn(static_cast<int>(j)), rows, 0.0);
        for (std::size_t k = 0; k < p_.size(); ++k) {
            const nlsq_cParameters::sLink& link = parameters_.LinkOf(k);
            if (link.variable == nlsq_cParameters::none)
                continue;
            double* const column = triangle.BlockColumn(static_cast<int>(link.variable));
            for (std::size_t i = 0; i < rows; ++i)
                column[i] += roots[i] == 0 ? 0 : link.factor * derivatives[k * rows + i] * roots[i];
        }
        for (std::size_t j = 0; j < count_; ++j)
            if (!areFinite({triangle.BlockColumn(static_cast<int>(j)), rows}))
                return infinity;
        for (std::size_t j = 0; j < products_.size(); ++j) {
            const double* const column = triangle.BlockColumn(static_cast<int>(j));
            for (std::size_t i = 0; i < rows; ++i)
                products_[j].Add(column[i], residuals[i]);
        }
        return chiSquared;
    }

    sPoint Weighted(double y, double value, std::size_t i) const {
        const double root = roots_.empty() ? 1 : roots_[i];
        // The model may have no value there.
        if (root == 0)
            return {0, 0, 0};
        const double residual = (y - value) * root;
        return {residual * residual, residual, root};
    }

    /// Beside a barrier, weights of values below their counts are those of the true curvature.
    sPoint Count(double y, double value) const {
        if (!(value > 0))
            return {infinity, 0, 0};
        const double part = y > 0 ? y * std::log(y / value) : 0;
        double root = 1 / std::sqrt(value);
        double residual = (y - value) * root;
        if (barrier_ > 0 && y > value) {
            const double steeper = std::sqrt(y / value);
            root *= steeper;
            residual /= steeper;
        }
        return {2 * (value - y + part), residual, root};
    }

    void Take(rcps::cTriangle& triangle) {
        for (std::size_t i = 0; i < count_; ++i) {
            const double* const row = triangle.Row(static_cast<int>(i));
            std::copy_n(row, count_,
                        there_.triangle.begin() + static_cast<std::ptrdiff_t>(i * count_));
            there_.right[i] = row[count_];
        }
        for (std::size_t j = 0; j < count_; ++j) {
            double product = 0;
            double squares = 0;
            for (std::size_t i = 0; i <= j; ++i) {
                const double element = there_.triangle[i * count_ + j];
                product += element * there_.right[i];
                squares += element * element;
            }
            there_.gradient[j] = product;
            there_.norms[j] = std::sqrt(squares);
        }
    }

    std::vector<std::size_t> Moving(std::span<const char> isHeld) const {
        std::vector<std::size_t> places;
        for (std::size_t j = 0; j < count_; ++j)
            if (!isHeld[j])
                places.push_back(j);
        return places;
    }

    /// Adds equations of which elementAt(row, column) tells the coefficients, the right-hand side
    /// being column number `columns`.
    template<class ElementAt>
    static void AddRows(rcps::cTriangle& triangle, std::size_t rows, std::size_t columns,
                        ElementAt elementAt) {
        for (std::size_t first = 0; first < rows; first += nlsq_blockSize) {
            const std::size_t block = std::min(nlsq_blockSize, rows - first);
            for (std::size_t j = 0; j <= columns; ++j)
                for (std::size_t i = 0; i < block; ++i)
                    triangle.BlockColumn(static_cast<int>(j))[i] = elementAt(first + i, j);
            triangle.Absorb(static_cast<int>(block));
        }
    }

    /// The triangle of some of the columns.
    rcps::cTriangle Among(const std::vector<std::size_t>& places) const {
        rcps::cTriangle triangle(static_cast<int>(places.size()));
        AddRows(triangle, count_, places.size(), [&](std::size_t row, std::size_t column) {
            return column == places.size() ? here_.right[row]
                                           : here_.triangle[row * count_ + places[column]];
        });
        return triangle;
    }

    static std::vector<double> Square(rcps::cTriangle triangle, std::size_t count) {
        std::vector<double> square;
        square.reserve(count * count);
        for (std::size_t i = 0; i < count; ++i) {
            const double* const row = triangle.Row(static_cast<int>(i));
            square.insert(square.end(), row, row + count);
        }
        return square;
    }

    const nlsq_cModel& model_;
    std::span<const double> x_;
    std::span<const double> y_;
    std::vector<double> roots_;
    bool isLikelihood_;
    const nlsq_cParameters& parameters_;
    std::size_t count_;
    double mean_ = 0;    // of the counts, 1 where there are none
    double barrier_ = 0; // what is added where there are none
    double size_ = 0;    // the norm of the values
    sPlace here_;
    sPlace there_;
    std::vector<double> p_;
    std::array<double, nlsq_blockSize> values_{};
    std::vector<double> derivatives_;
    std::vector<cExactSum> products_; // of columns and residuals, where they are wanted
};

} // namespace

nlsq_sParameter nlsq_sParameter::Fixed() {
    nlsq_sParameter result;
    result.kind = Staying;
    return result;
}

nlsq_sParameter nlsq_sParameter::Bounded(double lower, double upper) {
    nlsq_sParameter result;
    result.lower = lower;
    result.upper = upper;
    return result;
}

nlsq_sParameter nlsq_sParameter::Tied(int to, double factor, double offset) {
    nlsq_sParameter result;
    result.kind = Following;
    result.to = to;
    result.factor = factor;
    result.offset = offset;
    return result;
}

const char* nlsq_Text(nlsq_eEnd end) noexcept {
    switch (end) {
    case nlsq_GradientSmall:
        return "the gradient vanished";
    case nlsq_StepSmall:
        return "the steps became too small to matter";
    case nlsq_DecreaseSmall:
        return "chi-squared fell no further";
    case nlsq_Solved:
        return "a linear problem was solved";
    case nlsq_MostEvaluations:
        return "no more evaluations were allowed";
    case nlsq_Stopped:
        return "it was asked to stop";
    case nlsq_StoppedByObserver:
        return "the observer stopped it";
    case nlsq_NoDecrease:
        return "no step lowered chi-squared";
    case nlsq_NoValue:
        return "the model has no value at the start";
    }
    return "unknown";
}

double nlsq_sResult::ReducedChiSquared() const noexcept {
    return degreesOfFreedom > 0 ? chiSquared / degreesOfFreedom
                                : std::numeric_limits<double>::quiet_NaN();
}

double nlsq_sResult::Covariance(int i, int j) const {
    const int count = static_cast<int>(parameters.size());
    for (const int parameter : {i, j})
        refuse.If(parameter < 0 || parameter >= count, 20, "There is no parameter ", parameter,
                  ".");
    return covariance[static_cast<std::size_t>(i) * parameters.size() +
                      static_cast<std::size_t>(j)];
}

double nlsq_sResult::Correlation(int i, int j) const {
    const double common = Covariance(i, j);
    const double errors =
        standardErrors[static_cast<std::size_t>(i)] * standardErrors[static_cast<std::size_t>(j)];
    if (!(errors > 0))
        return i == j ? 1 : 0;
    return i == j ? 1 : common / errors;
}

nlsq_sResult nlsq_Fit(const nlsq_cModel& model, std::span<const double> x,
                      std::span<const double> y, std::span<const double> start,
                      const nlsq_sOptions& options) {
    check(x, y, options);
    const nlsq_cParameters parameters(start, options.parameters);
    cBlockEquations equations(model, x, y, options, parameters);
    return nlsq_Minimise(equations, parameters, options.control, equations.Points(),
                         isScaledByScatter(options));
}

nlsq_sResult nlsq_FitLinear(const nlsq_cModel& model, std::span<const double> x,
                            std::span<const double> y, int parameters,
                            const nlsq_sOptions& options) {
    check(x, y, options);
    refuse.If(parameters < 0, 9, "The number of parameters is negative.");
    const std::vector<double> start(static_cast<std::size_t>(parameters));
    const nlsq_cParameters map(start, options.parameters);
    const auto isBounded = [](const nlsq_sParameter& kind) {
        return kind.lower > -infinity || kind.upper < infinity;
    };
    refuse.If(options.objective == nlsq_PoissonLikelihood ||
                  std::any_of(options.parameters.begin(), options.parameters.end(), isBounded),
              13, "Bounds and the likelihood take more than one step.");

    cBlockEquations equations(model, x, y, options, map);
    nlsq_sResult result;
    std::vector<double> q(map.Start().begin(), map.Start().end());
    result.chiSquared = equations.Try(q);
    ++result.evaluations;
    if (std::isfinite(result.chiSquared)) {
        equations.Accept();
        result.end = nlsq_Solved;
        const nlsq_sControl& control = options.control;
        std::vector<double> all(map.All());
        for (const bool isSolved : {false, true}) {
            if (control.stop.stop_requested()) {
                result.end = nlsq_Stopped;
                break;
            }
            if (result.evaluations >= control.mostEvaluations) {
                result.end = isSolved ? nlsq_Solved : nlsq_MostEvaluations;
                break;
            }
            std::vector<double> step = isSolved ? equations.Refine() : std::vector<double>{};
            // Near the solution chi-squared tells no more whether a step is good.
            const double lost = step.empty() ? 0 : equations.Rounding(result.chiSquared);
            if (step.empty())
                step = equations.SolveLinear();
            double expected = result.chiSquared + equations.Curvature(step);
            // What rounding hides of values that are sums of large terms, and of their products.
            double hidden = 0;
            std::vector<double> next = q;
            for (std::size_t j = 0; j < q.size(); ++j) {
                expected -= 2 * equations.Gradient()[j] * step[j];
                next[j] += step[j];
                hidden += std::fabs(next[j]) * equations.Norms()[j];
            }
            hidden *= 8 * std::numeric_limits<double>::epsilon();
            equations.SetExactGradient(!isSolved);
            const double chiSquared = equations.Try(next);
            ++result.evaluations;
            constexpr double ofRounding = 1e-6;
            const double allowed = ofRounding * result.chiSquared +
                                   hidden * (2 * std::sqrt(result.chiSquared) + hidden);
            if (!(std::fabs(chiSquared - expected) <= allowed) && !isSolved) {
                result.end = nlsq_NoDecrease;
                break;
            }
            if (!(chiSquared <= result.chiSquared + lost))
                break;
            equations.Accept();
            q = std::move(next);
            result.chiSquared = chiSquared;
            ++result.iterations;
            map.Expand(q, all);
            if (control.observer && control.observer({result.iterations, result.evaluations,
                                                      chiSquared, 0, all}) == nlsq_Stop) {
                result.end = nlsq_StoppedByObserver;
                break;
            }
        }
    }
    const std::vector<char> none(q.size());
    nlsq_Conclude(equations, map, q, none, equations.Points(), isScaledByScatter(options),
                  options.control.mostEvaluations, result);
    return result;
}
