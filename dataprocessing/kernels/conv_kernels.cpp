#include "dataprocessing/kernels/conv_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/kernels/elementary/elem.h"

#define LEVEL_KERNELS "dataprocessing/kernels/conv_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

void conv_Elements(const void* source, dtyp_cDataType from, void* target, dtyp_cDataType to,
                   std::size_t count, conv_eComplexConversion mode) noexcept {
    // Without elements, or of an unknown type, there is no storage.
    if (count == 0 || from.SizeOf() == 0)
        return;
    if (from == to)
        std::memcpy(target, source, count * from.SizeOf());
    else
        LEVEL_SELECT(conv_Run)(source, from, target, to, count, mode);
}

} // namespace dataprocessing::detail
