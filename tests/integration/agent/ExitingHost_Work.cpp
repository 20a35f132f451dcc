// Every end of a process while every kind of work is in flight: two tables, and their product.

#include "ExitingHost.h"

#include "net/NAMDownload.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <chrono>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace
{

/// What the agent is doing when the process ends. Only work that blocks does not return.
struct Work {
    const char* szName;
    void (*pfnBegin)();
    bool bBlocks = false;
};

/// An end of the process, prepared before the event loop or the blocking calls run.
struct End {
    const char* szName;
    void (*pfnPrepare)(); ///< null if main itself ends the process
    bool bReturnsFromMain = false;
};

int EitherPort(int nRequest)
{
    return nRequest % 2 == 0 ? SilentPort() : AnsweringPort();
}

/// A few; the seed determines how many.
int Some()
{
    return std::uniform_int_distribution<int>(1, 20)(g_random);
}

/// A server whose files never end.
QString EndlessUrl()
{
    static const ScriptedServer& server = *new ScriptedServer([](const WireRequest&) {
        ServerStep step{"HTTP/1.1 200 OK\r\n\r\n", ServerStep::Ending::Close};
        step.strEndless = std::string(50'000, 'x');
        step.pause = std::chrono::milliseconds(2);
        return step;
    });
    return QString::fromStdString(server.Url("/file"));
}

void Query()
{
    for (int nLeft = Some(); nLeft > 0; --nLeft) {
        CUIAgentReq::Instance()->SendGetSupportVer("127.0.0.1", EitherPort(nLeft), "1");
    }
}

void Report()
{
    KTSStartPlugin::tagRepoIncubatorStatus status{"incubator", true, 25.0F};
    for (int nLeft = Some(); nLeft > 0; --nLeft) {
        CUIAgentReq::Instance()->SendPostReportIncubatorStatus("127.0.0.1", EitherPort(nLeft), status);
    }
}

void QueryAndWait()
{
    for (int nCall = 0;; ++nCall) {
        Check(EitherPort(nCall), nCall % 4 == 0 ? 5 : LONG_MS); // some leave requests in progress
    }
}

void ReportAndWait()
{
    CUIAgentReq::Instance()->SendPostReportStepData_ORN(BaseUrl(AnsweringPort()), LONG_MS, "x");
    for (;;) {
        CUIAgentReq::Instance()->SendPostReportCycleDataEx(BaseUrl(SilentPort()), LONG_MS, "x");
    }
}

void Download()
{
    const QString strFolder = QString::fromLocal8Bit(qgetenv("CLOG_DIR"));
    for (int nLeft = Some(); nLeft > 0; --nLeft) {
        const QString strUrl = nLeft % 3 == 0 ? EndlessUrl() : BaseUrl(EitherPort(nLeft));
        const QString strTarget = QStringLiteral("%1/%2-%3").arg(strFolder).arg(::getpid()).arg(nLeft);
        auto* const pDownload = new NAMDownload(nullptr);
        QObject::connect(pDownload, &NAMDownload::signal_NReply_finished,
                         [strTarget](bool) { QFile::remove(strTarget); });
        if (strFolder.isEmpty() || !pDownload->Start(strUrl, strTarget)) {
            std::_Exit(5);
        }
    }
}

/// Makes replies wait for a slow receiver on the delivering thread, and for the event loop of a slow host.
void LetRepliesWait()
{
    const CUIAgentRsp* const pResponse = CUIAgentRsp::Instance();
    const auto fnTakeTime = [] { std::this_thread::sleep_for(std::chrono::milliseconds(2)); };
    QObject::connect(pResponse, &CUIAgentRsp::SigGetSupportVerRet, fnTakeTime);
    QObject::connect(pResponse, &CUIAgentRsp::SigGetSupportVerRet, QCoreApplication::instance(), fnTakeTime);
    for (int nLeft = 20; nLeft > 0; --nLeft) {
        CUIAgentReq::Instance()->SendGetSupportVer("127.0.0.1", AnsweringPort(), "1");
    }
}

const Work WORKS[] = {
    {"an-asynchronous-query", &Query},
    {"an-asynchronous-report", &Report},
    {"a-blocking-query", &QueryAndWait, true},
    {"a-blocking-report", &ReportAndWait, true},
    {"a-download", &Download},
    {"the-wait-of-replies", &LetRepliesWait},
};

void ExitInAReceiver(const QObject* pContext, Qt::ConnectionType eType)
{
    const auto fnEnd = [delay = UpTo(20)] {
        std::this_thread::sleep_for(delay);
        Exit();
    };
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetUserInfoRet, pContext, fnEnd, eType);
    CUIAgentReq::Instance()->SendGetUserInfo("127.0.0.1", RefusingPortNumber(), 1);
}

const End ENDS[] = {
    {"exit-on-the-delivering-thread", [] { ExitInAReceiver(CUIAgentRsp::Instance(), Qt::DirectConnection); }},
    {"exit-in-a-queued-receiver",
     [] { ExitInAReceiver(QCoreApplication::instance(), Qt::QueuedConnection); }},
    {"exit-on-another-thread", [] { ExitOnAnotherThread(UpTo(30)); }},
    {"exit-in-a-timer-slot", [] { FromTheLoop(UpTo(30), [] { Exit(); }); }},
    {"quick-exit-on-another-thread", [] { OnAnotherThread(UpTo(30), [] { std::quick_exit(0); }); }},
    {"immediate-exit-on-another-thread", [] { OnAnotherThread(UpTo(30), [] { std::_Exit(0); }); }},
    {"exit-in-main", nullptr},
    {"return-from-main", nullptr, true},
};

/// Handles this thread's events for a while.
void HandleEvents()
{
    const microseconds length = UpTo(30);
    QElapsedTimer clock;
    clock.start();
    while (clock.nsecsElapsed() < length.count() * 1'000) {
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(microseconds(200));
    }
}

void EndDuring(const End& end, const Work& work)
{
    PrepareOwnNetwork(); // not while the process ends
    if (end.pfnPrepare != nullptr) {
        end.pfnPrepare();
        work.pfnBegin();
        QCoreApplication::exec();
        std::_Exit(6); // only the end of the process may end the loop
    }
    if (work.bBlocks) {
        OnAWorker(work.pfnBegin);
    } else {
        work.pfnBegin();
        HandleEvents();
    }
    if (!end.bReturnsFromMain) {
        Exit();
    }
    NoteTheEnd();
}

} // namespace

std::vector<HostKind> EndsDuringWork()
{
    std::vector<HostKind> vecKinds;
    for (const End& end : ENDS) {
        for (const Work& work : WORKS) {
            vecKinds.push_back({std::string(end.szName) + "-during-" + work.szName,
                                [&end, &work] { EndDuring(end, work); },
                                end.pfnPrepare == nullptr && work.bBlocks});
        }
    }
    return vecKinds;
}
