#include "dataprocessing/platform/level.h"

#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "tests/support/levels.h"

using namespace dataprocessing::detail;

namespace {

int first() { return 1; }
int second() { return 2; }
int third() { return 3; }

} // namespace

TEST(Level, HasTheNameThatTheEnvironmentUses) {
    EXPECT_STREQ(level_Name(level_Baseline), "baseline");
    EXPECT_STREQ(level_Name(level_V3), "v3");
    EXPECT_STREQ(level_Name(level_V4), "v4");
}

TEST(Level, TakesItsOwnVersionOfAFunction) {
    const std::vector<level_eSet> usable = levels();
    int (*const versions[])() = {&first, &second, &third};
    for (const level_eSet level : usable) {
        const LevelInUse inUse(level);
        EXPECT_EQ(level_Current(), level);
        EXPECT_EQ(level_Select(&first, &second, &third), versions[level]);
    }
    EXPECT_EQ(level_Current(), usable.back());
}

// A processor that lacks the level asked for takes its highest, which is lower.
TEST(Level, IsNotAboveTheOneThatTheEnvironmentNames) {
    const char* asked = std::getenv("DATAPROCESSING_LEVEL");
    if (asked == nullptr)
        GTEST_SKIP() << "no level is asked for";
    for (const level_eSet level : {level_Baseline, level_V3, level_V4})
        if (std::strcmp(asked, level_Name(level)) == 0) {
            EXPECT_LE(level_Current(), level);
        }
}
