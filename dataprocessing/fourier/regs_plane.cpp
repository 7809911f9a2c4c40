#include "dataprocessing/fourier/regs_plane.h"

#include <cmath>

namespace dataprocessing::detail {

regs_sLikeness regs_LikenessOf(const regs_sPlane& fixed, const regs_sPlane& moved,
                               const regs_sShift& shift) {
    const regs_sOverlap x(fixed.sizeX, moved.sizeX, shift.x);
    const regs_sOverlap y(fixed.sizeY, moved.sizeY, shift.y);
    if (x.count <= 0 || y.count <= 0)
        return {};
    double a = 0, b = 0, aa = 0, ab = 0, bb = 0;
    for (int row = y.first; row < y.first + y.count; ++row) {
        const float* p = fixed.Row(row) + x.first;
        const float* q = moved.Row(row + shift.y) + x.first + shift.x;
        for (int i = 0; i < x.count; ++i) {
            const double u = static_cast<double>(p[i]);
            const double v = static_cast<double>(q[i]);
            a += u;
            b += v;
            aa += u * u;
            ab += u * v;
            bb += v * v;
        }
    }
    const double n = static_cast<double>(x.count) * y.count;
    const double ofFixed = aa - a * a / n;
    const double ofMoved = bb - b * b / n;
    if (!(ofFixed > 0) || !(ofMoved > 0))
        return {};
    const double gain = std::sqrt(ofFixed / ofMoved);
    return {(ab - a * b / n) / std::sqrt(ofFixed * ofMoved), {gain, (a - gain * b) / n}};
}

double regs_Vertex(float before, float here, float after) {
    const double part =
        0.5 * (static_cast<double>(after) - static_cast<double>(before)) /
        (2 * static_cast<double>(here) - static_cast<double>(before) - static_cast<double>(after));
    return std::fabs(part) <= 0.5 ? part : 0;
}

} // namespace dataprocessing::detail
