// The child of a fork has the memory of its parent, but none of its threads.

#include "ThreadedOutbox.h"

#include "outbox/ForkWatch.h"

#include <ktshttpagent/chttpclient.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <mutex>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_THREAD__)
extern "C" const char* __tsan_default_options();
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options()
{
    return "die_after_fork=0"; // the test is about a child that starts a thread
}
#endif

namespace
{

using namespace outbox;
using namespace std::chrono_literals;

TEST_F(OutboxTest, StartsAfreshInTheChildOfAFork)
{
    m_transport.bAnswers = false;
    ASSERT_TRUE(Open({}, Make()));
    // Once the thread has looked at the disk and synced it, it is idle and holds no lock of the test.
    EXPECT_TRUE(Await(&FakeShelf::Contents::nReads, 1));
    EXPECT_TRUE(SendOne(0));
    EXPECT_TRUE(Await(&FakeShelf::Contents::nSyncs, 1));
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        const std::uint64_t nOwnBefore = m_disk.nSequence;
        const bool bClosed = !State().bOpen && MaySend();
        const bool bTokenIsNotOurs = !OnReply("", m_transport.vecTokens.at(0), 0, {});
        const bool bSent = SendOne(1);
        BeginStop();
        ::_exit(bClosed && bTokenIsNotOurs && bSent && m_disk.nSequence == nOwnBefore + 1 ? 0 : 1);
    }
    int nStatus = -1;
    ASSERT_EQ(::waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(nStatus, 0);
    EXPECT_TRUE(State().bOpen);
    Close(0ms);
    EXPECT_TRUE(m_transport.AwaitCalls(1));
}

TEST_F(OutboxTest, TakesNothingOverInTheChildOfAForkBeforeItsTransportRuns)
{
    m_transport.bAnswers = false;
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(Await(&FakeShelf::Contents::nReads, 1)); // the thread is idle, as above
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        const std::uint64_t nBefore = m_disk.nAdoptions;
        const auto fnIgnore = [](const std::string&, int, void*, int) {};
        const bool bSent = SendOne(0) && SendOne(1);
        const bool bSynced = Await(&FakeShelf::Contents::nSyncs, 1); // its thread has had a turn
        OnReply("", m_transport.vecTokens.at(0), CHttpOutcome::NotRunning, fnIgnore);
        const bool bNotYet = m_disk.nAdoptions == nBefore;
        OnReply("", m_transport.vecTokens.at(1), -7, fnIgnore); // a failed connection was tried
        const bool bThen = Await(&FakeShelf::Contents::nAdoptions, nBefore + 1);
        BeginStop();
        ::_exit(bSent && bSynced && bNotYet && bThen ? 0 : 1);
    }
    int nStatus = -1;
    ASSERT_EQ(::waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(nStatus, 0);
}

TEST_F(OutboxTest, StaysClosedInTheChildOfAFork)
{
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        ::_exit(!MaySend() && !SendOne(0) && !State().bOpen ? 0 : 1);
    }
    int nStatus = -1;
    ASSERT_EQ(::waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(nStatus, 0);
}

TEST_F(OutboxTest, StartsAfreshInTheChildOfAChild)
{
    m_transport.bAnswers = false;
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(Await(&FakeShelf::Contents::nReads, 1));
    EXPECT_TRUE(SendOne(0));
    EXPECT_TRUE(Await(&FakeShelf::Contents::nSyncs, 1)); // the thread is idle, as above
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        const pid_t nGrandchild = ::fork(); // before the child has sent anything
        if (nGrandchild == 0) {
            const bool bSent = SendOne(1);
            BeginStop();
            ::_exit(bSent && State().bOpen ? 0 : 1);
        }
        int nStatus = -1;
        ::_exit(::waitpid(nGrandchild, &nStatus, 0) == nGrandchild && nStatus == 0 ? 0 : 1);
    }
    int nStatus = -1;
    ASSERT_EQ(::waitpid(nChild, &nStatus, 0), nChild);
    EXPECT_EQ(nStatus, 0);
}

/// Runs a function in a child. @return what it returned there
bool InChild(const std::function<bool()>& fn)
{
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        ::_exit(fn() ? 0 : 1);
    }
    int nStatus = -1;
    return ::waitpid(nChild, &nStatus, 0) == nChild && nStatus == 0;
}

TEST(ForkWatch, TellsThoseThatAreLeft)
{
    std::array<std::mutex, 3> mutexes;
    std::array<bool, 3> children{};
    std::array<std::optional<ForkWatch>, 3> watches;
    for (std::size_t n = 0; n < 3; ++n) {
        watches[n].emplace(mutexes[n], children[n]);
    }
    watches[0].reset();
    EXPECT_TRUE(InChild([&] { return !children[0] && children[1] && children[2]; }));
    watches[1].reset();
    EXPECT_TRUE(InChild([&] { return !children[1] && children[2]; }));
    EXPECT_FALSE(children[2]) << "this is the parent";
}

TEST(ForkWatch, GoesOnSayingChildWhenTheChildForks)
{
    std::mutex mutex;
    bool bIsChild = false;
    const ForkWatch watch(mutex, bIsChild);
    EXPECT_TRUE(InChild([&] { return InChild([&] { return bIsChild; }) && bIsChild; }));
}

} // namespace
