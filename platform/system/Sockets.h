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

// Sockets under names that mean the same on both systems. What is called alike there anyway (bind, listen,
// connect, ntohs) is used as it is.

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

/// Windows' sockets must be started before the first call and ended after the last one, each of both as often
/// as the other; others in the process, the host among them, do the same for themselves. Nothing on Linux.
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

/// A stream socket that programs started from here don't inherit; NO_SOCKET when there is none to be had.
Socket OpenStreamSocket();
/// The next connection of a listening socket, NO_SOCKET when there will be none; not inherited either.
Socket AcceptConnection(Socket nListener);
void CloseSocket(Socket nSocket);

/// For a socket to be bound to a port that a server of before may just have left, and that no other server
/// may share.
bool ReusePort(Socket nSocket);

/// Lets calls that would wait return at once instead.
bool MakeNonBlocking(Socket nSocket);
/// Whether the last call failed only because it would have had to wait.
bool WouldBlock();
/// Whether the last call failed only because a signal came.
bool WasInterrupted();
/// The error of the last call, as the C++ library names errors of its system category.
int SocketError();

/// As send and recv, which take and return sizes of different types on the two systems; sending raises no
/// signal.
/// @return negative on failure; receiving, 0 at the end of the connection
std::ptrdiff_t SendBytes(Socket nSocket, const char* pBytes, std::size_t nBytes);
std::ptrdiff_t ReceiveBytes(Socket nSocket, char* pBytes, std::size_t nBytes);

/// As poll.
int PollSockets(pollfd* pSockets, std::size_t nSockets, int nMilliseconds);

template <class Value>
bool SetSocketOption(Socket nSocket, int nLevel, int nOption, const Value& value)
{
    return ::setsockopt(nSocket, nLevel, nOption, reinterpret_cast<const char*>(&value), sizeof value) == 0;
}

/// The name of the local machine in UTF-8; empty when it can't be had. Sockets must be up.
std::string MachineName();
