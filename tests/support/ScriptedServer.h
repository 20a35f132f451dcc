#pragma once

#include "labserver/StopSignal.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// One request as it came over the wire.
struct WireRequest {
    std::string strHead; ///< request line and header lines, including the empty line at their end
    std::string strBody;
    std::size_t nConnection = 0; ///< the number of its connection, counted from 1 in the order of acceptance

    /// The request line without its end: "GET /path HTTP/1.1".
    std::string Line() const;
    /// The second word of the request line.
    std::string Target() const;
    /// Every header line of this name, compared without regard to case, as it came: "Accept: text/html".
    std::vector<std::string> Header(const std::string& strName) const;
};

/// What the server does once it has read a request: wait, send some bytes, then end or keep the connection.
struct ServerStep {
    enum class Ending {
        KeepAlive, ///< reads the next request
        Close,     ///< ends the connection normally (FIN)
        Reset,     ///< resets it (RST)
        Hold,      ///< stays connected and silent until the client gives up or the server ends
    };

    std::string strReply = {};
    Ending ending = Ending::KeepAlive;
    std::chrono::milliseconds delay{0}; ///< before the first byte
    bool bByteByByte = false;           ///< each byte in a segment of its own
    std::string strEndless = {};        ///< then sent again and again, until the client gives up
    std::chrono::milliseconds pause{0}; ///< before each time
    /// How long a connection that is kept waits for its next request before it is closed; 0 for ever.
    std::chrono::milliseconds patience{0};
};

/// @return a complete reply with a Content-Length; strHeaderLines are further lines, each with its CR LF
std::string HttpReply(int nStatus, const std::string& strBody, const std::string& strHeaderLines = "");

/// Status 200 and an empty object, after the delay.
ServerStep Ok(std::chrono::milliseconds delay = std::chrono::milliseconds(0));
/// Sends nothing, and keeps the connection.
ServerStep Silent();

/// A server on the loopback interface that sends exactly what it is told to, right or wrong, and records what
/// it receives. One thread accepts connections, and each connection has its own thread. All members may be
/// called from any thread.
class ScriptedServer
{
public:
    /// When a request is answered: once it was read completely, or as soon as its head and the first byte of
    /// its body have arrived. A server of the second kind should end the connection after a request with a
    /// body.
    enum class Answers { Requests, Beginnings };

    /// Chooses the step for a request. Called on the connection's thread; it may block, but must have
    /// returned before the server is destroyed.
    using Script = std::function<ServerStep(const WireRequest&)>;

    explicit ScriptedServer(Script fnScript, Answers answers = Answers::Requests);

    /// The steps apply to the requests in the order of their arrival, the last step to all further requests.
    explicit ScriptedServer(std::vector<ServerStep> vecSteps, Answers answers = Answers::Requests);

    /// A server with the same step for every request.
    explicit ScriptedServer(ServerStep step, Answers answers = Answers::Requests);

    /// Breaks all connections and waits for the threads.
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    int Port() const { return m_nPort; }
    /// "http://127.0.0.1:PORT" and then the path.
    std::string Url(const std::string& strPath) const;

    /// Connections accepted so far.
    std::size_t Accepted() const;
    /// The complete requests read so far, in the order of their completion.
    std::vector<WireRequest> Requests() const;
    /// Waits until that many requests have been read.
    /// @return false when they have not arrived within 30 s
    bool WaitForRequests(std::size_t nCount) const;
    /// Waits until that many connections have been closed by the server, whichever side ended them.
    /// @return false when they have not been within 30 s
    bool WaitForClosed(std::size_t nCount) const;
    /// Keeps no request from now on, for a test that sends very many.
    void KeepNoRequests();

private:
    struct Connection {
        std::atomic<bool> bClosed = false;
        std::thread thread;
    };

    void Accept();
    void LetGoOfClosed();
    void ServeRequests(Socket nSocket, std::size_t nConnection);
    bool Perform(Socket nSocket, const ServerStep& step);
    bool SendReply(Socket nSocket, const ServerStep& step);
    bool Pause(std::chrono::milliseconds delay);
    void Record(const WireRequest& request);
    void NoteClosed();

    StopSignal m_stop;
    const Script m_fnScript;
    const Answers m_answers;
    Socket m_nListener = NO_SOCKET;
    int m_nPort = 0;
    std::thread m_threadAccept;

    mutable std::mutex m_mutex; ///< guards all members below
    mutable std::condition_variable m_condition;
    std::list<Connection> m_lstConnections; ///< those that are open, and some that no longer are
    std::size_t m_nAccepted = 0;
    std::size_t m_nClosed = 0;
    std::vector<WireRequest> m_vecRequests;
    bool m_bKeepsRequests = true;
    bool m_bStop = false;
};

/// A port of the loopback interface that refuses every connection: it is bound, so that nobody else can
/// listen on it, but it does not listen itself.
class RefusingPort
{
public:
    RefusingPort();
    ~RefusingPort();
    RefusingPort(const RefusingPort&) = delete;
    RefusingPort& operator=(const RefusingPort&) = delete;

    int Port() const { return m_nPort; }

private:
    const SocketsStartUp m_sockets;
    Socket m_nSocket = NO_SOCKET;
    int m_nPort = 0;
};

/// A port of the loopback interface that never answers a request for a connection, as if a firewall dropped
/// it: its backlog is full.
class BlackHolePort
{
public:
    BlackHolePort();
    ~BlackHolePort();
    BlackHolePort(const BlackHolePort&) = delete;
    BlackHolePort& operator=(const BlackHolePort&) = delete;

    int Port() const { return m_nPort; }

private:
    const SocketsStartUp m_sockets;
    Socket m_nListener = NO_SOCKET;
    int m_nPort = 0;
    std::vector<Socket> m_vecQueued;
};
