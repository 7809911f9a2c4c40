#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/fitting/pkmd.h"
#include "dataprocessing/valuemodel/conv.h"

namespace {

/// What a peak starts from whose top, of height 1, is at 0 and 1 wide at half of it.
struct sStart {
    double position;
    double height;
    double width;
    double extra;
};

/// Half Gaussian and half Lorentzian where there are both; a tail as long as the width.
sStart startOf(pkmd_eShape shape) {
    switch (shape) {
    case pkmd_Gaussian:
        break;
    case pkmd_Lorentzian:
        return {0, 1, 0.5, 0};
    case pkmd_PseudoVoigt:
        return {0, 1, 0.5, 0.5};
    case pkmd_Voigt: {
        constexpr double width = 1 / 3.6013;
        return {0, 1, width, width};
    }
    case pkmd_TailedGaussian: {
        // Of width and tail 1 the top is 0.784 high, 0.697 behind the position, and 2.891 wide.
        constexpr double width = 1 / 2.891;
        return {-0.697 * width, 1 / 0.784, width, width};
    }
    }
    return {0, 1, 1 / 2.3548, 0};
}

/// The mean of the channels that are further from every peak than one and a half of its widths, the
/// least channel where there are none. Of channels without counts that of one count in them.
double levelOutside(const darr_c1DArray& spectrum, std::span<const peak_sPeak> found) {
    const darr_c1DArray converted = conv_Convert(spectrum, dtyp_Double);
    const std::span<const double> elements = converted.Elements<double>();
    std::vector<char> isInside(elements.size());
    for (const peak_sPeak& peak : found) {
        const double reach = 1.5 * peak.width / std::fabs(spectrum.Cal().Delta());
        const auto last = static_cast<double>(elements.size());
        const double from = std::clamp(std::floor(peak.index - reach), 0.0, last);
        const double to = std::clamp(std::ceil(peak.index + reach) + 1, from, last);
        std::fill(isInside.begin() + static_cast<std::ptrdiff_t>(from),
                  isInside.begin() + static_cast<std::ptrdiff_t>(to), char{1});
    }
    double least = std::numeric_limits<double>::infinity();
    double sum = 0;
    int count = 0;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (!std::isfinite(elements[i]))
            continue;
        least = std::min(least, elements[i]);
        if (isInside[i] != 0)
            continue;
        sum += elements[i];
        ++count;
    }
    if (!std::isfinite(least))
        throw expt_cProgramException("pkmd", 5, "No channel takes part.");
    const double level = count == 0 ? least : sum / count;
    return level != 0 ? level : 1 / static_cast<double>(elements.size());
}

} // namespace

pkmd_cModel pkmd_ModelOf(const darr_c1DArray& spectrum, std::span<const peak_sPeak> found,
                         pkmd_eShape shape) {
    const sStart start = startOf(shape);
    pkmd_cModel model;
    for (const peak_sPeak& peak : found) {
        const double extra = shape == pkmd_PseudoVoigt ? start.extra : start.extra * peak.width;
        const double position = peak.position + start.position * peak.width;
        const double width = peak.width * start.width;
        const int k = model.AddPeak(shape, position, peak.prominence * start.height, width, extra);
        // Or it ends up as whatever the line leaves of the background.
        constexpr double mostWidths = 3;
        model.Bound(model.Position(k), position - peak.width, position + peak.width);
        model.Bound(model.Width(k), 0, mostWidths * width);
    }
    const double first = spectrum.Cal().Position(0);
    const double last = spectrum.Cal().Position(std::max(spectrum.Size() - 1, 0));
    const double half = std::fabs(last / 2 - first / 2);
    model.AddPolynomial({levelOutside(spectrum, found), 0}, first / 2 + last / 2,
                        half > 0 ? half : 1);
    return model;
}
