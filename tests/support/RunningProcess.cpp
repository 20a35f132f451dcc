#include "RunningProcess.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <sstream>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::milliseconds PATIENCE = 2min;

} // namespace

RunningProcess::RunningProcess(std::vector<std::string> vecCommand)
{
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    // Writing to a socket can raise no signal if the program has ended.
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, input.data()), 0);
    EXPECT_EQ(::pipe2(output.data(), O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    std::vector<char*> vecPointers;
    for (std::string& strArgument : vecCommand) {
        vecPointers.push_back(strArgument.data());
    }
    vecPointers.push_back(nullptr);
    EXPECT_EQ(::posix_spawn(&m_nProcess, vecPointers[0], &actions, nullptr, vecPointers.data(), environ), 0)
        << vecPointers[0];
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    m_nInput = input[1];
    m_nOutput = output[0];
}

RunningProcess::~RunningProcess()
{
    Kill();
    ::close(m_nOutput);
}

void RunningProcess::CloseInput()
{
    if (m_nInput >= 0) {
        ::close(m_nInput);
        m_nInput = -1;
    }
}

void RunningProcess::Write(const std::string& strText) const
{
    EXPECT_EQ(::send(m_nInput, strText.data(), strText.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(strText.size()));
}

/// @return false if the output has ended, or nothing comes
bool RunningProcess::ReadMore(std::chrono::milliseconds patience)
{
    pollfd poll{m_nOutput, POLLIN, 0};
    std::array<char, 65536> bytes{};
    if (::poll(&poll, 1, static_cast<int>(patience.count())) <= 0) {
        return false;
    }
    const ssize_t nRead = ::read(m_nOutput, bytes.data(), bytes.size());
    if (nRead <= 0) {
        return false;
    }
    m_strOutput.append(bytes.data(), static_cast<std::size_t>(nRead));
    return true;
}

bool RunningProcess::ReadUntil(std::size_t nBytes)
{
    while (m_strOutput.size() < nBytes) {
        if (!ReadMore(PATIENCE)) {
            return false;
        }
    }
    return true;
}

bool RunningProcess::ReadUntil(const std::string& strText, std::size_t nFrom)
{
    while (m_strOutput.find(strText, nFrom) == std::string::npos) {
        if (!ReadMore(PATIENCE)) {
            return false;
        }
    }
    return true;
}

void RunningProcess::ReadFor(std::chrono::milliseconds duration)
{
    const auto tpEnd = std::chrono::steady_clock::now() + duration;
    for (auto left = duration; left > 0ms;) {
        if (!ReadMore(left)) {
            return;
        }
        left =
            std::chrono::duration_cast<std::chrono::milliseconds>(tpEnd - std::chrono::steady_clock::now());
    }
}

std::string RunningProcess::Ask(const std::string& strLine)
{
    const std::size_t nFrom = m_strOutput.size();
    Write(strLine + "\n");
    if (!ReadUntil("\n", nFrom)) {
        return {};
    }
    return m_strOutput.substr(nFrom, m_strOutput.find('\n', nFrom) - nFrom);
}

void RunningProcess::Kill()
{
    if (m_nProcess == 0) {
        return;
    }
    CloseInput();
    ::kill(m_nProcess, SIGKILL);
    ::waitpid(m_nProcess, &m_nStatus, 0);
    m_nProcess = 0;
    while (ReadMore(0ms)) { // its children may hold the pipe
    }
}

int RunningProcess::Await()
{
    CloseInput();
    while (ReadMore(PATIENCE)) {
    }
    if (m_nProcess != 0) {
        ::waitpid(m_nProcess, &m_nStatus, 0);
        m_nProcess = 0;
    }
    return m_nStatus;
}

std::vector<std::string> RunningProcess::Lines() const
{
    std::vector<std::string> vecLines;
    std::istringstream lines(m_strOutput.substr(0, m_strOutput.rfind('\n') + 1));
    for (std::string strLine; std::getline(lines, strLine);) {
        vecLines.push_back(strLine);
    }
    return vecLines;
}
