#include "labserver/LabRestarts.h"

#include "platform/system/QuietThread.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <utility>

namespace
{

/// The pause before the server is started once more, after it could not be.
constexpr std::chrono::milliseconds BETWEEN_TRIES{100};

bool IsEarlier(const LabRestarts::Absence& a, const LabRestarts::Absence& b)
{
    return a.tpBegin < b.tpBegin;
}

/// Says once in an absence why it lasts longer.
void Tell(bool& bTold, const std::exception& error)
{
    if (!std::exchange(bTold, true)) {
        std::cerr << "ktslabserver: " << error.what() << "; trying again until it can" << std::endl;
    }
}

} // namespace

LabRestarts::LabRestarts(std::function<void()> fnStop, std::function<void()> fnStart)
    : m_fnStop(std::move(fnStop)), m_fnStart(std::move(fnStart))
{
}

LabRestarts::~LabRestarts()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bEnd = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void LabRestarts::Begin()
{
    const std::lock_guard lock(m_mutex);
    m_bBegun = true;
    StartThread();
}

void LabRestarts::Add(const Absence& absence)
{
    const std::lock_guard lock(m_mutex);
    m_lstToCome.push_back(absence);
    StartThread();
    m_changed.notify_all();
}

/// Starts the thread once it is needed. Call it with the mutex locked.
void LabRestarts::StartThread()
{
    if (m_bBegun && !m_lstToCome.empty() && !m_thread.joinable()) {
        m_thread = StartQuietThread([this] { Run(); });
    }
}

void LabRestarts::RemoveScenario(const std::string& strScenario)
{
    const std::lock_guard lock(m_mutex);
    m_lstToCome.remove_if([&](const Absence& absence) { return absence.strScenario == strScenario; });
}

void LabRestarts::Run()
{
    std::unique_lock lock(m_mutex);
    while (!m_bEnd) {
        const auto next = std::min_element(m_lstToCome.begin(), m_lstToCome.end(), IsEarlier);
        if (next == m_lstToCome.end()) {
            m_changed.wait(lock);
        } else if (next->tpBegin > Clock::now()) {
            m_changed.wait_until(lock, next->tpBegin);
        } else {
            const Clock::time_point end = next->tpBegin + next->length;
            m_lstToCome.erase(next);
            TakeAwayUntil(end, lock);
        }
    }
}

void LabRestarts::TakeAwayUntil(Clock::time_point end, std::unique_lock<std::mutex>& lock)
{
    lock.unlock();
    m_fnStop();
    lock.lock();
    bool bBack = false;
    bool bTold = false;
    while (!bBack && !m_changed.wait_until(lock, end, [this] { return m_bEnd; })) {
        lock.unlock();
        try {
            m_fnStart();
            bBack = true;
        } catch (const std::exception& error) {
            Tell(bTold, error);
            end = Clock::now() + BETWEEN_TRIES;
        }
        lock.lock();
    }
}
