#pragma once

/// @file
/// What a conversion refuses.

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/valuemodel/conv.h"

namespace dataprocessing::detail {

/// Throws the errors of conv_Convert for a conversion that must not run. Equal types are always
/// accepted.
void conv_Check(dtyp_cDataType from, dtyp_cDataType to, conv_eComplexConversion mode);

} // namespace dataprocessing::detail
