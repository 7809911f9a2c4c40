#include "dataprocessing/fourier/regs_plane.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <numeric>

#include "dataprocessing/fourier/regs_kernels.h"

#define LEVEL_KERNELS "dataprocessing/fourier/regs_likeness_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

regs_sLikeness regs_LikenessOf(const regs_sPlane& fixed, const regs_sPlane& moved,
                               const regs_sShift& shift, int step) {
    const regs_sOverlap x(fixed.sizeX, moved.sizeX, shift.x);
    const regs_sOverlap y(fixed.sizeY, moved.sizeY, shift.y);
    if (x.count <= 0 || y.count <= 0)
        return {};
    const auto addRow = LEVEL_SELECT(regs_AddLikeness);
    regs_sProducts products;
    for (int row = y.first; row < y.first + y.count; row += step)
        addRow(fixed.Row(row) + x.first, moved.Row(row + shift.y) + x.first + shift.x,
               static_cast<std::size_t>(x.count), products);
    const auto sumOf = [&products](int k) {
        return std::accumulate(std::begin(products.lanes[k]), std::end(products.lanes[k]), 0.0);
    };
    const double a = sumOf(0), b = sumOf(1), aa = sumOf(2), ab = sumOf(3), bb = sumOf(4);
    const int rows = (y.count - 1) / step + 1;
    const double n = static_cast<double>(x.count) * rows;
    const double ofFixed = aa - a * a / n;
    const double ofMoved = bb - b * b / n;
    // Of equal elements there is nothing left but what sums are rounded by.
    constexpr double rounding = 1e-12;
    if (!(ofFixed > rounding * aa) || !(ofMoved > rounding * bb))
        return {};
    const double gain = std::sqrt(ofFixed / ofMoved);
    return {(ab - a * b / n) / std::sqrt(ofFixed * ofMoved), {gain, (a - gain * b) / n}};
}

double regs_RankOf(double coefficient, double count, double doubt) {
    const double alike = std::clamp(coefficient, 0.0, 1.0);
    return -count * std::log(1 + doubt - alike * alike);
}

double regs_Vertex(float before, float here, float after) {
    const double part =
        0.5 * (static_cast<double>(after) - static_cast<double>(before)) /
        (2 * static_cast<double>(here) - static_cast<double>(before) - static_cast<double>(after));
    return std::fabs(part) <= 0.5 ? part : 0;
}

} // namespace dataprocessing::detail
