#pragma once

/// @file
/// The scan of stored elements, and of views.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/valuemodel/view.h"

namespace dataprocessing::detail {

/// The property that a scan looks for.
enum scan_eKind : int {
    scan_Zero = 0,
    scan_ZeroOrNegative = 1,
    scan_Negative = 2,
    scan_AbsLargerThanUnity = 3
};

/// What a scan is asked to do.
struct scan_sRequest {
    dtyp_cDataType type; ///< of the elements
    int kind;            ///< a scan_eKind
    int count;           ///< of elements
};

/// True when some element at `elements` has the property. Throws expt_cProgramException
/// ("scandata", line): 166 for a type that is neither floating nor complex, 119 for a complex type
/// with a kind other than scan_Zero, 143 for a real type with an unknown kind.
bool scan_Elements(const scan_sRequest& request, const void* elements);

/// The same for the elements of a view, which are brought to its type in blocks.
bool scan_View(const view_cView& view, scan_eKind kind);

} // namespace dataprocessing::detail
