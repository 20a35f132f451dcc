#include "Delivery.h"

#include "platform/system/QuietThread.h"

#include <ktshttpagent/clog.h>

#include <exception>
#include <utility>

namespace chttpclient
{
namespace
{

/// Writes a line to the log if possible. Memory may have run out, which may be just what the line reports,
/// and a site's own log may throw; the replies that follow must be delivered all the same.
template <class Say>
void SayIfPossible(Say fnSay) noexcept
{
    try {
        fnSay();
    } catch (...) { // the line is lost
    }
}

} // namespace

void Delivery::SetReceiver(CHttpClientResponse fnReceiver)
{
    auto pReceiver = std::make_shared<const CHttpClientResponse>(std::move(fnReceiver));
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pReceiver.swap(pReceiver); // the previous one is destroyed after the lock is released
}

std::shared_ptr<const CHttpClientResponse> Delivery::Receiver() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_pReceiver;
}

void Delivery::Start()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_bEnded) {
        StartThread();
    }
}

void Delivery::StartThread()
{
    if (m_idThread != std::thread::id()) {
        return;
    }
    if (m_thread.joinable()) {
        m_thread.join(); // it has left its loop and is about to return
    }
    m_bStop = false;
    m_thread = StartQuietThread([this] { Run(); });
    m_idThread = m_thread.get_id();
}

void Delivery::Post(ExchangeList& exchanges)
{
    try {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_bEnded) {
            StartThread();
            m_lstWaiting.splice(m_lstWaiting.end(), exchanges);
            const bool bIdle = m_bIdle;
            lock.unlock(); // so that the thread does not wake up only to wait for it
            if (bIdle) {
                m_wake.notify_one();
            }
            return;
        }
    } catch (const std::exception& error) { // no thread, or no memory for one
        SayIfPossible([&] {
            Log_Write(1, "chttpclient::CDelivery::Post", __LINE__, "no thread to deliver on: %s",
                      error.what());
        });
    }
    Deliver(exchanges);
}

void Delivery::Stop(Clock::time_point deadline)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_bStop = true;
    m_wake.notify_one();
    const bool bSelf = m_idThread == std::this_thread::get_id();
    const auto hasEnded = [this] { return m_idThread == std::thread::id(); };
    if (bSelf || !m_ended.wait_until(lock, deadline, hasEnded)) {
        if (m_thread.joinable()) {
            m_thread.detach();
        }
    } else if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Delivery::End(Clock::time_point deadline)
{
    Stop(deadline);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_bEnded = true;
    if (m_idThread == std::this_thread::get_id()) {
        DeliverWaiting(lock);
    }
}

bool Delivery::OnDeliveringThread() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_idThread == std::this_thread::get_id();
}

void Delivery::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_bStop || !m_lstWaiting.empty()) {
        m_bIdle = true;
        m_wake.wait(lock, [this] { return m_bStop || !m_lstWaiting.empty(); });
        m_bIdle = false;
        DeliverWaiting(lock);
    }
    m_idThread = std::thread::id();
    m_ended.notify_all();
}

// Takes one exchange at a time: if its receiver ends the process, the others are still in the list, and `End`
// delivers them.
void Delivery::DeliverWaiting(std::unique_lock<std::mutex>& lock)
{
    while (!m_lstWaiting.empty()) {
        ExchangeList next;
        next.splice(next.end(), m_lstWaiting, m_lstWaiting.begin());
        lock.unlock();
        Deliver(next);
        lock.lock();
    }
}

void Delivery::Deliver(ExchangeList& exchanges)
{
    for (; !exchanges.empty(); exchanges.pop_front()) {
        m_nOutstanding.fetch_sub(1); // first: a receiver may send its next request even at a limit of one
        Deliver(exchanges.front());
    }
}

void Delivery::Deliver(const HttpExchange& exchange)
{
    const std::shared_ptr<const CHttpClientResponse> pReceiver = Receiver();
    if (pReceiver == nullptr || *pReceiver == nullptr) {
        SayIfPossible([&] {
            Log_Write(1, "chttpclient::CDelivery::Deliver", __LINE__, "no receiver for a reply of type %d",
                      exchange.nType);
        });
        return;
    }
    try {
        (*pReceiver)(exchange.strReply, exchange.nType, exchange.pUserData, exchange.nHttpError);
    } catch (const std::exception& error) {
        SayIfPossible([&] {
            Log_Write(1, "chttpclient::CDelivery::Deliver", __LINE__,
                      "the receiver of a reply of type %d threw: %s", exchange.nType, error.what());
        });
    } catch (...) {
        SayIfPossible([&] {
            Log_Write(1, "chttpclient::CDelivery::Deliver", __LINE__,
                      "the receiver of a reply of type %d threw something that is no std::exception",
                      exchange.nType);
        });
    }
}

} // namespace chttpclient
