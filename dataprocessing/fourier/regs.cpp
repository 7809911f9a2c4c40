#include "dataprocessing/fourier/regs.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <numeric>
#include <span>

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

/// Calls `work(first, values)` for the elements as doubles, a block that fits the first cache at a
/// time. A float would round a small content on a large mean away.
template<class Work>
void forEachBlock(const parr_cNumberArray& array, const Work& work) {
    const auto* const elements = static_cast<const std::byte*>(array.Data());
    const auto count = static_cast<std::size_t>(array.Count());
    double block[1024];
    for (std::size_t first = 0; first < count;) {
        const std::size_t size = std::min(std::size(block), count - first);
        conv_Elements(elements + first * array.DataType().SizeOf(), array.DataType(), block,
                      dtyp_Double, size, conv_RealPart);
        work(first, std::span<const double>(block, size));
        first += size;
    }
}

/// Sums and extremes, of what is not NaN, in lanes that need not wait for each other.
class cContent {
public:
    cContent() {
        std::fill_n(lowest_, lanes, std::numeric_limits<double>::infinity());
        std::fill_n(highest_, lanes, -std::numeric_limits<double>::infinity());
    }
    void Add(std::span<const double> values) {
        cContent sums = *this; // which no value can be part of
        std::size_t i = 0;
        for (; i + lanes <= values.size(); i += lanes)
            for (std::size_t lane = 0; lane < lanes; ++lane)
                sums.Add(lane, values[i + lane]);
        for (; i < values.size(); ++i)
            sums.Add(0, values[i]);
        *this = sums;
    }
    double Sum() const { return std::accumulate(sums_, sums_ + lanes, 0.0); }
    double Lowest() const { return *std::min_element(lowest_, lowest_ + lanes); }
    double Highest() const { return *std::max_element(highest_, highest_ + lanes); }

private:
    static constexpr std::size_t lanes = 8;
    void Add(std::size_t lane, double value) {
        sums_[lane] += value;
        lowest_[lane] = value < lowest_[lane] ? value : lowest_[lane];
        highest_[lane] = value > highest_[lane] ? value : highest_[lane];
    }
    double sums_[lanes] = {};
    double lowest_[lanes];
    double highest_[lanes];
};

/// The elements less their mean, the largest scaled to 1.
regs_sPlane planeOf(const parr_cNumberArray& array, int sizeX, int sizeY) {
    if (array.DataType().IsComplex())
        throw expt_cProgramException("regs", 3, "Complex elements are not registered.");
    conv_Check(array.DataType(), dtyp_Double, conv_RealPart);
    regs_sPlane plane(sizeX, sizeY);
    cContent content;
    forEachBlock(array, [&](std::size_t, std::span<const double> values) { content.Add(values); });
    const double mean = content.Sum() / static_cast<double>(plane.values.size());
    const double largest = std::max(content.Highest() - mean, mean - content.Lowest());
    if (plane.values.empty() || !std::isfinite(content.Sum()) || !std::isfinite(largest) ||
        content.Lowest() == content.Highest())
        throw expt_cUserException("regs", 4, "There is nothing to register by.");
    // One over the smallest numbers there are would not be finite.
    const double up = largest < 1 ? 0x1p600 : 1;
    const double scale = 1 / (largest * up);
    forEachBlock(array, [&](std::size_t first, std::span<const double> values) {
        std::transform(
            values.begin(), values.end(), plane.values.data() + first,
            [&](double value) { return static_cast<float>((value - mean) * up * scale); });
    });
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
