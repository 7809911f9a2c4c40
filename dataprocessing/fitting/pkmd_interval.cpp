#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "dataprocessing/fitting/pkmd.h"
#include "dataprocessing/fitting/pkmd_equations.h"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Where `riseAt(distance)` comes up to 1, from 0 at a distance of 0 and about 1 at one of `error`;
/// `most` where it does not before, NaN where riseAt gives up or no distance has a value. Its root
/// is nearly a straight line, which is followed.
template<class RiseAt>
double distanceOfOne(double error, double most, RiseAt riseAt) {
    double inside = 0;
    double rootInside = 0;
    double outside = infinity;
    double rootOutside = infinity;
    double distance = std::min(error, most);
    constexpr int mostTries = 60;
    constexpr double enough = 1e-4;
    for (int i = 0; i < mostTries; ++i) {
        const double rise = riseAt(distance);
        if (std::isnan(rise))
            return rise;
        const double root = std::sqrt(std::max(rise, 0.0));
        if (std::fabs(root - 1) <= enough)
            return distance;
        if (root < 1) {
            if (distance >= most)
                return most;
            inside = distance;
            rootInside = root;
        } else {
            outside = distance;
            rootOutside = root;
        }
        if (outside == infinity) {
            constexpr double fastest = 4;
            distance = std::min(most, distance * std::clamp(1.05 / root, 1.1, fastest));
        } else if (rootOutside == infinity) {
            distance = inside / 2 + outside / 2;
        } else {
            const double part = (1 - rootInside) / (rootOutside - rootInside);
            distance = inside + std::clamp(part, 0.05, 0.95) * (outside - inside);
        }
    }
    if (outside == infinity)
        return infinity;
    // A step of chi-squared across it.
    return inside > 0 && rootOutside < infinity ? distance
                                                : std::numeric_limits<double>::quiet_NaN();
}

} // namespace

pkmd_sInterval pkmd_Interval(const pkmd_cModel& model, const darr_c1DArray& spectrum,
                             const pkmd_sResult& found, int parameter,
                             const pkmd_sOptions& options) {
    using namespace dataprocessing::detail;
    pkmd_cModel other = model; // that refuses what does not belong to it
    other.SetStarts(found.fit.parameters);
    other.Fix(parameter);
    std::vector<nlsq_sParameter> kinds = pkmd_KindsOf(model, spectrum.Cal().Delta());
    const auto number = static_cast<std::size_t>(parameter);
    const nlsq_sParameter kind = std::exchange(kinds[number], nlsq_sParameter::Fixed());
    if (kind.kind != nlsq_sParameter::Moving || !found.fit.Converged())
        throw expt_cProgramException("pkmd", 11,
                                     "The parameter does not move, or the fit did not converge.");
    const double best = found.fit.parameters[number];
    const double error = found.fit.standardErrors[number];
    const double one =
        options.errors == nlsq_ErrorsFromScatter ? found.fit.ReducedChiSquared() : 1.0;
    const double unit = error > 0 ? error : std::max(1e-3 * std::fabs(best), 1e-6);
    const auto chiSquaredFrom = [&](const std::vector<double>& starts) {
        const nlsq_sResult there = pkmd_FitFrom(model, starts, kinds, spectrum, options).fit;
        if (there.end == nlsq_Stopped || there.end == nlsq_StoppedByObserver)
            return std::numeric_limits<double>::quiet_NaN();
        if (!there.Converged())
            return infinity;
        return there.chiSquared;
    };
    // The others start where they go with the parameter, or from where they were where that leads
    // nowhere.
    const auto chiSquaredAt = [&](double value) {
        std::vector<double> starts = found.fit.parameters;
        starts[number] = value;
        const std::size_t count = starts.size();
        const double* const row = found.fit.covariance.data() + number * count;
        const double away = error > 0 ? (value - best) / row[number] : 0;
        std::vector<double> moved = starts;
        for (std::size_t i = 0; i < count; ++i)
            if (i != number && kinds[i].kind == nlsq_sParameter::Moving)
                moved[i] += row[i] * away;
        if (moved == starts)
            return chiSquaredFrom(starts);
        const double chiSquared = chiSquaredFrom(moved);
        return chiSquared == infinity ? chiSquaredFrom(starts) : chiSquared;
    };
    // Away from the best value up to a bound, which is met to the bit.
    const auto end = [&](double side, double bound) {
        const double most = std::fabs(bound - best);
        const auto at = [&](double away) { return away >= most ? bound : best + side * away; };
        return at(distanceOfOne(unit, most, [&](double away) {
            return (chiSquaredAt(at(away)) - found.fit.chiSquared) / one;
        }));
    };
    return {end(-1, kind.lower), end(1, kind.upper)};
}
