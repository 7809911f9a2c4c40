// Includes the kernel file LEVEL_KERNELS once per instruction-set level, each time in a namespace
// of its own inside dataprocessing::detail. It has no include guard on purpose.
//
// Everything that the kernel file needs is included before this file: a header first seen inside a
// target region would have its inline functions compiled for that level and shared with baseline
// code. Kernel files hold plain functions and function objects; lambdas would not reliably take the
// region's target.

#include "dataprocessing/platform/level.h"

namespace dataprocessing::detail::level_baseline {
#include LEVEL_KERNELS
} // namespace dataprocessing::detail::level_baseline

#if DATAPROCESSING_LEVELS

    #if defined(__clang__)
        #pragma clang attribute push(__attribute__((target("arch=x86-64-v3"))), apply_to = function)
    #else
        #pragma GCC push_options
        #pragma GCC target("arch=x86-64-v3")
    #endif
namespace dataprocessing::detail::level_v3 {
    #include LEVEL_KERNELS
} // namespace dataprocessing::detail::level_v3
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
namespace dataprocessing::detail::level_v4 {
    #include LEVEL_KERNELS
} // namespace dataprocessing::detail::level_v4
    #if defined(__clang__)
        #pragma clang attribute pop
    #else
        #pragma GCC pop_options
    #endif

#endif

#undef LEVEL_KERNELS
