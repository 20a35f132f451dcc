// Every reply of curl's own test suite, sent to the blocking interface's requests.

#include "net/NAManager.h"

#include "CurlTestData.h"
#include "ScriptedServer.h"

#include <QJsonObject>
#include <QPointer>
#include <QTest>

#include <gtest/gtest.h>

#include <iostream>
#include <list>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

constexpr int ENOUGH_MS = 60'000;
constexpr std::size_t AT_ONCE = 64;
constexpr int GET = NAManager::METHOD_GET;
constexpr int POST = NAManager::METHOD_POST;

// Qt 5.15 never ends a request whose reply breaks off within certain chunks; the time-out of a blocking
// sender ends it.
constexpr std::size_t NEVER_ENDED = 10;

/// One request and how often it was answered.
class Request
{
public:
    Request(const std::string& strUrl, int nMethod) : m_pManager(new NAManager(nullptr))
    {
        QObject::connect(m_pManager, &NAManager::signal_reply_finished, m_pManager,
                         [this](bool bSucc, const QJsonObject& /*object*/) {
                             ++m_nAnswers;
                             m_bSucc = bSucc;
                         });
        m_pManager->SendRequest(QString::fromStdString(strUrl), "{}", nMethod);
    }
    ~Request() { delete m_pManager.data(); }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    bool IsOver() const { return m_pManager.isNull(); }
    int Answers() const { return m_nAnswers; }
    bool Succeeded() const { return m_bSucc; }

private:
    QPointer<NAManager> m_pManager;
    int m_nAnswers = 0;
    bool m_bSucc = false;
};

class NAManagerCurlTestData : public ::testing::TestWithParam<CurlTestVariant>
{
protected:
    ServerStep Answer(const WireRequest& request) const
    {
        ServerStep step = Ok();
        if (const std::string strTarget = request.Target(); strTarget.substr(0, 7) == "/reply/") {
            step.strReply = GetParam().fnApply(m_vecReplies.at(std::stoul(strTarget.substr(7))).strBytes);
        }
        step.ending = ServerStep::Ending::Close;
        return step;
    }

    const std::vector<CurlTestReply> m_vecReplies = CurlTestReplies();
};

TEST_P(NAManagerCurlTestData, IsAnsweredAtMostOnceAndHarmsNoOther)
{
    ASSERT_GT(m_vecReplies.size(), 1000U);
    ScriptedServer server([this](const WireRequest& request) { return Answer(request); });
    server.KeepNoRequests();
    std::size_t nNext = 0;
    std::list<std::pair<std::size_t, Request>> lstRequests; // by the reply that each gets
    const auto endAndBegin = [&] {
        lstRequests.remove_if([&](const auto& request) {
            EXPECT_LE(request.second.Answers(), 1) << m_vecReplies.at(request.first).strName;
            return request.second.IsOver();
        });
        for (; nNext < m_vecReplies.size() && lstRequests.size() < AT_ONCE; ++nNext) {
            const std::string strUrl = server.Url("/reply/" + std::to_string(nNext));
            lstRequests.emplace_back(std::piecewise_construct, std::forward_as_tuple(nNext),
                                     std::forward_as_tuple(strUrl, nNext % 2 == 0 ? GET : POST));
        }
        return nNext == m_vecReplies.size() && lstRequests.size() <= NEVER_ENDED;
    };
    EXPECT_TRUE(QTest::qWaitFor(endAndBegin, ENOUGH_MS)) << lstRequests.size() << " have not ended";
    const Request good(server.Url("/good"), GET);
    EXPECT_TRUE(QTest::qWaitFor([&] { return good.IsOver(); }, ENOUGH_MS));
    EXPECT_EQ(good.Answers(), 1);
    EXPECT_TRUE(good.Succeeded());
    std::cout << nNext << " replies\n";
}

INSTANTIATE_TEST_SUITE_P(Each, NAManagerCurlTestData, ::testing::ValuesIn(CurlTestVariants()),
                         ::testing::PrintToStringParamName());

} // namespace
