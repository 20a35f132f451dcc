#pragma once

#include "labserver/StreamSockets.h"

#include <chrono>

/// Tells all of a server's threads, whatever they wait for, that it is to end. Raised once, for good.
class StopSignal
{
public:
    StopSignal(); ///< @throws std::system_error without a file descriptor left
    ~StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;

    void Raise();

    /// Waits until it is raised, but not longer than `patience`.
    /// @return whether it is raised
    bool WaitFor(std::chrono::milliseconds patience) const;

    /// Readable from the moment that it is raised: for a poll() that waits for something else too.
    Socket Descriptor() const { return m_nDescriptor; }

private:
    const CSocketsStartUp m_sockets;
    Socket m_nDescriptor; ///< on Windows, where only sockets are waited for along with sockets, one of these
};
