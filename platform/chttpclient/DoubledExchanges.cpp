#include "DoubledExchanges.h"

#include "platform/system/ProcessEnd.h"

#include <chrono>
#include <new>
#include <utility>

namespace chttpclient
{
namespace
{

constexpr long STATUS_OF_A_SUCCESS = 200;

/// Whether an exchange with this outcome has sent anything.
bool IsSent(int nHttpError)
{
    switch (nHttpError) {
    case CHttpOutcome::UnsupportedProtocol:
    case CHttpOutcome::NotRunning:
    case CHttpOutcome::InvalidUrl:
    case CHttpOutcome::NameNotFound:
    case CHttpOutcome::ConnectionRefused:
    case CHttpOutcome::TlsFailed:
    case CHttpOutcome::UntrustedCertificate:
        return false;
    default:
        return true;
    }
}

/// What the network would have told about such an exchange.
/// @return null if there is no memory for it
std::shared_ptr<ExchangeFacts> FactsOf(const HttpExchange& exchange, CHttpClientReply& reply)
{
    try {
        auto pFacts = std::make_shared<ExchangeFacts>();
        pFacts->strError = std::move(reply.strWhy);
        pFacts->nStatus = reply.nHttpError == 0 ? STATUS_OF_A_SUCCESS : reply.nHttpError;
        if (reply.nHttpError < 0) {
            pFacts->nStatus = 0;
        }
        pFacts->bSent = IsSent(reply.nHttpError);
        pFacts->bBodySent = pFacts->bSent;
        pFacts->nConnects = pFacts->bSent ? 1 : 0;
        pFacts->nRetryAfter = reply.nHttpError > 0 ? reply.nRetryAfter : 0;
        pFacts->nWholeTime = std::chrono::duration_cast<std::chrono::microseconds>(
                                 std::chrono::steady_clock::now() - exchange.tpSent)
                                 .count();
        return pFacts;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

CHttpClientReply Cancellation()
{
    CHttpClientReply reply;
    reply.nHttpError = CHttpOutcome::Cancelled;
    return reply;
}

void SetOutcome(HttpExchange& exchange, CHttpClientReply reply)
{
    exchange.nHttpError = reply.nHttpError;
    exchange.pFacts = FactsOf(exchange, reply);
    if (reply.nHttpError >= 0) {
        exchange.strReply = std::move(reply.strBody);
    }
}

} // namespace

/// Belongs to all copies of the function with which a double answers one exchange.
class DoubledExchanges::Answer
{
public:
    Answer(DoubledExchanges& exchanges, std::uint64_t nExchange)
        : m_exchanges(exchanges), m_nExchange(nExchange)
    {
    }
    ~Answer() { Give(Cancellation()); }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    void Give(CHttpClientReply reply) const
    {
        UnlessThreadsAreGone([&] { m_exchanges.End(m_nExchange, std::move(reply)); });
    }

private:
    DoubledExchanges& m_exchanges;
    const std::uint64_t m_nExchange;
};

void DoubledExchanges::Set(CHttpClientDouble fnDouble)
{
    auto pDouble = fnDouble ? std::make_shared<const CHttpClientDouble>(std::move(fnDouble)) : nullptr;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bDoubled = pDouble != nullptr;
    m_pDouble.swap(pDouble); // the previous one is destroyed after the lock is released
}

void DoubledExchanges::Open()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bOpen = true;
}

void DoubledExchanges::Close()
{
    std::map<std::uint64_t, ExchangeList> mapLeft;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bOpen = false;
        mapLeft.swap(m_mapOpen);
    }
    for (auto& [nExchange, exchange] : mapLeft) {
        SetOutcome(exchange.front(), Cancellation());
        m_fnDeliver(std::move(exchange));
    }
}

/// @return the number of the exchange, which is kept from now on; 0 if it is not taken
std::uint64_t DoubledExchanges::Keep(ExchangeList& exchange,
                                     std::shared_ptr<const CHttpClientDouble>& pDouble)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_bOpen || m_pDouble == nullptr) {
        return 0;
    }
    pDouble = m_pDouble;
    m_mapOpen[m_nLast + 1].splice(m_mapOpen[m_nLast + 1].end(), exchange);
    return ++m_nLast;
}

bool DoubledExchanges::Take(ExchangeList& exchange)
{
    if (!m_bDoubled) {
        return false;
    }
    const HttpExchange& sent = exchange.front();
    CHttpClientRequest request{sent.nType, sent.strUrl, sent.strBody, sent.bPost, sent.vecHeaders};
    std::shared_ptr<const CHttpClientDouble> pDouble;
    const std::uint64_t nExchange = Keep(exchange, pDouble);
    if (nExchange == 0) {
        return false;
    }
    try {
        const auto pAnswer = std::make_shared<const Answer>(*this, nExchange);
        (*pDouble)(std::move(request),
                   [pAnswer](CHttpClientReply reply) { pAnswer->Give(std::move(reply)); });
    } catch (...) { // the double threw, or there was no memory: it gives no answer
        End(nExchange, Cancellation());
    }
    return true;
}

void DoubledExchanges::End(std::uint64_t nExchange, CHttpClientReply reply)
{
    ExchangeList ended;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_mapOpen.find(nExchange);
        if (found == m_mapOpen.end()) {
            return;
        }
        ended = std::move(found->second);
        m_mapOpen.erase(found);
    }
    SetOutcome(ended.front(), std::move(reply));
    m_fnDeliver(std::move(ended));
}

} // namespace chttpclient
