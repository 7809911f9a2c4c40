#pragma once

// Constants of double precision, for tests.

#include <limits>

inline constexpr double infinity = std::numeric_limits<double>::infinity();
inline constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
inline constexpr double epsilon = std::numeric_limits<double>::epsilon();
