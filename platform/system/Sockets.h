#pragma once

#include <cstddef>
#include <string>

#if defined(_WIN32)
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

// Socket functions under names that mean the same on both systems. Functions with the same name on both
// anyway (bind, listen, connect, ntohs) are used directly.

#if defined(_WIN32)
using Socket = SOCKET;
constexpr Socket NO_SOCKET = INVALID_SOCKET;
constexpr int SHUT_RD = SD_RECEIVE;
constexpr int SHUT_WR = SD_SEND;
constexpr int SHUT_RDWR = SD_BOTH;
using socklen_t = int;
#else
using Socket = int;
constexpr Socket NO_SOCKET = -1;
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

/// A stream socket that child processes don't inherit; NO_SOCKET on failure.
Socket OpenStreamSocket();
/// Accepts the next connection of a listening socket, which is not inherited either; NO_SOCKET on failure.
Socket AcceptConnection(Socket nListener);
void CloseSocket(Socket nSocket);

/// Prepares a socket to be bound to a port that an earlier server may just have left, but that no other
/// server may share.
bool ReusePort(Socket nSocket);

/// Makes calls that would block return at once instead.
bool MakeNonBlocking(Socket nSocket);
/// Whether the last call failed only because it would have blocked.
bool WouldBlock();
/// Whether the last call failed only because a signal came.
bool WasInterrupted();
/// The error of the last call, as a value of std::system_category().
int SocketError();

/// Like send and recv, whose sizes have different types on the two systems; sending raises no signal.
/// @return negative on failure; receiving, 0 at the end of the connection
std::ptrdiff_t SendBytes(Socket nSocket, const char* pBytes, std::size_t nBytes);
std::ptrdiff_t ReceiveBytes(Socket nSocket, char* pBytes, std::size_t nBytes);

/// Like poll.
int PollSockets(pollfd* pSockets, std::size_t nSockets, int nMilliseconds);

template <class Value>
bool SetSocketOption(Socket nSocket, int nLevel, int nOption, const Value& value)
{
    return ::setsockopt(nSocket, nLevel, nOption, reinterpret_cast<const char*>(&value), sizeof value) == 0;
}

/// The name of the local machine in UTF-8; empty when it can't be determined. A CSocketsStartUp must exist.
std::string MachineName();
