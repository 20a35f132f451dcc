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

/// Stands between clients and one server on the loopback interface as a long line would: whatever either side
/// sends, the end of its connection included, reaches the other one a fixed time later. It listens on several
/// ports, so that clients take them for different servers.
class DelayingRelay
{
public:
    /// @param szServer  the server's address, a literal
    /// @throws std::system_error without a socket left
    DelayingRelay(const char* szServer, int nServerPort, std::chrono::milliseconds oneWay,
                  std::size_t nPorts);
    /// Breaks all connections.
    ~DelayingRelay();
    DelayingRelay(const DelayingRelay&) = delete;
    DelayingRelay& operator=(const DelayingRelay&) = delete;

    int Port(std::size_t nPort) const { return m_vecListeners.at(nPort).nPort; }
    /// Connections accepted so far, on all ports.
    std::size_t Accepted() const;
    /// Waits until the server has ended that many connections and the clients have been told.
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
    /// One way through the relay.
    struct Way {
        Socket nFrom;
        Socket nTo;
        std::deque<Piece> queue = {};
        bool bReads = true; ///< the sender's end has not come yet
        bool bDone = false; ///< its end has been passed on
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
