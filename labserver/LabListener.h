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

/// Gives every connection a thread, up to a number of them. A few threads for all would be used up by clients
/// that keep idle connections, and leave the next client waiting.
class LabThreads
{
public:
    explicit LabThreads(int nMax) : m_nMax(nMax) {}

    /// Runs a function on a thread of its own.
    /// @return false, without running it, when there are as many as may be, or no thread can be started
    bool Run(const std::function<void()>& fn);

    /// Waits until all of them have ended.
    void Wait();

private:
    const int m_nMax;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_nRunning = 0;
};

/// Clients that get a refusal instead of a connection. Each is kept for a moment, and what it sends is read
/// away: closed at once, its connection would be reset by the request that is on its way, and the refusal be
/// lost. Nothing here waits. For one thread.
class LabRefusedClients
{
public:
    LabRefusedClients() = default;
    ~LabRefusedClients();
    LabRefusedClients(const LabRefusedClients&) = delete;
    LabRefusedClients& operator=(const LabRefusedClients&) = delete;

    /// Sends a client its refusal. @param nSocket closed in time
    void Add(Socket nSocket, const std::string& strReply);

    /// Adds what to wait for, with poll() and for that many milliseconds; -1: for ever.
    int AddTo(std::vector<pollfd>& vecSockets) const;

    /// Serves those for whom something came, and lets go those who left or whose time is over.
    /// @param pSockets what AddTo() added, after the poll
    void Serve(const pollfd* pSockets);

private:
    struct Client {
        Socket nSocket;
        std::chrono::steady_clock::time_point end;
    };

    std::deque<Client> m_lstClients; ///< the longest there first
};

/// Accepts the connections of a server.
class LabListener
{
public:
    /// @param nListener a listening socket, closed with this object at the latest
    /// @param stop must outlive this object
    /// @param nMaxConnections at a time; a client beyond them is answered 503
    /// @param fnServe serves a connection and closes its socket; runs on a thread for each connection
    LabListener(Socket nListener, const StopSignal& stop, int nMaxConnections,
                std::function<void(Socket)> fnServe);
    ~LabListener();
    LabListener(const LabListener&) = delete;
    LabListener& operator=(const LabListener&) = delete;

    /// Accepts until the server is to stop, then listens no more.
    /// @return after the last connection has ended
    void Run();

private:
    void Accept();
    void Close();

    Socket m_nListener;
    const StopSignal& m_stop;
    const std::function<void(Socket)> m_fnServe;
    const std::string m_strRefusal; ///< to clients beyond the number
    LabThreads m_threads;
    LabRefusedClients m_refused;
};
