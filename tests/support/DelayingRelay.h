#pragma once

#include "labserver/StopSignal.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// A relay between clients and one server on the loopback interface that simulates a long line: whatever
/// either side sends, including the end of its connection, reaches the other a fixed time later. It listens
/// on several ports, which clients take for different servers.
class DelayingRelay
{
public:
    /// @param szServer  the server's address, a literal
    /// @throws std::system_error when no socket is left
    DelayingRelay(const char* szServer, int nServerPort, std::chrono::milliseconds oneWay,
                  std::size_t nPorts);
    /// Breaks all connections.
    ~DelayingRelay();
    DelayingRelay(const DelayingRelay&) = delete;
    DelayingRelay& operator=(const DelayingRelay&) = delete;

    int Port(std::size_t nPort) const { return m_vecListeners.at(nPort).nPort; }
    /// Connections accepted so far, on all ports.
    std::size_t Accepted() const;
    /// Waits until the server has ended that many connections and the ends have reached the clients.
    /// @return false when that has not happened within 30 s
    bool WaitForServerEnds(std::size_t nCount) const;

private:
    using Clock = std::chrono::steady_clock;

    struct Listener {
        Socket nSocket;
        int nPort;
    };
    enum class Kind { Bytes, End, Break };
    struct Piece {
        Clock::time_point tpDue;
        Kind kind;
        std::string strBytes;
    };
    /// One direction through the relay.
    struct Way {
        Socket nFrom;
        Socket nTo;
        std::deque<Piece> queue = {};
        bool bReads = true; ///< the sender has not ended its side yet
        bool bDone = false; ///< the end has been passed on
    };
    struct Link {
        Way ways[2];
        bool bBroken = false;
    };

    void Run();
    std::vector<pollfd> Watched() const;
    int WaitMilliseconds() const;
    void Accept(Socket nListener);
    void Read(Way& way) const;
    void PassOn(Link& link, Way& way);
    void NoteEnd(const Link& link, const Way& way);
    static void Close(const Link& link);

    const char* const m_szServer;
    const int m_nServerPort;
    const std::chrono::milliseconds m_oneWay;
    StopSignal m_stop;
    std::vector<Listener> m_vecListeners;
    std::list<Link> m_lstLinks; ///< belongs to the thread
    mutable std::mutex m_mutex; ///< guards the numbers
    mutable std::condition_variable m_condition;
    std::size_t m_nAccepted = 0;
    std::size_t m_nServerEnds = 0;
    std::thread m_thread;
};
