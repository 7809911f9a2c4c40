#pragma once

/// @file
/// Printing of stored elements.

#include <iosfwd>

#include "dataprocessing/base/dtyp.h"

namespace dataprocessing::detail {

/// Prints one stored element as a number; "?" for an unknown type.
void dtyp_PrintElement(std::ostream& stream, dtyp_cDataType type, const void* element);

} // namespace dataprocessing::detail
