#include "dataprocessing/kernels/compare.h"

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/platform/prefetch.h"

#define LEVEL_KERNELS "dataprocessing/kernels/compare.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

/// The comparison that holds for (b, a) when this one holds for (a, b).
int mirrored(int operation) {
    switch (operation) {
    case compare_Greater:
        return compare_Less;
    case compare_GreaterEqual:
        return compare_LessEqual;
    case compare_Less:
        return compare_Greater;
    case compare_LessEqual:
        return compare_GreaterEqual;
    default:
        return operation;
    }
}

} // namespace

compare_cLoop compare_LoopFor(dtyp_cDataType type, int operation, form_eOperands form) noexcept {
    const bool exchanged =
        form == form_NumberFirst ||
        (form == form_Arrays && (operation == compare_Less || operation == compare_LessEqual));
    const int compared = exchanged ? mirrored(operation) : operation;
    compare_cLoop::Function function = nullptr;
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        function = form == form_Arrays ? LEVEL_SELECT(compare_ArraysLoopOf<T>)(compared)
                                       : LEVEL_SELECT(compare_NumberLoopOf<T>)(compared);
    });
    return {function, exchanged};
}

} // namespace dataprocessing::detail
