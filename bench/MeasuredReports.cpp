// A host that sends reports through the asynchronous interface, with or without an outbox.
// KTSHTTPAGENT_OUTBOX decides which.

#include "Clock.h"
#include "Measured.h"
#include "ProcessUse.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/KtsOutbox.h>

#include <QSemaphore>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

namespace
{

/// Sends reports, which are received on the delivering thread.
class ReportingHost
{
public:
    explicit ReportingHost(int nPort)
        : m_nPort(nPort),
          m_connection(QObject::connect(CUIAgentRsp::Instance(),
                                        &CUIAgentRsp::SigPostReportIncubatorStatusRet, [this](bool bSucc) {
                                            m_bAllSucceeded = m_bAllSucceeded && bSucc;
                                            m_answered.release();
                                        }))
    {
        m_status.name = "incubator 1";
    }
    ~ReportingHost() { QObject::disconnect(m_connection); }
    ReportingHost(const ReportingHost&) = delete;
    ReportingHost& operator=(const ReportingHost&) = delete;

    void SendOne()
    {
        CUIAgentReq::Instance()->SendPostReportIncubatorStatus(QStringLiteral("127.0.0.1"), m_nPort,
                                                               m_status);
    }
    void WaitForOne() { m_answered.acquire(); }

    /// Throws unless all reports were answered, and the outbox, if it is asked for, was there.
    void ThrowUnlessAllIsWell() const
    {
        const bool bAskedFor = std::getenv("KTSHTTPAGENT_OUTBOX") != nullptr;
        const SKtsOutboxStatus status = KtsOutboxStatus();
        if (!m_bAllSucceeded || status.bOpen != bAskedFor || status.nUnprotected != 0) {
            throw std::runtime_error("a report failed, or the outbox did: " + status.strWhyNotOpen +
                                     status.strLastError);
        }
    }

private:
    const int m_nPort;
    KTSStartPlugin::tagRepoIncubatorStatus m_status;
    QSemaphore m_answered;
    std::atomic<bool> m_bAllSucceeded{true};
    const QMetaObject::Connection m_connection;
};

} // namespace

double RateOfReports(const Load& load)
{
    ReportingHost host(load.nPort);
    const Stopwatch watch;
    for (std::size_t nSent = 0; nSent < load.nCount; ++nSent) {
        if (nSent >= MAX_OUTSTANDING) {
            host.WaitForOne();
        }
        host.SendOne();
    }
    for (std::size_t nLeft = std::min(MAX_OUTSTANDING, load.nCount); nLeft > 0; --nLeft) {
        host.WaitForOne();
    }
    const double fSeconds = watch.Seconds();
    host.ThrowUnlessAllIsWell();
    return static_cast<double>(load.nCount) / fSeconds;
}

Latencies CallsOfReports(const Load& load)
{
    constexpr std::chrono::milliseconds PERIOD{1};
    ReportingHost host(load.nPort);
    Latencies vecCall;
    auto tpNext = std::chrono::steady_clock::now();
    for (std::size_t nSent = 0; nSent < load.nCount; ++nSent, tpNext += PERIOD) {
        std::this_thread::sleep_until(tpNext);
        const Stopwatch watch;
        host.SendOne();
        vecCall.push_back(watch.Microseconds());
    }
    for (std::size_t nAnswer = 0; nAnswer < load.nCount; ++nAnswer) {
        host.WaitForOne();
    }
    host.ThrowUnlessAllIsWell();
    vecCall.erase(vecCall.begin());
    return vecCall;
}

double SleepsOfIdleReporter(const Load& load)
{
    ReportingHost host(load.nPort);
    host.SendOne();
    host.WaitForOne();
    std::this_thread::sleep_for(std::chrono::seconds(10)); // the transport closes its connection meanwhile
    const long nBefore = Sleeps();
    std::this_thread::sleep_for(std::chrono::seconds(load.nCount));
    const long nSleeps = Sleeps() - nBefore - 1; // the sleep of this thread
    host.ThrowUnlessAllIsWell();
    return static_cast<double>(nSleeps);
}
