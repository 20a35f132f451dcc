#include "HoldingServer.h"

#include "Clock.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace
{

using RequestCount = std::atomic<std::size_t>;

void Check(bool bSucc, const char* szWhat)
{
    if (!bSucc) {
        throw std::runtime_error(std::string("the holding server: ") + szWhat);
    }
}

/// @param nPort  0 for a free port
int Listen(std::size_t nAddress, int nPort)
{
    constexpr int BACKLOG = 4096;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<in_port_t>(nPort));
    address.sin_addr.s_addr = htonl(static_cast<in_addr_t>(INADDR_LOOPBACK + nAddress));
    const int nSocket = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    Check(::bind(nSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
    Check(::listen(nSocket, BACKLOG) == 0, "listen");
    return nSocket;
}

int PortOf(int nSocket)
{
    sockaddr_in address{};
    socklen_t nSize = sizeof address;
    Check(::getsockname(nSocket, reinterpret_cast<sockaddr*>(&address), &nSize) == 0, "getsockname");
    return ntohs(address.sin_port);
}

void Watch(int nEpoll, int nSocket, bool bListener)
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = (static_cast<std::uint64_t>(bListener) << 32U) | static_cast<std::uint32_t>(nSocket);
    Check(::epoll_ctl(nEpoll, EPOLL_CTL_ADD, nSocket, &event) == 0, "epoll_ctl");
}

void AcceptAll(int nEpoll, int nListener)
{
    for (int nSocket = ::accept(nListener, nullptr, nullptr); nSocket >= 0;
         nSocket = ::accept(nListener, nullptr, nullptr)) {
        Watch(nEpoll, nSocket, false);
    }
}

// A request is so small that over the loopback interface it arrives in one part.
void ReadRequest(int nSocket, RequestCount& nRequests)
{
    std::array<char, 4096> buffer{};
    const ssize_t nRead = ::recv(nSocket, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (nRead <= 0) {
        ::close(nSocket);
    } else if (std::string_view(buffer.data(), static_cast<std::size_t>(nRead)).find("\r\n\r\n") !=
               std::string_view::npos) {
        ++nRequests;
    }
}

[[noreturn]] void Serve(const std::vector<int>& vecListeners, RequestCount& nRequests)
{
    const int nEpoll = ::epoll_create1(0);
    for (const int nListener : vecListeners) {
        Watch(nEpoll, nListener, true);
    }
    for (;;) {
        std::array<epoll_event, 64> events{};
        const int nEvents = ::epoll_wait(nEpoll, events.data(), static_cast<int>(events.size()), -1);
        for (int nEvent = 0; nEvent < nEvents; ++nEvent) {
            const std::uint64_t nData = events.at(static_cast<std::size_t>(nEvent)).data.u64;
            const int nSocket = static_cast<int>(nData & 0xFFFFFFFFU);
            if (nData >> 32U != 0) {
                AcceptAll(nEpoll, nSocket);
            } else {
                ReadRequest(nSocket, nRequests);
            }
        }
    }
}

RequestCount* SharedCount()
{
    void* const pShared =
        ::mmap(nullptr, sizeof(RequestCount), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    Check(pShared != MAP_FAILED, "mmap");
    return new (pShared) RequestCount(0);
}

} // namespace

HoldingServer::HoldingServer(std::size_t nAddresses) : m_pRequests(SharedCount())
{
    std::vector<int> vecListeners{Listen(0, 0)};
    m_nPort = PortOf(vecListeners.front());
    for (std::size_t nAddress = 1; nAddress < nAddresses; ++nAddress) {
        vecListeners.push_back(Listen(nAddress, m_nPort));
    }
    m_pid = ::fork();
    Check(m_pid >= 0, "fork");
    if (m_pid == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL); // the server never ends by itself
        Serve(vecListeners, *m_pRequests);
    }
    for (const int nListener : vecListeners) {
        ::close(nListener);
    }
}

HoldingServer::~HoldingServer()
{
    Kill();
    ::munmap(m_pRequests, sizeof(RequestCount));
}

void HoldingServer::Kill()
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
}

void HoldingServer::WaitForRequests(std::size_t nCount) const
{
    constexpr double PATIENCE_SECONDS = 120;
    for (const Stopwatch watch; Requests() < nCount;) {
        Check(watch.Seconds() < PATIENCE_SECONDS, "the requests have not arrived");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}
