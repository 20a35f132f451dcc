#include "Workers.h"

#include "ReceiverCall.h"

#include "platform/system/QuietThread.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace chttpclient
{
namespace
{

constexpr std::size_t THREADS = 2; // one leads while the other is in a receiver

} // namespace

void Workers::SetReceiver(CHttpClientResponse fnReceiver)
{
    auto pReceiver = std::make_shared<const CHttpClientResponse>(std::move(fnReceiver));
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pReceiver.swap(pReceiver); // the previous one is destroyed after the lock is released
}

std::shared_ptr<const CHttpClientResponse> Workers::Receiver() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_pReceiver;
}

void Workers::Start(const TransportSettings& settings)
{
    auto pTransfers = std::make_shared<Transfers>(settings);
    const std::lock_guard<std::mutex> lock(m_mutex);
    StartThreads(THREADS);
    m_duties.Employ(); // those also that were on their way to end
    m_pTransfers = std::move(pTransfers);
    m_nLogLevel = settings.nLogLevel;
    m_bEnded = false;
    m_duties.Open();
}

bool Workers::IsStarted() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_pTransfers != nullptr;
}

/// Starts threads until this many run.
void Workers::StartThreads(std::size_t nWanted)
{
    RemoveEnded();
    while (Running() < nWanted) {
        Worker& worker = m_lstWorkers.emplace_back();
        try {
            worker.thread = StartQuietThread([this, &worker] { Run(worker); });
        } catch (...) {
            m_lstWorkers.pop_back();
            throw;
        }
    }
}

std::size_t Workers::Running() const
{
    return static_cast<std::size_t>(std::count_if(m_lstWorkers.begin(), m_lstWorkers.end(),
                                                  [](const Worker& worker) { return worker.bRuns; }));
}

/// Joins the threads that are about to return, and forgets them.
void Workers::RemoveEnded()
{
    m_lstWorkers.remove_if([](Worker& worker) {
        if (!worker.bRuns && worker.thread.joinable()) {
            worker.thread.join();
        }
        return !worker.bRuns;
    });
}

void Workers::Send(ExchangeList exchange)
{
    Lock lock(m_mutex);
    const bool bTooMany =
        m_pTransfers != nullptr && m_nOutstanding >= m_pTransfers->Settings().nMaxOutstanding;
    ++m_nOutstanding;
    auto eWake = Duties::Wake::Nobody;
    if (!bTooMany && m_duties.Accept(exchange, eWake)) {
        WakeUp(eWake, lock);
        return;
    }
    exchange.front().nHttpError = bTooMany ? CHttpOutcome::TooManyOutstanding : CHttpOutcome::NotRunning;
    Refuse(exchange, lock);
}

void Workers::HandBack(ExchangeList exchange)
{
    Lock lock(m_mutex);
    ++m_nOutstanding;
    Refuse(exchange, lock);
}

/// Has an exchange delivered that is not begun.
void Workers::Refuse(ExchangeList& exchange, Lock& lock)
{
    try {
        if (!m_bEnded) {
            StartThreads(1);
            WakeUp(m_duties.Refuse(exchange), lock);
            return;
        }
    } catch (const std::exception& error) { // no thread, or no memory for one
        LogNoThread(error.what());
    }
    Deliver(std::move(exchange), lock);
}

/// Wakes a thread after releasing the lock, so that it does not wake up only to wait for that.
void Workers::WakeUp(Duties::Wake eWake, Lock& lock)
{
    const auto pTransfers = eWake == Duties::Wake::Leader ? m_pTransfers : nullptr;
    lock.unlock();
    if (pTransfers != nullptr) {
        pTransfers->Wake();
    } else if (eWake == Duties::Wake::Sleeper) {
        m_wake.notify_one();
    }
}

bool Workers::Drain()
{
    Lock lock(m_mutex);
    if (m_pTransfers == nullptr) {
        return false;
    }
    WakeUp(m_duties.Drain(Clock::now() + m_pTransfers->Settings().drain), lock);
    lock.lock();
    m_change.wait(lock, [this] { return m_duties.IsDrained(); });
    const auto pTransfers = std::move(m_pTransfers);
    m_tpCloseIdle = Clock::time_point::max();
    lock.unlock(); // while the connections are closed
    return true;
}

void Workers::Stop(Clock::time_point deadline)
{
    Lock lock(m_mutex);
    Stop(deadline, lock);
}

void Workers::Stop(Clock::time_point deadline, Lock& lock)
{
    m_duties.Dismiss();
    m_wake.notify_all();
    const std::size_t nLeft = m_idDelivering == std::this_thread::get_id() ? 1 : 0;
    m_change.wait_until(lock, deadline, [&] { return Running() <= nLeft; });
    RemoveEnded();
    for (Worker& worker : m_lstWorkers) {
        if (worker.thread.joinable()) {
            worker.thread.detach();
        }
    }
}

void Workers::End(Clock::time_point deadline)
{
    Lock lock(m_mutex);
    Stop(deadline, lock);
    m_bEnded = true; // in the same step: no thread is started after the stop
    if (m_idDelivering == std::this_thread::get_id()) {
        while (m_duties.HasFinished()) {
            Deliver(m_duties.TakeFinished(), lock);
        }
    }
}

std::size_t Workers::Queued() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_pTransfers == nullptr ? 0 : m_pTransfers->Waiting();
}

bool Workers::OnDeliveringThread() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_idDelivering == std::this_thread::get_id();
}

void Workers::Run(Worker& self)
{
    Lock lock(m_mutex);
    for (;;) {
        switch (m_duties.Next(Clock::now() >= m_tpCloseIdle)) {
        case Duties::Duty::Lead:
            Lead(lock);
            break;
        case Duties::Duty::Deliver:
            m_idDelivering = std::this_thread::get_id();
            Deliver(m_duties.TakeFinished(), lock);
            m_idDelivering = std::thread::id();
            m_duties.EndDelivery();
            break;
        case Duties::Duty::None:
            Sleep(lock);
            break;
        case Duties::Duty::Leave:
            self.bRuns = false;
            m_change.notify_all();
            return;
        }
    }
}

void Workers::Lead(Lock& lock)
{
    const auto pTransfers = m_pTransfers;
    while (m_duties.IsLed()) {
        ExchangeList incoming = m_duties.TakeIncoming();
        const Clock::time_point tpDrainEnd = m_duties.DrainEnd();
        lock.unlock();
        ExchangeList finished = pTransfers->Round(incoming, tpDrainEnd);
        lock.lock();
        if (m_duties.EndRound(finished, pTransfers->AreInFlight()) == Duties::Wake::Sleeper) {
            m_wake.notify_one();
        }
    }
    m_tpCloseIdle = pTransfers->CloseIdleAt();
    if (m_nUntimed > 0 && m_duties.HasFinished()) {
        m_wake.notify_one(); // to close idle connections when it is time, should the receiver block
    }
    m_change.notify_all();
}

/// Calls the receiver, without the lock.
void Workers::Deliver(ExchangeList exchange, Lock& lock)
{
    auto pReceiver = m_pReceiver;
    const int nLogLevel = m_nLogLevel;
    --m_nOutstanding; // first: a receiver may send its next request even at a limit of one
    lock.unlock();
    CallReceiver(pReceiver.get(), exchange.front(), nLogLevel);
    exchange.clear();
    pReceiver.reset();
    lock.lock();
}

void Workers::Sleep(Lock& lock)
{
    if (m_duties.IsLed() || m_tpCloseIdle == Clock::time_point::max()) {
        ++m_nUntimed;
        m_wake.wait(lock);
        --m_nUntimed;
    } else {
        m_wake.wait_until(lock, m_tpCloseIdle);
    }
}

} // namespace chttpclient
