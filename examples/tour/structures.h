#pragma once

#include <vector>

#include "candidates.h"
#include "description.h"

namespace tour {

/// Tells lines from what is wider than a line.
class Structures {
public:
    /// Tries a background that can follow a structure in place of each chain of lines, once, and
    /// keeps it where it describes the spectrum as well. Answers whether it has kept one.
    bool Take(Description& description, Candidates& candidates);

private:
    std::vector<rnge_c1DRange> tried_;
};

} // namespace tour
