#include "labserver/HeldPort.h"

HeldPort::HeldPort(const SocketAddress& address) : m_nSocket(OpenStreamSocket(address.storage.ss_family))
{
    if (m_nSocket != NO_SOCKET && ReusePort(m_nSocket)) {
        // A port that a socket is bound to is given to nobody else, also if that socket does not listen.
        static_cast<void>(
            ::bind(m_nSocket, reinterpret_cast<const sockaddr*>(&address.storage), address.nBytes));
    }
}

HeldPort::~HeldPort()
{
    if (m_nSocket != NO_SOCKET) {
        CloseSocket(m_nSocket);
    }
}
