#include "dataprocessing/maps/maps_shapes.h"

#include <cmath>

#include "dataprocessing/fitting/pkmd_kernels.h"
#include "dataprocessing/maps/maps_normal.h"
#include "dataprocessing/maps/maps_refuse.h"
#include "dataprocessing/maps/maps_rows.h"

namespace dataprocessing::detail {

maps_sShapes::maps_sShapes(std::span<const double> values, std::size_t channelCount,
                           const maps_sLinearOptions& how)
    : channels(channelCount), length(maps_WholeVectors(channels)),
      count(channels == 0 ? 0 : values.size() / channels), weights(how.weights) {
    maps_RefuseShapes(
        count == 0 || values.size() % channels != 0 ||
        !std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); }));
    maps_RefuseOptions(weights < maps_WeightsOfCounts || weights > maps_WeightsOfModel);
    isNonNegative.resize(count);
    for (const int shape : how.nonNegative) {
        maps_RefuseOptions(shape < 0 || static_cast<std::size_t>(shape) >= count);
        isNonNegative[static_cast<std::size_t>(shape)] = 1;
        hasBounds = true;
    }
    rows.resize(count * length);
    part.resize(length);
    for (std::size_t s = 0; s < count; ++s) {
        double* const row = rows.data() + s * length;
        std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(s * channels), channels, row);
        std::size_t first = 0;
        std::size_t last = channels;
        while (first < last && row[first] == 0)
            ++first;
        while (last > first && row[last - 1] == 0)
            --last;
        for (std::size_t k = first; k < last; ++k)
            if (row[k] != 0)
                part[k] = 1;
        double sum = 0;
        for (std::size_t k = first; k < last; ++k)
            sum += std::fabs(row[k]);
        ofOneCount.push_back(1 / sum / sum);
        extents.push_back({first / maps_lanes * maps_lanes, maps_WholeVectors(last)});
    }
    for (std::size_t s = 0; s < count && core.size() < maps_mostCore; ++s)
        if (extents[s] == sExtent{0, length})
            core.push_back(s);
    for (std::size_t s = 0; s < count; ++s) {
        if (IsCore(s))
            coreRows.push_back(Row(s));
        else
            groups.push_back({s, extents[s], {}, true});
    }
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t j = 0; j <= i; ++j)
            if (!IsCore(i) || !IsCore(j))
                AddPair(i, j);
    Prepare();
}

void maps_sShapes::AddPair(std::size_t i, std::size_t j) {
    const sExtent both{std::max(extents[i].first, extents[j].first),
                       std::min(extents[i].last, extents[j].last)};
    if (both.first >= both.last)
        return;
    const bool isWithinFirst = extents[i] == both && !IsCore(i);
    const std::size_t shape = isWithinFirst ? i : j;
    const std::size_t other = isWithinFirst ? j : i;
    const auto found = std::find_if(groups.begin(), groups.end(), [&](const sGroup& group) {
        return group.shape == shape && group.extent == both;
    });
    if (found == groups.end())
        groups.push_back({shape, both, {other}, false});
    else
        found->others.push_back(other);
}

/// What equal weights need; shapes that are made of each other are found out here.
void maps_sShapes::Prepare() {
    std::vector<double> memory(maps_cNormal::MemoryFor(count));
    maps_cNormal normal(count, memory.data());
    products.resize(count * count);
    inverse.resize(count * count);
    for (std::size_t i = 0; i < count; ++i) {
        normal.G(i) = 0;
        for (std::size_t j = 0; j <= i; ++j) {
            const double* const other = Row(j);
            pkmd_Dots(Row(i), &other, 1, length, &normal.H(i, j));
            products[i * count + j] = normal.H(i, j);
        }
    }
    normal.HoldNone();
    maps_RefuseShapes(!normal.Solve());
    for (std::size_t i = 0; i < count; ++i)
        normal.InverseRow(i, std::span(inverse).subspan(i * count, count));
}

} // namespace dataprocessing::detail
