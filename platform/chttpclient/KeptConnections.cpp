#include "KeptConnections.h"

#include <algorithm>

namespace chttpclient
{
namespace
{

/// Whether reading from a socket would give bytes, the end of the connection or an error.
bool HasNews(Socket nSocket)
{
    pollfd polled{nSocket, POLLIN, 0};
    return PollSockets(&polled, 1, 0) != 0;
}

ConnectionEnds::Address AddressOf(std::string_view strText)
{
    ConnectionEnds::Address address{};
    strText.copy(address.data(), address.size());
    return address;
}

} // namespace

ConnectionEnds::ConnectionEnds(std::string_view strPeer, std::string_view strOwn, int nPeer, int nOwn)
    : peer(AddressOf(strPeer)), own(AddressOf(strOwn)), nPeerPort(nPeer), nOwnPort(nOwn)
{
}

bool ConnectionEnds::operator==(const ConnectionEnds& other) const
{
    return nOwnPort == other.nOwnPort && nPeerPort == other.nPeerPort && peer == other.peer &&
           own == other.own;
}

KeptConnections::KeptConnections(std::chrono::milliseconds maxIdle, std::size_t nMostKept)
    : m_maxIdle(maxIdle), m_nMostKept(nMostKept)
{
    m_vecKept.reserve(nMostKept); // so that nothing can fail later
}

void KeptConnections::Keep(const ConnectionEnds& ends, Socket nSocket, Clock::time_point tpIdle)
{
    auto kept = std::find_if(m_vecKept.begin(), m_vecKept.end(),
                             [&ends](const Kept& other) { return other.ends == ends; });
    if (kept == m_vecKept.end() && m_vecKept.size() < m_nMostKept) {
        kept = m_vecKept.insert(kept, Kept{});
    } else if (kept == m_vecKept.end()) {
        kept = std::min_element(m_vecKept.begin(), m_vecKept.end(),
                                [](const Kept& one, const Kept& other) { return one.tpIdle < other.tpIdle; });
    }
    *kept = Kept{ends, nSocket, tpIdle};
}

bool KeptConnections::MayCarry(const ConnectionEnds& ends, bool bPost) const
{
    const auto kept = std::find_if(m_vecKept.begin(), m_vecKept.end(),
                                   [&ends](const Kept& other) { return other.ends == ends; });
    if (kept == m_vecKept.end()) { // forgotten
        return !bPost;
    }
    return (!bPost || Clock::now() - kept->tpIdle < m_maxIdle) && !HasNews(kept->nSocket);
}

} // namespace chttpclient
