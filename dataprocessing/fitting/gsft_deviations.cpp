#include "dataprocessing/fitting/gsft_deviations.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "dataprocessing/base/type.h"

namespace dataprocessing::detail {

std::vector<double> gsft_Deviations(std::span<const double> y) {
    const std::ptrdiff_t last = std::ssize(y) - 1;
    constexpr std::ptrdiff_t never = std::numeric_limits<std::ptrdiff_t>::max();
    const auto at = [](auto& list, std::ptrdiff_t i) -> auto& {
        return list[static_cast<std::size_t>(i)];
    };
    const auto magnitude = [&](std::ptrdiff_t i) {
        return std::fabs(at(y, std::clamp<std::ptrdiff_t>(i, 0, last)));
    };
    // Whole stretches of empty channels are jumped over: previous[i] and next[i] are the nearest
    // channels up to i and from i on that have something.
    std::vector<std::ptrdiff_t> previous(y.size());
    std::vector<std::ptrdiff_t> next(y.size());
    std::ptrdiff_t found = -1;
    for (std::ptrdiff_t i = 0; i <= last; ++i)
        at(previous, i) = found = magnitude(i) < type_MinValue ? found : i;
    found = last + 1;
    for (std::ptrdiff_t i = last; i >= 0; --i)
        at(next, i) = found = magnitude(i) < type_MinValue ? found : i;

    std::vector<double> deviations;
    deviations.reserve(y.size());
    for (std::ptrdiff_t i = 0; i <= last; ++i) {
        double s = magnitude(i);
        const std::ptrdiff_t farthest = std::max(i, last - i);
        for (std::ptrdiff_t d = 1; d <= farthest && s < type_MinValue; ++d) {
            const std::ptrdiff_t before = at(previous, std::max<std::ptrdiff_t>(i - d, 0));
            const std::ptrdiff_t after = at(next, std::min(i + d, last));
            const std::ptrdiff_t nearest =
                std::min(before < 0 ? never : i - before, after > last ? never : after - i);
            if (nearest == never)
                break;
            d = std::max(d, nearest);
            s = (magnitude(i - d) + magnitude(i + d)) / 2;
        }
        deviations.push_back(std::sqrt(s < type_MinValue ? 1.0 : s));
    }
    return deviations;
}

} // namespace dataprocessing::detail
