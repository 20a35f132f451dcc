#pragma once

#include "platform/system/Sockets.h"

#include <array>
#include <chrono>
#include <string_view>
#include <vector>

namespace chttpclient
{

// Servers close idle connections, many of them after 5 s. No request uses a connection that has been idle for
// this long.
constexpr long MAX_IDLE_SECONDS = 4;

/// The addresses and ports of a connection's two ends, which identify it among all open connections.
/// Allocates no memory.
struct ConnectionEnds {
    using Address = std::array<char, 46>; ///< an IPv6 address as text, zero-terminated

    ConnectionEnds() = default;
    ConnectionEnds(std::string_view strPeer, std::string_view strOwn, int nPeer, int nOwn);
    bool operator==(const ConnectionEnds& other) const;

    Address peer{};
    Address own{};
    int nPeerPort = 0;
    int nOwnPort = 0;
};

/// Remembers since when each of libcurl's kept connections has been idle, and so decides which of them a
/// request may use. A server closes a connection that stays idle for long, and a POST sent at that moment is
/// lost: it can't be sent again, since the server may have read it before it closed the connection.
///
/// libcurl alone does not suffice: it counts idle time in whole seconds only, and it does not notice that a
/// server has ended a TLS connection, since it takes the closing alert for data. A request that meets six
/// such connections fails.
class KeptConnections
{
public:
    using Clock = std::chrono::steady_clock;

    /// @param maxIdle    a POST is not sent on a connection that has been idle for this long
    /// @param nMostKept  for how many connections the times are remembered; the oldest is forgotten first
    /// @throws std::bad_alloc
    KeptConnections(std::chrono::milliseconds maxIdle, std::size_t nMostKept);

    /// Notes that an exchange over a connection is finished.
    /// @param tpIdle  the earliest time from which the server may count idle time: the start of its reply
    void Keep(const ConnectionEnds& ends, Socket nSocket, Clock::time_point tpIdle);

    /// Whether a request may be sent on a kept connection: nothing was received on it while it was idle,
    /// neither its end nor unsolicited bytes, and for a POST it has not been idle for too long.
    bool MayCarry(const ConnectionEnds& ends, bool bPost) const;

private:
    struct Kept {
        ConnectionEnds ends;
        Socket nSocket;
        Clock::time_point tpIdle;
    };

    const std::chrono::milliseconds m_maxIdle;
    const std::size_t m_nMostKept;
    std::vector<Kept> m_vecKept; ///< some may have been closed since
};

} // namespace chttpclient
