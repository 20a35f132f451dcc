#include "LabFixture.h"
#include "RawClient.h"
#include "WaitUntil.h"

#include "labserver/HeldPort.h"
#include "labserver/LabRestarts.h"

#include <atomic>
#include <gmock/gmock.h>
#include <stdexcept>
#include <thread>

namespace
{

using std::chrono::milliseconds;

using LabRestartTest = LabTest;

bool CanConnect(int nPort)
{
    return LabClient(nPort).Get("/posts/1").nStatus == 200;
}

/// Whether the server answers and the scenario "own" is over.
bool IsBack(int nPort)
{
    const LabReply reply = LabClient(nPort).Get("/lab/scenarios");
    for (const Json::Value& scenario : reply.json["scenarios"]) {
        if (scenario["name"] == "own" && scenario["on"].asBool()) {
            return false;
        }
    }
    return reply.nStatus == 200;
}

TEST_F(LabRestartTest, TakesTheServerAwayAndBringsItBackWithWhatItHad)
{
    const int nPort = m_server.Port();
    Post(CYCLES, "[1]");
    RawClient connected(nPort);
    EXPECT_EQ(Post("/lab/scenarios", R"({"name": "own", "steps": [{"restartMs": 300}]})").nStatus, 200);
    connected.ReadAll();
    EXPECT_TRUE(connected.IsClosed() || connected.IsReset());
    // Until it is away, the server may still answer others.
    EXPECT_TRUE(WaitUntil(
        [&] { return IsBack(nPort) && LabClient(nPort).Get("/lab/reports/cycle-data").json["count"] == 1; }));
    EXPECT_EQ(m_server.Port(), nPort);
}

TEST_F(LabRestartTest, IsListedUntilTheServerIsBack)
{
    Post("/lab/scenarios", R"({"name": "own", "steps": [{"afterMs": 3600000, "restartMs": 60000}]})");
    for (const Json::Value& scenario : Get("/lab/scenarios").json["scenarios"]) {
        if (scenario["name"] == "own") {
            EXPECT_GT(scenario["endsInMs"].asInt(), 3'600'000);
            EXPECT_LE(scenario["endsInMs"].asInt(), 3'660'000);
        }
    }
}

TEST(LabRestartAtTheStart, TakesTheServerAwayOnceItListens)
{
    LabServer server;
    server.StartScenario(R"({"name": "own", "steps": [{"restartMs": 3600000}]})");
    std::this_thread::sleep_for(milliseconds(50)); // in which a server would be stopped that there is not yet
    const int nPort = server.Start();
    EXPECT_TRUE(WaitUntil([&] { return !CanConnect(nPort); }));
}

TEST_F(LabRestartTest, OfAServerThatIsStoppedDoesNotHinderItsStart)
{
    m_server.Stop();
    m_server.StartScenario(R"({"name": "own", "steps": [{"restartMs": 0}]})");
    const int nPort = m_server.Start();
    EXPECT_TRUE(WaitUntil([&] { return CanConnect(nPort); }));
}

TEST_F(LabRestartTest, DoesNotBringAServerBackThatWasStoppedMeanwhile)
{
    const int nPort = m_server.Port();
    RawClient connected(nPort);
    m_server.StartScenario(R"({"name": "own", "steps": [{"restartMs": 500}]})");
    connected.ReadAll();
    m_server.Stop();
    std::this_thread::sleep_for(milliseconds(600)); // it must stay away longer than it was told to
    EXPECT_FALSE(CanConnect(nPort));
    EXPECT_TRUE(CanConnect(m_server.Start()));
}

TEST_F(LabRestartTest, IsNoReasonToStartAServerTwice)
{
    const int nPort = m_server.Port();
    m_server.StartScenario(R"({"name": "own", "steps": [{"restartMs": 3600000}]})");
    EXPECT_TRUE(WaitUntil([&] { return !CanConnect(nPort); }));
    EXPECT_THROW(m_server.Start(), std::runtime_error);
}

TEST(LabRestarts, TryAgainUntilTheServerStarts)
{
    std::atomic<int> nStops{0};
    std::atomic<int> nStarts{0};
    testing::internal::CaptureStderr();
    {
        LabRestarts restarts([&] { ++nStops; },
                             [&] {
                                 if (++nStarts < 3) {
                                     throw std::runtime_error("the port is taken");
                                 }
                             });
        restarts.Begin();
        restarts.Add({LabRestarts::Clock::now(), milliseconds(1), "own"});
        EXPECT_TRUE(WaitUntil([&] { return nStarts == 3; }));
    }
    EXPECT_EQ(nStops, 1);
    EXPECT_EQ(nStarts, 3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ktslabserver: the port is taken; trying again until it can\n");
}

TEST(LabRestarts, AreTakenBackWithTheirScenarioAndEndWithTheirObject)
{
    std::atomic<int> nStops{0};
    std::atomic<int> nStarts{0};
    {
        LabRestarts restarts([&] { ++nStops; }, [&] { ++nStarts; });
        const auto now = LabRestarts::Clock::now();
        restarts.Add({now + milliseconds(3'600'000), milliseconds(1), "much later"});
        restarts.Add({now + milliseconds(50), milliseconds(1), "taken back"});
        restarts.RemoveScenario("taken back");
        restarts.Add({now + milliseconds(100), milliseconds(3'600'000), "for long"});
        EXPECT_EQ(nStops, 0) << "it has not begun";
        restarts.Begin();
        EXPECT_TRUE(WaitUntil([&] { return nStops == 1; }));
    }
    EXPECT_EQ(nStarts, 0);
}

TEST(HeldPort, OfAnAddressThatTheSystemDoesNotKnowIsNone)
{
    SocketAddress address;
    address.storage.ss_family = AF_MAX;
    EXPECT_NO_THROW(HeldPort{address});
}

TEST(HeldPort, IsNobodyElsesAndRefusesClients)
{
    LabServer server;
    const int nPort = server.Start();
    server.Stop();
    SocketAddress address;
    auto* const pAddress = reinterpret_cast<sockaddr_in*>(&address.storage);
    pAddress->sin_family = AF_INET;
    pAddress->sin_port = htons(static_cast<std::uint16_t>(nPort));
    pAddress->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.nBytes = sizeof(sockaddr_in);
    const Socket other = OpenStreamSocket();
    {
        const HeldPort held(address);
        EXPECT_NE(bind(other, reinterpret_cast<sockaddr*>(pAddress), sizeof *pAddress), 0);
        EXPECT_EQ(LabClient(nPort).Get("/posts/1").nStatus, 0);
    }
    CloseSocket(other);
    EXPECT_EQ(server.Start() > 0, true);
}

} // namespace
