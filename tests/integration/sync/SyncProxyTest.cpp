// Which proxies a blocking call takes from the environment. Qt decides that; these tests check what
// docs/threads-and-waiting.md says about it.

#include "SyncInterface.h"

#include <ostream>

namespace
{

/// This machine, at an address that Qt does not recognise as local.
const QString ELSEWHERE = "0.0.0.0";

/// An environment, and whether a call uses the proxy.
struct SyncProxyCase {
    const char* szName;
    const char* szVariable;
    const char* szExempt; ///< value of no_proxy, null for none
    bool bAsked;

    friend void PrintTo(const SyncProxyCase& row, std::ostream* pOut) { *pOut << row.szName; }
};

class SyncProxy : public SyncInterface, public ::testing::WithParamInterface<SyncProxyCase>
{
protected:
    SyncProxy()
    {
        for (const char* szName : {"http_proxy", "https_proxy", "all_proxy", "no_proxy", "HTTP_PROXY",
                                   "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"}) {
            qunsetenv(szName);
        }
    }

    const ServerStep m_yes{HttpReply(200, R"({"success":true,"common":true})")};
    const ScriptedServer m_proxy{m_yes};
    const ScriptedServer m_server{m_yes};
};

TEST_P(SyncProxy, IsAskedOrNot)
{
    qputenv(GetParam().szVariable, QByteArray::fromStdString(m_proxy.Url("")));
    if (GetParam().szExempt != nullptr) {
        qputenv("no_proxy", GetParam().szExempt);
    }
    EXPECT_TRUE(m_request.SendGetWhetherInCommonEx(ELSEWHERE, m_server.Port(), ENOUGH_MS, "X", m_bCommon));
    EXPECT_EQ(m_proxy.Requests().size(), GetParam().bAsked ? 1U : 0U);
    EXPECT_EQ(m_server.Requests().size(), GetParam().bAsked ? 0U : 1U);
}

INSTANTIATE_TEST_SUITE_P(Environments, SyncProxy,
                         ::testing::Values(SyncProxyCase{"OfHttp", "http_proxy", nullptr, true},
                                           SyncProxyCase{"ButNotForAHost", "http_proxy", "0.0.0.0", false},
                                           SyncProxyCase{"ButNotForADomain", "http_proxy", "0.0", false},
                                           SyncProxyCase{"EvenWithAStar", "http_proxy", "*", true},
                                           SyncProxyCase{"InCapitals", "HTTP_PROXY", nullptr, false},
                                           SyncProxyCase{"OfAll", "all_proxy", nullptr, false}),
                         [](const auto& row) { return row.param.szName; });

TEST_F(SyncProxy, IsNeverAskedForThisMachine)
{
    qputenv("http_proxy", QByteArray::fromStdString(m_proxy.Url("")));
    EXPECT_TRUE(InCommon(m_server));
    EXPECT_TRUE(m_proxy.Requests().empty());
    EXPECT_EQ(m_server.Requests().size(), 1U);
}

} // namespace
