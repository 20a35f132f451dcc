#pragma once

// Shared by the parts of exiting_host.

#include "ScriptedServer.h"

#include "net/NetworkUse.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using std::chrono::microseconds;

constexpr int LONG_MS = 60'000;

inline std::minstd_rand g_random; // NOLINT: seeded by main

/// A random length of time up to that many milliseconds.
inline microseconds UpTo(int nMilliseconds)
{
    return microseconds(std::uniform_int_distribution<int>(0, nMilliseconds * 1000)(g_random));
}

inline auto g_tpExit = std::chrono::steady_clock::time_point::max();

/// Notes that the process begins to end; from now on it must be quick.
inline void NoteTheEnd()
{
    g_tpExit = std::chrono::steady_clock::now();
}

[[noreturn]] inline void Exit()
{
    NoteTheEnd();
    std::exit(0);
}

inline bool g_bNetworkPrepared = false;

/// Makes ready for the end what the host's own net/ uses.
inline void PrepareOwnNetwork()
{
    for (int nTry = 0; nTry < 20; ++nTry) { // each gives up after a while, and one that succeeds is the last
        PrepareNetwork();
    }
    g_bNetworkPrepared = true;
}

// Servers within the process, which never end: the end of the process is what is watched.

inline int SilentPort()
{
    static const ScriptedServer& server = *new ScriptedServer(Silent());
    return server.Port();
}

inline int AnsweringPort()
{
    static const ScriptedServer& server = *new ScriptedServer(Ok());
    return server.Port();
}

inline int RefusingPortNumber()
{
    static const RefusingPort& port = *new RefusingPort;
    return port.Port();
}

inline QString BaseUrl(int nPort)
{
    return QStringLiteral("http://127.0.0.1:%1/").arg(nPort);
}

inline void Check(int nPort, int nTimeout = LONG_MS)
{
    bool bAllow = false;
    QString strReason;
    CUIAgentReq::Instance()->SendGetChannelCheckDataEx("127.0.0.1", nPort, nTimeout, {}, bAllow, strReason);
}

inline void InCommon(int nPort)
{
    bool bCommon = false;
    CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", nPort, LONG_MS, "X", bCommon);
}

inline void Upload(int nPort)
{
    tagBatteryTestData data;
    CUIAgentReq::Instance()->SendPostUploadDataEx("127.0.0.1", nPort, LONG_MS, data);
}

inline void CheckForEver(int nPort)
{
    for (;;) {
        Check(nPort);
    }
}

/// Calls a function on another thread after that time.
inline void OnAnotherThread(microseconds delay, std::function<void()> fnCall)
{
    std::thread([delay, fnCall = std::move(fnCall)] {
        std::this_thread::sleep_for(delay);
        fnCall();
    }).detach();
}

inline void ExitOnAnotherThread(microseconds delay)
{
    OnAnotherThread(delay, [] { Exit(); });
}

/// Calls a function from the event loop of this thread after that time.
inline void FromTheLoop(microseconds delay, std::function<void()> fnCall)
{
    QTimer::singleShot(std::chrono::duration_cast<std::chrono::milliseconds>(delay), Qt::PreciseTimer,
                       QCoreApplication::instance(), std::move(fnCall));
}

/// A way to end, with its name. It ends the process, or returns from main.
struct HostKind {
    std::string strName;
    std::function<void()> fnRun;
    bool bOwnThread = false; ///< CUIAgentReq belongs to a thread of its own
};

/// Every end combined with every kind of work in flight.
std::vector<HostKind> EndsDuringWork();

/// Runs blocking calls for a while on a thread of their own, which owns CUIAgentReq.
inline void OnAWorker(std::function<void()> fnCallForEver)
{
    std::promise<void> made;
    std::thread([&made, fnCallForEver = std::move(fnCallForEver)] {
        // The thread may call again at any time until the process is gone, so the object must exist until
        // then.
        QObject::connect(CUIAgentReq::Instance(), &QObject::destroyed, [] { std::_Exit(4); });
        made.set_value();
        fnCallForEver();
    }).detach();
    made.get_future().wait();
    std::this_thread::sleep_for(UpTo(30));
}
