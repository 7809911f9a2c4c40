#include "dataprocessing/kernels/extreme.h"

#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"

#define LEVEL_KERNELS "dataprocessing/kernels/extreme.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

extreme_Loop extreme_LoopFor(dtyp_cDataType type, extreme_eOperation operation,
                             form_eOperands form) noexcept {
    extreme_Loop loop = nullptr;
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        if constexpr (std::is_arithmetic_v<T>)
            loop = LEVEL_SELECT(extreme_LoopOf<T>)(operation, form);
    });
    return loop;
}

} // namespace dataprocessing::detail
