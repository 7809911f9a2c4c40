#include <algorithm>
#include <limits>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/filter/smth_polynomials.h"
#include "dataprocessing/filter/smth_strip.h"
#include "dataprocessing/filter/smth_weights.h"
#include "dataprocessing/maps/maps_band.h"

namespace dataprocessing::detail {

namespace {

maps_sFilter emptyFilter(std::size_t channels, const cal_c1DArrayCal& cal) {
    return {.channels = channels, .cal = cal, .results = channels, .resultCal = cal};
}

/// The numbers of the value at each of `width` channels, one after the other, of the polynomial
/// through all of them.
std::vector<double> endNumbers(int width, int order, int derivative, long double scale) {
    const auto terms = static_cast<std::size_t>(width);
    std::vector<double> numbers(terms * terms);
    std::vector<comp_cComplex<double>> one(terms);
    for (std::size_t k = 0; k < terms; ++k) {
        one[k] = 1.0;
        const auto values = smth_FittedValues(one, order, derivative, scale);
        for (std::size_t at = 0; at < terms; ++at)
            numbers[at * terms + k] = values[at].re;
        one[k] = 0.0;
    }
    return numbers;
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

maps_cFilter maps_Smooth(std::size_t channels, const cal_c1DArrayCal& cal, int width, int order,
                         int derivative) {
    smth_CheckPolynomial(width, order, derivative);
    maps_sFilter filter = emptyFilter(channels, cal);
    if (channels == 0)
        return std::move(filter).Made();
    const auto terms = static_cast<std::size_t>(width);
    if (channels < terms)
        arr_SizeError(static_cast<long long>(channels), width);
    const long double scale = smth_DerivativeScale(cal.Delta(), derivative);
    if (derivative > order) {
        filter.Add(channels, 0, {});
        return std::move(filter).Made();
    }
    const std::size_t half = terms / 2;
    const std::vector<double> ends = endNumbers(width, order, derivative, scale);
    std::vector<double> middle;
    for (const long double number : smth_CentralWeights(width, order, derivative))
        middle.push_back(static_cast<double>(number * scale));
    const auto addEnd = [&](std::size_t at, std::size_t channel) {
        filter.Add(1, channel, std::span(ends).subspan(at * terms, terms));
    };
    for (std::size_t at = 0; at < half; ++at)
        addEnd(at, 0);
    filter.Add(channels - 2 * half, 0, middle);
    for (std::size_t at = half + 1; at < terms; ++at)
        addEnd(at, channels - terms);
    return std::move(filter).Made();
}

maps_cFilter maps_SmoothGauss(std::size_t channels, const cal_c1DArrayCal& cal, double sigma) {
    const std::vector<double> weights = smth_GaussWeights(sigma, cal.Delta());
    if (channels > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        arr_SizeError();
    maps_sFilter filter = emptyFilter(channels, cal);
    const auto count = static_cast<int>(channels);
    const auto terms = static_cast<int>(weights.size());
    const int reach = terms / 2;
    std::vector<double> folded;
    for (int at = 0; at < count; ++at) {
        if (at >= reach && at < count - reach) {
            const int inner = count - 2 * reach;
            filter.Add(static_cast<std::size_t>(inner), 0, weights);
            at += inner - 1;
            continue;
        }
        // Beyond an end stand the channels next to it, mirrored.
        const int first = at < reach ? 0 : std::max(0, count - 2 * reach);
        folded.assign(static_cast<std::size_t>(std::min(count - first, 2 * reach)), 0.0);
        for (int k = 0; k < terms; ++k)
            folded[static_cast<std::size_t>(smth_Mirrored(0LL + at + k - reach, count) - first)] +=
                weights[static_cast<std::size_t>(k)];
        filter.Add(1, static_cast<std::size_t>(first), folded);
    }
    return std::move(filter).Made();
}
