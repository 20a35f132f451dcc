#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>

/// Takes a server away at set times, each time for a while, on a thread of its own. Thread-safe.
class LabRestarts
{
public:
    using Clock = std::chrono::steady_clock;

    /// When the server goes away, and for how long.
    struct Absence {
        Clock::time_point tpBegin;
        std::chrono::milliseconds length{0};
        std::string strScenario; ///< the scenario that it belongs to
    };

    /// @param fnStop  stops the server. Runs on this object's thread, as the other one does; no lock is held
    /// @param fnStart  starts it again. If it throws std::exception, it is called again, a little later
    LabRestarts(std::function<void()> fnStop, std::function<void()> fnStart);
    ~LabRestarts(); ///< waits for a function that runs; a stopped server is not started again
    LabRestarts(const LabRestarts&) = delete;
    LabRestarts& operator=(const LabRestarts&) = delete;

    /// Lets absences begin from now on: until then there is no server that could be stopped.
    void Begin();
    void Add(const Absence& absence);
    void RemoveScenario(const std::string& strScenario); ///< what belongs to it and has not begun

private:
    void StartThread();
    void Run();
    void TakeAwayUntil(Clock::time_point end, std::unique_lock<std::mutex>& lock);

    const std::function<void()> m_fnStop;
    const std::function<void()> m_fnStart;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::list<Absence> m_lstToCome;
    bool m_bBegun = false;
    bool m_bEnd = false;
    std::thread m_thread; ///< once it has begun, from the first absence on
};
