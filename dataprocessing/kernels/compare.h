#pragma once

/// @file
/// Loops of element-wise comparison over raw storage.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/kernels/form.h"

namespace dataprocessing::detail {

/// The six comparisons, by their public codes.
enum compare_eOperation : int {
    compare_Equal = 0,
    compare_NotEqual = 1,
    compare_Greater = 2,
    compare_GreaterEqual = 3,
    compare_Less = 4,
    compare_LessEqual = 5
};

/// A loop that writes `count` bytes: 1 where the comparison of a with b holds, 0 elsewhere.
class compare_cLoop {
public:
    using Function = void (*)(const void* a, const void* b, unsigned char* result,
                              std::size_t count);

    /// Compares by `function`, which takes the operands `exchanged` or in their order.
    constexpr compare_cLoop(Function function, bool exchanged) noexcept
        : function_(function), exchanged_(exchanged) {}

    /// Compares; the result overlaps neither operand.
    void operator()(const void* a, const void* b, unsigned char* result, std::size_t count) const {
        function_(exchanged_ ? b : a, exchanged_ ? a : b, result, count);
    }

private:
    Function function_;
    bool exchanged_;
};

/// The loop for one of the six comparisons of elements of a known type. Elements are compared in
/// their own type. A NaN is equal to nothing and in no order. Complex elements are equal when both
/// parts are; their order is that of their magnitudes, `abs` in their precision.
compare_cLoop compare_LoopFor(dtyp_cDataType type, int operation, form_eOperands form) noexcept;

} // namespace dataprocessing::detail
