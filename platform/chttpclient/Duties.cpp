#include "Duties.h"

#include <utility>

namespace chttpclient
{

void Duties::Open()
{
    m_bOpen = true;
    m_tpDrainEnd = Clock::time_point::max();
}

Duties::Wake Duties::Drain(Clock::time_point tpEnd)
{
    m_bOpen = false;
    m_tpDrainEnd = tpEnd;
    return m_bLeading ? Wake::Leader : Wake::Nobody;
}

// Only the first request that comes in wakes a thread: the one that takes it takes all that came in by then.
bool Duties::Accept(ExchangeList& exchange, Wake& eWake)
{
    if (!m_bOpen) {
        return false;
    }
    eWake = !m_lstIncoming.empty() ? Wake::Nobody : m_bLeading ? Wake::Leader : Wake::Sleeper;
    m_lstIncoming.splice(m_lstIncoming.end(), exchange);
    return true;
}

Duties::Wake Duties::Refuse(ExchangeList& exchange)
{
    m_lstFinished.splice(m_lstFinished.end(), exchange);
    return m_bDelivering ? Wake::Nobody : Wake::Sleeper;
}

Duties::Duty Duties::Next(bool bIdleTimeOver)
{
    if (!m_bDelivering && !m_lstFinished.empty()) {
        m_bDelivering = true;
        return Duty::Deliver;
    }
    if (!m_bLeading && (bIdleTimeOver || !m_lstIncoming.empty())) {
        m_bLeading = true;
        return Duty::Lead;
    }
    return m_bDismissed ? Duty::Leave : Duty::None;
}

ExchangeList Duties::TakeIncoming()
{
    return std::exchange(m_lstIncoming, {});
}

Duties::Wake Duties::EndRound(ExchangeList& finished, bool bInFlight)
{
    m_lstFinished.splice(m_lstFinished.end(), finished);
    m_bLeading = bInFlight || !m_lstIncoming.empty();
    const bool bOtherDelivers = m_bLeading && !m_bDelivering && !m_lstFinished.empty();
    return bOtherDelivers ? Wake::Sleeper : Wake::Nobody;
}

} // namespace chttpclient
