#pragma once

/// @file
/// Weighted sums of neighbours, along one or two axes.

#include <cstddef>
#include <span>

#include "dataprocessing/base/dtyp.h"

namespace dataprocessing::detail {

/// Rows of elements, x fastest.
struct smth_sSource {
    const void* elements;
    dtyp_cDataType type;
    int sizeX;
    int sizeY;
};

/// The type in which the averages of elements of a known type are stored.
constexpr dtyp_cDataType smth_ResultType(dtyp_cDataType type) noexcept {
    return type.Code() < dtyp_Float ? dtyp_cDataType(dtyp_Double) : type;
}

/// Writes, for each element, the sum of its neighbours times weights, along Y and then along X, as
/// elements of smth_ResultType(source.type). There are an odd number of weights for each axis, the
/// middle one for the element itself; a single weight is 1. Sums are added in the order of the
/// weights, in double precision, part by part; beyond the ends elements are mirrored. Throws
/// std::bad_alloc.
void smth_Combine(const smth_sSource& source, std::span<const double> weightsX,
                  std::span<const double> weightsY, void* target);

/// Sets target[i] to rows[0][i] weights[0] + rows[1][i] weights[1] + ..., added in this order, of
/// `count` rows, one at least.
void smth_SumRows(const double* const* rows, const double* weights, std::size_t count,
                  double* target, std::size_t size);

} // namespace dataprocessing::detail
