#include "EachConnection.h"

#include <gmock/gmock.h>

#include <ostream>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

ServerStep Reply(int nStatus)
{
    ServerStep step;
    step.strReply = HttpReply(nStatus, "from the proxy");
    return step;
}

} // namespace

TEST_F(TransportTest, AProxyOfTheEnvironmentIsAskedForTheWholeUrl)
{
    const ScriptedServer proxy(Reply(200));
    Set("http_proxy", proxy.Url(""));
    Start();
    Post("http://laboratory.invalid:8080/vomd/x?box=A 1", "{}");
    RepliesAfterShutdown(1);
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0));
    ASSERT_THAT(proxy.Requests(), SizeIs(1));
    const WireRequest request = proxy.Requests().at(0);
    EXPECT_EQ(request.Line(), "POST http://laboratory.invalid:8080/vomd/x?box=A%201 HTTP/1.1");
    EXPECT_THAT(request.Header("Host"), ElementsAre("Host: laboratory.invalid:8080"));
    EXPECT_EQ(request.strBody, "{}");
}

TEST_F(TransportTest, AProxyIsNotAskedForAHostThatIsExempt)
{
    const ScriptedServer proxy(Reply(500));
    const ScriptedServer server(Reply(200));
    Set("http_proxy", proxy.Url(""));
    Set("no_proxy", "127.0.0.1");
    Start();
    Get(server.Url("/"));
    RepliesAfterShutdown(1);
    EXPECT_THAT(m_replies.Errors(), ElementsAre(0));
    EXPECT_THAT(proxy.Requests(), IsEmpty());
}

/// A proxy that fails a request, and what its callback gets.
struct UselessProxy {
    const char* szName;
    int nStatus; ///< of its reply to every request; 0 if nothing listens
    const char* szUrl;
    int nHttpError;

    friend void PrintTo(const UselessProxy& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportUselessProxy : public TransportOnEachConnection<UselessProxy>
{
protected:
    static constexpr const char* OTHER_URL = "http://served.invalid/";

    /// Serves one host well.
    static ServerStep Answer(const WireRequest& request)
    {
        return Reply(request.Target() == OTHER_URL ? 200 : TheRow().nStatus);
    }
};

TEST_P(TransportUselessProxy, IsReportedOnce)
{
    const ScriptedServer answering(&Answer);
    const RefusingPort refusing;
    const bool bRefuses = TheRow().nStatus == 0;
    const std::string strProxy =
        bRefuses ? "http://127.0.0.1:" + std::to_string(refusing.Port()) : answering.Url("");
    Set("http_proxy", strProxy);
    Set("https_proxy", strProxy);
    Start();
    for (int nRound = 0; nRound < Rounds(); ++nRound) {
        if (HasServed()) {
            EXPECT_EQ(Exchange(OTHER_URL).nHttpError, bRefuses ? -7 : 0);
        }
        EXPECT_EQ(Exchange(TheRow().szUrl).nHttpError, TheRow().nHttpError);
    }
    if (HasServed()) { // not seen in a tunnel, nor by a proxy that refuses connections
        EXPECT_THAT(ConnectionsOf(answering, TheRow().szUrl), testing::Each(1U));
    }
    ExpectNoMoreReplies();
}

INSTANTIATE_TEST_SUITE_P(Proxies, TransportUselessProxy,
                         OnEachConnection(testing::Values(
                             UselessProxy{"ThatRefuses", 0, "http://laboratory.invalid/", -7},
                             UselessProxy{"ThatWantsAName", 407, "http://laboratory.invalid/", 407},
                             UselessProxy{"ThatFindsNobody", 502, "http://laboratory.invalid/", 502},
                             UselessProxy{"ThatMakesNoTunnel", 403, "https://laboratory.invalid/", -56})),
                         NameOnEachConnection());
