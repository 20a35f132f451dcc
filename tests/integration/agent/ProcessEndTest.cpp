// A process that loads the library may end in any way, at any time: it ends soon and with its own exit
// status, and its latest reports still arrive.

#include "HostProcess.h"
#include "LogFolder.h"
#include "ScriptedServer.h"

#include "labserver/LabServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>

namespace
{

constexpr int REPORTS = 50;

/// The exit status of a host; 124 when it did not end in time.
int RunHost(int nPort, const std::string& strOptions, int nCount = REPORTS)
{
    std::vector<std::string> vecArguments{std::to_string(nPort), std::to_string(nCount)};
    std::istringstream options(strOptions);
    for (std::string strOption; options >> strOption;) {
        vecArguments.push_back(strOption);
    }
    const Departure departure = Watch(KTS_ENDING_HOST, vecArguments);
    return departure.bInTime ? departure.nStatus : 124;
}

std::string NameOf(const ::testing::TestParamInfo<std::string>& way)
{
    std::string strName = way.param.empty() ? "return" : way.param;
    std::replace_if(
        strName.begin(), strName.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
    return strName;
}

class ProcessEnd : public ::testing::TestWithParam<std::string>
{
protected:
    LogFolder m_log;
};

TEST_P(ProcessEnd, DeliversWhatWasReportedJustBefore)
{
    setenv("CHTTPCLIENT_DRAIN_MS", "60000", 1); // so that a stalling machine does not matter
    LabServer server;
    const int nPort = server.Start();
    EXPECT_EQ(RunHost(nPort, GetParam()), 0);
    const std::vector<LabExchange> vecExchanges = server.Exchanges();
    EXPECT_EQ(std::count_if(vecExchanges.begin(), vecExchanges.end(),
                            [](const LabExchange& exchange) { return exchange.nStatus == 200; }),
              REPORTS);
}

TEST_P(ProcessEnd, IsNotHeldUpByASilentServer)
{
    setenv("CHTTPCLIENT_DRAIN_MS", "300", 1);
    const ScriptedServer server(ServerStep{"", ServerStep::Ending::Hold});
    EXPECT_EQ(RunHost(server.Port(), GetParam()), 0);
}

INSTANTIATE_TEST_SUITE_P(Ways, ProcessEnd,
                         ::testing::Values("", "exit", "destroy", "destroy exit", "response-first",
                                           "response-first exit", "response-first destroy", "no-response",
                                           "no-response exit", "no-application", "no-application exit",
                                           "no-application response-first destroy"),
                         &NameOf);

// Each test leaves a request of Qt's in progress, in any state, with its own thread.
class ProcessEndAfterBlockingCalls : public ::testing::TestWithParam<std::string>
{
};

TEST_P(ProcessEndAfterBlockingCalls, IsCleanWhileTheirRequestsAreStillUnderWay)
{
    const ScriptedServer server(ServerStep{"", ServerStep::Ending::Hold});
    for (int nCalls = 1; nCalls <= 20; ++nCalls) {
        EXPECT_EQ(RunHost(server.Port(), GetParam(), nCalls), 0) << nCalls << " calls";
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, ProcessEndAfterBlockingCalls, ::testing::Values("blocking", "blocking exit"),
                         [](const auto& way) { return way.index == 0 ? "return" : "exit"; });

class ProcessEndOfTheObjects : public ::testing::TestWithParam<std::string>
{
};

TEST_P(ProcessEndOfTheObjects, IsSeenByTheirHost)
{
    const ScriptedServer server(Ok());
    EXPECT_EQ(RunHost(server.Port(), "watch-objects " + GetParam()), 0);
}

INSTANTIATE_TEST_SUITE_P(Ways, ProcessEndOfTheObjects, ::testing::Values("", "exit", "no-application"),
                         &NameOf);

class ProcessEndWithARecord : public ::testing::TestWithParam<std::string>
{
};

TEST_P(ProcessEndWithARecord, HandsItOverWhole)
{
    const ScriptedServer server(
        ServerStep{HttpReply(200, R"({"success":true,"实验项目":[{"xh":"A"},{"xh":"B"}]})")});
    EXPECT_EQ(RunHost(server.Port(), "response-first record-at-end " + GetParam(), 0), 0);
}

INSTANTIATE_TEST_SUITE_P(Ways, ProcessEndWithARecord, ::testing::Values("", "exit", "no-application"),
                         &NameOf);

TEST(ProcessEndInACallback, EndsTheProcess)
{
    LabServer server;
    const int nPort = server.Start();
    EXPECT_EQ(RunHost(nPort, "exit-in-callback"), 0);
}

} // namespace
