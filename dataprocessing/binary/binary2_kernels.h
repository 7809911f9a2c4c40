#pragma once

/// @file
/// The comparison kernels: on raw storage of one element type, and on operands that are brought to
/// it in blocks.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/binary/bnry_operation.h"
#include "dataprocessing/platform/level.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/view_source.h"

namespace dataprocessing::detail {

/// What the comparison of arrays without elements gives.
inline barr_c1DBoolArray bnry_MaskOfNothing(const darr_c1DArray&) { return barr_c1DBoolArray(2); }
inline barr_c2DBoolArray bnry_MaskOfNothing(const darr_c2DArray&) {
    return barr_c2DBoolArray(2, 2);
}

/// A comparison, and the type that both operands are brought to.
struct bnry_sComparison {
    int operation; ///< a bnry_eCompBinaryOperation
    dtyp_cDataType type;
};

/// The type that operands of these types are compared as. Throws expt_cProgramException
/// ("binary2", 1) for a comparison that is none of the six, and what conv_Convert refuses.
dtyp_cDataType bnry_ComparedType(dtyp_cDataType a, dtyp_cDataType b, int operation);

/// Throws expt_cProgramException ("binary2", 138) for a type outside the ten.
void bnry_RequireComparable(dtyp_cDataType type);

/// Writes operation.count bytes to `result`: 1 where the comparison holds, 0 elsewhere. The
/// storages of the operands hold elements of operation.dataType; an operand whose array flag is 0
/// is one element, and a first operand that is none decides the form, whatever the second flag
/// says. A comparison that is none of the six writes nothing. Throws as bnry_RequireComparable.
void bnry_RunComparison(const void* a, const void* b, unsigned char* result,
                        const bnry_sAritOperation& operation, level_eSet level = level_Current());

/// The same for `count` elements of operands that are wanted in comparison.type. Nothing is
/// allocated.
void bnry_Compare(const bnry_sComparison& comparison, const view_cSource& a, const view_cSource& b,
                  unsigned char* result, std::size_t count, level_eSet level = level_Current());

} // namespace dataprocessing::detail
