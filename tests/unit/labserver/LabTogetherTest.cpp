// Simultaneous use of one server, or of one file.

#include "LabFixture.h"

#include <array>
#include <atomic>
#include <mutex>
#include <set>
#include <thread>

namespace
{

TEST(LabTogether, AFaultStrikesAsOftenAsItSaysWhoeverAsks)
{
    constexpr int THREADS = 8, EACH = 100, COUNT = 500;
    LabServer server;
    LabFault fault;
    fault.strPath = "posts";
    fault.nCount = COUNT;
    fault.eKind = LabFaultKind::Reply;
    fault.nStatus = 418;
    server.AddFault(fault);
    const int nPort = server.Start();
    std::atomic<int> nStruck{0}, nServed{0};
    OnThreads(THREADS, [&](size_t) {
        LabClient client(nPort);
        for (int nRequest = 0; nRequest < EACH; ++nRequest) {
            const int nStatus = client.Get("/posts/1").nStatus;
            nStruck += nStatus == 418 ? 1 : 0;
            nServed += nStatus == 200 ? 1 : 0;
        }
    });
    EXPECT_EQ(nStruck, COUNT);
    EXPECT_EQ(nServed, THREADS * EACH - COUNT);
    EXPECT_EQ(server.Exchanges().size(), static_cast<size_t>(THREADS * EACH));
}

TEST(LabTogether, ServersThatStartOnOneNewFilePlantItsSeedOnce)
{
    for (int nRound = 0; nRound < 30; ++nRound) {
        const TemporaryFolder folder;
        const LabServerOptions options{"127.0.0.1", 0, folder.File("lab.db")};
        std::array<LabServer, 4> aServers{LabServer(options), LabServer(options), LabServer(options),
                                          LabServer(options)};
        OnThreads(4, [&](size_t nServer) { EXPECT_NO_THROW(aServers.at(nServer).Start()); });
        for (const LabServer& server : aServers) {
            LabClient client(server.Port());
            EXPECT_EQ(client.Get("/lab/channel-rules").json["count"], 3);
            EXPECT_EQ(client.Post(CYCLES, "[1]").nStatus, 200);
        }
        EXPECT_EQ(LabClient(aServers.front().Port()).Get("/lab/reports/cycle-data").json["count"], 4);
    }
}

TEST(LabTogether, ReportsToTwoServersOfOneFileAreAllStoredUnderTheirOwnIds)
{
    constexpr int THREADS = 4, EACH = 10;
    const TemporaryFolder folder;
    LabServer first({"127.0.0.1", 0, folder.File("lab.db")});
    LabServer second({"127.0.0.1", 0, folder.File("lab.db")});
    const std::array<int, 2> aPorts{first.Start(), second.Start()};
    std::mutex mutex;
    std::set<int> setIds;
    OnThreads(THREADS, [&](size_t nThread) {
        LabClient client(aPorts.at(nThread % 2));
        for (int nReport = 0; nReport < EACH; ++nReport) {
            const LabReply reply = client.Post(CYCLES, "[1,2,3]");
            EXPECT_EQ(reply.nStatus, 200) << reply.strBody;
            const std::lock_guard lock(mutex);
            setIds.insert(reply.json["id"].asInt());
        }
    });
    EXPECT_EQ(setIds.size(), static_cast<size_t>(THREADS * EACH));
    const Json::Value stored = LabClient(aPorts[0]).Get("/lab/reports/cycle-data").json;
    EXPECT_EQ(stored["count"], THREADS * EACH);
    for (const Json::Value& report : stored["reports"]) {
        EXPECT_EQ(report["report"], JsonFrom("[1,2,3]")) << report["id"];
    }
}

TEST(LabTogether, AReportIsReadWholeOrNotAtAll)
{
    constexpr int REPORTS = 30;
    std::string strReport = "[0";
    for (int nElement = 1; nElement < 100; ++nElement) {
        strReport += ',' + std::to_string(nElement);
    }
    strReport += ']';
    LabServer server;
    const int nPort = server.Start();
    OnThreads(2, [&](size_t nThread) {
        LabClient client(nPort);
        for (int nReport = 0; nThread == 0 && nReport < REPORTS; ++nReport) {
            EXPECT_EQ(client.Post(CYCLES, strReport).nStatus, 200);
        }
        for (int nAfter = 0; nThread == 1 && nAfter < REPORTS && !testing::Test::HasFailure();) {
            const LabReply reply = client.Get("/lab/reports/cycle-data?after=" + std::to_string(nAfter));
            for (const Json::Value& report : reply.json["reports"]) {
                EXPECT_EQ(report["report"], JsonFrom(strReport));
                nAfter = report["id"].asInt();
            }
        }
    });
}

} // namespace
