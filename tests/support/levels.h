#pragma once

// Every instruction-set level that the processor has, one after the other.

#include <vector>

#include "dataprocessing/platform/level.h"

/// The levels up to the one in use.
inline std::vector<dataprocessing::detail::level_eSet> levels() {
    using namespace dataprocessing::detail;
    std::vector<level_eSet> usable;
    for (const level_eSet level : {level_Baseline, level_V3, level_V4})
        if (level <= level_Current())
            usable.push_back(level);
    return usable;
}

/// Has a level in use for as long as it lives.
class LevelInUse {
public:
    explicit LevelInUse(dataprocessing::detail::level_eSet level)
        : before_(dataprocessing::detail::level_Current()) {
        dataprocessing::detail::level_Use(level);
    }
    LevelInUse(const LevelInUse&) = delete;
    LevelInUse& operator=(const LevelInUse&) = delete;
    ~LevelInUse() { dataprocessing::detail::level_Use(before_); }

private:
    dataprocessing::detail::level_eSet before_;
};
