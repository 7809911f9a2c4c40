#include "dataprocessing/reduce/extrem1_kernels.h"

#include <cstring>
#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"

#define LEVEL_KERNELS "dataprocessing/reduce/extrem1_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

void extr_Continue(extr_eKind kind, const void* elements, std::size_t first, std::size_t count,
                   extr_sBest& best) noexcept {
    LEVEL_SELECT(extr_Run)(kind, elements, first, count, best);
}

} // namespace dataprocessing::detail
