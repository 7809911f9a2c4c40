#pragma once

// What a kernel file of the radix-2 transform finds around it where it is compiled, for an editor
// that looks at the file alone.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "dataprocessing/kernels/radix.h"
#include "dataprocessing/kernels/radix_lanes.h"
#include "dataprocessing/platform/level.h"

#if DATAPROCESSING_LEVELS
    #include <immintrin.h>
#endif

#define LEVEL_KERNELS "dataprocessing/kernels/radix_kernels.inc"

using namespace dataprocessing::detail;
using namespace dataprocessing::detail::level_baseline;
