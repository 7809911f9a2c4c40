#include "dataprocessing/maps/maps_linear.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "dataprocessing/fitting/pkmd_kernels.h"
#include "dataprocessing/maps/maps_band.h"
#include "dataprocessing/maps/maps_curve.h"
#include "dataprocessing/maps/maps_normal.h"
#include "dataprocessing/maps/maps_refuse.h"
#include "dataprocessing/maps/maps_room.h"
#include "dataprocessing/maps/maps_rows.h"
#include "dataprocessing/maps/maps_shapes.h"

namespace dataprocessing::detail {

namespace {

using sExtent = maps_sShapes::sExtent;

/// The fits of one call.
class cRun {
public:
    cRun(const maps_sShapes& shapes, const maps_sPlanes& planes, std::size_t spectra,
         maps_sRoom& room)
        : shapes_(shapes), planes_(planes), spectra_(spectra),
          row_(room.Get(maps_sRoom::Row, shapes.length)),
          weights_(room.Get(maps_sRoom::Weights, shapes.length)),
          curve_(room.Get(maps_sRoom::Curve, shapes.length)),
          residuals_(room.Get(maps_sRoom::Weighted, shapes.length)),
          found_(room.Get(maps_sRoom::State, shapes.count * (shapes.count + 5))),
          variances_(found_ + shapes.count), before_(variances_ + shapes.count),
          step_(before_ + shapes.count), scores_(step_ + shapes.count),
          inverse_(scores_ + shapes.count),
          normal_(shapes.count,
                  room.Get(maps_sRoom::Equations, maps_cNormal::MemoryFor(shapes.count))) {}

    void Fit(const maps_cStack& stack, std::size_t q) {
        maps_Fetch(stack, q, 0, shapes_.channels, row_);
        iterations_ = 0;
        maps_eStatus status = maps_Good;
        if (shapes_.weights == maps_EqualWeights)
            Dot();
        else
            Cross(maps_WeighCounts, weights_);
        if (shapes_.weights == maps_WeightsOfModel && !std::isfinite(squares_)) {
            maps_LeaveOut(shapes_.part.data(), shapes_.length, row_);
            Cross(maps_WeighCounts, weights_);
        }
        mayBeNegative_ = maps_MayBeNegative(stack);
        if (!std::isfinite(squares_))
            status = maps_NotFinite;
        else if (squares_ == 0)
            status = maps_IsZero(row_, shapes_.length) ? maps_Empty : maps_NotFinite;
        else
            status = FitSome();
        Put(q, status);
    }

private:
    static constexpr double tolerance = 1e-5; // in standard errors
    static constexpr int mostSteps = 50;
    static constexpr double leastEdge = 1e-150; // has a square

    maps_eStatus FitSome() {
        iterations_ = 1;
        switch (shapes_.weights) {
        case maps_EqualWeights:
            return FitEqually();
        case maps_WeightsOfModel:
            return FitLikely();
        default:
            return FitWeighted();
        }
    }

    /// One pass over all channels: what there is between the shapes that reach all of them.
    void Cross(maps_eWeighing weighing, double* weights) {
        const std::vector<std::size_t>& core = shapes_.core;
        std::array<double, maps_coreSums> sums;
        maps_CrossRow(row_, shapes_.coreRows, weighing, shapes_.length, weights, sums);
        const double* sum = sums.data();
        for (std::size_t i = 0; i < core.size(); ++i)
            for (std::size_t j = 0; j <= i; ++j)
                coreProducts_[i][j] = *sum++;
        for (std::size_t i = 0; i < core.size(); ++i)
            coreValues_[i] = *sum++;
        squares_ = *sum;
    }

    /// One pass over all channels, without weights: what there is between the values, themselves
    /// and the shapes that reach all channels. A sum is a chain of additions; several at once take
    /// the time of one.
    void Dot() {
        const std::vector<const double*>& core = shapes_.coreRows;
        std::array<const double*, maps_mostCore + 1> rows;
        std::array<double, maps_mostCore + 1> sums;
        rows[0] = row_;
        std::copy(core.begin(), core.end(), rows.begin() + 1);
        pkmd_Dots(row_, rows.data(), core.size() + 1, shapes_.length, sums.data());
        squares_ = sums[0];
        std::copy_n(sums.begin() + 1, core.size(), coreValues_.begin());
    }

    /// The products of a row with the shapes that do not reach all channels, by shapes.
    void DotOthers(const double* row, double* products) const {
        for (const maps_sShapes::sGroup& group : shapes_.groups) {
            const double* const shape = shapes_.Row(group.shape) + group.extent.first;
            if (group.hasValues)
                pkmd_Dots(row + group.extent.first, &shape, 1, group.extent.Count(),
                          &products[group.shape]);
        }
    }

    /// The products of the shapes with each other, weighted, and with the values.
    void Multiply(const double* weights) {
        for (std::size_t i = 0; i < shapes_.count; ++i)
            for (std::size_t j = 0; j <= i; ++j)
                normal_.H(i, j) = 0;
        for (std::size_t i = 0; i < shapes_.core.size(); ++i) {
            normal_.G(shapes_.core[i]) = coreValues_[i];
            for (std::size_t j = 0; j <= i; ++j)
                normal_.H(shapes_.core[i], shapes_.core[j]) = coreProducts_[i][j];
        }
        constexpr std::size_t most = 16;
        std::array<const double*, most> data;
        std::array<double, most> sums;
        for (const maps_sShapes::sGroup& group : shapes_.groups) {
            const std::size_t first = group.extent.first;
            const std::size_t pairs = group.others.size();
            const std::size_t all = pairs + (group.hasValues ? 1 : 0);
            for (std::size_t k = 0; k < all; k += most) {
                const std::size_t many = std::min(most, all - k);
                for (std::size_t r = 0; r < many; ++r)
                    data[r] = (k + r < pairs ? shapes_.Row(group.others[k + r]) : row_) + first;
                pkmd_WeightedDots(shapes_.Row(group.shape) + first, weights + first, data.data(),
                                  many, group.extent.Count(), sums.data());
                for (std::size_t r = 0; r < many; ++r)
                    (k + r < pairs ? normal_.H(std::max(group.shape, group.others[k + r]),
                                               std::min(group.shape, group.others[k + r]))
                                   : normal_.G(group.shape)) = sums[r];
            }
        }
    }

    double X(std::size_t i) const { return normal_.X()[i]; }

    bool Solve() {
        if (shapes_.hasBounds)
            return normal_.SolveNonNegative(shapes_.isNonNegative);
        normal_.HoldNone();
        return normal_.Solve();
    }

    /// The sum of weighted squares at the solution.
    double Least() {
        double least = squares_;
        for (std::size_t i = 0; i < shapes_.count; ++i)
            least -= X(i) * normal_.G(i);
        return std::max(least, 0.0);
    }

    void TakeSolution() { std::copy(normal_.X().begin(), normal_.X().end(), found_); }

    void TakeVariances() {
        if (planes_.standardErrors.empty())
            return;
        for (std::size_t i = 0; i < shapes_.count; ++i)
            variances_[i] = normal_.Variance(i);
    }

    maps_eStatus FitWeighted() {
        Multiply(weights_);
        if (!Solve())
            return maps_Undetermined;
        TakeSolution();
        TakeVariances();
        chiSquared_ = Least();
        return maps_Good;
    }

    /// The shapes' own products are known; counts are the variances of the errors.
    maps_eStatus FitEqually() {
        const std::size_t count = shapes_.count;
        for (std::size_t i = 0; i < shapes_.core.size(); ++i)
            normal_.G(shapes_.core[i]) = coreValues_[i];
        DotOthers(row_, &normal_.G(0));
        const double* inverse = shapes_.inverse.data();
        bool isBounded = false;
        for (std::size_t i = 0; i < count; ++i) {
            found_[i] = 0;
            for (std::size_t j = 0; j < count; ++j)
                found_[i] += inverse[i * count + j] * normal_.G(j);
            isBounded = isBounded || (shapes_.isNonNegative[i] != 0 && found_[i] < 0);
        }
        if (isBounded) {
            for (std::size_t i = 0; i < count; ++i)
                for (std::size_t j = 0; j <= i; ++j)
                    normal_.H(i, j) = shapes_.products[i * count + j];
            if (!Solve())
                return maps_Undetermined;
            TakeSolution();
            for (std::size_t i = 0; i < count; ++i)
                normal_.InverseRow(i, {inverse_ + i * count, count});
            inverse = inverse_;
        }
        chiSquared_ = squares_;
        for (std::size_t i = 0; i < count; ++i)
            chiSquared_ -= found_[i] * normal_.G(i);
        chiSquared_ = std::max(chiSquared_, 0.0);
        if (planes_.standardErrors.empty())
            return maps_Good;
        if (mayBeNegative_ && maps_IsNegative(row_, shapes_.length))
            maps_Variances(row_, shapes_.length, row_);
        Cross(maps_WeightsGiven, row_);
        Multiply(row_);
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t j = 0; j < i; ++j)
                normal_.H(j, i) = normal_.H(i, j);
        for (std::size_t i = 0; i < count; ++i) {
            const double* const row = inverse + i * count;
            variances_[i] = 0;
            for (std::size_t a = 0; a < count; ++a) {
                double sum = 0;
                for (std::size_t b = 0; b < count; ++b)
                    sum += normal_.H(a, b) * row[b];
                variances_[i] += row[a] * sum;
            }
            variances_[i] = std::max(variances_[i], 0.0);
        }
        return maps_Good;
    }

    /// Scoring: least squares with the weights of the last model, which leads to the maximum of the
    /// likelihood (P. J. Green, Journal of the Royal Statistical Society B 46 (1984) 149) as long
    /// as no channel has next to nothing, and so nearly all of the weight.
    maps_eStatus FitLikely() {
        constexpr double enough = 0.1;
        constexpr int mostScores = 10;
        Multiply(weights_);
        if (!Solve())
            return maps_Undetermined;
        TakeSolution();
        for (; iterations_ < mostScores; ++iterations_) {
            Add(weights_);
            if (maps_IsBelow(enough, shapes_.part.data(), weights_, shapes_.length) || !Score())
                break;
            const double length = StepLength();
            TakeSolution();
            if (length < tolerance) {
                Add(curve_);
                return ConcludeLikely();
            }
        }
        return Climb();
    }

    /// Solves with the weights of a curve, which become those of its channels.
    bool Score() {
        Cross(maps_WeighCurve, weights_);
        Multiply(weights_);
        return Solve();
    }

    /// Steps of Newton's method, with the curvature that was observed: the one that is expected
    /// grows without a bound where the model comes near 0, and holds back what channels without
    /// counts should not. A step ends where the likelihood, which is concave, grows no further.
    maps_eStatus Climb() {
        double counts;
        const double* const row = row_;
        pkmd_Dots(shapes_.part.data(), &row, 1, shapes_.length, &counts);
        if (!(counts > 0))
            return maps_NotConverged;
        const double few = std::min(counts, 1.0);
        Raise(few);
        double edge = leastEdge;
        if (!Look(edge)) {
            edge = 0.1 * few;
            Look(edge);
        }
        for (; iterations_ < mostSteps; ++iterations_) {
            if (!Observe(std::max(counts, 1.0)))
                return maps_NotConverged;
            const double length = StepLength();
            if (!(length < tolerance * std::sqrt(few))) {
                if (!Step(edge))
                    return maps_NotConverged;
                continue;
            }
            TakeSolution();
            if (Look(edge))
                return ScoreAtLast() ? ConcludeLikely() : maps_Undetermined;
            edge /= 100; // the maximum of what goes on as a parabola is none
            if (edge < 1e-8 * few)
                return maps_NotConverged;
            Look(edge);
        }
        return maps_NotConverged;
    }

    /// Where the model is 1 or more everywhere, errors are those that are expected.
    bool ScoreAtLast() {
        if (maps_IsBelow(1, shapes_.part.data(), curve_, shapes_.length))
            return true;
        std::copy_n(curve_, shapes_.length, weights_);
        return Score();
    }

    /// From one count on, factors that do not fall below 0 have a way to go either way.
    void Raise(double counts) {
        for (std::size_t i = 0; i < shapes_.count; ++i)
            if (shapes_.isNonNegative[i] != 0)
                found_[i] = std::max(found_[i], counts * std::sqrt(shapes_.ofOneCount[i]));
    }

    /// The curve, the weights and the slopes where the search stands. Answers whether the curve is
    /// above the edge wherever something was seen.
    bool Look(double edge) {
        constexpr double all = std::numeric_limits<double>::infinity();
        Add(curve_);
        const bool isInside = maps_Inform({all, edge}, row_, shapes_.part.data(), curve_,
                                          shapes_.length, weights_, residuals_);
        std::array<double, maps_mostCore> sums;
        pkmd_Dots(residuals_, shapes_.coreRows.data(), shapes_.core.size(), shapes_.length,
                  sums.data());
        for (std::size_t i = 0; i < shapes_.core.size(); ++i)
            scores_[shapes_.core[i]] = sums[i];
        DotOthers(residuals_, scores_);
        return isInside;
    }

    /// Solves with what was observed there. What no count tells about gets a curvature that is too
    /// small to matter.
    bool Observe(double counts) {
        constexpr double negligible = 1e-9;
        const std::size_t count = shapes_.count;
        Cross(maps_WeightsGiven, weights_);
        Multiply(weights_);
        for (std::size_t i = 0; i < count; ++i)
            normal_.H(i, i) +=
                negligible * (normal_.H(i, i) + 1 / (shapes_.ofOneCount[i] * counts * counts));
        for (std::size_t i = 0; i < count; ++i) {
            normal_.G(i) = scores_[i];
            for (std::size_t j = 0; j < count; ++j)
                normal_.G(i) += normal_.H(std::max(i, j), std::min(i, j)) * found_[j];
        }
        return Solve();
    }

    /// From where the search stands towards the solution, or a half, a quarter and so on of that
    /// way, so that the likelihood does not fall at the end by more than half of how it grew at
    /// first. Answers false when that is nowhere.
    bool Step(double edge) {
        constexpr double least = 0x1p-60;
        std::copy_n(found_, shapes_.count, before_);
        for (std::size_t i = 0; i < shapes_.count; ++i)
            step_[i] = X(i) - before_[i];
        const double most = Slope() / 2;
        TakeSolution();
        for (double part = 1; part > least; part /= 2) {
            if (part < 1)
                for (std::size_t i = 0; i < shapes_.count; ++i)
                    found_[i] = before_[i] + part * step_[i];
            Look(edge);
            if (Slope() >= -most)
                return true;
        }
        return false;
    }

    /// How the likelihood grows along the step.
    double Slope() const {
        double slope = 0;
        for (std::size_t i = 0; i < shapes_.count; ++i)
            slope += scores_[i] * step_[i];
        return slope;
    }

    /// The length of the step from what was found before to the solution, in standard errors.
    double StepLength() {
        double sum = 0;
        for (std::size_t i = 0; i < shapes_.count; ++i) {
            const double step = X(i) - found_[i];
            for (std::size_t j = 0; j < i; ++j)
                sum += 2 * step * normal_.H(i, j) * (X(j) - found_[j]);
            sum += step * normal_.H(i, i) * step;
        }
        return std::sqrt(std::max(sum, 0.0));
    }

    /// The curve of what was found.
    void Add(double* curve) {
        std::fill_n(curve, shapes_.length, 0.0);
        for (std::size_t i = 0; i < shapes_.count; ++i) {
            const sExtent& extent = shapes_.extents[i];
            maps_AddScaled(shapes_.Row(i) + extent.first, found_[i], extent.Count(),
                           curve + extent.first);
        }
    }

    /// The curve is that of what was found.
    maps_eStatus ConcludeLikely() {
        const double* const part = shapes_.part.data();
        const bool isFew = maps_IsBelow(1, part, curve_, shapes_.length);
        if (maps_IsNegative(curve_, shapes_.length) ||
            (isFew && !maps_Inform({1, leastEdge}, row_, part, curve_, shapes_.length, weights_,
                                   residuals_)))
            return maps_NotConverged;
        if (!isFew)
            TakeVariances();
        else if (!planes_.standardErrors.empty())
            TakeObservedVariances();
        if (!planes_.chiSquared.empty()) {
            const double negative = mayBeNegative_ ? TakeNegative() : 0;
            if (isFew)
                FillEmpty();
            chiSquared_ = 2 * negative +
                          pkmd_Deviance(row_, part, curve_, shapes_.length, residuals_, weights_);
        }
        return std::isfinite(chiSquared_) ? maps_Good : maps_NotConverged;
    }

    /// Where a model comes near 0, the curvature that is expected there grows without a bound,
    /// though no count was seen: that which was observed tells more (B. Efron and D. V. Hinkley,
    /// Biometrika 65 (1978) 457), and no factor is known better than by one count.
    void TakeObservedVariances() {
        Cross(maps_WeightsGiven, weights_);
        Multiply(weights_);
        bool isDetermined = normal_.Solve();
        if (!isDetermined) {
            std::copy_n(curve_, shapes_.length, weights_);
            Cross(maps_WeighCurve, weights_);
            Multiply(weights_);
            isDetermined = normal_.Solve();
        }
        for (std::size_t i = 0; i < shapes_.count; ++i) {
            variances_[i] = isDetermined ? normal_.Variance(i) : 0;
            if (!normal_.IsHeld(i))
                variances_[i] = std::max(variances_[i], shapes_.ofOneCount[i]);
        }
    }

    /// The sum of the values below 0 without their sign, which become 0: what is less than no count
    /// has no logarithm.
    double TakeNegative() {
        double sum = 0;
        for (std::size_t k = 0; k < shapes_.length; ++k)
            if (row_[k] < 0) {
                sum -= row_[k];
                row_[k] = 0;
            }
        return sum;
    }

    /// Where nothing is expected and nothing was seen, the deviance is 0.
    void FillEmpty() {
        constexpr double least = std::numeric_limits<double>::min();
        for (std::size_t k = 0; k < shapes_.length; ++k)
            if (curve_[k] < least && row_[k] == 0)
                curve_[k] = least;
    }

    void Put(std::size_t q, maps_eStatus status) {
        constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
        const bool isGood = status == maps_Good;
        for (std::size_t i = 0; i < shapes_.count; ++i) {
            if (!planes_.values.empty())
                planes_.values[i * spectra_ + q] = isGood ? found_[i] : nothing;
            if (!planes_.standardErrors.empty())
                planes_.standardErrors[i * spectra_ + q] =
                    isGood ? std::sqrt(variances_[i]) : nothing;
        }
        if (!planes_.chiSquared.empty())
            planes_.chiSquared[q] = isGood ? chiSquared_ : nothing;
        if (!planes_.iterations.empty())
            planes_.iterations[q] = iterations_;
        if (!planes_.status.empty())
            planes_.status[q] = status;
    }

    const maps_sShapes& shapes_;
    const maps_sPlanes& planes_;
    std::size_t spectra_;
    double* row_;
    double* weights_;
    double* curve_;
    double* residuals_;
    double* found_;
    double* variances_;
    double* before_; ///< What was found before the last step.
    double* step_;
    double* scores_; ///< The slopes of the likelihood.
    double* inverse_;
    maps_cNormal normal_;
    std::array<std::array<double, maps_mostCore>, maps_mostCore> coreProducts_{};
    std::array<double, maps_mostCore> coreValues_{};
    double squares_ = 0;
    double chiSquared_ = 0;
    int iterations_ = 0;
    bool mayBeNegative_ = false;
};

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

maps_cLinear::maps_cLinear(std::span<const double> shapes, std::size_t channels,
                           const maps_sLinearOptions& options)
    : shapes_(std::make_unique<maps_sShapes>(shapes, channels, options)) {}
maps_cLinear::~maps_cLinear() = default;
maps_cLinear::maps_cLinear(maps_cLinear&&) noexcept = default;
maps_cLinear& maps_cLinear::operator=(maps_cLinear&&) noexcept = default;

std::size_t maps_cLinear::ParameterCount() const noexcept { return shapes_->count; }

void maps_cLinear::Run(const maps_cStack& stack, const maps_sPlanes& planes,
                       maps_cWorkspace& workspace) const {
    maps_CheckPlanes(planes, shapes_->count, stack.Spectra());
    maps_RefuseChannels(stack.Channels() != shapes_->channels);
    cRun run(*shapes_, planes, stack.Spectra(), workspace.Room());
    for (std::size_t q = 0; q < stack.Spectra(); ++q)
        run.Fit(stack, q);
}

maps_cLinear maps_Polynomial(std::size_t channels, const cal_c1DArrayCal& cal, int degree,
                             double reference, double scale, const maps_sLinearOptions& options) {
    maps_RefuseOptions(degree < 0 || !std::isfinite(reference) || !std::isfinite(scale) ||
                       scale == 0);
    const auto count = static_cast<std::size_t>(degree) + 1;
    maps_RefuseShapes(channels < count);
    std::vector<double> shapes(count * channels, 1.0);
    for (std::size_t s = 1; s < count; ++s)
        for (std::size_t k = 0; k < channels; ++k) {
            const double x = cal.Position(static_cast<long long>(k));
            shapes[s * channels + k] = shapes[(s - 1) * channels + k] * ((x - reference) / scale);
        }
    return maps_cLinear(shapes, channels, options);
}
