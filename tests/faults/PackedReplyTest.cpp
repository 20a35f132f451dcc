// Replies with compressed bodies, right and wrong.

#include "EachConnection.h"
#include "Packed.h"
#include "ServerSteps.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <ostream>

using namespace std::string_literals;
using Ending = ServerStep::Ending;

namespace
{

constexpr long MAX_UNPACKED = 4000;

const std::string& Text()
{
    static const std::string TEXT = R"({"code": 0, "result": [{"id": 1, "name": "first"}, {"id": 2}]})";
    return TEXT;
}

std::string Without(std::string strBytes, std::size_t nAtEnd)
{
    strBytes.resize(strBytes.size() - nAtEnd);
    return strBytes;
}

/// The bytes with one bit changed in the byte at that distance from the end.
std::string Damaged(std::string strBytes, std::size_t nFromEnd)
{
    char& c = strBytes.at(strBytes.size() - nFromEnd);
    c = static_cast<char>(c ^ 1);
    return strBytes;
}

std::string Chunk(const std::string& strBytes)
{
    char szSize[20];
    std::snprintf(szSize, sizeof szSize, "%zx\r\n", strBytes.size());
    return szSize + strBytes + "\r\n";
}

std::string Chunks(const std::string& strBody)
{
    const std::size_t nHalf = strBody.size() / 2;
    return strBody.size() < 2 ? (strBody.empty() ? "" : Chunk(strBody)) + "0\r\n\r\n"
                              : Chunk(strBody.substr(0, nHalf)) + Chunk(strBody.substr(nHalf)) + "0\r\n\r\n";
}

/// The ways in which a server can tell where a body ends.
std::vector<ServerStep> EachFraming(const std::string& strHeaderLines, const std::string& strBody)
{
    const std::string strHead = "HTTP/1.1 200 OK\r\n" + strHeaderLines;
    return {Step(HttpReply(200, strBody, strHeaderLines)),
            Step(strHead + "Transfer-Encoding: chunked\r\n\r\n" + Chunks(strBody)),
            Step(strHead + "\r\n" + strBody, Ending::Close)};
}

} // namespace

/// Each reply is sent twice, the second time on a connection that has served in between, and must not affect
/// what follows.
class TransportUnpacking : public TransportInTurn
{
protected:
    void ExpectFromEach(const std::vector<ServerStep>& vecReplies, int nHttpError,
                        const std::string& strUnpacked)
    {
        Start();
        std::atomic<std::size_t> nReply{0};
        const ScriptedServer server(
            [&](const WireRequest& request) { return WellBut(vecReplies.at(nReply))(request); });
        for (; nReply < vecReplies.size(); ++nReply) {
            SCOPED_TRACE("reply " + std::to_string(nReply));
            ExpectOutcome(Exchange(server.Url("/packed")), nHttpError, strUnpacked);
            const std::size_t nServed = ServeWell(server);
            const std::string strTarget = "/packed/again" + std::to_string(nReply);
            ExpectOutcome(Exchange(server.Url(strTarget), true), nHttpError, strUnpacked);
            EXPECT_THAT(ConnectionsOf(server, strTarget), testing::ElementsAre(nServed));
            ServeWell(server);
        }
        ExpectNoMoreReplies();
    }

private:
    static void ExpectOutcome(const ReceivedReply& reply, int nHttpError, const std::string& strUnpacked)
    {
        EXPECT_EQ(reply.nHttpError, nHttpError);
        EXPECT_EQ(reply.strBody, strUnpacked);
    }
};

/// A body and its label, and what the callback must get.
struct Packed {
    const char* szName;
    std::string strHeaderLines;
    std::string strBody;
    int nHttpError;
    std::string strUnpacked;

    friend void PrintTo(const Packed& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportPackedReply : public TransportUnpacking, public testing::WithParamInterface<Packed>
{
};

TEST_P(TransportPackedReply, IsUnpackedWholeOrIsAFailure)
{
    Set("CHTTPCLIENT_MAX_REPLY_BYTES", MAX_UNPACKED);
    ExpectFromEach(EachFraming(GetParam().strHeaderLines, GetParam().strBody), GetParam().nHttpError,
                   GetParam().strUnpacked);
}

constexpr const char* GZIP = "Content-Encoding: gzip\r\n";
constexpr const char* DEFLATE = "Content-Encoding: deflate\r\n";

INSTANTIATE_TEST_SUITE_P(
    Gzip, TransportPackedReply,
    testing::Values(Packed{"Whole", GZIP, Gzipped(Text()), 0, Text()},
                    Packed{"OfAnEmptyText", GZIP, Gzipped(""), 0, ""}, Packed{"OfNoBytes", GZIP, "", 0, ""},
                    Packed{"AsLargeAsMayBe", GZIP, Gzipped(std::string(MAX_UNPACKED, 'x')), 0,
                           std::string(MAX_UNPACKED, 'x')},
                    Packed{"TooLarge", GZIP, Gzipped(std::string(MAX_UNPACKED + 1, 'x')), -63, ""},
                    Packed{"CutInTheMiddle", GZIP, Without(Gzipped(Text()), 30), -61, ""},
                    Packed{"WithoutChecksumAndLength", GZIP, Without(Gzipped(Text()), 8), -61, ""},
                    Packed{"WithoutLength", GZIP, Without(Gzipped(Text()), 4), -61, ""},
                    Packed{"WithoutTheLastByte", GZIP, Without(Gzipped(Text()), 1), -61, ""},
                    Packed{"CutInItsFrame", GZIP, Gzipped(Text()).substr(0, 5), -61, ""},
                    Packed{"OfOneByte", GZIP, Gzipped(Text()).substr(0, 1), -61, ""},
                    Packed{"WithAnotherChecksum", GZIP, Damaged(Gzipped(Text()), 8), -61, ""},
                    Packed{"WithAnotherLength", GZIP, Damaged(Gzipped(Text()), 4), -61, ""},
                    Packed{"InTwoMembers", GZIP, Gzipped(Text()) + Gzipped(" "), 0, Text() + " "},
                    Packed{"WithASecondMemberCut", GZIP, Gzipped(Text()) + Without(Gzipped(" "), 1), -61, ""},
                    Packed{"WithAAfterIt", GZIP, Gzipped(Text()) + "A", -61, ""},
                    Packed{"WithZerosAfterIt", GZIP, Gzipped(Text()) + "\0\0\0\0"s, -61, ""},
                    Packed{"WithTextAfterIt", GZIP, Gzipped(Text()) + "and more", -61, ""},
                    Packed{"OfEmptyMembersOverAndOver", GZIP, Repeated(Gzipped(""), 1000), -63, ""},
                    Packed{"ThatIsPlainText", GZIP, Text(), -61, ""}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Deflate, TransportPackedReply,
    testing::Values(Packed{"Whole", DEFLATE, Deflated(Text()), 0, Text()},
                    Packed{"OfAnEmptyText", DEFLATE, Deflated(""), 0, ""},
                    Packed{"OfNoBytes", DEFLATE, "", 0, ""},
                    Packed{"CutInTheMiddle", DEFLATE, Without(Deflated(Text()), 30), -61, ""},
                    Packed{"WithoutChecksum", DEFLATE, Without(Deflated(Text()), 4), -61, ""},
                    Packed{"WithAnotherChecksum", DEFLATE, Damaged(Deflated(Text()), 1), -61, ""},
                    Packed{"OfOneByte", DEFLATE, Deflated(Text()).substr(0, 1), -61, ""},
                    Packed{"WithTextAfterIt", DEFLATE, Deflated(Text()) + "and more", -61, ""},
                    Packed{"TwiceInARow", DEFLATE, Deflated(Text()) + Deflated(" "), -61, ""},
                    Packed{"WithoutFrame", DEFLATE, RawDeflated(Text()), 0, Text()},
                    Packed{"WithoutFrameOfAnEmptyText", DEFLATE, RawDeflated(""), 0, ""},
                    Packed{"WithoutFrameCut", DEFLATE, Without(RawDeflated(Text()), 1), -61, ""},
                    Packed{"WithoutFrameWithTextAfterIt", DEFLATE, RawDeflated(Text()) + "and more", -61, ""},
                    Packed{"ThatIsPlainText", DEFLATE, Text(), -61, ""}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(
    Labels, TransportPackedReply,
    testing::Values(Packed{"Identity", "Content-Encoding: identity\r\n", Text(), 0, Text()},
                    Packed{"None", "Content-Encoding: none\r\n", Text(), 0, Text()},
                    Packed{"Empty", "Content-Encoding:\r\n", Text(), 0, Text()},
                    Packed{"InCapitals", "CONTENT-ENCODING: GZIP\r\n", Gzipped(Text()), 0, Text()},
                    Packed{"OfOldServers", "Content-Encoding: x-gzip\r\n", Gzipped(Text()), 0, Text()},
                    Packed{"OfTwoCodings", "Content-Encoding: gzip, deflate\r\n", Deflated(Gzipped(Text())),
                           0, Text()},
                    Packed{"OfTwoCodingsAmongBlanks", "Content-Encoding: gzip \t , \t deflate\r\n",
                           Deflated(Gzipped(Text())), 0, Text()},
                    Packed{"OfTwoCodingsInnerCut", "Content-Encoding: gzip, deflate\r\n",
                           Deflated(Without(Gzipped(Text()), 1)), -61, ""},
                    Packed{"OfTwoCodingsOuterCut", "Content-Encoding: gzip, deflate\r\n",
                           Without(Deflated(Gzipped(Text())), 1), -61, ""},
                    Packed{"OfTwoLines", "Content-Encoding: gzip\r\nContent-Encoding: deflate\r\n",
                           Deflated(Gzipped(Text())), 0, Text()},
                    Packed{"OfAFoldedLine", "X-Other: 1\r\nContent-Encoding: gzip,\r\n deflate\r\n",
                           Deflated(Gzipped(Text())), 0, Text()},
                    Packed{"OfTooManyCodings", "Content-Encoding: gzip, gzip, gzip, gzip, gzip, gzip\r\n",
                           Gzipped(Gzipped(Gzipped(Gzipped(Gzipped(Gzipped(Text())))))), -61, ""},
                    Packed{"OfTooManyLines", Repeated("Content-Encoding:\r\n", 13'000), Text(), -61, ""},
                    Packed{"OfACodingNotAskedFor", "Content-Encoding: br\r\n", "whatever", -61, ""},
                    Packed{"OfAnUnknownCoding", "Content-Encoding: utf-8\r\n", Text(), -61, ""}),
    testing::PrintToStringParamName());

/// Complete replies with a special label.
struct Labelled {
    const char* szName;
    std::string strReply;
    int nHttpError;
    std::string strUnpacked;

    friend void PrintTo(const Labelled& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportLabelledReply : public TransportUnpacking, public testing::WithParamInterface<Labelled>
{
};

TEST_P(TransportLabelledReply, IsUnpackedAsItsLabelSays)
{
    ExpectFromEach({Step(GetParam().strReply), Step(GetParam().strReply, Ending::Close)},
                   GetParam().nHttpError, GetParam().strUnpacked);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, TransportLabelledReply,
    testing::Values(
        Labelled{"NoContent", "HTTP/1.1 204 No Content\r\nContent-Encoding: gzip\r\n\r\n", 0, ""},
        Labelled{"NotModified", "HTTP/1.1 304 Not Modified\r\nContent-Encoding: gzip\r\n\r\n", 304, ""},
        Labelled{"ErrorStatus", HttpReply(500, Gzipped(Text()), GZIP), 500, Text()},
        Labelled{"ErrorStatusCut", HttpReply(500, Without(Gzipped(Text()), 1), GZIP), -61, ""},
        Labelled{"LabelOfAnInterimReply",
                 "HTTP/1.1 103 Early Hints\r\nContent-Encoding: gzip\r\n\r\n" + HttpReply(200, Text()), 0,
                 Text()},
        Labelled{"LabelInTheTrailer",
                 "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + Chunk(Text()) +
                     "0\r\nContent-Encoding: gzip\r\n\r\n",
                 0, Text()},
        Labelled{"PackedForTheTransfer",
                 "HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n" + Chunks(Gzipped(Text())), 0,
                 Text()},
        Labelled{"PackedForTheTransferAndCut",
                 "HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n" +
                     Chunks(Without(Gzipped(Text()), 1)),
                 -61, ""},
        Labelled{"PackedTwiceInBothWays",
                 "HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\nContent-Encoding: deflate\r\n\r\n" +
                     Chunks(Gzipped(Deflated(Text()))),
                 0, Text()}),
    testing::PrintToStringParamName());
