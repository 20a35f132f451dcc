// Blocking calls in a process that has no QCoreApplication, then has one, then has none again, repeatedly. A
// separate program, which has none unless a test creates one.

#include "SyncOutcome.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <ostream>

namespace
{

struct SenderCase {
    const char* szName;
    int nType;
    bool (*pfnSend)(CUIAgentReq& request, int nPort);

    friend void PrintTo(const SenderCase& sender, std::ostream* pOut) { *pOut << sender.szName; }
};

QString BaseOf(int nPort)
{
    return QStringLiteral("http://127.0.0.1:%1/").arg(nPort);
}

const SenderCase SENDERS[] = {
    {"ChannelCheck", 3109,
     [](CUIAgentReq& request, int nPort) {
         bool bAllow = true;
         QString strReason;
         return request.SendGetChannelCheckDataEx("127.0.0.1", nPort, ENOUGH_MS, {}, bAllow, strReason) ||
                bAllow;
     }},
    {"InCommon", 3110,
     [](CUIAgentReq& request, int nPort) {
         bool bCommon = true;
         return request.SendGetWhetherInCommonEx("127.0.0.1", nPort, ENOUGH_MS, "X", bCommon) || bCommon;
     }},
    {"Upload", 3112,
     [](CUIAgentReq& request, int nPort) {
         tagBatteryTestData data;
         return request.SendPostUploadDataEx("127.0.0.1", nPort, ENOUGH_MS, data);
     }},
    {"Cycle", 3113,
     [](CUIAgentReq& request, int nPort) {
         return request.SendPostReportCycleDataEx(BaseOf(nPort), ENOUGH_MS, "");
     }},
    {"Step", 3114,
     [](CUIAgentReq& request, int nPort) {
         return request.SendPostReportStepDataEx(BaseOf(nPort), ENOUGH_MS, "");
     }},
    {"Orn", 3115,
     [](CUIAgentReq& request, int nPort) {
         return request.SendPostReportStepData_ORN(BaseOf(nPort), ENOUGH_MS, "");
     }},
};

class SyncWhileApplicationsComeAndGo : public SyncOutcome
{
protected:
    void ExpectRefused(const SenderCase& sender)
    {
        QElapsedTimer clock;
        clock.start();
        EXPECT_FALSE(sender.pfnSend(m_request, m_server.Port()));
        EXPECT_LT(clock.elapsed(), ENOUGH_MS / 2) << "the refused call took too long";
        ExpectEnd(EBlockingEnd::Refused, sender.nType, "there is no QCoreApplication");
        EXPECT_TRUE(m_server.Requests().empty());
    }

    const ScriptedServer m_server{ServerStep{COMMON}};
    const ScriptedServer m_silent{Silent()};
};

class SyncWithoutApplication : public SyncWhileApplicationsComeAndGo,
                               public ::testing::WithParamInterface<SenderCase>
{
};

TEST_P(SyncWithoutApplication, IsRefusedSoonBeforeAndAfterThereIsOne)
{
    ExpectRefused(GetParam());
    {
        int argc = 0;
        const QCoreApplication application(argc, nullptr);
    }
    ExpectRefused(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Each, SyncWithoutApplication, ::testing::ValuesIn(SENDERS),
                         ::testing::PrintToStringParamName());

TEST_F(SyncWhileApplicationsComeAndGo, EachApplicationHasItsCallsAndEndsTheRequestsLeftBehind)
{
    for (std::size_t nRound = 1; nRound <= 3; ++nRound) {
        {
            int argc = 0;
            const QCoreApplication application(argc, nullptr);
            EXPECT_TRUE(InCommon(m_server));
            ExpectEnd(EBlockingEnd::Answered, IN_COMMON, "");
            EXPECT_EQ(m_server.Requests().size(), nRound);
            Check(m_silent, SHORT_MS);
            ExpectEnd(EBlockingEnd::TimedOut, CHECK, "no answer came");
            EXPECT_TRUE(m_silent.WaitForRequests(nRound));
        }
        EXPECT_TRUE(m_silent.WaitForClosed(nRound));
        EXPECT_FALSE(Check(m_server));
        ExpectEnd(EBlockingEnd::Refused, CHECK, "there is no QCoreApplication");
    }
}

} // namespace
