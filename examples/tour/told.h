#pragma once

#include "analysis.h"
#include "description.h"

namespace tour {

/// What a description says of a spectrum, its lines by position.
Analysis told(const Description& description);

} // namespace tour
