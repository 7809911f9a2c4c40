#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/geometry/proj.h"
#include "dataprocessing/geometry/warp.h"
#include "dataprocessing/geometry/warp_turn.h"
#include "dataprocessing/kernels/arit.h"
#include "dataprocessing/valuemodel/pos.h"

using namespace dataprocessing::detail;

namespace {

darr_c1DArray rowAt(const darr_c2DArray& image, int y) {
    darr_c1DArray row = image.LineAtY(y);
    row.SetOffsetX(0.0);
    return row;
}

/// Adds the rows of `image` from `first` on, one after the other, to a sum of their length and of
/// the type that it then has. What is summed of a few columns stays in the first-level cache.
void addRows(arit_Loop add, const darr_c2DArray& image, int first, darr_c1DArray& sum) {
    constexpr std::size_t stripBytes = 8192;
    alignas(64) std::byte strips[2][stripBytes];
    const std::size_t stored = image.DataType().SizeOf();
    const std::size_t summed = sum.DataType().SizeOf();
    const std::size_t columns = static_cast<std::size_t>(image.SizeX());
    const std::size_t most = stripBytes / summed;
    for (std::size_t column = 0, count = 0; column < columns; column += count) {
        count = std::min(most, columns - column);
        std::byte* const target = static_cast<std::byte*>(sum.Data()) + column * summed;
        std::byte* done = strips[0];
        std::byte* next = strips[1];
        std::memcpy(done, target, count * summed);
        for (int y = first; y < image.SizeY(); ++y) {
            const std::size_t index = static_cast<std::size_t>(y) * columns + column;
            add(done, static_cast<const std::byte*>(image.Data()) + index * stored, next, count);
            std::swap(done, next);
        }
        std::memcpy(target, done, count * summed);
    }
}

darr_c1DArray sumOfRows(const darr_c2DArray& image) {
    darr_c1DArray sum = rowAt(image, 0);
    for (int y = 1; y < image.SizeY(); ++y) {
        const darr_c1DArray row = rowAt(image, y);
        // Sums of small integers are of larger types; with those all further ones are alike.
        const dtyp_cDataType type = bnry_ResultType(sum.DataType(), row.DataType(), bnry_Add);
        const arit_Loop add = arit_LoopFor(type, type, row.DataType(), arit_Add, form_Arrays);
        if (add != nullptr && type == sum.DataType()) {
            addRows(add, image, y, sum);
            return sum;
        }
        sum = sum + row;
    }
    return sum;
}

/// The mean of the rows of an image that stands upright.
darr_c1DArray meanOfRows(const darr_c2DArray& image) {
    // A profile without elements may come of two thousand million rows.
    if (image.SizeY() <= 1 || image.SizeX() == 0)
        return rowAt(image, 0);
    return sumOfRows(image) / pnum_cNumber(static_cast<float>(image.SizeY()));
}

} // namespace

darr_c1DArray proj_Project(const darr_c2DArray& image, const rnge_c2DRange& range) {
    const double angle = -range.Angle();
    if (&range == &rnge_c2DRange::Null && warp_LeavesInPlace(image.Cal(), angle))
        return meanOfRows(image);
    return meanOfRows(warp_Rotate(image, angle, range));
}

darr_c1DArray proj_LineScan(const darr_c2DArray& image, double x1, double y1, double x2, double y2,
                            double width) {
    const double length = std::sqrt((x2 - x1) * (x2 - x1) + (y2 - y1) * (y2 - y1));
    const double angle = pos_Angle(pos_c2DPosition(x1, y1), pos_c2DPosition(x2, y2));
    return proj_Project(image,
                        rnge_c2DRange((x2 + x1) / 2.0, (y2 + y1) / 2.0, length, width, angle));
}
