#include "dataprocessing/maps/maps_align.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "dataprocessing/filter/smth_line.h"
#include "dataprocessing/fitting/pkmd_kernels.h"
#include "dataprocessing/maps/maps_refuse.h"
#include "dataprocessing/maps/maps_room.h"
#include "dataprocessing/maps/maps_rows.h"

namespace dataprocessing::detail {

namespace {

/// Channels that interpolation takes, those before the place and those from there on.
constexpr std::ptrdiff_t before = 3;
constexpr std::size_t nodes = 6;

/// What each of the channels -3 to 2 from a place contributes to the value `fraction` of a channel
/// below it, and to its change with the fraction: Lagrange's polynomials.
struct sInterpolation {
    std::array<double, nodes> value;
    std::array<double, nodes> slope;

    explicit sInterpolation(double fraction) {
        for (std::size_t i = 0; i < nodes; ++i) {
            double product = 1;
            double change = 0;
            for (std::size_t j = 0; j < nodes; ++j) {
                if (j == i)
                    continue;
                const double distance = static_cast<double>(i) - static_cast<double>(j);
                const double factor =
                    (static_cast<double>(before) - fraction - static_cast<double>(j)) / distance;
                change = change * factor - product / distance;
                product *= factor;
            }
            value[i] = product;
            slope[i] = change;
        }
    }
};

/// The variance of what is no smooth curve, in each of some values: the median, which lines do not
/// move, of how far each is from what its three neighbours to either side say of it.
double noiseOf(std::span<const double> values) {
    std::vector<double> apart;
    for (std::size_t k = before; k + before < values.size(); ++k) {
        const double* const at = values.data() + k;
        const double said = (15 * (at[-1] + at[1]) - 6 * (at[-2] + at[2]) + (at[-3] + at[3])) / 20;
        apart.push_back(std::fabs(*at - said));
    }
    const auto middle = apart.begin() + static_cast<std::ptrdiff_t>(apart.size() / 2);
    std::nth_element(apart.begin(), middle, apart.end());
    constexpr double ofNormal = 0.67448975; // the median of |z|
    constexpr double gain = 1 + 2 * (225.0 + 36 + 1) / 400;
    return *middle / ofNormal * (*middle / ofNormal) / gain;
}

/// What a variance of 1 in all channels becomes in slopes, on average between two channels.
double noiseOfSlopes() {
    constexpr int places = 8;
    double sum = 0;
    for (int i = 0; i < places; ++i)
        for (const double number : sInterpolation((i + 0.5) / places).slope)
            sum += number * number;
    return sum / places;
}

} // namespace

/// Where the reference is less, as a part of its largest value, it varies and weighs as much as if
/// it were that: what is next to nothing there should not decide.
constexpr double leastPart = 1e-2;
/// What noise may add to the squares of all slopes, as they are weighted, and from where on a
/// reference tells nothing.
constexpr double tolerableNoise = 0.03;
constexpr double mostNoise = 0.9;
constexpr double negligibleNoise = 1e-3; ///< Of slopes or variances.
/// The same for the start, of its mean: counts by chance should rule no shift out.
constexpr double possible = 1e-3;

struct maps_sAlignment {
    /// Over its mean, without what is below 0; zeros follow as far as whole vectors reach.
    std::vector<double> reference;
    double smallest = 0; ///< What it varies as at least.
    double least = 0;    ///< What it weighs as at least.
    double noise = 0;    ///< The variance of each channel that is no structure.
    double share = 0;    ///< What noise adds to the weighted squares of slopes, as a part of them.
    double mean = 0;     ///< Of what shifts bring into the part.
    std::size_t channels;
    cal_c1DArrayCal cal;
    maps_sAlignOptions options;
    double limit = 0;          ///< The largest shift, in channels.
    std::ptrdiff_t most = 0;   ///< The same in whole ones.
    maps_sChannelRange part;   ///< The channels that take part.
    std::vector<double> logs;  ///< Of the reference, or of next to nothing.
    std::vector<double> sums;  ///< Of the reference at shifts from -most to most.
    std::vector<double> scale; ///< Their logarithms.

    maps_sAlignment(std::span<const double> given, const cal_c1DArrayCal& calibration,
                    double mostShift, const maps_sAlignOptions& how);

    /// The reference at a shift, in channels, and its derivative by that; zeros follow.
    void Interpolate(double shift, double* values, double* slopes) const;
    /// Weighs what is small so much less that the noise in slopes counts little.
    void WeighNoiseDown();
    /// Whether its noise changes what is known of a spectrum that it fits by this factor.
    bool IsNoisyFor(double factor) const {
        return std::max(share, factor * noise / smallest) > negligibleNoise;
    }
    /// The most likely shift by whole channels, counted from -most.
    std::size_t Start(const double* row, double sum, std::span<const double*> logsAt,
                      std::span<double> likelihoods) const;
};

maps_sAlignment::maps_sAlignment(std::span<const double> given, const cal_c1DArrayCal& calibration,
                                 double mostShift, const maps_sAlignOptions& how)
    : reference(given.begin(), given.end()), channels(given.size()), cal(calibration),
      options(how) {
    const double delta = std::fabs(cal.Delta());
    maps_RefuseOptions(!(delta > 0) || !std::isfinite(delta) || !(mostShift > 0) ||
                       !(mostShift / delta < static_cast<double>(std::size_t{1} << 31)) ||
                       !(how.tolerance > 0) || how.mostSteps < 1);
    maps_RefuseShapes(!std::all_of(given.begin(), given.end(),
                                   [](double value) { return std::isfinite(value); }));
    limit = mostShift / delta;
    most = static_cast<std::ptrdiff_t>(std::ceil(limit));
    part = maps_ChannelsIn(cal, channels, how.from, how.to);
    const auto margin = static_cast<std::size_t>(most + before);
    part.first = std::max(part.first, margin);
    part.last = std::min(part.last, channels - std::min(channels, margin));
    maps_RefuseRange(part.last < part.first + 3);

    const std::size_t first = part.first - static_cast<std::size_t>(most);
    const std::size_t count = part.Count() + 2 * static_cast<std::size_t>(most);
    for (const double value : std::span(reference).subspan(first, count))
        mean += std::max(value, 0.0) / static_cast<double>(count);
    maps_RefuseShapes(!(mean > 0) || !std::isfinite(mean));
    for (double& value : reference)
        value /= mean;
    noise = noiseOf(std::span(reference).subspan(first - before, count + 2 * before));
    for (double& value : reference)
        value = std::max(value, 0.0);
    const auto from = reference.begin() + static_cast<std::ptrdiff_t>(first);
    smallest = leastPart * *std::max_element(from, from + static_cast<std::ptrdiff_t>(count));
    reference.resize(channels + maps_lanes);
    logs.resize(reference.size());
    for (std::size_t k = 0; k < channels; ++k)
        logs[k] = std::log(std::max(reference[k], possible));
    for (std::ptrdiff_t shift = -most; shift <= most; ++shift) {
        const auto* const at = reference.data() + static_cast<std::ptrdiff_t>(part.first) - shift;
        double sum = 0;
        for (std::size_t k = 0; k < part.Count(); ++k)
            sum += at[k];
        maps_RefuseShapes(!(sum > 0) || !std::isfinite(sum));
        sums.push_back(sum);
        scale.push_back(std::log(sum));
    }
    WeighNoiseDown();
}

void maps_sAlignment::WeighNoiseDown() {
    std::vector<double> values(maps_WholeVectors(part.Count()));
    std::vector<double> slopes(values.size());
    Interpolate(0, values.data(), slopes.data());
    const double ofSlopes = noise * noiseOfSlopes();
    for (least = smallest;; least *= 2) {
        double ofNoise = 0;
        double all = 0;
        for (std::size_t k = 0; k < part.Count(); ++k) {
            const double weight = 1 / std::max(values[k], least);
            ofNoise += weight * ofSlopes;
            all += weight * slopes[k] * slopes[k];
        }
        share = ofNoise > 0 ? ofNoise / all : 0;
        if (share <= tolerableNoise || least * leastPart > smallest)
            return;
    }
}

void maps_sAlignment::Interpolate(double shift, double* values, double* slopes) const {
    const double whole = std::floor(shift);
    const sInterpolation terms(shift - whole);
    std::array<const double*, nodes> rows{};
    const double* const from = reference.data() + static_cast<std::ptrdiff_t>(part.first) -
                               static_cast<std::ptrdiff_t>(whole) - before;
    for (std::size_t n = 0; n < nodes; ++n)
        rows[n] = from + n;
    const std::size_t count = part.Count();
    smth_SumRows(rows.data(), terms.value.data(), nodes, values, count);
    smth_SumRows(rows.data(), terms.slope.data(), nodes, slopes, count);
    std::fill(values + count, values + maps_WholeVectors(count), 0.0);
    std::fill(slopes + count, slopes + maps_WholeVectors(count), 0.0);
}

std::size_t maps_sAlignment::Start(const double* row, double sum, std::span<const double*> logsAt,
                                   std::span<double> likelihoods) const {
    for (std::size_t i = 0; i < logsAt.size(); ++i)
        logsAt[i] = logs.data() + static_cast<std::ptrdiff_t>(part.first) + most -
                    static_cast<std::ptrdiff_t>(i);
    pkmd_Dots(row, logsAt.data(), logsAt.size(), maps_WholeVectors(part.Count()),
              likelihoods.data());
    std::size_t best = 0;
    for (std::size_t i = 0; i < likelihoods.size(); ++i) {
        likelihoods[i] -= sum * scale[i];
        if (likelihoods[i] > likelihoods[best])
            best = i;
    }
    return best;
}

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

maps_cAlign::maps_cAlign(std::span<const double> reference, const cal_c1DArrayCal& cal,
                         double mostShift, const maps_sAlignOptions& options)
    : alignment_(std::make_unique<maps_sAlignment>(reference, cal, mostShift, options)) {}
maps_cAlign::~maps_cAlign() = default;
maps_cAlign::maps_cAlign(maps_cAlign&&) noexcept = default;
maps_cAlign& maps_cAlign::operator=(maps_cAlign&&) noexcept = default;

std::size_t maps_cAlign::Channels() const noexcept { return alignment_->part.Count(); }

namespace {

constexpr double nothing = std::numeric_limits<double>::quiet_NaN();

/// What became of one spectrum; shifts are in channels.
struct sAligned {
    maps_eStatus status = maps_NotConverged;
    int steps = 0;
    double shift = nothing;
    double factor = nothing;
    double shiftError = nothing;
    double factorError = nothing;
    double chiSquared = nothing;
};

/// Rows to work in, as long as the part.
struct sRows {
    double* y;
    double* values;
    double* slopes;
    double* weights;
};

/// The sums of a row with the reference at a shift, and what they say.
class cNormal {
public:
    cNormal(const maps_sAlignment& alignment, double shift, double factor, const sRows& rows) {
        const std::size_t length = maps_WholeVectors(alignment.part.Count());
        alignment.Interpolate(shift, rows.values, rows.slopes);
        for (std::size_t k = 0; k < length; ++k)
            rows.weights[k] = factor * std::max(rows.values[k], alignment.least);
        const std::array<const double*, 2> shapes{rows.values, rows.slopes};
        maps_CrossRow(rows.y, shapes, maps_WeighCurve, length, rows.weights, sums_);
        determinant_ = sums_[0] * sums_[2] - sums_[1] * sums_[1];
    }

    bool IsSingular() const {
        constexpr double leastPart = 1e-12;
        return !(determinant_ > leastPart * sums_[0] * sums_[2]);
    }
    double Factor() const { return (sums_[2] * sums_[3] - sums_[1] * sums_[4]) / determinant_; }
    /// Of the shift, times the factor.
    double Step() const { return (sums_[0] * sums_[4] - sums_[1] * sums_[3]) / determinant_; }
    double FactorError() const { return std::sqrt(sums_[2] / determinant_); }
    double StepError() const { return std::sqrt(sums_[0] / determinant_); }
    double ChiSquared() const {
        return std::max(sums_[5] - Factor() * sums_[3] - Step() * sums_[4], 0.0);
    }

    /// Sets errors and chi-squared to what the variances of spectrum and reference say; slopes that
    /// are noise answer to no shift.
    void TakeVariances(const maps_sAlignment& alignment, double factor, const sRows& rows,
                       sAligned& found) const {
        double chiSquared = 0;
        for (std::size_t k = 0; k < alignment.part.Count(); ++k) {
            const double variance =
                factor * (std::max(rows.values[k], alignment.smallest) + factor * alignment.noise);
            const double apart = rows.y[k] - Factor() * rows.values[k] - Step() * rows.slopes[k];
            chiSquared += apart * apart / variance;
            rows.weights[k] *= rows.weights[k] * variance;
        }
        const std::array<const double*, 2> shapes{rows.values, rows.slopes};
        std::array<double, maps_coreSums> spread{};
        maps_CrossRow(rows.y, shapes, maps_WeightsGiven, maps_WholeVectors(alignment.part.Count()),
                      rows.weights, spread);
        const auto error = [&](double ofValues, double ofSlopes) {
            return std::sqrt(ofValues * ofValues * spread[0] + 2 * ofValues * ofSlopes * spread[1] +
                             ofSlopes * ofSlopes * spread[2]) /
                   determinant_;
        };
        found.factorError = error(sums_[2], -sums_[1]);
        found.shiftError = error(-sums_[1], sums_[0]) / Factor() / (1 - alignment.share);
        found.chiSquared = chiSquared;
    }

private:
    /// Of values and slopes with the weights: vv, vs, ss, vy, sy, yy.
    std::array<double, maps_coreSums> sums_{};
    double determinant_;
};

sAligned aligned(const maps_sAlignment& alignment, const sRows& rows,
                 std::span<const double*> logsAt, std::span<double> likelihoods) {
    sAligned found;
    const std::size_t length = maps_WholeVectors(alignment.part.Count());
    double total = 0;
    const double* const row = rows.y;
    std::fill_n(rows.values, length, 1.0);
    const double* const ones = rows.values;
    pkmd_Dots(row, &ones, 1, length, &total);
    if (!std::isfinite(total)) {
        found.status = maps_NotFinite;
        return found;
    }
    if (!(total > 0)) {
        found.status = total < 0 ? maps_Negative : maps_Empty;
        return found;
    }
    if (alignment.share > mostNoise) {
        found.status = maps_Undetermined;
        return found;
    }
    const std::size_t start = alignment.Start(row, total, logsAt, likelihoods);
    const double limit = alignment.limit;
    double shift =
        std::clamp(static_cast<double>(start) - static_cast<double>(alignment.most), -limit, limit);
    double factor = total / alignment.sums[start];
    double last = 0;
    double longest = 1;
    while (found.steps < alignment.options.mostSteps) {
        const cNormal normal(alignment, shift, factor, rows);
        ++found.steps;
        if (normal.IsSingular()) {
            found.status = maps_Undetermined;
            return found;
        }
        const double next = normal.Factor();
        if (!(next > 0) || !std::isfinite(next))
            return found;
        const double shiftError = normal.StepError() / next;
        if (!(shiftError < static_cast<double>(alignment.channels))) {
            found.status = maps_Undetermined;
            return found;
        }
        double step = normal.Step() / next;
        // Slopes jump a little from channel to channel: do not go to and fro over one for ever.
        if (step * last < 0)
            longest = std::fabs(last) / 2;
        step = std::clamp(step, -longest, longest);
        last = step;
        const double to = std::clamp(shift + step, -limit, limit);
        constexpr double rounding = 1e-12; // of a shift
        if (std::fabs(step) < std::max(alignment.options.tolerance * shiftError, rounding)) {
            found = {maps_Good,          found.steps, to, next, shiftError, normal.FactorError(),
                     normal.ChiSquared()};
            if (alignment.IsNoisyFor(factor))
                normal.TakeVariances(alignment, factor, rows, found);
            return found;
        }
        if (to == shift) // the limit is in the way
            return found;
        shift = to;
        factor = next;
    }
    return found;
}

template<class T>
void setAt(std::span<T> plane, std::size_t at, T value) {
    if (!plane.empty())
        plane[at] = value;
}

} // namespace

void maps_cAlign::Run(const maps_cStack& stack, const maps_sPlanes& planes,
                      maps_cWorkspace& workspace) const {
    const maps_sAlignment& alignment = *alignment_;
    const std::size_t spectra = stack.Spectra();
    maps_CheckPlanes(planes, 2, spectra);
    maps_RefuseChannels(stack.Channels() != alignment.channels || !(stack.Cal() == alignment.cal));
    const std::size_t length = maps_WholeVectors(alignment.part.Count());
    maps_sRoom& room = workspace.Room();
    const sRows rows{room.Get(maps_sRoom::Row, length), room.Get(maps_sRoom::Curve, length),
                     room.Get(maps_sRoom::Weighted, length), room.Get(maps_sRoom::Weights, length)};
    std::vector<const double*> logsAt(alignment.sums.size());
    std::vector<double> likelihoods(logsAt.size());
    const double delta = alignment.cal.Delta();
    for (std::size_t q = 0; q < spectra; ++q) {
        maps_Fetch(stack, q, alignment.part.first, alignment.part.Count(), rows.y);
        const sAligned found = aligned(alignment, rows, logsAt, likelihoods);
        setAt(planes.status, q, found.status);
        setAt(planes.iterations, q, found.steps);
        setAt(planes.chiSquared, q, found.chiSquared);
        setAt(planes.values, q, found.shift * delta);
        setAt(planes.values, spectra + q, found.factor / alignment.mean);
        setAt(planes.standardErrors, q, found.shiftError * std::fabs(delta));
        setAt(planes.standardErrors, spectra + q, found.factorError / alignment.mean);
    }
}
