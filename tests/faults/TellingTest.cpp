// What the transport tells the layers above it about its requests.

#include "TransportTest.h"
#include "WaitUntil.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>


namespace
{

class TransportTelling : public TransportTest
{
};

TEST_F(TransportTelling, HowManyRequestsWaitForAConnection)
{
    EXPECT_EQ(CHttpClientQueued(), 0U) << "it does not run yet";
    Set("CHTTPCLIENT_HOST_CONNECTIONS", 1);
    Set("CHTTPCLIENT_DRAIN_MS", 0);
    const ScriptedServer server(Silent());
    Start();
    for (int nRequest = 0; nRequest < 3; ++nRequest) {
        Get(server.Url("/"));
    }
    ASSERT_TRUE(server.WaitForRequests(1));
    EXPECT_TRUE(WaitUntil([] { return CHttpClientQueued() == 2; }));
    CHttpClientUnInit();
    EXPECT_EQ(m_replies.Count(), 3U);
    EXPECT_EQ(CHttpClientQueued(), 0U);
}

TEST_F(TransportTelling, UrlAndAgeOfARequestWithinItsCallbackAlone)
{
    const ScriptedServer server(Ok());
    std::string strUrl;
    long long nMicroseconds = -1;
    CHttpClientSetResponseCallBack(
        [&, fnKeep = Keeper()](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            strUrl = CHttpClientExchangeUrl();
            nMicroseconds = CHttpClientExchangeMicroseconds();
            fnKeep(strBody, nType, pUserData, nHttpError);
        });
    ASSERT_TRUE(CHttpClientInit());
    const auto tpSent = std::chrono::steady_clock::now();
    Get(server.Url("/a b"));
    RepliesAfterShutdown(1);
    const auto sinceSent = std::chrono::steady_clock::now() - tpSent;
    EXPECT_EQ(strUrl, server.Url("/a b"));
    EXPECT_GT(nMicroseconds, 0);
    EXPECT_LE(nMicroseconds, std::chrono::duration_cast<std::chrono::microseconds>(sinceSent).count());
    EXPECT_EQ(CHttpClientExchangeUrl(), nullptr);
    EXPECT_EQ(CHttpClientExchangeMicroseconds(), -1);
}

} // namespace
