#pragma once

/// @file
/// Loops of element-wise arithmetic over raw storage, for every instruction-set level.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/platform/level.h"

namespace dataprocessing::detail {

/// The five operations.
enum arit_eOperation : int {
    arit_Add = 0,
    arit_Subtract = 1,
    arit_Multiply = 2,
    arit_Divide = 3,
    arit_Power = 4
};

/// Which operands are arrays; the other one is a single element.
enum arit_eForm : int { arit_NumberFirst, arit_Arrays, arit_NumberSecond };

/// A loop that writes `count` elements; the result overlaps neither operand.
using arit_Loop = void (*)(const void* a, const void* b, void* result, std::size_t count);
/// A loop that writes `count` quotients and answers whether a divisor element was zero.
using arit_TestingLoop = bool (*)(const void* a, const void* b, void* result, std::size_t count);

/// The loop over operands of the result's type; null for an operation or a type without one (8-bit
/// integers and unknown codes).
///
/// Integers wrap: sums, differences and products keep the low bits of the exact value. Integer
/// quotients truncate toward zero; by zero they are 0, and the most negative value by -1 is
/// itself. Integer powers are the double power truncated toward zero, of which the low bits are
/// kept; NaN and what lies outside the signed 64-bit integers give 0. Floating types follow IEEE
/// arithmetic, single-precision powers being the double power rounded once; complex ones follow
/// comp_cComplex.
arit_Loop arit_PlainLoop(dtyp_cDataType type, int operation, arit_eForm form,
                         level_eSet level) noexcept;

/// The loop whose array operands are stored as other types than the result's and are widened on
/// the way, or null where there is none. It gives the bits of the plain loop over converted
/// operands. A number is an element of the result's type already.
arit_Loop arit_WideningLoop(dtyp_cDataType type, dtyp_cDataType storedA, dtyp_cDataType storedB,
                            int operation, arit_eForm form, level_eSet level) noexcept;

/// The loop of arit_Divide that also tests the divisor, for operands stored as these types (equal
/// to the result's, or widened), or null where there is none. It exists for the floating and
/// complex types and for array divisors. A divisor counts as zero when its magnitude is not
/// greater than or equal to the smallest normal value, as a NaN does; a complex one when both
/// parts do.
arit_TestingLoop arit_TestingDivision(dtyp_cDataType type, dtyp_cDataType storedA,
                                      dtyp_cDataType storedB, arit_eForm form,
                                      level_eSet level) noexcept;

/// Whether one element of a floating or complex type counts as zero in that sense.
bool arit_IsZero(dtyp_cDataType type, const void* element) noexcept;

/// Results of so many bytes would push themselves, and what else is there, out of any last-level
/// cache.
inline constexpr std::size_t arit_StreamFrom = std::size_t{48} << 20;

/// Copies past the caches: for results so large that their beginning would have left the caches
/// before anybody reads it. Other threads may read the target after arit_EndStreaming.
void arit_StreamOut(void* target, const void* source, std::size_t bytes,
                    level_eSet level = level_Current()) noexcept;
/// Makes what was streamed so far visible before anything that is written from now on.
void arit_EndStreaming() noexcept;

} // namespace dataprocessing::detail
