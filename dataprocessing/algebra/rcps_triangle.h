#pragma once

/// @file
/// Long least-squares problems made square.

#include <cstddef>
#include <vector>

namespace rcps {

/// Reduces a linear least-squares problem of any number of equations, a block of them at a time, to
/// as many equations as unknowns, by orthogonal transformations of the rows: the triangular matrix
/// has the singular values of the long one, and its problem the same solution. No more than one
/// block of the long one is ever kept.
///
/// Elements below 1e-154 may count as zero: columns should have a norm of about 1.
class cTriangle {
public:
    /// The largest number of equations in a block.
    static constexpr int blockRows = 128;

    /// No equations yet. Throws std::bad_alloc.
    explicit cTriangle(int unknowns);

    /// Column `j`, from 0, of the next block, to be written; that number `unknowns` is the
    /// right-hand side. All are to be written anew for every block.
    double* BlockColumn(int j) noexcept {
        return block_.data() + static_cast<std::size_t>(j) * blockRows;
    }
    /// Takes in the first `rows` equations of the block.
    void Absorb(int rows) noexcept;

    /// The sum of the squared residuals that no solution can take away, which the triangle has
    /// lost.
    double ResidualSum() const noexcept { return residualSum_; }
    /// Row `i`, from 0, of the triangle: its elements before the diagonal are zero, element number
    /// `unknowns` is the right-hand side.
    double* Row(int i) noexcept {
        return rows_.data() +
               static_cast<std::size_t>(i) * (static_cast<std::size_t>(unknowns_) + 1);
    }

private:
    int unknowns_;
    std::vector<double> block_;
    std::vector<double> rows_;
    std::vector<double> dots_; // of a column with each
    double residualSum_ = 0;
};

} // namespace rcps
