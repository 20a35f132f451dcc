#pragma once

#include "LogFolder.h"
#include "RunningProcess.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

/// What the tests of whole hosts have in common.
class TortureTest : public testing::Test
{
protected:
    TortureTest()
    {
        for (const char* szProxy : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"}) {
            ::unsetenv(szProxy);
        }
        ::unsetenv("KTSHTTPAGENT_OUTBOX"); // the hosts are told their folders
        ::setenv("CLOG_LEVEL", "1", 1);
    }

    std::filesystem::path Folder(const std::string& strName = "outbox") const
    {
        return m_logFolder.Path() / strName;
    }

    std::vector<std::string> HostCommand(const std::string& strUrl, const std::string& strMark,
                                         const std::string& strFolder = "outbox") const
    {
        return {KTS_TORTURED_HOST, Folder(strFolder).string(), strUrl, strMark};
    }

    /// Has a host send reports.
    /// @return whether all its senders have returned
    static bool Send(RunningProcess& host, std::uint64_t nReports)
    {
        const std::size_t nPrinted = host.Output().size();
        host.Write("send " + std::to_string(nReports) + "\n");
        return host.ReadUntil("\n", nPrinted);
    }

    static bool WaitUntil(const std::function<bool()>& fnCondition,
                          std::chrono::milliseconds patience = std::chrono::minutes(2))
    {
        return ::WaitUntil(fnCondition, patience);
    }

    const LogFolder m_logFolder; ///< the outbox is in it too
};

/// What a host prints for "status".
struct HostStatus {
    explicit HostStatus(RunningProcess& host)
    {
        std::istringstream line(host.Ask("status"));
        line >> nWaiting >> nOldestMs >> nDead >> nUnprotected >> nAnswered;
    }
    std::uint64_t nWaiting = 0;
    std::int64_t nOldestMs = -1;
    std::uint64_t nDead = 0;
    std::uint64_t nUnprotected = 0;
    std::uint64_t nAnswered = 0;
};
