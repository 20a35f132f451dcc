// What a server does when it starts again, and with the second request of a connection.

#include "LabFixture.h"
#include "ProcessUse.h"
#include "RawClient.h"
#include "WaitUntil.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <thread>

namespace
{

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

LabFault FaultAt(const std::string& strPath, int nCount, int nStatus)
{
    LabFault fault;
    fault.strPath = strPath;
    fault.nCount = nCount;
    fault.eKind = LabFaultKind::Reply;
    fault.nStatus = nStatus;
    return fault;
}

/// The same options with a port that was free just now.
LabServerOptions OnOnePort(LabServerOptions options)
{
    LabServer server;
    options.nPort = server.Start();
    return options;
}

/// Clients that report without a pause until the server ends, and one whose answer a fault delays for as
/// long.
class WorkInFlight
{
public:
    explicit WorkInFlight(LabServer& server)
    {
        LabFault fault;
        fault.strPath = "posts";
        fault.nDelayMs = 600'000;
        server.AddFault(fault);
        const int nPort = server.Port();
        for (int nClient = 0; nClient < 4; ++nClient) {
            m_vecThreads.emplace_back([this, nPort] {
                LabClient client(nPort);
                while (client.Post(CYCLES, "[1]").nStatus == 200) {
                    ++m_nAcknowledged;
                }
            });
        }
        m_vecThreads.emplace_back([this, nPort] { m_nPutOff = LabClient(nPort).Get("/posts/1").nStatus; });
        LabClient watcher(nPort);
        while (m_nAcknowledged < 20 || watcher.Get("/lab/faults").json["count"] != 0) {
            std::this_thread::yield();
        }
    }

    /// Call it after the server has ended. @return how many reports were acknowledged
    int End()
    {
        for (std::thread& thread : m_vecThreads) {
            thread.join();
        }
        EXPECT_EQ(m_nPutOff, 200);
        return m_nAcknowledged;
    }

private:
    std::atomic<int> m_nAcknowledged{0};
    std::atomic<int> m_nPutOff{-1};
    std::vector<std::thread> m_vecThreads;
};

/// Runs a server once, and ends it with work in flight.
/// @param nStored how many reports it holds at least
void ServeOnce(LabServer& server, int nPort, int& nStored, const std::function<void()>& fnEnd)
{
    ASSERT_EQ(server.Start(), nPort);
    {
        LabClient client(nPort);
        const int nFound = client.Get("/lab/reports/cycle-data?limit=0").json["count"].asInt();
        EXPECT_GE(nFound, nStored);
        nStored = nFound; // the last reports before a stop may have lost their acknowledgement
        ASSERT_EQ(client.Get("/lab/faults").json["count"], 0);
        EXPECT_EQ(client.Get("/posts/1").nStatus, 200);
    }
    WorkInFlight work(server);
    fnEnd();
    nStored += work.End();
}

/// Waits until the process has that many threads, since a detached one may end late. Returns whether it does.
bool ComeToThreads(std::size_t nThreads)
{
    return WaitUntil([&] { return Threads() == nThreads; }, std::chrono::seconds(60));
}

TEST(LabAgain, AServerServesRoundAfterRoundOnItsPortWithItsFile)
{
    const TemporaryFolder folder;
    const LabServerOptions options = OnOnePort({"127.0.0.1", 0, folder.File("lab.db")});
    LabServer server(options);
    const std::size_t nThreads = Threads();
    std::size_t nDescriptors = 0;
    int nStored = 0;
    for (int nRound = 1; nRound <= 4; ++nRound) {
        ServeOnce(server, options.nPort, nStored, [&] { server.Stop(); });
        if (nRound == 1) {
            nDescriptors = OpenDescriptors(); // the file stays open
        }
        EXPECT_EQ(OpenDescriptors(), nDescriptors) << nRound;
        EXPECT_TRUE(ComeToThreads(nThreads)) << nRound;
    }
}

TEST(LabAgain, ServersFollowEachOtherOnOnePortWithOneFile)
{
    const TemporaryFolder folder;
    const LabServerOptions options = OnOnePort({"127.0.0.1", 0, folder.File("lab.db")});
    const std::size_t nDescriptors = OpenDescriptors();
    int nStored = 0;
    for (int nRound = 1; nRound <= 4; ++nRound) {
        auto pServer = std::make_unique<LabServer>(options);
        ServeOnce(*pServer, options.nPort, nStored, [&] { pServer.reset(); });
        EXPECT_EQ(OpenDescriptors(), nDescriptors) << nRound;
    }
}

TEST(LabAgain, PendingFaultsOutliveAStopAndThoseUsedUpStayGone)
{
    LabServer server;
    server.AddFault(FaultAt("posts/1", 3, 501));
    server.AddFault(FaultAt("posts/2", 1, 502));
    {
        LabClient client(server.Start());
        EXPECT_EQ(client.Get("/posts/1").nStatus, 501);
        EXPECT_EQ(client.Get("/posts/2").nStatus, 502);
        server.Stop();
    }
    LabClient client(server.Start());
    const Json::Value pending = client.Get("/lab/faults").json;
    EXPECT_EQ(pending["count"], 1);
    EXPECT_EQ(pending["faults"][0]["count"], 2);
    EXPECT_EQ(client.Get("/posts/2").nStatus, 200);
    for (const int nStatus : {501, 501, 200}) {
        EXPECT_EQ(client.Get("/posts/1").nStatus, nStatus);
    }
}

TEST(LabAgain, ExchangesOfTheLifeBeforeAreStillTold)
{
    LabServer server;
    for (const char* szTarget : {"/posts/1", "/posts/2", "/posts/3"}) {
        LabClient(server.Start()).Get(szTarget);
        server.Stop();
    }
    std::vector<std::string> vecTargets;
    for (const LabExchange& exchange : server.Exchanges()) {
        vecTargets.push_back(exchange.strTarget);
    }
    EXPECT_THAT(vecTargets, testing::ElementsAre("/posts/1", "/posts/2", "/posts/3"));
}

TEST(LabAgain, AStartThatFailsCanBeRepeated)
{
    LabServer server(OnOnePort({}));
    const int nPort = server.Start();
    EXPECT_EQ(LabClient(nPort).Post(CYCLES, "[1]").nStatus, 200);
    server.Stop();
    LabServer other({"127.0.0.1", nPort, ""});
    other.Start();
    for (int nTry = 0; nTry < 2; ++nTry) {
        EXPECT_THAT([&] { server.Start(); },
                    testing::ThrowsMessage<std::runtime_error>(HasSubstr("Address already in use")));
        EXPECT_EQ(LabClient(nPort).Get("/posts/1").nStatus, 200) << "the other server should answer";
    }
    other.Stop();
    EXPECT_EQ(server.Start(), nPort);
    EXPECT_EQ(LabClient(nPort).Get("/lab/reports/cycle-data").json["count"], 1);
}

TEST(LabAgain, AStartWithoutItsFolderCanBeRepeatedOnceItIsThere)
{
    const TemporaryFolder folder;
    LabServer server({"127.0.0.1", 0, folder.File("later/lab.db")});
    EXPECT_THROW(server.Start(), std::runtime_error);
    EXPECT_THROW(server.Start(), std::runtime_error);
    std::filesystem::create_directory(folder.File("later"));
    EXPECT_EQ(LabClient(server.Start()).Get("/posts/1").nStatus, 200);
}

TEST(LabAgain, OnAnotherPortItIsFoundAndGoesByThatPort)
{
    LabServer server;
    const int nFirst = server.Start();
    server.Stop();
    LabServer other({"127.0.0.1", nFirst, ""});
    other.Start();
    const int nSecond = server.Start();
    EXPECT_NE(nSecond, nFirst);
    EXPECT_EQ(server.Port(), nSecond);
    EXPECT_EQ(LabClient(nSecond).Get("/lab/faults").nStatus, 200);
    RawClient socket(nSecond);
    socket.Send("GET /lab/faults HTTP/1.1\r\nConnection: close\r\nHost: 127.0.0.1:" + std::to_string(nFirst) +
                "\r\n\r\n");
    EXPECT_THAT(socket.ReadAll(), StartsWith("HTTP/1.1 403 "));
}

TEST(LabAgain, EachRequestOfAConnectionHasItsOwnTime)
{
    LabServerOptions options;
    options.patience = milliseconds(2000);
    LabServer server(options);
    RawClient socket(server.Start());
    for (int nRequest = 1; nRequest <= 3; ++nRequest) {
        socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\n");
        ASSERT_THAT(socket.ReadUntil("\"Test engineer\"}"), StartsWith("HTTP/1.1 200 ")) << nRequest;
        std::this_thread::sleep_for(options.patience + milliseconds(100));
    }
}

TEST(LabAgain, AReplyHasTheWholeTimeHoweverLateItIs)
{
    LabServerOptions options;
    options.patience = milliseconds(4000);
    LabServer server(options);
    LabFault fault = FaultAt("posts", 1, 200);
    fault.nDelayMs = 4100;
    fault.strBody.assign(20'000'000, 'x'); // more than the system buffers for a connection
    server.AddFault(fault);
    LabClient client(server.Start());
    EXPECT_EQ(client.Get("/posts/1").strBody.size(), fault.strBody.size());
}

TEST(LabAgain, ARequestThatCanNotBeReadIsNotTakenForTheOneBefore)
{
    LabServer server;
    RawClient socket(server.Start());
    socket.Send("GET /lab/faults HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.Port()) + "\r\n\r\n");
    EXPECT_THAT(socket.ReadUntil("}"), HasSubstr("nosniff"));
    socket.Send("no request\r\n\r\n");
    EXPECT_THAT(socket.ReadAll(), testing::AllOf(StartsWith("HTTP/1.1 400 "), Not(HasSubstr("nosniff"))));
}

} // namespace
