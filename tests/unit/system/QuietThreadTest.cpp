// The host's signals are handled by the host's own threads.

#include "platform/system/QuietThread.h"

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

namespace
{

/// Those of a program's usual signals that the calling thread blocks.
std::vector<int> BlockedSignals()
{
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    std::vector<int> vecBlocked;
    for (const int nSignal :
         {SIGHUP, SIGINT, SIGTERM, SIGALRM, SIGCHLD, SIGUSR1, SIGUSR2, SIGPIPE, SIGPROF}) {
        if (sigismember(&mask, nSignal) == 1) {
            vecBlocked.push_back(nSignal);
        }
    }
    return vecBlocked;
}

} // namespace

TEST(QuietThread, KeepsAllSignalsWaitingAndLeavesThoseOfItsStarterAsTheyWere)
{
    sigset_t own;
    sigemptyset(&own);
    sigaddset(&own, SIGUSR2);
    pthread_sigmask(SIG_SETMASK, &own, nullptr);
    std::vector<int> vecInThread;
    std::thread thread = StartQuietThread([&] { vecInThread = BlockedSignals(); });
    EXPECT_EQ(BlockedSignals(), std::vector<int>{SIGUSR2});
    thread.join();
    EXPECT_EQ(vecInThread.size(), 9U);
}
