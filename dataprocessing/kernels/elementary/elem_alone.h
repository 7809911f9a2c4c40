#pragma once

// What a kernel file of the elementary functions finds around it where it is compiled, for an
// editor that looks at the file alone.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "dataprocessing/kernels/elementary/elem.h"
#include "dataprocessing/kernels/elementary/elem_tables.h"
#include "dataprocessing/platform/level.h"

using namespace dataprocessing::detail;

// The first level with fused products, without which there are no functions of doubles.
#if DATAPROCESSING_LEVELS
    #include <immintrin.h>
    #pragma GCC diagnostic ignored "-Wpsabi" // nothing is called
    #define LEVEL_VECTOR_BYTES 32
using namespace dataprocessing::detail::level_v3;
#else
    #define LEVEL_VECTOR_BYTES 16
using namespace dataprocessing::detail::level_baseline;
#endif

#define LEVEL_KERNELS "dataprocessing/kernels/elementary/elem_kernels.inc"
