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

namespace dataprocessing::detail {

/// The shapes over whole vectors of channels, and which products of them there are.
struct maps_sShapes {
    /// The channels where a shape is not 0, whole vectors of them.
    struct sExtent {
        std::size_t first;
        std::size_t last;
        std::size_t Count() const noexcept { return last - first; }
        bool operator==(const sExtent&) const = default;
    };
    /// The products of one shape with others over the same channels, and with the values.
    struct sGroup {
        std::size_t shape;
        sExtent extent;
        std::vector<std::size_t> others;
        bool hasValues;
    };

    maps_sShapes(std::span<const double> values, std::size_t channelCount,
                 const maps_sLinearOptions& how);

    const double* Row(std::size_t shape) const { return rows.data() + shape * length; }
    bool IsCore(std::size_t shape) const {
        return std::find(core.begin(), core.end(), shape) != core.end();
    }
    void AddPair(std::size_t i, std::size_t j);
    void Prepare();

    std::size_t channels;
    std::size_t length;
    std::size_t count;
    maps_eWeights weights;
    std::vector<char> isNonNegative;
    bool hasBounds = false;
    std::vector<double> rows;
    std::vector<double> part;       ///< 1 for the channels that a shape reaches.
    std::vector<double> ofOneCount; ///< The variance of a factor that one count makes known.
    std::vector<sExtent> extents;
    std::vector<std::size_t> core; ///< Shapes that reach all channels: these go together.
    std::vector<const double*> coreRows;
    std::vector<sGroup> groups;   ///< What is not between two of those.
    std::vector<double> products; ///< Of the shapes, by rows: the equations with equal weights.
    std::vector<double> inverse;  ///< Of those.
};

maps_sShapes::maps_sShapes(std::span<const double> values, std::size_t channelCount,
                           const maps_sLinearOptions& how)
    : channels(channelCount), length(maps_WholeVectors(channels)),
      count(channels == 0 ? 0 : values.size() / channels), weights(how.weights) {
    maps_RefuseShapes(
        count == 0 || values.size() % channels != 0 ||
        !std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); }));
    maps_RefuseOptions(weights < maps_WeightsOfCounts || weights > maps_WeightsOfModel);
    isNonNegative.resize(count);
    for (const int shape : how.nonNegative) {
        maps_RefuseOptions(shape < 0 || static_cast<std::size_t>(shape) >= count);
        isNonNegative[static_cast<std::size_t>(shape)] = 1;
        hasBounds = true;
    }
    rows.resize(count * length);
    part.resize(length);
    for (std::size_t s = 0; s < count; ++s) {
        double* const row = rows.data() + s * length;
        std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(s * channels), channels, row);
        std::size_t first = 0;
        std::size_t last = channels;
        while (first < last && row[first] == 0)
            ++first;
        while (last > first && row[last - 1] == 0)
            --last;
        for (std::size_t k = first; k < last; ++k)
            if (row[k] != 0)
                part[k] = 1;
        double sum = 0;
        for (std::size_t k = first; k < last; ++k)
            sum += std::fabs(row[k]);
        ofOneCount.push_back(1 / sum / sum);
        extents.push_back({first / maps_lanes * maps_lanes, maps_WholeVectors(last)});
    }
    for (std::size_t s = 0; s < count && core.size() < maps_mostCore; ++s)
        if (extents[s] == sExtent{0, length})
            core.push_back(s);
    for (std::size_t s = 0; s < count; ++s) {
        if (IsCore(s))
            coreRows.push_back(Row(s));
        else
            groups.push_back({s, extents[s], {}, true});
    }
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t j = 0; j <= i; ++j)
            if (!IsCore(i) || !IsCore(j))
                AddPair(i, j);
    Prepare();
}

void maps_sShapes::AddPair(std::size_t i, std::size_t j) {
    const sExtent both{std::max(extents[i].first, extents[j].first),
                       std::min(extents[i].last, extents[j].last)};
    if (both.first >= both.last)
        return;
    const bool isWithinFirst = extents[i] == both && !IsCore(i);
    const std::size_t shape = isWithinFirst ? i : j;
    const std::size_t other = isWithinFirst ? j : i;
    const auto found = std::find_if(groups.begin(), groups.end(), [&](const sGroup& group) {
        return group.shape == shape && group.extent == both;
    });
    if (found == groups.end())
        groups.push_back({shape, both, {other}, false});
    else
        found->others.push_back(other);
}

/// What equal weights need; shapes that are made of each other are found out here.
void maps_sShapes::Prepare() {
    std::vector<double> memory(maps_cNormal::MemoryFor(count));
    maps_cNormal normal(count, memory.data());
    products.resize(count * count);
    inverse.resize(count * count);
    for (std::size_t i = 0; i < count; ++i) {
        normal.G(i) = 0;
        for (std::size_t j = 0; j <= i; ++j) {
            const double* const other = Row(j);
            pkmd_Dots(Row(i), &other, 1, length, &normal.H(i, j));
            products[i * count + j] = normal.H(i, j);
        }
    }
    normal.HoldNone();
    maps_RefuseShapes(!normal.Solve());
    for (std::size_t i = 0; i < count; ++i)
        normal.InverseRow(i, std::span(inverse).subspan(i * count, count));
}

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
          found_(room.Get(maps_sRoom::State, shapes.count * (shapes.count + 2))),
          variances_(found_ + shapes.count), inverse_(variances_ + shapes.count),
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
        for (const maps_sShapes::sGroup& group : shapes_.groups) {
            if (!group.hasValues)
                continue;
            const double* const shape = shapes_.Row(group.shape) + group.extent.first;
            pkmd_Dots(row_ + group.extent.first, &shape, 1, group.extent.Count(),
                      &normal_.G(group.shape));
        }
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
    /// likelihood (P. J. Green, Journal of the Royal Statistical Society B 46 (1984) 149).
    maps_eStatus FitLikely() {
        constexpr double tolerance = 1e-5; // in standard errors
        constexpr int mostSteps = 50;
        Multiply(weights_);
        if (!Solve())
            return maps_Undetermined;
        TakeSolution();
        for (; iterations_ < mostSteps; ++iterations_) {
            Add(weights_);
            Cross(maps_WeighCurve, weights_);
            Multiply(weights_);
            if (!Solve()) // it is the weights that have gone astray, not the shapes
                return maps_NotConverged;
            const double length = StepLength();
            TakeSolution();
            if (length < tolerance)
                return ConcludeLikely();
        }
        return maps_NotConverged;
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

    maps_eStatus ConcludeLikely() {
        TakeVariances();
        Add(curve_);
        if (maps_IsNegative(curve_, shapes_.length))
            return maps_NotConverged;
        if (!planes_.standardErrors.empty() &&
            maps_Inform(row_, shapes_.part.data(), curve_, shapes_.length, weights_))
            TakeObservedVariances();
        if (!planes_.chiSquared.empty())
            chiSquared_ = pkmd_Deviance(row_, shapes_.part.data(), curve_, shapes_.length,
                                        residuals_, weights_);
        return std::isfinite(chiSquared_) ? maps_Good : maps_NotConverged;
    }

    /// Where a model comes near 0, the curvature that is expected there grows without a bound,
    /// though no count was seen: that which was observed tells more (B. Efron and D. V. Hinkley,
    /// Biometrika 65 (1978) 457), and no factor is known better than by one count.
    void TakeObservedVariances() {
        Cross(maps_WeightsGiven, weights_);
        Multiply(weights_);
        const bool isDetermined = normal_.Solve();
        for (std::size_t i = 0; i < shapes_.count; ++i) {
            if (isDetermined)
                variances_[i] = normal_.Variance(i);
            if (!normal_.IsHeld(i))
                variances_[i] = std::max(variances_[i], shapes_.ofOneCount[i]);
        }
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
