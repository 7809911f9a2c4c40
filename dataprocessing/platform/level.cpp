#include "dataprocessing/platform/level.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace dataprocessing::detail {

namespace {

level_eSet highestOfProcessor() noexcept {
#if DATAPROCESSING_LEVELS
    __builtin_cpu_init();
    const bool v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                    __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    const bool v4 = v3 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                    __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                    __builtin_cpu_supports("avx512vl");
    return v4 ? level_V4 : v3 ? level_V3 : level_Baseline;
#else
    return level_Baseline;
#endif
}

level_eSet choose() noexcept {
    const level_eSet highest = highestOfProcessor();
    const char* wanted = std::getenv("DATAPROCESSING_LEVEL");
    if (wanted != nullptr)
        for (const level_eSet level : {level_Baseline, level_V3, level_V4})
            if (level <= highest && std::strcmp(wanted, level_Name(level)) == 0)
                return level;
    return highest;
}

constexpr int notChosen = -1;

// Every call of a kernel asks: one load, and no guard of a first call.
constinit std::atomic<int> inUse = notChosen;

/// Threads that choose at the same time choose the same.
[[gnu::noinline]] int chosen() noexcept {
    int before = notChosen;
    const int level = choose();
    return inUse.compare_exchange_strong(before, level) ? level : before;
}

} // namespace

level_eSet level_Current() noexcept {
    const int level = inUse.load(std::memory_order_relaxed);
    return static_cast<level_eSet>(level != notChosen ? level : chosen());
}

void level_Use(level_eSet level) noexcept { inUse.store(level, std::memory_order_relaxed); }

const char* level_Name(level_eSet level) noexcept {
    switch (level) {
    case level_V4:
        return "v4";
    case level_V3:
        return "v3";
    default:
        return "baseline";
    }
}

} // namespace dataprocessing::detail
