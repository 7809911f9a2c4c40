#pragma once

/// @file
/// The arithmetic kernels: on raw storage of one element type, and the engine that brings operands
/// of other types, deltas and ranges to it in blocks.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/binary/bnry_operation.h"
#include "dataprocessing/platform/level.h"
#include "dataprocessing/valuemodel/view.h"

namespace dataprocessing::detail {

/// Computes operation.count elements of `result` from the storages of the operands, which hold
/// elements of operation.dataType; `result` overlaps neither. An operand whose array flag is 0 is
/// one element; a first operand that is none decides the form, whatever the second flag says.
///
/// Nothing is written for an unknown operation or type, nor for 8-bit integers. Elements are
/// computed as arit_PlainLoop says, except that sums, differences and products of 16-bit and 32-bit
/// signed integers and single precision go through the image library as far as whole chunks (of 4,
/// 2 and 2 elements) reach. There, a number minus an array gives the array's element minus the
/// number, and a 32-bit integer number is passed as a float. Nothing refuses a zero divisor.
void bnry_RunKernel(const void* a, const void* b, void* result,
                    const bnry_sAritOperation& operation, level_eSet level = level_Current());

/// An operand of the engine: one element of the common type, or a view whose Type() is that type.
/// It refers to what it was made from.
class bnry_cOperand {
public:
    /// A number: one element of the common type.
    explicit bnry_cOperand(const void* element) noexcept : element_(element) {}
    /// An array.
    explicit bnry_cOperand(const view_cView& view) noexcept : view_(&view) {}

    /// The element of a number, null for an array.
    const void* Element() const noexcept { return element_; }
    /// The view of an array, null for a number.
    const view_cView* View() const noexcept { return view_; }

private:
    const void* element_ = nullptr;
    const view_cView* view_ = nullptr;
};

/// Writes `count` elements of `type` to `result`: the bits that bnry_RunKernel gives for the whole
/// of both operands converted to `type`. Array operands have `count` elements; `result` overlaps
/// neither. Nothing larger than a cache block is allocated, and nothing on the heap.
void bnry_Compute(int operation, dtyp_cDataType type, const bnry_cOperand& a,
                  const bnry_cOperand& b, void* result, std::size_t count,
                  level_eSet level = level_Current());

/// The same for division, answering whether any element of the divisor (all of the view, the one
/// number) counts as zero: its magnitude is not greater than or equal to the smallest normal value
/// of the type, as a NaN's is not, and for complex elements those of both parts. `type` is one of
/// the floating or complex types; for no elements the answer is no. The result is worthless after a
/// yes.
[[nodiscard]] bool bnry_DivideTesting(dtyp_cDataType type, const bnry_cOperand& a,
                                      const bnry_cOperand& b, void* result, std::size_t count,
                                      level_eSet level = level_Current());

} // namespace dataprocessing::detail
