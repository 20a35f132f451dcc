#pragma once

#include "TransportTest.h"

/// Whether the transport has been started and stopped before in this process.
enum class Life { First, Later };

class TransportLife : public TransportTest
{
protected:
    /// Starts and stops the transport several times. At each stop, requests are in progress and waiting; some
    /// were answered before, some are sent after it.
    static void LiveBefore()
    {
        constexpr std::size_t LIVES = 5;
        constexpr std::size_t UNANSWERED = 20;
        Set("CHTTPCLIENT_DRAIN_MS", 0);
        const ScriptedServer silent(Silent());
        const ScriptedServer server(Ok());
        ReceivedReplies replies;
        CHttpClientSetResponseCallBack(
            [&replies](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
                replies.Add(strBody, nType, pUserData, nHttpError);
            });
        std::vector<int> vecExpected;
        for (std::size_t nLife = 1; nLife <= LIVES; ++nLife) {
            ASSERT_TRUE(CHttpClientInit());
            Post(server.Url("/"), "{}");
            ASSERT_TRUE(replies.WaitFor(vecExpected.size() + 1));
            for (std::size_t nRequest = 0; nRequest < UNANSWERED; ++nRequest) {
                Get(silent.Url("/"));
            }
            ASSERT_TRUE(silent.WaitForRequests(8 * nLife));
            CHttpClientUnInit();
            Get(server.Url("/"));
            vecExpected.push_back(0);
            vecExpected.insert(vecExpected.end(), UNANSWERED, -42);
            vecExpected.push_back(-2);
            ASSERT_TRUE(replies.WaitFor(vecExpected.size()));
        }
        CHttpClientUnInit(); // waits for the last callback
        CHttpClientSetResponseCallBack(nullptr);
        EXPECT_EQ(replies.Errors(), vecExpected);
        Set("CHTTPCLIENT_DRAIN_MS", 1000);
    }
};
