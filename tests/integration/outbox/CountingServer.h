#pragma once

#include "ReportLedger.h"
#include "ScriptedServer.h"

#include <atomic>
#include <cstdint>
#include <string>

/// A server that acknowledges reports and counts them, and may be away: then it answers 503.
class CountingServer
{
public:
    /// @param nFaultEvery  in so many reports, one gets no reply although it is counted, and one gets 503 and
    ///                     is not; 0 for none
    explicit CountingServer(std::uint64_t nFaultEvery = 0);

    std::string Url() const { return m_server.Url("/"); }
    int Port() const { return m_server.Port(); }
    const ReportLedger& Ledger() const { return m_ledger; }
    /// How many requests came, those in vain included.
    std::uint64_t Requests() const { return m_nRequests; }
    void SetAway(bool bAway) { m_bAway = bAway; }

private:
    ServerStep Answer(const WireRequest& request);

    const std::uint64_t m_nFaultEvery;
    std::atomic<std::uint64_t> m_nRequests = 0;
    std::atomic<bool> m_bAway = false;
    ReportLedger m_ledger;
    ScriptedServer m_server; ///< last: it answers until it is destroyed
};
