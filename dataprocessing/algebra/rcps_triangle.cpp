#include "dataprocessing/algebra/rcps_triangle.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "dataprocessing/algebra/rcps_kernels.h"

#define LEVEL_KERNELS "dataprocessing/algebra/rcps_triangle_kernels.inc"
#include "dataprocessing/platform/level_each.h"

using namespace dataprocessing::detail;

namespace rcps {

static_assert(cTriangle::blockRows % rcps_group == 0);

cTriangle::cTriangle(int unknowns)
    : unknowns_(unknowns), block_((static_cast<std::size_t>(unknowns) + 1) * blockRows),
      rows_(static_cast<std::size_t>(unknowns) * (static_cast<std::size_t>(unknowns) + 1)),
      dots_(static_cast<std::size_t>(unknowns) + 1) {}

void cTriangle::Absorb(int rows) noexcept {
    constexpr int group = rcps_group;
    const int padded = (rows + group - 1) / group * group;
    for (int j = 0; j <= unknowns_; ++j)
        std::fill(BlockColumn(j) + rows, BlockColumn(j) + padded, 0.0);
    const std::size_t unknowns = static_cast<std::size_t>(unknowns_);
    residualSum_ +=
        LEVEL_SELECT(rcps_Absorb)({rows_.data(), unknowns + 1}, {block_.data(), blockRows},
                                  unknowns, static_cast<std::size_t>(padded), dots_.data());
}

} // namespace rcps
