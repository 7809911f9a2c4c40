#include "dataprocessing/algebra/rcps_triangle.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rcps {

namespace {

// Sums are made in lanes, so that they need not wait for one addition after the other.
constexpr int lanes = 8;
static_assert(cTriangle::blockRows % lanes == 0);

double dot(const double* a, const double* b, int count) noexcept {
    double part[lanes] = {};
    for (int k = 0; k < count; k += lanes)
        for (int lane = 0; lane < lanes; ++lane)
            part[lane] += a[k + lane] * b[k + lane];
    for (int width = lanes / 2; width > 0; width /= 2)
        for (int lane = 0; lane < width; ++lane)
            part[lane] += part[lane + width];
    return part[0];
}

} // namespace

cTriangle::cTriangle(int unknowns)
    : unknowns_(unknowns), block_((static_cast<std::size_t>(unknowns) + 1) * blockRows),
      rows_(static_cast<std::size_t>(unknowns) * (static_cast<std::size_t>(unknowns) + 1)) {}

void cTriangle::Absorb(int rows) noexcept {
    const int padded = (rows + lanes - 1) / lanes * lanes;
    for (int j = 0; j <= unknowns_; ++j)
        std::fill(BlockColumn(j) + rows, BlockColumn(j) + padded, 0.0);

    // One reflection for each column: it takes the block's part of it into the diagonal, and
    // touches row i of the triangle and the block alone.
    for (int i = 0; i < unknowns_; ++i) {
        const double* const column = BlockColumn(i);
        const double squares = dot(column, column, padded);
        if (squares < std::numeric_limits<double>::min())
            continue;
        double* const row = Row(i);
        const double head = row[i];
        // Opposite in sign to the old head, so that nothing cancels.
        row[i] = -std::copysign(std::sqrt(head * head + squares), head);
        const double first = head - row[i];
        const double h = -row[i] * first;
        for (int j = i + 1; j <= unknowns_; ++j) {
            double* const other = BlockColumn(j);
            const double factor = (first * row[j] + dot(column, other, padded)) / h;
            row[j] -= factor * first;
            for (int k = 0; k < padded; ++k)
                other[k] -= factor * column[k];
        }
    }
    const double* const right = BlockColumn(unknowns_);
    residualSum_ += dot(right, right, padded);
}

} // namespace rcps
