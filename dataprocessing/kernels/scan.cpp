#include "dataprocessing/kernels/scan.h"

#include <limits>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"

#define LEVEL_KERNELS "dataprocessing/kernels/scan.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

scan_Loop scan_LoopFor(dtyp_cDataType type, int kind) {
    scan_Loop loop = nullptr;
    const bool isServed = dtyp_VisitOf<float, double, comp_cComplex<float>, comp_cComplex<double>>(
        type, [&]<class T>(dtyp_Tag<T>) { loop = LEVEL_SELECT(scan_LoopOf<T>)(kind); });
    if (!isServed)
        throw expt_cProgramException(
            "scandata", 166, "Only floating and complex elements are scanned: convert others.");
    if (loop == nullptr && type.IsComplex())
        throw expt_cProgramException(
            "scandata", 119, "Complex elements have no sign and no order: only zeros are found.");
    if (loop == nullptr)
        throw expt_cProgramException("scandata", 143, "Unknown scan.");
    return loop;
}

} // namespace dataprocessing::detail
