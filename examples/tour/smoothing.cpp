#include "smoothing.h"

#include <algorithm>

namespace tour {

std::vector<double> smoothed(std::span<const double> y, std::size_t reach) {
    std::vector<double> result(y.size());
    for (std::size_t i = 0; i < y.size(); ++i) {
        const std::size_t first = i - std::min(i, reach);
        const std::size_t last = std::min(i + reach, y.size() - 1);
        double sum = 0;
        for (std::size_t k = first; k <= last; ++k)
            sum += y[k];
        result[i] = sum / static_cast<double>(last - first + 1);
    }
    return result;
}

} // namespace tour
