// The size limit of a reply's body, however it is transferred and packed.

#include "net/ReplyBody.h"
#include "net/NAManager.h"

#include "Enough.h"
#include "Packed.h"
#include "ScriptedServer.h"

#include <QJsonObject>
#include <QNetworkReply>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace
{

using ::testing::HasSubstr;
using Kind = ExchangeEnd::Kind;
using Ending = ServerStep::Ending;

constexpr std::size_t MOST = 1'000'000;

/// A JSON text of that many bytes.
std::string Json(std::size_t nBytes)
{
    const std::string strFrame = R"({"a":""})";
    return std::string(strFrame).insert(6, std::string(nBytes - strFrame.size(), 'x'));
}

/// The body in chunks of that many bytes, the last one shorter.
std::string Chunked(const std::string& strBody, std::size_t nChunk)
{
    std::string strChunks;
    for (std::size_t nAt = 0; nAt < strBody.size(); nAt += nChunk) {
        const std::string strPiece = strBody.substr(nAt, nChunk);
        std::array<char, 20> size{};
        std::snprintf(size.data(), size.size(), "%zx\r\n", strPiece.size());
        strChunks += size.data() + strPiece + "\r\n";
    }
    return strChunks + "0\r\n\r\n";
}

struct Packing {
    const char* szName;
    const char* szLine; ///< of the header
    std::string (*fnPack)(const std::string&);
};

const Packing PACKINGS[] = {
    {"Plain", "", [](const std::string& strText) { return strText; }},
    {"Identity", "Content-Encoding: identity\r\n", [](const std::string& strText) { return strText; }},
    {"Gzip", "Content-Encoding: gzip\r\n", &Gzipped},
    {"GzipInCapitals", "Content-Encoding: GZIP\r\n", &Gzipped},
    {"Deflate", "Content-Encoding: deflate\r\n", &Deflated},
    {"DeflateWithoutFrame", "Content-Encoding: deflate\r\n", &RawDeflated},
};

struct Framing {
    const char* szName;
    ServerStep (*fnStep)(const std::string& strBody, const std::string& strLine);
};

const Framing FRAMINGS[] = {
    {"WithItsLength",
     [](const std::string& strBody, const std::string& strLine) {
         return ServerStep{HttpReply(200, strBody, strLine)};
     }},
    {"InChunks",
     [](const std::string& strBody, const std::string& strLine) {
         return ServerStep{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n" + strLine + "\r\n" +
                           Chunked(strBody, 1'000)};
     }},
    {"InOneChunk",
     [](const std::string& strBody, const std::string& strLine) {
         return ServerStep{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n" + strLine + "\r\n" +
                           Chunked(strBody, strBody.size())};
     }},
    {"ToTheEndOfTheConnection",
     [](const std::string& strBody, const std::string& strLine) {
         return ServerStep{"HTTP/1.1 200 OK\r\n" + strLine + "\r\n" + strBody, Ending::Close};
     }},
};

class ReplyBody : public ::testing::Test
{
protected:
    ReplyBody() { qputenv("CHTTPCLIENT_MAX_REPLY_BYTES", QByteArray::number(quint64{MOST})); }

    static ExchangeEnd Exchange(const ServerStep& step)
    {
        const ScriptedServer server(step);
        auto* const pManager = new NAManager(nullptr);
        const QPointer<NAManager> pWatched(pManager);
        const QSignalSpy spy(pManager, &NAManager::signal_reply_finished);
        std::optional<ExchangeEnd> end;
        pManager->SetEndReceiver([&end](const ExchangeEnd& got) { end = got; });
        pManager->SendRequest(QString::fromStdString(server.Url("/x")), {}, NAManager::METHOD_GET);
        if (!QTest::qWaitFor([&] { return pWatched.isNull(); }, ENOUGH_MS)) {
            delete pWatched;
        }
        EXPECT_TRUE(end.has_value());
        EXPECT_EQ(spy.count(), 1);
        if (spy.count() == 1) {
            EXPECT_EQ(spy.front().at(0).toBool(), end.has_value() && end->eKind == Kind::Object);
        }
        return end.value_or(ExchangeEnd());
    }

    static void ExpectTooLarge(const ExchangeEnd& end)
    {
        EXPECT_EQ(end.eKind, Kind::NetworkError);
        EXPECT_EQ(end.nHttpStatus, 200);
        EXPECT_THAT(end.strError.toStdString(), HasSubstr("larger than"));
        EXPECT_THAT(end.strError.toStdString(), HasSubstr("1000000 bytes"));
        EXPECT_THAT(end.strError.toStdString(), HasSubstr("CHTTPCLIENT_MAX_REPLY_BYTES"));
    }
};

class ReplyBodyThat : public ReplyBody, public ::testing::WithParamInterface<std::tuple<Framing, Packing>>
{
protected:
    static ServerStep Step(std::size_t nBytes)
    {
        const auto& [framing, packing] = GetParam();
        return framing.fnStep(packing.fnPack(Json(nBytes)), packing.szLine);
    }
};

TEST_P(ReplyBodyThat, IsAtItsLimitIsReadAndOneByteMoreIsNot)
{
    const ExchangeEnd end = Exchange(Step(MOST));
    EXPECT_EQ(end.eKind, Kind::Object) << end.strError.toStdString();
    ExpectTooLarge(Exchange(Step(MOST + 1)));
}

INSTANTIATE_TEST_SUITE_P(Travels, ReplyBodyThat,
                         ::testing::Combine(::testing::ValuesIn(FRAMINGS), ::testing::ValuesIn(PACKINGS)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).szName) +
                                    std::get<1>(row.param).szName;
                         });

TEST_F(ReplyBody, WithoutEndIsCutOff)
{
    for (const char* const szHeader : {"\r\n", "Transfer-Encoding: chunked\r\n\r\n7fffffff\r\n",
                                       "Content-Length: 1000000000000\r\n\r\n"}) {
        ServerStep step{std::string("HTTP/1.1 200 OK\r\n") + szHeader, Ending::Close};
        step.strEndless = std::string(100'000, 'x');
        step.pause = std::chrono::milliseconds(10);
        ExpectTooLarge(Exchange(step));
    }
}

TEST_F(ReplyBody, LargerThanWhatQtHoldsAtOnceComesWhole)
{
    qputenv("CHTTPCLIENT_MAX_REPLY_BYTES", "12000000");
    std::string strText = Json(12'000'000);
    for (std::size_t nAt = 6; nAt < strText.size() - 10; nAt += 101) {
        strText[nAt] = static_cast<char>('a' + nAt % 26);
    }
    for (const Framing& framing : FRAMINGS) {
        const ExchangeEnd end = Exchange(framing.fnStep(strText, ""));
        EXPECT_EQ(end.eKind, Kind::Object) << framing.szName << ": " << end.strError.toStdString();
    }
}

TEST_F(ReplyBody, ThatUnpacksToNothingIsCutOff)
{
    std::string strEmptyBlocks;
    while (strEmptyBlocks.size() < 3 * MOST) {
        strEmptyBlocks.append("\0\0\0\xFF\xFF", 5);
    }
    ExpectTooLarge(Exchange({HttpReply(200, strEmptyBlocks, "Content-Encoding: deflate\r\n")}));
}

TEST_F(ReplyBody, ThatIsNotPackedAsItsLabelSaysIsAFailure)
{
    const std::string strDamaged = "\x78\x9C\xFF"; // a frame, and a block of a type that does not exist
    for (const auto& [szCoding, strBody] :
         {std::pair<const char*, std::string>{"gzip", R"({"a":1})"}, {"deflate", strDamaged}}) {
        const ExchangeEnd end =
            Exchange({HttpReply(200, strBody, std::string("Content-Encoding: ") + szCoding + "\r\n")});
        EXPECT_EQ(end.eKind, Kind::NetworkError) << szCoding;
        EXPECT_EQ(end.nHttpStatus, 200);
        EXPECT_THAT(end.strError.toStdString(),
                    HasSubstr(std::string("labelled ") + szCoding + ", but can't be unpacked"));
    }
}

TEST_F(ReplyBody, ThatHasNoObjectIsShownByItsFirst400Bytes)
{
    qputenv("KTSHTTPAGENT_MAX_REPLY_VALUES", "3");
    const std::string strNoJson(1000, 'x');
    for (const std::string& strBody : {strNoJson, "[1, 2, 3, \"" + strNoJson + "\"]"}) {
        const ExchangeEnd end = Exchange({HttpReply(200, strBody)});
        EXPECT_NE(end.eKind, Kind::Object);
        EXPECT_EQ(end.baBeginning.toStdString(), strBody.substr(0, 400));
    }
}

TEST_F(ReplyBody, IsReadWhereBytesFollowItsEnd)
{
    const ExchangeEnd end = Exchange({HttpReply(200, Gzipped("{}") + "after", "Content-Encoding: gzip\r\n")});
    EXPECT_EQ(end.eKind, Kind::Object) << end.strError.toStdString();
}

TEST_F(ReplyBody, InACodingThatNobodyAskedForIsReadAsItIs)
{
    const ExchangeEnd end = Exchange({HttpReply(200, "{}", "Content-Encoding: utf-8\r\n")});
    EXPECT_EQ(end.eKind, Kind::Object) << end.strError.toStdString();
}

TEST_F(ReplyBody, IsAskedForInTheCodingsThatCanBeUnpacked)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "{}")});
    auto* const pManager = new NAManager(nullptr);
    const QPointer<NAManager> pWatched(pManager);
    pManager->SendRequest(QString::fromStdString(server.Url("/x")), "{}", NAManager::METHOD_POST);
    ASSERT_TRUE(QTest::qWaitFor([&] { return pWatched.isNull(); }, ENOUGH_MS));
    EXPECT_THAT(server.Requests().at(0).Header("Accept-Encoding"),
                ::testing::ElementsAre("Accept-Encoding: gzip, deflate"));
}

/// A reply whose bytes come from the test.
class PieceReply : public QNetworkReply
{
public:
    explicit PieceReply(const char* szCoding = "identity")
    {
        setRawHeader("Content-Encoding", szCoding);
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    void Put(const std::string& strPiece) { m_baHeld += QByteArray::fromStdString(strPiece); }
    void LackMemory() { m_bLacksMemory = true; }
    int Aborts() const { return m_nAborts; }

    void abort() override { ++m_nAborts; }
    qint64 bytesAvailable() const override { return m_baHeld.size(); }

protected:
    qint64 readData(char* pData, qint64 nMost) override
    {
        if (m_bLacksMemory) {
            throw std::bad_alloc();
        }
        const qint64 nTaken = std::min(nMost, qint64{m_baHeld.size()});
        std::memcpy(pData, m_baHeld.constData(), static_cast<std::size_t>(nTaken));
        m_baHeld.remove(0, static_cast<int>(nTaken));
        return nTaken;
    }

private:
    QByteArray m_baHeld;
    bool m_bLacksMemory = false;
    int m_nAborts = 0;
};

TEST(ReplyBodyThatFailed, TakesNothingMore)
{
    PieceReply reply;
    ::ReplyBody body(reply, 3);
    reply.Put("1234");
    body.Receive();
    EXPECT_THAT(body.Error().toStdString(), HasSubstr("larger than 3 bytes"));
    EXPECT_EQ(reply.Aborts(), 1);
    reply.Put("5");
    body.Receive();
    EXPECT_EQ(reply.bytesAvailable(), 1);
    EXPECT_EQ(reply.Aborts(), 1);
    EXPECT_TRUE(body.TakeBytes().isEmpty());
}

TEST(ReplyBodyThatFailed, EndsTheExchangeWhetherItsUnpackedSizeOrItsPackingIsWrong)
{
    for (const std::string& strBody : {Gzipped("1234"), std::string("no gzip")}) {
        PieceReply reply("gzip");
        ::ReplyBody body(reply, 3);
        reply.Put(strBody);
        body.Receive();
        EXPECT_FALSE(body.Error().isEmpty());
        EXPECT_EQ(reply.Aborts(), 1);
    }
}

TEST(ReplyBodyThatFailed, ForLackOfMemoryHoldsNothing)
{
    PieceReply reply;
    ::ReplyBody body(reply, 3);
    reply.Put("12");
    body.Receive();
    reply.Put("3");
    reply.LackMemory();
    body.Receive();
    body.Receive();
    EXPECT_TRUE(body.LacksMemory());
    EXPECT_EQ(reply.Aborts(), 1);
    EXPECT_TRUE(body.TakeBytes().isEmpty());
}

} // namespace
