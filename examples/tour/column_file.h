#pragma once

#include "table_of_values.h"

namespace tour {

/// Reads columns of values from the line on at which the file is, if there is one. The last of the
/// comments before may name them.
Values readColumns(TextFile& file, bool hasLine, const std::vector<CommentLine>& comments);

} // namespace tour
