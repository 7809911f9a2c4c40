#include "dataprocessing/fourier/regs_plane.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace dataprocessing::detail {

regs_sLikeness regs_LikenessOf(const regs_sPlane& fixed, const regs_sPlane& moved,
                               const regs_sShift& shift) {
    const regs_sOverlap x(fixed.sizeX, moved.sizeX, shift.x);
    const regs_sOverlap y(fixed.sizeY, moved.sizeY, shift.y);
    if (x.count <= 0 || y.count <= 0)
        return {};
    // In lanes that need not wait for each other.
    constexpr int lanes = 4;
    double sums[5][lanes] = {};
    const auto add = [&sums](int lane, float fixedValue, float movedValue) {
        const double u = static_cast<double>(fixedValue);
        const double v = static_cast<double>(movedValue);
        sums[0][lane] += u;
        sums[1][lane] += v;
        sums[2][lane] += u * u;
        sums[3][lane] += u * v;
        sums[4][lane] += v * v;
    };
    for (int row = y.first; row < y.first + y.count; ++row) {
        const float* p = fixed.Row(row) + x.first;
        const float* q = moved.Row(row + shift.y) + x.first + shift.x;
        int i = 0;
        for (; i + lanes <= x.count; i += lanes)
            for (int lane = 0; lane < lanes; ++lane)
                add(lane, p[i + lane], q[i + lane]);
        for (; i < x.count; ++i)
            add(0, p[i], q[i]);
    }
    const auto sumOf = [&sums](int k) { return std::accumulate(sums[k], sums[k] + lanes, 0.0); };
    const double a = sumOf(0), b = sumOf(1), aa = sumOf(2), ab = sumOf(3), bb = sumOf(4);
    const double n = static_cast<double>(x.count) * y.count;
    const double ofFixed = aa - a * a / n;
    const double ofMoved = bb - b * b / n;
    if (!(ofFixed > 0) || !(ofMoved > 0))
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
