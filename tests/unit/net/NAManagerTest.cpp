#include "net/NAManager.h"

#include "Enough.h"
#include "ScriptedServer.h"
#include "Wine.h"

#include <QJsonObject>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

/// What one request to a scripted server led to.
struct Outcome {
    bool bGone = false; ///< the manager deleted itself
    QList<QList<QVariant>> lstAnswers;
};

Outcome Exchange(const QString& strUrl, const QByteArray& baBody, int nMethod)
{
    auto* const pManager = new NAManager(nullptr);
    const QPointer<NAManager> pWatched(pManager);
    const QSignalSpy spy(pManager, &NAManager::signal_reply_finished);
    pManager->SendRequest(strUrl, baBody, nMethod);
    const bool bGone = QTest::qWaitFor([&] { return pWatched.isNull(); }, ENOUGH_MS);
    return {bGone, spy};
}

struct ReplyCase {
    const char* szName;
    std::string strReply;
    int nAnswers;
    bool bSucc;
    QJsonObject object;
    ServerStep::Ending ending = ServerStep::Ending::KeepAlive;
};

class NAManagerReply : public ::testing::TestWithParam<ReplyCase>
{
};

TEST_P(NAManagerReply, IsAnsweredAtMostOnceAndTheManagerIsGone)
{
    const ScriptedServer server(ServerStep{GetParam().strReply, GetParam().ending});
    const Outcome outcome = Exchange(QString::fromStdString(server.Url("/x")), {}, NAManager::METHOD_GET);
    EXPECT_TRUE(outcome.bGone);
    ASSERT_EQ(outcome.lstAnswers.size(), GetParam().nAnswers);
    if (GetParam().nAnswers == 1) {
        EXPECT_EQ(outcome.lstAnswers.front().at(0).toBool(), GetParam().bSucc);
        EXPECT_EQ(outcome.lstAnswers.front().at(1).toJsonObject(), GetParam().object);
    }
}

const QJsonObject A1{{"a", 1}};

INSTANTIATE_TEST_SUITE_P(
    Bodies, NAManagerReply,
    ::testing::Values(
        ReplyCase{"Object", HttpReply(200, R"({"a":1})"), 1, true, A1},
        ReplyCase{"ArrayOfObjects", HttpReply(200, R"([{"a":1},{"b":2},3])"), 1, true, A1},
        ReplyCase{"EmptyArray", HttpReply(200, "[]"), 0, false, {}},
        ReplyCase{"ArrayOfNumbers", HttpReply(200, "[1,2]"), 0, false, {}},
        ReplyCase{"ArrayBeginningWithANumber", HttpReply(200, R"([1,{"a":1}])"), 0, false, {}},
        ReplyCase{"True", HttpReply(200, "true"), 1, false, {}},
        ReplyCase{"Number", HttpReply(200, "1"), 1, false, {}},
        ReplyCase{"Text", HttpReply(200, "\"x\""), 1, false, {}},
        ReplyCase{"Empty", HttpReply(200, ""), 1, false, {}},
        ReplyCase{"Garbage", HttpReply(200, "<html>"), 1, false, {}},
        ReplyCase{"EmptyObject", HttpReply(200, "{}"), 1, true, {}},
        ReplyCase{"NotFoundWithAnObject", HttpReply(404, R"({"a":1})"), 1, false, {}},
        ReplyCase{"ServerErrorWithAnObject", HttpReply(500, R"({"a":1})"), 1, false, {}},
        ReplyCase{"WrongContentType", HttpReply(200, R"({"a":1})", "Content-Type: image/png\r\n"), 1, true,
                  A1},
        ReplyCase{"Chunked",
                  "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\n{\"a\"\r\n3\r\n:1}\r\n0\r\n\r\n",
                  1, true, A1},
        ReplyCase{"NoReply",
                  "",
                  1,
                  false,
                  {},
                  RunsUnderWine() ? ServerStep::Ending::Close : ServerStep::Ending::Reset}),
    [](const auto& reply) { return reply.param.szName; });

TEST(NAManager, AGetCarriesNeitherBodyNorContentType)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "{}")});
    EXPECT_TRUE(
        Exchange(QString::fromStdString(server.Url("/p?t=1")), "ignored", NAManager::METHOD_GET).bGone);
    ASSERT_EQ(server.Requests().size(), 1U);
    EXPECT_EQ(server.Requests().front().Line(), "GET /p?t=1 HTTP/1.1");
    EXPECT_EQ(server.Requests().front().strBody, "");
    EXPECT_THAT(server.Requests().front().Header("Content-Type"), ::testing::IsEmpty());
}

TEST(NAManager, ARequestHasTheseLines)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "{}")});
    const QString strUrl = QString::fromStdString(server.Url("/p"));
    const std::string strHost = "Host: 127.0.0.1:" + std::to_string(server.Port()) + "\r\n";
    EXPECT_TRUE(Exchange(strUrl, {}, NAManager::METHOD_GET).bGone);
    EXPECT_TRUE(Exchange(strUrl, "{}", NAManager::METHOD_POST).bGone);
    const auto fnWithoutLanguage = [](std::string strHead) { // the user's language
        const std::size_t nBegin = strHead.find("Accept-Language:");
        return strHead.erase(nBegin, strHead.find('\n', nBegin) + 1 - nBegin);
    };
    ASSERT_EQ(server.Requests().size(), 2U);
    EXPECT_EQ(fnWithoutLanguage(server.Requests()[0].strHead),
              "GET /p HTTP/1.1\r\n" + strHost +
                  "Connection: Keep-Alive\r\nAccept-Encoding: gzip, deflate\r\n"
                  "User-Agent: Mozilla/5.0\r\n\r\n");
    EXPECT_EQ(fnWithoutLanguage(server.Requests()[1].strHead),
              "POST /p HTTP/1.1\r\n" + strHost +
                  "Content-Type: application/json\r\n"
                  "Connection: Keep-Alive\r\nAccept-Encoding: gzip, deflate\r\nContent-Length: 2\r\n"
                  "User-Agent: Mozilla/5.0\r\n\r\n");
}

struct TargetCase {
    const char* szName;
    const char* szHandedIn;
    const char* szTarget;
};

class NAManagerTarget : public ::testing::TestWithParam<TargetCase>
{
};

TEST_P(NAManagerTarget, HoldsBracketsAsEscapesOnly)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "{}")});
    const std::string strUrl = server.Url(GetParam().szHandedIn);
    EXPECT_TRUE(Exchange(QString::fromStdString(strUrl), {}, NAManager::METHOD_GET).bGone);
    ASSERT_EQ(server.Requests().size(), 1U);
    EXPECT_EQ(server.Requests().front().Target(), GetParam().szTarget);
}

INSTANTIATE_TEST_SUITE_P(
    Urls, NAManagerTarget,
    ::testing::Values(TargetCase{"InPathAndQuery", "/a[b]?c[d]#e[f]", "/a%5Bb%5D?c%5Bd%5D"},
                      TargetCase{"InAQueryWithoutPath", "?a[0]=1", "/?a%5B0%5D=1"},
                      TargetCase{"BesideAnEscape", "/[%20]?[%E7]", "/%5B%20%5D?%5B%E7%5D"},
                      TargetCase{"BesideAStrayPercent", "/x?[%", "/x?%5B%25"},
                      TargetCase{"EscapedAlready", "/%5B?%5D", "/%5B?%5D"},
                      TargetCase{"BesideAnEscapedSlash", "/a%2Fb[?c=1&d=e+f", "/a%2Fb%5B?c=1&d=e+f"},
                      TargetCase{"BesideDoubleSlashes", "/a//[b]", "/a//%5Bb%5D"},
                      TargetCase{"NoneAndAnEmptyQuery", "/x?", "/x?"}),
    [](const auto& url) { return url.param.szName; });

TEST(NAManager, AUrlWithAnUnclosedBracketInItsHostFails)
{
    const Outcome outcome = Exchange("http://[::1/x[", {}, NAManager::METHOD_GET);
    EXPECT_TRUE(outcome.bGone);
    ASSERT_EQ(outcome.lstAnswers.size(), 1);
    EXPECT_FALSE(outcome.lstAnswers.front().at(0).toBool());
}

TEST(NAManager, APostCarriesItsBodyAsJson)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "{}")});
    EXPECT_TRUE(Exchange(QString::fromStdString(server.Url("/p")), "[{a:1}]", NAManager::METHOD_POST).bGone);
    ASSERT_EQ(server.Requests().size(), 1U);
    EXPECT_EQ(server.Requests().front().Line(), "POST /p HTTP/1.1");
    EXPECT_EQ(server.Requests().front().strBody, "[{a:1}]");
    EXPECT_THAT(server.Requests().front().Header("Content-Type"),
                ::testing::ElementsAre("Content-Type: application/json"));
}

TEST(NAManager, AnyOtherMethodSendsNothing)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "{}")});
    NAManager manager(nullptr);
    const QSignalSpy spy(&manager, &NAManager::signal_reply_finished);
    manager.SendRequest(QString::fromStdString(server.Url("/unknown")), "body", 2);
    // When a later request has been sent and answered, nothing was in transit before it.
    EXPECT_TRUE(Exchange(QString::fromStdString(server.Url("/known")), {}, NAManager::METHOD_GET).bGone);
    ASSERT_EQ(server.Requests().size(), 1U);
    EXPECT_EQ(server.Requests().front().Target(), "/known");
    EXPECT_EQ(spy.count(), 0);
}

TEST(NAManager, ReportsOnlyProgressThatMakesSense)
{
    NAManager manager(nullptr);
    const QSignalSpy spy(&manager, &NAManager::signal_upload_progress);
    const struct {
        qint64 nSent;
        qint64 nTotal;
        bool bReported;
    } cases[] = {{0, 0, false}, {5, 4, false}, {-1, 4, false}, {0, -1, false}, {0, 1, true}, {4, 4, true}};
    for (const auto& progress : cases) {
        const int nBefore = spy.count();
        ASSERT_TRUE(QMetaObject::invokeMethod(&manager, "slot_upload_progress", Q_ARG(qint64, progress.nSent),
                                              Q_ARG(qint64, progress.nTotal)));
        EXPECT_EQ(spy.count() - nBefore, progress.bReported ? 1 : 0)
            << progress.nSent << " of " << progress.nTotal;
    }
}

TEST(NAManagerEnd, IsToldOnceBeforeTheAnswerAndWhereNoneComes)
{
    using Kind = ExchangeEnd::Kind;
    struct Row {
        std::string strReply;
        Kind eKind;
        int nHttpStatus;
        const char* szError;
        int nAnswers;
    };
    for (const Row& row : {Row{HttpReply(200, "{}"), Kind::Object, 200, "", 1},
                           Row{HttpReply(201, "[{}]"), Kind::Object, 201, "", 1},
                           Row{HttpReply(200, "[]"), Kind::NoObject, 200, "an array", 0},
                           Row{HttpReply(200, "<html>"), Kind::Unreadable, 200,
                               "the body is not JSON: illegal value at byte", 1},
                           Row{HttpReply(503, "{}"), Kind::NetworkError, 503, "server replied", 1}}) {
        const ScriptedServer server(ServerStep{row.strReply});
        auto* const pManager = new NAManager(nullptr);
        const QPointer<NAManager> pWatched(pManager);
        const QSignalSpy spy(pManager, &NAManager::signal_reply_finished);
        std::vector<ExchangeEnd> vecEnds;
        pManager->SetEndReceiver([&](const ExchangeEnd& end) {
            EXPECT_EQ(spy.count(), 0);
            EXPECT_TRUE(pWatched->HasEnded()) << "whoever is told may not delete it any more";
            vecEnds.push_back(end);
        });
        pManager->SendRequest(QString::fromStdString(server.Url("/x")), {}, NAManager::METHOD_GET);
        EXPECT_FALSE(pManager->HasEnded());
        ASSERT_TRUE(QTest::qWaitFor([&] { return pWatched.isNull(); }, ENOUGH_MS));
        ASSERT_EQ(vecEnds.size(), 1U) << row.strReply;
        EXPECT_EQ(vecEnds[0].eKind, row.eKind) << row.strReply;
        EXPECT_EQ(vecEnds[0].nHttpStatus, row.nHttpStatus);
        EXPECT_THAT(vecEnds[0].strError.toStdString(), ::testing::HasSubstr(row.szError));
        EXPECT_EQ(vecEnds[0].strError.isEmpty(), row.eKind == Kind::Object);
        EXPECT_EQ(spy.count(), row.nAnswers);
    }
}

} // namespace
