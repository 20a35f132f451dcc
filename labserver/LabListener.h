#pragma once

#include "labserver/StopSignal.h"
#include "labserver/StreamSockets.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// Gives every connection a thread, up to a maximum. A small pool of threads would be used up by clients that
/// keep idle connections, and the next client would have to wait.
class LabThreads
{
public:
    explicit LabThreads(int nMax) : m_nMax(nMax) {}

    /// Runs a function on a thread of its own.
    /// @return false, without running it, when the maximum is reached or no thread can be started
    bool Run(const std::function<void()>& fn);

    /// Waits until all of them have ended.
    void Wait();

private:
    const int m_nMax;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_nRunning = 0;
};

/// Clients that are refused because there are too many connections. Each is kept for a moment, and what it
/// sends is read and discarded: if its connection were closed at once, the request in transit would reset it,
/// and the refusal would be lost. No function blocks. For use by one thread.
class LabRefusedClients
{
public:
    LabRefusedClients() = default;
    ~LabRefusedClients();
    LabRefusedClients(const LabRefusedClients&) = delete;
    LabRefusedClients& operator=(const LabRefusedClients&) = delete;

    /// Sends a client its refusal. @param nSocket closed later by this object
    void Add(Socket nSocket, const std::string& strReply);

    /// Adds the sockets to wait for with poll().
    /// @return the time-out of the poll in milliseconds; -1 to wait for ever
    int AddTo(std::vector<pollfd>& vecSockets) const;

    /// Serves the clients that sent something, and closes those that left or whose time is over.
    /// @param pSockets what AddTo() added, after the poll
    void Serve(const pollfd* pSockets);

private:
    struct Client {
        Socket nSocket;
        std::chrono::steady_clock::time_point end;
    };

    std::deque<Client> m_lstClients; ///< oldest first
};

/// Accepts the connections of a server.
class LabListener
{
public:
    /// @param nListener a listening socket, closed with this object at the latest
    /// @param stop must outlive this object
    /// @param nMaxConnections at a time; a further client is answered 503
    /// @param fnServe serves a connection and closes its socket; runs on a thread for each connection
    LabListener(Socket nListener, const StopSignal& stop, int nMaxConnections,
                std::function<void(Socket)> fnServe);
    ~LabListener();
    LabListener(const LabListener&) = delete;
    LabListener& operator=(const LabListener&) = delete;

    /// Accepts connections until the server must stop, then stops listening.
    /// @return after the last connection has ended
    void Run();

private:
    void Accept();
    void Close();

    Socket m_nListener;
    const StopSignal& m_stop;
    const std::function<void(Socket)> m_fnServe;
    const std::string m_strRefusal; ///< for clients beyond the maximum
    LabThreads m_threads;
    LabRefusedClients m_refused;
};
