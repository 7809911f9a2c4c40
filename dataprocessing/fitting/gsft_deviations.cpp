#include "dataprocessing/fitting/gsft_deviations.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "dataprocessing/base/type.h"

namespace dataprocessing::detail {

std::vector<double> gsft_Deviations(std::span<const double> y) {
    const std::ptrdiff_t last = std::ssize(y) - 1;
    const auto magnitude = [&](std::ptrdiff_t i) {
        return std::fabs(y[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(i, 0, last))]);
    };
    // How far the nearest channel is that has counts; beyond all channels where none has.
    std::vector<std::ptrdiff_t> nearest(y.size(), last + 1);
    const auto distance = [&](std::ptrdiff_t i) -> std::ptrdiff_t& {
        return nearest[static_cast<std::size_t>(i)];
    };
    for (std::ptrdiff_t i = 0; i <= last; ++i)
        distance(i) = !(magnitude(i) < type_MinValue) ? 0 : i > 0 ? distance(i - 1) + 1 : last + 1;
    for (std::ptrdiff_t i = last - 1; i >= 0; --i)
        distance(i) = std::min(distance(i), distance(i + 1) + 1);

    std::vector<double> deviations;
    deviations.reserve(y.size());
    for (std::ptrdiff_t i = 0; i <= last; ++i) {
        double s = magnitude(i);
        for (std::ptrdiff_t d = distance(i); s < type_MinValue && d <= std::max(i, last - i); ++d)
            s = (magnitude(i - d) + magnitude(i + d)) / 2;
        deviations.push_back(std::sqrt(s < type_MinValue ? 1.0 : s));
    }
    return deviations;
}

} // namespace dataprocessing::detail
