#pragma once

/// @file
/// The selection between stored elements.

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/platform/level.h"

namespace dataprocessing::detail {

/// What a selection is asked to do.
struct tnry_sRequest {
    int dataType;      ///< the dtyp_eDataType of both values and the result
    int firstIsArray;  ///< 0 or 1
    int secondIsArray; ///< 0 or 1
    int count;         ///< of elements to produce
};

/// Throws expt_cProgramException ("ternary", 114) for a type outside the ten.
void tnry_RequireKnown(dtyp_cDataType type);

/// Writes request.count elements to `result`: bit for bit that of `first` where the byte of the
/// condition is not zero, else that of `second`. A value whose array flag is 0 is one element.
/// Throws as tnry_RequireKnown.
void tnry_RunSelection(const unsigned char* condition, const void* first, const void* second,
                       void* result, const tnry_sRequest& request,
                       level_eSet level = level_Current());

} // namespace dataprocessing::detail
