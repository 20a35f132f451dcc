#include "LogFolder.h"
#include "ScriptedServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ostream>
#include <sstream>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;

namespace
{

constexpr std::chrono::seconds PATIENCE{15};

struct Departure {
    bool bInTime = false;
    int nStatus = -1; ///< as waitpid reports it
    std::vector<std::string> vecCallbacks;
};

/// Everything that comes through the pipe until its other end closes.
/// @return whether it closed in time
bool ReadToEnd(int nPipe, std::string& strText)
{
    const auto tpEnd = std::chrono::steady_clock::now() + PATIENCE;
    std::array<char, 4096> bytes{};
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(tpEnd - std::chrono::steady_clock::now());
        pollfd poll{nPipe, POLLIN, 0};
        if (left <= 0ms || ::poll(&poll, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        const ssize_t nRead = ::read(nPipe, bytes.data(), bytes.size());
        if (nRead <= 0) {
            return true;
        }
        strText.append(bytes.data(), static_cast<std::size_t>(nRead));
    }
}

/// Runs the leaving host to its end; one that does not come to it is killed.
Departure Watch(std::vector<std::string> vecArguments)
{
    vecArguments.insert(vecArguments.begin(), LEAVING_HOST);
    std::vector<char*> vecPointers;
    for (std::string& strArgument : vecArguments) {
        vecPointers.push_back(strArgument.data());
    }
    vecPointers.push_back(nullptr);
    std::array<int, 2> pipe{};
    EXPECT_EQ(::pipe(pipe.data()), 0);
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addclose(&actions, pipe[0]);
    ::posix_spawn_file_actions_addclose(&actions, pipe[1]);
    pid_t nProcess = 0;
    EXPECT_EQ(::posix_spawn(&nProcess, LEAVING_HOST, &actions, nullptr, vecPointers.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(pipe[1]);

    Departure departure;
    std::string strText;
    departure.bInTime = ReadToEnd(pipe[0], strText);
    ::close(pipe[0]);
    if (!departure.bInTime) {
        ::kill(nProcess, SIGKILL);
    }
    EXPECT_EQ(::waitpid(nProcess, &departure.nStatus, 0), nProcess);
    std::istringstream lines(strText);
    for (std::string strLine; std::getline(lines, strLine);) {
        departure.vecCallbacks.push_back(strLine);
    }
    return departure;
}

ServerStep SlowOk()
{
    ServerStep step;
    step.strReply = HttpReply(200, "{}");
    step.delay = 200ms;
    return step;
}

ServerStep Silent()
{
    ServerStep step;
    step.ending = ServerStep::Ending::Hold;
    return step;
}

} // namespace

/// A host that leaves without CHttpClientUnInit, in one of several ways.
class LeavingHost : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override { ::setenv("CHTTPCLIENT_DRAIN_MS", "2000", 1); }

    const LogFolder m_logFolder;
};

TEST_P(LeavingHost, StillGetsItsReportThroughAndTheAnswerBack)
{
    const ScriptedServer server(SlowOk());
    const Departure departure = Watch({server.Url("/report"), GetParam()});
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0);
    EXPECT_THAT(departure.vecCallbacks, Contains("1 0").Times(1));
    ASSERT_FALSE(server.Requests().empty());
    EXPECT_EQ(server.Requests().at(0).Line(), "POST /report HTTP/1.1");
    EXPECT_EQ(server.Requests().at(0).strBody, "{}");
}

TEST_P(LeavingHost, EndsInBoundedTimeWithRequestsInFlight)
{
    ::setenv("CHTTPCLIENT_DRAIN_MS", "500", 1);
    const ScriptedServer serverSilent(Silent());
    const ScriptedServer server(SlowOk());
    const Departure departure = Watch({server.Url("/report"), GetParam(), serverSilent.Url("/more")});
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0);
    EXPECT_THAT(departure.vecCallbacks, Contains("1 0").Times(1));
    EXPECT_THAT(departure.vecCallbacks, Contains("2 -42").Times(20));
    EXPECT_THAT(server.Requests(), testing::SizeIs(1));
}

INSTANTIATE_TEST_SUITE_P(Ways, LeavingHost,
                         testing::Values("Return", "Exit", "ExitInCallback", "UnInitInStaticDestructor",
                                         "SendInStaticDestructor"),
                         [](const auto& way) { return std::string(way.param); });

TEST_F(LeavingHost, WhoseStaticDestructorSendsGetsARefusal)
{
    const ScriptedServer server(SlowOk());
    const Departure departure = Watch({server.Url("/report"), "SendInStaticDestructor"});
    EXPECT_THAT(departure.vecCallbacks, ElementsAre("1 0", "3 -2"));
    EXPECT_THAT(server.Requests(), testing::SizeIs(1));
}
