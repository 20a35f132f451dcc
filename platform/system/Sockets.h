#pragma once

#include <cstddef>
#include <string>

#if defined(_WIN32)
#include <winsock2.h>
#else
#include <poll.h>
#include <unistd.h>
#endif

// Sockets under names that mean the same on both systems.

#if defined(_WIN32)
using Socket = SOCKET;
#else
using Socket = int;
#endif

/// Windows' sockets must be started up before the first call and cleaned up after the last one, equally
/// often; other parts of the process, such as the host, do so for themselves. Does nothing on Linux.
class SocketsStartUp
{
public:
    SocketsStartUp();
#if defined(_WIN32)
    ~SocketsStartUp();
#else
    ~SocketsStartUp() = default;
#endif
    SocketsStartUp(const SocketsStartUp&) = delete;
    SocketsStartUp& operator=(const SocketsStartUp&) = delete;

    bool IsUp() const
    {
        return m_bUp;
    }

private:
    bool m_bUp;
};

/// As poll.
int PollSockets(pollfd* pSockets, std::size_t nSockets, int nMilliseconds);

/// The name of the local machine in UTF-8; empty when it can't be had. Sockets must be up.
std::string MachineName();
