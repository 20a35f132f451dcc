// Hosts with very many reports that wait. KTS_OUTBOX_WAITING_AT_STOP sets how many wait when a host is ended,
// KTS_OUTBOX_WAITING how many wait while its memory is measured.

#include "CountingServer.h"
#include "LongRun.h"
#include "TortureTest.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace
{

/// The numbers of the reports of a mark that stand in the segments of a folder.
std::set<std::uint64_t> NumbersInSegments(const fs::path& folder, const std::string& strMark)
{
    const std::string strBefore = "\"" + strMark + "-";
    std::set<std::uint64_t> setNumbers;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder / "runs")) {
        if (entry.path().extension() != ".seg") {
            continue;
        }
        std::ifstream file(entry.path());
        for (std::string strLine; std::getline(file, strLine);) {
            const std::size_t nBegin = strLine.find(strBefore);
            if (nBegin != std::string::npos) {
                setNumbers.insert(std::stoull(strLine.substr(nBegin + strBefore.size())));
            }
        }
    }
    return setNumbers;
}

class OutboxMultitude : public TortureTest
{
};

} // namespace

TEST_F(OutboxMultitude, OfWaitingReportsDelaysNoEndAndLosesNone)
{
    ::setenv("CHTTPCLIENT_DRAIN_MS", "1000", 1);
    const ScriptedServer silent(Silent()); // what it gets is on its way at the end
    RunningProcess host(HostCommand(silent.Url("/"), "m"));
    Cases cases("KTS_OUTBOX_WAITING_AT_STOP", 2'000);
    for (constexpr std::uint64_t AT_ONCE = 2'000; cases.HasNext(); cases.Next(AT_ONCE)) {
        ASSERT_TRUE(Send(host, AT_ONCE));
    }
    const std::uint64_t nReports = cases.Done();
    const std::string strEnd = host.Ask("end");
    EXPECT_EQ(host.Await(), 0);
    std::istringstream words(strEnd);
    long nMs = -1;
    std::uint64_t nFailed = 1;
    words >> nMs >> nFailed;
    EXPECT_GE(nMs, 0);
    EXPECT_LT(nMs, 60'000) << "the drain time is one second";
    EXPECT_EQ(nFailed, 0U) << "each sender was told that its report is stored";

    const std::set<std::uint64_t> setNumbers = NumbersInSegments(Folder(), "m");
    EXPECT_EQ(setNumbers.size(), nReports);
    RunningProcess next(HostCommand("http://127.0.0.1:1/", "n"));
    EXPECT_TRUE(WaitUntil([&] { return HostStatus(next).nWaiting == nReports; }))
        << HostStatus(next).nWaiting << " wait";
    NoteFigure("stop with the server down", cases.Reached() + " waiting, " +
                                                std::to_string(nReports - setNumbers.size()) + " lost, " +
                                                std::to_string(nMs) + " ms with a drain time of 1000 ms");
}

TEST_F(OutboxMultitude, OfWaitingReportsCostsLittleMemoryAndArrives)
{
    Cases cases("KTS_OUTBOX_WAITING", 60);
    const std::uint64_t nFew = std::min<std::uint64_t>(1'000, cases.Wanted() / 10);
    CountingServer server;
    server.SetAway(true);
    RunningProcess host(HostCommand(server.Url(), "m"));
    const auto fnMemory = [&host] { return std::stoll(host.Ask("memory")); };
    const auto fnAllAnswered = [&] { return HostStatus(host).nAnswered == cases.Done(); };
    ASSERT_TRUE(Send(host, nFew));
    cases.Next(nFew);
    ASSERT_TRUE(WaitUntil(fnAllAnswered));
    const long long nBefore = fnMemory();
    for (; cases.HasNext(); cases.Next(nFew)) {
        ASSERT_TRUE(Send(host, nFew));
    }
    const std::uint64_t nReports = cases.Done();
    EXPECT_TRUE(WaitUntil(fnAllAnswered));
    const long long nWith = fnMemory();

    server.SetAway(false); // then 30 a second arrive
    const std::chrono::seconds patience(NumberFromEnvironment("KTS_OUTBOX_SECONDS", 120 + nReports / 20));
    long long nMost = nWith;
    WaitUntil(
        [&] {
            nMost = std::max(nMost, fnMemory());
            return server.Ledger().Reports() == nReports;
        },
        patience);
    const std::uint64_t nArrived = server.Ledger().Reports();
    const HostStatus status(host);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // with them most of it is theirs
    constexpr std::int64_t MOST_KIB = std::int64_t{16} * 1024;
    EXPECT_LE(nMost - nBefore, MOST_KIB) << nBefore << " KiB before";
#endif
    EXPECT_GE(nArrived + status.nWaiting, nReports) << "some are lost";
    EXPECT_EQ(status.nDead + server.Ledger().Twice() + server.Ledger().Mixed(), 0U);
    if (std::getenv("KTS_OUTBOX_SECONDS") == nullptr) {
        EXPECT_EQ(nArrived, nReports);
    }
    NoteFigure("memory with many waiting", cases.Reached() + " waiting: " + std::to_string(nWith - nBefore) +
                                               " KiB more, at most " + std::to_string(nMost - nBefore) +
                                               " KiB while they arrive; " + std::to_string(nArrived) +
                                               " arrived, " + std::to_string(status.nWaiting) + " wait");
}
