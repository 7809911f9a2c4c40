#include "dataprocessing/fourier/regs_pair.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <vector>

#include "dataprocessing/base/type.h"
#include "dataprocessing/fourier/regs_peaks.h"

namespace dataprocessing::detail {

regs_sPlane regs_Averaged(const regs_sPlane& plane, int perX, int perY) {
    regs_sPlane result(plane.sizeX / perX, plane.sizeY / perY);
    const float part = 1.0F / static_cast<float>(perX * perY);
    for (int y = 0; y < result.sizeY * perY; ++y) {
        const float* from = plane.Row(y);
        float* to = result.Row(y / perY);
        for (int x = 0; x < result.sizeX; ++x)
            for (int i = 0; i < perX; ++i)
                to[x] += part * *from++;
    }
    double sum = 0;
    for (const float value : result.values)
        sum += static_cast<double>(value);
    const float mean = static_cast<float>(sum / static_cast<double>(result.values.size()));
    for (float& value : result.values)
        value -= mean;
    return result;
}

regs_sPlane regs_Cut(const regs_sPlane& plane, int firstX, int firstY, int sizeX, int sizeY) {
    regs_sPlane part(sizeX, sizeY);
    for (int y = 0; y < sizeY; ++y)
        std::copy_n(plane.Row(firstY + y) + firstX, sizeX, part.Row(y));
    return part;
}

regs_sPlane regs_Faded(const regs_sPlane& plane, int firstX, int firstY, int sizeX, int sizeY) {
    regs_sPlane part(sizeX, sizeY);
    double sum = 0;
    for (int y = 0; y < sizeY; ++y) {
        std::copy_n(plane.Row(firstY + y) + firstX, sizeX, part.Row(y));
        for (int x = 0; x < sizeX; ++x)
            sum += static_cast<double>(part.Row(y)[x]);
    }
    const auto window = [](int size) {
        std::vector<float> weights(static_cast<std::size_t>(size), 1.0F);
        const int margin = size / 8;
        for (int i = 0; i < margin; ++i) {
            const double edge = std::sin(type_Pi / 2 * (i + 0.5) / margin);
            weights[static_cast<std::size_t>(i)] = static_cast<float>(edge * edge);
            weights[static_cast<std::size_t>(size - 1 - i)] = static_cast<float>(edge * edge);
        }
        return weights;
    };
    const std::vector<float> alongX = window(sizeX);
    const std::vector<float> alongY = window(sizeY);
    const float mean = static_cast<float>(sum / (static_cast<double>(sizeX) * sizeY));
    for (int y = 0; y < sizeY; ++y)
        for (int x = 0; x < sizeX; ++x) {
            float& value = part.Row(y)[x];
            value = (value - mean) * alongX[static_cast<std::size_t>(x)] *
                    alongY[static_cast<std::size_t>(y)];
        }
    return part;
}

double regs_sPair::RankAt(const regs_sShift& shift, int step) const {
    const double count =
        static_cast<double>(regs_sOverlap(fixed.sizeX, moved.sizeX, shift.x).count) *
        regs_sOverlap(fixed.sizeY, moved.sizeY, shift.y).count;
    // A gain and an offset make any two elements alike.
    return regs_RankOf(regs_LikenessOf(fixed, moved, shift, step).coefficient,
                       std::max(0.0, count - 2), 1e-4);
}

int regs_sPair::Sparse() const {
    const int rows = std::min(fixed.sizeY, moved.sizeY);
    const int columns = std::max(1, std::min(fixed.sizeX, moved.sizeX));
    return std::max(1, rows / std::max(32, (1 << 12) / columns));
}

regs_sShift regs_Climbed(const regs_sPair& whole, regs_sShift shift, int most, int rows) {
    double best = whole.RankAt(shift, rows);
    regs_sShift before = shift;
    for (int step = 0; step < most; ++step) {
        const regs_sShift from = shift;
        const auto isKnown = [&](const regs_sShift& next) {
            return (next.x == from.x && next.y == from.y) ||
                   (step > 0 && std::abs(next.x - before.x) <= 1 &&
                    std::abs(next.y - before.y) <= 1);
        };
        for (int dy = whole.HasY() ? -1 : 0; dy <= (whole.HasY() ? 1 : 0); ++dy)
            for (int dx = whole.HasX() ? -1 : 0; dx <= (whole.HasX() ? 1 : 0); ++dx) {
                const regs_sShift next{from.x + dx, from.y + dy};
                if (isKnown(next) || !whole.Has(next))
                    continue;
                const double rank = whole.RankAt(next, rows);
                if (rank > best) {
                    best = rank;
                    shift = next;
                }
            }
        if (shift.x == from.x && shift.y == from.y)
            break;
        before = from;
    }
    return shift;
}

regs_sPlace regs_VertexAt(const regs_sPair& whole, const regs_sShift& shift) {
    const auto at = [&](int dx, int dy) { return whole.LikenessAt({shift.x + dx, shift.y + dy}); };
    const auto isInside = [](const regs_sShifts& shifts, int by) {
        return shifts.Has(by - 1) && shifts.Has(by + 1);
    };
    const regs_sVertex vertex = regs_VertexOf(at, whole.HasX() && isInside(whole.alongX, shift.x),
                                              whole.HasY() && isInside(whole.alongY, shift.y));
    return {shift.x + vertex.x, shift.y + vertex.y};
}

} // namespace dataprocessing::detail
