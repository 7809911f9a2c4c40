#pragma once

/// @file
/// Instruction-set levels: every kernel file is compiled once per level from one source, and one
/// level is chosen at run time. All levels give identical bits.

#include <cstddef>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    #define DATAPROCESSING_LEVELS 1
#else
    #define DATAPROCESSING_LEVELS 0
#endif

namespace dataprocessing::detail {

/// The levels that a kernel exists for, each containing the one before it.
enum level_eSet {
    level_Baseline = 0, ///< what the compiler targets by default (x86-64 with SSE2)
    level_V3 = 1,       ///< x86-64-v3: AVX2, FMA (never used to contract)
    level_V4 = 2        ///< x86-64-v4: AVX-512
};

/// The size of a level's vectors, for kernels that spell them out. Operations on wider ones would
/// be taken apart, comparisons even element by element.
/// @{
namespace level_baseline {
constexpr std::size_t level_vectorBytes = 16;
}
namespace level_v3 {
constexpr std::size_t level_vectorBytes = 32;
}
namespace level_v4 {
constexpr std::size_t level_vectorBytes = 64;
}
/// @}

/// The level in use: the highest that the processor has, or the one that the environment variable
/// DATAPROCESSING_LEVEL names ("baseline", "v3", "v4") where the processor has that one. It is read
/// once, at the first call.
level_eSet level_Current() noexcept;

/// Makes `level`, which the processor has, the one in use, for all threads: for tests, which
/// compare levels.
void level_Use(level_eSet level) noexcept;

/// The name of a level as the environment variable spells it.
const char* level_Name(level_eSet level) noexcept;

/// The address of the function that serves the current level.
template<class Function>
Function* level_Select(Function* baseline, Function* v3, Function* v4) noexcept {
    switch (level_Current()) {
    case level_V4:
        return v4;
    case level_V3:
        return v3;
    default:
        return baseline;
    }
}

/// The same where the processor has no levels.
template<class Function>
Function* level_Select(Function* baseline) noexcept {
    return baseline;
}

} // namespace dataprocessing::detail

/// The version of a kernel entry (a function, or a template with its arguments) that serves the
/// current level. Use it where the entry came from a file included through level_each.h.
#if DATAPROCESSING_LEVELS
    #define LEVEL_SELECT(...)                                                                      \
        ::dataprocessing::detail::level_Select(&level_baseline::__VA_ARGS__,                       \
                                               &level_v3::__VA_ARGS__, &level_v4::__VA_ARGS__)
#else
    #define LEVEL_SELECT(...) ::dataprocessing::detail::level_Select(&level_baseline::__VA_ARGS__)
#endif
