#include "outbox/OutboxSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace
{

using outbox::OutboxSettings;
using outbox::ReadOutboxSettings;
using outbox::SyncMode;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(OutboxSettings, HaveDefaults)
{
    std::vector<std::string> vecComplaints;
    const OutboxSettings settings = ReadOutboxSettings(vecComplaints);
    EXPECT_EQ(settings.strFolder, "");
    EXPECT_EQ(settings.eSync, SyncMode::Within50Ms);
    EXPECT_TRUE(settings.bRepeatSeen);
    EXPECT_THAT(vecComplaints, IsEmpty());
}

TEST(OutboxSettings, AreReadFromTheEnvironment)
{
    ::setenv("KTSHTTPAGENT_OUTBOX", "/var/outbox", 1);
    ::setenv("KTSHTTPAGENT_OUTBOX_SYNC", "each", 1);
    ::setenv("KTSHTTPAGENT_OUTBOX_REPEAT", "unseen", 1);
    std::vector<std::string> vecComplaints;
    OutboxSettings settings = ReadOutboxSettings(vecComplaints);
    EXPECT_EQ(settings.strFolder, "/var/outbox");
    EXPECT_EQ(settings.eSync, SyncMode::Each);
    EXPECT_FALSE(settings.bRepeatSeen);
    ::setenv("KTSHTTPAGENT_OUTBOX_SYNC", "none", 1);
    ::setenv("KTSHTTPAGENT_OUTBOX_REPEAT", "any", 1);
    settings = ReadOutboxSettings(vecComplaints);
    EXPECT_EQ(settings.eSync, SyncMode::None);
    EXPECT_TRUE(settings.bRepeatSeen);
    EXPECT_THAT(vecComplaints, IsEmpty());
}

TEST(OutboxSettings, KeepTheDefaultInsteadOfAWrongValue)
{
    ::setenv("KTSHTTPAGENT_OUTBOX_SYNC", "500\n", 1);
    ::setenv("KTSHTTPAGENT_OUTBOX_REPEAT", "", 1);
    std::vector<std::string> vecComplaints;
    const OutboxSettings settings = ReadOutboxSettings(vecComplaints);
    EXPECT_EQ(settings.eSync, SyncMode::Within50Ms);
    EXPECT_TRUE(settings.bRepeatSeen);
    EXPECT_THAT(
        vecComplaints,
        ElementsAre("KTSHTTPAGENT_OUTBOX_SYNC is \"500\\n\", not one of 50, each, none; 50 stays in force"));
}

} // namespace
