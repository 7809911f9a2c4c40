#include "dataprocessing/geometry/warp_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/geometry/warp_span.h"

#define LEVEL_KERNELS "dataprocessing/geometry/warp_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

/// What elements of a stored type are sampled as.
template<class Stored>
using Sampled = std::conditional_t<std::is_integral_v<Stored>, float, Stored>;

using Stretch = void (*)(const warp_sImage&, const warp_sRow&, int, int, void*);

struct sKernel {
    Stretch stretch = nullptr;
    std::size_t size = 0; // of a sampled element
};

sKernel kernelOf(dtyp_cDataType stored) {
    sKernel kernel;
    dtyp_Visit(stored, [&]<class T>(dtyp_Tag<T>) {
        kernel.stretch = LEVEL_SELECT(warp_Stretch<T, Sampled<T>>);
        kernel.size = sizeof(Sampled<T>);
    });
    return kernel;
}

/// A factor times each column of a strip of the result. All rows have them in common, and loading
/// one is faster than making it; the strip bounds the memory and holds most images in full.
struct sProducts {
    static constexpr int most = 4096;
    double factor;
    double of[most];

    void Fill(double by, int first, int count) {
        factor = by;
        for (int i = 0; i < count; ++i)
            of[i] = factor * (first + i);
    }
};

/// The columns whose mapped coordinate lies in [0, limit). Along a row the coordinate only rises or
/// only falls, because every rounded product and sum of finite numbers does, so these columns have
/// no gap. What is not finite maps nothing into the image.
warp_sSpan inside(warp_sSpan span, const sProducts& product, double addend, double shift,
                  int limit) {
    if (!std::isfinite(product.factor) || !std::isfinite(addend) || !std::isfinite(shift))
        return {0, 0};
    const auto isInFront = [&](int x) { return product.of[x] + addend + shift + 0.5 < 0; };
    const auto isBehind = [&](int x) { return product.of[x] + addend + shift + 0.5 >= limit; };
    if (product.factor >= 0)
        return {warp_FirstWhere(span, [&](int x) { return !isInFront(x); }),
                warp_FirstWhere(span, isBehind)};
    return {warp_FirstWhere(span, [&](int x) { return !isBehind(x); }),
            warp_FirstWhere(span, isInFront)};
}

} // namespace

void warp_Sample(const warp_sImage& image, const warp_sMap& map, int sizeX, int sizeY,
                 void* target) {
    if (sizeY == 0)
        return;
    const auto [matrix, shiftX, shiftY] = map;
    const sKernel kernel = kernelOf(image.type);
    const auto bytes = [&](int columns) { return static_cast<std::size_t>(columns) * kernel.size; };
    sProducts productX;
    sProducts productY;
    int count = 0;
    for (int first = 0; first < sizeX; first += count) {
        count = std::min(sProducts::most, sizeX - first);
        productX.Fill(matrix.m00, first, count);
        productY.Fill(matrix.m10, first, count);
        unsigned char* line = static_cast<unsigned char*>(target) + bytes(first);
        for (int y = 0; y < sizeY; ++y) {
            const warp_sRow row{productX.of,    productY.of, matrix.m01 * y,
                                matrix.m11 * y, shiftX,      shiftY};
            warp_sSpan span = inside({0, count}, productX, row.addendX, shiftX, image.sizeX);
            span = inside(span, productY, row.addendY, shiftY, image.sizeY);
            std::memset(line, 0, bytes(span.first));
            kernel.stretch(image, row, span.first, span.last, line);
            std::memset(line + bytes(span.last), 0, bytes(count - span.last));
            line += bytes(sizeX);
        }
    }
}

} // namespace dataprocessing::detail
