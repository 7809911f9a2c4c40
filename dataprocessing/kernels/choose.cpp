#include "dataprocessing/kernels/choose.h"

#include <cstring>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/platform/prefetch.h"

#define LEVEL_KERNELS "dataprocessing/kernels/choose.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

choose_Loop choose_LoopFor(dtyp_cDataType type, bool firstIsArray, bool secondIsArray) noexcept {
    choose_Loop loop = nullptr;
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        loop = LEVEL_SELECT(choose_LoopOf<choose_Bits<sizeof(T)>>)(firstIsArray, secondIsArray);
    });
    return loop;
}

} // namespace dataprocessing::detail
