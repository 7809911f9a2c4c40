#include "dataprocessing/fitting/pkmd_equations.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

#include "dataprocessing/algebra/nlsq_refusal.h"

namespace dataprocessing::detail {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

constexpr nlsq_cRefusal<expt_cProgramException> refuse("pkmd");

/// A thread keeps blocks of this size: the next fit finds its pages in place.
constexpr std::size_t leastKept = std::size_t{128} << 10;

bool areFinite(std::span<const double> values) {
    return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

pkmd_sWindow overlap(const pkmd_sWindow& a, const pkmd_sWindow& b) {
    const std::size_t first = std::max(a.first, b.first);
    return {first, std::max(first, std::min(a.last, b.last))};
}

/// Both, and what is between them.
pkmd_sWindow hull(const pkmd_sWindow& a, const pkmd_sWindow& b) {
    if (a.Count() == 0 || b.Count() == 0)
        return a.Count() == 0 ? b : a;
    return {std::min(a.first, b.first), std::max(a.last, b.last)};
}

bool covers(const pkmd_sWindow& had, const pkmd_sWindow& needs) {
    return needs.Count() == 0 || (had.first <= needs.first && needs.last <= had.last);
}

std::size_t at(int parameter) { return static_cast<std::size_t>(parameter); }

} // namespace

pkmd_sWindow pkmd_WindowOf(pkmd_eShape shape, std::span<const double> peak, double reach,
                           const pkmd_sChannels& channels) {
    const std::size_t count = channels.x.size();
    if (shape != pkmd_Gaussian && shape != pkmd_TailedGaussian)
        return {0, count};
    double below = reach * peak[2];
    double above = below;
    if (shape == pkmd_TailedGaussian)
        (peak[3] < 0 ? below : above) +=
            std::max(3 * reach, reach * reach / 2) * std::fabs(peak[3]);
    double low = (peak[0] - below - channels.x[0]) / channels.delta;
    double high = (peak[0] + above - channels.x[0]) / channels.delta;
    if (low > high)
        std::swap(low, high);
    // A delta of 0 tells nothing.
    if (!(low <= high))
        return {0, count};
    const auto inside = [&](double channel) {
        return static_cast<std::size_t>(std::clamp(channel, 0.0, static_cast<double>(count)));
    };
    const std::size_t first = inside(std::floor(low)) / pkmd_lanes * pkmd_lanes;
    const std::size_t last =
        (inside(std::ceil(high) + 1) + pkmd_lanes - 1) / pkmd_lanes * pkmd_lanes;
    return {std::min(first, last), last};
}

namespace {

/// The variance of the channels in the vector from `first`, infinite where none takes part. Of
/// vectors without counts that of a few.
double varianceAround(const pkmd_sChannels& channels, std::size_t first) {
    double weights = 0;
    double counts = 0;
    for (std::size_t i = first; i < first + pkmd_lanes; ++i) {
        weights += channels.weights[i];
        counts += channels.y[i];
    }
    if (weights == 0)
        return infinity;
    constexpr double fewCounts = 1e-4;
    return channels.areCounts ? std::max(counts / weights, fewCounts) : pkmd_lanes / weights;
}

} // namespace

double pkmd_ReachOf(pkmd_eShape shape, std::span<const double> peak, double windows,
                    const pkmd_sChannels& channels) {
    const pkmd_sWindow window = pkmd_WindowOf(shape, peak, windows, channels);
    double variance = infinity;
    if (window.first > 0 && window.Count() > 0)
        variance = varianceAround(channels, window.first);
    if (window.last < channels.x.size() && window.Count() > 0)
        variance = std::min(variance, varianceAround(channels, window.last - pkmd_lanes));
    constexpr double modest = 250;
    const double excess = std::fabs(peak[1]) / (modest * std::sqrt(variance));
    return excess > 1 ? std::sqrt(windows * windows + 2 * std::log(excess)) : windows;
}

pkmd_sWindow pkmd_WindowFor(pkmd_eShape shape, std::span<const double> peak, double windows,
                            double slack, const pkmd_sChannels& channels) {
    return pkmd_WindowOf(shape, peak, slack * pkmd_ReachOf(shape, peak, windows, channels),
                         channels);
}

std::vector<pkmd_sWindow> pkmd_WindowsOf(const pkmd_cModel& model, std::span<const double> p,
                                         double windows, double slack,
                                         const pkmd_sChannels& channels) {
    std::vector<pkmd_sWindow> result;
    result.reserve(model.Peaks().size());
    for (const pkmd_cModel::sPeak& peak : model.Peaks())
        result.push_back(pkmd_WindowFor(peak.shape,
                                        p.subspan(at(peak.first), pkmd_Columns(peak.shape)),
                                        windows, slack, channels));
    return result;
}

pkmd_sWidth pkmd_WidthAt(double position, double width, double slope, double reference) {
    const double square = width * width + slope * (position - reference);
    if (!(square > 0) || !(width > 0))
        return {};
    const double result = std::sqrt(square);
    return {result, slope / (2 * result), width / result, (position - reference) / (2 * result)};
}

bool pkmd_ApplyWidthLaw(const pkmd_cModel& model, std::span<double> p) {
    const pkmd_cModel::sWidthLaw& law = model.WidthLaw();
    for (const pkmd_cModel::sPeak& peak : model.Peaks()) {
        if (!peak.hasLaw)
            continue;
        double& width = p[at(peak.first) + 2];
        width =
            pkmd_WidthAt(p[at(peak.first)], p[at(law.first)], p[at(law.first) + 1], law.reference)
                .width;
        if (!(width > 0))
            return false;
    }
    return true;
}

std::vector<nlsq_sParameter> pkmd_KindsOf(const pkmd_cModel& model, double delta) {
    std::vector<nlsq_sParameter> kinds(model.Kinds().begin(), model.Kinds().end());
    const auto limit = [&](int parameter, double lower, double upper) {
        nlsq_sParameter& kind = kinds[at(parameter)];
        if (kind.kind != nlsq_sParameter::Moving || !(kind.lower <= kind.upper))
            return;
        kind.lower = std::max(kind.lower, lower);
        kind.upper = std::min(kind.upper, upper);
        refuse.If(kind.lower > kind.upper, 3, "The bounds of parameter ", parameter,
                  " leave out what its shape allows.");
    };
    // Bounds of the user's below that hold.
    const auto keepAbove = [&](int parameter, double lower) {
        if (kinds[at(parameter)].upper >= lower)
            limit(parameter, lower, infinity);
    };
    const nlsq_cParameters parameters(model.Starts(), kinds);
    std::vector<double> tied(model.Starts().size());
    parameters.Expand(parameters.Start(), tied);
    // What a width is tied to keeps its distance for it.
    const auto keepWidth = [&](int parameter, double least) {
        const nlsq_cParameters::sLink& link = parameters.LinkOf(at(parameter));
        if (link.variable == nlsq_cParameters::none || !(link.factor > 0) || !(least > 0))
            return;
        keepAbove(static_cast<int>(parameters.ParameterOf(link.variable)),
                  (least - link.offset) / link.factor);
    };
    constexpr double leastWidth = 1e-3;
    constexpr double leastOfChannel = 0.2;
    constexpr double leastOfWidth = 1e-2;
    for (const pkmd_cModel::sPeak& peak : model.Peaks()) {
        const int width = peak.first + 2;
        const bool isTied = kinds[at(width)].kind == nlsq_sParameter::Following;
        const double* const start = (isTied ? tied.data() : model.Starts().data()) + peak.first;
        const int extra = peak.first + 3;
        double least = 0;
        // Whoever bounds a width knows how narrow it may be.
        if (!(kinds[at(width)].kind == nlsq_sParameter::Moving && kinds[at(width)].lower > 0))
            least = std::min(start[2], leastOfChannel * std::fabs(delta));
        // Of both widths, so that it does not shrink where a fit starts from another's result.
        if (peak.shape == pkmd_Voigt)
            least = std::max(least, leastWidth * std::hypot(start[2], start[3]));
        keepWidth(width, least);
        if (pkmd_Columns(peak.shape) < 4)
            continue;
        const double tail = std::min(std::fabs(start[3]), leastOfWidth * start[2]);
        if (peak.shape != pkmd_TailedGaussian)
            limit(extra, 0, peak.shape == pkmd_PseudoVoigt ? 1 : infinity);
        else if (start[3] < 0)
            limit(extra, -infinity, -tail);
        else
            limit(extra, tail, infinity);
    }
    const int law = model.WidthLaw().first;
    if (law >= 0)
        keepAbove(law, leastWidth * model.Starts()[at(law)]);
    return kinds;
}

pkmd_cEquations::pkmd_cEquations(const pkmd_cModel& model, const pkmd_sChannels& channels,
                                 const nlsq_cParameters& parameters, double reach,
                                 const std::vector<pkmd_sAxis>& axes)
    : model_(model), channels_(channels), parameters_(parameters),
      isLikelihood_(channels.areCounts), p_(parameters.All()), terms_(p_.size()),
      columns_(p_.size()), reach_(reach), products_(p_.size() * p_.size()), slopes_(p_.size()) {
    for (std::size_t i = 0; i < p_.size(); ++i)
        terms_[i].Add(parameters_.LinkOf(i), 1);
    const std::size_t varying = parameters.Varying();
    for (sPlace* place : {&here_, &there_}) {
        place->curvature.resize(varying * varying);
        place->gradient.resize(varying);
        place->norms.resize(varying);
    }
    triangle_.resize(varying * varying);
    firsts_.resize(varying);
    const double sum = std::accumulate(channels.y.begin(), channels.y.end(), 0.0);
    if (sum > 0)
        mean_ = sum / static_cast<double>(channels.taking);
    LayBackgrounds(axes);
    constexpr double slack = 1.02;
    LayWindows(WindowsAt(parameters.Start(), slack));
}

/// Makes the columns of the backgrounds, and fills those that do not depend on the parameters.
void pkmd_cEquations::LayBackgrounds(const std::vector<pkmd_sAxis>& axes) {
    const std::size_t count = channels_.x.size();
    for (const pkmd_cModel::sPeak& peak : model_.Peaks())
        groups_.push_back({at(peak.first), pkmd_Columns(peak.shape), false});
    constexpr std::size_t ofChannels = 3;
    std::size_t needed = ofChannels * count;
    for (const pkmd_cModel::sBackground& background : model_.Backgrounds()) {
        const std::size_t many = at(background.count);
        for (std::size_t k = 0; k < many; ++k)
            columns_[at(background.first) + k].window = {0, count};
        needed += many * count;
        for (std::size_t k = 0; k < many; k += pkmd_mostColumns)
            groups_.push_back(
                {at(background.first) + k, std::min(pkmd_mostColumns, many - k), true});
    }
    storage_ = mem_cBlock(std::max(needed * sizeof(double), leastKept));
    double* free = static_cast<double*>(storage_.Data());
    const auto take = [&](std::size_t many) { return std::exchange(free, free + many); };
    for (sColumn& column : columns_)
        column.data = take(column.window.Count());
    curve_ = take(count);
    residuals_ = take(count);
    expectedWeights_ = take(count);

    auto axis = axes.begin();
    for (const pkmd_cModel::sBackground& background : model_.Backgrounds()) {
        const auto [reference, scale] = *axis++;
        const bool isLinear = background.kind == pkmd_cModel::Polynomial ||
                              background.kind == pkmd_cModel::GivenCurve;
        for (int k = 0; isLinear && k < background.count; ++k) {
            linearParameters_.push_back(at(background.first + k));
            linear_.push_back(columns_[at(background.first + k)].data);
        }
        double* const column = columns_[at(background.first)].data;
        switch (background.kind) {
        case pkmd_cModel::Polynomial:
            std::fill_n(column, count, 1.0);
            for (int k = 1; k < background.count; ++k) {
                const double* const lower = columns_[at(background.first + k - 1)].data;
                double* const power = columns_[at(background.first + k)].data;
                for (std::size_t i = 0; i < count; ++i)
                    power[i] = lower[i] * ((channels_.x[i] - reference) / scale);
            }
            break;
        case pkmd_cModel::GivenCurve:
            // What follows the spectrum takes no part.
            std::fill(
                std::copy_n(background.curve.begin() + static_cast<std::ptrdiff_t>(channels_.first),
                            std::min(count, background.curve.size() - channels_.first), column),
                column + count, 0.0);
            break;
        case pkmd_cModel::PowerLaw:
        case pkmd_cModel::Exponential: {
            isBackgroundLinear_ = false;
            std::vector<double>& arguments = arguments_.emplace_back(count);
            for (std::size_t i = 0; i < count; ++i)
                arguments[i] = background.kind == pkmd_cModel::PowerLaw
                                   ? std::log(channels_.x[i] / background.reference)
                                   : channels_.x[i] - background.reference;
            break;
        }
        }
    }
    linearFactors_.resize(linear_.size());
}

/// Makes the columns of the peaks.
void pkmd_cEquations::LayWindows(std::vector<pkmd_sWindow> windows) {
    windows_ = std::move(windows);
    std::size_t needed = 0;
    for (std::size_t k = 0; k < windows_.size(); ++k)
        needed += groups_[k].count * windows_[k].Count();
    if (needed > room_) {
        room_ = std::max(needed, leastKept / sizeof(double));
        peaks_ = mem_cBlock(room_ * sizeof(double));
    }
    double* free = static_cast<double*>(peaks_.Data());
    for (std::size_t k = 0; k < windows_.size(); ++k)
        for (std::size_t i = groups_[k].first; i < groups_[k].first + groups_[k].count; ++i) {
            columns_[i] = {free, windows_[k]};
            free += windows_[k].Count();
            // Those of columns without a channel in common stay.
            for (std::size_t j = 0; j < columns_.size(); ++j)
                Product(std::max(i, j), std::min(i, j)) = 0;
        }
}

std::vector<pkmd_sWindow> pkmd_cEquations::WindowsAt(std::span<const double> q, double slack) {
    parameters_.Expand(q, p_);
    pkmd_ApplyWidthLaw(model_, p_);
    return pkmd_WindowsOf(model_, p_, reach_, slack, channels_);
}

bool pkmd_cEquations::Covers(std::span<const double>) const {
    // At the parameters of the last Try.
    auto had = windows_.begin();
    return std::all_of(
        model_.Peaks().begin(), model_.Peaks().end(), [&](const pkmd_cModel::sPeak& peak) {
            const std::span<const double> own =
                std::span(p_).subspan(at(peak.first), pkmd_Columns(peak.shape));
            return covers(*had++, pkmd_WindowFor(peak.shape, own, reach_, 1, channels_));
        });
}

void pkmd_cEquations::Cover(std::span<const double> from, std::span<const double> to) {
    // Peaks that have moved may go on moving.
    constexpr double slack = 1.1;
    std::vector<pkmd_sWindow> windows = WindowsAt(to, slack);
    const std::vector<pkmd_sWindow> before = WindowsAt(from, 1);
    for (std::size_t k = 0; k < windows.size(); ++k)
        windows[k] = hull(windows[k], before[k]);
    windowsBefore_ = windows_;
    LayWindows(std::move(windows));
}

void pkmd_cEquations::Uncover() { LayWindows(windowsBefore_); }

double pkmd_cEquations::Try(std::span<const double> q) {
    parameters_.Expand(q, p_);
    if (!HasValue())
        return infinity;
    FillCurve();
    const std::size_t count = channels_.x.size();
    const double* const part = channels_.taking == count ? nullptr : channels_.weights.data();
    const double* const y = counts_.empty() ? channels_.y.data() : counts_.data();
    const double chiSquared =
        isLikelihood_ ? pkmd_Deviance(y, part, curve_, count, residuals_, expectedWeights_)
                      : pkmd_Squares(y, channels_.weights.data(), curve_, count, residuals_);
    if (!std::isfinite(chiSquared))
        return infinity;
    // Beside a barrier the true curvature, where that is more than the expected one.
    for (std::size_t i = 0; i < counts_.size(); ++i)
        expectedWeights_[i] *= std::max(1.0, y[i] * expectedWeights_[i]);
    if (areWeightsLimited_)
        LimitWeights();
    Multiply();
    Collect();
    if (!areFinite(there_.gradient) || !areFinite(there_.norms))
        return infinity;
    return chiSquared;
}

double pkmd_cEquations::PositivePart(std::span<const double> from, std::span<const double> to) {
    if (!isLikelihood_)
        return 0;
    parameters_.Expand(from, p_);
    if (!HasValue())
        return 0;
    FillCurve();
    std::copy_n(curve_, channels_.x.size(), residuals_);
    parameters_.Expand(to, p_);
    if (!HasValue())
        return 0;
    FillCurve();
    double part = infinity;
    for (std::size_t i = 0; i < channels_.x.size(); ++i)
        if (channels_.weights[i] > 0)
            part = std::min(part, nlsq_PositivePart(residuals_[i], curve_[i]));
    return part < infinity ? part : 0;
}

bool pkmd_cEquations::IsBelow(double part) const noexcept {
    if (!isLikelihood_)
        return false;
    for (std::size_t i = 0; i < channels_.x.size(); ++i)
        if (channels_.weights[i] > 0 && curve_[i] < part * mean_)
            return true;
    return false;
}

bool pkmd_cEquations::BringsOutMore() {
    if (areWeightsLimited_ || !IsBelow(nlsq_nearlyZero))
        return false;
    areWeightsLimited_ = true;
    return true;
}

/// Where the curve touches 0, the weight of one channel hides those of all others in the products.
void pkmd_cEquations::LimitWeights() {
    constexpr double nothing = 1e-10;
    const double most = 1 / (nothing * mean_);
    for (std::size_t i = 0; i < channels_.x.size(); ++i)
        expectedWeights_[i] = std::min(expectedWeights_[i], most);
}

void pkmd_cEquations::SetBarrier(double part) {
    counts_.clear();
    barrierSize_ = 0;
    if (part == 0)
        return;
    counts_ = channels_.y;
    for (std::size_t i = 0; i < counts_.size(); ++i)
        if (counts_[i] == 0 && channels_.weights[i] > 0) {
            counts_[i] = part * mean_;
            barrierSize_ += 2 * counts_[i];
        }
}

double pkmd_cEquations::Rounding(double chiSquared) const noexcept {
    // Residuals are as uncertain as the values, logarithms of counts as the counts.
    const double size = isLikelihood_ ? channels_.size : channels_.size * std::sqrt(chiSquared);
    return 2 * std::numeric_limits<double>::epsilon() * size;
}

/// Computes the widths that follow a law, and what they are made of. Answers false where the model
/// has no value.
bool pkmd_cEquations::HasValue() {
    if (!areFinite(p_))
        return false;
    const pkmd_cModel::sWidthLaw& law = model_.WidthLaw();
    for (const pkmd_cModel::sPeak& peak : model_.Peaks()) {
        const std::size_t first = at(peak.first);
        if (peak.hasLaw) {
            const pkmd_sWidth width =
                pkmd_WidthAt(p_[first], p_[at(law.first)], p_[at(law.first) + 1], law.reference);
            p_[first + 2] = width.width;
            sTerms& terms = terms_[first + 2];
            terms.count = 0;
            terms.Add(parameters_.LinkOf(first), width.byPosition);
            terms.Add(parameters_.LinkOf(at(law.first)), width.byWidth);
            terms.Add(parameters_.LinkOf(at(law.first) + 1), width.bySlope);
        }
        const double extra = pkmd_Columns(peak.shape) > 3 ? p_[first + 3] : 0;
        if (!(p_[first + 2] > 0) || (peak.shape == pkmd_Voigt && extra < 0) ||
            (peak.shape == pkmd_TailedGaussian && extra == 0))
            return false;
    }
    return true;
}

void pkmd_cEquations::FillCurve() {
    const std::size_t count = channels_.x.size();
    for (std::size_t k = 0; k < linear_.size(); ++k)
        linearFactors_[k] = p_[linearParameters_[k]];
    pkmd_Combine(linear_.data(), linearFactors_.data(), linear_.size(), count, curve_);
    auto arguments = arguments_.begin();
    for (const pkmd_cModel::sBackground& background : model_.Backgrounds()) {
        const std::size_t first = at(background.first);
        if (background.kind == pkmd_cModel::PowerLaw ||
            background.kind == pkmd_cModel::Exponential) {
            pkmd_AddExponential(arguments->data(), count, p_[first], p_[first + 1], curve_,
                                columns_[first].data, columns_[first + 1].data);
            ++arguments;
        }
    }
    for (const pkmd_cModel::sPeak& peak : model_.Peaks()) {
        const std::size_t first = at(peak.first);
        const pkmd_sWindow& window = columns_[first].window;
        pkmd_sPeakValues values{p_[first],
                                p_[first + 1],
                                p_[first + 2],
                                0,
                                channels_.x.data() + window.first,
                                window.Count(),
                                curve_ + window.first,
                                {}};
        const std::size_t many = pkmd_Columns(peak.shape);
        if (many > 3)
            values.extra = p_[first + 3];
        for (std::size_t k = 0; k < many; ++k)
            values.columns[k] = columns_[first + k].data;
        pkmd_AddPeak(peak.shape, values);
    }
}

/// The products of all columns that have channels in common, and the slopes along them.
void pkmd_cEquations::Multiply() {
    // The weights of least squares stay.
    const bool isKnown = !isLikelihood_ && isBackgroundLinear_ && hasBackgroundProducts_;
    for (std::size_t a = 0; a < groups_.size(); ++a) {
        const sGroup& group = groups_[a];
        std::array<const double*, pkmd_mostColumns> data;
        for (std::size_t k = 0; k < group.count; ++k)
            data[k] = columns_[group.first + k].data;
        const pkmd_sWindow& window = columns_[group.first].window;
        const double* const residuals = residuals_ + window.first;
        double* const slopes = slopes_.data() + group.first;
        if (isKnown && group.isBackground) {
            pkmd_Dots(residuals, data.data(), group.count, window.Count(), slopes);
        } else {
            std::array<double, pkmd_mostColumns*(pkmd_mostColumns + 1) / 2> squares;
            pkmd_NormalSums(WeightsNow() + window.first, residuals, data.data(), group.count,
                            window.Count(), squares.data(), slopes);
            const double* square = squares.data();
            for (std::size_t i = 0; i < group.count; ++i)
                for (std::size_t j = 0; j <= i; ++j)
                    Product(group.first + i, group.first + j) = *square++;
        }
        for (std::size_t b = 0; b < a; ++b)
            if (!(isKnown && group.isBackground && groups_[b].isBackground))
                MultiplyGroups(group, groups_[b]);
    }
    hasBackgroundProducts_ = true;
}

/// The products of the columns of two groups, the lower index always being the second. Those of
/// groups without a common channel stay 0.
void pkmd_cEquations::MultiplyGroups(const sGroup& one, const sGroup& other) {
    const pkmd_sWindow& mine = columns_[one.first].window;
    const pkmd_sWindow& others = columns_[other.first].window;
    const pkmd_sWindow both = overlap(mine, others);
    if (both.Count() == 0)
        return;
    std::array<const double*, pkmd_mostColumns> data;
    for (std::size_t k = 0; k < other.count; ++k)
        data[k] = columns_[other.first + k].data + (both.first - others.first);
    for (std::size_t i = one.first; i < one.first + one.count; ++i) {
        std::array<double, pkmd_mostColumns> sums;
        pkmd_WeightedDots(columns_[i].data + (both.first - mine.first), WeightsNow() + both.first,
                          data.data(), other.count, both.Count(), sums.data());
        for (std::size_t k = 0; k < other.count; ++k) {
            const std::size_t j = other.first + k;
            Product(std::max(i, j), std::min(i, j)) = sums[k];
        }
    }
}

/// From the columns to the variables.
void pkmd_cEquations::Collect() {
    const std::size_t varying = parameters_.Varying();
    std::fill(there_.curvature.begin(), there_.curvature.end(), 0.0);
    std::fill(there_.gradient.begin(), there_.gradient.end(), 0.0);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const sTerms& a = terms_[i];
        for (std::size_t r = 0; r < a.count; ++r)
            there_.gradient[a.variables[r]] += a.factors[r] * slopes_[i];
        for (std::size_t j = 0; j <= i; ++j) {
            const double product = Product(i, j);
            if (product == 0)
                continue;
            const sTerms& b = terms_[j];
            for (std::size_t r = 0; r < a.count; ++r)
                for (std::size_t s = 0; s < b.count; ++s) {
                    const double part = a.factors[r] * b.factors[s] * product;
                    there_.curvature[a.variables[r] * varying + b.variables[s]] += part;
                    if (i != j)
                        there_.curvature[b.variables[s] * varying + a.variables[r]] += part;
                }
        }
    }
    for (std::size_t j = 0; j < varying; ++j)
        there_.norms[j] = std::sqrt(there_.curvature[j * varying + j]);
}

bool pkmd_cEquations::Solve(double damping, std::span<const double> scale,
                            std::span<const char> isHeld, std::span<double> step) {
    return Solve(damping, scale, 0, isHeld, step);
}

bool pkmd_cEquations::SolveWhole(std::span<const char> isHeld, std::span<double> step) {
    constexpr double leastPivot = 1e-14;
    return Solve(0, here_.norms, leastPivot, isHeld, step);
}

/// L L' = the curvature with its diagonal raised; L by rows, the diagonal inverted. A variable that
/// is held, or that nothing depends on, has a row of zeros. Rows begin where the curvature's do:
/// peaks that do not overlap have nothing in common. Pivots are more than `leastPivot` of the
/// diagonal.
bool pkmd_cEquations::Solve(double damping, std::span<const double> scale, double leastPivot,
                            std::span<const char> isHeld, std::span<double> step) {
    const std::size_t count = step.size();
    std::fill(step.begin(), step.end(), 0.0);
    std::fill(triangle_.begin(), triangle_.end(), 0.0);
    for (std::size_t i = 0; i < count; ++i) {
        double* const row = triangle_.data() + i * count;
        const double* const curvature = here_.curvature.data() + i * count;
        const double whole = curvature[i] + damping * (scale[i] * scale[i]);
        std::size_t& first = firsts_[i];
        first = i;
        if (isHeld[i] || whole == 0)
            continue;
        first = static_cast<std::size_t>(
            std::find_if(curvature, curvature + i, [](double c) { return c != 0; }) - curvature);
        double pivot = whole;
        double right = here_.gradient[i];
        for (std::size_t j = first; j < i; ++j) {
            const double* const other = triangle_.data() + j * count;
            double sum = curvature[j];
            for (std::size_t k = std::max(first, firsts_[j]); k < j; ++k)
                sum -= row[k] * other[k];
            row[j] = sum * other[j];
            pivot -= row[j] * row[j];
            right -= row[j] * step[j];
        }
        if (!(pivot > leastPivot * whole))
            return false;
        row[i] = 1 / std::sqrt(pivot);
        step[i] = right * row[i];
    }
    for (std::size_t i = count; i-- > 0;) {
        const double* const row = triangle_.data() + i * count;
        step[i] *= row[i];
        for (std::size_t j = firsts_[i]; j < i; ++j)
            step[j] -= row[j] * step[i];
    }
    return areFinite(step);
}

double pkmd_cEquations::Curvature(std::span<const double> step) const noexcept {
    double sum = 0;
    for (std::size_t i = 0; i < step.size(); ++i) {
        double element = 0;
        for (std::size_t j = 0; j < step.size(); ++j)
            element += here_.curvature[i * step.size() + j] * step[j];
        sum += step[i] * element;
    }
    return sum;
}

nlsq_sCovariance pkmd_cEquations::Covariance(std::span<const char> isHeld) {
    const std::size_t all = isHeld.size();
    std::vector<std::size_t> places;
    for (std::size_t j = 0; j < all; ++j)
        if (!isHeld[j])
            places.push_back(j);
    const std::size_t count = places.size();

    // R'R = the curvature, of which nothing is left for a direction that others explain.
    std::vector<double> triangle(count * count);
    for (std::size_t i = 0; i < count; ++i) {
        double pivot = here_.curvature[places[i] * all + places[i]];
        for (std::size_t j = 0; j < i; ++j) {
            double& element = triangle[j * count + i];
            const double diagonal = triangle[j * count + j];
            if (diagonal == 0)
                continue;
            double sum = here_.curvature[places[i] * all + places[j]];
            for (std::size_t k = 0; k < j; ++k)
                sum -= triangle[k * count + i] * triangle[k * count + j];
            element = sum / diagonal;
            pivot -= element * element;
        }
        triangle[i * count + i] = pivot > 0 ? std::sqrt(pivot) : 0;
    }
    constexpr double tolerance = 1e-7;
    return nlsq_Inverse(triangle, count, places, all, tolerance);
}

} // namespace dataprocessing::detail
