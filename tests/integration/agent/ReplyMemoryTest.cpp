// How much memory one reply may cost its host, whatever it holds: at most 200 MB plus eight times its size.
// Each reply is received by a host in a process of its own.

#include "HostProcess.h"
#include "LogFolder.h"
#include "Packed.h"
#include "ScriptedServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <ostream>
#include <string>

namespace
{

constexpr std::size_t MILLION = 1'000'000;
constexpr std::size_t LIST_LIMIT = 250'000;
constexpr std::size_t VALUE_LIMIT = 2'000'000;
constexpr std::size_t VALUE_LIMIT_OF_USERS = 250'000;
constexpr std::size_t LARGEST_REPLY = std::size_t{60} * MILLION; // below the transport's own limit

/// The element repeated that many times, separated by commas.
std::string List(const std::string& strElement, std::size_t nTimes)
{
    const std::size_t nSize = nTimes == 0 ? 0 : (strElement.size() + 1) * nTimes - 1;
    std::string strList = strElement + ',';
    strList.reserve(2 * nSize);
    while (strList.size() < nSize) {
        strList += std::string(strList); // twice as many
    }
    strList.resize(nSize);
    return strList;
}

std::string Array(const std::string& strElement, std::size_t nTimes)
{
    return "[" + List(strElement, nTimes) + "]";
}

/// The element repeated as often as fits into the largest reply.
std::string Fill(const std::string& strElement)
{
    return List(strElement, LARGEST_REPLY / (strElement.size() + 1));
}

std::string Success(const std::string& strName, const std::string& strValue)
{
    return R"({"success":true,"code":0,")" + strName + "\":" + strValue + "}";
}

std::string Text(char c)
{
    return '"' + std::string(LARGEST_REPLY, c) + '"';
}

std::string IdName(const std::string& strName, std::size_t nId)
{
    return '"' + strName + R"(":{"id":)" + std::to_string(nId) + R"(,"name":"a name of usual length"})";
}

/// The reply of a laboratory with that many projects.
std::string Projects(std::size_t nProjects)
{
    std::string strList;
    for (std::size_t i = 0; i < nProjects; ++i) {
        strList += (i == 0 ? R"({"xh":")" : R"(,{"xh":")") + std::to_string(i) + "\"," +
                   IdName("委托单号", i) + "," + IdName("测试类型", 1) + "," + IdName("项目分类", 2) + "," +
                   IdName("项目名称", 3) + "}";
    }
    return Success("实验项目", "[" + strList + "]");
}

struct HeavyReplyCase {
    const char* szName;
    const char* szRequest;
    std::string (*fnBody)();
    bool bSucc;
};

void PrintTo(const HeavyReplyCase& reply, std::ostream* pStream)
{
    *pStream << reply.szName;
}

const HeavyReplyCase HEAVY_REPLIES[] = {
    {"ListOfAMillionZeros", "projects", [] { return Success("实验项目", Array("0", MILLION)); }, false},
    {"ListOfFourMillionZeros", "projects", [] { return Success("实验项目", Array("0", 4 * MILLION)); },
     false},
    {"ListAtItsLimit", "projects", [] { return Success("实验项目", Array("0", LIST_LIMIT)); }, true},
    {"ListAboveItsLimit", "projects", [] { return Success("实验项目", Array("0", LIST_LIMIT + 1)); }, false},
    {"BatteriesAtTheirLimit", "batteries",
     [] { return Success("全部电池状态", Array(R"({"电池状态":[{"id":1}]})", LIST_LIMIT)); }, true},
    {"HundredThousandProjects", "projects", [] { return Projects(100'000); }, true},
    {"ValuesAtTheirLimit", "projects", [] { return Success("x", Array("0", VALUE_LIMIT - 4)); }, true},
    {"ValuesAboveTheirLimit", "projects", [] { return Success("x", Array("0", VALUE_LIMIT - 3)); }, false},
    {"MembersAtTheLimitOfValues", "report",
     [] { return "{" + List(R"("":0)", VALUE_LIMIT - 2) + R"(,"success":true})"; }, true},
    {"LargestListOfZeros", "projects", [] { return Success("实验项目", "[" + Fill("0") + "]"); }, false},
    {"LargestReplyOfZeros", "report", [] { return "[" + Fill("0") + "]"; }, false},
    {"LargestReplyOfBrackets", "check", [] { return Success("x", "[" + Fill("[]") + "]"); }, false},
    {"LargestReplyOfMembers", "check", [] { return "{" + Fill(R"("":0)") + "}"; }, false},
    {"LargestText", "check", [] { return Success("message", Text('x')); }, true},
    {"UserOfZeros", "user", [] { return Success("x", "[" + Fill("0") + "]"); }, false},
    {"UserOfBrackets", "user", [] { return Success("x", "[" + Fill("[]") + "]"); }, false},
    {"UserOfTheDearestValues", "user", [] { return Success("x", Array("/**/[]", VALUE_LIMIT_OF_USERS - 4)); },
     true},
    {"UserOfOneTitle", "user", [] { return Success("title", Text('x')); }, true},
    {"UserOfOneComment", "user", [] { return Success("x", "/*" + Text('x') + "*/1"); }, true},
    {"BlockingReplyOfZeros", "check-blocking", [] { return Success("x", "[" + Fill("0") + "]"); }, false},
    {"BlockingReplyOfArrays", "check-blocking", [] { return Success("x", "[" + Fill("[0]") + "]"); }, false},
    {"BlockingReplyOfObjects", "check-blocking", [] { return Success("x", "[" + Fill(R"({"a":0})") + "]"); },
     false},
    {"BlockingReplyOfObjectsAtTheLimit", "check-blocking",
     [] { return Success("x", Array(R"({"a":""})", VALUE_LIMIT / 2 - 2)); }, true},
    {"BlockingReplyOfOneText", "check-blocking", [] { return Success("x", Text('x')); }, true},
    {"BlockingReportOfLongNumbers", "steps-blocking",
     [] { return Success("x", Array("1e15", VALUE_LIMIT - 4)); }, true},
    {"BlockingReportThatIsLogged", "steps-blocking", [] { return Success("x", Text('x')); }, true},
};

class HeavyReply : public ::testing::TestWithParam<HeavyReplyCase>
{
protected:
    LogFolder m_log;
};

/// The number after a word at the beginning of a line.
long long Number(const Departure& departure, const std::string& strWord)
{
    for (const std::string& strLine : departure.vecLines) {
        if (strLine.rfind(strWord + " ", 0) == 0) {
            return std::stoll(strLine.substr(strWord.size() + 1));
        }
    }
    ADD_FAILURE() << "the host printed no " << strWord;
    return -1;
}

TEST_P(HeavyReply, CostsNoMoreThan200MegabytesAndEightTimesItsSize)
{
    const std::string strBody = GetParam().fnBody();
    const ScriptedServer server(ServerStep{HttpReply(200, strBody), ServerStep::Ending::Close});
    const Departure departure =
        Watch(KTS_HEAVY_REPLY_HOST, {std::to_string(server.Port()), GetParam().szRequest});
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0);
    EXPECT_EQ(Number(departure, "answers"), 1);
    EXPECT_EQ(Number(departure, "success"), GetParam().bSucc ? 1 : 0);
    const long long nGrowth = Number(departure, "growth");
    EXPECT_LE(nGrowth, static_cast<long long>(200 * MILLION + 8 * strBody.size()));
    std::cout << strBody.size() << " bytes cost " << nGrowth << '\n';
}

/// A reply larger than allowed, and how it is transferred.
struct TooLarge {
    const char* szName;
    ServerStep (*fnStep)();
    const char* szMostBytes = "67108864"; ///< the default; less if the reply comes slowly
};

void PrintTo(const TooLarge& reply, std::ostream* pStream)
{
    *pStream << reply.szName;
}

constexpr std::size_t TOO_LARGE = std::size_t{200} * MILLION;

/// A large success, packed to a thousandth of its size.
std::string PackedText()
{
    return Gzipped(R"({"success":true,"x":")" + std::string(TOO_LARGE, 'x') + "\"}");
}

std::string PackedHead(const char* szLine)
{
    return std::string("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n") + szLine + "\r\n\r\n";
}

/// Sent slowly, since Qt reads a chunk in one go as long as more of it is available.
ServerStep Endless(const char* szLine)
{
    ServerStep step{std::string("HTTP/1.1 200 OK\r\n") + szLine, ServerStep::Ending::Close};
    step.strEndless = std::string(MILLION / 10, 'x');
    step.pause = std::chrono::milliseconds(20);
    return step;
}

const TooLarge TOO_LARGE_REPLIES[] = {
    {"Packed",
     [] {
         return ServerStep{HttpReply(200, PackedText(), "Content-Encoding: gzip\r\n"),
                           ServerStep::Ending::Close};
     }},
    {"PackedWithoutItsLength",
     [] {
         return ServerStep{PackedHead("Connection: close") + PackedText(), ServerStep::Ending::Close};
     }},
    {"Plain",
     [] {
         return ServerStep{HttpReply(200, std::string(TOO_LARGE, 'x')), ServerStep::Ending::Close};
     }},
    {"WithoutEnd", [] { return Endless("\r\n"); }, "8000000"},
    {"WithoutEndInOneChunk", [] { return Endless("Transfer-Encoding: chunked\r\n\r\n7fffffffff\r\n"); },
     "8000000"},
};

class TooLargeReply : public ::testing::TestWithParam<TooLarge>
{
protected:
    TooLargeReply() { ::setenv("CHTTPCLIENT_MAX_REPLY_BYTES", GetParam().szMostBytes, 1); }
    ~TooLargeReply() override { ::unsetenv("CHTTPCLIENT_MAX_REPLY_BYTES"); }

    LogFolder m_log;
};

TEST_P(TooLargeReply, IsAFailureOfBlockingCallsAndCostsNoMoreThan200Megabytes)
{
    const ScriptedServer server(GetParam().fnStep());
    const Departure departure =
        Watch(KTS_HEAVY_REPLY_HOST, {std::to_string(server.Port()), "check-blocking", "900"});
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0) << "with 900 MB of address space";
    EXPECT_EQ(Number(departure, "answers"), 1);
    EXPECT_EQ(Number(departure, "success"), 0);
    const long long nGrowth = Number(departure, "growth");
    EXPECT_LE(nGrowth, static_cast<long long>(200 * MILLION));
    std::cout << "it cost " << nGrowth << '\n';
}

INSTANTIATE_TEST_SUITE_P(Each, TooLargeReply, ::testing::ValuesIn(TOO_LARGE_REPLIES),
                         [](const auto& reply) { return reply.param.szName; });

struct Request {
    const char* szName;
    const char* szRequest;
};

class PackedHeavyReply : public ::testing::TestWithParam<Request>
{
};

// As many values as fit into the largest reply: they would take gigabytes if kept, but only a thousandth of
// the reply's size is transferred.
TEST_P(PackedHeavyReply, IsAFailureWithItsOneAnswer)
{
    const LogFolder log;
    const std::string strBody = Success("x", "[" + Fill("0") + "]");
    const std::string strPacked = Gzipped(strBody);
    EXPECT_LT(strPacked.size(), 100'000U);
    const ScriptedServer server(
        ServerStep{HttpReply(200, strPacked, "Content-Encoding: gzip\r\n"), ServerStep::Ending::Close});
    const Departure departure =
        Watch(KTS_HEAVY_REPLY_HOST, {std::to_string(server.Port()), GetParam().szRequest});
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0);
    EXPECT_EQ(Number(departure, "answers"), 1);
    EXPECT_EQ(Number(departure, "success"), 0);
    const long long nGrowth = Number(departure, "growth");
    EXPECT_LE(nGrowth, static_cast<long long>(200 * MILLION + 8 * strBody.size()));
    std::cout << strPacked.size() << " bytes, " << strBody.size() << " unpacked, cost " << nGrowth << '\n';
}

// Every request that gets an answer, on both interfaces.
INSTANTIATE_TEST_SUITE_P(
    Each, PackedHeavyReply,
    ::testing::Values(Request{"User", "user"}, Request{"ChannelReport", "channel-report"},
                      Request{"Report", "report"}, Request{"Projects", "projects"},
                      Request{"Version", "version"}, Request{"Batteries", "batteries"},
                      Request{"Export", "export"}, Request{"Ftp", "ftp"}, Request{"Check", "check"},
                      Request{"Common", "common"}, Request{"CheckBlocking", "check-blocking"},
                      Request{"CommonBlocking", "common-blocking"},
                      Request{"UploadBlocking", "upload-blocking"},
                      Request{"CycleBlocking", "cycle-blocking"}, Request{"StepBlocking", "step-blocking"},
                      Request{"OrnStepBlocking", "steps-blocking"}),
    [](const auto& request) { return request.param.szName; });

TEST(ReplyThatMemoryRunsOutFor, GetsItsOneAnswer)
{
    const LogFolder log;
    const std::string strBody = Success("实验项目", Array("0", LIST_LIMIT));
    int nFailures = 0;
    for (int nMegabytes = 4; nMegabytes <= 128; nMegabytes *= 2) {
        const ScriptedServer server(ServerStep{HttpReply(200, strBody), ServerStep::Ending::Close});
        const Departure departure = Watch(
            KTS_HEAVY_REPLY_HOST, {std::to_string(server.Port()), "projects", std::to_string(nMegabytes)});
        EXPECT_EQ(departure.nStatus, 0) << nMegabytes << " MB";
        EXPECT_EQ(Number(departure, "answers"), 1) << nMegabytes << " MB";
        nFailures += Number(departure, "success") == 0 ? 1 : 0;
    }
    EXPECT_GT(nFailures, 0);
}

INSTANTIATE_TEST_SUITE_P(Each, HeavyReply, ::testing::ValuesIn(HEAVY_REPLIES),
                         [](const auto& reply) { return reply.param.szName; });

} // namespace
