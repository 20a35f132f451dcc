#pragma once

#include <chrono>

class QEventLoop;
class QNetworkAccessManager;

// Tracks which threads are using Qt's network access, so that each of them stops before the parts of Qt that
// it needs are destroyed: at the end of its thread, of the QCoreApplication or of the process.
//
// When the process ends on another thread, a thread that is using the network is stopped where it waits: its
// access managers are deleted, and it sleeps until the process is gone. So it does not return to code that
// would run on in a half-destroyed process. In case the host waits for that thread while it ends, the sleep
// is limited to 10 s.

/// Watches an access manager that has a request in progress: the manager is deleted at the first of the three
/// ends above. Call it on the manager's thread, for each request.
void WatchInFlight(QNetworkAccessManager& manager);

/// Marks a blocking call of this thread, or a call that starts a request. Create it before the request is
/// made.
class NetworkCall
{
public:
    NetworkCall();
    /// If the call was refused, this thread's other requests are ended too. If the process is ending on
    /// another thread, this returns only after the sleep.
    ~NetworkCall();
    NetworkCall(const NetworkCall&) = delete;
    NetworkCall& operator=(const NetworkCall&) = delete;

    /// Whether the process, or the QCoreApplication, is ending, so that no request may be made any more.
    bool IsRefused() const { return m_bRefused; }

    /// Runs the loop until its user, or the end of the process or application, quits it.
    static void Run(QEventLoop& loop);

private:
    bool m_bRefused;
};

/// Makes this thread wait, without handling events, for that time or until the process begins to end.
void HoldBack(std::chrono::milliseconds pause);

/// Makes Qt create the objects that it creates with the first requests, and then registers `EndNetworkUse`,
/// since what is created first is destroyed last. This is done once per process. Without a QCoreApplication
/// it does nothing, and it gives up after 3 s; in both cases it may be called again.
void PrepareNetwork();

/// Ends all use of the network, when the process ends: that of this thread at once, that of the others within
/// 5 s. No new use can begin.
void EndNetworkUse();

/// Whether `EndNetworkUse` was called.
bool HasNetworkUseEnded();
