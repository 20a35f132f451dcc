#pragma once

#include <chrono>

class QEventLoop;
class QNetworkAccessManager;

// Which threads are using Qt's network access, so that none goes on with it when the parts of Qt that it
// works with go: at the end of its thread, of the QCoreApplication, of the process.
//
// When the process ends on another thread, a thread that is using the network is stopped where it waits: its
// access managers are deleted, and it sleeps until the process is gone. It does not return to code that would
// go on in a process half taken down. For a host that nevertheless waits for that thread while it ends, the
// sleep is bounded (10 s).

/// Keeps watch over an access manager that has a request under way: it is deleted at the end that comes
/// first. Call it on the manager's thread, with each request.
void WatchInFlight(QNetworkAccessManager& manager);

/// A blocking call of this thread, or one that begins a request, from before the request is made.
class CBlockingCall
{
public:
    CBlockingCall();
    /// Where the call was refused, this thread's other requests are ended too. Once the process ends on
    /// another thread, this returns only after the sleep.
    ~CBlockingCall();
    CBlockingCall(const CBlockingCall&) = delete;
    CBlockingCall& operator=(const CBlockingCall&) = delete;

    /// Whether the process, or the QCoreApplication, is ending, so that no request may be made any more.
    bool IsRefused() const { return m_bRefused; }

    /// Runs the loop until somebody, or the end, quits it.
    static void Run(QEventLoop& loop);

private:
    bool m_bRefused;
};

/// Holds this thread back for that time, without handling events, or until the process begins to end.
void HoldBack(std::chrono::milliseconds pause);

/// Makes what Qt makes with the first requests, and registers `EndNetworkUse` after it, since what is made
/// first is destroyed last. Once a process. Without a QCoreApplication it does nothing, and it gives up after
/// 3 s; then it may be called again.
void PrepareNetwork();

/// Ends all use of the network, as the process ends: that of this thread at once, that of the others within 5
/// s. No further one begins.
void EndNetworkUse();

/// Whether `EndNetworkUse` was called.
bool HasNetworkUseEnded();
