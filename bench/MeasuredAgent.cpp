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

/// Sends from the host's thread, which runs no event loop but waits for the receiver on the delivering
/// thread.
/// @param fnFree  called before each request is sent, as soon as fewer than `nOutstanding` are outstanding
template <class Function>
void ExchangeDirect(const Load& load, std::size_t nOutstanding, Function fnFree)
{
    QSemaphore free(static_cast<int>(nOutstanding));
    std::atomic<bool> bAllSucceeded{true};
    const auto onAnswer = [&](bool bSucc) {
        bAllSucceeded = bAllSucceeded && bSucc;
        free.release();
    };
    const auto connection =
        QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, onAnswer);
    for (std::size_t nSent = 0; nSent < load.nCount; ++nSent) {
        free.acquire();
        fnFree();
        Send(load.nPort);
    }
    free.acquire(static_cast<int>(nOutstanding));
    QObject::disconnect(connection);
    ThrowUnless(bAllSucceeded);
}

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
    ExchangeDirect(load, MAX_OUTSTANDING, [] {});
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
    Laps laps;
    ExchangeDirect(load, 1, [&laps] { laps.Next(); });
    return laps.Microseconds();
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
