#pragma once

/// @file
/// Loops that take the smaller or the larger of two elements of raw storage.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/kernels/form.h"

namespace dataprocessing::detail {

/// Which of two elements is taken.
enum extreme_eOperation : int { extreme_Minimum, extreme_Maximum };

/// A loop that writes `count` elements to `result`, which overlaps neither operand: bit for bit
/// that of `a` where it is less (greater) than that of `b`, else that of `b`. So of two zeros, and
/// with a NaN on either side, it is that of `b`.
using extreme_Loop = void (*)(const void* a, const void* b, void* result, std::size_t count);

/// The loop for elements of `type`; an operand that is no array is one element. Null for complex
/// elements, which are ordered by their magnitudes, and for unknown types.
extreme_Loop extreme_LoopFor(dtyp_cDataType type, extreme_eOperation operation,
                             form_eOperands form) noexcept;

} // namespace dataprocessing::detail
