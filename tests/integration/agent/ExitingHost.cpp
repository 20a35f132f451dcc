// A host whose process ends while its agent is busy:
//   exiting_host KIND [SEED]
// What ends it, and what the agent is doing then, is the kind: a name of the table at the end, which "kinds"
// prints. The seed decides how far the host has come by then. It exits with 0 when the process ended as it
// should.

#include "ScriptedServer.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <random>
#include <string>
#include <thread>

namespace
{

using std::chrono::microseconds;

constexpr int LONG_MS = 60'000;
constexpr std::chrono::milliseconds LONGEST_END{1'900}; // less than the pause after a failed report

std::minstd_rand g_random; // NOLINT: seeded by main

/// A length of time that the seed decides.
microseconds UpTo(int nMilliseconds)
{
    return microseconds(std::uniform_int_distribution<int>(0, nMilliseconds * 1000)(g_random));
}

std::chrono::steady_clock::time_point g_tpExit = std::chrono::steady_clock::time_point::max();

[[noreturn]] void Exit()
{
    g_tpExit = std::chrono::steady_clock::now();
    std::exit(0);
}

/// Registered before the library registers anything, so it is called last.
void CheckThatTheEndWasPrompt()
{
    if (g_tpExit < std::chrono::steady_clock::now() - LONGEST_END) {
        std::_Exit(3);
    }
}

// Servers within the process, which never end: the end of the process is what is watched.

int SilentPort()
{
    static const ScriptedServer& server = *new ScriptedServer(Silent());
    return server.Port();
}

int AnsweringPort()
{
    static const ScriptedServer& server = *new ScriptedServer(Ok());
    return server.Port();
}

int RefusingPortNumber()
{
    static const RefusingPort& port = *new RefusingPort;
    return port.Port();
}

QString BaseUrl(int nPort)
{
    return QStringLiteral("http://127.0.0.1:%1/").arg(nPort);
}

void Check(int nPort, int nTimeout = LONG_MS)
{
    bool bAllow = false;
    QString strReason;
    CUIAgentReq::Instance()->SendGetChannelCheckDataEx("127.0.0.1", nPort, nTimeout, {}, bAllow, strReason);
}

void InCommon(int nPort)
{
    bool bCommon = false;
    CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", nPort, LONG_MS, "X", bCommon);
}

void Upload(int nPort)
{
    tagBatteryTestData data;
    CUIAgentReq::Instance()->SendPostUploadDataEx("127.0.0.1", nPort, LONG_MS, data);
}

void CheckForEver(int nPort)
{
    for (;;) {
        Check(nPort);
    }
}

/// Calls a function on another thread after that time.
void OnAnotherThread(microseconds delay, std::function<void()> fnCall)
{
    std::thread([delay, fnCall = std::move(fnCall)] {
        std::this_thread::sleep_for(delay);
        fnCall();
    }).detach();
}

void ExitOnAnotherThread(microseconds delay)
{
    OnAnotherThread(delay, [] { Exit(); });
}

/// Calls a function from the event loop of this thread after that time.
void FromTheLoop(microseconds delay, std::function<void()> fnCall)
{
    QTimer::singleShot(std::chrono::duration_cast<std::chrono::milliseconds>(delay), Qt::PreciseTimer,
                       QCoreApplication::instance(), std::move(fnCall));
}

/// Blocking calls of three kinds, one in the loop of the other; the last one runs `fnInnermost` in its loop.
void NestedCalls(std::function<void()> fnInnermost)
{
    FromTheLoop(UpTo(10), [fnInnermost] {
        FromTheLoop(UpTo(10), [fnInnermost] {
            FromTheLoop(UpTo(10), fnInnermost);
            Upload(SilentPort());
        });
        InCommon(SilentPort());
    });
    Check(SilentPort());
}

void ExitInAReceiver(const QObject* pContext, Qt::ConnectionType eType)
{
    QObject::connect(
        CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetSupportVerRet, pContext,
        [delay = UpTo(20)] {
            std::this_thread::sleep_for(delay);
            Exit();
        },
        eType);
    CUIAgentReq::Instance()->SendGetSupportVer("127.0.0.1", RefusingPortNumber(), "1");
    CheckForEver(SilentPort());
}

/// The agent on a thread of its own, in blocking calls.
void WorkerThatWaits()
{
    std::promise<void> made;
    std::thread([&made] {
        // It may call again at any time until the process is gone, so its object must last as long.
        QObject::connect(CUIAgentReq::Instance(), &QObject::destroyed, [] { std::_Exit(4); });
        made.set_value();
        CheckForEver(SilentPort());
    }).detach();
    made.get_future().wait();
    std::this_thread::sleep_for(UpTo(30));
}

/// The agent on a thread of its own, which has made a blocking call and now waits for the process's end to
/// tell it to return.
void IdleWorker()
{
    static auto& end = *new std::promise<void>;
    static auto& worker = *new std::thread;
    std::atexit([] {
        end.set_value();
        worker.join();
    });
    std::promise<void> called;
    worker = std::thread([&called] {
        Check(RefusingPortNumber());
        called.set_value();
        end.get_future().wait();
    });
    called.get_future().wait();
}

struct SKind {
    const char* szName;
    void (*pfnRun)();
};

// Each ends the process, or returns from main.
const SKind KINDS[] = {
    {"exit-on-the-delivering-thread", [] { ExitInAReceiver(CUIAgentRsp::Instance(), Qt::DirectConnection); }},
    {"exit-in-a-queued-receiver",
     [] { ExitInAReceiver(QCoreApplication::instance(), Qt::QueuedConnection); }},
    {"exit-on-another-thread",
     [] {
         ExitOnAnotherThread(UpTo(30));
         CheckForEver(SilentPort());
     }},
    {"exit-on-another-thread-while-answers-come",
     [] {
         ExitOnAnotherThread(UpTo(30));
         CheckForEver(AnsweringPort());
     }},
    {"exit-on-another-thread-as-the-first-call-begins",
     [] {
         ExitOnAnotherThread(UpTo(3));
         CheckForEver(SilentPort());
     }},
    {"exit-on-another-thread-during-nested-calls",
     [] {
         ExitOnAnotherThread(UpTo(60));
         NestedCalls([] {});
         CheckForEver(SilentPort());
     }},
    {"exit-on-another-thread-during-a-loop-of-the-host",
     [] {
         ExitOnAnotherThread(UpTo(60));
         FromTheLoop(UpTo(10), [] { QEventLoop().exec(); });
         CheckForEver(SilentPort());
     }},
    {"exit-on-another-thread-during-the-pause",
     [] {
         ExitOnAnotherThread(UpTo(60));
         for (;;) {
             CUIAgentReq::Instance()->SendPostReportCycleDataEx(BaseUrl(RefusingPortNumber()), LONG_MS, "");
         }
     }},
    {"exit-on-another-thread-after-a-time-out",
     [] {
         ExitOnAnotherThread(UpTo(30));
         Check(SilentPort(), 1);
         QCoreApplication::exec();
     }},
    {"exit-in-a-timer-slot",
     [] {
         FromTheLoop(UpTo(30), [] { Exit(); });
         CheckForEver(SilentPort());
     }},
    {"exit-in-a-timer-slot-during-nested-calls",
     [] {
         NestedCalls([] { Exit(); });
         CheckForEver(SilentPort());
     }},
    {"exit-in-main-while-a-worker-waits",
     [] {
         WorkerThatWaits();
         Exit();
     }},
    {"return-from-main-while-a-worker-waits", [] { WorkerThatWaits(); }},
    {"exit-in-main-that-waits-for-an-idle-worker",
     [] {
         IdleWorker();
         Exit();
     }},
    {"exit-on-another-thread-during-a-handshake",
     [] {
         ExitOnAnotherThread(UpTo(60));
         const QString strUrl = QStringLiteral("https://127.0.0.1:%1/").arg(SilentPort());
         CUIAgentReq::Instance()->SendPostReportCycleDataEx(strUrl, LONG_MS, "");
         CheckForEver(SilentPort());
     }},
    {"exit-on-another-thread-during-a-slot-of-the-host",
     [] {
         ExitOnAnotherThread(UpTo(30));
         FromTheLoop(UpTo(10), [] { std::this_thread::sleep_for(std::chrono::milliseconds(40)); });
         CheckForEver(SilentPort());
     }},
    {"quick-exit-on-another-thread",
     [] {
         OnAnotherThread(UpTo(30), [] { std::quick_exit(0); });
         CheckForEver(SilentPort());
     }},
    {"immediate-exit-on-another-thread",
     [] {
         OnAnotherThread(UpTo(30), [] { std::_Exit(0); });
         CheckForEver(SilentPort());
     }},
};

} // namespace

int main(int argc, char** argv)
{
    const std::string strKind = argc < 2 ? "" : argv[1];
    g_random.seed(argc < 3 ? 1 : static_cast<unsigned>(std::stoul(argv[2])) * 2'654'435'761U + 1);
    for (const SKind& kind : KINDS) {
        if (strKind == "kinds") {
            std::puts(kind.szName);
        } else if (strKind == kind.szName) {
            std::atexit(&CheckThatTheEndWasPrompt);
            const QCoreApplication application(argc, argv);
            if (strKind.find("worker") == std::string::npos) {
                CUIAgentReq::Instance();
            }
            CUIAgentRsp::Instance();
            kind.pfnRun();
            return 0;
        }
    }
    return strKind == "kinds" ? 0 : 2;
}
