#include "dataprocessing/unary/scandata.h"

#include <algorithm>
#include <limits>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/unary/scandata_kernels.h"

#define LEVEL_KERNELS "dataprocessing/unary/scandata_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

void check(dtyp_cDataType type, int kind) {
    if (type.Code() < dtyp_Float || !type.IsKnown())
        throw expt_cProgramException("scandata", 166);
    if (type.IsComplex() && kind != scan_Zero)
        throw expt_cProgramException("scandata", 119);
    if (kind < scan_Zero || kind > scan_AbsLargerThanUnity)
        throw expt_cProgramException("scandata", 143);
}

type_cBoolean scanned(const pnum_cNumber& number, scan_eKind kind) {
    return scan_Elements({number.DataType(), kind, 1}, number.Data());
}
type_cBoolean scanned(const parr_cNumberArray& array, scan_eKind kind) {
    return scan_Elements({array.DataType(), kind, array.Count()}, array.Data());
}

} // namespace

bool scan_Elements(const scan_sRequest& request, const void* elements) {
    check(request.type, request.kind);
    return LEVEL_SELECT(scan_Run)(request.type.Code(), request.kind, elements,
                                  static_cast<std::size_t>(request.count));
}

bool scan_View(const view_cView& view, scan_eKind kind) {
    check(view.Type(), kind);
    const auto run = LEVEL_SELECT(scan_Run);
    if (view.Direct() != nullptr)
        return run(view.Type().Code(), kind, view.Direct(), view.Count());

    alignas(64) unsigned char block[8192];
    const std::size_t capacity = sizeof block / view.Type().SizeOf();
    for (std::size_t first = 0; first < view.Count(); first += capacity) {
        const std::size_t count = std::min(capacity, view.Count() - first);
        view.Fetch(first, count, block);
        if (run(view.Type().Code(), kind, block, count))
            return true;
    }
    return false;
}

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

// clang-format off
type_cBoolean scan_IsZero(const pnum_cNumber& operand) { return scanned(operand, scan_Zero); }
type_cBoolean scan_IsZero(const darr_c1DArray& operand) { return scanned(operand, scan_Zero); }
type_cBoolean scan_IsZero(const darr_c2DArray& operand) { return scanned(operand, scan_Zero); }

type_cBoolean scan_IsZeroOrNegative(const pnum_cNumber& operand) { return scanned(operand, scan_ZeroOrNegative); }
type_cBoolean scan_IsZeroOrNegative(const darr_c1DArray& operand) { return scanned(operand, scan_ZeroOrNegative); }
type_cBoolean scan_IsZeroOrNegative(const darr_c2DArray& operand) { return scanned(operand, scan_ZeroOrNegative); }

type_cBoolean scan_IsNegative(const pnum_cNumber& operand) { return scanned(operand, scan_Negative); }
type_cBoolean scan_IsNegative(const darr_c1DArray& operand) { return scanned(operand, scan_Negative); }
type_cBoolean scan_IsNegative(const darr_c2DArray& operand) { return scanned(operand, scan_Negative); }

type_cBoolean scan_IsAbsLargerThanUnity(const pnum_cNumber& operand) { return scanned(operand, scan_AbsLargerThanUnity); }
type_cBoolean scan_IsAbsLargerThanUnity(const darr_c1DArray& operand) { return scanned(operand, scan_AbsLargerThanUnity); }
type_cBoolean scan_IsAbsLargerThanUnity(const darr_c2DArray& operand) { return scanned(operand, scan_AbsLargerThanUnity); }
// clang-format on
