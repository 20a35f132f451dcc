#include "ScriptedServer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <sstream>
#include <system_error>
#include <tuple>
#include <utility>

namespace
{

constexpr std::chrono::seconds PATIENCE{90};
constexpr int BACKLOG = 1024;

void Check(bool bSucc, const char* szCall)
{
    if (!bSucc) {
        throw std::system_error(SocketError(), std::system_category(), szCall);
    }
}

sockaddr_in LoopbackAddress(int nPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(nPort));
    return address;
}

/// @return a socket bound to a free port of the loopback interface, and that port
std::pair<Socket, int> BoundSocket()
{
    const Socket nSocket = OpenStreamSocket();
    Check(nSocket != NO_SOCKET, "socket");
    sockaddr_in address = LoopbackAddress(0);
    socklen_t nSize = sizeof address;
    auto* const pAddress = reinterpret_cast<sockaddr*>(&address);
    Check(::bind(nSocket, pAddress, nSize) == 0, "bind");
    Check(::getsockname(nSocket, pAddress, &nSize) == 0, "getsockname");
    return {nSocket, ntohs(address.sin_port)};
}

/// Waits until the socket is ready for the requested events, or has failed.
/// @param patience  0 to wait for ever
/// @return false when the server must stop, or the time is over
bool WaitUntilReady(Socket nSocket, short nEvents, const StopSignal& stop,
                    std::chrono::milliseconds patience = std::chrono::milliseconds(0))
{
    std::array<pollfd, 2> polled{pollfd{nSocket, nEvents, 0}, pollfd{stop.Descriptor(), POLLIN, 0}};
    const int nMilliseconds = patience.count() == 0 ? -1 : static_cast<int>(patience.count());
    int nReady = 0;
    do {
        nReady = PollSockets(polled.data(), polled.size(), nMilliseconds);
    } while (nReady < 0 && WasInterrupted());
    return nReady != 0 && polled[1].revents == 0;
}

/// A non-blocking connection, usable until the server must stop.
struct Talk {
    const Socket nSocket;
    const StopSignal& stop;
    std::chrono::milliseconds patience{0}; ///< with a client that sends nothing; 0 for ever

    bool SendAll(const std::string& strBytes, std::size_t nPiece) const;
    bool Receive(std::string& strBuffer) const;
};

bool Talk::SendAll(const std::string& strBytes, std::size_t nPiece) const
{
    std::size_t nSent = 0;
    while (nSent < strBytes.size()) {
        const std::size_t nLength = std::min(nPiece, strBytes.size() - nSent);
        const std::ptrdiff_t nWritten = SendBytes(nSocket, strBytes.data() + nSent, nLength);
        if (nWritten >= 0) {
            nSent += static_cast<std::size_t>(nWritten);
        } else if (!WouldBlock() || !WaitUntilReady(nSocket, POLLOUT, stop)) {
            return false;
        }
    }
    return true;
}

/// Appends what has arrived.
/// @return false at the end of the connection
bool Talk::Receive(std::string& strBuffer) const
{
    std::array<char, 65536> bytes{};
    std::ptrdiff_t nRead = 0;
    do {
        if (!WaitUntilReady(nSocket, POLLIN, stop, patience)) {
            return false;
        }
        nRead = ReceiveBytes(nSocket, bytes.data(), bytes.size());
    } while (nRead < 0 && WouldBlock());
    if (nRead <= 0) {
        return false;
    }
    strBuffer.append(bytes.data(), static_cast<std::size_t>(nRead));
    return true;
}

std::size_t ContentLength(const WireRequest& request)
{
    const std::vector<std::string> vecLines = request.Header("Content-Length");
    if (vecLines.empty()) {
        return 0;
    }
    return std::strtoul(vecLines[0].c_str() + vecLines[0].find(':') + 1, nullptr, 10);
}

/// Reads the next request from the connection, with at most that many bytes of its body; what follows stays
/// in the buffer.
/// @return false when the connection ends before that
bool ReadRequest(const Talk& talk, std::string& strBuffer, WireRequest& request, std::size_t nMaxBody)
{
    static const std::string HEAD_END = "\r\n\r\n";
    std::size_t nHeadEnd = 0;
    while ((nHeadEnd = strBuffer.find(HEAD_END)) == std::string::npos) {
        if (!talk.Receive(strBuffer)) {
            return false;
        }
    }
    request.strHead = strBuffer.substr(0, nHeadEnd + HEAD_END.size());
    const std::size_t nLength = std::min(ContentLength(request), nMaxBody);
    while (strBuffer.size() < request.strHead.size() + nLength) {
        if (!talk.Receive(strBuffer)) {
            return false;
        }
    }
    request.strBody = strBuffer.substr(request.strHead.size(), nLength);
    strBuffer.erase(0, request.strHead.size() + nLength);
    return true;
}

bool EqualWithoutCase(const std::string& strLeft, const std::string& strRight)
{
    return std::equal(strLeft.begin(), strLeft.end(), strRight.begin(), strRight.end(),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

ScriptedServer::Script OneAfterTheOther(std::vector<ServerStep> vecSteps)
{
    struct State {
        std::mutex mutex;
        std::vector<ServerStep> vecSteps;
        std::size_t nNext = 0;
    };
    auto pState = std::make_shared<State>();
    pState->vecSteps = std::move(vecSteps);
    return [pState](const WireRequest&) {
        const std::lock_guard<std::mutex> lock(pState->mutex);
        const std::size_t nStep = std::min(pState->nNext++, pState->vecSteps.size() - 1);
        return pState->vecSteps.at(nStep);
    };
}

} // namespace

std::string WireRequest::Line() const
{
    return strHead.substr(0, strHead.find("\r\n"));
}

std::string WireRequest::Target() const
{
    std::istringstream line(Line());
    std::string strWord;
    line >> strWord >> strWord;
    return strWord;
}

std::vector<std::string> WireRequest::Header(const std::string& strName) const
{
    std::vector<std::string> vecFound;
    std::istringstream head(strHead);
    for (std::string strLine; std::getline(head, strLine);) {
        const std::size_t nColon = strLine.find(':');
        if (EqualWithoutCase(strLine.substr(0, nColon), strName)) {
            vecFound.push_back(strLine.substr(0, strLine.find('\r')));
        }
    }
    return vecFound;
}

std::string HttpReply(int nStatus, const std::string& strBody, const std::string& strHeaderLines)
{
    return "HTTP/1.1 " + std::to_string(nStatus) + " Reason\r\n" + strHeaderLines +
           "Content-Length: " + std::to_string(strBody.size()) + "\r\n\r\n" + strBody;
}

ServerStep Ok(std::chrono::milliseconds delay)
{
    ServerStep step;
    step.strReply = HttpReply(200, "{}");
    step.delay = delay;
    return step;
}

ServerStep Silent()
{
    ServerStep step;
    step.ending = ServerStep::Ending::Hold;
    return step;
}

ScriptedServer::ScriptedServer(Script fnScript, Answers answers)
    : m_fnScript(std::move(fnScript)), m_answers(answers)
{
    std::tie(m_nListener, m_nPort) = BoundSocket();
    Check(::listen(m_nListener, BACKLOG) == 0, "listen");
    m_threadAccept = std::thread([this] { Accept(); });
}

ScriptedServer::ScriptedServer(std::vector<ServerStep> vecSteps, Answers answers)
    : ScriptedServer(OneAfterTheOther(std::move(vecSteps)), answers)
{
}

ScriptedServer::ScriptedServer(ServerStep step, Answers answers)
    : ScriptedServer(std::vector<ServerStep>{std::move(step)}, answers)
{
}

ScriptedServer::~ScriptedServer()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bStop = true;
    }
    m_condition.notify_all();
    m_stop.Raise();
    m_threadAccept.join();
    CloseSocket(m_nListener);
    for (Connection& connection : m_lstConnections) {
        connection.thread.join();
    }
}

std::string ScriptedServer::Url(const std::string& strPath) const
{
    return "http://127.0.0.1:" + std::to_string(m_nPort) + strPath;
}

std::size_t ScriptedServer::Accepted() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nAccepted;
}

std::vector<WireRequest> ScriptedServer::Requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecRequests;
}

bool ScriptedServer::WaitForRequests(std::size_t nCount) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_condition.wait_for(lock, PATIENCE, [&] { return m_vecRequests.size() >= nCount; });
}

bool ScriptedServer::WaitForClosed(std::size_t nCount) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_condition.wait_for(lock, PATIENCE, [&] { return m_nClosed >= nCount; });
}

void ScriptedServer::KeepNoRequests()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bKeepsRequests = false;
}

void ScriptedServer::Accept()
{
    while (WaitUntilReady(m_nListener, POLLIN, m_stop)) {
        const Socket nSocket = AcceptConnection(m_nListener);
        if (nSocket == NO_SOCKET) {
            return;
        }
        MakeNonBlocking(nSocket);
        SetSocketOption(nSocket, IPPROTO_TCP, TCP_NODELAY, 1);
        const std::lock_guard<std::mutex> lock(m_mutex);
        LetGoOfClosed();
        Connection& connection = m_lstConnections.emplace_back();
        const std::size_t nConnection = ++m_nAccepted;
        connection.thread = std::thread([this, &connection, nSocket, nConnection] {
            ServeRequests(nSocket, nConnection);
            CloseSocket(nSocket);
            NoteClosed();
            connection.bClosed = true;
        });
    }
}

void ScriptedServer::LetGoOfClosed()
{
    m_lstConnections.remove_if([](Connection& connection) {
        if (!connection.bClosed) {
            return false;
        }
        connection.thread.join(); // its last step was to close
        return true;
    });
}

void ScriptedServer::ServeRequests(Socket nSocket, std::size_t nConnection)
{
    Talk talk{nSocket, m_stop};
    std::string strBuffer;
    WireRequest request;
    request.nConnection = nConnection;
    const std::size_t nMaxBody = m_answers == Answers::Requests ? std::numeric_limits<std::size_t>::max() : 1;
    while (ReadRequest(talk, strBuffer, request, nMaxBody)) {
        Record(request);
        const ServerStep step = m_fnScript(request);
        if (!Perform(nSocket, step)) {
            return;
        }
        talk.patience = step.patience;
    }
}

/// @return whether the connection is kept
bool ScriptedServer::Perform(Socket nSocket, const ServerStep& step)
{
    if (!SendReply(nSocket, step)) {
        return false;
    }
    if (step.ending == ServerStep::Ending::Reset) {
        SetSocketOption(nSocket, SOL_SOCKET, SO_LINGER, linger{1, 0});
    }
    if (step.ending == ServerStep::Ending::Hold) {
        std::string strIgnored;
        while (Talk{nSocket, m_stop}.Receive(strIgnored)) {
            strIgnored.clear();
        }
    }
    return step.ending == ServerStep::Ending::KeepAlive;
}

/// @return false when the connection has ended, or the server was stopped meanwhile
bool ScriptedServer::SendReply(Socket nSocket, const ServerStep& step)
{
    const Talk talk{nSocket, m_stop};
    if (!Pause(step.delay) || !talk.SendAll(step.strReply, step.bByteByByte ? 1 : step.strReply.size())) {
        return false;
    }
    while (!step.strEndless.empty()) {
        if (!Pause(step.pause) || !talk.SendAll(step.strEndless, step.strEndless.size())) {
            return false;
        }
    }
    return true;
}

/// @return false when the server was stopped meanwhile
bool ScriptedServer::Pause(std::chrono::milliseconds delay)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_condition.wait_for(lock, delay, [this] { return m_bStop; });
}

void ScriptedServer::Record(const WireRequest& request)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_bKeepsRequests) {
            m_vecRequests.push_back(request);
        }
    }
    m_condition.notify_all();
}

void ScriptedServer::NoteClosed()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_nClosed;
    }
    m_condition.notify_all();
}

RefusingPort::RefusingPort()
{
    std::tie(m_nSocket, m_nPort) = BoundSocket();
}

RefusingPort::~RefusingPort()
{
    CloseSocket(m_nSocket);
}

BlackHolePort::BlackHolePort()
{
    std::tie(m_nListener, m_nPort) = BoundSocket();
    Check(::listen(m_nListener, 0) == 0, "listen");
    constexpr int TIME_TO_CONNECT_MS = 200; // ample on the loopback interface
    pollfd connecting{NO_SOCKET, POLLOUT, 0};
    do { // a queue of no length still takes one or two
        connecting.fd = OpenStreamSocket();
        Check(connecting.fd != NO_SOCKET && MakeNonBlocking(connecting.fd), "socket");
        m_vecQueued.push_back(connecting.fd);
        const sockaddr_in address = LoopbackAddress(m_nPort);
        static_cast<void>( // in progress, until the poll says otherwise
            ::connect(connecting.fd, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    } while (PollSockets(&connecting, 1, TIME_TO_CONNECT_MS) > 0);
}

BlackHolePort::~BlackHolePort()
{
    for (const Socket nSocket : m_vecQueued) {
        CloseSocket(nSocket);
    }
    CloseSocket(m_nListener);
}
