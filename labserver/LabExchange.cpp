#include "labserver/LabExchange.h"

#include <utility>

namespace
{

constexpr std::size_t MAX_EXCHANGES = 10'000;
constexpr std::size_t MAX_EXCHANGE_BYTES = std::size_t{64} * 1024 * 1024;

std::size_t BytesOf(const LabExchange& exchange)
{
    return exchange.strTarget.size() + exchange.strBody.size() + exchange.strReply.size();
}

} // namespace

void LabExchangeLog::Add(LabExchange exchange)
{
    const std::lock_guard lock(m_mutex);
    m_nBytes += BytesOf(exchange);
    m_lstExchanges.push_back(std::move(exchange));
    while (m_lstExchanges.size() > MAX_EXCHANGES || m_nBytes > MAX_EXCHANGE_BYTES) {
        m_nBytes -= BytesOf(m_lstExchanges.front());
        m_lstExchanges.pop_front();
    }
}

std::vector<LabExchange> LabExchangeLog::All() const
{
    const std::lock_guard lock(m_mutex);
    return {m_lstExchanges.begin(), m_lstExchanges.end()};
}
