#include "labserver/LabConnection.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

using std::chrono::milliseconds;

/// How long to wait for more bytes of a request that has begun, or for a slow client to take more of a reply.
constexpr milliseconds NEXT_BYTES{5000};
/// The same once the server must stop: enough for bytes in transit, too short to delay the stop.
constexpr milliseconds PATIENCE_AT_STOP{200};
/// For a whole request, and again for its reply, once the server must stop: bytes that arrive now and then
/// would delay the stop too.
constexpr milliseconds MOST_AT_STOP{2000};
constexpr size_t READ_SIZE = 16384;

} // namespace

// This class waits only by polling.
LabConnection::LabConnection(Socket nSocket, const StopSignal& stop, milliseconds patience)
    : m_nSocket(nSocket),
      m_pStream(std::make_unique<PlainStream>(nSocket)),
      m_peer(PeerOf(nSocket)),
      m_stop(stop),
      m_patience(patience)
{
    MakeNonBlocking(m_nSocket);
}

LabConnection::~LabConnection()
{
    if (m_eEnd == End::Reset) {
        // Closing with a linger time of zero sends a reset.
        SetSocketOption(m_nSocket, SOL_SOCKET, SO_LINGER, linger{1, 0});
    } else if (m_eEnd != End::Truncated) {
        m_pStream->TellEnd();
    }
    CloseSocket(m_nSocket);
}

bool LabConnection::Begin(LabTls& tls)
{
    if (!PollSocketOrStop(IDLE)) {
        return false;
    }
    BeginToWait();
    constexpr char HANDSHAKE = 0x16; // the first byte of TLS, with which no HTTP request begins
    char cFirst = 0;
    return PeekBytes(m_nSocket, &cFirst, 1) != 1 || cFirst != HANDSHAKE || BeginTls(tls);
}

/// @return false if no request can follow
bool LabConnection::BeginTls(LabTls& tls)
{
    m_optCertificate = tls.Shown();
    if (!m_optCertificate) {
        return true; // refused as a request that can't be read
    }
    m_pStream = tls.Open(m_nSocket, *m_optCertificate);
    return m_pStream->ShakeHands([this](short nEvents) { return WaitForSocket(nEvents); });
}

bool LabConnection::WaitForRequest()
{
    const bool bBegun = HasReceived() || PollSocketOrStop(IDLE);
    BeginToWait();
    m_head = LabHead();
    return bBegun;
}

bool LabConnection::FinishReply()
{
    if (m_eEnd == End::Silent) {
        StaySilent();
    }
    if (!HasReply()) {
        return false;
    }
    if (m_eEnd == End::Streamed) {
        SendStream();
        return false;
    }
    if (m_eEnd == End::Truncated) {
        const size_t nHead = m_strOut.find("\r\n\r\n") + 4;
        m_strOut.resize(nHead + (m_strOut.size() - nHead) / 2);
    }
    BeginToWait();
    const bool bSent = Flush();
    if (m_eEnd == End::BodyUnread) {
        ReadAway();
    }
    return bSent && m_eEnd == End::Kept;
}

void LabConnection::Refuse(const LabRefusal& refusal)
{
    m_refusal = refusal;
    LeaveBodyUnread();
}

void LabConnection::StreamReply(const std::string& strContentType, std::function<std::string()> fnNext)
{
    m_eEnd = End::Streamed;
    m_fnNext = [strHead = "HTTP/1.1 200 OK\r\nContent-Type: " + strContentType +
                          "\r\nCache-Control: no-store\r\nCross-Origin-Resource-Policy: same-origin\r\n"
                          "X-Content-Type-Options: nosniff\r\nConnection: close\r\n\r\n",
                fnMore = std::move(fnNext)]() mutable { return std::exchange(strHead, "") + fnMore(); };
}

bool LabConnection::is_readable() const
{
    return HasReceived() || PollSocketOrStop(TimeForNextBytes());
}

bool LabConnection::is_writable() const
{
    return true;
}

ssize_t LabConnection::read(char* pBytes, size_t nSize)
{
    if (!m_head.IsOver()) {
        return ReadHead(pBytes, nSize);
    }
    if (!HasReceived() && !Fill()) {
        return -1;
    }
    const size_t nTaken = std::min(nSize, m_vecIn.size() - m_nInRead);
    std::copy_n(m_vecIn.data() + m_nInRead, nTaken, pBytes);
    m_nInRead += nTaken;
    return static_cast<ssize_t>(nTaken);
}

ssize_t LabConnection::ReadHead(char* pBytes, size_t nSize)
{
    size_t nGiven = 0;
    while ((nGiven = m_head.Give(pBytes, nSize)) == 0) {
        if (m_head.Refusal().nStatus != 0) {
            Refuse(m_head.Refusal());
        }
        if (IsBodyUnread() || (!HasReceived() && !Fill())) {
            return -1;
        }
        m_nInRead += m_head.Take(m_vecIn.data() + m_nInRead, m_vecIn.size() - m_nInRead);
    }
    return static_cast<ssize_t>(nGiven);
}

ssize_t LabConnection::write(const char* pBytes, size_t nSize)
{
    m_strOut.append(pBytes, nSize);
    return static_cast<ssize_t>(nSize);
}

// Nothing in this server needs the addresses.
void LabConnection::get_remote_ip_and_port(std::string&, int&) const {}
void LabConnection::get_local_ip_and_port(std::string&, int&) const {}

milliseconds LabConnection::TimeForNextBytes() const
{
    const auto left = std::chrono::duration_cast<milliseconds>(m_end - std::chrono::steady_clock::now());
    return std::clamp(left, milliseconds(0), NEXT_BYTES);
}

bool LabConnection::PollSocket(short nEvents, milliseconds patience) const
{
    pollfd socketEvents{m_nSocket, nEvents, 0};
    return PollSockets(&socketEvents, 1, static_cast<int>(patience.count())) > 0;
}

bool LabConnection::PollSocketOrStop(milliseconds patience) const
{
    pollfd events[] = {{m_nSocket, POLLIN, 0}, {m_stop.Descriptor(), POLLIN, 0}};
    PollSockets(events, std::size(events), static_cast<int>(patience.count()));
    return events[0].revents != 0;
}

/// Waits until the socket can be read or written; for a shorter time once the server must stop.
bool LabConnection::WaitForSocket(short nEvents)
{
    if (TimeForNextBytes() == milliseconds(0)) {
        return false;
    }
    pollfd events[] = {{m_nSocket, nEvents, 0}, {m_stop.Descriptor(), POLLIN, 0}};
    PollSockets(events, std::size(events), static_cast<int>(TimeForNextBytes().count()));
    if (events[1].revents == 0) {
        return events[0].revents != 0;
    }
    m_end = std::min(m_end, std::chrono::steady_clock::now() + MOST_AT_STOP);
    return PollSocket(nEvents, std::min(TimeForNextBytes(), PATIENCE_AT_STOP));
}

/// Receives the next bytes of a request in progress.
bool LabConnection::Fill()
{
    // A client that sent "Expect: 100-continue" waits for what is written so far.
    if (!Flush()) {
        return false;
    }
    static_assert(READ_SIZE >= 16384,
                  "all of a TLS record must fit, or the rest of it would not be waited for");
    LabStream::Moved moved{0, POLLIN};
    m_vecIn.resize(READ_SIZE);
    while (moved.nAwaited != 0 && WaitForSocket(moved.nAwaited)) {
        moved = m_pStream->Receive(m_vecIn.data(), m_vecIn.size());
    }
    m_vecIn.resize(moved.nBytes);
    m_nInRead = 0;
    return !m_vecIn.empty();
}

bool LabConnection::Flush()
{
    size_t nSent = 0;
    while (nSent < m_strOut.size()) {
        const LabStream::Moved moved = m_pStream->Send(m_strOut.data() + nSent, m_strOut.size() - nSent);
        nSent += moved.nBytes;
        if (moved.nBytes == 0 && (moved.nAwaited == 0 || !WaitForSocket(moved.nAwaited))) {
            break;
        }
    }
    const bool bAll = nSent == m_strOut.size();
    m_strOut.clear();
    return bAll;
}

void LabConnection::ReadAway()
{
    m_pStream->TellEnd();
    shutdown(m_nSocket, SHUT_WR);
    const auto end = std::chrono::steady_clock::now() + PATIENCE_AT_STOP;
    m_vecIn.resize(READ_SIZE);
    while (PollSocket(POLLIN, PATIENCE_AT_STOP) &&
           ReceiveBytes(m_nSocket, m_vecIn.data(), m_vecIn.size()) > 0 &&
           std::chrono::steady_clock::now() < end) {
    }
}

/// Reads and discards what the client sends until it leaves or the server must stop.
void LabConnection::StaySilent()
{
    constexpr int FOR_EVER = -1;
    m_vecIn.resize(READ_SIZE);
    pollfd events[] = {{m_nSocket, POLLIN, 0}, {m_stop.Descriptor(), POLLIN, 0}};
    do {
        PollSockets(events, std::size(events), FOR_EVER);
    } while (events[1].revents == 0 && ReceiveBytes(m_nSocket, m_vecIn.data(), m_vecIn.size()) > 0);
}

bool LabConnection::HasLeft()
{
    m_vecIn.resize(READ_SIZE);
    if (!PollSocket(POLLIN, milliseconds(0))) {
        return false;
    }
    // A watcher sends nothing that means anything here, so TLS need not be undone.
    const std::ptrdiff_t nGot = ReceiveBytes(m_nSocket, m_vecIn.data(), m_vecIn.size());
    return nGot == 0 || (nGot < 0 && !WouldBlock());
}

void LabConnection::SendStream()
{
    constexpr milliseconds TICK{200};
    bool bSent = true;
    do {
        m_strOut = m_fnNext();
        BeginToWait();
        bSent = Flush();
    } while (bSent && !m_stop.WaitFor(TICK) && !HasLeft());
    m_fnNext = nullptr;
}
