#include "dataprocessing/fourier/regs.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numeric>
#include <span>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/fourier/regs_finder.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/conv_check.h"

namespace dataprocessing::detail {

namespace {

/// The same step of elements in both, from somewhere on.
void requireCalibrations(const cal_cArrayCal& a, const cal_cArrayCal& b) {
    const double delta = a.Delta();
    if (!std::isfinite(delta) || delta == 0 ||
        !(std::fabs(b.Delta() - delta) <= 1e-6 * std::fabs(delta)))
        throw expt_cProgramException("regs", 2, "The deltas differ or are none.");
    if (!std::isfinite(a.Position(0)) || !std::isfinite(b.Position(0)))
        throw expt_cProgramException("regs", 2, "An offset is not finite.");
}

void requireOptions(const regs_sOptions& options) {
    if (!(options.low >= 0 && options.low < options.high) ||
        !(options.overlap > 0 && options.overlap <= 1) || options.subElement < regs_Fourier ||
        options.subElement > regs_LeastSquares)
        throw expt_cProgramException("regs", 1, "An option is not one that there is.");
}

struct sContent {
    double sum;
    double lowest;
    double highest;
};

/// Sums and extremes, of what is not NaN, in lanes that need not wait for each other.
sContent contentOf(std::span<const double> values) {
    constexpr std::size_t lanes = 8;
    double sums[lanes] = {};
    double lowest[lanes];
    double highest[lanes];
    std::fill_n(lowest, lanes, std::numeric_limits<double>::infinity());
    std::fill_n(highest, lanes, -std::numeric_limits<double>::infinity());
    const auto add = [&](std::size_t lane, double value) {
        sums[lane] += value;
        lowest[lane] = value < lowest[lane] ? value : lowest[lane];
        highest[lane] = value > highest[lane] ? value : highest[lane];
    };
    std::size_t i = 0;
    for (; i + lanes <= values.size(); i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            add(lane, values[i + lane]);
    for (; i < values.size(); ++i)
        add(0, values[i]);
    return {std::accumulate(sums, sums + lanes, 0.0), *std::min_element(lowest, lowest + lanes),
            *std::max_element(highest, highest + lanes)};
}

/// The elements less their mean, the largest scaled to 1.
regs_sPlane planeOf(const parr_cNumberArray& array, int sizeX, int sizeY) {
    if (array.DataType().IsComplex())
        throw expt_cProgramException("regs", 3, "Complex elements are not registered.");
    conv_Check(array.DataType(), dtyp_Double, conv_RealPart);
    regs_sPlane plane(sizeX, sizeY);
    // A float would round a small content on a large mean away.
    std::vector<double> values(plane.values.size());
    conv_Elements(array.Data(), array.DataType(), values.data(), dtyp_Double, values.size(),
                  conv_RealPart);
    const sContent content = contentOf(values);
    const double mean = content.sum / static_cast<double>(values.size());
    const double largest = std::max(content.highest - mean, mean - content.lowest);
    if (values.empty() || !std::isfinite(content.sum) || !std::isfinite(largest) ||
        content.lowest == content.highest)
        throw expt_cUserException("regs", 4, "There is nothing to register by.");
    std::transform(values.begin(), values.end(), plane.values.begin(),
                   [&](double value) { return static_cast<float>((value - mean) / largest); });
    return plane;
}

/// A shift of elements as one of positions.
double calibrated(double elements, const cal_cArrayCal& fixed, const cal_cArrayCal& moved) {
    return moved.Position(0) - fixed.Position(0) + elements * moved.Delta();
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

regs_s1DShift regs_Register(const darr_c1DArray& fixed, const darr_c1DArray& moved,
                            const regs_sOptions& options) {
    requireOptions(options);
    requireCalibrations(fixed.Cal(), moved.Cal());
    const regs_s2DShift shift = regs_Found(
        {planeOf(fixed, fixed.Size(), 1), planeOf(moved, moved.Size(), 1), options.overlap},
        options);
    return {calibrated(shift.elementsX, fixed.Cal(), moved.Cal()), shift.elementsX, shift.height,
            shift.second};
}

regs_s2DShift regs_Register(const darr_c2DArray& fixed, const darr_c2DArray& moved,
                            const regs_sOptions& options) {
    requireOptions(options);
    requireCalibrations(fixed.Cal().X(), moved.Cal().X());
    requireCalibrations(fixed.Cal().Y(), moved.Cal().Y());
    regs_s2DShift shift =
        regs_Found({planeOf(fixed, fixed.SizeX(), fixed.SizeY()),
                    planeOf(moved, moved.SizeX(), moved.SizeY()), options.overlap},
                   options);
    shift.x = calibrated(shift.elementsX, fixed.Cal().X(), moved.Cal().X());
    shift.y = calibrated(shift.elementsY, fixed.Cal().Y(), moved.Cal().Y());
    return shift;
}
