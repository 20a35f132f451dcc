// Blocking calls of a process that creates one QCoreApplication after another. A separate program, which has
// none unless a test creates one.

#include "SyncOutcome.h"

#include <QCoreApplication>
#include <QTimer>

namespace
{

constexpr int ROUNDS = 3;

class SyncNewApplication : public SyncOutcome
{
protected:
    /// Makes calls throughout the life of one application.
    void Live(int nRound)
    {
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
        EXPECT_EQ(Check(m_silent, SHORT_MS), nRound > 1)
            << "should return the result of the last application's call";
        ExpectEnd(EBlockingEnd::TimedOut, CHECK, "no answer came");
        EXPECT_TRUE(Check(m_yes));
        ExpectEnd(EBlockingEnd::Answered, CHECK, "");
        QTimer::singleShot(0, [this] {
            EXPECT_TRUE(InCommon(m_common));
            ExpectEnd(EBlockingEnd::Answered, IN_COMMON, "");
            QCoreApplication::quit();
        });
        QCoreApplication::exec();
        EXPECT_TRUE(Check(m_silent, SHORT_MS)) << "should return the previous yes";
        EXPECT_TRUE(m_silent.WaitForRequests(2 * static_cast<std::size_t>(nRound)));
    }

    const ScriptedServer m_yes{ServerStep{YES}};
    const ScriptedServer m_common{ServerStep{COMMON}};
    const ScriptedServer m_silent{Silent()};
};

TEST_F(SyncNewApplication, IsServedAsTheFirstOneAndItsEndGivesUpWhatIsUnderWay)
{
    for (int nRound = 1; nRound <= ROUNDS && !HasFailure(); ++nRound) {
        Live(nRound);
        EXPECT_TRUE(m_silent.WaitForClosed(2 * static_cast<std::size_t>(nRound)))
            << "a request outlived its application, round " << nRound;
        EXPECT_FALSE(Check(m_yes)) << "there is no application";
        ExpectEnd(EBlockingEnd::Refused, CHECK, "there is no QCoreApplication");
    }
}

class SyncShortTime
{
protected:
    SyncShortTime()
    {
        qputenv("CHTTPCLIENT_TIMEOUT_MS", "1000");
    } // set before the objects that read it are created
};

class SyncNewApplicationInTime : protected SyncShortTime, public SyncNewApplication
{
};

TEST_F(SyncNewApplicationInTime, GivesUpWhatItsCallsLeftBehindWhateverTheOneBeforeDid)
{
    for (int nRound = 1; nRound <= ROUNDS && !HasFailure(); ++nRound) {
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
        EXPECT_FALSE(Check(m_silent, SHORT_MS));
        const auto nRequests = 2 * static_cast<std::size_t>(nRound) - 1;
        EXPECT_TRUE(m_silent.WaitForRequests(nRequests));
        const ScriptedServer after([&](const WireRequest&) {
            EXPECT_TRUE(m_silent.WaitForClosed(nRequests)) << "it was not given up";
            return ServerStep{COMMON};
        });
        EXPECT_TRUE(InCommon(after));
        EXPECT_FALSE(Check(m_silent, SHORT_MS)); // its deadline is being watched when the application ends
        EXPECT_TRUE(m_silent.WaitForRequests(nRequests + 1));
    }
}

} // namespace
