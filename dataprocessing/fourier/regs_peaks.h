#pragma once

/// @file
/// Peaks of what is known at whole shifts.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "dataprocessing/fourier/regs_plane.h"

namespace dataprocessing::detail {

/// Whether `at(x, y)` is a peak; of equal neighbours the last one is.
template<class At>
bool regs_IsPeak(const At& at, int x, int y) {
    const auto here = at(x, y);
    return here > at(x - 1, y) && here >= at(x + 1, y) && here > at(x, y - 1) &&
           here >= at(x, y + 1);
}

/// The lowest place on the straight way from a peak to another one, neither of which it is; the
/// first one where they are neighbours.
template<class At>
regs_sShift regs_ValleyOf(const At& at, const regs_sShift& peak, const regs_sShift& other) {
    const int steps = std::max(std::abs(peak.x - other.x), std::abs(peak.y - other.y));
    const auto between = [steps](int from, int to, int step) {
        return from + static_cast<int>(std::lround(static_cast<double>(to - from) * step / steps));
    };
    regs_sShift valley = peak;
    for (int step = 1; step < steps; ++step) {
        const regs_sShift next{between(peak.x, other.x, step), between(peak.y, other.y, step)};
        if (at(next.x, next.y) < at(valley.x, valley.y))
            valley = next;
    }
    return valley;
}

/// Whether a peak of some height is none on the slopes of another one: between them there is a
/// valley.
template<class Height>
bool regs_IsApart(Height valley, Height peak) {
    return valley < static_cast<Height>(0.75) * peak;
}

/// From the middle one of nine values to the vertex of a paraboloid.
struct regs_sVertex {
    double x;
    double y;
    double rise; ///< how much higher it is there
};

/// The vertex of a paraboloid by its slopes and curvatures in the middle. Along a direction in
/// which it does not fall off, or in which that is further than half of the way to the next whole
/// shift, it is where the middle is: a ridge has a crest and no more.
regs_sVertex regs_VertexOf(const regs_sPlace& slope, double xx, double xy, double yy);

/// The same by `at(dx, dy)` of the middle and its neighbours, along the axes that there are.
template<class At>
regs_sVertex regs_VertexOf(const At& at, bool hasX, bool hasY) {
    const auto value = [&](int dx, int dy) { return static_cast<double>(at(dx, dy)); };
    const double slopeX = hasX ? (value(1, 0) - value(-1, 0)) / 2 : 0;
    const double slopeY = hasY ? (value(0, 1) - value(0, -1)) / 2 : 0;
    const double xx = hasX ? value(1, 0) + value(-1, 0) - 2 * value(0, 0) : 0;
    const double yy = hasY ? value(0, 1) + value(0, -1) - 2 * value(0, 0) : 0;
    const double xy =
        hasX && hasY ? (value(1, 1) - value(1, -1) - value(-1, 1) + value(-1, -1)) / 4 : 0;
    const regs_sVertex vertex = regs_VertexOf(regs_sPlace{slopeX, slopeY}, xx, xy, yy);
    return {hasX ? vertex.x : 0, hasY ? vertex.y : 0, vertex.rise};
}

} // namespace dataprocessing::detail
