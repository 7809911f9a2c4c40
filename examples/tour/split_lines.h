#pragma once

#include <span>
#include <vector>

#include "description.h"
#include "width_law.h"

namespace tour {

/// Takes lines that are wider than the law has it for two.
class SplitLines {
public:
    /// Splits each strong line whose width is off, once. Answers whether there is one.
    bool Split(Description& description, std::span<const Width> widths);

private:
    std::vector<double> split_;
};

} // namespace tour
