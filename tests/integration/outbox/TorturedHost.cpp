// A host that sends reports as a test tells it to, line by line on its input, until the test kills it.
//
//     tortured_host FOLDER URL MARK
//
// FOLDER is that of its outbox, URL the server's; its reports are called MARK-0, MARK-1 and so on. It tells
// of each report after the sender has returned, with a full stop. The commands:
//
//     send N        sends that many reports, and then ends the line
//     endless N     sends reports until it is killed; at most N at a time have no callback
//     status        prints: reports that wait, age of the oldest in ms, dead letters, unprotected, answered
//     memory        prints its resident size in KiB
//     shift N       moves the wall clock by that many seconds, and prints an empty line
//     limit N       allows files of that many bytes, 0 for any size, and prints an empty line
//     child         forks a child, which sends until it is killed, and tells of its reports, MARKc-0 and so
//     on,
//                   with a "c"; prints the child's number
//     end           ends the client, prints how long that took in ms, and ends

#include "ShiftedClock.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/KtsOutbox.h>
#include <ktshttpagent/chttpclient.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>
#include <utility>

#include <sys/resource.h>
#include <unistd.h>

#if defined(__SANITIZE_THREAD__)
extern "C" const char* __tsan_default_options();
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options()
{
    return "die_after_fork=0"; // its child starts threads
}
#endif

namespace
{

using std::chrono::milliseconds;

void Print(const std::string& strText)
{
    if (::write(STDOUT_FILENO, strText.data(), strText.size()) != static_cast<ssize_t>(strText.size())) {
        ::_exit(EXIT_FAILURE);
    }
}

class Host
{
public:
    Host(const std::string& strFolder, const std::string& strUrl, std::string strMark)
        : m_client(*VelCSDK::SDKFactory::GetInstance()), m_strMark(std::move(strMark))
    {
        m_client.Init();
        m_client.SetServerUrl(strUrl);
        m_client.SetResponseCallBack([this](int, const void*, const void*, int nResult) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            ++m_nAnswered;
            m_nFailed += nResult == 0 ? 0 : 1;
            m_change.notify_all();
        });
        if (!KtsOpenOutbox(strFolder)) {
            std::cerr << KtsOutboxStatus().strWhyNotOpen << std::endl;
            ::_exit(EXIT_FAILURE);
        }
    }

    void SendOne(const char* szTold = ".")
    {
        KTSStartPlugin::tagRepoIncubatorStatus status;
        status.name = m_strMark + "-" + std::to_string(m_nSent) + " " + std::string(m_nSent * 37 % 400, 'x');
        m_client.ReportIncubatorStatus(status);
        ++m_nSent;
        Print(szTold);
    }

    [[noreturn]] void SendEndlessly(std::uint64_t nWindow)
    {
        for (;;) {
            {
                std::unique_lock<std::mutex> lock(m_mutex);
                m_change.wait(lock, [&] { return m_nSent - m_nAnswered < nWindow; });
            }
            SendOne();
        }
    }

    void PrintStatus()
    {
        const SKtsOutboxStatus status = KtsOutboxStatus();
        const std::lock_guard<std::mutex> lock(m_mutex);
        Print(std::to_string(status.nWaiting) + " " + std::to_string(status.oldest.count()) + " " +
              std::to_string(status.nDead) + " " + std::to_string(status.nUnprotected) + " " +
              std::to_string(m_nAnswered) + "\n");
    }

    void Fork(const std::string& strProxy)
    {
        const pid_t nChild = ::fork();
        if (nChild == 0) {
            ::setenv("http_proxy", strProxy.c_str(), 1);
            CHttpClientInit();
            m_strMark += "c";
            m_nSent = 0;
            for (;;) {
                SendOne("c");
                ::usleep(50'000);
            }
        }
        Print(std::to_string(nChild) + "\n");
    }

    void End()
    {
        const auto tpBegin = std::chrono::steady_clock::now();
        VelCSDK::SDKFactory::DestoryInstance(&m_client);
        const auto duration =
            std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - tpBegin);
        Print(std::to_string(duration.count()) + " " + std::to_string(m_nFailed) + "\n");
    }

private:
    VelCSDK::IVelClientSDk& m_client;
    std::string m_strMark;
    std::uint64_t m_nSent = 0;
    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_change;
    std::uint64_t m_nAnswered = 0;
    std::uint64_t m_nFailed = 0;
};

void PrintMemory()
{
    std::ifstream statm("/proc/self/statm");
    long nPages = 0;
    statm >> nPages >> nPages; // the second number
    Print(std::to_string(nPages * ::sysconf(_SC_PAGESIZE) / 1024) + "\n");
}

void LimitFiles(rlim_t nBytes)
{
    std::signal(SIGXFSZ, SIG_IGN); // of the log, which may not be written either
    struct rlimit limit {
    };
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = nBytes == 0 ? limit.rlim_max : nBytes;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    Print("\n");
}

} // namespace

int main(int nArguments, char* arArguments[])
{
    if (nArguments != 4) {
        return EXIT_FAILURE;
    }
    Host host(arArguments[1], arArguments[2], arArguments[3]);
    std::string strCommand;
    while (std::cin >> strCommand) {
        long long nNumber = 0;
        if (strCommand == "send" || strCommand == "endless" || strCommand == "shift" ||
            strCommand == "limit") {
            std::cin >> nNumber;
        }
        if (strCommand == "send") {
            for (; nNumber > 0; --nNumber) {
                host.SendOne();
            }
            Print("\n");
        } else if (strCommand == "endless") {
            host.SendEndlessly(static_cast<std::uint64_t>(nNumber));
        } else if (strCommand == "status") {
            host.PrintStatus();
        } else if (strCommand == "memory") {
            PrintMemory();
        } else if (strCommand == "shift") {
            g_nClockShift += nNumber;
            Print("\n");
        } else if (strCommand == "limit") {
            LimitFiles(static_cast<rlim_t>(nNumber));
        } else if (strCommand == "child") {
            std::string strProxy;
            std::cin >> strProxy;
            host.Fork(strProxy);
        } else if (strCommand == "end") {
            host.End();
            return EXIT_SUCCESS;
        }
    }
    ::_exit(EXIT_FAILURE); // the test has gone
}
