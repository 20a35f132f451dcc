#include "LabFixture.h"
#include "ProcessUse.h"
#include "RawClient.h"
#include "WaitUntil.h"

#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string FIRST_LINES = "GET /posts/1 HTTP/1.1\r\nConnection: close\r\n";

class LabLimits : public LabTest
{
protected:
    std::string Answer(const std::string& strRequest) const
    {
        RawClient socket(m_server.Port());
        socket.Send(strRequest);
        const std::string strReply = socket.ReadAll();
        EXPECT_TRUE(socket.IsClosed());
        return strReply;
    }

    void ExpectTooLarge(const std::string& strRequest, const std::string& strWhat) const
    {
        const std::string strReply = Answer(strRequest);
        EXPECT_THAT(strReply, StartsWith("HTTP/1.1 431 "));
        EXPECT_THAT(strReply, HasSubstr("\r\nConnection: close\r\n"));
        EXPECT_THAT(strReply, HasSubstr(strWhat));
    }
};

/// A header line of that many bytes, including its end.
std::string LineOfSize(size_t nSize)
{
    return "X: " + std::string(nSize - 5, 'x') + "\r\n";
}

/// A whole request of that many bytes, consisting of a header only.
std::string HeaderOfSize(size_t nSize)
{
    constexpr size_t LINE = 1000;
    std::string strHeader = FIRST_LINES;
    while (nSize - strHeader.size() > 2 * LINE) {
        strHeader += LineOfSize(LINE);
    }
    return strHeader + LineOfSize(nSize - strHeader.size() - 2) + "\r\n";
}

TEST_F(LabLimits, AHeaderUpToTheLimitIsTakenAndALargerOneRefused)
{
    constexpr size_t LIMIT = 65536;
    ASSERT_EQ(HeaderOfSize(LIMIT).size(), LIMIT);
    EXPECT_THAT(Answer(HeaderOfSize(LIMIT)), StartsWith("HTTP/1.1 200 "));
    ExpectTooLarge(HeaderOfSize(LIMIT + 1), "larger than 65536 bytes");
    ExpectTooLarge(HeaderOfSize(LIMIT + 5000), "larger than 65536 bytes");
}

TEST_F(LabLimits, TheNextHeaderOfAConnectionHasTheWholeLimit)
{
    RawClient socket(m_server.Port());
    const std::string strLine = LineOfSize(8000);
    for (int nRequest = 0; nRequest < 10; ++nRequest) {
        socket.Send("GET /posts/1 HTTP/1.1\r\n" + strLine + strLine + strLine + "\r\n");
        ASSERT_THAT(socket.ReadUntil("\"Test engineer\"}"), StartsWith("HTTP/1.1 200 ")) << nRequest;
    }
}

TEST_F(LabLimits, ManyHeaderLinesAreTakenAndMoreRefused)
{
    std::string strLines = FIRST_LINES;
    for (int nLine = 1; nLine < 100; ++nLine) {
        strLines += "X: x\r\n";
    }
    EXPECT_THAT(Answer(strLines + "\r\n"), StartsWith("HTTP/1.1 200 "));
    ExpectTooLarge(strLines + "X: x\r\n\r\n", "more than 100 lines");
    ExpectTooLarge(strLines + "no line that counts elsewhere\n\r\n", "more than 100 lines");
}

TEST_F(LabLimits, ALongHeaderLineIsTakenAndALongerOneRefused)
{
    EXPECT_THAT(Answer(FIRST_LINES + LineOfSize(8192) + "\r\n"), StartsWith("HTTP/1.1 200 "));
    ExpectTooLarge(FIRST_LINES + LineOfSize(8193) + "\r\n", "longer than 8192 bytes");
}

TEST_F(LabLimits, ALongRequestLineIsTakenAndALongerOneRefusedBeforeItsEnd)
{
    const std::string strLine = "GET /" + std::string(8000, 'a') + " HTTP/1.1\r\n";
    const std::string strLonger = "GET /" + std::string(8192 - strLine.size(), 'a') + strLine.substr(5);
    EXPECT_THAT(Answer(strLonger + "Connection: close\r\n\r\n"), StartsWith("HTTP/1.1 404 "));
    for (const std::string& strTooLong :
         {"GET /a" + strLonger.substr(5) + "\r\n", std::string(8193, 'a'), std::string(20'000, 'a')}) {
        const std::string strReply = Answer(strTooLong);
        EXPECT_THAT(strReply, StartsWith("HTTP/1.1 414 "));
        EXPECT_THAT(strReply, HasSubstr("\r\nConnection: close\r\n"));
        EXPECT_THAT(strReply, HasSubstr("The request target is too long."));
    }
}

TEST_F(LabLimits, AHeaderThatComesByteByByteIsUnderstood)
{
    RawClient socket(m_server.Port());
    for (const char c : FIRST_LINES + "Range: bytes=0-1\r\n\r\n") {
        socket.Send({c});
    }
    const std::string strReply = socket.ReadAll();
    EXPECT_THAT(strReply, StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(strReply, HasSubstr("\"Test engineer\"}"));
}

TEST_F(LabLimits, ABodyUpToTheLimitIsReadAndALargerOneRefused)
{
    constexpr size_t LIMIT = 16'777'216;
    const auto HeadOf = [](size_t nSize) {
        return "POST /posts HTTP/1.1\r\nConnection: close\r\nContent-Length: " + std::to_string(nSize) +
               "\r\n\r\n";
    };
    EXPECT_THAT(Answer(HeadOf(LIMIT) + std::string(LIMIT, 'x')), StartsWith("HTTP/1.1 404 "));
    const std::string strReply = Answer(HeadOf(LIMIT + 1));
    EXPECT_THAT(strReply, StartsWith("HTTP/1.1 413 "));
    EXPECT_THAT(strReply, HasSubstr("larger than 16777216 bytes"));
}

TEST_F(LabLimits, NoRangesAreServed)
{
    std::string strMany = "bytes=0-";
    while (strMany.size() < 8000) {
        strMany += ",0-";
    }
    const std::string strWhole = Answer(FIRST_LINES + "\r\n");
    EXPECT_THAT(strWhole, StartsWith("HTTP/1.1 200 "));
    for (const std::string& strRange :
         {std::string("Range: bytes=0-3"), std::string("Range: bytes=0-,0-,0-"), "Range: " + strMany,
          std::string("rANGE: bytes=-1"), std::string("Range: bytes=900000-"), std::string("Range: bytes=x"),
          std::string("Range: bytes=0-1\r\nIf-Range: \"x\"\r\nRange: bytes=2-3")}) {
        EXPECT_EQ(Answer(FIRST_LINES + strRange + "\r\n\r\n"), strWhole) << strRange.substr(0, 80);
    }
    EXPECT_EQ(Answer("GET /posts/1 HTTP/1.1\r\nRange: bytes=0-3\r\nConnection: close\r\n\r\n"), strWhole);
    EXPECT_THAT(Answer("HEAD" + FIRST_LINES.substr(3) + "\r\n"), Not(HasSubstr("Range")));
}

LabServerOptions ServerOf(int nMaxConnections)
{
    LabServerOptions options;
    options.nMaxConnections = nMaxConnections;
    return options;
}

/// Reads a refused client's refusal.
void ExpectNoRoom(RawClient& socket)
{
    const std::string strReply = socket.ReadUntil("}");
    EXPECT_THAT(strReply, StartsWith("HTTP/1.1 503 Service Unavailable\r\n"));
    EXPECT_THAT(strReply, HasSubstr("\r\nConnection: close\r\n"));
    const Json::Value body = JsonFrom(strReply.substr(strReply.find("\r\n\r\n") + 4));
    EXPECT_EQ(body["success"], false);
    EXPECT_EQ(body["code"], 503);
    EXPECT_THAT(body["message"].asString(), HasSubstr("no room for another connection"));
}

TEST(LabConnections, BeyondTheirNumberAreRefusedInOrder)
{
    LabServer server(ServerOf(2));
    LabClient first(server.Start());
    LabClient second(server.Port());
    EXPECT_EQ(first.Get("/posts/1").nStatus, 200);
    EXPECT_EQ(second.Get("/posts/1").nStatus, 200);

    RawClient silent(server.Port());
    ExpectNoRoom(silent);
    EXPECT_EQ(silent.ReadAll(), "");
    EXPECT_TRUE(silent.IsClosed());

    RawClient talking(server.Port());
    const std::string strBody = '[' + std::string(10'000, ' ') + ']';
    talking.Send("POST /open/test-cabinet/add/kostrel/cycle HTTP/1.1\r\nHost: a\r\nContent-Length: " +
                 std::to_string(strBody.size()) + "\r\n\r\n" + strBody);
    ExpectNoRoom(talking);

    EXPECT_EQ(LabClient(server.Port()).Get("/posts/1").nStatus, 503);
    EXPECT_EQ(first.Get("/posts/2").nStatus, 200);
    EXPECT_EQ(second.Get("/lab/reports/cycle-data").json["count"], 0);
}

TEST(LabConnections, ThatEndMakeRoomForOthers)
{
    LabServer server(ServerOf(1));
    server.Start();
    for (int nClient = 0; nClient < 5; ++nClient) {
        int nStatus = 0;
        WaitUntil( // the server may notice late that the previous client is gone
            [&] {
                nStatus = LabClient(server.Port()).Get("/posts/1").nStatus;
                return nStatus == 200;
            },
            std::chrono::seconds(60));
        ASSERT_EQ(nStatus, 200) << nClient;
    }
}

TEST(LabConnections, ThatAreRefusedCostNoThreadsAndHoldNobodyUp)
{
    LabServer server(ServerOf(1));
    LabClient served(server.Start());
    EXPECT_EQ(served.Get("/posts/1").nStatus, 200);
    const size_t nThreads = Threads();
    std::vector<std::unique_ptr<RawClient>> vecRefused;
    for (int nClient = 0; nClient < 300; ++nClient) {
        vecRefused.push_back(std::make_unique<RawClient>(server.Port()));
        ExpectNoRoom(*vecRefused.back());
    }
    EXPECT_EQ(Threads(), nThreads);
    EXPECT_EQ(served.Get("/posts/1").nStatus, 200);
    const auto start = std::chrono::steady_clock::now();
    server.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

/// Waits until the process has that many descriptors, since a server may notice late that a client is gone.
/// Returns whether it does.
bool ComeToDescriptors(size_t nDescriptors)
{
    return WaitUntil([&] { return OpenDescriptors() == nDescriptors; });
}

TEST(LabConnections, ThatAreRefusedLeaveNoDescriptorBehind)
{
    LabServer server(ServerOf(1));
    const size_t nBefore = OpenDescriptors();
    {
        LabClient served(server.Start());
        EXPECT_EQ(served.Get("/posts/1").nStatus, 200);
        const size_t nServing = OpenDescriptors();
        for (int nTime = 1; nTime <= 2; ++nTime) {
            std::vector<std::unique_ptr<RawClient>> vecRefused;
            for (int nClient = 0; nClient < 100; ++nClient) {
                vecRefused.push_back(std::make_unique<RawClient>(server.Port()));
                ExpectNoRoom(*vecRefused.back());
            }
            vecRefused.clear();
            EXPECT_TRUE(ComeToDescriptors(nServing)) << nTime;
        }
        RawClient staying(server.Port());
        ExpectNoRoom(staying);
        server.Stop();
    }
    EXPECT_EQ(OpenDescriptors(), nBefore);
}

/// How many threads this process may have, by the limits of its user and its container.
rlim_t MostThreads()
{
    rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
    if (geteuid() != 0) { // root has no such limit
        getrlimit(RLIMIT_NPROC, &limit);
    }
    rlim_t nOfContainer = 0;
    if (std::ifstream("/sys/fs/cgroup/pids.max") >> nOfContainer) { // the word "max" is no number
        return std::min(limit.rlim_cur, nOfContainer);
    }
    return limit.rlim_cur;
}

TEST(LabConnections, AThousandIdleOnesAreKept)
{
    constexpr int MOST_CLIENTS = 1000;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096); // both ends are in this process
    if (limit.rlim_cur < 2 * MOST_CLIENTS + 100 || setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        GTEST_SKIP() << "this process may not have enough descriptors: " << limit.rlim_cur;
    }
    if (MostThreads() < MOST_CLIENTS + 100) {
        GTEST_SKIP() << "this process may not have enough threads: " << MostThreads();
    }
    LabServer server(ServerOf(MOST_CLIENTS));
    server.Start();
    std::vector<std::unique_ptr<RawClient>> vecClients;
    const auto ExpectServed = [](RawClient& socket) {
        socket.Send("GET /posts/1 HTTP/1.1\r\n\r\n");
        ASSERT_THAT(socket.ReadUntil("\"Test engineer\"}"), StartsWith("HTTP/1.1 200 "));
    };
    for (int nClient = 0; nClient < MOST_CLIENTS; ++nClient) {
        vecClients.push_back(std::make_unique<RawClient>(server.Port()));
        ExpectServed(*vecClients.back());
    }
    RawClient oneMore(server.Port());
    ExpectNoRoom(oneMore);
    ExpectServed(*vecClients.front());
    ExpectServed(*vecClients.back());
}

} // namespace
