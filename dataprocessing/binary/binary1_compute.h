#pragma once

/// @file
/// Element-wise arithmetic on operands of one type that belong together element by element.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/operand/blocks.h"

namespace dataprocessing::detail {

/// Writes `count` elements of `type` to `result`, which overlaps neither operand: an
/// arit_eOperation of the elements of `a` and `b`, which are of `type`; an array has `count` of
/// them. Nothing is written for an unknown type. Answers false, with a worthless result, when
/// arit_DivideTesting has met a zero. Nothing is allocated.
///
/// Of sums, differences and products of an array and a number, as many elements as whole chunks
/// hold (of 4 for int16, of 2 for int32 and float) are computed in another way than the rest:
/// the array's element comes first, even in a difference, and an int32 number has passed through
/// single precision, clipped at 2^31 - 1. So 5 - {1, 2, 3, 4, 1} in int16 is {-4, -3, -2, -1, 4}.
[[nodiscard]] bool bnry_Compute(int operation, dtyp_cDataType type, const blocks_cSource& a,
                                const blocks_cSource& b, void* result, std::size_t count);

} // namespace dataprocessing::detail
