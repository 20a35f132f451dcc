// Makes very many blocking calls that time out at a silent server, and shows that a minute later
// (CHTTPCLIENT_TIMEOUT_MS) none of their threads and descriptors are left, and that there were never too
// many.
//
//   kts_soak_waits [CALLS]        1000 by default, each with a time-out of 10 ms
//
// Exit status: 0 kept, 1 broken.

#include "ProcessUse.h"

#include "platform/reply/ExchangeLimits.h"

#include <ktshttpagent/CUIAgentReq.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr int TIMEOUT_MS = 10;
constexpr std::size_t MOST_REQUESTS = 101; // given up by their calls, and in progress
constexpr std::chrono::seconds PATIENCE{10};

/// Listens but never accepts: the system completes the connections.
class SilentPort
{
public:
    SilentPort()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t nSize = sizeof address;
        auto* const pAddress = reinterpret_cast<sockaddr*>(&address);
        if (::bind(m_nSocket, pAddress, nSize) != 0 || ::listen(m_nSocket, SOMAXCONN) != 0 ||
            ::getsockname(m_nSocket, pAddress, &nSize) != 0) {
            std::perror("kts_soak_waits");
            std::exit(1);
        }
        m_nPort = ntohs(address.sin_port);
    }
    ~SilentPort() { ::close(m_nSocket); }
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;

    int Port() const { return m_nPort; }

private:
    const int m_nSocket = ::socket(AF_INET, SOCK_STREAM, 0);
    int m_nPort = 0;
};

struct Use {
    std::size_t nThreads = Threads();
    std::size_t nDescriptors = OpenDescriptors();

    bool IsWithin(const Use& other) const
    {
        return nThreads <= other.nThreads && nDescriptors <= other.nDescriptors;
    }
    void Print(const char* szWhen) const
    {
        std::printf("%-22s %4zu threads, %4zu descriptors\n", szWhen, nThreads, nDescriptors);
        std::fflush(stdout);
    }
};

void Call(int nPort)
{
    bool bCommon = false;
    CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", nPort, TIMEOUT_MS, "X", bCommon);
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    const std::size_t nCalls = nArguments > 1 ? std::strtoul(ppArguments[1], nullptr, 10) : 1'000;
    const QCoreApplication application(nArguments, ppArguments);
    const SilentPort server;
    Call(1); // nobody listens there; creates what stays for the process
    QCoreApplication::processEvents(QEventLoop::AllEvents, 1'000);
    const Use before;
    before.Print("before");

    Use most;
    QElapsedTimer clock;
    clock.start();
    for (std::size_t nCall = 0; nCall < nCalls; ++nCall) {
        Call(server.Port());
        const Use now;
        most.nThreads = std::max(most.nThreads, now.nThreads);
        most.nDescriptors = std::max(most.nDescriptors, now.nDescriptors);
    }
    std::printf("%zu calls in %.1f s\n", nCalls, static_cast<double>(clock.elapsed()) / 1'000);
    most.Print("at most");
    Use().Print("after the last");

    const auto longest = ExchangeLimitsInForce().timeout + PATIENCE;
    clock.start();
    while (!Use().IsWithin(before) && !clock.hasExpired(longest.count())) {
        QCoreApplication::processEvents();
        QThread::msleep(10);
    }
    std::printf("%.1f s later\n", static_cast<double>(clock.elapsed()) / 1'000);
    const Use after;
    after.Print("after all");
    const bool bKept = after.IsWithin(before) && most.nThreads <= before.nThreads + MOST_REQUESTS;
    std::printf("%s\n", bKept ? "kept" : "BROKEN");
    return bKept ? 0 : 1;
}
