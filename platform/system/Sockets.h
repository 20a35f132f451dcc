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
class CSocketsStartUp
{
public:
    CSocketsStartUp();
#if defined(_WIN32)
    ~CSocketsStartUp();
#else
    ~CSocketsStartUp() = default;
#endif
    CSocketsStartUp(const CSocketsStartUp&) = delete;
    CSocketsStartUp& operator=(const CSocketsStartUp&) = delete;

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
