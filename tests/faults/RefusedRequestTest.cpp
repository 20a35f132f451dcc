// Requests that are refused before they are sent.

#include "EachConnection.h"

#include <ostream>

using namespace std::string_literals;

/// A URL that leads nowhere, and the error that its callback gets.
struct UselessUrl {
    const char* szUrl;
    int nHttpError;

    friend void PrintTo(const UselessUrl& row, std::ostream* pOut) { *pOut << '"' << row.szUrl << '"'; }
};

/// Requests that fail before they are sent, as the very first or between good ones.
template <class Row>
class TransportRefusal : public TransportOnEachConnection<Row>
{
protected:
    /// @param fnRefused  makes one such request to the server, and expects its refusal
    template <class Refused>
    void ExpectThatNothingIsSent(Refused fnRefused)
    {
        this->Start();
        const ScriptedServer server(Ok());
        for (int nRound = 0; nRound < this->Rounds(); ++nRound) {
            const std::size_t nConnection = this->HasServed() ? this->ServeWell(server) : 0;
            const std::size_t nRequests = server.Requests().size();
            fnRefused(server);
            EXPECT_EQ(server.Requests().size(), nRequests);
            EXPECT_EQ(server.Accepted(), nConnection);
        }
        if (this->HasServed()) {
            EXPECT_EQ(this->ServeWell(server), 1U) << "the connection should have been kept";
        }
        this->ExpectNoMoreReplies();
    }
};

class TransportUselessUrl : public TransportRefusal<UselessUrl>
{
};

TEST_P(TransportUselessUrl, IsReportedOnce)
{
    ExpectThatNothingIsSent([this](const ScriptedServer&) {
        const ReceivedReply reply = Exchange(TheRow().szUrl);
        EXPECT_EQ(reply.nHttpError, TheRow().nHttpError);
        EXPECT_EQ(reply.strBody, "");
    });
}

INSTANTIATE_TEST_SUITE_P(Urls, TransportUselessUrl,
                         OnEachConnection(testing::Values(
                             UselessUrl{"", -3}, UselessUrl{"vomd/system/x", -3},
                             UselessUrl{"vomd/x?t=a://b", -3}, UselessUrl{"http://", -3},
                             UselessUrl{"http:///vomd/x", -3}, UselessUrl{"HTTPS:///vomd/x", -3},
                             UselessUrl{"http://?t=a://b", -3}, UselessUrl{"http://:80/", -3},
                             UselessUrl{"http://a b/", -3}, UselessUrl{"http://127.0.0.1:99999/", -3},
                             UselessUrl{"http://127.0.0.1:-1/", -3}, UselessUrl{"ftp://127.0.0.1/x", -1},
                             UselessUrl{"file:///etc/hostname", -1}, UselessUrl{"zz:///x", -1})));

/// Texts around the server's address that leave the URL without a scheme. libcurl alone would guess one.
struct SchemelessUrl {
    std::string strBefore;
    std::string strAfter;

    friend void PrintTo(const SchemelessUrl& row, std::ostream* pOut)
    {
        *pOut << '"' << row.strBefore << "HOST:PORT" << row.strAfter << '"';
    }
};

class TransportUrlWithoutScheme : public TransportRefusal<SchemelessUrl>
{
};

TEST_P(TransportUrlWithoutScheme, IsRefusedAndNothingIsSent)
{
    ExpectThatNothingIsSent([this](const ScriptedServer& server) {
        const std::string strServer = "127.0.0.1:" + std::to_string(server.Port());
        const ReceivedReply reply = Exchange(TheRow().strBefore + strServer + TheRow().strAfter);
        EXPECT_EQ(reply.nHttpError, -3);
    });
}

INSTANTIATE_TEST_SUITE_P(
    Urls, TransportUrlWithoutScheme,
    OnEachConnection(testing::Values(SchemelessUrl{"", "/vomd/x"}, SchemelessUrl{"", "/vomd/x?t=a://b"},
                                     SchemelessUrl{"", "?t=a://b"}, SchemelessUrl{"", "#a://b"},
                                     SchemelessUrl{"//", "/x?t=a://b"}, SchemelessUrl{"://", "/"},
                                     SchemelessUrl{" http://", "/"}, SchemelessUrl{"\x01http://", "/"},
                                     SchemelessUrl{"http:", "/x?t=a://b"},
                                     SchemelessUrl{"http:/", "/x?t=a://b"}, SchemelessUrl{"http:///", "/"})));

/// A text that is not a header line, and one that looks like a header line but is malformed.
struct HeaderLine {
    std::string strLine;

    friend void PrintTo(const HeaderLine& row, std::ostream* pOut)
    {
        *pOut << testing::PrintToString(row.strLine);
    }
};

class TransportHeaderLine : public TransportRefusal<HeaderLine>
{
};

TEST_P(TransportHeaderLine, ThatIsNoneIsRefusedAndNothingIsSent)
{
    ExpectThatNothingIsSent([this](const ScriptedServer& server) {
        const ReceivedReply reply = Exchange(server.Url("/"), true, "{}", TheRow().strLine);
        EXPECT_EQ(reply.nHttpError, -43);
        EXPECT_EQ(reply.strBody, "");
    });
}

INSTANTIATE_TEST_SUITE_P(Lines, TransportHeaderLine,
                         OnEachConnection(testing::Values(
                             HeaderLine{"Content-Type: application/json\r\nX-Evil: 1"},
                             HeaderLine{"Content-Type: application/json\nX-Evil: 1"},
                             HeaderLine{"Content-Type: application/json\rX-Evil: 1"},
                             HeaderLine{"Content-Type: application/json\r\n"},
                             HeaderLine{"Content-Type application/json"}, HeaderLine{": application/json"},
                             HeaderLine{"X-Station: 5\x7F"}, HeaderLine{"\x7FX-Station: 5"},
                             HeaderLine{"X-Station: \x1F"
                                        "5"},
                             HeaderLine{"X-Station: \x01"
                                        "5"},
                             HeaderLine{"X-Station: 5\0"s})));
