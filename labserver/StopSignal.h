#pragma once

#include "labserver/StreamSockets.h"

#include <chrono>

/// Tells all of a server's threads, whatever they are waiting for, that the server must end. It is raised
/// once, for good.
class StopSignal
{
public:
    StopSignal(); ///< @throws std::system_error when no file descriptor is left
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    void Raise();

    /// Waits until it is raised, but not longer than `patience`.
    /// @return whether it is raised
    bool WaitFor(std::chrono::milliseconds patience) const;

    /// Readable once the signal is raised, for a poll() that waits for something else too.
    Socket Descriptor() const { return m_nDescriptor; }

private:
    const SocketsStartUp m_sockets;
    Socket m_nDescriptor; ///< on Windows a socket, since only sockets can be polled there
};
