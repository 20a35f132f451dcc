// The line about the agent's start.

#include "LogFolder.h"

#include <ktshttpagent/CUIAgentReq.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace
{

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class AgentStart : public ::testing::Test
{
protected:
    AgentStart() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent"); }

    std::vector<std::string> Lines() const
    {
        CUIAgentReq::Instance();
        CUIAgentReq::Instance();
        const std::vector<std::string> vecAll = m_folder.Lines();
        std::vector<std::string> vecLines;
        std::copy_if(vecAll.begin(), vecAll.end(), std::back_inserter(vecLines),
                     [](const std::string& strLine) {
                         return strLine.find("CUIAgentReq::Instance") != std::string::npos;
                     });
        return vecLines;
    }

    const LogFolder m_folder;
};

TEST_F(AgentStart, IsOneLineAtLevel3WithVersionsAndSettings)
{
    qputenv("CLOG_LEVEL", "3");
    qputenv("KTSHTTPAGENT_TLS", "on");
    qputenv("KTSHTTPAGENT_MAX_REPLY_VALUES", "123\x1b");
    qputenv("CHTTPCLIENT_DRAIN_MS", "17");
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            AllOf(HasSubstr(" info "), HasSubstr("started: ktshttpagent "), HasSubstr(", Qt 5."),
                  HasSubstr("; settings in force: HttpUrl"), HasSubstr("=vomd/system/GetSupportVer.action, "),
                  HasSubstr("CLOG_LEVEL=3 (environment), "), HasSubstr("KTSHTTPAGENT_TLS=on (environment), "),
                  HasSubstr("KTSHTTPAGENT_MAX_REPLY_VALUES=2000000, "),
                  HasSubstr("KTSHTTPAGENT_SYNC_SETTINGS=qt, "), HasSubstr("KTSHTTPAGENT_METRICS_FILE=none"),
                  Not(HasSubstr("CHTTPCLIENT_")))));
}

TEST_F(AgentStart, IsNoLineAtLevel2)
{
    qputenv("CLOG_LEVEL", "2");
    EXPECT_THAT(Lines(), IsEmpty());
}

} // namespace
