#include "platform/system/LogLevel.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(LogLevel, IsTheOneThatTheEnvironmentAsksFor)
{
    setenv("CLOG_LEVEL", "0", 1);
    EXPECT_EQ(LogLevelOfEnvironment(), 0);
    setenv("CLOG_LEVEL", "4", 1);
    EXPECT_EQ(LogLevelOfEnvironment(), 4);
}

TEST(LogLevel, IsThreeIfTheEnvironmentAsksForNoneThatThereIs)
{
    unsetenv("CLOG_LEVEL");
    EXPECT_EQ(LogLevelOfEnvironment(), 3);
    for (const char* szLevel : {"", "-1", "5", "x"}) {
        setenv("CLOG_LEVEL", szLevel, 1);
        EXPECT_EQ(LogLevelOfEnvironment(), 3) << szLevel;
    }
}
