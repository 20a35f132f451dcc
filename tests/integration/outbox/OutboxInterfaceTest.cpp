// Reports through the outbox, from the call of the sender to the server's table.

#include "HostProcess.h"
#include "LogFolder.h"
#include "ScriptedServer.h"
#include "WaitUntil.h"
#include "labserver/LabServer.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/KtsMetrics.h>
#include <ktshttpagent/KtsOutbox.h>
#include <ktshttpagent/RequestType.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

class OutboxInterface : public testing::Test
{
protected:
    OutboxInterface()
    {
        setenv("KTSHTTPAGENT_OUTBOX", (m_logFolder.Path() / "outbox").u8string().c_str(), 1);
        for (const char* szProxy : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"}) {
            unsetenv(szProxy);
        }
    }

    VelCSDK::IVelClientSDk& Client(int nPort)
    {
        VelCSDK::IVelClientSDk& client = *VelCSDK::SDKFactory::GetInstance();
        client.Init();
        client.SetServerAddr("127.0.0.1", nPort);
        client.SetResponseCallBack([this](int, const void*, const void*, int nResult) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_vecResults.push_back(nResult);
            m_change.notify_all();
        });
        return client;
    }

    static void Report(VelCSDK::IVelClientSDk& client, const std::string& strMark, int nChannel = 0)
    {
        KTSStartPlugin::tagRepoChlStatusInfo info;
        info.box = "1";
        info.chl = std::to_string(nChannel);
        info.dxtm = strMark;
        client.ReportChlStatus("1.1.0", info);
    }

    std::vector<int> Results(std::size_t nCount)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_change.wait_for(lock, 60s, [&] { return m_vecResults.size() >= nCount; });
        return m_vecResults;
    }

    static bool WaitUntilNoneWaits()
    {
        return WaitUntil([] { return KtsOutboxStatus().nWaiting == 0; }, 60s);
    }

    /// How often each report arrived, by the text that a marked one contains.
    static std::map<std::string, int> Arrived(const LabServer& server)
    {
        std::map<std::string, int> mapTimes;
        for (const LabExchange& exchange : server.Exchanges()) {
            const std::size_t nMark = exchange.strBody.find("report-");
            if (nMark != std::string::npos) {
                ++mapTimes[exchange.strBody.substr(nMark, exchange.strBody.find('"', nMark) - nMark)];
            }
        }
        return mapTimes;
    }

    static std::map<std::string, int> Once(int nReports)
    {
        std::map<std::string, int> mapTimes;
        for (int nReport = 0; nReport < nReports; ++nReport) {
            mapTimes["report-" + std::to_string(nReport)] = 1;
        }
        return mapTimes;
    }

    const LogFolder m_logFolder; // the outbox is in it too
    std::mutex m_mutex;
    std::condition_variable m_change;
    std::vector<int> m_vecResults;
};

/// A port that nobody listens on at the moment.
int FreePort()
{
    LabServer server;
    const int nPort = server.Start();
    server.Stop();
    return nPort;
}

LabServerOptions At(int nPort)
{
    LabServerOptions options;
    options.nPort = nPort;
    return options;
}

TEST_F(OutboxInterface, AFolderThatCantBeUsedIsNamedWithTheReasonOnce)
{
    const std::string strFile = (m_logFolder.Path() / "a-file").string();
    std::ofstream(strFile) << "no folder";
    EXPECT_FALSE(KtsOpenOutbox(strFile));
    const std::string strWhy = KtsOutboxStatus().strWhyNotOpen;
    EXPECT_THAT(strWhy, testing::StartsWith("the folder " + strFile + " can't be used: "));
    EXPECT_EQ(strWhy.find("can't be used"), strWhy.rfind("can't be used")) << strWhy;
}

TEST_F(OutboxInterface, AReportCarriesItsKeyAndQueriesCarryNone)
{
    const ScriptedServer server(
        [](const WireRequest&) { return ServerStep{HttpReply(200, R"({"success":true})")}; });
    VelCSDK::IVelClientSDk& client = Client(server.Port());
    ASSERT_TRUE(KtsOutboxStatus().bOpen) << KtsOutboxStatus().strWhyNotOpen;
    Report(client, "report-0");
    client.GetBattStatus("1");
    EXPECT_THAT(Results(2), SizeIs(2));
    EXPECT_TRUE(WaitUntilNoneWaits());
    std::size_t nKeys = 0;
    for (const WireRequest& request : server.Requests()) {
        const auto vecKeys = request.Header("Idempotency-Key");
        nKeys += vecKeys.size();
        EXPECT_EQ(vecKeys.size(), request.Line().rfind("POST", 0) == 0 ? 1U : 0U) << request.strHead;
    }
    EXPECT_EQ(nKeys, 1U);
    EXPECT_EQ(m_vecResults, (std::vector<int>{0, 0}));
}

TEST_F(OutboxInterface, ReportsForAServerThatIsAwayAreStoredAndArriveOnce)
{
    constexpr int REPORTS = 40;
    const int nPort = FreePort();
    VelCSDK::IVelClientSDk& client = Client(nPort);
    for (int nReport = 0; nReport < REPORTS; ++nReport) {
        Report(client, "report-" + std::to_string(nReport), nReport % 4);
    }
    EXPECT_THAT(Results(REPORTS), testing::AllOf(SizeIs(REPORTS), Each(0)));
    EXPECT_EQ(KtsOutboxStatus().nWaiting, std::uint64_t{REPORTS});
    const SKtsMetrics figures = KtsMetrics();
    ASSERT_THAT(figures.vecRequests, SizeIs(1));
    EXPECT_EQ(figures.vecRequests.front().nStored, std::uint64_t{REPORTS});
    EXPECT_EQ(figures.vecRequests.front().nSucceeded, 0U) << "the server has not seen them";
    EXPECT_EQ(figures.nOutstanding, 0U);

    LabServer server(At(nPort));
    server.Start();
    EXPECT_TRUE(WaitUntilNoneWaits());
    EXPECT_EQ(Arrived(server), Once(REPORTS));
    EXPECT_THAT(Results(REPORTS), SizeIs(REPORTS)) << "each sender is answered once";
}

TEST_F(OutboxInterface, ReportsOfAHostThatEndedWithoutFarewellArriveOnce)
{
    constexpr int REPORTS = 100;
    const int nPort = FreePort();
    const Departure host = Watch(KTS_REPORTING_HOST, {std::to_string(nPort), std::to_string(REPORTS)});
    ASSERT_EQ(host.nStatus, 0);
    ASSERT_EQ(std::count(host.vecLines.begin(), host.vecLines.end(), "taken"), REPORTS);

    LabServer server(At(nPort));
    server.Start();
    Client(nPort);
    EXPECT_TRUE(WaitUntil([&] { return Arrived(server).size() == std::size_t{REPORTS}; }, 60s));
    EXPECT_TRUE(WaitUntilNoneWaits());
    EXPECT_EQ(Arrived(server), Once(REPORTS));
    EXPECT_THAT(m_vecResults, IsEmpty()) << "their senders are gone";
}

TEST_F(OutboxInterface, AReportWhoseReplyIsLostIsSentAgainWithTheSameKey)
{
    ServerStep lost;
    lost.ending = ServerStep::Ending::Close;
    const ScriptedServer server({lost, ServerStep{HttpReply(200, R"({"success":true})")}});
    VelCSDK::IVelClientSDk& client = Client(server.Port());
    Report(client, "report-0");
    EXPECT_THAT(Results(1), ElementsAre(0));
    EXPECT_TRUE(WaitUntilNoneWaits());
    const std::vector<WireRequest> vecRequests = server.Requests();
    ASSERT_THAT(vecRequests, SizeIs(2));
    EXPECT_THAT(vecRequests[0].Header("Idempotency-Key"), SizeIs(1));
    EXPECT_EQ(vecRequests[0].Header("Idempotency-Key"), vecRequests[1].Header("Idempotency-Key"));
    EXPECT_EQ(vecRequests[0].strBody, vecRequests[1].strBody);
    EXPECT_EQ(KtsOutboxStatus().nDead, 0U);
}

TEST_F(OutboxInterface, ReportsThatTheServerIsGivenUpForAtTheEndAreStored)
{
    setenv("CHTTPCLIENT_DRAIN_MS", "0", 1);
    const ScriptedServer silent(Silent());
    VelCSDK::IVelClientSDk& client = Client(silent.Port());
    Report(client, "report-0");
    ASSERT_TRUE(silent.WaitForRequests(1));
    VelCSDK::SDKFactory::DestoryInstance(&client);
    EXPECT_THAT(m_vecResults, ElementsAre(0)) << "it is stored, and its sender was told before the end";
}

TEST_F(OutboxInterface, ReportsOfTheThreadsStreamWaitForEachOther)
{
    setenv("CHTTPCLIENT_DRAIN_MS", "0", 1);
    const ScriptedServer silent(Silent());
    VelCSDK::IVelClientSDk& client = Client(silent.Port());
    KtsSetReportStream("line 7");
    Report(client, "report-0", 1);
    ASSERT_TRUE(silent.WaitForRequests(1));
    Report(client, "report-1", 2);
    KtsSetReportStream("");
    Report(client, "report-2", 3);
    ASSERT_TRUE(silent.WaitForRequests(2)) << "another channel waits for nobody";
    EXPECT_THAT(silent.Requests().at(0).strBody, testing::HasSubstr("report-0"));
    EXPECT_THAT(silent.Requests().at(1).strBody, testing::HasSubstr("report-2"));
    EXPECT_EQ(KtsOutboxStatus().nWaiting, 3U);
    VelCSDK::SDKFactory::DestoryInstance(&client);
    EXPECT_THAT(m_vecResults, testing::AllOf(SizeIs(3), Each(0))) << "each is stored";
}

TEST_F(OutboxInterface, AQueryThatFailsIsNotStored)
{
    VelCSDK::IVelClientSDk& client = Client(FreePort());
    client.GetBattStatus("1");
    EXPECT_THAT(Results(1), ElementsAre(testing::Ne(0)));
    EXPECT_EQ(KtsOutboxStatus().nWaiting, 0U);
    const SKtsMetrics figures = KtsMetrics();
    ASSERT_THAT(figures.vecRequests, SizeIs(1));
    EXPECT_EQ(figures.vecRequests.front().nStored, 0U);
}

TEST_F(OutboxInterface, SaysWhyAFolderCantBeUsed)
{
    const std::filesystem::path file = m_logFolder.Path() / "file";
    std::ofstream(file) << "text";
    EXPECT_FALSE(KtsOpenOutbox((file / "outbox").u8string()));
    EXPECT_FALSE(KtsOutboxStatus().bOpen);
    EXPECT_THAT(KtsOutboxStatus().strWhyNotOpen, testing::HasSubstr("can't be used: "));
}

TEST_F(OutboxInterface, IsNotThereUnlessItIsAskedFor)
{
    unsetenv("KTSHTTPAGENT_OUTBOX");
    const ScriptedServer server(
        [](const WireRequest&) { return ServerStep{HttpReply(200, R"({"success":true})")}; });
    VelCSDK::IVelClientSDk& client = Client(server.Port());
    Report(client, "report-0");
    EXPECT_THAT(Results(1), ElementsAre(0));
    EXPECT_FALSE(KtsOutboxStatus().bOpen);
    ASSERT_THAT(server.Requests(), SizeIs(1));
    EXPECT_THAT(server.Requests().front().Header("Idempotency-Key"), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(m_logFolder.Path() / "outbox"));
}

} // namespace
