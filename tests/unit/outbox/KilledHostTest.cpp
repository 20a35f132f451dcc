// Processes that are killed, that share a folder, that fork, and that may not write much, on the real disk.
// KTS_OUTBOX_KILLS sets how many are killed, KTS_OUTBOX_SEED the first seed.

#include "LongRun.h"
#include "RunningProcess.h"
#include "StoreHelp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

using namespace outbox;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace
{

std::vector<std::string> StoringHost(const std::vector<std::string>& vecArguments)
{
    std::vector<std::string> vecCommand = {STORING_HOST};
    vecCommand.insert(vecCommand.end(), vecArguments.begin(), vecArguments.end());
    return vecCommand;
}

class HostOnDisk : public testing::Test
{
protected:
    HostOnDisk()
    {
        std::string strPath = (fs::temp_directory_path() / "kts-outbox-XXXXXX").string();
        m_path = fs::path(::mkdtemp(strPath.data())) / "outbox";
    }
    ~HostOnDisk() override { fs::remove_all(m_path.parent_path()); }

    std::unique_ptr<Store> Open() const { return OpenStoreOnDisk(m_path); }

    std::size_t CountRuns() const
    {
        const fs::directory_iterator runs(m_path / "runs");
        return static_cast<std::size_t>(std::distance(fs::begin(runs), fs::end(runs)));
    }

    fs::path m_path;
};

} // namespace

TEST_F(HostOnDisk, LosesNothingWhenItIsKilled)
{
    const std::uint64_t nFirst = Seed();
    std::uint64_t nTold = 0;
    std::uint64_t nLost = 0;
    Cases cases("KTS_OUTBOX_KILLS", 10);
    for (; cases.HasNext() && !HasFailure(); cases.Next()) {
        SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nFirst + cases.Done()));
        Machine::Random random(nFirst + cases.Done());
        RunningProcess child(StoringHost({m_path.string()}));
        child.ReadUntil(1 + random() % 40'000);
        child.Kill();
        const std::vector<std::string> vecTold = child.Lines();
        ASSERT_FALSE(vecTold.empty());
        const auto pStore = Open();
        EXPECT_TRUE(pStore->Adopt());
        std::set<std::string> setFound;
        for (const Waiting& waiting : AllWaiting(*pStore)) {
            EXPECT_TRUE(setFound.insert(waiting.report.strKey).second);
            pStore->End(waiting.id, Ending::Acknowledged);
        }
        for (const std::string& strKey : vecTold) {
            EXPECT_EQ(setFound.count(strKey), 1U) << "lost: " << strKey;
            nLost += 1 - setFound.count(strKey);
        }
        EXPECT_LE(setFound.size(), vecTold.size() + 1) << "one may be kept and not told of";
        EXPECT_EQ(CountRuns(), 0U) << "what has ended whole is removed";
        nTold += vecTold.size();
    }
    NoteFigure("kill -9, only the store", cases.Reached() + " kills, " + std::to_string(nTold) +
                                              " reports told of, " + std::to_string(nLost) + " lost");
}

TEST_F(HostOnDisk, SharesWhatIsLeftWithOthersAndOwnsItAlone)
{
    std::vector<std::string> vecTold;
    for (int i = 0; i < 4; ++i) {
        RunningProcess child(StoringHost({m_path.string()}));
        child.ReadUntil(2000);
        child.Kill();
        const std::vector<std::string> vecLines = child.Lines();
        vecTold.insert(vecTold.end(), vecLines.begin(), vecLines.end());
    }
    RunningProcess first(StoringHost({m_path.string(), "adopt"}));
    RunningProcess second(StoringHost({m_path.string(), "adopt"}));
    first.ReadUntil("end\n");
    second.ReadUntil("end\n");
    std::multiset<std::string> setFound;
    for (const RunningProcess* pChild : {&first, &second}) {
        for (const std::string& strKey : pChild->Lines()) {
            setFound.insert(strKey);
        }
    }
    for (const std::string& strKey : vecTold) {
        EXPECT_EQ(setFound.count(strKey), 1U) << strKey;
    }
    const auto pStore = Open();
    EXPECT_FALSE(pStore->Adopt()) << "all have owners";
    first.Kill();
    second.Kill();
    EXPECT_TRUE(pStore->Adopt());
    EXPECT_GE(AllWaiting(*pStore).size(), vecTold.size());
}

TEST_F(HostOnDisk, KeepsReportsWithinTheLimitForTheSizeOfFiles)
{
    RunningProcess child(StoringHost({m_path.string(), "limit"}));
    EXPECT_EQ(child.Await(), 0) << "and is not killed";
    EXPECT_THAT(child.Lines(), testing::ElementsAre("1000 and no large one"));
    const auto pStore = Open();
    EXPECT_TRUE(pStore->Adopt());
    EXPECT_EQ(AllWaiting(*pStore).size(), 1000U);
}

TEST_F(HostOnDisk, BeginsARunOfItsOwnInTheChildOfAFork)
{
    auto pStore = Open();
    Report report = MakeReport("parent");
    ASSERT_TRUE(pStore->Add(report));
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        Report ofChild = MakeReport("child");
        const bool bWell = !pStore->Next({}) && pStore->Add(ofChild) && pStore->Sync() &&
                           BodiesOf(AllWaiting(*pStore)) == std::vector<std::string>{"child"};
        const char c = bWell ? '1' : '0';
        static_cast<void>(::write(pipe[1], &c, 1));
        ::pause();
    }
    char c = 0;
    EXPECT_EQ(::read(pipe[0], &c, 1), 1);
    EXPECT_EQ(c, '1');
    EXPECT_EQ(CountRuns(), 2U);
    EXPECT_EQ(BodiesOf(AllWaiting(*pStore)), std::vector<std::string>{"parent"});
    pStore.reset();
    {
        const auto pNext = Open();
        EXPECT_TRUE(pNext->Adopt()) << "the child has not kept the lock of its parent";
        EXPECT_EQ(BodiesOf(AllWaiting(*pNext)), std::vector<std::string>{"parent"});
    }
    ::kill(nChild, SIGKILL);
    ::waitpid(nChild, nullptr, 0);
    const auto pNext = Open();
    EXPECT_TRUE(pNext->Adopt());
    EXPECT_EQ(AllWaiting(*pNext).size(), 2U);
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST_F(HostOnDisk, BeginsARunOfItsOwnInTheChildOfAChild)
{
    auto pStore = Open();
    Report report = MakeReport("parent");
    ASSERT_TRUE(pStore->Add(report));
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        const pid_t nGrandchild = ::fork(); // before the child has used the store
        if (nGrandchild == 0) {
            Report ofGrandchild = MakeReport("grandchild");
            const bool bWell = !pStore->Next({}) && pStore->Add(ofGrandchild) &&
                               BodiesOf(AllWaiting(*pStore)) == std::vector<std::string>{"grandchild"};
            ::_exit(bWell ? 0 : 1);
        }
        int nStatus = -1;
        ::_exit(::waitpid(nGrandchild, &nStatus, 0) == nGrandchild && nStatus == 0 ? 0 : 1);
    }
    int nStatus = -1;
    ASSERT_EQ(::waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(nStatus, 0);
    EXPECT_TRUE(pStore->Adopt()) << "the grandchild is gone";
    EXPECT_EQ(AllWaiting(*pStore).size(), 2U);
}
