#include "dataprocessing/maps/maps_integrate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <span>

#include "dataprocessing/fitting/pkmd_kernels.h"
#include "dataprocessing/maps/maps_band.h"
#include "dataprocessing/maps/maps_curve.h"
#include "dataprocessing/maps/maps_power_law.h"
#include "dataprocessing/maps/maps_refuse.h"
#include "dataprocessing/maps/maps_room.h"

namespace dataprocessing::detail {

/// The numbers that channels are multiplied by, over the channels [first, first + length).
struct maps_sIntegral {
    maps_sIntegral(std::size_t channelCount, const cal_c1DArrayCal& calibration,
                   const std::vector<maps_sRange>& windows, const maps_sBackground& background);

    void TakePolynomialAway(const maps_sBackground& background);
    double* Row(std::size_t row) { return rows.data() + row * length; }

    std::size_t channels;
    cal_c1DArrayCal cal;
    std::size_t first = 0;
    std::size_t count = 0;      ///< Channels that a spectrum is asked for.
    std::size_t length = 0;     ///< Whole vectors of them.
    std::vector<double> needed; ///< 1 for channels in a window or range, 0 for others.
    std::size_t windowCount;
    std::vector<maps_sChannelRange> ranges; ///< The channels of each window.
    std::vector<double>
        rows; ///< Of each window the factors, of each their squares, the law's parts.
    std::vector<const double*> rowsAt;
    std::optional<maps_sPowerLaw> law;
    std::vector<std::vector<double>> logarithms; ///< Of the windows, for the law.
};

maps_sIntegral::maps_sIntegral(std::size_t channelCount, const cal_c1DArrayCal& calibration,
                               const std::vector<maps_sRange>& windows,
                               const maps_sBackground& background)
    : channels(channelCount), cal(calibration), windowCount(windows.size()) {
    maps_RefuseRange(windows.empty());
    constexpr int mostDegree = 9;
    maps_RefuseOptions(background.curve < maps_sBackground::None ||
                       background.curve > maps_sBackground::PowerLaw ||
                       (background.curve == maps_sBackground::Polynomial &&
                        (background.degree < 0 || background.degree > mostDegree)));
    std::size_t last = 0;
    first = channels;
    for (const maps_sRange& window : windows) {
        ranges.push_back(maps_ChannelsIn(cal, channels, window.from, window.to));
        maps_RefuseRange(ranges.back().Count() == 0);
        first = std::min(first, ranges.back().first);
        last = std::max(last, ranges.back().last);
    }
    if (background.curve == maps_sBackground::PowerLaw) {
        law.emplace(channels, cal, background.ranges, 1.0);
        first = std::min(first, law->hull.first);
        last = std::max(last, law->hull.last);
    } else if (background.curve == maps_sBackground::Polynomial) {
        const std::vector<std::size_t> taking =
            maps_ChannelsInAny(background.ranges, channels, cal);
        maps_RefuseRange(taking.size() <= static_cast<std::size_t>(background.degree));
        first = std::min(first, taking.front());
        last = std::max(last, taking.back() + 1);
    }
    count = last - first;
    length = maps_WholeVectors(count);
    const std::size_t rowCount = 2 * windowCount + (law ? 2 : 0);
    rows.resize(rowCount * length);
    needed.resize(length);
    if (background.curve != maps_sBackground::None)
        for (const std::size_t k : maps_ChannelsInAny(background.ranges, channels, cal))
            needed[k - first] = 1;
    for (std::size_t w = 0; w < windowCount; ++w) {
        std::fill(Row(w) + (ranges[w].first - first), Row(w) + (ranges[w].last - first), 1.0);
        std::transform(needed.begin(), needed.end(), Row(w), needed.begin(),
                       [](double one, double other) { return std::max(one, other); });
    }
    if (background.curve == maps_sBackground::Polynomial)
        TakePolynomialAway(background);
    for (std::size_t w = 0; w < windowCount; ++w)
        std::transform(Row(w), Row(w) + length, Row(windowCount + w),
                       [](double factor) { return factor * factor; });
    if (law) {
        const std::size_t shift = law->hull.first - first;
        std::copy_n(law->part.begin(), law->hull.Count(), Row(2 * windowCount) + shift);
        std::copy_n(law->partTimes.begin(), law->hull.Count(), Row(2 * windowCount + 1) + shift);
        for (const maps_sChannelRange& range : ranges) {
            std::vector<double>& row = logarithms.emplace_back();
            for (std::size_t k = range.first; k < range.last; ++k) {
                row.push_back(law->Logarithm(k));
                maps_RefuseRange(!std::isfinite(row.back()));
            }
        }
    }
    for (std::size_t row = 0; row < rowCount; ++row)
        rowsAt.push_back(Row(row));
}

/// The polynomial's sum over a window is one of the channels it was fitted to, too: by polynomials
/// that are orthonormal there, P_d, it is sum over d of (sum over the window of P_d) P_d(k) y(k).
void maps_sIntegral::TakePolynomialAway(const maps_sBackground& background) {
    const std::vector<std::size_t> taking = maps_ChannelsInAny(background.ranges, channels, cal);
    const double middle = static_cast<double>(taking.front() + taking.back()) / 2;
    const double scale = std::max(1.0, static_cast<double>(taking.back() - taking.front()) / 2);
    std::vector<std::vector<double>> basis;
    const auto sumOver = [&](const auto& summand) {
        double sum = 0;
        for (const std::size_t k : taking)
            sum += summand(k - first);
        return sum;
    };
    for (int d = 0; d <= background.degree; ++d) {
        std::vector<double> p(count, 1.0);
        if (d > 0)
            for (std::size_t k = 0; k < count; ++k)
                p[k] = basis.back()[k] * ((static_cast<double>(first + k) - middle) / scale);
        // Twice is enough.
        for (int pass = 0; pass < 2; ++pass)
            for (const std::vector<double>& other : basis) {
                const double part = sumOver([&](std::size_t k) { return p[k] * other[k]; });
                for (std::size_t k = 0; k < count; ++k)
                    p[k] -= part * other[k];
            }
        const double norm = std::sqrt(sumOver([&](std::size_t k) { return p[k] * p[k]; }));
        for (double& value : p)
            value /= norm;
        basis.push_back(std::move(p));
    }
    for (std::size_t w = 0; w < windowCount; ++w)
        for (const std::vector<double>& p : basis) {
            double overWindow = 0;
            for (std::size_t k = ranges[w].first; k < ranges[w].last; ++k)
                overWindow += p[k - first];
            for (const std::size_t k : taking)
                Row(w)[k - first] -= overWindow * p[k - first];
        }
}

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

maps_cIntegral::maps_cIntegral(std::size_t channels, const cal_c1DArrayCal& cal,
                               const std::vector<maps_sRange>& windows,
                               const maps_sBackground& background)
    : integral_(std::make_unique<maps_sIntegral>(channels, cal, windows, background)) {}
maps_cIntegral::~maps_cIntegral() = default;
maps_cIntegral::maps_cIntegral(maps_cIntegral&&) noexcept = default;
maps_cIntegral& maps_cIntegral::operator=(maps_cIntegral&&) noexcept = default;

std::size_t maps_cIntegral::WindowCount() const noexcept { return integral_->windowCount; }

namespace {

/// The sum of a law over a window, and the variance of that.
struct sOfLaw {
    double sum;
    double variance;
};
sOfLaw sumOf(const maps_sLaws& laws, const maps_sTiltSums& window, std::size_t lane) {
    const double sum = laws.amplitude[lane] * window.zero[lane];
    const double byRate = laws.amplitude[lane] * window.first[lane];
    const maps_sLawCovariance covariance = maps_CovarianceOf(laws, lane);
    return {sum, sum * sum * covariance.amplitude + 2 * sum * byRate * covariance.both +
                     byRate * byRate * covariance.rate};
}

bool areFinite(const double* sums, std::size_t many) {
    return std::all_of(sums, sums + many, [](double sum) { return std::isfinite(sum); });
}

} // namespace

void maps_cIntegral::Run(const maps_cStack& stack, const maps_sPlanes& planes,
                         maps_cWorkspace& workspace) const {
    const maps_sIntegral& integral = *integral_;
    const std::size_t spectra = stack.Spectra();
    const std::size_t windows = integral.windowCount;
    maps_CheckPlanes(planes, windows, spectra);
    maps_RefusePlane(!planes.chiSquared.empty());
    maps_RefuseChannels(stack.Channels() != integral.channels || !(stack.Cal() == integral.cal));
    maps_sRoom& room = workspace.Room();
    double* const row = room.Get(maps_sRoom::Row, integral.length);
    const std::size_t many = integral.rowsAt.size();
    double* const sums = room.Get(maps_sRoom::Sums, maps_lanes * many);

    for (std::size_t q = 0; q < spectra; q += maps_lanes) {
        const std::size_t lanes = std::min(maps_lanes, spectra - q);
        maps_Lanes ofValues{};
        maps_Lanes ofMoments{};
        std::array<maps_eStatus, maps_lanes> status{};
        std::array<int, maps_lanes> steps{};
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            double* const own = sums + lane * many;
            maps_Fetch(stack, q + lane, integral.first, integral.count, row);
            pkmd_Dots(row, integral.rowsAt.data(), many, integral.length, own);
            if (!areFinite(own, many)) {
                maps_LeaveOut(integral.needed.data(), integral.length, row);
                pkmd_Dots(row, integral.rowsAt.data(), many, integral.length, own);
                if (!areFinite(own, many))
                    status[lane] = maps_NotFinite;
            }
            if (maps_MayBeNegative(stack) && maps_IsNegative(row, integral.length)) {
                maps_Variances(row, integral.length, row);
                pkmd_Dots(row, integral.rowsAt.data() + windows, windows, integral.length,
                          own + windows);
            }
            if (integral.law) {
                ofValues[lane] = own[2 * windows];
                ofMoments[lane] = own[2 * windows + 1];
            }
        }
        if (integral.law) {
            const maps_sLaws laws = maps_FindLaws(*integral.law, ofValues, ofMoments);
            steps = laws.tilt.steps;
            for (std::size_t lane = 0; lane < lanes; ++lane)
                if (status[lane] == maps_Good)
                    status[lane] = laws.status[lane];
            for (std::size_t w = 0; w < windows; ++w) {
                maps_sTiltSums window;
                maps_SumTilted(integral.logarithms[w], laws.tilt.rate, window);
                for (std::size_t lane = 0; lane < lanes; ++lane) {
                    const sOfLaw background = sumOf(laws, window, lane);
                    sums[lane * many + w] -= background.sum;
                    sums[lane * many + windows + w] += background.variance;
                }
            }
        }
        constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            const bool isGood = status[lane] == maps_Good;
            const double* const own = sums + lane * many;
            for (std::size_t w = 0; w < windows; ++w) {
                if (!planes.values.empty())
                    planes.values[w * spectra + q + lane] = isGood ? own[w] : nothing;
                if (!planes.standardErrors.empty())
                    planes.standardErrors[w * spectra + q + lane] =
                        isGood ? std::sqrt(own[windows + w]) : nothing;
            }
            if (!planes.iterations.empty())
                planes.iterations[q + lane] = steps[lane];
            if (!planes.status.empty())
                planes.status[q + lane] = status[lane];
        }
    }
}
