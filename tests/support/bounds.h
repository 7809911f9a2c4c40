#pragma once

// The bounds that docs/numerics.md states, so that tests hold the library to what the page says.

#include <string_view>

/// The factor before "epsilon" in the row of the table of bounds whose first cell begins so. Fails
/// the test, and is 0, where there is no such row.
double statedBound(std::string_view result);
