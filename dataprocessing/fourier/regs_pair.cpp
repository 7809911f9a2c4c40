#include "dataprocessing/fourier/regs_pair.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <vector>

#include "dataprocessing/base/type.h"
#include "dataprocessing/fourier/regs_peaks.h"

namespace dataprocessing::detail {

namespace {

/// The mean, by sums that need not wait for each other.
float meanOf(const std::vector<float>& values) {
    constexpr std::size_t lanes = 8;
    double sums[lanes] = {};
    std::size_t i = 0;
    for (; i + lanes <= values.size(); i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            sums[lane] += static_cast<double>(values[i + lane]);
    for (; i < values.size(); ++i)
        sums[0] += static_cast<double>(values[i]);
    return static_cast<float>(std::accumulate(sums, sums + lanes, 0.0) /
                              static_cast<double>(values.size()));
}

} // namespace

regs_sPlane regs_Averaged(const regs_sPlane& plane, int perX, int perY) {
    regs_sPlane result(plane.sizeX / perX, plane.sizeY / perY);
    const float part = 1.0F / static_cast<float>(perX * perY);
    std::vector<float> columns(static_cast<std::size_t>(result.sizeX) *
                               static_cast<std::size_t>(perX));
    for (int y = 0; y < result.sizeY; ++y) {
        std::copy_n(plane.Row(y * perY), columns.size(), columns.begin());
        for (int i = 1; i < perY; ++i)
            std::transform(columns.begin(), columns.end(), plane.Row(y * perY + i), columns.begin(),
                           std::plus<>());
        const float* from = columns.data();
        float* const to = result.Row(y);
        for (int x = 0; x < result.sizeX; ++x, from += perX)
            to[x] = part * std::accumulate(from, from + perX, 0.0F);
    }
    const float mean = meanOf(result.values);
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
    regs_sPlane part = regs_Cut(plane, firstX, firstY, sizeX, sizeY);
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
    const float mean = meanOf(part.values);
    for (int y = 0; y < sizeY; ++y) {
        const float weight = alongY[static_cast<std::size_t>(y)];
        std::transform(alongX.begin(), alongX.end(), part.Row(y), part.Row(y),
                       [=](float x, float value) { return (value - mean) * x * weight; });
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
