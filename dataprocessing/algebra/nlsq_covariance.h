#pragma once

/// @file
/// The inverse of a curvature matrix, as far as it has one.

#include <cstddef>
#include <span>
#include <vector>

namespace dataprocessing::detail {

/// The inverse of R'R for some of the variables, by rows over all of them.
struct nlsq_sCovariance {
    std::vector<double> matrix;     ///< 0 for variables that took no part.
    int rank = 0;                   ///< How many directions it has.
    std::vector<char> isIncomplete; ///< Variables that take part in a direction that is missing.
};

/// The inverse of R'R. `triangle` is the upper triangular R by rows, `count` x `count`; row and
/// column j belong to variable places[j] of `all`. Directions whose singular value, with columns of
/// norm 1, is below `tolerance` of the largest are left out.
nlsq_sCovariance nlsq_Inverse(std::span<const double> triangle, std::size_t count,
                              std::span<const std::size_t> places, std::size_t all,
                              double tolerance);

/// The x for which |R x - z| is smallest, the shortest one in the units of the columns' norms, with
/// the same directions left out.
std::vector<double> nlsq_Shortest(std::span<const double> triangle, std::size_t count,
                                  std::span<const double> z, double tolerance);

} // namespace dataprocessing::detail
