#pragma once

#include <string_view>

#include "table_of_values.h"

namespace tour {

/// Whether the line begins a file in the EMSA/MAS format for the exchange of spectra.
bool isEmsaHeader(std::string_view line);

/// Reads one from the line with its format on; the comments before may hold keywords, too. The
/// keywords FORMAT, NPOINTS, XPERCHAN, OFFSET, CHOFFSET,
/// XUNITS, XLABEL and DATATYPE are looked at, in any case and order; all but the first may be
/// missing. There may be any number of values or pairs of values in a line.
Values readEmsa(TextFile& file, const std::vector<CommentLine>& comments);

} // namespace tour
