#include "significance.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

namespace tour {

namespace {

constexpr double least = 1e-9; // in place of no counts, whose logarithm there is none of

/// The signed root of the deviance of counts from what is expected, and of Poisson numbers of
/// events in general.
darr_c1DArray rootOfDeviance(const darr_c1DArray& counts, const darr_c1DArray& expected) {
    const darr_c1DArray excess = counts - expected;
    const darr_c1DArray deviance =
        2.0 * (counts * log(trny_max(counts, least) / expected) - excess);
    const darr_c1DArray root = sqrt(trny_max(deviance, 0.0));
    barr_c1DBoolArray isAbove = excess > 0.0;
    isAbove.SetCal(root.Cal());
    return tnry_Ternary(isAbove, root, -1.0 * root);
}

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

darr_c1DArray deviations(const darr_c1DArray& values, const darr_c1DArray& expected,
                         const Noise& noise, double together) {
    if (noise.isOfCounts)
        return rootOfDeviance(values * together, trny_max(expected * together, least));
    return (values - expected) * (std::sqrt(together) / noise.deviation);
}

} // namespace

Noise noiseOf(const darr_c1DArray& values) {
    const std::span<const double> y = values.Elements<double>();
    if (std::all_of(y.begin(), y.end(), [](double v) { return v >= 0 && v == std::floor(v); }))
        return {};
    std::vector<double> differences;
    for (std::size_t i = 1; i + 1 < y.size(); ++i)
        differences.push_back(std::abs(y[i - 1] - 2 * y[i] + y[i + 1]));
    // 0.6745 deviations is the median of a normal distribution's magnitude, and 6 the sum of the
    // squares of 1, -2 and 1.
    const double deviation = medianOf(differences) / (0.6745 * std::sqrt(6.0));
    // Where most differences are 0, those that are not tell of rounding.
    double squares = 0;
    for (const double difference : differences)
        squares += difference * difference;
    const double byMean = std::sqrt(squares / (6 * static_cast<double>(differences.size())));
    const double largest = std::abs(*std::max_element(
        y.begin(), y.end(), [](double a, double b) { return std::abs(a) < std::abs(b); }));
    return {false, std::max({deviation > 0 ? deviation : byMean, 1e-6 * largest, 1e-150})};
}

double excessOfNoise(const darr_c1DArray& values) {
    constexpr double fewCounts = 20;
    constexpr std::size_t few = 64;
    constexpr double clearly = 2;
    const std::span<const double> y = values.Elements<double>();
    std::vector<double> differences; // in units of what counts make of them
    for (std::size_t i = 1; i + 1 < y.size(); ++i)
        if (const double variance = y[i - 1] + 4 * y[i] + y[i + 1]; variance > 6 * fewCounts)
            differences.push_back(std::abs(y[i - 1] - 2 * y[i] + y[i + 1]) / std::sqrt(variance));
    if (differences.size() < few)
        return 1;
    // The lower quarter: where lines are steep, neighbours differ by more than noise makes.
    const auto quarter = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 4);
    std::nth_element(differences.begin(), quarter, differences.end());
    const double excess = *quarter / 0.3186; // of a normal distribution's magnitude
    return excess > clearly ? excess : 1;
}

darr_c1DArray residualsOf(const darr_c1DArray& values, const darr_c1DArray& expected,
                          const Noise& noise) {
    return deviations(values, expected, noise, 1);
}

darr_c1DArray significanceOf(const darr_c1DArray& values, const darr_c1DArray& expected,
                             const Noise& noise, const WidthLaw& law) {
    constexpr double step = 1.25; // from width to width
    const cal_c1DArrayCal& cal = values.Cal();
    const int size = values.Size();
    const auto widthAt = [&](int i) { return std::max(law.At(cal.Position(i)), cal.Delta()); };
    const double first = std::min(widthAt(0), widthAt(size - 1));
    const double last = std::max(widthAt(0), widthAt(size - 1));
    darr_c1DArray result(size, 0.0, cal);
    const std::span<double> to = result.Elements<double>();
    for (double width = first; width < last * step; width *= step) {
        const double sigma = width / fullWidthPerSigma;
        // An average with the weights of a Gaussian has the noise of so many channels' mean.
        const double together = 2 * std::sqrt(type_Pi) * sigma / cal.Delta();
        const darr_c1DArray part =
            deviations(smth_Gauss(values, sigma), smth_Gauss(expected, sigma), noise, together);
        const std::span<const double> from = part.Elements<double>();
        for (int i = 0; i < size; ++i)
            if (std::abs(std::log(widthAt(i) / width)) <= std::log(step) / 2)
                to[static_cast<std::size_t>(i)] = from[static_cast<std::size_t>(i)];
    }
    return result;
}

double widestOf(const darr_c1DArray& values) {
    constexpr double partOfRange = 40;
    constexpr double channels = 10; // which lines of any spectrum may have
    return std::max(channels, values.Size() / partOfRange) * values.Cal().Delta();
}

std::optional<Width> typicalWidth(const darr_c1DArray& values, const Noise& noise) {
    constexpr double clear = 10; // deviations
    const double delta = values.Cal().Delta();
    const double widest = widestOf(values);
    for (double sigma = 0; sigma <= 32; sigma = std::max(1.0, 2 * sigma)) {
        const darr_c1DArray smooth = sigma > 0 ? smth_Gauss(values, sigma * delta) : values;
        const peak_sOptions options =
            noise.isOfCounts
                ? peak_sOptions{.significance = clear}
                : peak_sOptions{.prominence = clear * noise.deviation / std::sqrt(1 + 3.5 * sigma)};
        std::vector<Width> widths;
        for (const peak_sPeak& peak : peak_Find(smooth, options)) {
            const double added = fullWidthPerSigma * sigma * delta;
            const double width =
                std::sqrt(std::max(peak.width * peak.width - added * added, delta * delta));
            if (width <= widest)
                widths.push_back({peak.position, width, 0});
        }
        // Lines that overlap are wide together: the lower quarter has single ones.
        if (!widths.empty()) {
            const auto quarter = widths.begin() + static_cast<std::ptrdiff_t>(widths.size() / 4);
            std::nth_element(widths.begin(), quarter, widths.end(),
                             [](const Width& a, const Width& b) { return a.value < b.value; });
            return *quarter;
        }
    }
    return std::nullopt;
}

} // namespace tour
