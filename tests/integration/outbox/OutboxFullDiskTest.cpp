// A host whose disk takes nothing more: its files may not grow beyond a size, which is less than they have.

#include "CountingServer.h"
#include "LongRun.h"
#include "TortureTest.h"

using namespace std::chrono_literals;

namespace
{

class OutboxFullDisk : public TortureTest
{
};

} // namespace

TEST_F(OutboxFullDisk, LetsReportsArriveAndIsLeftBehindAsSoonAsThereIsRoom)
{
    const std::uint64_t nReports = NumberFromEnvironment("KTS_OUTBOX_ON_FULL_DISK", 30);
    CountingServer server;
    server.SetAway(true);
    RunningProcess host(HostCommand(server.Url(), "m"));
    ASSERT_TRUE(Send(host, nReports));
    EXPECT_TRUE(WaitUntil([&] { return HostStatus(host).nAnswered == nReports; }));
    host.Ask("limit 1");
    ASSERT_TRUE(Send(host, 5));
    EXPECT_EQ(HostStatus(host).nUnprotected, 5U);
    EXPECT_EQ(HostStatus(host).nWaiting, nReports);

    server.SetAway(false);
    EXPECT_TRUE(WaitUntil([&] { return HostStatus(host).nWaiting == 0; }, 10min)) << "it does not drain";
    const std::uint64_t nMissing = server.Ledger().Missing("m", nReports);
    EXPECT_EQ(nMissing, 0U);
    ASSERT_TRUE(Send(host, 1));
    EXPECT_EQ(HostStatus(host).nUnprotected, 6U) << "it has no room, but is sent";
    EXPECT_TRUE(WaitUntil([&] { return server.Ledger().Has("m-" + std::to_string(nReports + 5)); }));

    host.Ask("limit 0");
    const auto tpRoom = std::chrono::steady_clock::now();
    std::uint64_t nUnprotected = 0;
    EXPECT_TRUE(WaitUntil([&] {
        nUnprotected = HostStatus(host).nUnprotected;
        return Send(host, 1) && HostStatus(host).nUnprotected == nUnprotected;
    })) << "reports are not stored although there is room";
    const auto duration =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - tpRoom);
    EXPECT_EQ(server.Ledger().Twice() + server.Ledger().Mixed(), 0U);
    NoteFigure("full disk", std::to_string(nReports) + " waiting, " + std::to_string(nMissing) +
                                " lost without a byte of room; stored again after " +
                                std::to_string(duration.count()) + " ms of room");
}
