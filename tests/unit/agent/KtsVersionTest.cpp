// The version that a host can ask for is the one that the build has read from the header.

#include <ktshttpagent/KtsSettings.h>
#include <ktshttpagent/KtsVersion.h>

#include <gtest/gtest.h>

#include <string>

TEST(KtsVersionTest, IsTheSameWhereverItIsTold)
{
    EXPECT_EQ(KtsVersion(), std::string(KTS_PROJECT_VERSION));
    EXPECT_EQ(KtsVersions().front().strVersion, KtsVersion());
    EXPECT_EQ(KtsVersionNumber(), KTSHTTPAGENT_VERSION_NUMBER);
}

TEST(KtsVersionTest, IsANumberThatIsGreaterForALaterVersion)
{
    EXPECT_LT(KTSHTTPAGENT_VERSION_OF(0, 2, 999), KTSHTTPAGENT_VERSION_OF(0, 3, 0));
    EXPECT_LT(KTSHTTPAGENT_VERSION_OF(0, 999, 999), KTSHTTPAGENT_VERSION_OF(1, 0, 0));
    EXPECT_EQ(KTSHTTPAGENT_VERSION_NUMBER / 1'000'000, KTSHTTPAGENT_VERSION_MAJOR);
    EXPECT_EQ(KTSHTTPAGENT_VERSION_NUMBER / 1'000 % 1'000, KTSHTTPAGENT_VERSION_MINOR);
    EXPECT_EQ(KTSHTTPAGENT_VERSION_NUMBER % 1'000, KTSHTTPAGENT_VERSION_PATCH);
}
