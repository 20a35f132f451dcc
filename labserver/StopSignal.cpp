#include "labserver/StopSignal.h"

#include <system_error>

#if !defined(_WIN32)
#include <sys/eventfd.h>
#endif

namespace
{

void Check(bool bSucc, const char* szCall)
{
    if (!bSucc) {
        throw std::system_error(SocketError(), std::system_category(), szCall);
    }
}

} // namespace

#if defined(_WIN32)

namespace
{

/// A datagram socket that receives what it sends.
Socket OpenEcho()
{
    const Socket nSocket = ::socket(AF_INET, SOCK_DGRAM, 0);
    Check(nSocket != NO_SOCKET, "socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t nSize = sizeof address;
    auto* const pAddress = reinterpret_cast<sockaddr*>(&address);
    Check(::bind(nSocket, pAddress, nSize) == 0, "bind");
    Check(::getsockname(nSocket, pAddress, &nSize) == 0, "getsockname");
    Check(::connect(nSocket, pAddress, nSize) == 0, "connect");
    return nSocket;
}

} // namespace

StopSignal::StopSignal() : m_nDescriptor(OpenEcho()) {}

void StopSignal::Raise()
{
    SendBytes(m_nDescriptor, "!", 1);
}

#else

StopSignal::StopSignal() : m_nDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    Check(m_nDescriptor != NO_SOCKET, "eventfd");
}

// The write can't fail: no process lives long enough to make the counter overflow.
void StopSignal::Raise()
{
    eventfd_write(m_nDescriptor, 1);
}

#endif

StopSignal::~StopSignal()
{
    CloseSocket(m_nDescriptor);
}

bool StopSignal::WaitFor(std::chrono::milliseconds patience) const
{
    pollfd raised{m_nDescriptor, POLLIN, {}};
    return PollSockets(&raised, 1, static_cast<int>(patience.count())) > 0;
}
