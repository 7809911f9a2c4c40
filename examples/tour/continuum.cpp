#include "continuum.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>

namespace tour {

namespace {

constexpr std::size_t order = 4; // of cubic splines
constexpr double widthsApart = 3;
constexpr double widthsApartUnder = 5;
constexpr int fewestChannels = 4; // between knots

/// How far the next knot after `x` is.
double stepFrom(double x, const WidthLaw& law, std::span<const rnge_c1DRange> close,
                std::span<const rnge_c1DRange> under) {
    const double width = law.At(x);
    double step = widthsApart * width;
    if (std::any_of(under.begin(), under.end(), [&](const rnge_c1DRange& range) {
            return x + step > range.Start() && x < range.End();
        }))
        step = widthsApartUnder * width;
    for (const rnge_c1DRange& range : close)
        if (x + step > range.Start() && x < range.End())
            step = std::max(width, std::min(step, range.Start() - x));
    return step;
}

std::vector<double> knotsOver(double from, double to, double delta, const WidthLaw& law,
                              std::span<const rnge_c1DRange> close,
                              std::span<const rnge_c1DRange> under) {
    std::vector<double> inner{from};
    while (true) {
        const double step =
            std::max(stepFrom(inner.back(), law, close, under), fewestChannels * delta);
        if (inner.back() + 1.5 * step > to)
            break;
        inner.push_back(inner.back() + step);
    }
    inner.push_back(to);
    std::vector<double> knots(order - 1, from);
    knots.insert(knots.end(), inner.begin(), inner.end());
    knots.insert(knots.end(), order - 1, to);
    return knots;
}

/// The splines that are not 0 between knots `span` and `span + 1`, by the recurrence of Cox and
/// de Boor; the last one is number `span`.
std::array<double, order> splinesAt(double x, std::size_t span, std::span<const double> knots) {
    std::array<double, order> values{1};
    for (std::size_t degree = 1; degree < order; ++degree) {
        double saved = 0;
        for (std::size_t r = 0; r < degree; ++r) {
            const double right = knots[span + r + 1];
            const double left = knots[span + 1 + r - degree];
            const double part = values[r] / (right - left);
            values[r] = saved + (right - x) * part;
            saved = (x - left) * part;
        }
        values[degree] = saved;
    }
    return values;
}

} // namespace

Continuum continuumOver(const cal_c1DArrayCal& cal, int channels, const WidthLaw& law,
                        std::span<const rnge_c1DRange> close,
                        std::span<const rnge_c1DRange> under) {
    const double from = cal.Position(0);
    const double to = cal.Position(channels - 1);
    const std::vector<double> knots = knotsOver(from, to, cal.Delta(), law, close, under);
    const std::size_t count = knots.size() - order;
    const std::size_t size = static_cast<std::size_t>(channels);
    std::vector<std::vector<double>> curves(count, std::vector<double>(size));
    std::size_t span = order - 1;
    for (std::size_t i = 0; i < size; ++i) {
        const double x = std::clamp(cal.Position(static_cast<long long>(i)), from, to);
        while (span + 1 < count && x >= knots[span + 1])
            ++span;
        const std::array<double, order> values = splinesAt(x, span, knots);
        for (std::size_t k = 0; k < order; ++k)
            curves[span + k + 1 - order][i] = values[k];
    }
    Continuum continuum;
    for (std::size_t j = 0; j < count; ++j) {
        continuum.curves.emplace_back(std::span<const double>(curves[j]), cal);
        continuum.middles.push_back((knots[j + 1] + knots[j + 2] + knots[j + 3]) / 3);
    }
    return continuum;
}

} // namespace tour
