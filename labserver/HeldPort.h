#pragma once

#include "labserver/StreamSockets.h"

/// An address and port of this machine at which nobody listens, kept from other programs as long as this
/// object lives: clients are refused there. If the system does not allow that, the port is free instead,
/// which clients can't tell.
class HeldPort
{
public:
    /// @param address  the one at which a server listened until now
    explicit HeldPort(const SocketAddress& address);
    ~HeldPort();
    HeldPort(const HeldPort&) = delete;
    HeldPort& operator=(const HeldPort&) = delete;

private:
    const Socket m_nSocket;
};
