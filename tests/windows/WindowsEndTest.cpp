// The ways in which a Windows process ends, with requests in flight. Its threads are gone before a DLL is
// told of the end, unless the process ends through a C runtime that calls registered functions first.

#include "HostProcess.h"
#include "LogFolder.h"
#include "ScriptedServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

using namespace std::chrono_literals;
using testing::Contains;
using testing::Not;

namespace
{

constexpr int STATUS_OF_HOST = 7;

class WindowsEnd : public testing::TestWithParam<const char*>
{
protected:
    WindowsEnd() { ::setenv("CHTTPCLIENT_DRAIN_MS", "2000", 1); }

    Departure Leave() const
    {
        Departure departure = Watch(LOADING_HOST, {CHTTPCLIENT_LIBRARY, GetParam(), m_server.Url("/report"),
                                                   m_serverSilent.Url("/more")});
        EXPECT_TRUE(departure.bInTime);
        EXPECT_EQ(departure.nStatus, STATUS_OF_HOST);
        return departure;
    }

    const LogFolder m_logFolder;
    const ScriptedServer m_server{Ok(200ms)};
    const ScriptedServer m_serverSilent{Silent()};
};

using DrainingEnd = WindowsEnd;
using AbruptEnd = WindowsEnd;

} // namespace

TEST_P(DrainingEnd, GetsTheReportThroughAndEveryRequestItsCallback)
{
    const Departure departure = Leave();
    EXPECT_THAT(departure.vecLines, Contains("1 0").Times(1));
    EXPECT_THAT(departure.vecLines, Contains("2 -42").Times(20));
    EXPECT_EQ(m_server.Requests().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Ways, DrainingEnd,
                         testing::Values("Return", "Exit", "FreeLibrary", "ExitOfTheUniversalRuntime"),
                         [](const auto& way) { return std::string(way.param); });

TEST_P(AbruptEnd, ComesAtOnceAndWithoutCallbacks)
{
    const auto tpStart = std::chrono::steady_clock::now();
    const Departure departure = Leave();
    EXPECT_THAT(departure.vecLines, Not(Contains("2 -42")));
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, 10s);
}

INSTANTIATE_TEST_SUITE_P(Ways, AbruptEnd,
                         testing::Values("ExitProcess", "ExitProcessOfAnotherThread", "TerminateProcess"),
                         [](const auto& way) { return std::string(way.param); });
