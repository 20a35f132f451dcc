// Processes that are killed, that share a folder, that fork, and that may not write much, on the real disk.
// KTS_OUTBOX_KILLS sets how many are killed, KTS_OUTBOX_SEED the first seed.

#include "StoreHelp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace outbox;
using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace
{

/// A program that runs, with pipes to its input and from its output.
class Child
{
public:
    explicit Child(const std::vector<std::string>& vecArguments)
    {
        std::array<int, 2> input{};
        std::array<int, 2> output{};
        EXPECT_EQ(::pipe2(input.data(), O_CLOEXEC) + ::pipe2(output.data(), O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions{};
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        std::vector<std::string> vecAll = {STORING_HOST};
        vecAll.insert(vecAll.end(), vecArguments.begin(), vecArguments.end());
        std::vector<char*> vecPointers;
        for (std::string& strArgument : vecAll) {
            vecPointers.push_back(strArgument.data());
        }
        vecPointers.push_back(nullptr);
        EXPECT_EQ(::posix_spawn(&m_nProcess, STORING_HOST, &actions, nullptr, vecPointers.data(), environ),
                  0);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        m_nInput = input[1];
        m_nOutput = output[0];
    }

    ~Child()
    {
        End(SIGKILL);
        ::close(m_nOutput);
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Reads until at least that many bytes came, or a text, or the end.
    void ReadUntil(std::size_t nBytes, const std::string& strText = "\xff")
    {
        std::array<char, 4096> bytes{};
        while (m_strOutput.size() < nBytes && m_strOutput.find(strText) == std::string::npos) {
            const ssize_t nRead = ::read(m_nOutput, bytes.data(), bytes.size());
            if (nRead <= 0) {
                return;
            }
            m_strOutput.append(bytes.data(), static_cast<std::size_t>(nRead));
        }
    }

    /// Closes its input, sends it a signal if that is not 0, and waits for its end.
    void End(int nSignal)
    {
        if (m_nProcess != 0) {
            ::close(m_nInput);
            if (nSignal != 0) {
                ::kill(m_nProcess, nSignal);
            }
            ReadUntil(std::string::npos);
            ::waitpid(m_nProcess, &m_nStatus, 0);
            m_nProcess = 0;
        }
    }

    int Status() const { return m_nStatus; }

    /// The whole lines that it has told.
    std::vector<std::string> Lines() const
    {
        std::vector<std::string> vecLines;
        std::istringstream lines(m_strOutput.substr(0, m_strOutput.rfind('\n') + 1));
        for (std::string strLine; std::getline(lines, strLine);) {
            vecLines.push_back(strLine);
        }
        return vecLines;
    }

private:
    pid_t m_nProcess = 0;
    int m_nInput = -1;
    int m_nOutput = -1;
    int m_nStatus = -1;
    std::string m_strOutput;
};

class HostOnDisk : public testing::Test
{
protected:
    HostOnDisk()
    {
        std::string strPath = (fs::temp_directory_path() / "kts-outbox-XXXXXX").string();
        m_path = fs::path(::mkdtemp(strPath.data())) / "outbox";
    }
    ~HostOnDisk() override { fs::remove_all(m_path.parent_path()); }

    std::unique_ptr<Store> Open() const
    {
        std::string strWhyNot;
        std::unique_ptr<Disk> pDisk = OpenDisk(m_path, strWhyNot);
        EXPECT_NE(pDisk, nullptr) << strWhyNot;
        StoreSettings settings;
        settings.limits.nFree = 0;
        return std::make_unique<Store>(std::move(pDisk), settings);
    }

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
    const std::uint64_t nKills = NumberFromEnvironment("KTS_OUTBOX_KILLS", 10);
    for (std::uint64_t n = 0; n < nKills && !HasFailure(); ++n) {
        SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nFirst + n));
        Machine::Random random(nFirst + n);
        Child child({m_path.string()});
        child.ReadUntil(1 + random() % 40'000);
        child.End(SIGKILL);
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
        }
        EXPECT_LE(setFound.size(), vecTold.size() + 1) << "one may be kept and not told of";
        EXPECT_EQ(CountRuns(), 0U) << "what has ended whole is removed";
    }
}

TEST_F(HostOnDisk, SharesWhatIsLeftWithOthersAndOwnsItAlone)
{
    std::vector<std::string> vecTold;
    for (int i = 0; i < 4; ++i) {
        Child child({m_path.string()});
        child.ReadUntil(2000);
        child.End(SIGKILL);
        const std::vector<std::string> vecLines = child.Lines();
        vecTold.insert(vecTold.end(), vecLines.begin(), vecLines.end());
    }
    Child first({m_path.string(), "adopt"});
    Child second({m_path.string(), "adopt"});
    first.ReadUntil(std::string::npos, "end\n");
    second.ReadUntil(std::string::npos, "end\n");
    std::multiset<std::string> setFound;
    for (const Child* pChild : {&first, &second}) {
        for (const std::string& strKey : pChild->Lines()) {
            setFound.insert(strKey);
        }
    }
    for (const std::string& strKey : vecTold) {
        EXPECT_EQ(setFound.count(strKey), 1U) << strKey;
    }
    const auto pStore = Open();
    EXPECT_FALSE(pStore->Adopt()) << "all have owners";
    first.End(SIGKILL);
    second.End(SIGKILL);
    EXPECT_TRUE(pStore->Adopt());
    EXPECT_GE(AllWaiting(*pStore).size(), vecTold.size());
}

TEST_F(HostOnDisk, KeepsReportsWithinTheLimitForTheSizeOfFiles)
{
    Child child({m_path.string(), "limit"});
    child.ReadUntil(std::string::npos);
    child.End(0);
    EXPECT_EQ(child.Status(), 0) << "and is not killed";
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
