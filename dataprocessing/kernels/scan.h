#pragma once

/// @file
/// Loops that look for a property among elements of raw storage.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"

namespace dataprocessing::detail {

/// The property that a scan looks for.
enum scan_eKind : int {
    scan_Zero = 0,
    scan_ZeroOrNegative = 1,
    scan_Negative = 2,
    scan_AbsLargerThanUnity = 3,
    scan_kinds = 4
};

/// A loop that answers whether some of `count` elements has the property.
using scan_Loop = bool (*)(const void* elements, std::size_t count);

/// The loop for elements of `type` and a scan_eKind. Throws expt_cProgramException ("scandata",
/// line): 166 for a type that is neither floating nor complex, 119 for a complex type with a kind
/// other than scan_Zero, 143 for a real type with an unknown kind.
scan_Loop scan_LoopFor(dtyp_cDataType type, int kind);

} // namespace dataprocessing::detail
