#pragma once

#include "table_of_values.h"

namespace tour {

/// Reads columns of values from the line on at which the file is, if there is one.
Values readColumns(TextFile& file, bool hasLine);

} // namespace tour
