// What a host can call, and how the settings of the environment arrive.

#include "FakeShelf.h"
#include "RecordingLog.h"

#include "outbox/OpenOutbox.h"
#include "outbox/OpenStore.h"
#include "outbox/Outbox.h"

#include <ktshttpagent/KtsOutbox.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

namespace
{

outbox::FakeShelf::Contents g_disk;

} // namespace

// Instead of the real one.
std::unique_ptr<outbox::Shelf> outbox::OpenStore(const std::string& strFolder)
{
    if (strFolder == "/network") {
        throw std::runtime_error("it is a network file system");
    }
    return std::make_unique<FakeShelf>(g_disk);
}

namespace
{

class KtsOutboxTest : public ::testing::Test
{
protected:
    ~KtsOutboxTest() override { KtsCloseOutbox(); }
};

// A host makes records of its own, to compare with or to fill.
TEST(KtsOutboxDefaults, AreThoseOfAClosedEmptyOutbox)
{
    const SKtsOutboxStatus status;
    EXPECT_FALSE(status.bOpen);
    EXPECT_EQ(status.nWaiting, 0U);
    EXPECT_EQ(status.nBytes, 0U);
    EXPECT_EQ(status.oldest.count(), 0);
    EXPECT_EQ(status.nDead, 0U);
    EXPECT_EQ(status.nBad, 0U);
    EXPECT_EQ(status.nUnprotected, 0U);
    EXPECT_FALSE(status.bInAlarm);
    EXPECT_EQ(SKtsReportEnding().nType, 0);
    EXPECT_EQ(SKtsReportEnding().eEnding, EKtsReportEnding::Acknowledged);
}

TEST_F(KtsOutboxTest, IsClosedAtFirst)
{
    const SKtsOutboxStatus status = KtsOutboxStatus();
    EXPECT_FALSE(status.bOpen);
    EXPECT_EQ(status.strFolder, "");
    EXPECT_EQ(status.strWhyNotOpen, "");
    EXPECT_FALSE(outbox::OpenConfigured()) << "it names no folder";
}

TEST_F(KtsOutboxTest, SaysAndLogsWhyItCantBeOpened)
{
    EXPECT_FALSE(KtsOpenOutbox("/network"));
    EXPECT_FALSE(KtsOutboxStatus().bOpen);
    EXPECT_EQ(KtsOutboxStatus().strFolder, "/network");
    EXPECT_EQ(KtsOutboxStatus().strWhyNotOpen, "it is a network file system");
    ASSERT_EQ(RecordedLog().size(), 1U);
    EXPECT_EQ(RecordedLog()[0].strText,
              "there is no outbox, reports are not stored: it is a network file system");
}

TEST_F(KtsOutboxTest, IsOpenedByAHost)
{
    g_disk.bFull = true;
    EXPECT_TRUE(KtsOpenOutbox("/var/outbox"));
    EXPECT_FALSE(outbox::Send({3102, "http://lab/", "", "", "", "", 0}, nullptr));
    const SKtsOutboxStatus status = KtsOutboxStatus();
    EXPECT_TRUE(status.bOpen);
    EXPECT_EQ(status.strFolder, "/var/outbox");
    EXPECT_EQ(status.nUnprotected, 1U);
    EXPECT_EQ(status.strLastError, "the disk is full");
    EXPECT_FALSE(status.bInAlarm);
    KtsCloseOutbox();
    EXPECT_FALSE(KtsOutboxStatus().bOpen);
}

TEST_F(KtsOutboxTest, IsOpenedByTheEnvironment)
{
    ::setenv("KTSHTTPAGENT_OUTBOX", "/var/outbox", 1);
    ::setenv("KTSHTTPAGENT_OUTBOX_SYNC", "often", 1);
    EXPECT_TRUE(outbox::OpenConfigured());
    EXPECT_EQ(KtsOutboxStatus().strFolder, "/var/outbox");
    ASSERT_EQ(RecordedLog().size(), 1U);
    EXPECT_EQ(RecordedLog()[0].strText,
              "KTSHTTPAGENT_OUTBOX_SYNC is \"often\", not one of 50, each, none; 50 stays in force");
}

TEST_F(KtsOutboxTest, IsOpenedInTheDefaultFolderUnlessTheEnvironmentHasAWordOnIt)
{
    outbox::SetDefaultFolder("/var/default");
    ::setenv("KTSHTTPAGENT_OUTBOX", "", 1);
    EXPECT_FALSE(outbox::OpenConfigured()) << "an empty word switches it off";
    ::setenv("KTSHTTPAGENT_OUTBOX", "/var/outbox", 1);
    EXPECT_TRUE(outbox::OpenConfigured());
    EXPECT_EQ(KtsOutboxStatus().strFolder, "/var/outbox");
    KtsCloseOutbox();
    ::unsetenv("KTSHTTPAGENT_OUTBOX");
    EXPECT_TRUE(outbox::OpenConfigured());
    EXPECT_EQ(KtsOutboxStatus().strFolder, "/var/default");
    KtsCloseOutbox();
    EXPECT_TRUE(outbox::OpenConfigured()) << "as often as the SDK starts";
    KtsCloseOutbox();
    outbox::SetDefaultFolder("");
    EXPECT_FALSE(outbox::OpenConfigured());
}

TEST_F(KtsOutboxTest, StaysClosedIfTheEnvironmentNamesAFolderThatCantBeUsed)
{
    ::setenv("KTSHTTPAGENT_OUTBOX", "/network", 1);
    EXPECT_FALSE(outbox::OpenConfigured());
    EXPECT_EQ(KtsOutboxStatus().strWhyNotOpen, "it is a network file system");
}

TEST_F(KtsOutboxTest, CallsTheReceiverForAStoredReport)
{
    std::string strCalled;
    std::mutex mutex;
    outbox::SetReceiver([&](const std::string& strBody, int nType, void* pUserData, int nError) {
        const std::lock_guard<std::mutex> lock(mutex);
        strCalled = strBody + ' ' + std::to_string(nType) + ' ' + std::to_string(nError);
        EXPECT_EQ(pUserData, &strCalled);
    });
    ASSERT_TRUE(KtsOpenOutbox("/var/outbox"));
    EXPECT_TRUE(outbox::Send({3102, "http://lab/", "", "", "", "", 0}, &strCalled));
    outbox::Close(outbox::Milliseconds(0)); // the recording transport answers nothing
    const std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(strCalled, R"({"success":true} 3102 0)");
}

TEST_F(KtsOutboxTest, NeedsNoReceiver)
{
    for (int nRound = 1; nRound <= 2; ++nRound) {
        ASSERT_TRUE(KtsOpenOutbox("/var/outbox"));
        EXPECT_TRUE(outbox::Send({3102, "http://lab/", "", "", "", "", 0}, &nRound));
        outbox::Close(outbox::Milliseconds(0)); // nobody can be told that it is stored
        EXPECT_EQ(KtsOutboxStatus().strLastError, "");
        EXPECT_EQ(g_disk.mapWaiting.size(), static_cast<std::size_t>(nRound));
        outbox::SetReceiver({}); // none, in the other way
    }
}

TEST_F(KtsOutboxTest, SetsTheStreamOfTheThread)
{
    KtsSetReportStream("line 7");
    EXPECT_EQ(outbox::ThreadStream(), "line 7");
}

} // namespace
