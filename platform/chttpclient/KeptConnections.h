#pragma once

#include "platform/system/Sockets.h"

#include <array>
#include <chrono>
#include <string_view>
#include <vector>

namespace chttpclient
{

// Servers close connections that idle, many after 5 s. No request uses one that has idled for so long.
constexpr long MAX_IDLE_SECONDS = 4;

/// The two ends of a connection, which tell it from all others that are open. Needs no memory of its own.
struct SConnectionEnds {
    using Address = std::array<char, 46>; ///< an IPv6 address as a text, with its end

    SConnectionEnds() = default;
    SConnectionEnds(std::string_view strPeer, std::string_view strOwn, int nPeer, int nOwn);
    bool operator==(const SConnectionEnds& other) const;

    Address peer{};
    Address own{};
    int nPeerPort = 0;
    int nOwnPort = 0;
};

/// Since when libcurl's kept connections are idle, and so which of them a request may go out on. A server
/// closes a connection that idles for long, and a POST that meets the closing is lost: it can't be sent
/// again, since the server may have read it before it closed.
///
/// libcurl counts idle time in whole seconds only. And it does not see that a server ended a TLS connection:
/// the alert that says so is data to it. A request that finds six such connections fails.
class CKeptConnections
{
public:
    using Clock = std::chrono::steady_clock;

    /// @param maxIdle    a POST goes out on no connection that has idled for so long
    /// @param nMostKept  the times of so many connections are remembered, the latest ones
    /// @throws std::bad_alloc
    CKeptConnections(std::chrono::milliseconds maxIdle, std::size_t nMostKept);

    /// Notes that an exchange over a connection is finished.
    /// @param tpIdle  when the server can have begun to count idle time: not before the reply began
    void Keep(const SConnectionEnds& ends, Socket nSocket, Clock::time_point tpIdle);

    /// Whether a request may go out on a kept connection: nothing has come over it while it was idle, neither
    /// its end nor bytes that nobody asked for, and for a POST it has not idled for too long.
    bool MayCarry(const SConnectionEnds& ends, bool bPost) const;

private:
    struct SKept {
        SConnectionEnds ends;
        Socket nSocket;
        Clock::time_point tpIdle;
    };

    const std::chrono::milliseconds m_maxIdle;
    const std::size_t m_nMostKept;
    std::vector<SKept> m_vecKept; ///< some may have been closed since
};

} // namespace chttpclient
