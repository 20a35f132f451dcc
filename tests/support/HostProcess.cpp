#include "HostProcess.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <sstream>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::seconds PATIENCE{120};

/// Reads everything from the pipe until its other end closes.
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

} // namespace

Departure Watch(const std::string& strProgram, std::vector<std::string> vecArguments)
{
    vecArguments.insert(vecArguments.begin(), strProgram);
    std::vector<char*> vecPointers;
    vecPointers.reserve(vecArguments.size() + 1);
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
    EXPECT_EQ(::posix_spawn(&nProcess, strProgram.c_str(), &actions, nullptr, vecPointers.data(), environ),
              0);
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
        departure.vecLines.push_back(strLine);
    }
    return departure;
}
