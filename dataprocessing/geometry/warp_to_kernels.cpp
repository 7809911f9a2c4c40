#include "dataprocessing/geometry/warp_to_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"

#define LEVEL_KERNELS "dataprocessing/geometry/warp_to_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

/// What elements of a stored type are interpolated as, part by part.
template<class Stored>
using Part = std::conditional_t<std::is_integral_v<Stored>,
                                std::conditional_t<sizeof(Stored) == 4, double, float>, Stored>;

template<class T>
struct sParts {
    using type = T;
    static constexpr int count = 1;
};
template<class T>
struct sParts<comp_cComplex<T>> {
    using type = T;
    static constexpr int count = 2;
};

using Row = void (*)(const warp_sImage&, const warp_sLine&, const warp_sLine&, warp_sSpan,
                     warp_sSpan, void*);

struct sMethod {
    Row row = nullptr;
    std::size_t size = 0; // of an element of the result
    int margin = 0;       // elements from an edge on within which taps may lie outside
};

template<class T>
sMethod methodFor(int interpolation) {
    using Stored = typename sParts<T>::type;
    constexpr int parts = sParts<T>::count;
    if (interpolation == 0)
        return {LEVEL_SELECT(warp_Copy<T>), sizeof(T), 0};
    constexpr std::size_t size = sizeof(Part<Stored>) * parts;
    if (interpolation == 1)
        return {LEVEL_SELECT(warp_Linearly<Stored, Part<Stored>, parts>), size, 1};
    return {LEVEL_SELECT(warp_Cubically<Stored, Part<Stored>, parts>), size, 2};
}

/// The columns of the span whose index, shifted, lies in [low, high). Along a row the index only
/// rises or only falls, because rounded products and sums do, so these columns have no gap.
warp_sSpan inside(warp_sSpan span, const warp_sLine& line, double shift, double low, double high) {
    if (!std::isfinite(line.start)) // nor is any index
        return {span.first, span.first};
    const auto index = [&](int x) { return x * line.step + line.start + shift; };
    const auto isInFront = [&](int x) { return !(index(x) >= low); }; // as is NaN,
    const auto isBehind = [&](int x) { return !(index(x) < high); };  // on either side
    if (line.step >= 0)
        return {warp_FirstWhere(span, [&](int x) { return !isInFront(x); }),
                warp_FirstWhere(span, isBehind)};
    return {warp_FirstWhere(span, [&](int x) { return !isBehind(x); }),
            warp_FirstWhere(span, isInFront)};
}

/// The row `y` of the result along an axis. An index near a whole one is that one first; of those
/// left, one within the tolerance of a half counts as the half and goes up.
warp_sLine lineAt(const warp_sAxisMap& map, int y) {
    const double up = std::max(0.0, std::min(map.tolerance, 0.5 - map.tolerance));
    return {map.alongX, y * map.alongY + map.start, map.tolerance, 0.5 + up};
}

/// The columns whose nearest element is in the image.
warp_sSpan nearestInside(warp_sSpan span, const warp_sLine& line, int size) {
    return inside(span, line, line.half, 0, size);
}

/// The columns all of whose taps are in the image.
warp_sSpan tapsInside(warp_sSpan span, const warp_sLine& line, int size, int margin) {
    const warp_sSpan columns = inside(span, line, 0, margin, size - 1 - margin);
    return {columns.first, std::max(columns.first, columns.last)};
}

} // namespace

dtyp_cDataType warp_InterpolatedType(dtyp_cDataType stored) noexcept {
    if (stored.Code() >= dtyp_Float)
        return stored;
    return stored.SizeOf() == 4 ? dtyp_Double : dtyp_Float;
}

void warp_SampleTo(const warp_sImage& image, const warp_sAxisMap& mapX, const warp_sAxisMap& mapY,
                   int interpolation, int sizeX, int sizeY, void* target) {
    sMethod method;
    dtyp_Visit(image.type, [&]<class T>(dtyp_Tag<T>) { method = methodFor<T>(interpolation); });
    const auto bytes = [&](int columns) { return static_cast<std::size_t>(columns) * method.size; };
    unsigned char* row = static_cast<unsigned char*>(target);
    for (int y = 0; y < sizeY; ++y, row += bytes(sizeX)) {
        const warp_sLine alongX = lineAt(mapX, y);
        const warp_sLine alongY = lineAt(mapY, y);
        warp_sSpan all = nearestInside({0, sizeX}, alongX, image.sizeX);
        all = nearestInside(all, alongY, image.sizeY);
        all.last = std::max(all.first, all.last);
        warp_sSpan inner = tapsInside(all, alongX, image.sizeX, method.margin);
        inner = tapsInside(inner, alongY, image.sizeY, method.margin);
        std::memset(row, 0, bytes(all.first));
        method.row(image, alongX, alongY, all, inner, row);
        std::memset(row + bytes(all.last), 0, bytes(sizeX - all.last));
    }
}

} // namespace dataprocessing::detail
