#pragma once

/// @file
/// Units that cost no digit.

#include <cmath>

namespace rcps {

/// The power of two next below `magnitude`, so that what is divided by it keeps its digits and its
/// squares are numbers; 1 where there is none, as for 0 and infinity.
inline double powerBelow(double magnitude) {
    return std::isnormal(magnitude) ? std::ldexp(1.0, std::ilogb(magnitude)) : 1.0;
}

} // namespace rcps
