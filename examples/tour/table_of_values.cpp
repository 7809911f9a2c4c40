#include "table_of_values.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>

#include "input_error.h"

namespace tour {

namespace {

constexpr std::size_t fewestValues = 16;
constexpr std::size_t mostValues = std::size_t{1} << 26;
// x is often written with few decimals, so its steps are even only to some part of a step.
constexpr double unevenness = 0.1;
// Far from where lengths would be zero in single precision, over which nothing is fitted.
constexpr double smallestStep = 1e-30;

/// Brings positions that fall into the order in which they rise.
void orient(Values& values) {
    if (values.x.size() < 2 || values.x[1] > values.x[0])
        return;
    std::reverse(values.x.begin(), values.x.end());
    std::reverse(values.y.begin(), values.y.end());
    std::reverse(values.places.begin(), values.places.end());
}

cal_c1DArrayCal calibrationOf(const Values& values, const std::string& file) {
    const std::vector<double>& x = values.x;
    const auto increases = [&](std::size_t i) { return x[i] > x[i - 1]; };
    for (std::size_t i = 1; i < x.size(); ++i)
        if (!increases(i))
            throw InputError(file, values.places[i],
                             x[i] == x[i - 1] ? "x is the same as in the line before"
                                              : "x does not go on in one direction");
    const double delta = (x.back() - x.front()) / static_cast<double>(x.size() - 1);
    if (delta < smallestStep)
        throw InputError(file, values.places.back(), "x increases by less than 1e-30 at a step");
    const cal_c1DArrayCal cal(x.front(), delta, 0);
    bool isEven = true;
    std::size_t worst = 1;
    const auto off = [&](std::size_t i) { return std::abs(x[i] - x[i - 1] - delta); };
    for (std::size_t i = 1; i < x.size(); ++i) {
        isEven = isEven &&
                 std::abs(x[i] - cal.Position(static_cast<long long>(i))) <= unevenness * delta;
        worst = off(i) > off(worst) ? i : worst;
    }
    if (!isEven)
        throw InputError(file, values.places[worst],
                         "x is not evenly spaced: here is the step that differs most");
    return cal;
}

template<class T>
bool holdsAll(const std::vector<double>& values) {
    return std::all_of(values.begin(), values.end(), [](double value) {
        return value >= 0 && value <= std::numeric_limits<T>::max() && value == std::floor(value);
    });
}

} // namespace

void Values::Add(double value, const TextFile& file, std::size_t column) {
    if (y.size() == mostValues)
        file.Fail(1, "more than " + std::to_string(mostValues) + " values");
    y.push_back(value);
    places.push_back({file.Number(), column});
}

std::string knownUnit(std::string_view unit) {
    const std::string name = lowered(unit);
    if (name == "kev" || name == "ev")
        return name == "kev" ? "keV" : "eV";
    return name == "channel" || name == "channels" || name == "ch" ? "channel" : std::string(unit);
}

Spectrum spectrumOf(Values values, const TextFile& file) {
    if (values.y.size() < fewestValues)
        file.FailAtEnd("the file ends after " + std::to_string(values.y.size()) +
                       " values; at least " + std::to_string(fewestValues) + " are needed");
    orient(values);
    const cal_c1DArrayCal cal = !values.x.empty() ? calibrationOf(values, file.Name())
                                                  : values.calibration.value_or(cal_c1DArrayCal());
    darr_c1DArray counts(std::span<const double>(values.y), cal);
    if (holdsAll<std::uint16_t>(values.y))
        counts.Convert(dtyp_UInt16);
    else if (holdsAll<std::uint32_t>(values.y))
        counts.Convert(dtyp_UInt32);
    Spectrum spectrum{std::move(counts), values.axis, values.unit, std::move(values.remarks)};
    if ((values.x.empty() && !values.calibration) || spectrum.unit == "channel") {
        spectrum.axis = "channel";
        spectrum.unit.clear();
    } else if (spectrum.axis.empty())
        spectrum.axis = spectrum.IsOfEnergy() ? "energy" : "x";
    return spectrum;
}

} // namespace tour
