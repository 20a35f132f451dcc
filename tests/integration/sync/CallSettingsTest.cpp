// KTSHTTPAGENT_SYNC_SETTINGS, which gives blocking calls the settings of the transport.

#include "LogFolder.h"
#include "SyncInterface.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>

namespace
{

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

/// A value of the variable, whether it asks for the transport's settings, and whether the log complains.
struct SettingCase {
    const char* szName;
    const char* szValue; ///< null for not set
    bool bTransports;
    bool bComplains;

    friend void PrintTo(const SettingCase& row, std::ostream* pOut) { *pOut << row.szName; }
};

class CallSettings : public ::testing::TestWithParam<SettingCase>
{
protected:
    CallSettings()
    {
        qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent");
        for (const char* const szName :
             {"http_proxy", "https_proxy", "all_proxy", "no_proxy", "CLOG_LEVEL"}) {
            qunsetenv(szName);
        }
        if (GetParam().szValue != nullptr) {
            qputenv("KTSHTTPAGENT_SYNC_SETTINGS", GetParam().szValue);
        } else {
            qunsetenv("KTSHTTPAGENT_SYNC_SETTINGS");
        }
    }

    static bool InCommon(const ScriptedServer& server)
    {
        bool bCommon = false;
        return CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", server.Port(), ENOUGH_MS, "X",
                                                                 bCommon);
    }

    const LogFolder m_folder;
    const ServerStep m_yes{HttpReply(200, R"({"success":true,"common":true})")};
};

// Qt never asks a proxy for this machine, and does not read this variable.
TEST_P(CallSettings, DecideWhichProxyIsAsked)
{
    const ScriptedServer proxy(m_yes);
    const ScriptedServer server(m_yes);
    qputenv("all_proxy", QByteArray::fromStdString(proxy.Url("")));
    EXPECT_TRUE(InCommon(server));
    EXPECT_EQ(proxy.Requests().size(), GetParam().bTransports ? 1U : 0U);
    EXPECT_EQ(server.Requests().size(), GetParam().bTransports ? 0U : 1U);
}

TEST_P(CallSettings, AreNamedInTheLogIfTheProxyIsDead)
{
    const RefusingPort refusing;
    const ScriptedServer server(m_yes);
    const std::string strProxy = "127.0.0.1:" + std::to_string(refusing.Port());
    qputenv("all_proxy", QByteArray::fromStdString("http://user:SECRET@" + strProxy));
    EXPECT_EQ(InCommon(server), !GetParam().bTransports);
    const auto hasCause = Contains(HasSubstr("proxy http://" + strProxy + ", no HTTP status"));
    if (GetParam().bTransports) {
        EXPECT_THAT(m_folder.Lines(), hasCause);
    } else {
        EXPECT_THAT(m_folder.Lines(), Not(hasCause));
    }
    EXPECT_THAT(m_folder.Lines(), Not(Contains(HasSubstr("SECRET"))));
}

TEST_P(CallSettings, AreNamedInTheLogIfTheProxyOfSocksIsDead)
{
    const RefusingPort refusing;
    const ScriptedServer server(m_yes);
    const std::string strProxy = "socks5://127.0.0.1:" + std::to_string(refusing.Port());
    qputenv("all_proxy", QByteArray::fromStdString(strProxy));
    EXPECT_EQ(InCommon(server), !GetParam().bTransports);
    const auto hasCause = Contains(HasSubstr("proxy " + strProxy + ", no HTTP status"));
    if (GetParam().bTransports) {
        EXPECT_THAT(m_folder.Lines(), hasCause);
    } else {
        EXPECT_THAT(m_folder.Lines(), Not(hasCause));
    }
}

TEST_P(CallSettings, AreNoProxyInTheLogIfItHasNoName)
{
    const RefusingPort refusing;
    qputenv("all_proxy", "http://:1");
    bool bCommon = false;
    EXPECT_FALSE(CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", refusing.Port(), ENOUGH_MS,
                                                                   "X", bCommon));
    EXPECT_THAT(m_folder.Lines(), Contains(HasSubstr(", no proxy, no HTTP status")));
}

TEST_P(CallSettings, AreComplainedAboutIfTheyAreUnknown)
{
    CUIAgentReq::Instance();
    const auto complains =
        Contains(HasSubstr("KTSHTTPAGENT_SYNC_SETTINGS is \"Transport\", neither \"transport\" nor \"qt\""));
    if (GetParam().bComplains) {
        EXPECT_THAT(m_folder.Lines(), complains);
    } else {
        EXPECT_THAT(m_folder.Lines(), Not(Contains(HasSubstr("KTSHTTPAGENT_SYNC_SETTINGS is"))));
    }
}

INSTANTIATE_TEST_SUITE_P(Values, CallSettings,
                         ::testing::Values(SettingCase{"NotSet", nullptr, false, false},
                                           SettingCase{"Empty", "", false, false},
                                           SettingCase{"Qt", "qt", false, false},
                                           SettingCase{"Transport", "transport", true, false},
                                           SettingCase{"Misspelt", "Transport", false, true}),
                         ::testing::PrintToStringParamName());

} // namespace
