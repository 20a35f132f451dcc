#include "Sockets.h"

#include <array>

#if defined(_WIN32)
#include "WideText.h"
#else
#include <cerrno>
#include <fcntl.h>
#endif

namespace
{

/// What gethostname gives, in the machine's own encoding.
std::string PlainMachineName()
{
    std::array<char, 256> name{};
    // One byte is reserved, so that a truncated name is still terminated.
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : std::string();
}

} // namespace

#if defined(_WIN32)

CSocketsStartUp::CSocketsStartUp()
{
    WSADATA data{};
    m_bUp = ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

CSocketsStartUp::~CSocketsStartUp()
{
    if (m_bUp) {
        ::WSACleanup();
    }
}

Socket OpenStreamSocket()
{
    return ::WSASocketW(AF_INET, SOCK_STREAM, 0, nullptr, 0,
                        WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

Socket AcceptConnection(Socket nListener)
{
    return ::accept(nListener, nullptr, nullptr); // like the listener, it is not inherited by child processes
}

void CloseSocket(Socket nSocket)
{
    ::closesocket(nSocket);
}

bool ReusePort(Socket nSocket)
{
    return SetSocketOption(nSocket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, 1); // old connections block no port here
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

int PollSockets(pollfd* pSockets, std::size_t nSockets, int nMilliseconds)
{
    return ::WSAPoll(pSockets, static_cast<ULONG>(nSockets), nMilliseconds);
}

std::string MachineName()
{
    return Utf8OfCodePage(PlainMachineName());
}

#else

CSocketsStartUp::CSocketsStartUp() : m_bUp(true) {}

Socket OpenStreamSocket()
{
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
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
    // With an invalid socket, setting the flags fails just as reading them does.
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

int PollSockets(pollfd* pSockets, std::size_t nSockets, int nMilliseconds)
{
    return ::poll(pSockets, nSockets, nMilliseconds);
}

std::string MachineName()
{
    return PlainMachineName();
}

#endif
