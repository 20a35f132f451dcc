#include "Transport.h"

#include "ReceiverCall.h"

#include "platform/system/Environment.h"

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <curl/curl.h>

#include <exception>
#include <stdexcept>
#include <utility>

namespace chttpclient
{
namespace
{

// How long a stop waits for callbacks to return, on top of the drain time.
constexpr std::chrono::seconds CALLBACK_GRACE{5};

/// Initialises libcurl, once per process. This is never undone, since the host may use libcurl too.
bool StartLibcurl()
{
    static const bool bStarted = [] {
        // libcurl opens the file named by this variable when it is initialised, and no option prevents that.
        RemoveVariableIfRightsAreRaised("SSLKEYLOGFILE");
        return curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    }();
    return bStarted;
}

} // namespace

Transport::Transport(Transport* pBeforeFork)
    : m_doubled([this](ExchangeList exchange) { m_workers.HandBack(std::move(exchange)); }),
      m_pBeforeFork(pBeforeFork)
{
    if (pBeforeFork != nullptr) {
        pBeforeFork->UnlockAfterFork();
        if (const auto pReceiver = pBeforeFork->m_workers.Receiver()) {
            m_workers.SetReceiver(*pReceiver);
        }
    }
}

// A stop waits for callbacks to return. So a callback that starts or stops the transport itself must not wait
// for that stop.
std::unique_lock<std::mutex> Transport::LockLife()
{
    return m_workers.OnDeliveringThread() ? std::unique_lock<std::mutex>(m_mutexLife, std::try_to_lock)
                                          : std::unique_lock<std::mutex>(m_mutexLife);
}

bool Transport::Start()
{
    std::unique_lock<std::mutex> life = LockLife();
    if (!life) {
        return false;
    }
    if (m_workers.IsStarted()) {
        return true;
    }
    try {
        if (!StartLibcurl()) {
            throw std::runtime_error("libcurl can't be initialised");
        }
        const TransportSettings settings = ReadTransportSettings();
        m_workers.Start(settings);
        m_doubled.Open();
        life.unlock(); // a site's own log may use the transport too
        LogStart(settings);
        return true;
    } catch (const std::exception& error) {
        Log_Write(1, "chttpclient::CTransport::Start", __LINE__, "the transport can't start: %s",
                  error.what());
        return false;
    }
}

void Transport::Stop()
{
    std::unique_lock<std::mutex> life = LockLife();
    if (life) {
        m_doubled.Close();
        const bool bRan = m_workers.Drain();
        m_workers.Stop(Workers::Clock::now() + CALLBACK_GRACE);
        life.unlock();
        if (bRan) {
            LogStop();
        }
    }
}

void Transport::End()
{
    std::unique_lock<std::mutex> life = LockLife();
    if (life) {
        m_doubled.Close();
        const bool bRan = m_workers.Drain();
        m_workers.End(Workers::Clock::now() + CALLBACK_GRACE);
        life.unlock();
        if (bRan) {
            LogStop();
        }
    }
}

void Transport::HandBack(HttpExchange reply)
{
    ExchangeList exchange;
    exchange.push_back(std::move(reply));
    m_workers.HandBack(std::move(exchange));
}

void Transport::Send(HttpExchange request)
{
    ExchangeList exchange;
    exchange.push_back(std::move(request));
    if (!m_doubled.Take(exchange)) {
        m_workers.Send(std::move(exchange));
    }
}

} // namespace chttpclient
