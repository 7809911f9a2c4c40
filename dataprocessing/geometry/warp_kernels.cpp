#include "dataprocessing/geometry/warp_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "dataprocessing/valuemodel/conv_kernels.h"

namespace dataprocessing::detail {

namespace {

/// What of the mapped position is the same along a row of the result.
struct warp_sRow {
    double addendX;
    double addendY;
    double shiftX;
    double shiftY;
};

} // namespace

} // namespace dataprocessing::detail

#define LEVEL_KERNELS "dataprocessing/geometry/warp_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

constexpr int blockSize = 1024;

/// The columns [first, last) of a row of the result.
struct sSpan {
    int first;
    int last;
};

/// The first column in the span from which on `holds` is true, if it is false before and true
/// after.
template<class Predicate>
int firstWhere(sSpan span, Predicate holds) {
    while (span.first < span.last) {
        const int middle = span.first + (span.last - span.first) / 2;
        if (holds(middle))
            span.last = middle;
        else
            span.first = middle + 1;
    }
    return span.first;
}

/// The columns whose mapped coordinate lies in [0, limit). Along a row the coordinate only rises or
/// only falls, because every rounded addition does, so these columns have no gap; rounded products
/// of a finite factor do too. A factor or shift that is not finite maps nothing into the image.
sSpan inside(sSpan span, const double* product, double addend, double shift, int limit) {
    const auto at = [&](int x) { return product[x] + addend + shift + 0.5; };
    if (span.first == span.last || !std::isfinite(product[1]) || !std::isfinite(addend) ||
        !std::isfinite(shift))
        return {0, 0};
    if (product[1] >= 0) {
        span.first = firstWhere(span, [&](int x) { return at(x) >= 0; });
        span.last = firstWhere(span, [&](int x) { return !(at(x) < limit); });
    } else {
        span.first = firstWhere(span, [&](int x) { return at(x) < limit; });
        span.last = firstWhere(span, [&](int x) { return !(at(x) >= 0); });
    }
    return span;
}

/// The factor times every column, and times column 1 even when there is none.
std::vector<double> products(double factor, int sizeX) {
    std::vector<double> product(static_cast<std::size_t>(std::max(sizeX, 2)));
    for (std::size_t x = 0; x < product.size(); ++x)
        product[x] = factor * static_cast<double>(x);
    return product;
}

} // namespace

void warp_Sample(const warp_sImage& image, const warp_sMap& map, dtyp_cDataType type, int sizeX,
                 int sizeY, void* target) {
    const auto indices = LEVEL_SELECT(warp_Indices);
    const auto gather = LEVEL_SELECT(warp_GatherBytes);
    const std::vector<double> productX = products(map.matrix.m00, sizeX);
    const std::vector<double> productY = products(map.matrix.m10, sizeX);
    const std::size_t size = type.SizeOf();
    unsigned char* line = static_cast<unsigned char*>(target);
    int index[blockSize];
    alignas(64) unsigned char stored[blockSize * 16];

    for (int y = 0; y < sizeY; ++y) {
        const warp_sRow row{map.matrix.m01 * y, map.matrix.m11 * y, map.shiftX, map.shiftY};
        sSpan span = inside({0, sizeX}, productX.data(), row.addendX, row.shiftX, image.sizeX);
        span = inside(span, productY.data(), row.addendY, row.shiftY, image.sizeY);
        std::memset(line, 0, static_cast<std::size_t>(span.first) * size);
        for (int x = span.first; x < span.last; x += blockSize) {
            const int count = std::min(blockSize, span.last - x);
            unsigned char* block = line + static_cast<std::size_t>(x) * size;
            indices(productX.data() + x, productY.data() + x, row, image.sizeX, count, index);
            if (image.type == type) {
                gather(size, image.data, index, count, block);
            } else {
                gather(image.type.SizeOf(), image.data, index, count, stored);
                conv_Elements(stored, image.type, block, type, static_cast<std::size_t>(count),
                              conv_RealPart);
            }
        }
        std::memset(line + static_cast<std::size_t>(span.last) * size, 0,
                    static_cast<std::size_t>(sizeX - span.last) * size);
        line += static_cast<std::size_t>(sizeX) * size;
    }
}

} // namespace dataprocessing::detail
