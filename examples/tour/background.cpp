#include "background.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "progress.h"
#include "smoothing.h"

namespace tour {

namespace {

constexpr int widening = 4;
constexpr int widestWindow = 100; // more takes long on long spectra and tells nothing new

double compressed(double y) { return std::log(std::log(std::max(y, 0.0) + 1) + 1); }
double expanded(double z) { return std::exp(std::exp(z) - 1) - 1; }

std::vector<double> clipped(std::vector<double> z) {
    Progress progress("estimating the background");
    const std::size_t count = z.size();
    const std::size_t widest = std::clamp<std::size_t>(count / 50, 2, widestWindow);
    std::vector<double> next(count);
    for (std::size_t w = widest; w > 0; --w) {
        for (std::size_t i = 0; i < count; ++i) {
            const bool isInside = i >= w && i + w < count;
            next[i] = isInside ? std::min(z[i], (z[i - w] + z[i + w]) / 2) : z[i];
            progress.Part((widest - w) * count + i, widest * count);
        }
        z.swap(next);
    }
    return z;
}

} // namespace

Spectrum estimatedBackground(const Spectrum& spectrum) {
    const darr_c1DArray counts = conv_Convert(spectrum.counts, dtyp_Double);
    const std::span<const double> given = counts.Elements<double>();
    std::vector<double> z = smoothed({given.begin(), given.end()}, 2);
    std::transform(z.begin(), z.end(), z.begin(), compressed);
    z = clipped(std::move(z));
    std::transform(z.begin(), z.end(), z.begin(), expanded);
    z = smoothed(z, 4);

    const int first = counts.Size() / 20;
    const int size = (counts.Size() - 2 * first) / widening;
    const cal_c1DArrayCal cal(counts.Cal().Position(first), widening * counts.Cal().Delta(), 0);
    std::vector<float> background(static_cast<std::size_t>(size));
    for (std::size_t i = 0; i < background.size(); ++i)
        background[i] = static_cast<float>(z[static_cast<std::size_t>(first) + i * widening]);
    return {darr_c1DArray(std::span<const float>(background), cal), spectrum.axis, spectrum.unit};
}

} // namespace tour
