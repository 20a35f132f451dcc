#include "Polls.h"
#include "WaitUntil.h"

#include <algorithm>
#include <atomic>
#include <dlfcn.h>
#include <mutex>

namespace
{

using std::chrono::steady_clock;

std::function<void()> g_fnBeforeLastWait;
std::atomic<bool> g_bLastWaitIsWatched = false;
std::mutex g_mutex;
std::vector<PollCall> g_vecCalls;

} // namespace

extern "C" int poll(pollfd* pSockets, nfds_t nSockets, int nMilliseconds)
{
    if (nSockets == 1 && nMilliseconds > 0 && g_bLastWaitIsWatched.exchange(false)) {
        g_fnBeforeLastWait();
    }
    if (nMilliseconds != 0) {
        const std::lock_guard lock(g_mutex);
        g_vecCalls.push_back({nSockets, pSockets->events, nMilliseconds, steady_clock::now()});
    }
    static const auto pfn = reinterpret_cast<decltype(&poll)>(dlsym(RTLD_NEXT, "poll"));
    return pfn(pSockets, nSockets, nMilliseconds);
}

void WatchLastWait(std::function<void()> fnBefore)
{
    g_fnBeforeLastWait = std::move(fnBefore);
    g_bLastWaitIsWatched = true;
}

bool IsLastWaitToCome()
{
    return g_bLastWaitIsWatched;
}

std::vector<PollCall> PollCalls()
{
    const std::lock_guard lock(g_mutex);
    return g_vecCalls;
}

std::set<int> Patiences(nfds_t nSockets)
{
    std::set<int> setPatiences;
    for (const PollCall& call : PollCalls()) {
        if (call.nSockets == nSockets) {
            setPatiences.insert(call.nMilliseconds);
        }
    }
    return setPatiences;
}

bool ComesToWait(const std::function<bool(const PollCall&)>& fnIsIt)
{
    return WaitUntil([&] {
        const auto vecCalls = PollCalls();
        return std::any_of(vecCalls.begin(), vecCalls.end(), fnIsIt);
    });
}
