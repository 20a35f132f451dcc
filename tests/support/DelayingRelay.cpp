#include "DelayingRelay.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <system_error>
#include <utility>

#include <arpa/inet.h>

namespace
{

sockaddr_in Address(const char* szHost, int nPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::inet_addr(szHost);
    address.sin_port = htons(static_cast<std::uint16_t>(nPort));
    return address;
}

void Check(bool bSucc, const char* szCall)
{
    if (!bSucc) {
        throw std::system_error(SocketError(), std::system_category(), szCall);
    }
}

} // namespace

DelayingRelay::DelayingRelay(const char* szServer, int nServerPort, std::chrono::milliseconds oneWay,
                             std::size_t nPorts)
    : m_szServer(szServer), m_nServerPort(nServerPort), m_oneWay(oneWay)
{
    for (std::size_t nListener = 0; nListener < nPorts; ++nListener) {
        const Socket nSocket = OpenStreamSocket();
        Check(nSocket != NO_SOCKET, "socket");
        sockaddr_in address = Address("127.0.0.1", 0);
        socklen_t nSize = sizeof address;
        auto* const pAddress = reinterpret_cast<sockaddr*>(&address);
        Check(::bind(nSocket, pAddress, nSize) == 0 && ::listen(nSocket, SOMAXCONN) == 0, "listen");
        Check(::getsockname(nSocket, pAddress, &nSize) == 0, "getsockname");
        m_vecListeners.push_back({nSocket, ntohs(address.sin_port)});
    }
    m_thread = std::thread([this] { Run(); });
}

DelayingRelay::~DelayingRelay()
{
    m_stop.Raise();
    m_thread.join();
    std::for_each(m_lstLinks.begin(), m_lstLinks.end(), &DelayingRelay::Close);
    for (const Listener& listener : m_vecListeners) {
        CloseSocket(listener.nSocket);
    }
}

std::size_t DelayingRelay::Accepted() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nAccepted;
}

bool DelayingRelay::WaitForServerEnds(std::size_t nCount) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_condition.wait_for(lock, std::chrono::seconds(30), [&] { return m_nServerEnds >= nCount; });
}

void DelayingRelay::Run()
{
    for (;;) {
        std::vector<pollfd> vecWatched = Watched();
        PollSockets(vecWatched.data(), vecWatched.size(), WaitMilliseconds());
        if (vecWatched[0].revents != 0) {
            return;
        }
        auto polled = vecWatched.cbegin() + 1;
        const std::size_t nLinks = m_lstLinks.size(); // those that were polled
        const auto listeners = polled;
        polled += static_cast<std::ptrdiff_t>(m_vecListeners.size());
        auto link = m_lstLinks.begin();
        for (std::size_t nLink = 0; nLink < nLinks; ++nLink, ++link) {
            for (Way& way : link->ways) {
                if (way.bReads && (polled++)->revents != 0) {
                    Read(way);
                }
                PassOn(*link, way);
            }
        }
        std::for_each(listeners, listeners + static_cast<std::ptrdiff_t>(m_vecListeners.size()),
                      [this](const pollfd& listener) {
                          if (listener.revents != 0) {
                              Accept(listener.fd);
                          }
                      });
        m_lstLinks.remove_if([](const Link& ended) {
            const bool bOver = ended.bBroken || (ended.ways[0].bDone && ended.ways[1].bDone);
            if (bOver) {
                Close(ended);
            }
            return bOver;
        });
    }
}

/// The stop signal, the listeners, and the sides of each link that still send.
std::vector<pollfd> DelayingRelay::Watched() const
{
    std::vector<pollfd> vecWatched{{m_stop.Descriptor(), POLLIN, 0}};
    for (const Listener& listener : m_vecListeners) {
        vecWatched.push_back({listener.nSocket, POLLIN, 0});
    }
    for (const Link& link : m_lstLinks) {
        for (const Way& way : link.ways) {
            if (way.bReads) {
                vecWatched.push_back({way.nFrom, POLLIN, 0});
            }
        }
    }
    return vecWatched;
}

/// The time until the next piece is due.
int DelayingRelay::WaitMilliseconds() const
{
    auto wait = std::chrono::milliseconds(1000);
    for (const Link& link : m_lstLinks) {
        for (const Way& way : link.ways) {
            if (!way.queue.empty()) {
                const auto left = way.queue.front().tpDue - Clock::now();
                wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(left));
            }
        }
    }
    return static_cast<int>(std::max(wait, std::chrono::milliseconds(0)).count());
}

void DelayingRelay::Accept(Socket nListener)
{
    const Socket nClient = AcceptConnection(nListener);
    const Socket nServer = OpenStreamSocket();
    const sockaddr_in address = Address(m_szServer, m_nServerPort);
    if (nClient == NO_SOCKET || nServer == NO_SOCKET ||
        ::connect(nServer, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        CloseSocket(nClient);
        CloseSocket(nServer);
        return;
    }
    for (const Socket nSocket : {nClient, nServer}) {
        MakeNonBlocking(nSocket);
        SetSocketOption(nSocket, IPPROTO_TCP, TCP_NODELAY, 1);
    }
    m_lstLinks.push_back({{{nClient, nServer}, {nServer, nClient}}});
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_nAccepted;
}

void DelayingRelay::Read(Way& way) const
{
    std::array<char, 65536> bytes{};
    const std::ptrdiff_t nRead = ReceiveBytes(way.nFrom, bytes.data(), bytes.size());
    if (nRead < 0 && WouldBlock()) {
        return;
    }
    way.bReads = nRead > 0;
    Piece piece{Clock::now() + m_oneWay, nRead < 0 ? Kind::Break : Kind::End, {}};
    if (nRead > 0) {
        piece.kind = Kind::Bytes;
        piece.strBytes.assign(bytes.data(), static_cast<std::size_t>(nRead));
    }
    way.queue.push_back(std::move(piece));
}

/// Passes on what is due by now.
void DelayingRelay::PassOn(Link& link, Way& way)
{
    while (!way.queue.empty() && way.queue.front().tpDue <= Clock::now()) {
        Piece& piece = way.queue.front();
        if (piece.kind == Kind::Bytes) {
            const std::ptrdiff_t nSent =
                SendBytes(way.nTo, piece.strBytes.data(), piece.strBytes.size()); // or fails: the end follows
            if (nSent >= 0 && static_cast<std::size_t>(nSent) < piece.strBytes.size()) {
                piece.strBytes.erase(0, static_cast<std::size_t>(nSent));
                return;
            }
        } else if (piece.kind == Kind::End) {
            ::shutdown(way.nTo, SHUT_WR);
            way.bDone = true;
            NoteEnd(link, way);
        } else {
            SetSocketOption(way.nTo, SOL_SOCKET, SO_LINGER, linger{1, 0});
            link.bBroken = true;
        }
        way.queue.pop_front();
    }
}

void DelayingRelay::NoteEnd(const Link& link, const Way& way)
{
    if (&way == &link.ways[1]) { // from the server
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            ++m_nServerEnds;
        }
        m_condition.notify_all();
    }
}

void DelayingRelay::Close(const Link& link)
{
    CloseSocket(link.ways[0].nFrom);
    CloseSocket(link.ways[0].nTo);
}
