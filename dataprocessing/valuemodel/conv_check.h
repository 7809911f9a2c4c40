#pragma once

/// @file
/// What a conversion refuses.

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/valuemodel/conv.h"

namespace dataprocessing::detail {

/// Throws the errors of conv_Convert for a conversion between two types that must not run.
void conv_CheckDifferent(dtyp_cDataType from, dtyp_cDataType to, conv_eComplexConversion mode);

/// The same for any two types. Equal ones are always accepted.
inline void conv_Check(dtyp_cDataType from, dtyp_cDataType to, conv_eComplexConversion mode) {
    if (from != to)
        conv_CheckDifferent(from, to, mode);
}

} // namespace dataprocessing::detail
