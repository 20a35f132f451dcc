#include "labserver/StreamSockets.h"

#include <array>

#if defined(_WIN32)

Socket OpenStreamSocket(int nFamily)
{
    return ::WSASocketW(nFamily, SOCK_STREAM, 0, nullptr, 0,
                        WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

Socket AcceptConnection(Socket nListener)
{
    return ::accept(nListener, nullptr, nullptr); // inherits that from the listener
}

void CloseSocket(Socket nSocket)
{
    ::closesocket(nSocket);
}

bool ReusePort(Socket nSocket)
{
    return SetSocketOption(nSocket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, 1); // what was left is no obstacle here
}

bool MakeNonBlocking(Socket nSocket)
{
    u_long nOn = 1;
    return ::ioctlsocket(nSocket, static_cast<long>(FIONBIO), &nOn) == 0;
}

bool WouldBlock()
{
    return ::WSAGetLastError() == WSAEWOULDBLOCK;
}

bool WasInterrupted()
{
    return false;
}

int SocketError()
{
    return ::WSAGetLastError();
}

std::ptrdiff_t SendBytes(Socket nSocket, const char* pBytes, std::size_t nBytes)
{
    return ::send(nSocket, pBytes, static_cast<int>(nBytes), 0);
}

std::ptrdiff_t ReceiveBytes(Socket nSocket, char* pBytes, std::size_t nBytes)
{
    return ::recv(nSocket, pBytes, static_cast<int>(nBytes), 0);
}

std::ptrdiff_t PeekBytes(Socket nSocket, char* pBytes, std::size_t nBytes)
{
    return ::recv(nSocket, pBytes, static_cast<int>(nBytes), MSG_PEEK);
}

#else

#include <cerrno>
#include <fcntl.h>

Socket OpenStreamSocket(int nFamily)
{
    return ::socket(nFamily, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

Socket AcceptConnection(Socket nListener)
{
    return ::accept4(nListener, nullptr, nullptr, SOCK_CLOEXEC);
}

void CloseSocket(Socket nSocket)
{
    ::close(nSocket);
}

bool ReusePort(Socket nSocket)
{
    return SetSocketOption(nSocket, SOL_SOCKET, SO_REUSEADDR, 1);
}

bool MakeNonBlocking(Socket nSocket)
{
    // Where there is no socket to ask for its flags, setting them fails too.
    return ::fcntl(nSocket, F_SETFL, ::fcntl(nSocket, F_GETFL) | O_NONBLOCK) == 0;
}

bool WouldBlock()
{
    return errno == EAGAIN;
}

bool WasInterrupted()
{
    return errno == EINTR;
}

int SocketError()
{
    return errno;
}

std::ptrdiff_t SendBytes(Socket nSocket, const char* pBytes, std::size_t nBytes)
{
    return ::send(nSocket, pBytes, nBytes, MSG_NOSIGNAL);
}

std::ptrdiff_t ReceiveBytes(Socket nSocket, char* pBytes, std::size_t nBytes)
{
    return ::recv(nSocket, pBytes, nBytes, 0);
}

std::ptrdiff_t PeekBytes(Socket nSocket, char* pBytes, std::size_t nBytes)
{
    return ::recv(nSocket, pBytes, nBytes, MSG_PEEK);
}

#endif

SocketAddress LocalAddressOf(Socket nSocket)
{
    SocketAddress address;
    ::getsockname(nSocket, reinterpret_cast<sockaddr*>(&address.storage), &address.nBytes);
    return address;
}

std::pair<std::string, int> PeerOf(Socket nSocket)
{
    SocketAddress address;
    auto* const pAddress = reinterpret_cast<sockaddr*>(&address.storage);
    std::array<char, NI_MAXHOST> aHost{};
    std::array<char, NI_MAXSERV> aPort{};
    if (::getpeername(nSocket, pAddress, &address.nBytes) != 0 ||
        ::getnameinfo(pAddress, address.nBytes, aHost.data(), static_cast<socklen_t>(aHost.size()),
                      aPort.data(), static_cast<socklen_t>(aPort.size()),
                      NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
        return {};
    }
    return {aHost.data(), std::stoi(aPort.data())};
}
