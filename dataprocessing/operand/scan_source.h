#pragma once

/// @file
/// The scan of an operand's elements, whichever way they are stored.

#include "dataprocessing/kernels/scan.h"
#include "dataprocessing/operand/blocks.h"

namespace dataprocessing::detail {

/// True when some of the first `count` elements of `source`, which are of `type`, has the property.
/// Throws the errors of scan_LoopFor.
inline bool scan_Source(const blocks_cSource& source, dtyp_cDataType type, scan_eKind kind,
                        std::size_t count) {
    const scan_Loop loop = scan_LoopFor(type, kind);
    const auto hasNone = [loop](void*, std::size_t number, const void* elements) {
        return !loop(elements, number);
    };
    return !blocks_Run({nullptr, 0, 0, count}, hasNone, source);
}

} // namespace dataprocessing::detail
