// A host whose process ends while its agent is busy:
//   exiting_host KIND [SEED]
// KIND determines what ends the process and what the agent is doing then. It is a name in the table at the
// end of this file, or one of the ends in ExitingHost_Work.cpp; "kinds" prints all of them. SEED determines
// how far the host gets before the end. The exit status is 0 when the process ended as it should.

#include "ExitingHost.h"

#include "net/NAManager.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr std::chrono::milliseconds LONGEST_END{1'900}; // shorter than the pause after a failed report

/// Registered before the library registers anything, so it is called last.
void CheckTheEnd()
{
    if (g_bNetworkPrepared && !HasNetworkUseEnded()) {
        std::fputs("the end has not ended the use of the network\n", stderr);
        std::_Exit(8);
    }
    const auto length = std::chrono::steady_clock::now() - g_tpExit; // less than nothing without such an end
    if (length > LONGEST_END) {
        const auto nMs = std::chrono::duration_cast<std::chrono::milliseconds>(length).count();
        std::fprintf(stderr, "the end took %lld ms\n", static_cast<long long>(nMs));
        std::_Exit(3);
    }
}

/// Makes blocking calls of three kinds, each in the event loop of the previous one; the last one runs
/// `fnInnermost` in its loop.
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

/// Runs the agent on a thread of its own, which makes a blocking call and then waits for the end of the
/// process to make it return.
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

/// Makes blocking calls, which are refused, while a static object is destroyed.
struct CallsAtTheEnd {
    const int nPort = AnsweringPort();

    ~CallsAtTheEnd()
    {
        Check(nPort);
        InCommon(nPort);
        Upload(nPort);
        if (CUIAgentReq::Instance()->LastOutcome().eEnd != EBlockingEnd::Refused) {
            std::_Exit(7);
        }
    }
};

void CallAtTheEnd()
{
    static const CallsAtTheEnd object;
}

/// Sends a request as a static object is destroyed, and leaves it under way.
struct SendsAtTheEnd {
    const QString strUrl = BaseUrl(SilentPort());
    NAManager* const pManager = new NAManager(nullptr); // is nobody's where its request is refused

    ~SendsAtTheEnd() { pManager->SendRequest(strUrl, {}, NAManager::METHOD_GET); }
};

/// @param bFirst   whether the request is the first that this thread makes itself
/// @param bBefore  whether it is made before the use of the network ends
void SendAtTheEnd(bool bFirst, bool bBefore)
{
    if (!bFirst) {
        (new NAManager(nullptr))->SendRequest(BaseUrl(AnsweringPort()), {}, NAManager::METHOD_GET);
    }
    if (bBefore) {
        PrepareOwnNetwork();
    }
    static const SendsAtTheEnd object;
    PrepareOwnNetwork();
}

/// The process ends on another thread while calls wait.
std::vector<HostKind> ExitsBesideWaitingCalls()
{
    return {
        {"exit-on-another-thread-while-answers-come",
         [] {
             ExitOnAnotherThread(UpTo(30));
             CheckForEver(AnsweringPort());
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
        {"exit-on-another-thread-during-a-slot-of-the-host",
         [] {
             ExitOnAnotherThread(UpTo(30));
             FromTheLoop(UpTo(10), [] { std::this_thread::sleep_for(std::chrono::milliseconds(40)); });
             CheckForEver(SilentPort());
         }},
    };
}

/// The process ends on another thread at a certain moment of a call.
std::vector<HostKind> ExitsBesideOneCall()
{
    return {
        {"exit-on-another-thread-as-the-first-call-begins",
         [] {
             ExitOnAnotherThread(UpTo(3));
             CheckForEver(SilentPort());
         }},
        {"exit-on-another-thread-during-the-pause",
         [] {
             ExitOnAnotherThread(UpTo(60));
             for (;;) {
                 CUIAgentReq::Instance()->SendPostReportCycleDataEx(BaseUrl(RefusingPortNumber()), LONG_MS,
                                                                    "");
             }
         }},
        {"exit-on-another-thread-after-a-time-out",
         [] {
             ExitOnAnotherThread(UpTo(30));
             Check(SilentPort(), 1);
             QCoreApplication::exec();
         }},
        {"exit-on-another-thread-during-a-handshake",
         [] {
             ExitOnAnotherThread(UpTo(60));
             const QString strUrl = QStringLiteral("https://127.0.0.1:%1/").arg(SilentPort());
             CUIAgentReq::Instance()->SendPostReportCycleDataEx(strUrl, LONG_MS, "");
             CheckForEver(SilentPort());
         }},
    };
}

/// The process ends on the thread of the calls.
std::vector<HostKind> ExitsInMain()
{
    return {
        {"exit-in-a-timer-slot-during-nested-calls",
         [] {
             NestedCalls([] { Exit(); });
             CheckForEver(SilentPort());
         }},
        {"exit-in-main-that-waits-for-an-idle-worker",
         [] {
             IdleWorker();
             Exit();
         },
         true},
        {"exit-in-main-and-a-call-before-the-library-ends",
         [] {
             Check(AnsweringPort());
             CallAtTheEnd();
             Exit();
         }},
        {"return-from-main-and-a-call-before-the-library-ends",
         [] {
             Check(AnsweringPort());
             CallAtTheEnd();
             NoteTheEnd();
         }},
    };
}

/// The process ends, and a static object makes a request of its own afterwards.
std::vector<HostKind> EndsWithALateRequest()
{
    std::vector<HostKind> vecKinds;
    for (const bool bExit : {true, false}) {
        for (const bool bFirst : {true, false}) {
            for (const bool bBefore : {true, false}) {
                vecKinds.push_back({std::string(bExit ? "exit-in-main" : "return-from-main") + "-and-a-" +
                                        (bFirst ? "first" : "further") + "-request-" +
                                        (bBefore ? "before" : "after") + "-the-network-ends",
                                    [=] {
                                        SendAtTheEnd(bFirst, bBefore);
                                        bExit ? Exit() : NoteTheEnd();
                                    }});
            }
        }
    }
    return vecKinds;
}

std::vector<HostKind> AllKinds()
{
    std::vector<HostKind> vecKinds;
    for (const auto fnKinds : {&ExitsBesideWaitingCalls, &ExitsBesideOneCall, &ExitsInMain,
                               &EndsWithALateRequest, &EndsDuringWork}) {
        const std::vector<HostKind> vecMore = fnKinds();
        vecKinds.insert(vecKinds.end(), vecMore.begin(), vecMore.end());
    }
    return vecKinds;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string strKind = argc < 2 ? "" : argv[1];
    g_random.seed(argc < 3 ? 1
                           : static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)) * 2'654'435'761U + 1);
    for (const HostKind& kind : AllKinds()) {
        if (strKind == "kinds") {
            std::puts(kind.strName.c_str());
        } else if (strKind == kind.strName) {
            ::setenv("CHTTPCLIENT_DRAIN_MS", "100", 1); // for what is on its way to the silent server
            std::atexit(&CheckTheEnd);
            const QCoreApplication application(argc, argv);
            if (!kind.bOwnThread) {
                CUIAgentReq::Instance();
            }
            CUIAgentRsp::Instance();
            kind.fnRun();
            return 0;
        }
    }
    return strKind == "kinds" ? 0 : 2;
}
