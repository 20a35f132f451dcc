// A host that forks without exec, at the moment that its second argument names. For each callback it prints a
// line: process, type, error. The parent also prints how its child ended.
//
//   forking_host URL-OF-A-SERVER MOMENT
//
// The server holds a request for /held until one for /release comes, and answers all others at once.

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace
{
const char* g_szWho = "parent";
}

#if defined(__SANITIZE_ADDRESS__)
// A child has only one thread. It can't reach memory to which only the stacks of the other threads led, so
// leaks are searched for in the parent only.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off()
{
    return g_szWho == std::string_view("parent") ? 0 : 1;
}
#endif

#if defined(__SANITIZE_THREAD__)
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options();
extern "C" const char* __tsan_default_options()
{
    return "die_after_fork=0"; // the test is about children that start threads
}
#endif

namespace
{

constexpr int HELD = 1;
constexpr int QUICK = 2;
constexpr int RELEASE = 3;
constexpr unsigned CHILD_SECONDS = 50;     // then a signal ends it, which the parent prints
constexpr std::chrono::seconds PROMPT{30}; // much less than the drain time, which is a minute

std::string g_strServer;

std::atomic<int> g_nCallbacks{0}; // not a lock, which might be held at a fork

void Say(const std::string& strText)
{
    const std::string strLine = strText + '\n'; // in one write: parent and child share the pipe
    if (::write(STDOUT_FILENO, strLine.data(), strLine.size()) < 0) {
        std::abort();
    }
}

void WaitForCallbacks(int nCount)
{
    while (g_nCallbacks < nCount) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Receive(const std::string& /*body*/, int nType, void* /*pUserData*/, int nHttpError)
{
    Say(std::string(g_szWho) + ' ' + std::to_string(nType) + ' ' + std::to_string(nHttpError));
    ++g_nCallbacks;
}

void Send(int nType, const std::string& strPath)
{
    CHttpClientSendRequest(nType, g_strServer + strPath, "{}", nullptr, true, false, "");
}

/// Forks; the child calls the function and ends by exit().
template <class Function>
pid_t Fork(Function fnInChild)
{
    const pid_t nChild = ::fork();
    if (nChild == 0) {
        sigset_t alarm{};
        ::sigemptyset(&alarm);
        ::sigaddset(&alarm, SIGALRM);
        ::pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr); // the transport's threads take no signal
        ::alarm(CHILD_SECONDS);
        g_szWho = g_szWho == std::string_view("parent") ? "child" : "grandchild";
        g_nCallbacks = 0;
        fnInChild();
        std::exit(0);
    }
    return nChild;
}

void AwaitChild(pid_t nChild)
{
    const auto tpBegin = std::chrono::steady_clock::now();
    int nStatus = -1;
    while (::waitpid(nChild, &nStatus, 0) < 0 && errno == EINTR) {
    }
    const bool bPrompt = std::chrono::steady_clock::now() - tpBegin < PROMPT;
    Say((g_szWho == std::string_view("parent") ? "child" : "grandchild") + std::string(" ended with ") +
        std::to_string(nStatus) + (bPrompt ? ", promptly" : ", late"));
}

void SendWithoutStart()
{
    Send(QUICK, "/quick");
    WaitForCallbacks(1);
}

void StartAndSend()
{
    if (CHttpClientInit()) {
        Send(QUICK, "/quick");
        WaitForCallbacks(1);
    }
}

void StartSendAndStop()
{
    StartAndSend();
    CHttpClientUnInit();
}

/// Runs the transport twice, and forks again each time while it runs.
void ForkAgainTwice()
{
    for (int nLife = 1; nLife <= 2; ++nLife) {
        CHttpClientInit();
        Send(QUICK, "/quick");
        WaitForCallbacks(nLife);
        AwaitChild(Fork([] { StartSendAndStop(); }));
        CHttpClientUnInit();
    }
}

/// What a child does, as named by the second half of the moment.
void ChildOf(std::string_view strMoment)
{
    if (strMoment == "Sends") {
        SendWithoutStart();
    } else if (strMoment == "Starts") {
        StartSendAndStop();
    } else if (strMoment == "StartsAndLeaves") {
        StartAndSend();
    } else if (strMoment == "Stops") {
        CHttpClientUnInit();
    } else if (strMoment == "ForksAgainTwice") {
        ForkAgainTwice();
    }
}

/// Forks while the parent has a request in flight, which is answered afterwards.
void ForkInFlight(std::string_view strMoment)
{
    CHttpClientInit();
    Send(HELD, "/held");
    Send(QUICK, "/quick");
    WaitForCallbacks(1); // both threads run
    AwaitChild(Fork([&] { ChildOf(strMoment); }));
    Send(RELEASE, "/release");
    WaitForCallbacks(3);
    CHttpClientUnInit();
}

/// Forks on the delivering thread, in a callback.
void ForkInCallback()
{
    CHttpClientSetResponseCallBack(
        [](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
            if (nType == QUICK) {
                AwaitChild(Fork([] {}));
            }
            Receive(strBody, nType, pUserData, nHttpError);
        });
    CHttpClientInit();
    Send(QUICK, "/quick");
    WaitForCallbacks(1);
    CHttpClientUnInit();
}

void ForkBeforeStart()
{
    const pid_t nChild = Fork([] { StartSendAndStop(); });
    StartSendAndStop();
    AwaitChild(nChild);
}

/// Forks while the parent is constantly sending and logging, and so holds one lock or another.
void ForkUnderLoad()
{
    constexpr int CHILDREN = 100;
    CHttpClientInit();
    std::atomic<bool> bStop{false};
    int nSent = 0;
    std::thread logger([&] {
        while (!bStop) {
            Log_Write(1, "forking_host", 1, "parent");
        }
    });
    std::thread sender([&] {
        for (; !bStop; ++nSent) {
            Send(QUICK, "/quick");
            WaitForCallbacks(nSent);
        }
    });
    int nClean = 0;
    for (int nChild = 0; nChild < CHILDREN; ++nChild) {
        const pid_t nProcess = Fork([] {
            Log_Write(1, "forking_host", 2, "child");
            StartSendAndStop();
        });
        int nStatus = -1;
        while (::waitpid(nProcess, &nStatus, 0) < 0 && errno == EINTR) {
        }
        nClean += nStatus == 0 ? 1 : 0;
    }
    bStop = true;
    logger.join();
    sender.join();
    CHttpClientUnInit();
    Say("clean children: " + std::to_string(nClean));
    Say(g_nCallbacks == nSent ? "parent got all" : "parent lost some");
}

} // namespace

int main(int /*nArguments*/, char** ppArguments)
{
    g_strServer = ppArguments[1];
    const std::string_view strMoment = ppArguments[2];
    CHttpClientSetResponseCallBack(Receive);
    if (strMoment == "InCallback") {
        ForkInCallback();
    } else if (strMoment == "BeforeStart") {
        ForkBeforeStart();
    } else if (strMoment == "UnderLoad") {
        ForkUnderLoad();
    } else {
        ForkInFlight(strMoment);
    }
    return 0;
}
