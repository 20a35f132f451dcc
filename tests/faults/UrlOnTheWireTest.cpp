#include "TransportTest.h"

#include <gmock/gmock.h>

#include <ostream>

/// What follows host and port in the URL that is handed in, and what the server gets.
struct UrlOnTheWire {
    const char* szName;
    std::string strHandedIn;
    std::string strTarget;

    friend void PrintTo(const UrlOnTheWire& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportUrl : public TransportTest, public testing::WithParamInterface<UrlOnTheWire>
{
};

TEST_P(TransportUrl, IsValidOnTheWire)
{
    Start();
    ServerStep step;
    step.strReply = HttpReply(200, "");
    const ScriptedServer server(step);
    Get(server.Url(GetParam().strHandedIn));
    for (const ReceivedReply& reply : RepliesAfterShutdown(1)) {
        EXPECT_EQ(reply.nHttpError, 0);
    }
    ASSERT_THAT(server.Requests(), testing::SizeIs(1));
    EXPECT_EQ(server.Requests().at(0).Line(), "GET " + GetParam().strTarget + " HTTP/1.1");
}

INSTANTIATE_TEST_SUITE_P(
    Encoded, TransportUrl,
    testing::Values(UrlOnTheWire{"Space", "/x?box=A 1", "/x?box=A%201"},
                    UrlOnTheWire{"DoubleQuotes", "/x?t=\"1\"", "/x?t=%221%22"},
                    UrlOnTheWire{"AngleBrackets", "/x?t=<1>", "/x?t=%3C1%3E"},
                    UrlOnTheWire{"Backslash", "/x?p=C:\\log", "/x?p=C:%5Clog"},
                    UrlOnTheWire{"CaretBacktickBracesBar", "/x?t=^`{|}", "/x?t=%5E%60%7B%7C%7D"},
                    UrlOnTheWire{"Brackets", "/a[b]?c[d]", "/a%5Bb%5D?c%5Bd%5D"},
                    UrlOnTheWire{"LineEnds", "/x?t=1\r\nX-Evil: 1\r\n\r\n",
                                 "/x?t=1%0D%0AX-Evil:%201%0D%0A%0D%0A"},
                    UrlOnTheWire{"LineEndsInThePath", "/x HTTP/1.1\r\nHost: evil\r\n\r\n",
                                 "/x%20HTTP/1.1%0D%0AHost:%20evil%0D%0A%0D%0A"},
                    UrlOnTheWire{"OtherControlBytes", "/x?t=\x01\t\x1f\x7f", "/x?t=%01%09%1F%7F"},
                    UrlOnTheWire{"NulByte", std::string("/x?t=a\0b", 8), "/x?t=a%00b"},
                    UrlOnTheWire{"Chinese", "/x?name=\xe7\x94\xb5\xe6\xb1\xa0", "/x?name=%E7%94%B5%E6%B1%A0"},
                    UrlOnTheWire{"BytesThatAreNoText", "/x?t=\xff\x80", "/x?t=%FF%80"},
                    UrlOnTheWire{"StrayPercent", "/x?t=100%", "/x?t=100%25"},
                    UrlOnTheWire{"PercentBeforeOneDigit", "/x?t=%4", "/x?t=%254"},
                    UrlOnTheWire{"PercentBeforeNoDigits", "/x?t=%zz%4g", "/x?t=%25zz%254g"},
                    UrlOnTheWire{"PercentBeforeAnEscape", "/x?t=%%41", "/x?t=%25%41"}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(LeftAlone, TransportUrl,
                         testing::Values(UrlOnTheWire{"Escapes", "/x?t=%41%E4%e4%00", "/x?t=%41%E4%e4%00"},
                                         UrlOnTheWire{"ReservedCharacters", "/x?a=1&b=2+3/?:@=;,!$'()*",
                                                      "/x?a=1&b=2+3/?:@=;,!$'()*"},
                                         UrlOnTheWire{"UnreservedCharacters", "/x?t=azAZ09-._~",
                                                      "/x?t=azAZ09-._~"},
                                         UrlOnTheWire{"EmptyQuery", "/x?", "/x?"},
                                         UrlOnTheWire{"PathWithDots", "/a/../b/./c", "/a/../b/./c"},
                                         UrlOnTheWire{"DoubleSlashes", "//a//b", "//a//b"}),
                         testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Completed, TransportUrl,
                         testing::Values(UrlOnTheWire{"NoPath", "", "/"},
                                         UrlOnTheWire{"QueryWithoutPath", "?t=1", "/?t=1"},
                                         UrlOnTheWire{"FragmentIsNotSent", "/x?t=1#part", "/x?t=1"}),
                         testing::PrintToStringParamName());

TEST_F(TransportTest, AVeryLongUrlArrivesWhole)
{
    Start();
    ServerStep step;
    step.strReply = HttpReply(200, "");
    const ScriptedServer server(step);
    const std::string strTarget = "/x?list=" + std::string(1'000'000, 'x');
    Get(server.Url(strTarget));
    RepliesAfterShutdown(1);
    ASSERT_THAT(server.Requests(), testing::SizeIs(1));
    EXPECT_TRUE(server.Requests().at(0).Target() == strTarget);
}
