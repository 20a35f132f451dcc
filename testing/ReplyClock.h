#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

/// Calls functions when their time has come, on a thread of its own, which begins with the first one.
class ReplyClock
{
public:
    using Call = std::function<void()>;

    ReplyClock() = default;
    ~ReplyClock() { Stop(); }
    ReplyClock(const ReplyClock&) = delete;
    ReplyClock& operator=(const ReplyClock&) = delete;

    /// Calls the function after the delay, unless the clock stops before. Not from within such a call.
    void After(std::chrono::milliseconds delay, Call fnCall);

    /// Keeps a function until the clock stops, and never calls it.
    void Keep(Call fnCall);

    /// Destroys the functions that were not called, and those that come later at once. When this returns, no
    /// call is running.
    void Stop();

private:
    using Instant = std::chrono::steady_clock::time_point;

    void Add(Instant tpWhen, Call fnCall);
    void Run();

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::multimap<Instant, Call> m_mapCalls; ///< those of one time stay in their order
    bool m_bStopped = false;
    std::thread m_thread;
};
