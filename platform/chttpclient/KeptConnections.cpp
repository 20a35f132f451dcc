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

SConnectionEnds::Address AddressOf(std::string_view strText)
{
    SConnectionEnds::Address address{};
    strText.copy(address.data(), address.size());
    return address;
}

} // namespace

SConnectionEnds::SConnectionEnds(std::string_view strPeer, std::string_view strOwn, int nPeer, int nOwn)
    : peer(AddressOf(strPeer)), own(AddressOf(strOwn)), nPeerPort(nPeer), nOwnPort(nOwn)
{
}

bool SConnectionEnds::operator==(const SConnectionEnds& other) const
{
    return nOwnPort == other.nOwnPort && nPeerPort == other.nPeerPort && peer == other.peer &&
           own == other.own;
}

CKeptConnections::CKeptConnections(std::chrono::milliseconds maxIdle, std::size_t nMostKept)
    : m_maxIdle(maxIdle), m_nMostKept(nMostKept)
{
    m_vecKept.reserve(nMostKept); // so that nothing can fail later
}

void CKeptConnections::Keep(const SConnectionEnds& ends, Socket nSocket, Clock::time_point tpIdle)
{
    auto kept = std::find_if(m_vecKept.begin(), m_vecKept.end(),
                             [&ends](const SKept& other) { return other.ends == ends; });
    if (kept == m_vecKept.end() && m_vecKept.size() < m_nMostKept) {
        kept = m_vecKept.insert(kept, SKept{});
    } else if (kept == m_vecKept.end()) {
        kept = std::min_element(m_vecKept.begin(), m_vecKept.end(), [](const SKept& one, const SKept& other) {
            return one.tpIdle < other.tpIdle;
        });
    }
    *kept = SKept{ends, nSocket, tpIdle};
}

bool CKeptConnections::MayCarry(const SConnectionEnds& ends, bool bPost) const
{
    const auto kept = std::find_if(m_vecKept.begin(), m_vecKept.end(),
                                   [&ends](const SKept& other) { return other.ends == ends; });
    if (kept == m_vecKept.end()) { // forgotten
        return !bPost;
    }
    return (!bPost || Clock::now() - kept->tpIdle < m_maxIdle) && !HasNews(kept->nSocket);
}

} // namespace chttpclient
