#include "TransportTest.h"

#include <gmock/gmock.h>

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// What stands on the wire after one request to a server that answers everything.
class TransportWire : public TransportTest
{
protected:
    TransportWire() : m_server(Ok()) {}

    WireRequest Sent(const std::string& strBody, bool bPost, bool bHeader, const std::string& strHeader)
    {
        Start();
        CHttpClientSendRequest(TYPE, m_server.Url("/vomd/x?t=1"), strBody, nullptr, bPost, bHeader,
                               strHeader);
        EXPECT_TRUE(m_replies.WaitFor(1));
        EXPECT_THAT(m_replies.Errors(), ElementsAre(0));
        return m_server.Requests().at(0);
    }

private:
    static ServerStep Ok()
    {
        ServerStep step;
        step.strReply = HttpReply(200, "");
        return step;
    }

    const ScriptedServer m_server;
};

TEST_F(TransportWire, AGetCarriesNoBodyAndNothingAboutOne)
{
    const WireRequest request = Sent("{\"t\":\"1\"}\n", false, false, "");
    EXPECT_EQ(request.Line(), "GET /vomd/x?t=1 HTTP/1.1");
    EXPECT_EQ(request.strBody, "");
    for (const char* szName : {"Content-Length", "Content-Type", "Transfer-Encoding", "Expect"}) {
        EXPECT_THAT(request.Header(szName), IsEmpty());
    }
}

TEST_F(TransportWire, AGetCarriesItsHeaderLine)
{
    const WireRequest request = Sent("", false, true, "X-Station: 5");
    EXPECT_THAT(request.Header("X-Station"), ElementsAre("X-Station: 5"));
}

TEST_F(TransportWire, APostWithoutHeaderLineHasNoContentType)
{
    const WireRequest request = Sent("{\"t\":\"1\"}\n", true, false, "Content-Type: not/asked-for");
    EXPECT_EQ(request.Line(), "POST /vomd/x?t=1 HTTP/1.1");
    EXPECT_EQ(request.strBody, "{\"t\":\"1\"}\n");
    EXPECT_THAT(request.Header("Content-Type"), IsEmpty());
}

TEST_F(TransportWire, APostCarriesExactlyItsHeaderLine)
{
    const WireRequest request = Sent("{}", true, true, "Content-Type: application/json;charset=UTF-8");
    EXPECT_THAT(request.Header("Content-Type"), ElementsAre("Content-Type: application/json;charset=UTF-8"));
}

TEST_F(TransportWire, APostWithAnotherHeaderLineHasNoContentType)
{
    const WireRequest request = Sent("{}", true, true, "X-Station: 5");
    EXPECT_THAT(request.Header("X-Station"), ElementsAre("X-Station: 5"));
    EXPECT_THAT(request.Header("Content-Type"), IsEmpty());
}

TEST_F(TransportWire, AnEmptyPostSaysSo)
{
    const WireRequest request = Sent("", true, false, "");
    EXPECT_THAT(request.Header("Content-Length"), ElementsAre("Content-Length: 0"));
}

TEST_F(TransportWire, AHeaderLineIsRecognisedInAnyCase)
{
    const WireRequest request = Sent("{}", true, true, "content-type: application/json");
    EXPECT_THAT(request.Header("Content-Type"), ElementsAre("content-type: application/json"));
}

class TransportBody : public TransportWire, public testing::WithParamInterface<std::size_t>
{
};

TEST_P(TransportBody, ArrivesByteByByteTheSame)
{
    std::string strBody(GetParam(), '\0');
    for (std::size_t nByte = 0; nByte < strBody.size(); ++nByte) {
        strBody[nByte] = static_cast<char>(nByte % 251); // 0 included; a prime, so that shifts show
    }
    const WireRequest request = Sent(strBody, true, true, "Content-Type: application/json");
    EXPECT_TRUE(request.strBody == strBody);
    EXPECT_THAT(request.Header("Expect"), IsEmpty());
    EXPECT_THAT(request.Header("Content-Length"),
                ElementsAre("Content-Length: " + std::to_string(strBody.size())));
}

// 1 kB and 1 MB are where libcurl begins to ask the server before it sends.
INSTANTIATE_TEST_SUITE_P(Bytes, TransportBody, testing::Values(1, 256, 1025, 100'000, 1'048'577, 8'000'000),
                         testing::PrintToStringParamName());
