// A host of the library that sends as fast as it can.

#include "Clock.h"
#include "Measured.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QEventLoop>
#include <QSemaphore>

#include <algorithm>
#include <atomic>
#include <stdexcept>

namespace
{

void Send(int nPort)
{
    CUIAgentReq::Instance()->SendGetSupportVer(QStringLiteral("127.0.0.1"), nPort, QStringLiteral("1.1.0"));
}

void ThrowUnless(bool bAllSucceeded)
{
    if (!bAllSucceeded) {
        throw std::runtime_error("a request of the agent failed");
    }
}

/// Sends and receives on the host's thread.
/// @param fnAnswered  called for every answer, before the next request is sent
template <class Function>
void ExchangeQueued(const Load& load, std::size_t nOutstanding, Function fnAnswered)
{
    QEventLoop loop;
    std::size_t nSent = 0;
    std::size_t nAnswered = 0;
    bool bAllSucceeded = true;
    const auto onAnswer = [&](bool bSucc) {
        bAllSucceeded = bAllSucceeded && bSucc;
        fnAnswered();
        if (++nAnswered == load.nCount) {
            loop.quit();
        } else if (nSent < load.nCount) {
            ++nSent;
            Send(load.nPort);
        }
    };
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, &loop, onAnswer);
    for (; nSent < std::min(nOutstanding, load.nCount); ++nSent) {
        Send(load.nPort);
    }
    loop.exec();
    ThrowUnless(bAllSucceeded);
}

/// Sends from the host's thread, which runs no event loop, and receives on the delivering thread.
class DirectHost
{
public:
    /// @param fnReceived  called on the delivering thread, once for each answer
    template <class Function>
    DirectHost(int nPort, Function fnReceived)
        : m_nPort(nPort),
          m_connection(QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet,
                                        [this, fnReceived](bool bSucc) {
                                            fnReceived();
                                            m_bAllSucceeded = m_bAllSucceeded && bSucc;
                                            m_answered.release();
                                        }))
    {
    }
    ~DirectHost() { QObject::disconnect(m_connection); }
    DirectHost(const DirectHost&) = delete;
    DirectHost& operator=(const DirectHost&) = delete;

    void SendOne() { Send(m_nPort); }
    void WaitForOne() { m_answered.acquire(); }
    void ThrowUnlessAllSucceeded() const { ThrowUnless(m_bAllSucceeded); }

private:
    const int m_nPort;
    QSemaphore m_answered;
    std::atomic<bool> m_bAllSucceeded{true};
    const QMetaObject::Connection m_connection;
};

} // namespace

double RateOfAgent(const Load& load)
{
    const Stopwatch watch;
    ExchangeQueued(load, MAX_OUTSTANDING, [] {});
    return static_cast<double>(load.nCount) / watch.Seconds();
}

double RateOfAgentDirect(const Load& load)
{
    const Stopwatch watch;
    DirectHost host(load.nPort, [] {});
    for (std::size_t nSent = 0; nSent < load.nCount; ++nSent) {
        if (nSent >= MAX_OUTSTANDING) {
            host.WaitForOne();
        }
        host.SendOne();
    }
    for (std::size_t nLeft = std::min(MAX_OUTSTANDING, load.nCount); nLeft > 0; --nLeft) {
        host.WaitForOne();
    }
    host.ThrowUnlessAllSucceeded();
    return static_cast<double>(load.nCount) / watch.Seconds();
}

Latencies LatencyOfAgent(const Load& load)
{
    Laps laps;
    ExchangeQueued(load, 1, [&laps] { laps.Next(); });
    return laps.Microseconds();
}

Latencies LatencyOfAgentDirect(const Load& load)
{
    Stopwatch watch;
    Latencies vecLatency;
    DirectHost host(load.nPort, [&] { vecLatency.push_back(watch.Microseconds()); });
    for (std::size_t nSent = 0; nSent < load.nCount; ++nSent) {
        watch = Stopwatch();
        host.SendOne();
        host.WaitForOne();
    }
    host.ThrowUnlessAllSucceeded();
    vecLatency.erase(vecLatency.begin());
    return vecLatency;
}

double ProcessorTimeOfAgent(const Load& load)
{
    DirectHost host(load.nPort, [] {});
    const double fMicroseconds = ProcessorTimeOfSparse(load.nCount, [&host] { host.SendOne(); });
    for (std::size_t nAnswer = 0; nAnswer < load.nCount; ++nAnswer) {
        host.WaitForOne();
    }
    host.ThrowUnlessAllSucceeded();
    return fMicroseconds;
}

Latencies LatencyOfSyncSender(const Load& load)
{
    constexpr int TIMEOUT_MS = 10'000;
    const tagSRequestGetChannelCheckData request{1, 2, "dxtm", "device", "1-1", "purpose"};
    Laps laps;
    for (std::size_t nSent = 0; nSent < load.nCount; ++nSent) {
        laps.Next();
        bool bAllow = false;
        QString strReason;
        ThrowUnless(CUIAgentReq::Instance()->SendGetChannelCheckDataEx(
                        QStringLiteral("127.0.0.1"), load.nPort, TIMEOUT_MS, request, bAllow, strReason) &&
                    bAllow);
    }
    return laps.Microseconds();
}
