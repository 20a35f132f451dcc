// The outbox of the process, with its thread, in real time.

#include "Enough.h"
#include "FakeShelf.h"
#include "VirtualHost.h"

#include "outbox/Outbox.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <stdexcept>
#include <thread>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{

using namespace outbox;
using namespace std::chrono_literals;

/// A transport with a thread that calls the receiver.
class ThreadedTransport
{
public:
    ThreadedTransport() : m_thread([this] { Run(); }) {}
    ~ThreadedTransport()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_bEnds = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }
    ThreadedTransport(const ThreadedTransport&) = delete;
    ThreadedTransport& operator=(const ThreadedTransport&) = delete;

    /// What the receiver of the transport gets.
    struct Call {
        std::string strBody;
        int nType;
        void* pUserData;
        int nError;
    };
    void Deliver(Call call)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_lstCalls.push_back(std::move(call));
        }
        m_wake.notify_all();
    }
    /// Every callback that the sender with this user data got.
    int CallsOf(std::size_t nUserData) const { return m_arCalls.at(nUserData); }
    bool AwaitCalls(int nCalls) const
    {
        const auto tpEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(ENOUGH_MS);
        while (m_nCalls < nCalls && std::chrono::steady_clock::now() < tpEnd) {
            std::this_thread::sleep_for(1ms);
        }
        return m_nCalls >= nCalls;
    }
    void* UserData(std::size_t nUserData) { return &m_arCalls.at(nUserData); }

    std::atomic<int> nError{0}; ///< of the replies
    std::atomic<bool> bAnswers{true};
    std::function<void()> fnOnCall; ///< called within each callback
    std::mutex mutexTokens;
    std::vector<void*> vecTokens; ///< of the reports that were sent

private:
    void Run()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_bEnds || !m_lstCalls.empty(); });
            if (m_lstCalls.empty()) {
                return;
            }
            const Call call = m_lstCalls.front();
            m_lstCalls.pop_front();
            lock.unlock();
            Receive(call.strBody, call.nType, call.pUserData, call.nError);
            lock.lock();
        }
    }
    void Receive(const std::string& strBody, int /*nType*/, void* pUserData, int nHttpError)
    {
        const auto fnAnswer = [this](const std::string&, int, void* pUser, int) { Count(pUser); };
        if (!OnReply(strBody, pUserData, nHttpError, fnAnswer)) {
            Count(pUserData);
        }
    }
    void Count(void* pUserData)
    {
        ++*static_cast<std::atomic<int>*>(pUserData);
        ++m_nCalls;
        if (fnOnCall) {
            fnOnCall();
        }
    }

    std::array<std::atomic<int>, 3'000> m_arCalls{};
    std::atomic<int> m_nCalls{0};
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Call> m_lstCalls;
    bool m_bEnds = false;
    std::thread m_thread;
};

class ThreadedPost final : public Post
{
public:
    explicit ThreadedPost(ThreadedTransport& transport) : m_transport(transport) {}
    bool Send(const Report& report, void* pToken) override
    {
        {
            const std::lock_guard<std::mutex> lock(m_transport.mutexTokens);
            m_transport.vecTokens.push_back(pToken);
        }
        if (m_transport.bAnswers) {
            m_transport.Deliver({"{}", report.nType, pToken, m_transport.nError});
        }
        return true;
    }
    void HandBack(int nType, const std::string& strBody, void* pUserData, int nHttpError) override
    {
        m_transport.Deliver({strBody, nType, pUserData, nHttpError});
    }
    std::optional<std::chrono::seconds> RetryAfter() const override { return std::nullopt; }
    bool MayHaveBeenSeen() const override { return true; }

private:
    ThreadedTransport& m_transport;
};

class SteadyClock final : public Clock
{
public:
    TimePoint Now() const override { return std::chrono::steady_clock::now(); }
};

class OutboxTest : public ::testing::Test
{
protected:
    ~OutboxTest() override { Close(0ms); }

    MakeMeans Make()
    {
        return [this] {
            Desk::Means means;
            means.pShelf = std::make_unique<FakeShelf>(m_disk);
            means.pPost = std::make_unique<ThreadedPost>(m_transport);
            means.pClock = std::make_unique<SteadyClock>();
            means.pRandom = std::make_unique<SeededRandom>();
            return means;
        };
    }
    bool SendOne(std::size_t nUserData)
    {
        return outbox::Send({3102, "http://lab/x", "", "body", "", "", 0}, m_transport.UserData(nUserData));
    }
    std::size_t Waiting()
    {
        const std::lock_guard<std::mutex> lock(m_disk.mutex);
        return m_disk.mapWaiting.size();
    }
    bool AwaitNoneWaiting()
    {
        const auto tpEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(ENOUGH_MS);
        while (Waiting() > 0 && std::chrono::steady_clock::now() < tpEnd) {
            std::this_thread::sleep_for(1ms);
        }
        return Waiting() == 0;
    }

    /// Waits until the disk was asked for something often enough.
    bool Await(std::uint64_t FakeShelf::Contents::*pnCount, std::uint64_t nCount)
    {
        const auto fnReached = [&] {
            const std::lock_guard<std::mutex> lock(m_disk.mutex);
            return m_disk.*pnCount >= nCount;
        };
        const auto tpEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(ENOUGH_MS);
        while (!fnReached() && std::chrono::steady_clock::now() < tpEnd) {
            std::this_thread::sleep_for(1ms);
        }
        return fnReached();
    }

    FakeShelf::Contents m_disk;
    ThreadedTransport m_transport;
};

TEST_F(OutboxTest, TakesNothingWhileItIsClosed)
{
    EXPECT_FALSE(MaySend());
    EXPECT_FALSE(SendOne(0));
    int nToken = 0;
    EXPECT_FALSE(OnReply("", &nToken, 0, {}));
    EXPECT_FALSE(State().bOpen);
    EXPECT_EQ(State().strWhyNot, "");
}

TEST_F(OutboxTest, SaysWhyItCantBeOpened)
{
    OutboxSettings settings;
    settings.strFolder = "/nowhere";
    EXPECT_FALSE(Open(settings, []() -> Desk::Means { throw std::runtime_error("not a local disk"); }));
    EXPECT_FALSE(State().bOpen);
    EXPECT_EQ(State().strWhyNot, "not a local disk");
    EXPECT_EQ(State().strFolder, "/nowhere");
    EXPECT_FALSE(SendOne(0));
    EXPECT_TRUE(Open(settings, Make()));
    EXPECT_TRUE(Open(settings, Make())) << "it is open";
    EXPECT_EQ(State().strWhyNot, "");
}

TEST_F(OutboxTest, CallsEachSenderOfSeveralThreadsOnce)
{
    constexpr std::size_t THREADS = 4;
    constexpr std::size_t EACH = 400;
    ASSERT_TRUE(Open({}, Make()));
    std::vector<std::thread> vecThreads;
    for (std::size_t nThread = 0; nThread < THREADS; ++nThread) {
        vecThreads.emplace_back([&, nThread] {
            for (std::size_t nReport = 0; nReport < EACH; ++nReport) {
                if (nReport == EACH / 2) {
                    m_transport.nError = nThread % 2 == 0 ? -7 : 0;
                }
                EXPECT_TRUE(SendOne(nThread * EACH + nReport));
                static_cast<void>(State());
            }
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
    m_transport.nError = 0;
    EXPECT_TRUE(m_transport.AwaitCalls(THREADS * EACH));
    Close(std::chrono::milliseconds(ENOUGH_MS));
    for (std::size_t nReport = 0; nReport < THREADS * EACH; ++nReport) {
        ASSERT_EQ(m_transport.CallsOf(nReport), 1) << nReport;
    }
    EXPECT_EQ(m_disk.mapEnding.size() + Waiting(), THREADS * EACH);
}

TEST_F(OutboxTest, SendsAgainOnItsOwnThread)
{
    m_transport.nError = -7;
    ASSERT_TRUE(Open({}, Make()));
    for (std::size_t nReport = 0; nReport < 10; ++nReport) {
        EXPECT_TRUE(SendOne(nReport));
    }
    EXPECT_TRUE(m_transport.AwaitCalls(10)) << "they are stored";
    EXPECT_EQ(Waiting(), 10U);
    std::atomic<int> nTold{0};
    SetObserver([&](const SKtsReportEnding&) { ++nTold; });
    m_transport.nError = 0;
    EXPECT_TRUE(AwaitNoneWaiting());
    Close(std::chrono::milliseconds(ENOUGH_MS));
    EXPECT_EQ(nTold, 10);
    SetObserver({});
}

TEST_F(OutboxTest, AnswersAndForgetsWhatIsStillOnItsWayWhenItIsClosed)
{
    m_transport.bAnswers = false;
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(SendOne(0));
    Close(1ms);
    EXPECT_TRUE(m_transport.AwaitCalls(1)) << "it is stored";
    EXPECT_FALSE(SendOne(1));
    EXPECT_FALSE(State().bOpen);
    EXPECT_TRUE(MaySend()) << "a reply may still come";
    m_transport.Deliver({"{}", 3102, m_transport.vecTokens.at(0), 0});
    EXPECT_TRUE(AwaitNoneWaiting()) << "the late reply counts";
    const auto tpEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(ENOUGH_MS);
    while (MaySend() && std::chrono::steady_clock::now() < tpEnd) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_FALSE(MaySend());
    EXPECT_EQ(m_transport.CallsOf(0), 1);
}

TEST_F(OutboxTest, MayBeClosedAndOpenedAgainFromACallback)
{
    std::atomic<int> nOpened{0};
    m_transport.fnOnCall = [&] {
        if (nOpened++ == 0) {
            Close(0ms);
            nOpened += Open({}, Make()) ? 10 : 0;
        }
    };
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(SendOne(0));
    EXPECT_TRUE(m_transport.AwaitCalls(1));
    const auto tpEnd = std::chrono::steady_clock::now() + std::chrono::milliseconds(ENOUGH_MS);
    while (nOpened < 11 && std::chrono::steady_clock::now() < tpEnd) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_TRUE(SendOne(1));
    EXPECT_TRUE(m_transport.AwaitCalls(2));
}

TEST_F(OutboxTest, ClosesInBoundedTimeWhileAReceiverBlocks)
{
    std::atomic<bool> bBlocks{true};
    m_transport.fnOnCall = [&] {
        while (bBlocks) {
            std::this_thread::sleep_for(1ms);
        }
    };
    ASSERT_TRUE(Open({}, Make()));
    EXPECT_TRUE(SendOne(0));
    EXPECT_TRUE(m_transport.AwaitCalls(1));
    EXPECT_TRUE(SendOne(1));
    Close(100ms);
    EXPECT_FALSE(State().bOpen);
    bBlocks = false;
    EXPECT_TRUE(m_transport.AwaitCalls(2));
}

TEST(ThreadStream, BelongsToOneThread)
{
    SetThreadStream("mine");
    std::thread([] {
        EXPECT_EQ(ThreadStream(), "");
        SetThreadStream("other");
    }).join();
    EXPECT_EQ(ThreadStream(), "mine");
    SetThreadStream({});
    EXPECT_EQ(ThreadStream(), "");
}

#if !defined(_WIN32)

// The child has the memory of the parent's transport, but not its thread.
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

#endif

} // namespace
