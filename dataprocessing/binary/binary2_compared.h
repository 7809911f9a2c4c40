#pragma once

/// @file
/// What comparisons share with the minima and maxima that are made of them.

#include "dataprocessing/kernels/compare.h"
#include "dataprocessing/operand/blocks.h"
#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"

namespace dataprocessing::detail {

/// What the comparison of arrays without elements gives.
inline barr_c1DBoolArray bnry_MaskOfNothing(const darr_c1DArray&) { return barr_c1DBoolArray(2); }
inline barr_c2DBoolArray bnry_MaskOfNothing(const darr_c2DArray&) {
    return barr_c2DBoolArray(2, 2);
}

/// The type that operands of these types are compared as. Throws expt_cProgramException
/// ("binary2", 1) for a comparison that is none of the six, and what conv_Convert refuses.
dtyp_cDataType bnry_ComparedType(dtyp_cDataType a, dtyp_cDataType b, int comparison);

/// The loop that compares `a` with `b` in `type`. Throws expt_cProgramException ("binary2", 138)
/// for a type outside the ten.
compare_cLoop bnry_ComparingLoop(int comparison, dtyp_cDataType type, const blocks_cSource& a,
                                 const blocks_cSource& b);

} // namespace dataprocessing::detail
