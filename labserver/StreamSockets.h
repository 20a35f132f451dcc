#pragma once

#include "platform/system/Sockets.h"

#include <cstddef>
#include <string>
#include <utility>

#if defined(_WIN32)
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

// What servers do with sockets, under names that mean the same on both systems. What is called alike there
// anyway (bind, listen, connect, ntohs) is used as it is.

#if defined(_WIN32)
constexpr Socket NO_SOCKET = INVALID_SOCKET;
constexpr int SHUT_WR = SD_SEND;
constexpr int SHUT_RDWR = SD_BOTH;
using socklen_t = int;
#else
constexpr Socket NO_SOCKET = -1;
#endif

/// A stream socket that programs started from here don't inherit; NO_SOCKET when none can be made.
Socket OpenStreamSocket(int nFamily = AF_INET);
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
/// As ReceiveBytes, but the bytes can be received again.
std::ptrdiff_t PeekBytes(Socket nSocket, char* pBytes, std::size_t nBytes);

/// The address of the other end of a connection, in numbers, and its port; empty and 0 if it has gone.
std::pair<std::string, int> PeerOf(Socket nSocket);

/// An address of any family with its port.
struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t nBytes = sizeof storage;
};

/// Where a socket is bound.
SocketAddress LocalAddressOf(Socket nSocket);

template <class Value>
bool SetSocketOption(Socket nSocket, int nLevel, int nOption, const Value& value)
{
    return ::setsockopt(nSocket, nLevel, nOption, reinterpret_cast<const char*>(&value), sizeof value) == 0;
}
