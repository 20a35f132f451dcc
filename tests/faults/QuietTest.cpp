// Effects of the transport that the host must not notice: signals, idle load, growth.

#include "ProcessUse.h"
#include "TransportTest.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <iterator>

#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using testing::Le;

namespace
{

std::size_t Entries(const char* szFolder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(szFolder), {}));
}

double ProcessorSeconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Whether the process hardly wakes up in that time, and uses hardly any processor time.
bool IsAtPeaceForTwoSeconds()
{
    const double dProcessor = ProcessorSeconds();
    [[maybe_unused]] const long nSleeps = Sleeps();
    std::this_thread::sleep_for(2s);
#if defined(__SANITIZE_THREAD__)
    const bool bSleeps = true; // the sanitizer has a thread of its own that wakes up ten times a second
#else
    const bool bSleeps = Sleeps() - nSleeps <= 10;
#endif
    return bSleeps && ProcessorSeconds() - dProcessor <= 0.02;
}

std::atomic<long> g_nTicks{0};
std::atomic<long> g_nTicksElsewhere{0};
std::atomic<long> g_nTickedThread{0};

void OnTick(int /*nSignal*/)
{
    ++g_nTicks;
    if (::syscall(SYS_gettid) != g_nTickedThread) {
        ++g_nTicksElsewhere;
    }
}

} // namespace

class TransportQuiet : public TransportTest
{
protected:
    /// Sends that many requests, a thousand at a time.
    void Exchange(const ScriptedServer& server, std::size_t nRequests)
    {
        const std::size_t nEnd = m_replies.Count() + nRequests;
        while (m_replies.Count() < nEnd) {
            const std::size_t nNext = std::min<std::size_t>(m_replies.Count() + 1000, nEnd);
            for (std::size_t nRequest = m_replies.Count(); nRequest < nNext; ++nRequest) {
                Post(server.Url("/"), "{}");
            }
            ASSERT_TRUE(m_replies.WaitFor(nNext));
        }
    }
};

// With a sanitizer each request takes ten times as long; what accumulates shows there too.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t MANY = 20'000;
#else
constexpr std::size_t MANY = 100'000;
#endif

TEST_F(TransportQuiet, AfterManyRequestsHasNoMoreThreadsAndDescriptorsThanAfterAThousand)
{
    Set("CHTTPCLIENT_POST_IDLE_MS", 60'000); // on a busy machine more than half a second may pass
    Start();
    const auto tpBegin = std::chrono::steady_clock::now();
    ScriptedServer server(Ok());
    server.KeepNoRequests();
    Exchange(server, 1000);
    const std::size_t nThreads = Entries("/proc/self/task");
    const std::size_t nDescriptors = Entries("/proc/self/fd");
    Exchange(server, MANY - 1000);
    EXPECT_LE(Entries("/proc/self/task"), nThreads + 8); // of the server: one per connection
    EXPECT_LE(Entries("/proc/self/fd"), nDescriptors + 16);
    // A new connection whose first exchange ends just when another request begins is replaced, since it is
    // not known yet whether it may carry a POST. So is one that a slow machine leaves unused for over 3 s.
    const auto nTimes = (std::chrono::steady_clock::now() - tpBegin) / 3s + 2;
    EXPECT_LE(server.Accepted(), 8U * static_cast<std::size_t>(nTimes)) << "the connections to one host";
    RepliesAfterShutdown(MANY);
    EXPECT_THAT(m_replies.Errors(), Each(0));
}

TEST_F(TransportQuiet, AndIdleSleeps)
{
    Start();
    const ScriptedServer server(Ok());
    Exchange(server, 100);
    // How soon everything settles after the last exchange depends on the machine: a quiet time must come,
    // sooner or later.
    bool bPeace = false;
    for (int nTry = 0; nTry < 20 && !bPeace; ++nTry) {
        bPeace = IsAtPeaceForTwoSeconds();
    }
    EXPECT_TRUE(bPeace);
}

// A host with an interval timer, for example a profiler's: the handler must run on the host's threads, and no
// exchange may fail.
TEST_F(TransportQuiet, UnderAStormOfSignalsTakesNone)
{
    sigset_t alarm{};
    ::sigemptyset(&alarm);
    ::sigaddset(&alarm, SIGALRM);
    ::pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
    const ScriptedServer server(Ok()); // whose threads block the signal
    ::pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    g_nTickedThread = ::syscall(SYS_gettid);
    struct sigaction action {
    };
    action.sa_handler = OnTick;
    action.sa_flags = SA_RESTART;
    ASSERT_EQ(::sigaction(SIGALRM, &action, nullptr), 0);
    const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &everyMillisecond, nullptr), 0);

    Start(); // from a thread that receives the signal
    Exchange(server, 5000);
    while (g_nTicks < 100) {
        Exchange(server, 100);
    }
    const itimerval never{};
    ASSERT_EQ(::setitimer(ITIMER_REAL, &never, nullptr), 0);
    RepliesAfterShutdown(m_replies.Count());
    EXPECT_THAT(m_replies.Errors(), Each(0));
    EXPECT_EQ(g_nTicksElsewhere, 0);
}

// The default disposition of SIGPIPE ends the process.
TEST_F(TransportQuiet, RaisesNoSigpipeWhenTheServerBreaksOffALargeReport)
{
    struct sigaction action {
    };
    ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &action), 0);
    ASSERT_EQ(action.sa_handler, SIG_DFL);
    Start();
    ServerStep broken;
    broken.ending = ServerStep::Ending::Reset;
    const ScriptedServer server(broken, ScriptedServer::Answers::Beginnings);
    std::string strBody;
    strBody.resize(50'000'000, 'x');
    for (std::size_t nRequest = 1; nRequest <= 5; ++nRequest) {
        Post(server.Url("/"), strBody);
        ASSERT_TRUE(m_replies.WaitFor(nRequest));
    }
    RepliesAfterShutdown(5);
    EXPECT_THAT(m_replies.Errors(), Each(testing::AnyOf(-55, -56)))
        << "reset while sending or while receiving";
    ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &action), 0);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}
