#include "dataprocessing/fourier/regs_plane.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <numeric>

#include "dataprocessing/fourier/regs_kernels.h"
#include "dataprocessing/fourier/regs_peaks.h"

#define LEVEL_KERNELS "dataprocessing/fourier/regs_likeness_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

/// Row `i` of those that are looked at, one in each `step` rows. Where in them changes, so that
/// what repeats itself is seen as it is.
int rowOf(int i, int step) { return i * step + i * 61 % 100 * step / 100; }

} // namespace

regs_sLikeness regs_LikenessOf(const regs_sPlane& fixed, const regs_sPlane& moved,
                               const regs_sShift& shift, int step) {
    const regs_sOverlap x(fixed.sizeX, moved.sizeX, shift.x);
    const regs_sOverlap y(fixed.sizeY, moved.sizeY, shift.y);
    if (x.count <= 0 || y.count <= 0)
        return {};
    const auto addRow = LEVEL_SELECT(regs_AddLikeness);
    regs_sProducts products;
    int rows = 0;
    for (int at = 0; at < y.count; at = rowOf(++rows, step)) {
        const int row = y.first + at;
        addRow(fixed.Row(row) + x.first, moved.Row(row + shift.y) + x.first + shift.x,
               static_cast<std::size_t>(x.count), products);
    }
    const auto sumOf = [&products](int k) {
        return std::accumulate(std::begin(products.lanes[k]), std::end(products.lanes[k]), 0.0);
    };
    const double a = sumOf(0), b = sumOf(1), aa = sumOf(2), ab = sumOf(3), bb = sumOf(4);
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

regs_sVertex regs_VertexOf(const regs_sPlace& slope, double xx, double xy, double yy) {
    const struct { double xx, xy, yy; } falls{-xx, -xy, -yy};
    const regs_sDirection steepest = regs_SteepestOf(falls);
    regs_sVertex vertex{0, 0, 0};
    for (const regs_sDirection& direction : {steepest, steepest.Across()}) {
        const double along = direction.x * slope.x + direction.y * slope.y;
        const double part = along / direction.Of(falls);
        // Half of the way along both axes is this far.
        constexpr double most = 0.7072;
        if (!(direction.Of(falls) > 0) || !(std::fabs(part) <= most))
            continue;
        vertex.x += part * direction.x;
        vertex.y += part * direction.y;
        vertex.rise += part * along / 2;
    }
    return vertex;
}

} // namespace dataprocessing::detail
