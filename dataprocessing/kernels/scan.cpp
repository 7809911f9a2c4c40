#include "dataprocessing/kernels/scan.h"

#include <limits>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"

#define LEVEL_KERNELS "dataprocessing/kernels/scan.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

[[noreturn, gnu::cold]] void refuse(dtyp_cDataType type, bool isServed) {
    if (!isServed)
        throw expt_cProgramException(
            "scandata", 166, "Only floating and complex elements are scanned: convert others.");
    if (type.IsComplex())
        throw expt_cProgramException(
            "scandata", 119, "Complex elements have no sign and no order: only zeros are found.");
    throw expt_cProgramException("scandata", 143, "Unknown scan.");
}

} // namespace

scan_Loop scan_LoopFor(dtyp_cDataType type, int kind) {
    const scan_Loop* loops = nullptr;
    dtyp_VisitOf<float, double, comp_cComplex<float>, comp_cComplex<double>>(
        type, [&]<class T>(dtyp_Tag<T>) { loops = *LEVEL_SELECT(scan_loops<T>); });
    const bool isServed = loops != nullptr;
    const scan_Loop loop = isServed && kind >= 0 && kind < scan_kinds ? loops[kind] : nullptr;
    if (loop == nullptr)
        refuse(type, isServed);
    return loop;
}

} // namespace dataprocessing::detail
