#pragma once

/// @file
/// Nonlinear least squares, and the likelihood of counts, with the uncertainty of what comes out.
///
/// @code
/// const nlsq_cFunctionModel decay(
///     [](double t, std::span<const double> p) { return p[0] * std::exp(-t / p[1]); });
/// const nlsq_sResult fit = nlsq_Fit(decay, times, counts, std::vector{900.0, 3.0});
/// // fit.parameters[1] +- fit.standardErrors[1]
/// @endcode

#include <cstddef>
#include <functional>
#include <limits>
#include <span>
#include <stop_token>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/dataprocessing_export.h"

/// The most positions that a model is asked for at once.
inline constexpr std::size_t nlsq_blockSize = 128;

/// A model y(x; p) with its derivatives, over a block of positions at a time.
///
/// What `x` means is the model's own business: where a position has more than one coordinate, or
/// the model looks something up, it may be an index.
class DATAPROCESSING_EXPORT nlsq_cModel {
public:
    virtual ~nlsq_cModel();

    /// Sets `values[i]` to y(x[i]; p) and, where `derivatives` is not empty,
    /// `derivatives[j * x.size() + i]` to dy/dp[j] there: a column for each parameter. `x` has from
    /// 1 to nlsq_blockSize positions. A value or derivative that is not finite says that the model
    /// has no value for `p`: a fit keeps away from there. What this throws ends the fit.
    virtual void Evaluate(std::span<const double> x, std::span<const double> p,
                          std::span<double> values, std::span<double> derivatives) const = 0;
    /// How far derivatives may be off, as a part of the largest of a column: what tells whether the
    /// data determine a direction. Epsilon here.
    virtual double DerivativeError() const;

protected:
    nlsq_cModel() = default;
    nlsq_cModel(const nlsq_cModel&) = default;
    nlsq_cModel& operator=(const nlsq_cModel&) = default;
};

/// A model made of a plain function of one position.
class DATAPROCESSING_EXPORT nlsq_cFunctionModel : public nlsq_cModel {
public:
    /// y(x; p).
    using Function = std::function<double(double x, std::span<const double> p)>;
    /// Sets `d[j]` to dy/dp[j] at x.
    using Gradient = std::function<void(double x, std::span<const double> p, std::span<double> d)>;

    /// The model of `function`, with derivatives by central differences over 6e-6 of a parameter:
    /// about ten digits of them. Where a parameter is smaller than the positions and that changes
    /// no value by a millionth of itself (of 1e-8 of the largest one of a block, where it is
    /// smaller), the step grows by tens from 6e-12 of the largest position until one does, or until
    /// it is 6e-6 of the largest position or value.
    /// Throws expt_cProgramException ("nlsq", 1) when there is no function.
    explicit nlsq_cFunctionModel(Function function);
    /// The model of `function` with the derivatives `gradient`. Throws as above when one of them is
    /// missing.
    nlsq_cFunctionModel(Function function, Gradient gradient);
    ~nlsq_cFunctionModel() override;
    nlsq_cFunctionModel(const nlsq_cFunctionModel&) = default;            ///< A copy.
    nlsq_cFunctionModel& operator=(const nlsq_cFunctionModel&) = default; ///< A copy.

    void Evaluate(std::span<const double> x, std::span<const double> p, std::span<double> values,
                  std::span<double> derivatives) const override;
    /// Epsilon, or 1e-9 for derivatives by differences.
    double DerivativeError() const override;

private:
    Function function_;
    Gradient gradient_;
};

/// How far a model's derivatives are from differences of its values.
struct nlsq_sDerivativeCheck {
    /// The largest difference, over the largest derivative with respect to the same parameter.
    double difference = 0;
    /// The parameter where that is.
    int parameter = 0;
    /// The position where that is.
    double position = 0;
};

/// Compares the derivatives of `model` at the parameters `p` with differences of four of its values
/// over one and two steps like those of an nlsq_cFunctionModel. Right ones differ by 1e-8 or less
/// (beside values 1e8 times larger, 1e-4) where the model is smooth. NaN as the difference when one
/// of them is not finite. Throws expt_cProgramException ("nlsq", 3) when there are no positions;
/// std::bad_alloc.
DATAPROCESSING_EXPORT nlsq_sDerivativeCheck nlsq_CheckDerivatives(const nlsq_cModel& model,
                                                                  std::span<const double> x,
                                                                  std::span<const double> p);

/// What a fit makes smallest.
enum nlsq_eObjective : int {
    /// The sum of w (y - f)^2.
    nlsq_LeastSquares,
    /// The deviance of counts, 2 sum (f - y + y ln(y / f)): its smallest value is the maximum of
    /// their Poisson likelihood. It is unbiased at any number of counts, which weights made of the
    /// counts are not. The model has to be positive.
    nlsq_PoissonLikelihood
};

/// What the standard errors rest on.
enum nlsq_eErrors : int {
    /// For nlsq_Fit as given with standard deviations and with the likelihood, otherwise from the
    /// scatter; for peaks, whose weights are 1 / variance, as given.
    nlsq_ErrorsByDefault,
    /// The weights are 1 / variance: the covariance is that of the curvature.
    nlsq_ErrorsAsGiven,
    /// The weights are known up to a factor: the covariance is multiplied by the reduced
    /// chi-squared.
    nlsq_ErrorsFromScatter
};

/// What a fit may do with one parameter. Made by one of the functions.
struct DATAPROCESSING_EXPORT nlsq_sParameter {
    /// The kinds.
    enum eKind : int {
        Moving,   ///< Moves within its bounds, which may be infinite.
        Staying,  ///< Stays at its start.
        Following ///< Is factor x another parameter + offset.
    };

    eKind kind = Moving;                                     ///< Which one.
    double lower = -std::numeric_limits<double>::infinity(); ///< The least value.
    double upper = std::numeric_limits<double>::infinity();  ///< The largest value.
    int to = 0;                                              ///< The parameter that it is tied to.
    double factor = 1;                                       ///< See Following.
    double offset = 0;                                       ///< See Following.

    /// A parameter that moves freely.
    static nlsq_sParameter Free() { return {}; }
    /// A parameter that stays.
    static nlsq_sParameter Fixed();
    /// A parameter that stays in [lower, upper]. A start outside is moved to the nearer bound.
    static nlsq_sParameter Bounded(double lower, double upper);
    /// A parameter that is `factor` times parameter number `to`, plus `offset`; its start is not
    /// looked at.
    static nlsq_sParameter Tied(int to, double factor, double offset = 0);
};

/// Where a fit stands after an iteration.
struct nlsq_sIteration {
    int iteration;                      ///< From 1.
    int evaluations;                    ///< So far.
    double chiSquared;                  ///< What is made smallest.
    double damping;                     ///< Of the next step.
    std::span<const double> parameters; ///< All of them; valid during the call.
};

/// What an observer answers.
enum nlsq_eObserved {
    nlsq_Continue, ///< Go on.
    nlsq_Stop      ///< End the fit here.
};

/// When a fit ends, and who may end it.
struct nlsq_sControl {
    /// Ends when the cosine between the residuals and each column of derivatives is no larger.
    double gradientTolerance = 1e-13;
    /// Ends when a step, in the units of the columns' norms, is no larger than this part of the
    /// parameters.
    double stepTolerance = 1e-14;
    /// Ends with a step that promises to lower chi-squared by no more than this part of it; it is
    /// taken without another evaluation.
    double decreaseTolerance = 1e-18;
    /// Ends likewise with a step after which chi-squared would fall by no more than this part of it
    /// in all, were the promises to go on shrinking as slowly as in the last two steps. 0 does not
    /// look that far.
    double remainderTolerance = 0;
    /// The most evaluations of the model over all points.
    int mostEvaluations = 10000;
    /// Looked at before each step, and each time that one is shortened.
    std::stop_token stop = {};
    /// Called after each iteration.
    std::function<nlsq_eObserved(const nlsq_sIteration&)> observer = {};
};

/// How a fit is made.
struct nlsq_sOptions {
    /// The weight of each point, 1 / variance up to a factor; empty for 1. A point of weight 0
    /// takes no part.
    std::vector<double> weights = {};
    /// The standard deviation of each point; empty for 1.
    std::vector<double> standardDeviations = {};
    /// What is made smallest.
    nlsq_eObjective objective = nlsq_LeastSquares;
    /// What the standard errors rest on.
    nlsq_eErrors errors = nlsq_ErrorsByDefault;
    /// What each parameter may do; empty when all are free.
    std::vector<nlsq_sParameter> parameters = {};
    /// When it ends.
    nlsq_sControl control = {};
};

/// Why a fit ended. The first four are convergence.
enum nlsq_eEnd {
    nlsq_GradientSmall,     ///< The residuals are orthogonal to the derivatives.
    nlsq_StepSmall,         ///< The step was too small to matter.
    nlsq_DecreaseSmall,     ///< Chi-squared could not fall any further that rounding would show.
    nlsq_Solved,            ///< A linear problem, solved.
    nlsq_MostEvaluations,   ///< There were as many evaluations as allowed.
    nlsq_Stopped,           ///< The stop token asked for it.
    nlsq_StoppedByObserver, ///< The observer asked for it.
    nlsq_NoDecrease,        ///< No step, however small, lowered chi-squared.
    nlsq_NoValue            ///< The model has no value at the start.
};

/// The end in words.
DATAPROCESSING_EXPORT const char* nlsq_Text(nlsq_eEnd end) noexcept;

/// What came out of a fit. Vectors and matrices have an entry for every parameter, those that did
/// not vary included.
struct DATAPROCESSING_EXPORT nlsq_sResult {
    std::vector<double> parameters; ///< Where the fit ended.
    /// The square roots of the variances; 0 for a fixed parameter and one at a bound. Those that
    /// rest on the scatter are NaN where there are no degrees of freedom.
    std::vector<double> standardErrors;
    /// The covariance matrix, by rows. Directions that the data do not determine are left out of
    /// it: see `undetermined`.
    std::vector<double> covariance;
    /// What was made smallest: chi-squared, or the deviance of the counts.
    double chiSquared = 0;
    int degreesOfFreedom = 0;     ///< Points that took part, less `rank`; 0 at least.
    int iterations = 0;           ///< Steps taken.
    int evaluations = 0;          ///< Passes over the points.
    nlsq_eEnd end = nlsq_NoValue; ///< Why it ended.
    double gradient = 0; ///< The largest cosine at the end; see nlsq_sControl::gradientTolerance.
    double step = 0;     ///< The last step; see nlsq_sControl::stepTolerance.
    double decrease = 0; ///< What it promised; see nlsq_sControl::decreaseTolerance.
    int free = 0; ///< How many parameters could move at the end: not fixed, tied or at a bound.
    int rank = 0; ///< How many combinations of them the data determine.
    std::vector<int> atBound; ///< The parameters that a bound holds.
    /// The parameters that a direction left out moves: their errors are too small.
    std::vector<int> undetermined;

    /// True when the fit ended because there was nothing left to gain.
    bool Converged() const noexcept { return end <= nlsq_Solved; }
    /// Chi-squared over the degrees of freedom; NaN without any.
    double ReducedChiSquared() const noexcept;
    /// Element (i, j) of the covariance matrix. Throws expt_cProgramException ("nlsq", 20) for a
    /// parameter that is not there.
    double Covariance(int i, int j) const;
    /// The correlation of parameters i and j: 1 for i = j, 0 where one of them has no error. Throws
    /// as Covariance().
    double Correlation(int i, int j) const;
};

/// Fits `model` to the points (x[i], y[i]) from the parameters `start`.
///
/// Levenberg-Marquardt steps with the true derivatives: (J'WJ + mu D^2) h = J'W(y - f), solved by
/// orthogonal transformations of J, a block of points at a time, where D holds the largest norm
/// that each column has had. mu starts at 1e-3 and follows the ratio of actual to promised
/// decrease. With bounds, parameters that a bound holds leave the step, and what would pass a bound
/// ends on it; where the rest of the step then promises nothing, a shorter one is tried. With the
/// likelihood, weights are 1 / f: the expected curvature, which channels without counts have, too;
/// a step to where the model is not positive is shortened, and where the data push it to 0 it comes
/// within 1e-7 of the mean of the counts, by barriers that are lowered from a hundredth of it.
/// Where chi-squared is too coarse to tell a step's worth, the gradient does.
///
/// A fit that ends early or nowhere returns all the same, and says so in `end`. Derivatives are
/// squared, as the values are: the model has no value where the squares of a column overflow, and
/// does not depend on a parameter where they all underflow. Results are the
/// same bits on every processor that computes the model alike. Time: points x parameters^2 per
/// iteration; memory: parameters x nlsq_blockSize.
///
/// Throws expt_cProgramException ("nlsq", line) for a misuse:
/// 2: x and y of different sizes; 3: no points, or none of a weight above 0; 4: a position, value
/// or start that is not finite; 5: weights or standard deviations of another size; 6: both of them,
/// or one with the likelihood; 7: a weight below 0, a standard deviation not above 0, or one that
/// is not finite, as is its reciprocal; 8: a negative count for the likelihood; 9: `parameters` of
/// another size than `start`; 10: bounds in the wrong order; 11: a tie to a parameter that is not
/// there, or in a circle; 12: a tolerance that is negative, or no evaluations; 14: values that are,
/// over their deviations, all smaller than 1e-144 or one of them larger than 1e144, other than
/// zeros; 15: an objective, errors or kind of parameter that there is not. What the model or the
/// observer throws passes through; std::bad_alloc.
///
/// Sources: J. J. More, The Levenberg-Marquardt algorithm: implementation and theory, Lecture Notes
/// in Mathematics 630 (1978); H. B. Nielsen, Damping parameter in Marquardt's method,
/// IMM-REP-1999-05 (1999); T. A. Laurence and B. A. Chromy, Nature Methods 7 (2010) 338.
DATAPROCESSING_EXPORT nlsq_sResult nlsq_Fit(const nlsq_cModel& model, std::span<const double> x,
                                            std::span<const double> y,
                                            std::span<const double> start,
                                            const nlsq_sOptions& options = {});

/// Fits a model that is linear in its `parameters` parameters, in one step and one to refine it,
/// with the same options and result. Fixed parameters are fixed at 0. The gradient of the second
/// step is summed with twice the digits of a double, so that large residuals cost none.
///
/// What the data cannot determine is left out: the shortest solution, in the units of the columns'
/// norms, is the result. A model that turns out not to be linear ends with nlsq_NoDecrease; the
/// stop token, the observer and the most evaluations end it early, as they do nlsq_Fit. Throws as
/// nlsq_Fit; also ("nlsq", 13) for bounds or the likelihood, which take more than one step.
DATAPROCESSING_EXPORT nlsq_sResult nlsq_FitLinear(const nlsq_cModel& model,
                                                  std::span<const double> x,
                                                  std::span<const double> y, int parameters,
                                                  const nlsq_sOptions& options = {});
