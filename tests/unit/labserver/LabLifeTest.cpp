#include "LabFixture.h"
#include "RawClient.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <thread>

namespace
{

using std::chrono::steady_clock;

/// No kept connection, delay or silent client may delay a stop for longer, even on a busy machine.
constexpr std::chrono::seconds PROMPTLY{5};

void ExpectStopsPromptly(LabServer& server)
{
    const auto start = steady_clock::now();
    server.Stop();
    EXPECT_LT(steady_clock::now() - start, PROMPTLY);
}

TEST(LabLife, AFreePortIsFoundAndTold)
{
    LabServer server;
    EXPECT_EQ(server.Port(), 0);
    const int nPort = server.Start();
    EXPECT_GT(nPort, 0);
    EXPECT_EQ(server.Port(), nPort);
}

TEST(LabLife, APortInUseIsSaid)
{
    LabServer first;
    const int nPort = first.Start();
    LabServer second({"127.0.0.1", nPort, ""});
    try {
        second.Start();
        ADD_FAILURE();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what(),
                  "can't listen on 127.0.0.1:" + std::to_string(nPort) + ": Address already in use");
    }
}

TEST(LabLife, AnAddressThatIsNotOursIsSaid)
{
    LabServer server({"192.0.2.1", 0, ""});
    EXPECT_THROW(server.Start(), std::runtime_error);
}

TEST(LabLife, StartingTwiceIsRefusedAndChangesNothing)
{
    LabServer server;
    LabClient client(server.Start());
    EXPECT_THROW(server.Start(), std::runtime_error);
    EXPECT_EQ(client.Get("/posts/1").nStatus, 200);
}

TEST(LabLife, StoppingTwiceOrWithoutAStartIsHarmless)
{
    LabServer server;
    server.Stop();
    server.Start();
    server.Stop();
    server.Stop();
}

TEST(LabLife, AServerStartsAgainOnItsPortWithWhatItKept)
{
    LabServer origin;
    const int nPort = origin.Start();
    origin.Stop();
    LabServer server({"127.0.0.1", nPort, ""});
    {
        LabClient client(server.Start());
        client.Post("/open/test-cabinet/add/kostrel/cycle", "[1]");
        server.Stop();
        EXPECT_EQ(client.Get("/posts/1").nStatus, 0);
    }
    LabClient client(server.Start());
    EXPECT_EQ(client.Get("/lab/reports/cycle-data").json["count"], 1);
}

TEST(LabLife, AnIdleKeptConnectionDoesNotHoldUpTheStop)
{
    LabServer server;
    LabClient client(server.Start());
    EXPECT_EQ(client.Get("/posts/1").nStatus, 200);
    const RawClient silent(server.Port());
    ExpectStopsPromptly(server);
}

TEST(LabLife, ARequestThatNeverEndsDoesNotHoldUpTheStop)
{
    LabServer server;
    server.Start();
    RawClient socket(server.Port());
    socket.Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nContent-Length: 10\r\n"
                "Expect: 100-continue\r\n\r\n");
    socket.ReadUntil("\r\n\r\n"); // from here on the server waits for the body
    socket.Send("[1");
    ExpectStopsPromptly(server);
}

LabServerOptions ImpatientServer()
{
    LabServerOptions options;
    options.patience = std::chrono::milliseconds(500);
    return options;
}

/// A client that always has something to send, but never much.
class SlowClient
{
public:
    /// Sends the beginning, and then a byte now and then.
    /// @return whether the server closed the connection within half a minute
    bool IsCutOff(const std::string& strBegin)
    {
        const auto end = steady_clock::now() + std::chrono::seconds(30);
        try {
            m_socket.Send(strBegin);
            while (steady_clock::now() < end) {
                m_socket.Send("x");
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        } catch (const std::runtime_error&) {
            return true;
        }
        return false;
    }

private:
    LabServer m_server{ImpatientServer()};
    RawClient m_socket{m_server.Start()};
};

TEST(LabLife, AClientThatSendsAByteNowAndThenIsCutOff)
{
    const std::string strHead = "POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\n";
    EXPECT_TRUE(SlowClient().IsCutOff(strHead + "X-More: ")) << "in the header";
    EXPECT_TRUE(SlowClient().IsCutOff(strHead + "Content-Length: 100000\r\n\r\n")) << "in the body";
}

TEST(LabLife, AClientThatDoesNotTakeItsReplyIsCutOff)
{
    constexpr size_t LARGE = 40'000'000; // more than the system buffers for a connection
    LabServer server(ImpatientServer());
    LabFault fault;
    fault.strPath = "posts";
    fault.eKind = LabFaultKind::Reply;
    fault.strBody = std::string(LARGE, 'x');
    server.AddFault(fault);
    RawClient socket(server.Start());
    socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\n");
    std::this_thread::sleep_for(std::chrono::seconds(2)); // less than the default patience of a server
    EXPECT_LT(socket.ReadAll().size(), LARGE);
}

TEST(LabLife, ARequestInADelayIsAnsweredAtTheStop)
{
    LabServer server;
    LabFault fault;
    fault.strPath = "posts";
    fault.nDelayMs = 600'000;
    server.AddFault(fault);
    LabClient watcher(server.Start());
    LabReply reply;
    std::thread waiting([&] { reply = LabClient(server.Port()).Get("/posts/1"); });
    while (watcher.Get("/lab/faults").json["count"] != 0) {
        std::this_thread::yield();
    }
    ExpectStopsPromptly(server);
    waiting.join();
    EXPECT_EQ(reply.nStatus, 200);
    EXPECT_EQ(reply.json["id"], 1);
}

TEST(LabLife, ManyKeptConnectionsAreServedAtOnce)
{
    LabServer server;
    server.Start();
    std::vector<std::unique_ptr<LabClient>> vecClients;
    for (int nClient = 0; nClient < 200; ++nClient) {
        vecClients.push_back(std::make_unique<LabClient>(server.Port()));
        ASSERT_EQ(vecClients.back()->Get("/posts/1").nStatus, 200);
    }
    for (const auto& pClient : vecClients) {
        ASSERT_EQ(pClient->Get("/posts/2").json["id"], 2);
    }
    ExpectStopsPromptly(server);
}

TEST(LabLife, AKeptConnectionServesAnyNumberOfRequests)
{
    LabServer server;
    RawClient socket(server.Start());
    for (int nRequest = 0; nRequest < 1000; ++nRequest) {
        socket.Send("GET /posts/1 HTTP/1.1\r\nHost: a\r\n\r\n");
        ASSERT_THAT(socket.ReadUntil("\"Test engineer\"}"), testing::StartsWith("HTTP/1.1 200 "));
    }
}

TEST(LabLife, StoppingUnderLoadAnswersWholeRepliesOrNone)
{
    LabServer server;
    server.Start();
    std::atomic<int> nAnswered{0};
    std::vector<std::thread> vecThreads;
    for (int nThread = 0; nThread < 8; ++nThread) {
        vecThreads.emplace_back([&] {
            LabClient client(server.Port());
            LabReply reply;
            while ((reply = client.Post("/open/test-cabinet/add/kostrel/cycle", "[1]")).nStatus != 0) {
                EXPECT_EQ(reply.json["success"], true) << reply.strBody;
                ++nAnswered;
            }
        });
    }
    while (nAnswered < 100) {
        std::this_thread::yield();
    }
    ExpectStopsPromptly(server);
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    LabClient client(server.Start());
    EXPECT_GE(client.Get("/lab/reports/cycle-data?limit=0").json["count"].asInt(), nAnswered);
}

TEST(LabLife, ExchangesTellWhatCameAndWhatWasAnswered)
{
    LabServer server;
    LabClient client(server.Start());
    RawClient socket(server.Port());
    socket.Send("GET /vomd/system/GetSyxm.action?dxtm=a%20b,c&t= HTTP/1.1\r\nConnection: close\r\n\r\n");
    const std::string strFirst = socket.ReadAll();
    const LabReply second = client.Post("/nowhere", "body");
    const auto vecExchanges = server.Exchanges();
    ASSERT_EQ(vecExchanges.size(), 2U);
    EXPECT_EQ(vecExchanges[0].strMethod, "GET");
    EXPECT_EQ(vecExchanges[0].strTarget, "/vomd/system/GetSyxm.action?dxtm=a%20b,c&t=");
    EXPECT_EQ(vecExchanges[0].nStatus, 200);
    EXPECT_EQ(vecExchanges[0].strReply, strFirst.substr(strFirst.find("\r\n\r\n") + 4));
    EXPECT_EQ(vecExchanges[1].strMethod, "POST");
    EXPECT_EQ(vecExchanges[1].strBody, "body");
    EXPECT_EQ(vecExchanges[1].nStatus, 404);
    EXPECT_EQ(vecExchanges[1].strReply, second.strBody);
}

TEST(LabLife, SignalsStayTheHostsAffair)
{
    void (*const pfnOfTheHost)(int) = [](int) {};
    for (void (*const pfn)(int) : {SIG_DFL, pfnOfTheHost}) {
        std::signal(SIGPIPE, pfn);
        LabServer server;
        server.Start();
        EXPECT_EQ(std::signal(SIGPIPE, SIG_DFL), pfn);
    }
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0);
}

} // namespace
