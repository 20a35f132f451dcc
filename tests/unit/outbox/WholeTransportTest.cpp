// A transport that has all that an outbox can use.

#include "outbox/TransportPost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

std::vector<std::string> g_vecCalls;
bool g_bAccepts = true;
long long g_nRetryAfter = -1;
int g_nBodySent = -1;

} // namespace

extern "C" {

__attribute__((visibility("default"))) bool CHttpClientSendReport(int nType, const char* szUrl,
                                                                  const char* pBody, std::size_t nBody,
                                                                  void* pUserData,
                                                                  const char* const* ppHeaders)
{
    std::string strCall = std::to_string(nType) + ' ' + szUrl + ' ' + std::string(pBody, nBody) + ' ' +
                          std::to_string(static_cast<int>(pUserData != nullptr));
    for (; *ppHeaders != nullptr; ++ppHeaders) {
        strCall += std::string("|") + *ppHeaders;
    }
    g_vecCalls.push_back(strCall);
    return g_bAccepts;
}

__attribute__((visibility("default"))) bool
CHttpClientHandBack(int nType, const char* pBody, std::size_t nBody, void* /*pUserData*/, int nHttpError)
{
    g_vecCalls.push_back("back " + std::to_string(nType) + ' ' + std::string(pBody, nBody) + ' ' +
                         std::to_string(nHttpError));
    return g_bAccepts;
}

__attribute__((visibility("default"))) long long CHttpClientExchangeRetryAfter()
{
    return g_nRetryAfter;
}

__attribute__((visibility("default"))) int CHttpClientExchangeBodySent()
{
    return g_nBodySent;
}

} // extern "C"

namespace
{

using outbox::Report;
using outbox::TransportPost;
using ::testing::ElementsAre;

TEST(WholeTransport, GetsTheKeyWithEachReport)
{
    TransportPost post([](const std::string&, int, void*, int) {});
    int nToken = 0;
    Report report{3102, "http://lab/x", "Content-Type: text/plain", "body", "", "run-1", 0};
    EXPECT_TRUE(post.Send(report, &nToken));
    report.strHeader.clear();
    g_bAccepts = false;
    EXPECT_FALSE(post.Send(report, &nToken));
    EXPECT_THAT(g_vecCalls,
                ElementsAre("3102 http://lab/x body 1|Content-Type: text/plain|Idempotency-Key: \"run-1\"",
                            "3102 http://lab/x body 1|Idempotency-Key: \"run-1\""));
}

TEST(WholeTransport, CallsTheReceiverUnlessItRefuses)
{
    int nCalls = 0;
    TransportPost post([&](const std::string&, int, void*, int) { ++nCalls; });
    post.HandBack(3101, "{}", nullptr, 0);
    EXPECT_THAT(g_vecCalls, ElementsAre("back 3101 {} 0"));
    EXPECT_EQ(nCalls, 0);
    g_bAccepts = false;
    post.HandBack(3101, "{}", nullptr, 0);
    EXPECT_EQ(nCalls, 1);
}

TEST(WholeTransport, TellsOfTheReply)
{
    const TransportPost post([](const std::string&, int, void*, int) {});
    EXPECT_FALSE(post.RetryAfter().has_value());
    EXPECT_TRUE(post.MayHaveBeenSeen());
    g_nRetryAfter = 120;
    g_nBodySent = 0;
    EXPECT_EQ(post.RetryAfter(), std::chrono::seconds(120));
    EXPECT_FALSE(post.MayHaveBeenSeen());
    g_nBodySent = 1;
    EXPECT_TRUE(post.MayHaveBeenSeen());
}

} // namespace
