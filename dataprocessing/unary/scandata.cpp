#include "dataprocessing/unary/scandata.h"

#include "dataprocessing/kernels/scan.h"

using namespace dataprocessing::detail;

namespace {

type_cBoolean scanned(const pnum_cNumber& number, scan_eKind kind) {
    return scan_LoopFor(number.DataType(), kind)(number.Data(), 1);
}
type_cBoolean scanned(const parr_cNumberArray& array, scan_eKind kind) {
    return scan_LoopFor(array.DataType(), kind)(array.Data(),
                                                static_cast<std::size_t>(array.Count()));
}

} // namespace

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
