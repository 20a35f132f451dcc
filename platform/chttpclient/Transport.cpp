#include "Transport.h"

#include "platform/system/Environment.h"
#include "platform/system/QuietThread.h"

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

Transport::Transport(Transport* pBeforeFork) : m_pBeforeFork(pBeforeFork)
{
    if (pBeforeFork != nullptr) {
        pBeforeFork->UnlockAfterFork();
        if (const auto pReceiver = pBeforeFork->m_delivery.Receiver()) {
            m_delivery.SetReceiver(*pReceiver);
        }
    }
}

// A stop waits for callbacks to return. So a callback that starts or stops the transport itself must not wait
// for that stop.
std::unique_lock<std::mutex> Transport::LockLife()
{
    return m_delivery.OnDeliveringThread() ? std::unique_lock<std::mutex>(m_mutexLife, std::try_to_lock)
                                           : std::unique_lock<std::mutex>(m_mutexLife);
}

bool Transport::Start()
{
    const std::unique_lock<std::mutex> life = LockLife();
    if (!life) {
        return false;
    }
    if (m_thread.joinable()) {
        return true;
    }
    try {
        if (!StartLibcurl()) {
            throw std::runtime_error("libcurl can't be initialised");
        }
        m_delivery.Start();
        auto pLoop = std::make_shared<TransferLoop>(ReadTransportSettings(), m_delivery);
        m_thread = StartQuietThread([pLoop] { pLoop->Run(); });
        const std::lock_guard<std::mutex> lock(m_mutexLoop);
        m_pLoop = std::move(pLoop);
        return true;
    } catch (const std::exception& error) {
        Log_Write(1, "chttpclient::CTransport::Start", __LINE__, "the transport can't start: %s",
                  error.what());
        return false;
    }
}

void Transport::StopLoop()
{
    std::shared_ptr<TransferLoop> pLoop;
    {
        const std::lock_guard<std::mutex> lock(m_mutexLoop);
        pLoop = m_pLoop;
    }
    if (pLoop != nullptr) {
        pLoop->Drain();
        m_thread.join();
        const std::lock_guard<std::mutex> lock(m_mutexLoop);
        m_pLoop.reset();
    }
}

void Transport::Stop()
{
    const std::unique_lock<std::mutex> life = LockLife();
    if (life) {
        StopLoop();
        m_delivery.Stop(Delivery::Clock::now() + CALLBACK_GRACE);
    }
}

void Transport::End()
{
    const std::unique_lock<std::mutex> life = LockLife();
    if (life) {
        StopLoop();
        m_delivery.End(Delivery::Clock::now() + CALLBACK_GRACE);
    }
}

void Transport::Send(HttpExchange request)
{
    ExchangeList exchange;
    exchange.push_back(std::move(request));
    std::shared_ptr<TransferLoop> pLoop;
    {
        const std::lock_guard<std::mutex> lock(m_mutexLoop);
        pLoop = m_pLoop;
    }
    const std::size_t nOutstanding = m_delivery.AddOutstanding();
    if (pLoop != nullptr && nOutstanding >= pLoop->Settings().nMaxOutstanding) {
        exchange.front().nHttpError = CHttpOutcome::TooManyOutstanding;
    } else if (pLoop == nullptr || !pLoop->Submit(exchange)) {
        exchange.front().nHttpError = CHttpOutcome::NotRunning;
    } else {
        return;
    }
    m_delivery.Post(exchange);
}

} // namespace chttpclient
