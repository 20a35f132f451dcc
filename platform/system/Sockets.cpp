#include "Sockets.h"

#include <array>

#if defined(_WIN32)
#include "WideText.h"
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

SocketsStartUp::SocketsStartUp()
{
    WSADATA data{};
    m_bUp = ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
}

SocketsStartUp::~SocketsStartUp()
{
    if (m_bUp) {
        ::WSACleanup();
    }
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

SocketsStartUp::SocketsStartUp() : m_bUp(true) {}

int PollSockets(pollfd* pSockets, std::size_t nSockets, int nMilliseconds)
{
    return ::poll(pSockets, nSockets, nMilliseconds);
}

std::string MachineName()
{
    return PlainMachineName();
}

#endif
