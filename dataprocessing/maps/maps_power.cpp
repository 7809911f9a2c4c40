#include "dataprocessing/maps/maps_power.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dataprocessing/fitting/pkmd_kernels.h"
#include "dataprocessing/maps/maps_power_law.h"
#include "dataprocessing/maps/maps_refuse.h"
#include "dataprocessing/maps/maps_room.h"
#include "dataprocessing/valuemodel/cal_section.h"

namespace dataprocessing::detail {

std::vector<std::size_t> maps_ChannelsInAny(const std::vector<maps_sRange>& ranges,
                                            std::size_t channels, const cal_c1DArrayCal& cal) {
    std::vector<cal_cSection> sections;
    sections.reserve(ranges.size());
    for (const maps_sRange& range : ranges)
        sections.emplace_back(cal, range.from, range.to);
    std::vector<std::size_t> found;
    for (std::size_t k = 0; k < channels; ++k)
        if (std::any_of(sections.begin(), sections.end(),
                        [&](const cal_cSection& section) { return section.Has(k); }))
            found.push_back(k);
    return found;
}

maps_sPowerLaw::maps_sPowerLaw(std::size_t channelCount, const cal_c1DArrayCal& calibration,
                               const std::vector<maps_sRange>& ranges, double at)
    : channels(channelCount), cal(calibration), reference(at) {
    maps_RefuseOptions(!(reference > 0) || !std::isfinite(reference));
    const std::vector<std::size_t> taking = maps_ChannelsInAny(ranges, channels, cal);
    maps_RefuseRange(taking.size() < 2);
    hull = {taking.front(), taking.back() + 1};
    for (const std::size_t k : taking) {
        const double logarithm = Logarithm(k);
        maps_RefuseRange(!std::isfinite(logarithm));
        logarithms.push_back(logarithm);
    }
    middle = (logarithms.front() + logarithms.back()) / 2;
    part.resize(maps_WholeVectors(hull.Count()));
    partTimes.resize(part.size());
    for (std::size_t i = 0; i < taking.size(); ++i) {
        logarithms[i] -= middle;
        part[taking[i] - hull.first] = 1;
        partTimes[taking[i] - hull.first] = logarithms[i];
    }
    maps_RefuseRange(logarithms.front() == logarithms.back());
}

double maps_sPowerLaw::Logarithm(std::size_t channel) const {
    return std::log(cal.Position(static_cast<long long>(channel)) / reference) - middle;
}

maps_sLaws maps_FindLaws(const maps_sPowerLaw& law, const maps_Lanes& sums,
                         const maps_Lanes& moments) {
    maps_Lanes means{};
    maps_sLaws laws{};
    for (std::size_t lane = 0; lane < maps_lanes; ++lane) {
        laws.status[lane] = !std::isfinite(sums[lane] + moments[lane]) ? maps_NotFinite
                            : sums[lane] > 0                           ? maps_Good
                                                                       : maps_Empty;
        means[lane] = laws.status[lane] == maps_Good ? moments[lane] / sums[lane]
                                                     : std::numeric_limits<double>::quiet_NaN();
    }
    laws.tilt = maps_FindTilt(law.logarithms, means);
    for (std::size_t lane = 0; lane < maps_lanes; ++lane) {
        laws.amplitude[lane] = sums[lane] / laws.tilt.sums.zero[lane];
        if (laws.status[lane] == maps_Good && !laws.tilt.isFound[lane])
            laws.status[lane] = maps_NotConverged;
    }
    return laws;
}

maps_sLawCovariance maps_CovarianceOf(const maps_sLaws& laws, std::size_t lane) {
    const maps_sTiltSums& sums = laws.tilt.sums;
    const double mean = sums.first[lane] / sums.zero[lane];
    const double rate = 1 / (laws.amplitude[lane] * (sums.second[lane] - mean * sums.first[lane]));
    return {1 / (laws.amplitude[lane] * sums.zero[lane]) + mean * mean * rate, -mean * rate, rate};
}

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

maps_cPowerLaw::maps_cPowerLaw(std::size_t channels, const cal_c1DArrayCal& cal,
                               const std::vector<maps_sRange>& ranges, double reference)
    : law_(std::make_unique<maps_sPowerLaw>(channels, cal, ranges, reference)) {}
maps_cPowerLaw::~maps_cPowerLaw() = default;
maps_cPowerLaw::maps_cPowerLaw(maps_cPowerLaw&&) noexcept = default;
maps_cPowerLaw& maps_cPowerLaw::operator=(maps_cPowerLaw&&) noexcept = default;

namespace {

/// The sum of (y - f)^2 / f of a law A e^(b t).
double chiSquaredOf(const maps_sPowerLaw& law, const double* row, double amplitude, double rate,
                    maps_sRoom& room) {
    const std::size_t length = law.part.size();
    double* const curve = room.Get(maps_sRoom::Curve, length);
    std::fill_n(curve, length, 0.0);
    pkmd_AddExponential(law.partTimes.data(), length, amplitude, rate, curve,
                        room.Get(maps_sRoom::Weights, length),
                        room.Get(maps_sRoom::Weighted, length));
    double sum = 0;
    for (std::size_t k = 0; k < length; ++k)
        if (law.part[k] != 0)
            sum += (row[k] - curve[k]) * (row[k] - curve[k]) / curve[k];
    return sum;
}

} // namespace

void maps_cPowerLaw::Run(const maps_cStack& stack, const maps_sPlanes& planes,
                         maps_cWorkspace& workspace) const {
    const maps_sPowerLaw& law = *law_;
    const std::size_t spectra = stack.Spectra();
    maps_CheckPlanes(planes, 2, spectra);
    maps_RefuseChannels(stack.Channels() != law.channels || !(stack.Cal() == law.cal));
    const std::size_t length = law.part.size();
    double* const rows = workspace.Room().Get(maps_sRoom::Row, maps_lanes * length);
    const std::array<const double*, 2> parts{law.part.data(), law.partTimes.data()};

    for (std::size_t q = 0; q < spectra; q += maps_lanes) {
        const std::size_t many = std::min(maps_lanes, spectra - q);
        maps_Lanes sums{};
        maps_Lanes moments{};
        for (std::size_t lane = 0; lane < many; ++lane) {
            double* const row = rows + lane * length;
            maps_Fetch(stack, q + lane, law.hull.first, law.hull.Count(), row);
            std::array<double, 2> both;
            pkmd_Dots(row, parts.data(), parts.size(), length, both.data());
            if (!std::isfinite(both[0])) {
                maps_LeaveOut(law.part.data(), length, row);
                pkmd_Dots(row, parts.data(), parts.size(), length, both.data());
            }
            sums[lane] = both[0];
            moments[lane] = both[1];
        }
        const maps_sLaws laws = maps_FindLaws(law, sums, moments);
        maps_sTiltSums atReference;
        maps_SumTilted(std::array{-law.middle}, laws.tilt.rate, atReference);
        for (std::size_t lane = 0; lane < many; ++lane) {
            constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
            const bool isGood = laws.status[lane] == maps_Good;
            const double rate = laws.tilt.rate[lane];
            const double amplitude = laws.amplitude[lane] * atReference.zero[lane];
            const maps_sLawCovariance covariance = maps_CovarianceOf(laws, lane);
            const double relative =
                std::sqrt(covariance.amplitude - 2 * law.middle * covariance.both +
                          law.middle * law.middle * covariance.rate);
            const std::size_t at = q + lane;
            if (!planes.values.empty()) {
                planes.values[at] = isGood ? amplitude : nothing;
                planes.values[spectra + at] = isGood ? rate : nothing;
            }
            if (!planes.standardErrors.empty()) {
                planes.standardErrors[at] = isGood ? amplitude * relative : nothing;
                planes.standardErrors[spectra + at] = isGood ? std::sqrt(covariance.rate) : nothing;
            }
            if (!planes.chiSquared.empty())
                planes.chiSquared[at] =
                    isGood ? chiSquaredOf(law, rows + lane * length, laws.amplitude[lane], rate,
                                          workspace.Room())
                           : nothing;
            if (!planes.iterations.empty())
                planes.iterations[at] = laws.tilt.steps[lane];
            if (!planes.status.empty())
                planes.status[at] = laws.status[lane];
        }
    }
}
