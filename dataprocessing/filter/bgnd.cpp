#include "dataprocessing/filter/bgnd.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/conv_check.h"

namespace dataprocessing::detail {

namespace {

double countScale(double y) { return std::log(std::log(std::sqrt(y + 1) + 1) + 1); }

double scaled(double y, bgnd_eScale scale) {
    if (scale == bgnd_Values)
        return y;
    return std::copysign(countScale(std::fabs(y)) - countScale(0), y);
}

double unscaled(double v, bgnd_eScale scale) {
    if (scale == bgnd_Values)
        return v;
    const double root = std::exp(std::exp(std::fabs(v) + countScale(0)) - 1) - 1;
    return std::copysign((root - 1) * (root + 1), v);
}

/// One step: `target` becomes what `v` is after it.
void clip(const std::vector<double>& v, std::size_t halfWidth, std::vector<double>& target) {
    const std::size_t inner = v.size() - 2 * halfWidth;
    std::copy_n(v.begin(), halfWidth, target.begin());
    const double* const before = v.data();
    const double* const here = before + halfWidth;
    const double* const after = here + halfWidth;
    double* const result = target.data() + halfWidth;
    for (std::size_t i = 0; i < inner; ++i) {
        const double mean = 0.5 * before[i] + 0.5 * after[i];
        result[i] = mean < here[i] ? mean : here[i];
    }
    std::copy_n(v.end() - static_cast<std::ptrdiff_t>(halfWidth), halfWidth,
                target.end() - static_cast<std::ptrdiff_t>(halfWidth));
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

darr_c1DArray bgnd_Snip(const darr_c1DArray& array, int iterations, const bgnd_sOptions& options) {
    if (iterations < 0)
        throw expt_cProgramException("bgnd", 1, "The number of iterations is negative.");
    if ((options.order != bgnd_Decreasing && options.order != bgnd_Increasing) ||
        (options.scale != bgnd_Counts && options.scale != bgnd_Values))
        throw expt_cProgramException("bgnd", 2, "Unknown option.");
    const dtyp_cDataType stored = array.DataType();
    if (stored.IsComplex())
        throw expt_cProgramException("bgnd", 3, "Complex elements have no order.");
    conv_Check(stored, dtyp_Double, conv_RealPart);

    const auto count = static_cast<std::size_t>(array.Size());
    std::vector<double> y(count);
    conv_Elements(array.Data(), stored, y.data(), dtyp_Double, count, conv_RealPart);
    std::vector<double> start(count);
    std::transform(y.begin(), y.end(), start.begin(),
                   [&](double value) { return scaled(value, options.scale); });
    std::vector<double> v = start;
    std::vector<double> next(count);
    // A wider step than this has no element far enough from both ends.
    const std::size_t widest =
        std::min(static_cast<std::size_t>(iterations), (count - (count > 0)) / 2);
    for (std::size_t step = 1; step <= widest; ++step) {
        clip(v, options.order == bgnd_Increasing ? step : widest + 1 - step, next);
        std::swap(v, next);
    }
    for (std::size_t i = 0; i < count; ++i)
        if (v[i] < start[i])
            y[i] = std::min(y[i], unscaled(v[i], options.scale));

    darr_c1DArray result(array.Size(), stored == dtyp_Float ? stored : dtyp_cDataType(dtyp_Double),
                         array.Cal());
    conv_Elements(y.data(), dtyp_Double, result.Data(), result.DataType(), count, conv_RealPart);
    return result;
}
