// Includes the kernel file LEVEL_KERNELS once per instruction-set level, each time in a namespace
// of its own inside dataprocessing::detail. It has no include guard on purpose.
//
// Everything that the kernel file needs is included before this file: a header first seen inside a
// target region would have its inline functions compiled for that level and shared with baseline
// code. Kernel files hold plain functions and function objects; lambdas would not reliably take the
// region's target. LEVEL_VECTOR_BYTES is the level's level_vectorBytes, for what the preprocessor
// has to choose.

#include "dataprocessing/platform/level.h"

#define LEVEL_VECTOR_BYTES 16
namespace dataprocessing::detail::level_baseline {
#include LEVEL_KERNELS
} // namespace dataprocessing::detail::level_baseline
#undef LEVEL_VECTOR_BYTES

#if DATAPROCESSING_LEVELS

    #if defined(__clang__)
        #pragma clang attribute push(__attribute__((target("arch=x86-64-v3"))), apply_to = function)
    #else
        #pragma GCC push_options
        #pragma GCC target("arch=x86-64-v3")
    #endif
    #define LEVEL_VECTOR_BYTES 32
namespace dataprocessing::detail::level_v3 {
    #include LEVEL_KERNELS
} // namespace dataprocessing::detail::level_v3
    #undef LEVEL_VECTOR_BYTES
    #if defined(__clang__)
        #pragma clang attribute pop
    #else
        #pragma GCC pop_options
    #endif

    #if defined(__clang__)
        #pragma clang attribute push(__attribute__((target("arch=x86-64-v4"))), apply_to = function)
    #else
        #pragma GCC push_options
        #pragma GCC target("arch=x86-64-v4,prefer-vector-width=512")
    #endif
    #define LEVEL_VECTOR_BYTES 64
namespace dataprocessing::detail::level_v4 {
    #include LEVEL_KERNELS
} // namespace dataprocessing::detail::level_v4
    #undef LEVEL_VECTOR_BYTES
    #if defined(__clang__)
        #pragma clang attribute pop
    #else
        #pragma GCC pop_options
    #endif

#endif

#undef LEVEL_KERNELS
