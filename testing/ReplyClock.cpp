#include "ReplyClock.h"

#include <utility>

void ReplyClock::After(std::chrono::milliseconds delay, Call fnCall)
{
    Add(std::chrono::steady_clock::now() + delay, std::move(fnCall));
}

void ReplyClock::Keep(Call fnCall)
{
    Add(Instant::max(), std::move(fnCall));
}

void ReplyClock::Add(Instant tpWhen, Call fnCall)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_bStopped) {
        return;
    }
    m_mapCalls.emplace(tpWhen, std::move(fnCall));
    if (tpWhen != Instant::max() && !m_thread.joinable()) {
        m_thread = std::thread([this] { Run(); });
    }
    m_changed.notify_all();
}

void ReplyClock::Stop()
{
    std::multimap<Instant, Call> mapLeft;
    std::thread thread;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bStopped = true;
        mapLeft.swap(m_mapCalls);
        thread.swap(m_thread);
        m_changed.notify_all();
    }
    if (thread.joinable()) {
        thread.join();
    }
}

void ReplyClock::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_bStopped) {
        if (m_mapCalls.empty() || m_mapCalls.begin()->first == Instant::max()) {
            m_changed.wait(lock);
        } else if (m_mapCalls.begin()->first > std::chrono::steady_clock::now()) {
            const Instant tpNext = m_mapCalls.begin()->first;
            m_changed.wait_until(lock, tpNext);
        } else {
            const Call fnCall = std::move(m_mapCalls.begin()->second);
            m_mapCalls.erase(m_mapCalls.begin());
            lock.unlock();
            fnCall();
            lock.lock();
        }
    }
}
