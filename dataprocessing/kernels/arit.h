#pragma once

/// @file
/// Loops of element-wise arithmetic over raw storage.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/kernels/form.h"

namespace dataprocessing::detail {

/// The five operations, by their public codes, and the division that tests its divisor on the way.
enum arit_eOperation : int {
    arit_Add = 0,
    arit_Subtract = 1,
    arit_Multiply = 2,
    arit_Divide = 3,
    arit_Power = 4,
    arit_DivideTesting = 5
};

/// A loop that writes `count` elements to `result`, which overlaps neither operand. It answers
/// whether an element of the divisor counted as zero, where the operation tests it.
using arit_Loop = bool (*)(const void* a, const void* b, void* result, std::size_t count);

/// The loop for a result of `type` and array operands stored as `storedA` and `storedB`, which are
/// widened on the way where they are not of that type; a number is an element of `type`. Null where
/// there is no such loop: for unknown operations and types, 8-bit results, and what has to be
/// converted first. Widened elements give the bits of converted ones.
///
/// Integers wrap: sums, differences and products keep the low bits of the exact value. Integer
/// quotients truncate toward zero; by zero they are 0, and the most negative value by -1 is
/// itself. Integer powers are the double power truncated toward zero, of which the low bits are
/// kept; NaN and what lies outside the signed 64-bit integers give 0. Floating types follow IEEE
/// arithmetic, single-precision powers being the double power rounded once; complex ones follow
/// comp_cComplex.
///
/// arit_DivideTesting exists for the floating and complex types. A divisor counts as zero when its
/// magnitude is not greater than or equal to the smallest normal value, as a NaN does; a complex
/// one when both parts do.
arit_Loop arit_LoopFor(dtyp_cDataType type, dtyp_cDataType storedA, dtyp_cDataType storedB,
                       int operation, form_eOperands form) noexcept;

} // namespace dataprocessing::detail
